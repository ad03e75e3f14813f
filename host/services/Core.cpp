#include "Core.h"

#include "Guarded.h"
#include "Strings.h"
#include "VEXA.Runtime.Threads.h"

#include <algorithm>

namespace vexa::host {

Core::Core(const HostOptions& options) : FProfileFolder(options.ProfileFolder), FMissing(options.MissingServices) {}

bool Core::HideService(const QString& name) {
    if (!ServiceNames().contains(name)) return false;
    FMissing.insert(name);
    return true;
}

QStringList Core::ServiceNames() const {
    QStringList names;
    for (const Service& service : FServices)
        if (!names.contains(service.Name)) names += service.Name;
    return names;
}

void Core::FinalizeExtensions(std::uint64_t from) {
    VEXA_ASSERT_MAIN_THREAD();
    const std::vector<Extension> extensions = FExtensions;
    for (auto entry = extensions.rbegin(); entry != extensions.rend() && entry->Number >= from; ++entry) {
        const Extension& extension = *entry;
        Guarded("finalising an extension", [&] {
            extension.Target->FinalizeExtension(extension.Object.Get());
            return S_OK;
        });
    }
}

void Core::RemoveExtensions(std::uint64_t from) {
    VEXA_ASSERT_MAIN_THREAD();
    while (!FExtensions.empty() && FExtensions.back().Number >= from) {
        const Extension extension = FExtensions.back();
        FExtensions.pop_back();
        Guarded("releasing an extension", [&] {
            extension.Target->RemoveExtension(extension.Object.Get());
            return S_OK;
        });
    }
}

void Core::ForgetExtension(const ExtensionTarget* target, IUnknown* extension) {
    VEXA_ASSERT_MAIN_THREAD();
    const auto object = Query<IUnknown>(extension);
    std::erase_if(FExtensions,
                  [&](const Extension& entry) { return entry.Target == target && entry.Object == object; });
}

const Core::Service* Core::Find(const Guid& identifier) const noexcept {
    const auto found = std::find_if(FServices.rbegin(), FServices.rend(), [&](const Service& service) {
        return service.Identifier == identifier && !FMissing.contains(service.Name);
    });
    return found == FServices.rend() ? nullptr : &*found;
}

HResult Core::QueryInterface(const Guid& iid, void** object) noexcept {
    if (!object) return E_POINTER;
    if (const Service* service = Find(iid)) return service->Object->QueryInterface(iid, object);
    return RefCountedObject::QueryInterface(iid, object);
}

HResult Core::CreateObject(const Guid& iid, void** object) noexcept {
    if (!object) return E_POINTER;
    *object = nullptr;
    return Guarded("making an object", [&] {
        const auto found = std::find_if(FFactories.rbegin(), FFactories.rend(),
                                        [&](const Factory& factory) { return factory.Identifier == iid; });
        if (found == FFactories.rend()) return E_NOINTERFACE;
        found->Make(object);
        return S_OK;
    });
}

HResult Core::GetPath(std::int32_t kind, IVEXAString** path) noexcept {
    if (!path) return E_POINTER;
    *path = nullptr;
    if (kind != PathProfile) return E_INVALIDARG;
    return Guarded("giving a path", [&] { return PutString(FProfileFolder, path); });
}

HResult Core::RegisterExtension(const Guid& service, IUnknown* extension) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!extension) return E_INVALIDARG;
    return Guarded("registering an extension", [&] {
        const Service* found = Find(service);
        if (!found) return E_NOINTERFACE;
        if (!found->Extensions) return E_INVALIDARG;
        Extension entry{found->Extensions, Query<IUnknown>(extension), 0};
        const HResult result = entry.Target->AddExtension(entry.Object.Get());
        if (Failed(result)) return result;
        entry.Number = FNextNumber++;
        FExtensions.push_back(std::move(entry));
        return result;
    });
}

HResult Core::GetSdkVersion(std::int32_t* major, std::int32_t* minor) noexcept {
    if (!major || !minor) return E_POINTER;
    *major = kSdkMajor;
    *minor = kSdkMinor;
    return S_OK;
}

}  // namespace vexa::host
