#pragma once
// How services take extensions, and how they keep them.

#include "VEXA.Runtime.Mutex.h"
#include "VEXA.SDK.Base.h"

#include <algorithm>
#include <vector>

namespace vexa::host {

/// A service that takes extensions. Main thread.
class ExtensionTarget {
public:
    /// Keeps the object; E_INVALIDARG when the service knows no use for it.
    virtual HResult AddExtension(IUnknown* extension) = 0;
    /// The host is about to finalise the plug-ins: tells the object, if that is this service's way.
    virtual void FinalizeExtension(IUnknown*) {}
    /// Lets go of the object.
    virtual void RemoveExtension(IUnknown* extension) = 0;

protected:
    ~ExtensionTarget() = default;
};

/// The same object behind two of its interfaces.
inline bool IsSameObject(IUnknown* a, IUnknown* b) {
    return Query<IUnknown>(a) == Query<IUnknown>(b);
}

/// Extensions of one kind, in the order registered. Any thread. Whoever calls them calls those of a copy, so that no
/// lock is held meanwhile and one that is removed lives until its call has ended.
template <class Interface>
class ExtensionList {
public:
    HResult Add(IUnknown* extension) {
        Ref<Interface> offered = Query<Interface>(extension);
        if (!offered) return E_INVALIDARG;
        const TLock lock(FMutex);
        FItems.push_back(std::move(offered));
        return S_OK;
    }
    void Remove(IUnknown* extension) {
        std::vector<Ref<Interface>> removed;  // let go of outside the lock
        const auto offered = Query<Interface>(extension);
        const TLock lock(FMutex);
        const auto from = std::stable_partition(FItems.begin(), FItems.end(),
                                                [&](const Ref<Interface>& item) { return !(item == offered); });
        removed.assign(from, FItems.end());
        FItems.erase(from, FItems.end());
    }
    std::vector<Ref<Interface>> Copy() const {
        const TLock lock(FMutex);
        return FItems;
    }

private:
    mutable TMutex FMutex;
    std::vector<Ref<Interface>> FItems VEXA_GUARDED_BY(FMutex);
};

}  // namespace vexa::host
