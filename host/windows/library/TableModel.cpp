#include "TableModel.h"

#include "Covers.h"
#include "DraggedFiles.h"
#include "RowDelegate.h"
#include "RowTexts.h"
#include "WindowIcons.h"
#include "WindowTheme.h"

#include <QGuiApplication>
#include <QMimeData>
#include <QPainter>

#include <algorithm>
#include <limits>

namespace vexa::host {

namespace {

constexpr int kMaxPages = 24;    // pages kept besides those in sight
constexpr int kMaxRepeats = 5;   // of a reload during which rows were changed
constexpr int kMaxReloaded = 8;  // pages read again when the selection is spread over many

const QString kNotThere = QStringLiteral("…");

int AsCount(std::int64_t count) {
    return static_cast<int>(std::clamp<std::int64_t>(count, 0, std::numeric_limits<int>::max() / 64));
}

}  // namespace

TableModel::TableModel(const LanguageService& language, QObject* parent)
    : QAbstractTableModel(parent), FTexts(language) {}

TableModel::~TableModel() {
    CancelRequests();
    if (FAddresses) FAddresses->RemoveKeeper(this);
}

void TableModel::SetAddresses(PresentAddresses& addresses) {
    FAddresses = &addresses;
    FAddresses->AddKeeper(this);
}

void TableModel::OnAddressesMoved(const AddressMoves& moves) {
    bool isChanged = false;
    for (auto& [number, page] : FPages)
        for (auto& row : page) {
            if (FFileColumn < 0) return;
            QString& file = row[static_cast<std::size_t>(FFileColumn)].Text;
            const auto moved = moves.constFind(file);
            if (moved == moves.constEnd()) continue;
            file = *moved;
            isChanged = true;
        }
    for (auto& kept : FKept) {
        if (FFileColumn < 0) return;
        QString& file = kept.Values[static_cast<std::size_t>(FFileColumn)].Text;
        file = moves.value(file, file);
    }
    if (isChanged) Q_EMIT Shown();
}

void TableModel::SetSource(const LibraryStorage* storage, RowReader* reader) {
    beginResetModel();
    CancelRequests();
    FStorage = storage;
    FReader = reader;
    FColumns.clear();
    FPages.clear();
    FKept.clear();
    FTouched.clear();
    FCount = FShownCount = 0;
    FFailure.clear();
    FIDColumn = FFileColumn = FTitleColumn = FLengthColumn = FContainerColumn = -1;
    FQuery = {};
    if (FStorage) {
        for (const LibraryField& field : FStorage->Fields()) {
            if (!field.HasRows() || field.Is(IVEXAMLDataField::Internal)) continue;
            FColumns.push_back(&field);
            FQuery.Fields += field.Name;
        }
        FTitleColumn = ColumnOf(IVEXAMLDataField::Title);
        FLengthColumn = ColumnOf(IVEXAMLDataField::Length);
        FContainerColumn = ColumnOf(IVEXAMLDataField::Container);
        const auto add = [this](const LibraryField* field) {
            if (!field || !field->HasRows()) return -1;
            FQuery.Fields += field->Name;
            return static_cast<int>(FQuery.Fields.size()) - 1;
        };
        FFileColumn = add(FStorage->FileField());
        FIDColumn = add(FStorage->Field(QStringLiteral("ID")));
        if (FIDColumn < 0) FIDColumn = FFileColumn;
    }
    endResetModel();
}

void TableModel::CancelRequests() {
    if (FReader) {
        for (const RowReader::Ticket ticket : {FFirst, FCounting}) FReader->Cancel(ticket);
        for (const auto& [page, ticket] : FAsked) FReader->Cancel(ticket);
        if (FReloading)
            for (const RowReader::Ticket ticket : FReloading->Tickets) FReader->Cancel(ticket);
    }
    if (FReloading && FAddresses) FAddresses->Cancel(FReloading->Asked);
    FFirst = FCounting = 0;
    FAsked.clear();
    FReloading.reset();
    FIsToReload = false;
}

void TableModel::SetQuery(RowQuery query) {
    query.Fields = FQuery.Fields;
    query.Sort = FQuery.Sort;
    FQuery = std::move(query);
    RequestRows();
}

void TableModel::RequestRows() {
    CancelRequests();
    FTouched.clear();  // now, so that what the user changes before the answer comes is not forgotten
    if (!FReader) return;
    try {
        FFirst = FReader->Read(PageQuery(0), [this](RowPage page) { OnFirstPage(std::move(page)); });
        Q_EMIT BusyChanged(true);
    } catch (const LibraryError& error) {
        Q_EMIT Failed(FTexts(error.Why()));
    }
}

RowQuery TableModel::PageQuery(int page) const {
    RowQuery query = FQuery;
    query.Offset = page * kPageSize;
    query.Limit = kPageSize;
    return query;
}

void TableModel::OnFirstPage(RowPage page) {
    FFirst = 0;
    beginResetModel();
    FPages.clear();
    FKept.clear();
    FCount = FShownCount = static_cast<int>(page.Rows.size());
    FPages[0] = std::move(page.Rows);
    FFailure = FTexts(page.Error);
    endResetModel();
    // A page that is not full contains all rows.
    if (FCount == kPageSize)
        FCounting = FReader->Count(FQuery, [this](const RowCount& count) {
            FCounting = 0;
            OnCount(count);
        });
    Q_EMIT BusyChanged(false);
    Q_EMIT Shown();
}

void TableModel::OnCount(const RowCount& count) {
    if (count.Error) return Q_EMIT Failed(FTexts(count.Error));
    FCount = std::max(AsCount(count.Count), FCount);
    SetShownCount(FCount + static_cast<int>(FKept.size()));
    Q_EMIT Shown();
}

void TableModel::SetShownCount(int count) {
    if (count > FShownCount) {
        beginInsertRows({}, FShownCount, count - 1);
        FShownCount = count;
        endInsertRows();
    } else if (count < FShownCount) {
        beginRemoveRows({}, count, FShownCount - 1);
        FShownCount = count;
        endRemoveRows();
    }
}

int TableModel::KeptAbove(int row) const {
    int above = 0;
    while (above < static_cast<int>(FKept.size()) && FKept[static_cast<std::size_t>(above)].Above + above < row)
        ++above;
    return above;
}

bool TableModel::IsKept(int row) const {
    const auto above = static_cast<std::size_t>(KeptAbove(row));
    return above < FKept.size() && FKept[above].Above + static_cast<int>(above) == row;
}

int TableModel::ShownRow(const std::vector<KeptRow>& kept, int storageRow) {
    const auto below =
        std::partition_point(kept.begin(), kept.end(), [&](const KeptRow& one) { return one.Above <= storageRow; });
    return storageRow + static_cast<int>(below - kept.begin());
}

void TableModel::Touch(const QStringList& files) {
    for (const QString& file : files) FTouched.insert(file);
}

void TableModel::SetVisibleRows(int first, int last) {
    FFirstVisible = std::max(first, 0);
    FLastVisible = std::max(last, FFirstVisible);
    RequestPages();
}

void TableModel::RequestPages() {
    if (!FReader || IsBusy() || FCount == 0) return;
    const int first = StorageRow(FFirstVisible) / kPageSize;
    const int last = std::min(StorageRow(FLastVisible), FCount - 1) / kPageSize;
    for (auto asked = FAsked.begin(); asked != FAsked.end();) {
        if (asked->first >= first && asked->first <= last) {
            ++asked;
            continue;
        }
        FReader->Cancel(asked->second);
        asked = FAsked.erase(asked);
    }
    for (int page = first; page <= last; ++page) {
        if (FPages.contains(page) || FAsked.contains(page)) continue;
        FAsked[page] = FReader->Read(PageQuery(page), [this, page](RowPage answer) {
            FAsked.erase(page);
            if (answer.Error) return Q_EMIT Failed(FTexts(answer.Error));
            const bool isShort = answer.Rows.size() < kPageSize && (page + 1) * kPageSize < FCount;
            FPages[page] = std::move(answer.Rows);
            Q_EMIT dataChanged(index(ShownRow(FKept, page * kPageSize), 0),
                               index(ShownRow(FKept, std::min((page + 1) * kPageSize, FCount) - 1), columnCount() - 1));
            Q_EMIT Shown();
            if (isShort) Reload();  // rows were removed since they were counted
        });
    }
    while (FPages.size() > static_cast<std::size_t>(kMaxPages + last - first)) {
        const bool isLow = first - FPages.begin()->first > FPages.rbegin()->first - last;
        FPages.erase(isLow ? FPages.begin() : std::prev(FPages.end()));
    }
}

void TableModel::Reload() {
    if (!FReader || IsBusy()) return;
    if (FReloading || FCounting != 0)
        FIsToReload = true;
    else
        BeginReload();
}

void TableModel::BeginReload() {
    // Read the pages in sight, those of persistent indexes, and their neighbours, to which rows may have moved.
    std::set<int> wanted;
    const auto want = [&](int page) {
        for (int near = page - 1; near <= page + 1; ++near)
            if (near >= 0 && near <= FCount / kPageSize) wanted.insert(near);
    };
    for (int page = StorageRow(FFirstVisible) / kPageSize; page <= StorageRow(FLastVisible) / kPageSize; ++page)
        want(page);
    const QModelIndexList kept = persistentIndexList();
    for (const QModelIndex& index : kept)
        if (wanted.size() < kMaxReloaded) want(StorageRow(index.row()) / kPageSize);
    FReloading.emplace(Reloading());  // clang finds no default constructor in a member of the enclosing class
    for (const int page : wanted) {
        auto ticket = std::make_shared<RowReader::Ticket>();
        *ticket = FReader->Read(PageQuery(page), [this, page, ticket](RowPage answer) {
            FReloading->Tickets.erase(*ticket);
            if (!answer.Error) FReloading->Arrived[page] = std::move(answer.Rows);
            if (!FReloading->Tickets.empty()) return;
            const RowReader::Ticket counting = FReader->Count(FQuery, [this](const RowCount& count) {
                FReloading->Tickets.clear();
                FReloading->Count = AsCount(count.Count);
                if (!count.Error && (AreOfOneMoment(FReloading->Arrived, FReloading->Count) || !Repeat()))
                    return FindMissingRows();
                if (!count.Error) return;
                FReloading.reset();
                if (std::exchange(FIsToReload, false)) Reload();
            });
            FReloading->Tickets.insert(counting);
        });
        FReloading->Tickets.insert(*ticket);
    }
}

/// Begins the reload once more, because rows were changed while it went on. False when that was done often enough: then
/// take what was read as it is, such as from a storage whose numbers never fit.
bool TableModel::Repeat() {
    if (++FRepeats >= kMaxRepeats) return false;
    FReloading.reset();
    FIsToReload = false;
    BeginReload();
    return true;
}

/// Whether the pages and the number of rows, which are read one after the other, fit each other. Rows may have been
/// changed in between.
bool TableModel::AreOfOneMoment(const Pages& pages, int count) {
    return std::all_of(pages.begin(), pages.end(), [count](const auto& page) {
        const int first = page.first * kPageSize;
        return static_cast<int>(page.second.size()) == std::clamp(count - first, 0, kPageSize);
    });
}

/// A row's ID may be derived from its file's address and change with it; then the row is found again by its file.
void TableModel::FindMissingRows() {
    const QStringList missing = FAddresses ? MissingFiles(FReloading->Arrived) : QStringList();
    if (missing.isEmpty()) return ReadChangedRows();
    FReloading->Asked = FAddresses->Ask(missing, [this](const AddressMoves&) { ReadChangedRows(); });
}

QStringList TableModel::MissingFiles(const Pages& pages) const {
    QSet<QString> known;
    for (const auto& [number, page] : pages)
        for (int i = 0; i < static_cast<int>(page.size()); ++i) {
            known.insert(ID(pages, number * kPageSize + i));
            known.insert(Value(pages, number * kPageSize + i, FFileColumn));
        }
    QStringList missing;
    for (const auto& [number, page] : pages)
        for (int row = number * kPageSize; row < std::min((number + 1) * kPageSize, FCount); ++row) {
            const QString file = Value(FPages, row, FFileColumn);
            if (Row(FPages, row) && !known.contains(ID(FPages, row)) && !known.contains(file)) missing += file;
        }
    return missing;
}

/// The IDs of the rows that the user has changed, and of those kept already, that are not among the arrived rows.
QStringList TableModel::ChangedRows() const {
    QSet<QString> arrived;
    for (const auto& [number, page] : FReloading->Arrived)
        for (const auto& values : page) arrived.insert(IDOf(values));
    QStringList changed;
    for (const auto& [number, page] : FReloading->Arrived) {
        const auto before = FPages.find(number);
        if (before == FPages.end()) continue;
        for (const auto& values : before->second)
            if (FTouched.contains(FileOf(values)) && !arrived.contains(IDOf(values))) changed += IDOf(values);
    }
    for (const KeptRow& kept : FKept)
        if (!arrived.contains(IDOf(kept.Values))) changed += IDOf(kept.Values);
    return changed.size() > kMaxKept ? changed.last(kMaxKept) : changed;
}

/// Rows that are missing may be gone, may have moved to other pages, or may not fit the query any more.
void TableModel::ReadChangedRows() {
    const QStringList changed = FFileColumn >= 0 ? ChangedRows() : QStringList();
    if (changed.isEmpty()) return OnReloaded();
    RowCondition isChanged{.Field = FQuery.Fields[FIDColumn]};
    for (const QString& id : changed) isChanged.OneOf.emplace_back(id);
    RowQuery fitting = FQuery, all{.Fields = FQuery.Fields};
    const auto read = [&](RowQuery query, auto take) {
        query.Where.push_back(isChanged);
        query.Limit = static_cast<std::int32_t>(changed.size());
        auto ticket = std::make_shared<RowReader::Ticket>();
        *ticket = FReader->Read(query, [this, ticket, take](const RowPage& page) {
            for (const auto& values : page.Rows) take(*FReloading, values);
            FReloading->Tickets.erase(*ticket);
            if (!FReloading->Tickets.empty()) return;
            // All rows have arrived without those that fit, so these came to fit, as by undoing, a moment later.
            const bool areAllRead = static_cast<int>(FReloading->Arrived.size()) > (FReloading->Count - 1) / kPageSize;
            if (FReloading->Fitting.isEmpty() || !areAllRead || !Repeat()) OnReloaded();
        });
        FReloading->Tickets.insert(*ticket);
    };
    try {
        read(all,
             [this](Reloading& to, const std::vector<RowValue>& values) { to.Changed.insert(IDOf(values), values); });
        read(fitting, [this](Reloading& to, const std::vector<RowValue>& values) { to.Fitting.insert(IDOf(values)); });
    } catch (const LibraryError&) {
        if (FReloading->Tickets.empty()) OnReloaded();  // a storage that finds no rows by ID: nothing is kept
    }
}

void TableModel::OnReloaded() {
    FFailure.clear();
    FRepeats = 0;
    std::vector<KeptRow> kept = KeptAfterReload();
    Pages pages = std::move(FReloading->Arrived);
    const int count = FReloading->Count, shown = count + static_cast<int>(kept.size());
    FReloading.reset();
    for (const auto& [page, ticket] : FAsked) FReader->Cancel(ticket);
    FAsked.clear();
    SetShownCount(std::max(shown, FShownCount));
    FCount = count;
    MoveRows(std::move(pages), std::move(kept));
    SetShownCount(shown);
    Q_EMIT Shown();
    RequestPages();
    if (std::exchange(FIsToReload, false)) Reload();
}

/// How many rows of the storage are above the row that is shown as `row`, given the new places of IDs: those down to
/// the nearest row above it that is still there.
int TableModel::RowAbove(int row, const QHash<QString, int>& places) const {
    for (int above = row - 1; above >= 0; --above) {
        if (IsKept(above)) continue;
        const auto* values = Row(above);
        if (!values) return StorageRow(above) + 1;
        if (const auto place = places.constFind(IDOf(*values)); place != places.constEnd()) return *place + 1;
    }
    return 0;
}

std::vector<TableModel::KeptRow> TableModel::KeptAfterReload() const {
    std::vector<KeptRow> kept;
    if (FReloading->Changed.isEmpty()) return kept;
    const Pages& arrived = FReloading->Arrived;
    QHash<QString, int> places;
    for (const auto& [number, page] : arrived)
        for (int i = 0; i < static_cast<int>(page.size()); ++i)
            places.insert(IDOf(page[static_cast<std::size_t>(i)]), number * kPageSize + i);
    std::vector<int> shown;  // the rows that are read, in order
    for (const auto& [number, page] : FPages)
        for (int i = 0; i < static_cast<int>(page.size()); ++i)
            shown.push_back(ShownRow(FKept, number * kPageSize + i));
    for (int i = 0; i < static_cast<int>(FKept.size()); ++i)
        shown.push_back(FKept[static_cast<std::size_t>(i)].Above + i);
    std::sort(shown.begin(), shown.end());
    for (const int row : shown) {
        const auto changed = FReloading->Changed.constFind(IDOf(*Row(row)));
        if (changed == FReloading->Changed.constEnd() || FReloading->Fitting.contains(changed.key())) continue;
        const int above = std::min(RowAbove(row, places), FReloading->Count);
        kept.push_back({kept.empty() ? above : std::max(above, kept.back().Above), *changed});
    }
    return kept;
}

void TableModel::MoveRows(Pages pages, std::vector<KeptRow> kept) {
    QHash<QString, int> places, placesOfFiles;  // where rows will be shown
    bool haveMoved = kept.size() != FKept.size();
    const auto add = [&](int row, const std::vector<RowValue>& values) {
        places.insert(IDOf(values), row);
        placesOfFiles.insert(FileOf(values), row);
        const auto* before = Row(row);
        haveMoved = haveMoved || (before && IDOf(*before) != IDOf(values));
    };
    for (const auto& [number, page] : pages)
        for (int i = 0; i < static_cast<int>(page.size()); ++i)
            add(ShownRow(kept, number * kPageSize + i), page[static_cast<std::size_t>(i)]);
    for (int i = 0; i < static_cast<int>(kept.size()); ++i) {
        const KeptRow& one = kept[static_cast<std::size_t>(i)];
        add(one.Above + i, one.Values);
    }
    const auto replace = [&] {
        FPages = std::move(pages);
        FKept = std::move(kept);
    };
    if (!haveMoved) {
        replace();
        if (FShownCount > 0) Q_EMIT dataChanged(index(0, 0), index(FShownCount - 1, columnCount() - 1));
        return;
    }
    Q_EMIT layoutAboutToBeChanged();
    const QModelIndexList from = persistentIndexList();
    QModelIndexList to;
    for (const QModelIndex& old : from) {
        int row = old.row();
        if (const auto* values = Row(row)) row = places.value(IDOf(*values), placesOfFiles.value(FileOf(*values), -1));
        to += row < 0 ? QModelIndex() : index(row, old.column());
    }
    replace();
    changePersistentIndexList(from, to);
    Q_EMIT layoutChanged();
}

const std::vector<RowValue>* TableModel::Row(const Pages& pages, int row) const {
    const auto page = pages.find(row / kPageSize);
    if (row < 0 || page == pages.end()) return nullptr;
    const auto place = static_cast<std::size_t>(row % kPageSize);
    return place < page->second.size() ? &page->second[place] : nullptr;
}

const std::vector<RowValue>* TableModel::Row(int row) const {
    const auto above = static_cast<std::size_t>(KeptAbove(row));
    const bool isKept = above < FKept.size() && FKept[above].Above + static_cast<int>(above) == row;
    return isKept ? &FKept[above].Values : Row(FPages, row - static_cast<int>(above));
}

QString TableModel::Value(const Pages& pages, int row, int column) const {
    const auto* values = Row(pages, row);
    return values && column >= 0 ? (*values)[static_cast<std::size_t>(column)].Text : QString();
}

QString TableModel::IDOf(const std::vector<RowValue>& values) const {
    return FIDColumn < 0 ? QString() : values[static_cast<std::size_t>(FIDColumn)].Text;
}

QString TableModel::FileOf(const std::vector<RowValue>& values) const {
    return FFileColumn < 0 ? QString() : values[static_cast<std::size_t>(FFileColumn)].Text;
}

QString TableModel::File(int row) const {
    const auto* values = Row(row);
    return values ? FileOf(*values) : QString();
}

QStringList TableModel::Files(int first, int last) {
    QStringList files;
    for (int row = first; row <= last;) {
        if (Row(row)) {
            files += File(row++);
            continue;
        }
        int end = row;
        while (end < last && !Row(end + 1)) ++end;
        files += FilesOfStorage(StorageRow(row), StorageRow(end));
        row = end + 1;
    }
    return files;
}

QStringList TableModel::FilesOfStorage(int first, int last) {
    QStringList files;
    for (int row = first; row <= last;) {
        if (const auto* values = Row(FPages, row)) {
            files += FileOf(*values);
            ++row;
            continue;
        }
        int end = row;
        while (end < last && !Row(FPages, end + 1)) ++end;
        RowQuery query = FQuery;
        query.Offset = row;
        query.Limit = end - row + 1;
        if (FReader)
            for (const auto& values : FReader->ReadNow(query).Rows) files += FileOf(values);
        row = end + 1;
    }
    return files;
}

int TableModel::FindFile(const QString& file) const {
    for (const auto& [number, page] : FPages)
        for (int i = 0; i < static_cast<int>(page.size()); ++i)
            if (FileOf(page[static_cast<std::size_t>(i)]) == file) return ShownRow(FKept, number * kPageSize + i);
    for (int i = 0; i < static_cast<int>(FKept.size()); ++i)
        if (FileOf(FKept[static_cast<std::size_t>(i)].Values) == file)
            return FKept[static_cast<std::size_t>(i)].Above + i;
    return -1;
}

int TableModel::ColumnOf(const QString& field) const noexcept {
    const auto found =
        std::find_if(FColumns.begin(), FColumns.end(), [&](const LibraryField* known) { return known->Name == field; });
    return found == FColumns.end() ? -1 : static_cast<int>(found - FColumns.begin());
}

int TableModel::ColumnOf(IVEXAMLDataField::Roles role) const noexcept {
    const LibraryField* field = FStorage ? FStorage->FieldOf(role) : nullptr;
    return field ? ColumnOf(field->Name) : -1;
}

int TableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(FColumns.size());
}

QVariant TableModel::Cover(const std::vector<RowValue>& values) const {
    const qreal scale = qGuiApp->devicePixelRatio();
    const int side = FIsList ? kListCoverSide : RowDelegate::kCoverSide;
    QPixmap cover;
    if (FCovers && FFileColumn >= 0 && FContainerColumn >= 0)
        cover = FCovers->Get(FStorage->FileField()->Name, FileOf(values),
                             values[static_cast<std::size_t>(FContainerColumn)].Text, side, scale);
    const bool isPlaying = !FPlaying.isEmpty() && FileOf(values) == FPlaying;
    if (isPlaying && cover.isNull()) return WindowIcon(QStringLiteral("play"));
    if (isPlaying) {
        QPainter painter(&cover);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setCompositionMode(QPainter::CompositionMode_SourceAtop);  // within the rounded corners
        painter.fillRect(QRect(0, 0, side, side), QColor(0, 0, 0, 150));
        const qreal third = side / 3.0;
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::white);
        painter.drawPolygon(
            QPolygonF({{1.15 * third, 0.8 * third}, {1.15 * third, 2.2 * third}, {2.3 * third, 1.5 * third}}));
    }
    return cover.isNull() ? QVariant() : QVariant(cover);
}

QVariant TableModel::data(const QModelIndex& index, int role) const {
    const auto column = static_cast<std::size_t>(index.column());
    if (!index.isValid() || column >= FColumns.size()) return {};
    const LibraryField& field = *FColumns[column];
    const bool isMark = field.Role == IVEXAMLDataField::LocalFile;
    if (role == Qt::TextAlignmentRole)
        return QVariant(Qt::AlignVCenter | (field.Type == IVEXAMLDataField::Duration ? Qt::AlignRight : Qt::AlignLeft));
    const auto* values = Row(index.row());
    if (!values) return role == Qt::DisplayRole && !isMark ? QVariant(kNotThere) : QVariant();
    if (role == Qt::ForegroundRole) return IsKept(index.row()) ? QVariant(FaintText()) : QVariant();
    const RowValue& value = (*values)[column];
    if (role >= kSecondLineRole && role <= kIsLocalRole)
        return index.column() == FTitleColumn ? ListValue(index.row(), role) : QVariant();
    if (role == Qt::AccessibleDescriptionRole && FIsList) return SecondLine(index.row());
    if (role == kProgressRole || role == kTimeLeftRole || role == kShortTimeLeftRole ||
        role == Qt::AccessibleDescriptionRole)
        return index.column() == FTitleColumn ? Progress(index.row(), role) : QVariant();
    // Show a mark instead of the local copy's name: that there is a copy matters more than its name.
    if (isMark && !value.Text.isEmpty()) {
        if (role == Qt::DecorationRole) return WindowIcon(QStringLiteral("downloaded"));
        if (role == Qt::AccessibleTextRole) return FTexts("Downloaded");
        if (role == Qt::ToolTipRole) return value.Text.toHtmlEscaped();
    }
    if (role == Qt::DecorationRole && index.column() == FTitleColumn) return Cover(*values);
    if (isMark || (role != Qt::DisplayRole && role != Qt::ToolTipRole)) return {};
    QString text;
    if (field.Type == IVEXAMLDataField::Duration)
        text = ShownDuration(value.Number);
    else if (field.Type == IVEXAMLDataField::DateTime)
        text = role == Qt::ToolTipRole ? ShownDateTime(value.Number) : ShownDate(value.Number);
    else
        text = (field.DisplayValues ? value.Shown : value.Text).simplified();
    if (role == Qt::DisplayRole || text.isEmpty()) return text;
    return QString(u"<span>" + text.toHtmlEscaped() + u"</span>");  // as rich text, so that the tool tip wraps
}

const RowValue* TableModel::ValueOf(const std::vector<RowValue>& values, IVEXAMLDataField::Roles role) const {
    const int column = ColumnOf(role);
    return column < 0 ? nullptr : &values[static_cast<std::size_t>(column)];
}

QVariant TableModel::ListValue(int row, int role) const {
    if (role == kSecondLineRole) return SecondLine(row);
    if (role == kIsLocalRole) {
        const RowValue* local = ValueOf(*Row(row), IVEXAMLDataField::LocalFile);
        return local && !local->Text.isEmpty();
    }
    const LibraryField* field = FStorage->FieldOf(IVEXAMLDataField::State);
    const RowValue* state = ValueOf(*Row(row), IVEXAMLDataField::State);
    const QString wanted = !field ? QString() : role == kIsDoneRole ? field->DoneValue : field->UntouchedValue;
    return state && !wanted.isEmpty() && state->Text == wanted;
}

QString TableModel::SecondLine(int row) const {
    const auto& values = *Row(row);
    QStringList parts;
    const auto add = [&](IVEXAMLDataField::Roles role, auto text) {
        if (const RowValue* value = ValueOf(values, role)) parts += text(*value);
    };
    if (FShowsContainer)
        add(IVEXAMLDataField::Container, [](const RowValue& value) { return value.Text.simplified(); });
    add(IVEXAMLDataField::Date,
        [this](const RowValue& value) { return DayText(value.Number, FTexts("Days", 0), FTexts("Days", 1)); });
    const QString left = Progress(row, kTimeLeftRole).toString();
    if (left.isEmpty())
        add(IVEXAMLDataField::Length, [](const RowValue& value) { return ShownDuration(value.Number); });
    parts += left;
    if (!ListValue(row, kIsUntouchedRole).toBool())
        add(IVEXAMLDataField::State, [](const RowValue& value) { return value.Shown; });
    parts.removeAll({});
    return parts.join(QStringLiteral(" · "));
}

QVariant TableModel::Progress(int row, int role) const {
    const HeardFile* left = FPositions ? FPositions->Find(File(row)) : nullptr;
    if (!left) return {};
    double duration = left->Duration;
    if (!(duration > 0) && FLengthColumn >= 0) duration = (*Row(row))[static_cast<std::size_t>(FLengthColumn)].Number;
    if (!(duration > left->Position)) return {};
    if (role == kProgressRole) return left->Position / duration;
    const QString rest = ShownDuration(duration - left->Position);
    return role == kShortTimeLeftRole ? rest : FTexts("TimeLeft", rest);
}

void TableModel::SetPlaying(const QString& file) {
    if (std::exchange(FPlaying, file) == file || FShownCount == 0 || FTitleColumn < 0) return;
    Q_EMIT dataChanged(index(std::min(FFirstVisible, FShownCount - 1), FTitleColumn),
                       index(std::min(FLastVisible, FShownCount - 1), FTitleColumn), {Qt::DecorationRole});
}

void TableModel::OnPositionsChanged() {
    if (FShownCount == 0 || FTitleColumn < 0) return;
    Q_EMIT dataChanged(index(std::min(FFirstVisible, FShownCount - 1), FTitleColumn),
                       index(std::min(FLastVisible, FShownCount - 1), FTitleColumn), {kProgressRole, kTimeLeftRole});
}

QVariant TableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount()) return {};
    if (role == Qt::TextAlignmentRole) return QVariant(Qt::AlignVCenter | Qt::AlignLeft);
    if (role != Qt::DisplayRole && role != Qt::DecorationRole && role != Qt::ToolTipRole &&
        role != Qt::AccessibleTextRole)
        return {};
    // The header of a column of marks shows the mark.
    const LibraryField& field = *FColumns[static_cast<std::size_t>(section)];
    const bool isMark = field.Role == IVEXAMLDataField::LocalFile;
    if (role == Qt::DecorationRole) return isMark ? QVariant(WindowIcon(QStringLiteral("downloaded"))) : QVariant();
    return isMark && role == Qt::DisplayRole ? QString() : FTexts.Field(field.Name);
}

Qt::ItemFlags TableModel::flags(const QModelIndex& index) const {
    return QAbstractTableModel::flags(index) | Qt::ItemNeverHasChildren | Qt::ItemIsDragEnabled;
}

void TableModel::sort(int column, Qt::SortOrder order) {
    const bool isColumn = column >= 0 && column < columnCount();
    FQuery.Sort.clear();
    if (isColumn)
        FQuery.Sort = {{FColumns[static_cast<std::size_t>(column)]->Name, order == Qt::AscendingOrder
                                                                              ? IVEXAMLSortDirection::Ascending
                                                                              : IVEXAMLSortDirection::Descending}};
    RequestRows();
}

QStringList TableModel::mimeTypes() const {
    return {QString::fromLatin1(kFilesMimeType)};
}

QMimeData* TableModel::mimeData(const QModelIndexList& indexes) const {
    std::set<int> rows;
    for (const QModelIndex& index : indexes) rows.insert(index.row());
    QStringList files;
    for (const int row : rows)
        if (const QString file = File(row); !file.isEmpty()) files += file;
    auto* data = new QMimeData;
    data->setData(QString::fromLatin1(kFilesMimeType), files.join(u'\n').toUtf8());
    return data;
}

void TableModel::Localize() {
    if (columnCount() > 0) Q_EMIT headerDataChanged(Qt::Horizontal, 0, columnCount() - 1);
    Reload();
}

}  // namespace vexa::host
