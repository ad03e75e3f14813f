#pragma once
// Service: the music library's storages, and what they tell of themselves. Main thread.

#include "Extensions.h"
#include "Strings.h"
#include "VEXA.Runtime.Classes.h"
#include "VEXA.SDK.MusicLibrary.h"

#include <map>
#include <vector>

namespace vexa::host {

/// Hears what storages tell.
class MusicLibraryListener {
public:
    /// Rows or nodes of the storage changed.
    virtual void OnDataChanged(const QString& storageID) = 0;
    /// One of the storage's background tasks began or ended.
    virtual void OnTasksChanged(const QString& storageID) = 0;
    /// The storage is the one to show now.
    virtual void OnActiveStorageChanged(const QString&) {}
    /// A storage was registered. Its plug-in may still be at it: what is asked of the storage is asked later.
    virtual void OnStorageAdded(const QString&) {}
    /// A storage is about to be finalised: nothing of it may be held, or asked, any more.
    virtual void OnStorageEnding(const QString&) {}

protected:
    ~MusicLibraryListener() = default;
};

/// Work that a storage does in the background. The caption's text changes all the while.
struct BackgroundTask {
    std::int32_t ID;
    Ref<IVEXAString> Caption;
    Ref<IVEXAActionEvent> Cancel;  // null: it cannot be cancelled
};

class MusicLibraryService final : public RefCountedObject<IVEXAServiceMusicLibrary>, public ExtensionTarget {
public:
    /// `config` is what storages load their settings from; may be null.
    explicit MusicLibraryService(Ref<IUnknown> config);
    ~MusicLibraryService() override;

    /// In the order registered.
    QStringList StorageIDs() const;
    /// Empty when no storage shows.
    QString ActiveStorageID() const;
    std::vector<BackgroundTask> Tasks(const QString& storageID) const;
    /// How often the storage said that its data changed.
    int ChangeCount(const QString& storageID) const;
    /// A listener may add and remove listeners while it is called. It is removed before it ends.
    void AddListener(MusicLibraryListener* listener) { FListeners.push_back(listener); }
    void RemoveListener(MusicLibraryListener* listener) { std::erase(FListeners, listener); }

    /// A storage with an ID of its own is initialised at once; the first one is the active one.
    HResult AddExtension(IUnknown* extension) override;
    void FinalizeExtension(IUnknown* extension) override;
    void RemoveExtension(IUnknown* extension) override;

    HResult GetActiveStorage(const Guid& iid, void** storage) noexcept override;
    HResult GetStorageByID(IVEXAString* id, const Guid& iid, void** storage) noexcept override;
    /// E_INVALIDARG for what was not registered.
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
    void Tell(void (MusicLibraryListener::*what)(const QString&), const QString& storageID);

    Ref<IUnknown> FConfig;
    std::vector<Storage> FStorages;
    QString FActiveID;
    std::vector<MusicLibraryListener*> FListeners;
};

}  // namespace vexa::host
