#pragma once
// The rows with their search field: as a list with rows of two lines, or compact, as a table of columns. Main thread.

#include "ListRowDelegate.h"
#include "Pane.h"
#include "TableModel.h"

#include <QItemSelection>
#include <QTimer>
#include <QToolButton>
#include <QWidget>

#include <optional>

class QAction;
class QHelpEvent;
class QLabel;
class QLineEdit;
class QMouseEvent;
class QStackedWidget;
class QTableView;
class QVBoxLayout;

namespace vexa::host {

class CoverGrid;
class NodePage;

class TablePane final : public Pane<QWidget> {
    Q_OBJECT
public:
    explicit TablePane(const LanguageService& language, QWidget* parent = nullptr);

    TableModel& Model() noexcept { return *FModel; }
    QTableView* View() const noexcept { return FView; }
    QLineEdit* Search() const noexcept { return FSearch; }

    /// Shows the rows of a storage. `layout` comes from SaveLayout; when it is empty or of other columns, the storage's
    /// own layout is used.
    void SetSource(const LibraryStorage* storage, RowReader* reader, const QByteArray& layout);
    QByteArray SaveLayout() const;

    /// The order of the rows as text, such as "PublishDate|1" (1: descending); empty when there is none.
    QString Sort() const;
    /// Ignores the order by a field that is not shown.
    void SetSort(const QString& sort);
    /// Compact is the table of columns. A storage whose rows have no title is always shown so.
    void SetCompact(bool isCompact) { FCompact->setChecked(isCompact); }
    /// Checkable: chooses between table and list.
    QAction* CompactAction() const noexcept { return FCompact; }
    /// Shown above the rows; its owner shows and hides it.
    void SetPage(NodePage* page);
    /// Shown in place of the rows while nothing is searched, if the user wants it; null for none. The pane becomes its
    /// parent.
    void SetGrid(CoverGrid* grid);
    /// Whether the node has sources that the grid shows.
    void SetHasGrid(bool hasGrid);
    bool IsGridShown() const;
    /// Checkable: chooses between the grid and the rows.
    QAction* GridAction() const noexcept { return FGridWanted; }
    /// What the list says when it is empty.
    void SetEmptyText(WindowTexts::RowText text) { FEmptyText = text; }
    /// Which buttons rows have at present, besides those that play.
    void SetOfferedButtons(std::function<bool(RowButton)> isOffered) { FIsOffered = std::move(isOffered); }

    QString CurrentFile() const;
    QStringList SelectedFiles();
    /// What the search looks through: the caption of a node of the tree; empty where there is only the whole library.
    void SetScope(const QString& node);
    /// Whether the search looks through the whole library, whatever the node; not any more once its text is cleared.
    bool SearchesAll() const { return FAll->isChecked(); }
    void SetSearchesAll(bool searchesAll) { FAll->setChecked(searchesAll); }
    void FocusSearch(bool all);
    QStringList AllFiles();
    /// Tells the model that the user is about to change the selected rows.
    void TouchSelected();
    /// Makes the row of a file the current one, if it is among the rows read so far.
    bool ShowFile(const QString& file);
    void OnThemeChanged();

Q_SIGNALS:
    /// The current row belongs to another file, or the rows were read again.
    void CurrentChanged();
    void SearchChanged(const QString& text);
    void SearchesAllChanged();
    /// What SaveLayout returns may have changed.
    void LayoutChanged();
    void Activated(const QString& file);
    /// A button of a row was clicked, other than Play, which is Activated. The row is the only one selected.
    void ButtonClicked(RowButton button, const QString& file);
    /// The user chose between table and list.
    void CompactChanged(bool isCompact);
    void GridOrderChanged();
    void MenuWanted(const QPoint& position);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void Localize() override;
    void UpdateVisibleRows();
    void Arrange();
    void ShowAsList(bool isList);
    void ShowGrid();
    void ShowSort();
    void FillSortMenu();
    void Hover(const QPoint& place);
    bool ShowToolTip(const QHelpEvent& event);
    bool OnMouse(const QMouseEvent& event);
    void OnShown();
    void ArrangeColumns(const LibraryStorage& storage);
    void FitColumns();
    void ShowColumnMenu(const QPoint& position);
    void KeepTop();
    void SetRowTexts();
    void ShowScope();
    void ShowCount();

    int RowHeight() const { return FIsList ? ListRowDelegate::kListHeight : RowDelegate::kHeight; }

    const WindowTexts FTexts;
    TableModel* const FModel;
    QLineEdit* const FSearch;
    QToolButton* const FAll;
    QAction* const FCompact;
    QToolButton* const FSort;  // shown with the list, which has no header
    QToolButton* const FLook;
    QTableView* const FView;
    QAction* const FGridWanted;
    QToolButton* const FGridButton;
    QStackedWidget* const FStack;
    QVBoxLayout* FWhole = nullptr;
    NodePage* FPage = nullptr;
    CoverGrid* FGrid = nullptr;
    bool FHasGrid = false;
    WindowTexts::RowText FEmptyText = WindowTexts::RowText::NoRows;
    QLabel* const FCount;
    QLabel* const FFailure;  // shown in place of the rows while the storage cannot give any
    QTimer FTyping;
    RowDelegate* const FTableRows;
    ListRowDelegate* const FListRows;
    std::function<bool(RowButton)> FIsOffered;
    bool FIsList = false;
    QByteArray FColumnLayout;  // the header's state while the list is shown, which hides all columns but the title's
    std::optional<RowButton> FPressed;
    QString FScope;
    QString FStorageID;  // the storage whose rows are shown; empty for none
    QString FCurrentFile;
    int FCurrentRow = -1;
    // The row at the top of the view before rows moved, and its number then.
    QPersistentModelIndex FTop;
    int FTopRow = -1;
};

}  // namespace vexa::host
