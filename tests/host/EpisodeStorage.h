#pragma once
// A storage over a list in memory, such as a plug-in provides: rows, a tree of states and shows, finding files.

#include "HostFixture.h"
#include "Library.h"
#include "StorageParts.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.Runtime.Threads.h"

#include <optional>

namespace tests {

using namespace vexa;

struct Episode {
    QString ID, Title, Show;
    int State;
    double Duration;
};

/// Texts for the states 0 to 2.
class StateWords final : public RefCountedObject<IVEXAMLDataFieldDisplayValue> {
public:
    const char16_t* GetDisplayValue(const Variant* value, std::int32_t* length) noexcept override {
        EXPECT_TRUE(IsMainThread());
        const auto state = host::Converted<std::int32_t>(host::FromVariant(*value));
        if (!state) return nullptr;
        FText = QStringList{u"heard"_s, u"new"_s, u"later"_s}.value(*state);
        *length = static_cast<std::int32_t>(FText.size());
        return reinterpret_cast<const char16_t*>(FText.constData());
    }

private:
    QString FText;
};

/// "new" and "shows" with the shows below each of them. Values are "state 1", "shows", "show NAME".
class EpisodeTree final : public RefCountedObject<IVEXAMLGroupingTreeDataProvider> {
public:
    HResult AddSelectionConditions(IVEXAMLDataFilter* filter, IVEXAMLGroupingTreeSelection* path) noexcept override {
        for (const host::TreePair& pair : host::ReadSelection(path)) {
            const Variant value = host::ToVariant(pair.Value);
            filter->Add(host::MakeString(pair.Field).Get(), &value, nullptr, IVEXAMLFieldFilter::Equals, nullptr);
        }
        return S_OK;
    }
    std::uint32_t GetCapabilities() noexcept override { return HideAllData; }
    HResult ListChildren(IVEXAMLGroupingTreeSelection* parent,
                         IVEXAMLGroupingTreeDataProviderSelection** nodes) noexcept override {
        const auto pairs = host::ReadSelection(parent);
        if (pairs.size() > 1) return E_INVALIDARG;
        const QString value = pairs.empty() ? QString() : std::get<QString>(pairs[0].Value);
        if (value.startsWith(u"show ")) return E_FAIL;
        std::vector<host::TreeNode> list;
        if (value.isEmpty())
            list = {{"new (2)", 3, 4, {"Node", u"state 1"_s}}, {"shows", 1, 0, {"Node", u"shows"_s}}};
        else
            list = {{value == u"shows" ? u"A"_s : u"(1) A"_s, 2, 3, {"Node", u"show A"_s}},
                    {"B", 2, 3, {"Node", u"show B"_s}}};
        *nodes = Ref<FixedNodes>(new FixedNodes(list)).Detach();
        return S_OK;
    }
    HResult GetFieldForAlphabeticIndex(IVEXAString**) noexcept override { return E_NOTIMPL; }
};

class EpisodeStorage final : public host::PropertyList<IVEXAPropertyList2, IVEXAMLExtensionDataStorage,
                                                       IVEXAMLDataProvider, IVEXAMLDataStorageCommandFindInLibrary,
                                                       IVEXAMLTaskProgress, IVEXAMLSubscriptionStorage> {
public:
    explicit EpisodeStorage(const QString& id = u"Tests.Episodes"_s) {
        SetValueAsObject(IVEXAMLExtensionDataStorage::ID, host::MakeString(id).Get());
        SetValueAsObject(IVEXAMLExtensionDataStorage::Caption, host::MakeString("Episodes").Get());
        SetValueAsInt32(IVEXAMLExtensionDataStorage::Capabilities, 7);
    }

    std::vector<Episode> Episodes{{"e1", "Tide", "A", 1, 60},
                                  {"e2", "Bell", "B", 1, 90.5},
                                  {"e3", "Fog", "A", 0, 30},
                                  {"e4", "Storm", "A", 2, 45}};
    Ref<IVEXAMLDataStorageManager> Manager;
    host::BackgroundTask::Position Progress{};  // of every task; unknown while Count is 0
    std::vector<std::int32_t> CancelledTasks;
    bool OffersSubscriptions = false;
    bool OffersFiles = false;  // rows have files, "episode://e1", and the shows by which playlists group them

    /// From now on requests wait inside the storage until LetThrough.
    void Hold() { SetHolding(true); }
    void LetThrough() { SetHolding(false); }
    /// The requests so far, each as "Title Duration;State=1;sort Title:2;2,1".
    QStringList Asked() {
        const TLock lock(FMutex);
        return FAsked;
    }
    void WaitUntilAsked(int count) {
        TLock lock(FMutex);
        FChanged.Wait(lock, [&]() VEXA_REQUIRES(FMutex) { return FAsked.size() >= count; });
    }

    HResult QueryInterface(const Guid& iid, void** object) noexcept override {
        if (iid == IVEXAMLSubscriptionStorage::IID && !OffersSubscriptions) return *object = nullptr, E_NOINTERFACE;
        return PropertyList::QueryInterface(iid, object);
    }
    void Finalize() noexcept override { Manager = nullptr; }
    void Initialize(IVEXAMLDataStorageManager* manager) noexcept override {
        Manager = Ref<IVEXAMLDataStorageManager>(manager);
    }
    HResult LoadConfig(IUnknown*) noexcept override { return S_OK; }
    HResult SaveConfig(IUnknown*) noexcept override { return S_OK; }
    void FlushCache() noexcept override {}
    HResult GetFields(std::int32_t schema, IVEXAObjectList** fields) noexcept override;
    HResult GetGroupingPresets(std::int32_t schema, IVEXAMLGroupingPresets* presets) noexcept override {
        if (schema != kSchemaTree) return S_OK;
        const Ref<EpisodeTree> tree(new EpisodeTree);
        return presets->Add(host::MakeString("Default").Get(), nullptr, 0, tree.Get());
    }
    HResult GetData(IVEXAObjectList* fields, IVEXAMLDataFilter* filter, IUnknown** data) noexcept override;
    HResult Find(IVEXAFileInfo* info, IVEXAMLDataFilter** filter,
                 IVEXAMLGroupingTreeSelection** selection) noexcept override;

    HResult GetProgress(std::int32_t, std::int32_t* item, std::int32_t* count, double* share) noexcept override {
        *item = Progress.Item;
        *count = Progress.Count;
        *share = Progress.Share;
        return Progress.Count > 0 ? S_OK : S_FALSE;
    }
    HResult Cancel(std::int32_t taskID) noexcept override { return CancelledTasks.push_back(taskID), S_OK; }

    HResult GetRowCount(IVEXAObjectList* fields, IVEXAMLDataFilter* filter, std::int64_t* count) noexcept override;
    /// An address that begins with "http" is a feed's; a feed whose address ends with "known" is subscribed already.
    HResult Subscribe(IVEXAObjectList* addresses, IVEXAMLSubscriptionEvents* events) noexcept override;
    HResult ImportOPML(IVEXAString* fileName, IVEXAMLSubscriptionEvents* events,
                       IVEXAErrorInfo* error) noexcept override;
    HResult ExportOPML(IVEXAString* fileName, IVEXAErrorInfo* error) noexcept override;
    HResult GetOutcomes(std::int32_t taskID, std::int32_t first, IVEXAObjectList** outcomes) noexcept override;

private:
    /// The episodes that satisfy a filter's conditions; nothing when the filter contains anything else.
    std::optional<std::vector<Episode>> Select(IVEXAMLDataFilter* filter, QStringList* conditions);
    void SetHolding(bool isHolding) {
        const TLock lock(FMutex);
        FIsHolding = isHolding;
        FChanged.NotifyAll();
    }

    TMutex FMutex;
    TCondition FChanged;
    QStringList FAsked VEXA_GUARDED_BY(FMutex);
    bool FIsHolding VEXA_GUARDED_BY(FMutex) = false;
};

}  // namespace tests
