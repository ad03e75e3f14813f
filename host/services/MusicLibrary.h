#pragma once
// Service: the music library's storages, their background tasks and their changes. Main thread.

#include "Extensions.h"
#include "Strings.h"
#include "VEXA.Runtime.Classes.h"
#include "VEXA.SDK.MusicLibrary.h"

#include <map>
#include <optional>
#include <vector>

namespace vexa::host {

/// Is told about changes of storages.
class MusicLibraryListener {
public:
    /// Rows or nodes of the storage changed.
    virtual void OnDataChanged(const QString& storageID) = 0;
    /// One of the storage's background tasks began or ended.
    virtual void OnTasksChanged(const QString& storageID) = 0;
    /// The storage has become the active one, which the window shows.
    virtual void OnActiveStorageChanged(const QString&) {}
    /// A storage was registered. Its plug-in may still be in the middle of registering, so ask the storage nothing
    /// before the next turn of the event loop.
    virtual void OnStorageAdded(const QString&) {}
    /// A storage is about to be finalised: release everything that belongs to it, and ask it nothing any more.
    virtual void OnStorageEnding(const QString&) {}

protected:
    ~MusicLibraryListener() = default;
};

/// Work that a storage does in the background. The storage may change the caption's text at any time.
struct BackgroundTask {
    struct Position {
        std::int32_t Item, Count;  // such as the third of ten feeds; counted from 1
        double Share;              // of the whole task, from 0 to 1
    };

    std::int32_t ID;
    Ref<IVEXAString> Caption;
    Ref<IVEXAActionEvent> CancelEvent;   // null: the task has none
    Ref<IVEXAMLTaskProgress> Reporting;  // null: the storage does not report how far its tasks are

    /// Nothing when it is not known.
    std::optional<Position> Progress() const;
    bool CanCancel() const noexcept { return CancelEvent || Reporting; }
    void Cancel() const;
};

class MusicLibraryService final : public RefCountedObject<IVEXAServiceMusicLibrary>, public ExtensionTarget {
public:
    /// `config`, which may be null, is where storages load their settings from.
    explicit MusicLibraryService(Ref<IUnknown> config);
    ~MusicLibraryService() override;

    /// The storages' IDs in the order registered.
    QStringList StorageIDs() const;
    /// Empty when there is no active storage.
    QString ActiveStorageID() const;
    std::vector<BackgroundTask> Tasks(const QString& storageID) const;
    /// How often the storage has reported changed data.
    int ChangeCount(const QString& storageID) const;
    /// A listener may add and remove listeners while it is called. Remove it before destroying it.
    void AddListener(MusicLibraryListener* listener) { FListeners.push_back(listener); }
    void RemoveListener(MusicLibraryListener* listener) { std::erase(FListeners, listener); }

    /// Initialises the storage at once; the first storage becomes the active one. E_INVALIDARG when its ID is empty or
    /// another storage's.
    HResult AddExtension(IUnknown* extension) override;
    void FinalizeExtension(IUnknown* extension) override;
    void RemoveExtension(IUnknown* extension) override;

    HResult GetActiveStorage(const Guid& iid, void** storage) noexcept override;
    HResult GetStorageByID(IVEXAString* id, const Guid& iid, void** storage) noexcept override;
    /// E_INVALIDARG for a storage that is not registered.
    HResult SetActiveStorage(IUnknown* storage) noexcept override;

private:
    class Manager;
    struct Storage {
        QString ID;
        Ref<IVEXAMLExtensionDataStorage> Object;
        Ref<Manager> Link;
    };

    const Storage* Find(const QString& id) const;
    const Storage* Find(IUnknown* object) const;
    void Notify(void (MusicLibraryListener::*what)(const QString&), const QString& storageID);

    Ref<IUnknown> FConfig;
    std::vector<Storage> FStorages;
    QString FActiveID;
    std::vector<MusicLibraryListener*> FListeners;
};

}  // namespace vexa::host
