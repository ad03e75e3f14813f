#pragma once
// Base classes: the reference-counted object, the persistent object with grouped changes, and links that become null
// when their target is destroyed.

#include "VEXA.Runtime.Export.h"
#include "VEXA.SDK.Base.h"

#include <atomic>
#include <memory>
#include <mutex>

namespace vexa {

/// `object` as the interface `iid`, if that is Interface or an interface that it extends (its `Base`, and so on); else
/// null. Adds no reference.
template <class Interface>
void* OfferedInterface(Interface* object, const Guid& iid) noexcept {
    if (iid == Interface::IID) return object;
    if constexpr (requires { typename Interface::Base; })
        return OfferedInterface<typename Interface::Base>(object, iid);
    else
        return nullptr;
}

/// Implements IUnknown for a class that offers the interfaces `Interfaces` and those that they extend. A new object has
/// a count of 0; the first Ref makes it 1, and the last Release destroys the object.
template <class... Interfaces>
class RefCountedObject : public Interfaces... {
public:
    RefCountedObject() = default;
    RefCountedObject(const RefCountedObject&) = delete;
    RefCountedObject& operator=(const RefCountedObject&) = delete;

    HResult QueryInterface(const Guid& iid, void** object) noexcept override {
        if (!object) return E_POINTER;
        *object = nullptr;
        (void)((*object = OfferedInterface<Interfaces>(this, iid)) || ...);
        if (!*object && iid == IUnknown::IID) *object = First(static_cast<Interfaces*>(this)...);
        if (!*object) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    std::int32_t AddRef() noexcept override { return ++FRefCount; }
    std::int32_t Release() noexcept override {
        const std::int32_t count = --FRefCount;
        if (count == 0) delete this;
        return count;
    }

protected:
    virtual ~RefCountedObject() = default;

private:
    template <class T, class... Rest>
    static IUnknown* First(T* first, Rest*...) noexcept {
        return first;
    }
    std::atomic<std::int32_t> FRefCount{0};
};

/// A settings object whose changes can be grouped. Outside a group, DoChanged is called at once for every change;
/// inside one at most once, when the outermost group ends. One thread at a time.
class VEXA_RUNTIME_API LockablePersistent {
public:
    LockablePersistent() = default;
    LockablePersistent(const LockablePersistent&) = delete;
    LockablePersistent& operator=(const LockablePersistent&) = delete;
    virtual ~LockablePersistent();

    /// Calls DoAssign inside a group, so that it counts as one change.
    virtual void Assign(const LockablePersistent& source);
    virtual void BeginUpdate();
    virtual void EndUpdate();
    /// Ends a group without announcing its changes.
    virtual void CancelUpdate();

protected:
    virtual void DoAssign(const LockablePersistent& source) = 0;
    virtual void DoChanged(int changes) = 0;
    /// Announces a change of the kinds in `changes`, a set of bits.
    void Changed(int changes);

private:
    int FUpdateDepth = 0;
    int FPendingChanges = 0;
};

/// The target's side of its links: a member of the target, which nulls all links at once, at the latest when the target
/// is destroyed.
template <class T>
class LinkSource {
public:
    explicit LinkSource(T* target) : FCell(std::make_shared<Cell>()) { FCell->Target = target; }
    ~LinkSource() { Invalidate(); }
    LinkSource(const LinkSource&) = delete;
    LinkSource& operator=(const LinkSource&) = delete;

    void Invalidate() noexcept { FCell->Target.store(nullptr); }

private:
    template <class>
    friend class Link;
    struct Cell {
        std::atomic<T*> Target{nullptr};
    };
    std::shared_ptr<Cell> FCell;
};

/// A weak reference. Call Get only on the thread that destroys the target: on any other thread the target can be
/// destroyed between the call and the use of its result.
template <class T>
class Link {
public:
    Link() = default;
    explicit Link(const LinkSource<T>& source) : FCell(source.FCell) {}
    T* Get() const noexcept { return FCell ? FCell->Target.load() : nullptr; }

private:
    std::shared_ptr<typename LinkSource<T>::Cell> FCell;
};

}  // namespace vexa
