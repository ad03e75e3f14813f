#pragma once
// The table of rows with its search field. Main thread.

#include "Pane.h"
#include "TableModel.h"

#include <QItemSelection>
#include <QTimer>
#include <QToolButton>
#include <QWidget>

#include <optional>

class QLabel;
class QLineEdit;
class QTableView;

namespace vexa::host {

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
    void MenuWanted(const QPoint& position);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Localize() override;
    void UpdateVisibleRows();
    void OnShown();
    void ArrangeColumns(const LibraryStorage& storage);
    void FitColumns();
    void ShowColumnMenu(const QPoint& position);
    void KeepTop();
    void SetRowTexts();
    void ShowScope();
    void ShowCount();

    const WindowTexts FTexts;
    TableModel* const FModel;
    QLineEdit* const FSearch;
    QToolButton* const FAll;
    QTableView* const FView;
    QLabel* const FCount;
    QLabel* const FFailure;  // shown in place of the rows while the storage cannot give any
    QTimer FTyping;
    QString FScope;
    QString FStorageID;  // the storage whose rows are shown; empty for none
    QString FCurrentFile;
    int FCurrentRow = -1;
    // The row at the top of the view before rows moved, and its number then.
    QPersistentModelIndex FTop;
    int FTopRow = -1;
};

}  // namespace vexa::host
