#pragma once
// The core that plug-ins are given: a table of services, a table of factories, and the registered extensions. The core
// knows no particular service or object: whoever builds a host adds them.

#include "Extensions.h"
#include "HostOptions.h"
#include "VEXA.Runtime.Classes.h"
#include "VEXA.SDK.Core.h"

#include <QStringList>

#include <cstdint>
#include <functional>
#include <vector>

namespace vexa::host {

/// Services, factories and hidden services are set up on the main thread before the first plug-in is loaded; from then
/// on any thread may ask for them.
class Core final : public RefCountedObject<IVEXACore, IVEXASdkVersion> {
public:
    explicit Core(const HostOptions& options);

    /// Offers `object` as the services `Interfaces`, each in place of one that was added before. `name` is the
    /// service's short name. `extensions`, which may be null, takes the service's extensions and lives as long as the
    /// object.
    template <class... Interfaces, class Object>
    void AddService(const QString& name, const Ref<Object>& object, ExtensionTarget* extensions = nullptr) {
        (Add(name, Interfaces::IID, Ref<Interfaces>(object), extensions), ...);
    }
    /// Has CreateObject make an `Object` when it is asked for the interface.
    template <class Interface, class Object>
    void AddFactory() {
        FFactories.push_back({Interface::IID, [](void** object) { *object = Ref<Interface>(new Object).Detach(); }});
    }

    /// Hides a service from plug-ins; to be called before a plug-in is loaded. False when no service has that name.
    [[nodiscard]] bool HideService(const QString& name);
    QStringList ServiceNames() const;

    /// A mark for the extensions registered from now on, which can be finalised and removed together. The mark 0 means
    /// all extensions.
    std::uint64_t Mark() const { return FNextNumber; }
    /// Finalises the extensions registered since the mark `from`, the last one first. Main thread.
    void FinalizeExtensions(std::uint64_t from);
    /// Removes the extensions registered since the mark `from`, the last one first. Main thread.
    void RemoveExtensions(std::uint64_t from);
    /// Releases an extension that its service has already removed by itself. Main thread.
    void ForgetExtension(const ExtensionTarget* target, IUnknown* extension);

    HResult QueryInterface(const Guid& iid, void** object) noexcept override;
    HResult CreateObject(const Guid& iid, void** object) noexcept override;
    HResult GetPath(std::int32_t kind, IVEXAString** path) noexcept override;
    HResult RegisterExtension(const Guid& service, IUnknown* extension) noexcept override;
    HResult GetSdkVersion(std::int32_t* major, std::int32_t* minor) noexcept override;

private:
    struct Service {
        QString Name;
        Guid Identifier;
        Ref<IUnknown> Object;
        ExtensionTarget* Extensions;
    };
    struct Factory {
        Guid Identifier;
        std::function<void(void**)> Make;
    };
    struct Extension {
        ExtensionTarget* Target;
        Ref<IUnknown> Object;
        std::uint64_t Number;  // ascending, never reused
    };

    template <class Interface>
    void Add(const QString& name, const Guid& identifier, const Ref<Interface>& object, ExtensionTarget* extensions) {
        FServices.push_back({name, identifier, object, extensions});
    }
    const Service* Find(const Guid& identifier) const noexcept;

    QString FProfileFolder;
    QSet<QString> FMissing;
    std::vector<Service> FServices;
    std::vector<Factory> FFactories;
    // FExtensions and FNextNumber belong to the main thread.
    std::vector<Extension> FExtensions;
    std::uint64_t FNextNumber = 0;
};

}  // namespace vexa::host
