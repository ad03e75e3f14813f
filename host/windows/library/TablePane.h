#pragma once
// The table of rows with its search field. Main thread.

#include "Pane.h"
#include "TableModel.h"

#include <QItemSelection>
#include <QTimer>
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

    /// Shows the rows of a storage. `layout` is what SaveLayout gave; empty, or of other columns: as the storage
    /// wishes.
    void SetSource(const LibraryStorage* storage, RowReader* reader, const QByteArray& layout);
    QByteArray SaveLayout() const;

    QString CurrentFile() const;
    QStringList SelectedFiles();
    QStringList AllFiles();
    /// Makes the row of a file the current one, when it is among the rows that are there.
    bool ShowFile(const QString& file);
    void OnThemeChanged();

Q_SIGNALS:
    /// The current row is another file's, or the rows were read again.
    void CurrentChanged();
    void SearchChanged(const QString& text);
    void Activated(const QString& file);
    void MenuWanted(const QPoint& position);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Localize() override;
    void UpdateSight();
    void OnShown();
    void ArrangeColumns(const LibraryStorage& storage);
    void ShowColumnMenu(const QPoint& position);
    void KeepTop();
    void NameRows();
    void ShowCount();

    const WindowTexts FTexts;
    TableModel* const FModel;
    QLineEdit* const FSearch;
    QTableView* const FView;
    QLabel* const FCount;
    QLabel* const FFailure;  // over the rows' place while the storage can give none
    QTimer FTyping;
    QString FStorageID;  // whose rows show; empty for none
    QString FCurrentFile;
    int FCurrentRow = -1;
    // What stood at the top before rows moved, and where.
    QPersistentModelIndex FTop;
    int FTopRow = -1;
};

}  // namespace vexa::host
