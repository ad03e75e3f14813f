#include "Core.h"

#include "Guarded.h"
#include "Strings.h"

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

void Core::FinalizeExtensions(std::size_t from) {
    for (std::size_t i = FExtensions.size(); i > from; --i) {
        const Extension extension = FExtensions[i - 1];
        Guarded("finalising an extension", [&] {
            extension.Target->FinalizeExtension(extension.Object.Get());
            return S_OK;
        });
    }
}

void Core::RemoveExtensions(std::size_t from) {
    while (FExtensions.size() > from) {
        const Extension extension = FExtensions.back();
        FExtensions.pop_back();
        Guarded("releasing an extension", [&] {
            extension.Target->RemoveExtension(extension.Object.Get());
            return S_OK;
        });
    }
}

const Core::Service* Core::Find(const Guid& identifier) const noexcept {
    for (const Service& service : FServices)
        if (service.Identifier == identifier && !FMissing.contains(service.Name)) return &service;
    return nullptr;
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
        for (const Factory& factory : FFactories) {
            if (!(factory.Identifier == iid)) continue;
            factory.Make(object);
            return S_OK;
        }
        return E_NOINTERFACE;
    });
}

HResult Core::GetPath(std::int32_t kind, IVEXAString** path) noexcept {
    if (!path) return E_POINTER;
    *path = nullptr;
    if (kind != PathProfile) return E_INVALIDARG;
    return Guarded("giving a path", [&] { return PutString(FProfileFolder, path); });
}

HResult Core::RegisterExtension(const Guid& service, IUnknown* extension) noexcept {
    if (!extension) return E_INVALIDARG;
    return Guarded("registering an extension", [&] {
        const Service* found = Find(service);
        if (!found) return E_NOINTERFACE;
        if (!found->Extensions) return E_INVALIDARG;
        const Extension entry{found->Extensions, Query<IUnknown>(extension)};
        const HResult result = entry.Target->AddExtension(entry.Object.Get());
        if (Succeeded(result)) FExtensions.push_back(entry);
        return result;
    });
}

}  // namespace vexa::host
