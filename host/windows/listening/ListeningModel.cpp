#include "ListeningModel.h"

#include "DraggedFiles.h"
#include "FileInfo.h"
#include "RowDelegate.h"
#include "RowTexts.h"
#include "Strings.h"
#include "WindowTheme.h"

#include <QFont>
#include <QMimeData>
#include <QSet>

#include <algorithm>

namespace vexa::host {

namespace {

const QString kPlacesMimeType = QStringLiteral("application/x-vexa-up-next");

}  // namespace

ListeningModel::ListeningModel(Host& host, Playback& playback, QObject* parent)
    : QAbstractListModel(parent), FHost(host), FPlayback(playback), FTexts(host.Language()) {
    connect(&FPlayback, &Playback::UpNextChanged, this, &ListeningModel::Update);
    connect(&FPlayback, &Playback::AddressesMoved, this, &ListeningModel::OnAddressesMoved);
    connect(&FPlayback, &Playback::PositionsChanged, this, &ListeningModel::Update);
    Update();
}

ListeningModel::~ListeningModel() = default;

void ListeningModel::Update() {
    std::vector<Entry> now;
    const auto add = [&now](Part part, auto&& addresses, auto entry) {
        int place = 0;
        for (const auto& one : addresses) {
            if (place == 0) now.push_back({part, {}});
            if (part == Part::Begun && place == kMaxBegun) break;
            now.push_back(entry(one, place++));
        }
    };
    add(Part::UpNext, FPlayback.UpNext(), [](const QString& address, int place) {
        return Entry{Part::UpNext, address, 0, 0, place};
    });
    std::vector<HeardFile> begun = FPlayback.SavedPositions().Begun();
    std::erase_if(begun, [](const HeardFile& one) { return one.IsGone; });
    add(Part::Begun, begun, [](const HeardFile& one, int place) {
        return Entry{Part::Begun, one.Address, one.Position, one.Duration, place};
    });
    const bool isSame = std::equal(now.begin(), now.end(), FEntries.begin(), FEntries.end(),
                                   [](auto& a, auto& b) { return a.Section == b.Section && a.Address == b.Address; });
    // Most changes are only progress of the current file: do not reset the model, so that the view does not scroll.
    if (isSame) {
        FEntries = std::move(now);
        if (!FEntries.empty()) Q_EMIT dataChanged(index(0), index(rowCount() - 1), {kProgressRole, kTimeLeftRole});
        return;
    }
    beginResetModel();
    FEntries = std::move(now);
    endResetModel();
    AskTitles();
}

void ListeningModel::OnAddressesMoved(const AddressMoves& moves) {
    // Replace the addresses here, so that the Update that follows finds the same entries and does not reset the model.
    for (Entry& entry : FEntries) {
        const auto moved = moves.constFind(entry.Address);
        if (moved == moves.constEnd()) continue;
        if (const auto title = FTitles.constFind(entry.Address); title != FTitles.constEnd())
            FTitles.insert(*moved, Title(*title));
        entry.Address = *moved;
    }
    AskTitles();  // titles already being read will come with the old addresses
}

void ListeningModel::AskTitles() {
    QStringList unknown;
    for (const Entry& entry : FEntries)
        if (!entry.Address.isEmpty() && !FTitles.contains(entry.Address)) unknown += entry.Address;
    if (unknown.isEmpty()) return;
    FTitleReader.Run([this, unknown, infos = Ref<FileInfoService>(&FHost.FileInfos())](const CancelCheck& isStopped) {
        QHash<QString, Title> titles;
        for (const QString& address : unknown) {
            if (isStopped()) break;
            const Ref<FileInfo> info(new FileInfo);
            if (Failed(infos->GetFileInfo(MakeString(address).Get(), 0, info.Get()))) continue;
            titles.insert(address, {info->Text(IVEXAFileInfo::Title), info->Text(IVEXAFileInfo::Album)});
        }
        return [this, titles] {
            if (titles.isEmpty()) return;
            FTitles.insert(titles);
            if (!FEntries.empty()) Q_EMIT dataChanged(index(0), index(rowCount() - 1));
        };
    });
}

void ListeningModel::Stop() {
    FTitleReader.Stop();
}

const ListeningModel::Entry* ListeningModel::At(const QModelIndex& index) const {
    if (!index.isValid() || index.row() >= rowCount()) return nullptr;
    const Entry& entry = FEntries[static_cast<std::size_t>(index.row())];
    return entry.Address.isEmpty() ? nullptr : &entry;
}

void ListeningModel::Remove(const QModelIndexList& indexes) {
    QStringList left = FPlayback.UpNext();
    const std::vector<int> places = PlacesUpNext(indexes);
    for (auto place = places.rbegin(); place != places.rend(); ++place) left.removeAt(*place);
    QStringList begun;
    for (const QModelIndex& index : indexes)
        if (const Entry* entry = At(index); entry && entry->Section == Part::Begun) begun += entry->Address;
    for (const QString& address : begun) FPlayback.ForgetPosition(address);
    FPlayback.SetUpNext(left);
}

std::vector<int> ListeningModel::PlacesUpNext(const QModelIndexList& indexes) const {
    std::vector<int> places;
    for (const QModelIndex& index : indexes)
        if (const Entry* entry = At(index); entry && entry->Section == Part::UpNext) places.push_back(entry->Index);
    std::sort(places.begin(), places.end());
    return places;
}

void ListeningModel::MoveUpNext(std::vector<int> places, int before) {
    QStringList left = FPlayback.UpNext(), moved;
    std::erase_if(places, [&](int place) { return place < 0 || place >= left.size(); });
    if (places.empty()) return;
    for (const int place : places) moved += left[place];
    for (auto place = places.rbegin(); place != places.rend(); ++place) left.removeAt(*place);
    const auto above = std::lower_bound(places.begin(), places.end(), before) - places.begin();
    const auto first = std::clamp<qsizetype>(before - above, 0, left.size());
    FPlayback.SetUpNext(left.first(first) + moved + left.sliced(first));
    const int row = static_cast<int>(first) + 1;  // below the heading
    Q_EMIT Moved(row, row + static_cast<int>(moved.size()) - 1);
}

void ListeningModel::Localize() {
    if (!FEntries.empty()) Q_EMIT dataChanged(index(0), index(rowCount() - 1));
}

int ListeningModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(FEntries.size());
}

QVariant ListeningModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const Entry& entry = FEntries[static_cast<std::size_t>(index.row())];
    if (entry.Address.isEmpty()) {
        QFont font;
        font.setWeight(QFont::DemiBold);
        if (role == Qt::FontRole) return font;
        if (role == Qt::ForegroundRole) return FaintText();  // the colour of disabled items is too faint to read
        return role == Qt::DisplayRole ? FTexts(entry.Section == Part::UpNext ? "UpNext" : "ContinueListening")
                                       : QVariant();
    }
    const Title title = FTitles.value(entry.Address);
    const QString shown = title.Text.isEmpty() ? entry.Address : title.Text;
    const bool hasRest = entry.Duration > entry.Position && entry.Position > 0;
    switch (role) {
        case Qt::DisplayRole:
            return shown.simplified();
        case Qt::DecorationRole:
            return FCoverSource && !title.Container.isEmpty()
                       ? FCoverSource(entry.Address, title.Container, RowDelegate::kCoverSide)
                       : QVariant();
        case Qt::ToolTipRole: {
            const QString container =
                title.Container.isEmpty() ? QString() : QString(u"<br>" + title.Container.toHtmlEscaped());
            return QString(u"<span>" + shown.toHtmlEscaped() + container + u"</span>");
        }
        case kProgressRole:
            return hasRest ? entry.Position / entry.Duration : QVariant();
        case kTimeLeftRole:
        case Qt::AccessibleDescriptionRole:
            return hasRest ? FTexts("TimeLeft", ShownDuration(entry.Duration - entry.Position)) : QVariant();
        case kShortTimeLeftRole:
            return hasRest ? ShownDuration(entry.Duration - entry.Position) : QVariant();
        default:
            return {};
    }
}

Qt::ItemFlags ListeningModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return Qt::ItemIsDropEnabled;
    const Entry* entry = At(index);
    if (!entry) return Qt::ItemNeverHasChildren;
    return Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsDragEnabled | Qt::ItemNeverHasChildren;
}

QStringList ListeningModel::mimeTypes() const {
    return {kPlacesMimeType, QString::fromLatin1(kFilesMimeType)};
}

QMimeData* ListeningModel::mimeData(const QModelIndexList& indexes) const {
    QStringList places, files;
    for (const int place : PlacesUpNext(indexes)) places += QString::number(place);
    for (const QModelIndex& index : indexes)
        if (const Entry* entry = At(index)) files += entry->Address;
    auto* data = new QMimeData;
    if (!places.isEmpty()) data->setData(kPlacesMimeType, places.join(u',').toLatin1());
    data->setData(QString::fromLatin1(kFilesMimeType), files.join(u'\n').toUtf8());
    return data;
}

bool ListeningModel::canDropMimeData(const QMimeData* data, Qt::DropAction, int, int, const QModelIndex&) const {
    return data->hasFormat(QString::fromLatin1(kFilesMimeType));
}

bool ListeningModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                                  const QModelIndex& parent) {
    if (!canDropMimeData(data, action, row, column, parent)) return false;
    const auto count = static_cast<int>(FPlayback.UpNext().size());
    const int place = row < 0 ? count : std::clamp(row - 1, 0, count);  // a heading is above them
    if (data->hasFormat(kPlacesMimeType)) {
        std::vector<int> places;
        for (const QByteArray& number : data->data(kPlacesMimeType).split(',')) places.push_back(number.toInt());
        MoveUpNext(std::move(places), place);
    } else {
        const QStringList files = QString::fromUtf8(data->data(QString::fromLatin1(kFilesMimeType))).split(u'\n');
        FPlayback.SetUpNext(FPlayback.UpNext().first(place) + files + FPlayback.UpNext().sliced(place));
    }
    return false;  // the view must not remove any rows
}

}  // namespace vexa::host
