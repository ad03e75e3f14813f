#include "TablePane.h"

#include "CoverGrid.h"
#include "NodePage.h"
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
#include <QStackedWidget>
#include <QTableView>
#include <QToolTip>

#include <algorithm>

namespace vexa::host {

namespace {

constexpr int kSearchWidth = 280, kSearchHeight = 28;
constexpr int kRoomForCount = 440;  // width; in less the search would be too narrow
constexpr int kTypingPause = 150;   // milliseconds
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
      FCompact(new QAction(this)),
      FSort(new QToolButton),
      FLook(new QToolButton),
      FView(new QTableView),
      FGridWanted(new QAction(this)),
      FGridButton(new QToolButton),
      FStack(new QStackedWidget),
      FCount(new QLabel),
      FFailure(new QLabel),
      FTableRows(new RowDelegate(FView)),
      FListRows(new ListRowDelegate([this](RowButton button) { return !FIsOffered || FIsOffered(button); }, *FView)) {
    FSearch->setObjectName(QStringLiteral("Search"));
    FSearch->setClearButtonEnabled(true);
    FSearch->setMaximumWidth(kSearchWidth);
    FSearch->setMinimumHeight(kSearchHeight);
    FSearch->addAction(QIcon(), QLineEdit::LeadingPosition);
    FAll->setObjectName(QStringLiteral("SearchAll"));
    FAll->setCheckable(true);
    FAll->setFocusPolicy(Qt::StrongFocus);
    FAll->hide();
    FCompact->setObjectName(QStringLiteral("Compact"));
    FCompact->setCheckable(true);
    FGridWanted->setObjectName(QStringLiteral("Grid"));
    FGridWanted->setCheckable(true);
    FGridWanted->setChecked(true);
    FGridButton->hide();
    for (QToolButton* button : {FSort, FGridButton, FLook}) {
        button->setAutoRaise(true);
        button->setFocusPolicy(Qt::StrongFocus);
    }
    FSort->setObjectName(QStringLiteral("Sort"));
    FSort->setPopupMode(QToolButton::InstantPopup);
    FSort->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    FSort->setMenu(new QMenu(FSort));
    FLook->setDefaultAction(FCompact);
    FGridButton->setDefaultAction(FGridWanted);
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
    FView->setItemDelegate(FTableRows);
    FView->setMouseTracking(true);
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
    FView->verticalHeader()->setDefaultSectionSize(RowHeight());
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
    upper->addSpacing(8);
    upper->addWidget(FSort);
    upper->addWidget(FGridButton);
    upper->addWidget(FLook);
    FStack->addWidget(FView);
    FWhole = new QVBoxLayout(this);
    FWhole->setContentsMargins({});
    FWhole->setSpacing(0);
    FWhole->addLayout(upper);
    FWhole->addWidget(FStack, 1);

    FTyping.setSingleShot(true);
    FTyping.setInterval(kTypingPause);
    connect(FSearch, &QLineEdit::textChanged, &FTyping, qOverload<>(&QTimer::start));
    connect(&FTyping, &QTimer::timeout, this, [this] { Q_EMIT SearchChanged(FSearch->text().trimmed()); });
    connect(FSearch, &QLineEdit::textChanged, this, [this](const QString& text) {
        if (text.isEmpty()) SetSearchesAll(false);
        ShowScope();
        ShowGrid();
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
    connect(header, &QHeaderView::sortIndicatorChanged, this, &TablePane::ShowSort);
    connect(FSort->menu(), &QMenu::aboutToShow, this, &TablePane::FillSortMenu);
    connect(FGridWanted, &QAction::toggled, this, &TablePane::ShowGrid);
    connect(FCompact, &QAction::toggled, this, &TablePane::Arrange);
    connect(FCompact, &QAction::triggered, this, &TablePane::CompactChanged);
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
    ShowAsList(false);
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
    Arrange();
}

void TablePane::Arrange() {
    const bool hasTitle = FModel->ColumnOf(IVEXAMLDataField::Title) >= 0;
    FLook->setVisible(hasTitle && !IsGridShown());
    FCompact->setEnabled(hasTitle);
    FCompact->setIcon(WindowIcon(FCompact->isChecked() ? QStringLiteral("list") : QStringLiteral("table")));
    ShowAsList(hasTitle && !FCompact->isChecked());
}

void TablePane::ShowAsList(bool isList) {
    if (FIsList == isList) return;
    const int title = FModel->ColumnOf(IVEXAMLDataField::Title);
    const int top = FView->rowAt(0);
    QHeaderView* header = FView->horizontalHeader();
    if (isList) {
        FColumnLayout = header->saveState();
        for (int column = 0; column < FModel->columnCount(); ++column)
            header->setSectionHidden(column, column != title);
        if (title >= 0) header->setSectionResizeMode(title, QHeaderView::Stretch);
    } else {
        const int section = header->sortIndicatorSection();
        const Qt::SortOrder order = header->sortIndicatorOrder();
        const QSignalBlocker blocker(header);  // the order stays, so that nothing is to be read again
        header->restoreState(FColumnLayout);
        header->setSortIndicator(section, order);
        FColumnLayout.clear();
    }
    FIsList = isList;
    FModel->SetIsList(isList);
    header->setVisible(!isList);
    FSort->setVisible(isList || IsGridShown());
    FView->setItemDelegate(isList ? FListRows : FTableRows);
    FView->setAlternatingRowColors(!isList);
    FView->verticalHeader()->setDefaultSectionSize(RowHeight());
    FView->doItemsLayout();
    if (!isList) FitColumns();
    if (top > 0) FView->scrollTo(FModel->index(top, std::max(title, 0)), QAbstractItemView::PositionAtTop);
    ShowSort();
    UpdateVisibleRows();
}

QString TablePane::Sort() const {
    const int column = FView->horizontalHeader()->sortIndicatorSection();
    if (column < 0 || column >= FModel->columnCount()) return {};
    return FModel->Columns()[static_cast<std::size_t>(column)]->Name + u'|' +
           QString::number(FView->horizontalHeader()->sortIndicatorOrder());
}

void TablePane::SetSort(const QString& sort) {
    const auto bar = sort.lastIndexOf(u'|');
    const int column = bar < 0 ? -1 : FModel->ColumnOf(sort.left(bar));
    if (column >= 0 && sort != Sort())
        FView->sortByColumn(column, QStringView(sort).mid(bar + 1) == u"1" ? Qt::DescendingOrder : Qt::AscendingOrder);
}

void TablePane::resizeEvent(QResizeEvent* event) {
    Pane::resizeEvent(event);
    FCount->setVisible(width() >= kRoomForCount);
    if (FPage) FPage->SetRoom(size());
}

void TablePane::SetPage(NodePage* page) {
    FPage = page;
    FWhole->insertWidget(1, page);
}

void TablePane::SetGrid(CoverGrid* grid) {
    FGrid = grid;
    FStack->addWidget(grid);
    Localize();
}

void TablePane::SetHasGrid(bool hasGrid) {
    FHasGrid = hasGrid && FGrid;
    FGridButton->setVisible(FHasGrid);
    ShowGrid();
}

bool TablePane::IsGridShown() const {
    return FGrid && FHasGrid && FGridWanted->isChecked() && FSearch->text().isEmpty();
}

void TablePane::ShowGrid() {
    const bool isShown = IsGridShown();
    const bool hadFocus = FStack->currentWidget()->hasFocus();
    FStack->setCurrentWidget(isShown ? static_cast<QWidget*>(FGrid) : FView);
    if (hadFocus) FStack->currentWidget()->setFocus();
    FGridWanted->setIcon(WindowIcon(FGridWanted->isChecked() ? QStringLiteral("list") : QStringLiteral("grid")));
    FSort->setVisible(FIsList || isShown);
    FLook->setVisible(FCompact->isEnabled() && !isShown);
    ShowSort();
    ShowCount();
}

void TablePane::FillSortMenu() {
    QMenu* menu = FSort->menu();
    menu->clear();
    if (IsGridShown()) {
        for (const auto order : {CoverGrid::Order::Newest, CoverGrid::Order::Name, CoverGrid::Order::Untouched}) {
            QAction* action = menu->addAction(FTexts("GridOrders", static_cast<int>(order)), this, [this, order] {
                FGrid->SetOrder(order);
                ShowSort();
                Q_EMIT GridOrderChanged();
            });
            action->setCheckable(true);
            action->setChecked(FGrid->SortOrder() == order);
        }
        return;
    }
    const QHeaderView* header = FView->horizontalHeader();
    for (int column = 0; column < FModel->columnCount(); ++column) {
        const LibraryField& field = *FModel->Columns()[static_cast<std::size_t>(column)];
        if (field.Role == IVEXAMLDataField::None || field.Role == IVEXAMLDataField::LocalFile) continue;
        const bool isPresent = header->sortIndicatorSection() == column;
        // The same one again turns the order; dates begin with the newest.
        Qt::SortOrder order = field.Role == IVEXAMLDataField::Date ? Qt::DescendingOrder : Qt::AscendingOrder;
        if (isPresent)
            order = header->sortIndicatorOrder() == Qt::AscendingOrder ? Qt::DescendingOrder : Qt::AscendingOrder;
        QAction* action = menu->addAction(FTexts.Field(field.Name).replace(u'&', QStringLiteral("&&")), this,
                                          [this, column, order] { FView->sortByColumn(column, order); });
        action->setCheckable(true);
        action->setChecked(isPresent);
    }
}

void TablePane::ShowSort() {
    if (IsGridShown()) {
        FSort->setText(FTexts("GridOrders", static_cast<int>(FGrid->SortOrder())));
        FSort->setToolTip(FTexts("SortBy", FSort->text()));
        FSort->setAccessibleName(FSort->toolTip());
        return;
    }
    const int column = FView->horizontalHeader()->sortIndicatorSection();
    const bool isSorted = column >= 0 && column < FModel->columnCount();
    const QString field =
        isSorted ? FTexts.Field(FModel->Columns()[static_cast<std::size_t>(column)]->Name) : QString();
    const bool isUp = FView->horizontalHeader()->sortIndicatorOrder() == Qt::AscendingOrder;
    FSort->setText(isSorted ? QString(field + (isUp ? u" ↑" : u" ↓")) : QString());
    FSort->setToolTip(FTexts("SortBy", field));
    FSort->setAccessibleName(FSort->toolTip());
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
    if (FIsList) return;
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
    return FIsList ? FColumnLayout : FView->horizontalHeader()->saveState();
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
    FModel->SetVisibleRows(std::max(first, 0), last < 0 ? std::max(first, 0) + height / RowHeight() : last);
}

void TablePane::KeepTop() {
    FTopRow = FView->verticalScrollBar()->value() > 0 ? FView->rowAt(0) : -1;
    FTop = FTopRow >= 0 ? FModel->index(FTopRow, 0) : QModelIndex();
}

void TablePane::OnShown() {
    const int top = std::exchange(FTopRow, -1), topNow = std::exchange(FTop, {}).row();
    if (top >= 0 && topNow >= 0 && topNow != top)
        FView->verticalScrollBar()->setValue(FView->verticalScrollBar()->value() + (topNow - top) * RowHeight());
    UpdateVisibleRows();
    ShowCount();
    const bool isEmpty = FModel->rowCount() == 0 && !FModel->IsBusy() && FModel->Failure().isEmpty();
    const QString nothing =
        FModel->Query().Search.isEmpty() ? FTexts.Rows(FStorageID, FEmptyText) : FTexts("NothingFound");
    FFailure->setText(isEmpty ? nothing : FModel->Failure());
    FFailure->setVisible(!FFailure->text().isEmpty());
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
    using RowText = WindowTexts::RowText;
    const bool isGrid = IsGridShown();
    FCount->setText(WindowTexts::Filled(FTexts.Rows(FStorageID, isGrid ? RowText::Sources : RowText::Count),
                                        QLocale().toString(isGrid ? FGrid->model()->rowCount() : FModel->Count())));
}

void TablePane::Localize() {
    SetRowTexts();
    FModel->Localize();
    FCompact->setText(FTexts("Compact"));
    FGridWanted->setText(FTexts("Grid"));
    FGridButton->setAccessibleName(FTexts("Grid"));
    if (FGrid) FGrid->setAccessibleName(FTexts("Grid"));
    FLook->setAccessibleName(FTexts("Compact").remove(u'&'));
    ShowSort();
    if (FIsList) return;
    // Captions may be longer in this language.
    QHeaderView* header = FView->horizontalHeader();
    for (int column = 0; column < FModel->columnCount(); ++column)
        if (!header->isSectionHidden(column) && header->sectionSize(column) < header->sectionSizeHint(column))
            header->resizeSection(column, header->sectionSizeHint(column));
    FitColumns();
}

void TablePane::OnThemeChanged() {
    FSearch->actions().first()->setIcon(WindowIcon(QStringLiteral("search")));
    Arrange();
    ShowGrid();
    FSort->setIcon(WindowIcon(QStringLiteral("sort")));
    FView->viewport()->update();
}

void TablePane::Hover(const QPoint& place) {
    if (!FIsList) return;
    const QModelIndex row = FView->indexAt(place), before = FListRows->HoveredRow();
    FListRows->SetHovered(row, std::nullopt);  // first, since only the row under the mouse shows its buttons
    FListRows->SetHovered(row, row.isValid() ? FListRows->ButtonAt(place, FView->visualRect(row), row) : std::nullopt);
    for (const QModelIndex& index : {before, row})
        if (index.isValid()) FView->update(index);
}

bool TablePane::ShowToolTip(const QHelpEvent& event) {
    const QModelIndex row = FIsList ? FView->indexAt(event.pos()) : QModelIndex();
    const auto button = row.isValid() ? FListRows->ButtonAt(event.pos(), FView->visualRect(row), row) : std::nullopt;
    if (!button) return false;
    QToolTip::showText(event.globalPos(), FTexts("RowButtons", static_cast<int>(*button)), FView->viewport());
    return true;
}

/// Takes presses and clicks of a row's buttons, a double click's included, from the view: they play nothing, begin no
/// dragging, and act once.
bool TablePane::OnMouse(const QMouseEvent& event) {
    if (event.button() != Qt::LeftButton) return false;
    const QPoint place = event.position().toPoint();
    const QModelIndex row = FView->indexAt(place);
    const auto button = row.isValid() ? FListRows->ButtonAt(place, FView->visualRect(row), row) : std::nullopt;
    if (event.type() != QEvent::MouseButtonRelease) {
        FPressed = event.modifiers() == Qt::NoModifier ? button : std::nullopt;
        if (FPressed && event.type() == QEvent::MouseButtonPress) FView->selectRow(row.row());
        return FPressed.has_value();
    }
    const auto pressed = std::exchange(FPressed, std::nullopt);
    if (!pressed) return false;
    const QString file = FModel->File(row.row());
    if (pressed != button || file.isEmpty() || row.row() != FView->currentIndex().row()) return true;
    if (*pressed == RowButton::Play)
        Q_EMIT Activated(file);
    else
        Q_EMIT ButtonClicked(*pressed, file);
    return true;
}

bool TablePane::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Resize && watched == FView->viewport())
        QTimer::singleShot(0, this, [this] {
            FitColumns();
            UpdateVisibleRows();
        });
    if (watched == FView->viewport() && event->type() == QEvent::Leave) Hover({-1, -1});
    if (watched == FView->viewport() && event->type() == QEvent::MouseMove)
        Hover(static_cast<QMouseEvent*>(event)->position().toPoint());
    if (watched == FView->viewport() && event->type() == QEvent::ToolTip &&
        ShowToolTip(*static_cast<QHelpEvent*>(event)))
        return true;
    if (watched == FView->viewport() && FIsList &&
        (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonRelease ||
         event->type() == QEvent::MouseButtonDblClick))
        return OnMouse(static_cast<QMouseEvent&>(*event)) || Pane::eventFilter(watched, event);
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
        if (IsGridShown()) return FGrid->setFocus(Qt::TabFocusReason), true;
        FView->setFocus(Qt::TabFocusReason);
        if (!FView->currentIndex().isValid() && FModel->rowCount() > 0) FView->selectRow(0);
        return true;
    }
    return Pane::eventFilter(watched, event);
}

}  // namespace vexa::host
