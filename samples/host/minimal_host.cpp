// The smallest useful host: loads the podcasts plug-in, subscribes to a feed, lists its episodes, and ends.
//
//     minimal_host PLUGIN PROFILE-FOLDER ADDRESS
//
// It needs only the interfaces (docs/sdk.md) and the toolkit's event loop. It offers the two services that the plug-in
// requires, and the two kinds of objects that are needed to request rows and to pass addresses.

#include "VEXA.SDK.h"

#include <QCoreApplication>

#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

using namespace vexa;

namespace {

// ---- Objects ----

/// `object` as the interface `iid`, if that is Interface or an interface that it extends; else null.
template <class Interface>
void* Offered(Interface* object, const Guid& iid) {
    if (iid == Interface::IID) return object;
    if constexpr (requires { typename Interface::Base; })
        return Offered<typename Interface::Base>(object, iid);
    else
        return nullptr;
}

/// Implements IUnknown. The first Ref owns the object.
template <class First, class... More>
class Object : public First, public More... {
public:
    HResult QueryInterface(const Guid& iid, void** object) noexcept override {
        if (!object) return E_POINTER;
        *object = Offered<First>(this, iid);
        (void)(*object || ... || (*object = Offered<More>(this, iid)));
        if (!*object && iid == IUnknown::IID) *object = static_cast<First*>(this);
        if (!*object) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    std::int32_t AddRef() noexcept override { return ++FCount; }
    std::int32_t Release() noexcept override {
        const std::int32_t count = --FCount;
        if (count == 0) delete this;
        return count;
    }

protected:
    virtual ~Object() = default;

private:
    std::atomic<std::int32_t> FCount{0};
};

class Text final : public Object<IVEXAString> {
public:
    explicit Text(std::u16string text = {}) : FText(std::move(text)) {}

    std::int32_t GetChars(char16_t* buffer, std::int32_t capacity) noexcept override {
        const std::lock_guard lock(FMutex);
        const auto length = static_cast<std::int32_t>(FText.size());
        if (capacity > 0) FText.copy(buffer, static_cast<std::size_t>(std::min(capacity, length)));
        return length;
    }
    HResult SetChars(const char16_t* chars, std::int32_t length) noexcept override {
        if (length < 0) return E_INVALIDARG;
        const std::lock_guard lock(FMutex);
        FText.assign(chars, static_cast<std::size_t>(length));
        return S_OK;
    }

private:
    std::mutex FMutex;
    std::u16string FText;
};

class List final : public Object<IVEXAObjectList> {
public:
    HResult Add(IUnknown* object) noexcept override { return Insert(GetCount(), object); }
    HResult Clear() noexcept override {
        FObjects.clear();
        return S_OK;
    }
    HResult Delete(std::int32_t index) noexcept override {
        if (!Has(index)) return E_INVALIDARG;
        FObjects.erase(FObjects.begin() + index);
        return S_OK;
    }
    HResult Insert(std::int32_t index, IUnknown* object) noexcept override {
        if (!object || index < 0 || index > GetCount()) return E_INVALIDARG;
        FObjects.insert(FObjects.begin() + index, Ref<IUnknown>(object));
        return S_OK;
    }
    std::int32_t GetCount() noexcept override { return static_cast<std::int32_t>(FObjects.size()); }
    HResult GetObject(std::int32_t index, const Guid& iid, void** object) noexcept override {
        if (!object) return E_POINTER;
        *object = nullptr;
        return Has(index) ? FObjects[static_cast<std::size_t>(index)]->QueryInterface(iid, object) : E_INVALIDARG;
    }
    HResult SetObject(std::int32_t index, IUnknown* object) noexcept override {
        if (!object || !Has(index)) return E_INVALIDARG;
        FObjects[static_cast<std::size_t>(index)] = Ref<IUnknown>(object);
        return S_OK;
    }

private:
    bool Has(std::int32_t index) noexcept { return index >= 0 && index < GetCount(); }
    std::vector<Ref<IUnknown>> FObjects;
};

/// A filter without conditions, order or range, which selects all rows.
class AllRows final : public Object<IVEXAMLDataFilter> {
public:
    void BeginUpdate() noexcept override {}
    void EndUpdate() noexcept override {}
    HResult Reset() noexcept override { return S_OK; }
    HResult GetValueAsFloat(std::int32_t, double*) noexcept override { return E_NOTIMPL; }
    HResult GetValueAsInt32(std::int32_t, std::int32_t*) noexcept override { return E_NOTIMPL; }
    HResult GetValueAsInt64(std::int32_t, std::int64_t*) noexcept override { return E_NOTIMPL; }
    HResult GetValueAsObject(std::int32_t, const Guid&, void** value) noexcept override {
        *value = nullptr;
        return E_INVALIDARG;
    }
    HResult SetValueAsFloat(std::int32_t, double) noexcept override { return E_NOTIMPL; }
    HResult SetValueAsInt32(std::int32_t, std::int32_t) noexcept override { return E_NOTIMPL; }
    HResult SetValueAsInt64(std::int32_t, std::int64_t) noexcept override { return E_NOTIMPL; }
    HResult SetValueAsObject(std::int32_t, IUnknown*) noexcept override { return E_NOTIMPL; }
    HResult Add(IVEXAString*, const Variant*, const Variant*, std::int32_t, IVEXAMLFieldFilter**) noexcept override {
        return E_NOTIMPL;
    }
    HResult AddArray(IVEXAString*, const Variant*, std::int32_t, IVEXAMLArrayFieldFilter**) noexcept override {
        return E_NOTIMPL;
    }
    HResult AddGroup(IVEXAMLGroupFilter**) noexcept override { return E_NOTIMPL; }
    HResult Clear() noexcept override { return S_OK; }
    HResult Delete(std::int32_t) noexcept override { return E_INVALIDARG; }
    std::int32_t GetChildCount() noexcept override { return 0; }
    HResult GetChild(std::int32_t, const Guid&, void** child) noexcept override {
        *child = nullptr;
        return E_INVALIDARG;
    }
};

Ref<IVEXAString> NewText(std::u16string text) {
    return Ref<IVEXAString>(new Text(std::move(text)));
}

/// Converts UTF-16 to UTF-8 for the terminal.
std::string ToUtf8(const char16_t* chars, std::int32_t length) {
    const std::u16string_view text(chars ? chars : u"", static_cast<std::size_t>(length));
    const auto bytes = std::filesystem::path(text).u8string();
    return {bytes.begin(), bytes.end()};
}

std::string ToUtf8(IVEXAString* text) {
    std::u16string chars(static_cast<std::size_t>(text ? text->GetChars(nullptr, 0) : 0), u'\0');
    if (text && !chars.empty()) text->GetChars(chars.data(), static_cast<std::int32_t>(chars.size()));
    return ToUtf8(chars.data(), static_cast<std::int32_t>(chars.size()));
}

// ---- Services ----

/// A configuration without any values, which does not store what is set.
class Config final : public Object<IVEXAServiceConfig> {
public:
    HResult Flush() noexcept override { return S_OK; }
    HResult GetValueAsFloat(IVEXAString*, double*) noexcept override { return E_FAIL; }
    HResult GetValueAsInt32(IVEXAString*, std::int32_t*) noexcept override { return E_FAIL; }
    HResult GetValueAsInt64(IVEXAString*, std::int64_t*) noexcept override { return E_FAIL; }
    HResult GetValueAsStream(IVEXAString*, IVEXAStream*) noexcept override { return E_FAIL; }
    HResult GetValueAsString(IVEXAString*, IVEXAString** value) noexcept override {
        *value = nullptr;
        return E_FAIL;
    }
    HResult SetValueAsFloat(IVEXAString*, double) noexcept override { return S_OK; }
    HResult SetValueAsInt32(IVEXAString*, std::int32_t) noexcept override { return S_OK; }
    HResult SetValueAsInt64(IVEXAString*, std::int64_t) noexcept override { return S_OK; }
    HResult SetValueAsStream(IVEXAString*, IVEXAStream*) noexcept override { return S_OK; }
    HResult SetValueAsString(IVEXAString*, IVEXAString*) noexcept override { return S_OK; }
};

/// A music library that shows no storage.
class Library final : public Object<IVEXAServiceMusicLibrary> {
public:
    HResult GetActiveStorage(const Guid&, void** storage) noexcept override {
        *storage = nullptr;
        return E_FAIL;
    }
    HResult GetStorageByID(IVEXAString*, const Guid&, void** storage) noexcept override {
        *storage = nullptr;
        return E_FAIL;
    }
    HResult SetActiveStorage(IUnknown*) noexcept override { return E_FAIL; }
};

/// Receives the storage's reports, and ignores them.
class Manager final : public Object<IVEXAMLDataStorageManager> {
public:
    void BackgroundTaskStarted(std::int32_t, IVEXAString*, IVEXAActionEvent*) noexcept override {}
    void BackgroundTaskFinished(std::int32_t) noexcept override {}
    void Changed() noexcept override {}
};

class Core final : public Object<IVEXACore, IVEXASdkVersion> {
public:
    explicit Core(const std::filesystem::path& profile) : FProfile(std::filesystem::absolute(profile)) {}

    /// Null when the plug-in has registered no storage.
    const Ref<IVEXAMLExtensionDataStorage>& Storage() const { return FStorage; }

    HResult QueryInterface(const Guid& iid, void** object) noexcept override {
        if (iid == IVEXAServiceMusicLibrary::IID) return FLibrary->QueryInterface(iid, object);
        if (iid == IVEXAServiceConfig::IID) return FConfig->QueryInterface(iid, object);
        return Object::QueryInterface(iid, object);
    }
    HResult GetSdkVersion(std::int32_t* major, std::int32_t* minor) noexcept override {
        if (!major || !minor) return E_POINTER;
        *major = kSdkMajor;
        *minor = kSdkMinor;
        return S_OK;
    }
    HResult CreateObject(const Guid& iid, void** object) noexcept override {
        if (!object) return E_POINTER;
        *object = nullptr;
        if (iid == IVEXAString::IID) return Ref<Text>(new Text)->QueryInterface(iid, object);
        if (iid == IVEXAObjectList::IID) return Ref<List>(new List)->QueryInterface(iid, object);
        return E_NOINTERFACE;
    }
    HResult GetPath(std::int32_t kind, IVEXAString** path) noexcept override {
        if (!path) return E_POINTER;
        *path = kind == PathProfile ? NewText(FProfile.u16string()).Detach() : nullptr;
        return *path ? S_OK : E_INVALIDARG;
    }
    HResult RegisterExtension(const Guid& service, IUnknown* extension) noexcept override {
        if (service != IVEXAServiceMusicLibrary::IID) return E_NOINTERFACE;
        FStorage = Query<IVEXAMLExtensionDataStorage>(extension);
        return FStorage ? S_OK : E_INVALIDARG;
    }

private:
    const std::filesystem::path FProfile;
    const Ref<IVEXAServiceMusicLibrary> FLibrary{new Library};
    const Ref<IVEXAServiceConfig> FConfig{new Config};
    Ref<IVEXAMLExtensionDataStorage> FStorage;
};

// ---- The host's work ----

/// Receives the result of a subscription, and then ends the event loop.
class Subscription final : public Object<IVEXAMLSubscriptionEvents> {
public:
    bool HasFailed = false;

    void OnSubscribed(IVEXAString* address, HResult result, IVEXAString* text) noexcept override {
        // E_ABORT: the feed is subscribed already.
        HasFailed = Failed(result) && result != E_ABORT;
        std::printf("%s: %s: %s\n", HasFailed ? "failed" : "subscribed", ToUtf8(address).c_str(), ToUtf8(text).c_str());
    }
    void OnCompleted() noexcept override { QCoreApplication::quit(); }
};

bool Subscribe(IVEXAMLSubscriptionStorage& storage, const std::filesystem::path& address) {
    const Ref<IVEXAObjectList> addresses(new List);
    addresses->Add(NewText(address.u16string()).Get());
    const Ref<Subscription> subscription(new Subscription);
    if (Failed(storage.Subscribe(addresses.Get(), subscription.Get()))) return false;
    QCoreApplication::exec();
    return !subscription->HasFailed;
}

void ListEpisodes(IVEXAMLDataProvider& provider) {
    const Ref<IVEXAObjectList> fields(new List);
    for (const char16_t* const name : {u"FeedName", u"Title"}) fields->Add(NewText(name).Get());
    const Ref<IVEXAMLDataFilter> filter(new AllRows);
    Ref<IUnknown> data;
    if (Failed(provider.GetData(fields.Get(), filter.Get(), data.Put()))) return;
    const auto rows = Query<IVEXAMLDataProviderSelection>(data.Get());
    if (!rows) return;
    do {
        std::string values[2];
        for (std::int32_t column = 0; column < 2; ++column) {
            std::int32_t length = 0;
            const char16_t* const chars = rows->GetValueAsString(column, &length);
            values[column] = ToUtf8(chars, length);
        }
        std::printf("%s: %s\n", values[0].c_str(), values[1].c_str());
    } while (rows->NextRow() != kFalse);
}

/// True on success.
bool Run(IVEXAPlugin& plugin, Core& core, const char* address) {
    if (!HasThisSdk(&plugin)) {
        std::fprintf(stderr, "the plug-in was built with another version of the interfaces\n");
        return false;
    }
    bool isDone = false;
    if (Succeeded(plugin.Initialize(&core))) {
        const auto& storage = core.Storage();
        const Ref<IVEXAMLDataStorageManager> manager(new Manager);
        storage->Initialize(manager.Get());
        const auto subscriptions = Query<IVEXAMLSubscriptionStorage>(storage.Get());
        isDone = subscriptions && Subscribe(*subscriptions, address);
        if (const auto rows = Query<IVEXAMLDataProvider>(storage.Get())) ListEpisodes(*rows);
        storage->Finalize();
    } else {
        std::fprintf(stderr, "the plug-in refuses to start\n");
    }
    plugin.Finalize();  // also after Initialize has failed
    return isDone;
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    if (argc != 4) {
        std::fprintf(stderr, "usage: minimal_host PLUGIN PROFILE-FOLDER ADDRESS\n");
        return 2;
    }
    void* const library = dlopen(argv[1], RTLD_NOW);  // never unloaded
    const auto entry = library ? reinterpret_cast<VEXAPluginGetHeaderFunction>(dlsym(library, kPluginEntryPoint))
                               : VEXAPluginGetHeaderFunction();
    Ref<IVEXAPlugin> plugin;
    if (!entry || Failed(entry(plugin.Put()))) {
        std::fprintf(stderr, "%s is no plug-in: %s\n", argv[1], library ? "it lacks the entry point" : dlerror());
        return 1;
    }
    std::filesystem::create_directories(argv[2]);
    const Ref<Core> core(new Core(argv[2]));
    return Run(*plugin, *core, argv[3]) ? 0 : 1;
}
