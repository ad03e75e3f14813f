#pragma once
// The host's property lists: a PropertyStore behind the interface of each kind of object.

#include "Guarded.h"
#include "PropertyStore.h"
#include "Strings.h"
#include "VEXA.Runtime.Classes.h"

#include <type_traits>
#include <utility>

namespace vexa::host {

/// Adds IVEXAPropertyList2 to the implemented interfaces, unless `Interface` extends it already.
template <class Interface, class... More>
using PropertyListBase =
    std::conditional_t<std::is_base_of_v<IVEXAPropertyList2, Interface>, RefCountedObject<Interface, More...>,
                       RefCountedObject<Interface, IVEXAPropertyList2, More...>>;

/// Implements the property list that `Interface` extends, and IVEXAPropertyList2, for a class that offers `Interface`
/// and `More`. One thread at a time.
template <class Interface, class... More>
class PropertyList : public PropertyListBase<Interface, More...> {
public:
    /// `rules` as PropertyStore takes them; they are not copied.
    explicit PropertyList(std::span<const PropertyRule> rules = {}) : FStore(rules) {}

    const PropertyStore& Properties() const noexcept { return FStore; }
    /// The text of a property; empty when it has none.
    QString Text(std::int32_t id) const { return ToText(FStore.Find(id)); }

    void BeginUpdate() noexcept override { ++FUpdateDepth; }
    void EndUpdate() noexcept override {
        if (FUpdateDepth > 0 && --FUpdateDepth == 0 && std::exchange(FIsChanged, false)) PropertiesChanged();
    }
    HResult Reset() noexcept override { return E_NOTIMPL; }

    HResult GetValueAsFloat(std::int32_t id, double* value) noexcept override { return FStore.GetNumber(id, value); }
    HResult GetValueAsInt32(std::int32_t id, std::int32_t* value) noexcept override {
        return FStore.GetNumber(id, value);
    }
    HResult GetValueAsInt64(std::int32_t id, std::int64_t* value) noexcept override {
        return FStore.GetNumber(id, value);
    }
    HResult GetValueAsObject(std::int32_t id, const Guid& iid, void** value) noexcept override {
        return Guarded("reading a property", [&] { return FStore.GetObject(id, iid, value); });
    }
    HResult GetValueAsVariant(std::int32_t id, Variant* value) noexcept override {
        return Guarded("reading a property", [&] { return FStore.GetVariant(id, value); });
    }

    HResult SetValueAsFloat(std::int32_t id, double value) noexcept override { return Set(id, value); }
    HResult SetValueAsInt32(std::int32_t id, std::int32_t value) noexcept override { return Set(id, value); }
    HResult SetValueAsInt64(std::int32_t id, std::int64_t value) noexcept override { return Set(id, value); }
    HResult SetValueAsObject(std::int32_t id, IUnknown* value) noexcept override {
        return Guarded("setting a property", [&] { return Announced(FStore.SetObject(id, value)); });
    }
    HResult SetValueAsVariant(std::int32_t id, const Variant* value) noexcept override {
        if (!value) return E_POINTER;
        return Guarded("setting a property", [&] { return Announced(FStore.Set(id, FromVariant(*value))); });
    }

protected:
    /// Called after a property was set; between BeginUpdate and EndUpdate, once at the end.
    virtual void PropertiesChanged() noexcept {}

    /// Sets a value on the object's own behalf, such as a default.
    HResult Set(std::int32_t id, PropertyValue value) noexcept {
        return Guarded("setting a property", [&] { return Announced(FStore.Set(id, std::move(value))); });
    }
    HResult ClearAll() {
        FStore.Clear();
        return Announced(S_OK);
    }

private:
    HResult Announced(HResult result) noexcept {
        if (Failed(result)) return result;
        if (FUpdateDepth > 0)
            FIsChanged = true;
        else
            PropertiesChanged();
        return result;
    }

    PropertyStore FStore;
    int FUpdateDepth = 0;
    bool FIsChanged = false;
};

}  // namespace vexa::host
