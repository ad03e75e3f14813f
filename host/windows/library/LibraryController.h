#pragma once
// Connects tree and table to the active storage: the selected node narrows the rows, both are read again when the
// storage's data changed and while it works in the background, and plug-ins get at the selection. Fills the selected
// node's page and the grid of covers. Main thread.

#include "CoverGrid.h"
#include "Covers.h"
#include "Host.h"
#include "LatestTask.h"
#include "NodePage.h"
#include "Rows.h"
#include "TablePane.h"
#include "TreePane.h"

#include <QObject>
#include <QTimer>

#include <memory>

namespace vexa::host {

class LibraryController final : public QObject, private MusicLibraryListener {
    Q_OBJECT
public:
    /// The panes outlive it.
    LibraryController(Host& host, TreePane& tree, TablePane& table, NodePage& page, CoverGrid& grid);
    ~LibraryController() override;

    /// Null while no storage is shown.
    const LibraryStorage* Storage() const noexcept { return FSource ? &FSource->Storage : nullptr; }
    /// Whether there is nothing to show yet, because the storage manages subscriptions and has none.
    bool IsEmpty() const noexcept { return FIsEmpty; }
    /// Shows the file in tree and table, if the library has it.
    void Find(const QString& file);
    /// The picture of the node that has the file, as in the lists; null when the storage has no pictures.
    QPixmap Cover(const QString& file, const QString& name, int side);
    /// Runs a command of the library as if only these files were selected.
    void RunOn(IVEXAMenuItem& item, const QStringList& files);
    /// Marks all rows of the selected node that are not done yet as done, if there is a command for that.
    void MarkAllDone();
    /// The selected node's pair; nothing when none is selected.
    std::optional<TreePair> SelectedNode() const;
    /// Saves the selected node and the table's layout for the next start.
    void SaveLayout();

public Q_SLOTS:
    /// Reads tree and table again after a short delay, so that several requests become one.
    void Reload();

Q_SIGNALS:
    void StorageChanged();
    void TasksChanged();
    void Reloaded();
    /// Cover may return other pictures.
    void CoversChanged();
    void PlayWanted(const QString& file);

private:
    class Selection;
    struct Source {
        explicit Source(MusicLibraryService& library) : Storage(library), Reader(Storage) {}
        LibraryStorage Storage;
        RowReader Reader;
    };

    void OnDataChanged(const QString& storageID) override;
    void OnTasksChanged(const QString& storageID) override;
    void OnActiveStorageChanged(const QString& storageID) override;
    void OnStorageAdded(const QString& storageID) override;
    void OnStorageEnding(const QString& storageID) override;

    void Open();
    void Close();
    void ReloadNow();
    void Narrow();
    void ShowNode();
    void PlayOldestUntouched();
    void FillPage();
    void ShowCover();
    void FillGrid();
    std::vector<TreeNode> SourcesBelow();
    void ShowScope();
    void UpdateIsEmpty();
    QString Key(const char* name) const;
    QString CompactKey() const;

    Host& FHost;
    TreePane& FTree;
    TablePane& FTable;
    NodePage& FPage;
    CoverGrid& FGrid;
    Covers FCovers;
    std::unique_ptr<Source> FSource;
    std::shared_ptr<Selection> FSelection;  // null while no storage is shown
    LatestTask FPageReader, FGridReader;
    QTimer FOpening, FReloading, FWorking;
    QString FSearch;
    QString FFileToShow;  // a file to be shown once its rows have been read
    bool FIsEmpty = false;
};

}  // namespace vexa::host
