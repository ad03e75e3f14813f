#pragma once
// Joins tree and table to the storage that shows: what is selected in the one narrows the other, both are read again
// when the storage says so and while it works in the background, and plug-ins are told what is selected. Main thread.

#include "Host.h"
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
    LibraryController(Host& host, TreePane& tree, TablePane& table);
    ~LibraryController() override;

    /// Null while no storage shows.
    const LibraryStorage* Storage() const noexcept { return FSource ? &FSource->Storage : nullptr; }
    /// Whether there is nothing to show yet: the storage keeps subscriptions, and has none.
    bool IsEmpty() const noexcept { return FIsEmpty; }
    /// Shows the file in tree and table, if the library has it.
    void Find(const QString& file);
    /// What shows now is remembered for the next start.
    void SaveLayout();

public Q_SLOTS:
    /// Soon: several wishes at once are one.
    void Reload();

Q_SIGNALS:
    void StorageChanged();
    void TasksChanged();
    void Reloaded();

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
    void LookWhetherEmpty();
    QString Key(const char* name) const;

    Host& FHost;
    TreePane& FTree;
    TablePane& FTable;
    std::unique_ptr<Source> FSource;
    QTimer FOpening, FReloading, FWorking;
    QString FSearch;
    QString FWanted;  // a file to be shown when its rows are there
    bool FIsEmpty = false;
};

}  // namespace vexa::host
