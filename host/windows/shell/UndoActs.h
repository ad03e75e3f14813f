#pragma once
// What the user can undo: the window's own acts, and those of the storage that the library shows (IVEXAMLUndo), the
// newest first. Main thread.

#include "Host.h"
#include "Library.h"

#include <QObject>

#include <deque>
#include <functional>
#include <optional>

namespace vexa::host {

class UndoActs final : public QObject, private MusicLibraryListener {
    Q_OBJECT
public:
    explicit UndoActs(MusicLibraryService& library);
    ~UndoActs() override;

    /// Null: no storage is shown.
    void SetStorage(const LibraryStorage* storage);
    /// Adds an act of the window's own.
    void Add(const QString& text, std::function<void()> undo);
    /// What Undo would undo; nothing when there is nothing.
    std::optional<QString> Newest() const;
    void Undo();

Q_SIGNALS:
    /// The user did something that can be undone.
    void Done(const QString& text);
    /// An act was undone, but not everything is as before it, for the reason given; or nothing could be undone.
    void UndonePartly(const QString& reason);

private:
    class Events;
    struct OwnAct {
        std::int64_t After;  // the storage's newest act at that time
        QString Text;
        std::function<void()> Undo;
    };
    struct StorageAct {
        std::int64_t Number = 0;  // 0: there is none
        QString Text;
    };

    void OnDataChanged(const QString& storageID) override;
    void OnTasksChanged(const QString&) override {}
    StorageAct NewestOfStorage() const;

    MusicLibraryService& FLibrary;
    QString FStorageID;
    Ref<IVEXAMLUndo> FStorage;
    std::int64_t FLastSeen = 0;  // of the storage's acts
    std::deque<OwnAct> FOwn;
};

}  // namespace vexa::host
