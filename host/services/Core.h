#pragma once
// The core that plug-ins are given: a table of services, a table of objects that can be made, and the extensions that
// were registered. It knows none of them itself: whoever builds a host adds them.

#include "Extensions.h"
#include "HostOptions.h"
#include "VEXA.Runtime.Classes.h"
#include "VEXA.SDK.Core.h"

#include <QStringList>

#include <cstdint>
#include <functional>
#include <vector>

namespace vexa::host {

/// Services, factories and the missing ones are set up on the main thread, before a plug-in is loaded; from then on any
/// thread may ask.
class Core final : public RefCountedObject<IVEXACore, IVEXASdkVersion> {
public:
    explicit Core(const HostOptions& options);

    /// Offers `object` as the services `Interfaces`, in place of those that were added before. `name` is the short one.
    /// `extensions`, which may be null, lives as long as the object.
    template <class... Interfaces, class Object>
    void AddService(const QString& name, const Ref<Object>& object, ExtensionTarget* extensions = nullptr) {
        (Add(name, Interfaces::IID, Ref<Interfaces>(object), extensions), ...);
    }
    /// Makes objects of an interface.
    template <class Interface, class Object>
    void AddFactory() {
        FFactories.push_back({Interface::IID, [](void** object) { *object = Ref<Interface>(new Object).Detach(); }});
    }

    /// Hides a service from plug-ins. Before a plug-in is loaded. False when there is none of that name.
    [[nodiscard]] bool HideService(const QString& name);
    QStringList ServiceNames() const;

    /// Marks a moment: what is registered later can be taken back together. 0 is the beginning.
    std::uint64_t Mark() const { return FNextNumber; }
    /// Tells the extensions registered since a mark that the end is near, the last one first. Main thread.
    void FinalizeExtensions(std::uint64_t from);
    /// Lets go of them. Main thread.
    void RemoveExtensions(std::uint64_t from);
    /// Lets go of one that its service has taken out by itself. Main thread.
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
        std::uint64_t Number;  // ascending, never used again
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
    // Both main thread.
    std::vector<Extension> FExtensions;
    std::uint64_t FNextNumber = 0;
};

}  // namespace vexa::host
