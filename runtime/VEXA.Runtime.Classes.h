#pragma once
// Base classes: the reference-counted object, the persistent object with bracketed changes, and links that turn null
// when what they point to is destroyed.

#include "VEXA.Runtime.Export.h"
#include "VEXA.SDK.Base.h"

#include <atomic>
#include <memory>

namespace vexa {

/// `object` as what `iid` names, if that is Interface or one that Interface extends (its `Base`, and so on); else null.
/// No reference is added.
template <class Interface>
void* OfferedInterface(Interface* object, const Guid& iid) noexcept {
    if (iid == Interface::IID) return object;
    if constexpr (requires { typename Interface::Base; })
        return OfferedInterface<typename Interface::Base>(object, iid);
    else
        return nullptr;
}

/// Implements IUnknown for a class that offers the interfaces `Interfaces` and those that they extend. Born with a
/// count of 0; the first Ref makes it 1, and the last Release destroys it.
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

/// A settings object whose changes can be bracketed: outside a bracket every change is announced at once, inside one at
/// most once, when the outermost bracket ends. One thread at a time.
class VEXA_RUNTIME_API LockablePersistent {
public:
    LockablePersistent() = default;
    LockablePersistent(const LockablePersistent&) = delete;
    LockablePersistent& operator=(const LockablePersistent&) = delete;
    virtual ~LockablePersistent();

    /// Copies what DoAssign copies, as one change.
    virtual void Assign(const LockablePersistent& source);
    virtual void BeginUpdate();
    virtual void EndUpdate();
    /// Ends a bracket without announcing its changes.
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

/// What others link to. Its owner invalidates all links at once, latest when it is destroyed.
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

/// A weak reference. Get may be used on the thread that destroys the target only: elsewhere the target can vanish
/// between the look and the use.
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
