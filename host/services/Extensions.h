#pragma once
// How services take extensions, and how they keep them.

#include "VEXA.SDK.Base.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace vexa::host {

/// A service that takes extensions. Main thread.
class ExtensionTarget {
public:
    /// Keeps the object; E_INVALIDARG when the object offers no interface that the service uses.
    virtual HResult AddExtension(IUnknown* extension) = 0;
    /// Called before the host finalises the plug-ins. A service whose extensions are to be told does so here.
    virtual void FinalizeExtension(IUnknown*) {}
    /// Releases the object.
    virtual void RemoveExtension(IUnknown* extension) = 0;

protected:
    ~ExtensionTarget() = default;
};

/// Whether `a` and `b` are the same object, perhaps by different interfaces.
inline bool IsSameObject(IUnknown* a, IUnknown* b) {
    return Query<IUnknown>(a) == Query<IUnknown>(b);
}

/// Extensions of one kind, in the order registered. Any thread. Callers call the extensions of a Copy(), so that no
/// lock is held during a call and an extension removed meanwhile lives until the call has returned.
template <class Interface>
class ExtensionList {
public:
    HResult Add(IUnknown* extension) {
        Ref<Interface> offered = Query<Interface>(extension);
        if (!offered) return E_INVALIDARG;
        const std::lock_guard lock(FMutex);
        FItems.push_back(std::move(offered));
        return S_OK;
    }
    void Remove(IUnknown* extension) {
        std::vector<Ref<Interface>> removed;  // released after the lock
        const auto offered = Query<Interface>(extension);
        const std::lock_guard lock(FMutex);
        const auto from = std::stable_partition(FItems.begin(), FItems.end(),
                                                [&](const Ref<Interface>& item) { return !(item == offered); });
        removed.assign(from, FItems.end());
        FItems.erase(from, FItems.end());
    }
    std::vector<Ref<Interface>> Copy() const {
        const std::lock_guard lock(FMutex);
        return FItems;
    }

private:
    mutable std::mutex FMutex;
    std::vector<Ref<Interface>> FItems;  // guarded by FMutex
};

}  // namespace vexa::host
