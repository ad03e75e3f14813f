#include "MusicLibrary.h"

#include "Guarded.h"
#include "Properties.h"
#include "VEXA.Runtime.Threads.h"

#include <algorithm>
#include <utility>

namespace vexa::host {

std::optional<BackgroundTask::Position> BackgroundTask::Progress() const {
    Position position{};
    if (!Reporting || Reporting->GetProgress(ID, &position.Item, &position.Count, &position.Share) != S_OK) return {};
    position.Share = position.Share > 0 ? std::min(position.Share, 1.0) : 0;  // also where it is no number
    return position;
}

void BackgroundTask::Cancel() const {
    if (CancelEvent)
        CancelEvent->OnExecute(nullptr);
    else if (Reporting)
        Reporting->Cancel(ID);
}

/// Through this a storage reaches the library, until the storage is finalised.
class MusicLibraryService::Manager final : public RefCountedObject<IVEXAMLDataStorageManager> {
public:
    Manager(MusicLibraryService* library, const QString& storageID, Ref<IVEXAMLTaskProgress> reporting)
        : FLibrary(library), FStorageID(storageID), FReporting(std::move(reporting)) {}

    void Disconnect() {
        FLibrary = nullptr;
        FTasks.clear();
        FReporting = nullptr;
    }
    const std::vector<BackgroundTask>& Tasks() const { return FTasks; }
    int ChangeCount() const { return FChangeCount; }

    void BackgroundTaskStarted(std::int32_t taskID, IVEXAString* caption, IVEXAActionEvent* cancel) noexcept override {
        VEXA_ASSERT_MAIN_THREAD();
        Guarded("showing a background task", [&] {
            if (!FLibrary) return E_UNEXPECTED;
            Ref<IVEXAString> text = caption ? Ref<IVEXAString>(caption) : MakeString({});
            const BackgroundTask task{taskID, std::move(text), Ref<IVEXAActionEvent>(cancel), FReporting};
            const auto found = Find(taskID);
            if (found != FTasks.end())
                *found = task;
            else
                FTasks.push_back(task);
            FLibrary->Notify(&MusicLibraryListener::OnTasksChanged, FStorageID);
            return S_OK;
        });
    }
    void BackgroundTaskFinished(std::int32_t taskID) noexcept override {
        VEXA_ASSERT_MAIN_THREAD();
        Guarded("ending a background task", [&] {
            const auto found = Find(taskID);
            if (!FLibrary || found == FTasks.end()) return E_INVALIDARG;
            FTasks.erase(found);
            FLibrary->Notify(&MusicLibraryListener::OnTasksChanged, FStorageID);
            return S_OK;
        });
    }
    void Changed() noexcept override {
        VEXA_ASSERT_MAIN_THREAD();
        Guarded("showing changed data", [&] {
            if (!FLibrary) return E_UNEXPECTED;
            ++FChangeCount;
            FLibrary->Notify(&MusicLibraryListener::OnDataChanged, FStorageID);
            return S_OK;
        });
    }

private:
    std::vector<BackgroundTask>::iterator Find(std::int32_t taskID) {
        return std::find_if(FTasks.begin(), FTasks.end(),
                            [&](const BackgroundTask& task) { return task.ID == taskID; });
    }

    MusicLibraryService* FLibrary;
    const QString FStorageID;
    Ref<IVEXAMLTaskProgress> FReporting;
    std::vector<BackgroundTask> FTasks;
    int FChangeCount = 0;
};

MusicLibraryService::MusicLibraryService(Ref<IUnknown> config) : FConfig(std::move(config)) {}

MusicLibraryService::~MusicLibraryService() {
    for (const Storage& storage : FStorages) storage.Link->Disconnect();
}

const MusicLibraryService::Storage* MusicLibraryService::Find(const QString& id) const {
    for (const Storage& storage : FStorages)
        if (storage.ID == id) return &storage;
    return nullptr;
}

const MusicLibraryService::Storage* MusicLibraryService::Find(IUnknown* object) const {
    for (const Storage& storage : FStorages)
        if (IsSameObject(storage.Object.Get(), object)) return &storage;
    return nullptr;
}

void MusicLibraryService::Notify(void (MusicLibraryListener::*what)(const QString&), const QString& storageID) {
    for (const auto listeners = FListeners; MusicLibraryListener * listener : listeners)
        if (std::find(FListeners.begin(), FListeners.end(), listener) != FListeners.end()) (listener->*what)(storageID);
}

QStringList MusicLibraryService::StorageIDs() const {
    QStringList ids;
    for (const Storage& storage : FStorages) ids += storage.ID;
    return ids;
}

QString MusicLibraryService::ActiveStorageID() const {
    return FActiveID;
}

std::vector<BackgroundTask> MusicLibraryService::Tasks(const QString& storageID) const {
    const Storage* storage = Find(storageID);
    return storage ? storage->Link->Tasks() : std::vector<BackgroundTask>();
}

int MusicLibraryService::ChangeCount(const QString& storageID) const {
    const Storage* storage = Find(storageID);
    return storage ? storage->Link->ChangeCount() : 0;
}

HResult MusicLibraryService::AddExtension(IUnknown* extension) {
    VEXA_ASSERT_MAIN_THREAD();
    const auto object = Query<IVEXAMLExtensionDataStorage>(extension);
    const auto properties = Query<IVEXAPropertyList>(extension);
    if (!object || !properties) return E_INVALIDARG;
    const QString id = TextOf(properties.Get(), IVEXAMLExtensionDataStorage::ID);
    if (id.isEmpty() || Find(id)) return E_INVALIDARG;

    const Ref<Manager> manager(new Manager(this, id, Query<IVEXAMLTaskProgress>(extension)));
    FStorages.push_back({id, object, manager});
    if (FActiveID.isEmpty()) FActiveID = id;
    object->Initialize(manager.Get());
    if (FConfig) object->LoadConfig(FConfig.Get());
    Notify(&MusicLibraryListener::OnStorageAdded, id);
    return S_OK;
}

void MusicLibraryService::FinalizeExtension(IUnknown* extension) {
    VEXA_ASSERT_MAIN_THREAD();
    const Storage* found = Find(extension);
    if (!found) return;
    const Storage storage = *found;
    Notify(&MusicLibraryListener::OnStorageEnding, storage.ID);
    storage.Object->FlushCache();
    if (FConfig) storage.Object->SaveConfig(FConfig.Get());
    storage.Object->Finalize();
    storage.Link->Disconnect();
}

void MusicLibraryService::RemoveExtension(IUnknown* extension) {
    VEXA_ASSERT_MAIN_THREAD();
    const Storage* found = Find(extension);
    if (!found) return;
    const Storage removed = *found;
    FStorages.erase(FStorages.begin() + (found - FStorages.data()));
    removed.Link->Disconnect();
    if (FActiveID == removed.ID) FActiveID = FStorages.empty() ? QString() : FStorages.front().ID;
}

HResult MusicLibraryService::GetActiveStorage(const Guid& iid, void** storage) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!storage) return E_POINTER;
    *storage = nullptr;
    return Guarded("giving the active storage", [&] {
        const Storage* found = Find(FActiveID);
        return found ? Ref(found->Object)->QueryInterface(iid, storage) : E_FAIL;
    });
}

HResult MusicLibraryService::GetStorageByID(IVEXAString* id, const Guid& iid, void** storage) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!storage) return E_POINTER;
    *storage = nullptr;
    return Guarded("giving a storage", [&] {
        const Storage* found = Find(ToQString(id));
        return found ? Ref(found->Object)->QueryInterface(iid, storage) : E_FAIL;
    });
}

HResult MusicLibraryService::SetActiveStorage(IUnknown* storage) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    return Guarded("choosing a storage", [&] {
        const Storage* found = storage ? Find(storage) : nullptr;
        if (!found) return E_INVALIDARG;
        const QString id = found->ID;
        if (std::exchange(FActiveID, id) != id) Notify(&MusicLibraryListener::OnActiveStorageChanged, id);
        return S_OK;
    });
}

}  // namespace vexa::host
