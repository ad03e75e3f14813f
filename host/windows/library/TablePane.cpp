#include "TablePane.h"

#include "RowDelegate.h"
#include "WindowIcons.h"

#include <QAction>
#include <QBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QMenu>
#include <QScrollBar>
#include <QTableView>

#include <algorithm>

namespace vexa::host {

namespace {

constexpr int kRowHeight = RowDelegate::kHeight, kSearchWidth = 280, kSearchHeight = 28;
constexpr int kTypingPause = 150;  // milliseconds
constexpr int kMinTitleWidth = 180, kMinWidth = 80;

int WidthOf(const LibraryField& field) {
    if (field.Role == IVEXAMLDataField::Title) return 360;
    if (field.Role == IVEXAMLDataField::LocalFile) return 34;
    if (field.Role == IVEXAMLDataField::State) return 84;
    switch (field.Type) {
        case IVEXAMLDataField::Duration:
            return 76;
        case IVEXAMLDataField::DateTime:
            return 116;
        default:
            return 140;
    }
}

}  // namespace

TablePane::TablePane(const LanguageService& language, QWidget* parent)
    : Pane(parent),
      FTexts(language),
      FModel(new TableModel(language, this)),
      FSearch(new QLineEdit),
      FAll(new QToolButton),
      FView(new QTableView),
      FCount(new QLabel),
      FFailure(new QLabel) {
    FSearch->setObjectName(QStringLiteral("Search"));
    FSearch->setClearButtonEnabled(true);
    FSearch->setMaximumWidth(kSearchWidth);
    FSearch->setMinimumHeight(kSearchHeight);
    FSearch->addAction(QIcon(), QLineEdit::LeadingPosition);
    FAll->setObjectName(QStringLiteral("SearchAll"));
    FAll->setCheckable(true);
    FAll->setFocusPolicy(Qt::StrongFocus);
    FAll->hide();
    FCount->setObjectName(QStringLiteral("Faint"));
    FCount->setTextFormat(Qt::PlainText);
    FFailure->setObjectName(QStringLiteral("Failure"));
    FFailure->setTextFormat(Qt::PlainText);
    FFailure->setWordWrap(true);
    FFailure->setAlignment(Qt::AlignCenter);
    FFailure->setAttribute(Qt::WA_TransparentForMouseEvents);
    FFailure->hide();
    FView->setObjectName(QStringLiteral("Rows"));
    FView->setModel(FModel);
    FView->setItemDelegate(new RowDelegate(FView));
    FView->setSelectionBehavior(QAbstractItemView::SelectRows);
    FView->setSelectionMode(QAbstractItemView::ExtendedSelection);
    FView->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    FView->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    FView->setAlternatingRowColors(true);
    FView->setShowGrid(false);
    FView->setWordWrap(false);
    FView->setFrameShape(QFrame::NoFrame);
    FView->setTabKeyNavigation(false);
    FView->setDragEnabled(true);
    FView->setDragDropMode(QAbstractItemView::DragOnly);
    FView->setContextMenuPolicy(Qt::CustomContextMenu);
    FView->setCornerButtonEnabled(false);
    FView->setSortingEnabled(true);
    FView->verticalHeader()->hide();
    FView->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    FView->verticalHeader()->setDefaultSectionSize(kRowHeight);
    QHeaderView* header = FView->horizontalHeader();
    header->setSectionsMovable(true);
    header->setHighlightSections(false);
    header->setTextElideMode(Qt::ElideRight);
    header->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    header->setContextMenuPolicy(Qt::CustomContextMenu);
    header->setMinimumSectionSize(34);
    FView->installEventFilter(this);
    FView->viewport()->installEventFilter(this);
    FSearch->installEventFilter(this);

    auto* over = new QVBoxLayout(FView->viewport());
    over->addWidget(FFailure);
    auto* upper = new QHBoxLayout;
    upper->setContentsMargins(10, 8, 10, 8);
    upper->addWidget(FSearch, 1);
    upper->addWidget(FAll);
    upper->addStretch(0);
    upper->addSpacing(8);
    upper->addWidget(FCount);
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins({});
    whole->setSpacing(0);
    whole->addLayout(upper);
    whole->addWidget(FView, 1);

    FTyping.setSingleShot(true);
    FTyping.setInterval(kTypingPause);
    connect(FSearch, &QLineEdit::textChanged, &FTyping, qOverload<>(&QTimer::start));
    connect(&FTyping, &QTimer::timeout, this, [this] { Q_EMIT SearchChanged(FSearch->text().trimmed()); });
    connect(FSearch, &QLineEdit::textChanged, this, [this](const QString& text) {
        if (text.isEmpty()) SetSearchesAll(false);
        ShowScope();
    });
    connect(FAll, &QToolButton::toggled, this, [this] {
        ShowScope();
        Q_EMIT SearchesAllChanged();
    });
    connect(FModel, &TableModel::Shown, this, &TablePane::OnShown);
    connect(FModel, &QAbstractItemModel::layoutAboutToBeChanged, this, &TablePane::KeepTop);
    connect(FModel, &QAbstractItemModel::modelAboutToBeReset, this, [this] { FCurrentRow = -1; });
    connect(FView->verticalScrollBar(), &QScrollBar::valueChanged, this, &TablePane::UpdateVisibleRows);
    connect(FView->selectionModel(), &QItemSelectionModel::currentRowChanged, this, [this] { OnShown(); });
    connect(FView, &QTableView::doubleClicked, this, [this](const QModelIndex& index) {
        if (const QString file = FModel->File(index.row()); !file.isEmpty()) Q_EMIT Activated(file);
    });
    connect(FView, &QWidget::customContextMenuRequested, this,
            [this](const QPoint& position) { Q_EMIT MenuWanted(FView->viewport()->mapToGlobal(position)); });
    for (const auto signal : {&QHeaderView::sectionResized, &QHeaderView::sectionMoved})
        connect(header, signal, this, &TablePane::LayoutChanged);
    connect(header, &QHeaderView::sortIndicatorChanged, this, &TablePane::LayoutChanged);
    connect(header, &QWidget::customContextMenuRequested, this, &TablePane::ShowColumnMenu);
    Localize();
    OnThemeChanged();
}

void TablePane::SetSource(const LibraryStorage* storage, RowReader* reader, const QByteArray& layout) {
    FCurrentFile.clear();
    FCurrentRow = -1;
    FModel->SetSource(storage, reader);
    FStorageID = storage ? storage->ID() : QString();
    SetRowTexts();
    if (!storage) return;
    QHeaderView* header = FView->horizontalHeader();
    ArrangeColumns(*storage);
    if (!layout.isEmpty()) header->restoreState(layout);
    header->setSectionsMovable(true);
    // The title takes the width that the other columns leave; without a title, the last column does.
    const int title = FModel->ColumnOf(IVEXAMLDataField::Title);
    header->setSectionResizeMode(QHeaderView::Interactive);
    header->setStretchLastSection(title < 0);
    if (title >= 0) header->setSectionResizeMode(title, QHeaderView::Stretch);
    header->setSortIndicatorShown(true);
    FModel->sort(header->sortIndicatorSection(), header->sortIndicatorOrder());
    FitColumns();
}

void TablePane::ArrangeColumns(const LibraryStorage& storage) {
    QHeaderView* header = FView->horizontalHeader();
    QStringList order = storage.FieldNames(kSchemaTable);
    if (order.isEmpty())
        for (const LibraryField* field : FModel->Columns()) order += field->Name;
    // The table mixes rows of several containers, so the container is shown beside the title. It replaces the
    // performer, which says less.
    const LibraryField* container = storage.FieldOf(IVEXAMLDataField::Container);
    if (container && FModel->ColumnOf(container->Name) >= 0 && !order.contains(container->Name) && order.size() > 1) {
        if (const LibraryField* performer = storage.FieldOf(IVEXAMLDataField::Performer))
            order.removeAll(performer->Name);
        order.insert(1, container->Name);
    }
    header->setSortIndicator(-1, Qt::AscendingOrder);
    int place = 0;
    for (const QString& name : order)
        if (const int column = FModel->ColumnOf(name); column >= 0)
            header->moveSection(header->visualIndex(column), place++);
    for (int column = 0; column < FModel->columnCount(); ++column) {
        const LibraryField& field = *FModel->Columns()[static_cast<std::size_t>(column)];
        header->setSectionHidden(column, !order.contains(field.Name));
        header->resizeSection(column, std::max(WidthOf(field), header->sectionSizeHint(column)));
        if (field.Role == IVEXAMLDataField::Date) header->setSortIndicator(column, Qt::DescendingOrder);
    }
}

/// Rows without readable titles say nothing: where there is little room, the other columns give theirs, the widest
/// first.
void TablePane::FitColumns() {
    QHeaderView* header = FView->horizontalHeader();
    const int title = FModel->ColumnOf(IVEXAMLDataField::Title);
    if (title < 0 || header->isSectionHidden(title)) return;
    int missing = kMinTitleWidth - FView->viewport()->width();
    std::vector<int> others;
    for (int column = 0; column < FModel->columnCount(); ++column) {
        if (column == title || header->isSectionHidden(column)) continue;
        others.push_back(column);
        missing += header->sectionSize(column);
    }
    while (missing > 0 && !others.empty()) {
        const auto widest = std::max_element(others.begin(), others.end(), [&](int a, int b) {
            return header->sectionSize(a) < header->sectionSize(b);
        });
        const int width = header->sectionSize(*widest), given = std::min(std::min(missing, 8), width - kMinWidth);
        if (given <= 0) break;
        header->resizeSection(*widest, width - given);
        missing -= given;
    }
}

QByteArray TablePane::SaveLayout() const {
    return FView->horizontalHeader()->saveState();
}

void TablePane::ShowColumnMenu(const QPoint& position) {
    QHeaderView* header = FView->horizontalHeader();
    QMenu menu(this);
    const int shown = header->count() - header->hiddenSectionCount();
    for (int place = 0; place < header->count(); ++place) {
        const int column = header->logicalIndex(place);
        QString caption = FModel->headerData(column, Qt::Horizontal, Qt::AccessibleTextRole).toString();
        QAction* action = menu.addAction(caption.replace(u'&', QStringLiteral("&&")));
        action->setCheckable(true);
        action->setChecked(!header->isSectionHidden(column));
        action->setEnabled(shown > 1 || header->isSectionHidden(column));
        connect(action, &QAction::toggled, header,
                [header, column](bool isShown) { header->setSectionHidden(column, !isShown); });
    }
    menu.exec(header->mapToGlobal(position));
}

void TablePane::UpdateVisibleRows() {
    const int height = FView->viewport()->height();
    const int first = FView->rowAt(0);
    const int last = FView->rowAt(std::max(height - 1, 0));
    FModel->SetVisibleRows(std::max(first, 0), last < 0 ? std::max(first, 0) + height / kRowHeight : last);
}

void TablePane::KeepTop() {
    FTopRow = FView->verticalScrollBar()->value() > 0 ? FView->rowAt(0) : -1;
    FTop = FTopRow >= 0 ? FModel->index(FTopRow, 0) : QModelIndex();
}

void TablePane::OnShown() {
    const int top = std::exchange(FTopRow, -1), topNow = std::exchange(FTop, {}).row();
    if (top >= 0 && topNow >= 0 && topNow != top)
        FView->verticalScrollBar()->setValue(FView->verticalScrollBar()->value() + (topNow - top) * kRowHeight);
    UpdateVisibleRows();
    ShowCount();
    FFailure->setText(FModel->Failure());
    FFailure->setVisible(!FModel->Failure().isEmpty());
    const QModelIndex current = FView->currentIndex();
    if (!current.isValid() && FModel->rowCount() > 0 && !FModel->IsBusy()) {
        // If the current row was removed, the row that takes its place becomes current. If other rows are shown, the
        // current row is found again by its file.
        const int row = FCurrentRow >= 0         ? std::min(FCurrentRow, FModel->rowCount() - 1)
                        : FCurrentFile.isEmpty() ? -1
                                                 : FModel->FindFile(FCurrentFile);
        FCurrentRow = -1;
        if (row >= 0) return FView->selectRow(row);
    }
    FCurrentRow = current.isValid() ? current.row() : -1;
    FCurrentFile = CurrentFile();
    Q_EMIT CurrentChanged();
}

QString TablePane::CurrentFile() const {
    const QModelIndex current = FView->currentIndex();
    return current.isValid() ? FModel->File(current.row()) : QString();
}

QStringList TablePane::SelectedFiles() {
    std::vector<std::pair<int, int>> ranges;
    for (const QItemSelectionRange& range : FView->selectionModel()->selection())
        ranges.emplace_back(range.top(), range.bottom());
    std::sort(ranges.begin(), ranges.end());
    QStringList files;
    int next = 0;  // ranges of several columns may contain a row twice
    for (const auto& [top, bottom] : ranges) {
        files += FModel->Files(std::max(top, next), bottom);
        next = std::max(next, bottom + 1);
    }
    return files;
}

void TablePane::TouchSelected() {
    QStringList files;
    for (const QItemSelectionRange& range : FView->selectionModel()->selection())
        for (int row = range.top(); row <= std::min(range.bottom(), range.top() + TableModel::kMaxKept); ++row)
            if (FModel->Row(row)) files += FModel->File(row);
    FModel->Touch(files);
}

QStringList TablePane::AllFiles() {
    return FModel->AllFiles();
}

bool TablePane::ShowFile(const QString& file) {
    const int row = FModel->FindFile(file);
    if (row < 0) return false;
    FView->selectRow(row);
    FView->scrollTo(FModel->index(row, 0), QAbstractItemView::PositionAtCenter);
    return true;
}

void TablePane::SetScope(const QString& node) {
    FScope = node;
    ShowScope();
}

void TablePane::FocusSearch(bool all) {
    SetSearchesAll(all);
    FSearch->setFocus(Qt::ShortcutFocusReason);
    FSearch->selectAll();
}

void TablePane::ShowScope() {
    const QString everywhere = FTexts("SearchAll").remove(u'&');
    if (FAll->isChecked())
        FSearch->setPlaceholderText(everywhere);
    else if (FScope.isEmpty())
        FSearch->setPlaceholderText(FTexts.Rows(FStorageID, WindowTexts::RowText::Search));
    else
        FSearch->setPlaceholderText(FTexts("SearchIn", FScope));
    FSearch->setAccessibleName(FSearch->placeholderText());
    // What is typed covers the placeholder, so the button says where the search looks.
    FAll->setVisible(FAll->isChecked() || (!FScope.isEmpty() && !FSearch->text().isEmpty()));
    FAll->setText(FAll->isChecked() ? QString(u"✓ " + everywhere) : everywhere);
}

void TablePane::SetRowTexts() {
    ShowScope();
    FView->setAccessibleName(FTexts.Rows(FStorageID, WindowTexts::RowText::Name));
    ShowCount();
}

void TablePane::ShowCount() {
    FCount->setText(
        WindowTexts::Filled(FTexts.Rows(FStorageID, WindowTexts::RowText::Count), QLocale().toString(FModel->Count())));
}

void TablePane::Localize() {
    SetRowTexts();
    FModel->Localize();
    // Captions may be longer in this language.
    QHeaderView* header = FView->horizontalHeader();
    for (int column = 0; column < FModel->columnCount(); ++column)
        if (!header->isSectionHidden(column) && header->sectionSize(column) < header->sectionSizeHint(column))
            header->resizeSection(column, header->sectionSizeHint(column));
    FitColumns();
}

void TablePane::OnThemeChanged() {
    FSearch->actions().first()->setIcon(WindowIcon(QStringLiteral("search")));
    FView->viewport()->update();
}

bool TablePane::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Resize && watched == FView->viewport())
        QTimer::singleShot(0, this, [this] {
            FitColumns();
            UpdateVisibleRows();
        });
    // The view itself would make the first row current, and so show its details, without selecting it.
    if (event->type() == QEvent::FocusIn && watched == FView && !FView->currentIndex().isValid() &&
        FModel->rowCount() > 0 && static_cast<QFocusEvent*>(event)->reason() != Qt::MouseFocusReason)
        FView->selectRow(0);
    if (event->type() != QEvent::KeyPress) return Pane::eventFilter(watched, event);
    const auto* key = static_cast<QKeyEvent*>(event);
    if (watched == FView && (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) &&
        key->modifiers() == Qt::NoModifier) {
        if (const QString file = CurrentFile(); !file.isEmpty()) Q_EMIT Activated(file);
        return true;
    }
    if (watched == FSearch && key->key() == Qt::Key_Escape && !FSearch->text().isEmpty()) {
        FSearch->clear();
        return true;
    }
    if (watched == FSearch && key->key() == Qt::Key_Down) {
        FView->setFocus(Qt::TabFocusReason);
        if (!FView->currentIndex().isValid() && FModel->rowCount() > 0) FView->selectRow(0);
        return true;
    }
    return Pane::eventFilter(watched, event);
}

}  // namespace vexa::host
