#pragma once
// Values by number, without an interface: the storage behind every property list of the host. One thread at a time.

#include "VEXA.SDK.Objects.h"

#include <QString>

#include <map>
#include <optional>
#include <span>
#include <variant>

namespace vexa::host {

/// Empty, a number, a text, or an object.
using PropertyValue = std::variant<std::monostate, std::int32_t, std::int64_t, double, QString, Ref<IUnknown>>;

/// One property of a kind of object: a value if `Object` is null, else an object that offers the interface `Object`.
struct PropertyRule {
    std::int32_t ID;
    const Guid* Object = nullptr;
};

/// Conversions between numbers (std::int32_t, std::int64_t, double) and texts (QString); nothing when one would lose
/// something, or the value is empty or an object.
template <class Type>
std::optional<Type> Converted(const PropertyValue& value);
template <>
std::optional<std::int32_t> Converted(const PropertyValue& value);
template <>
std::optional<std::int64_t> Converted(const PropertyValue& value);
template <>
std::optional<double> Converted(const PropertyValue& value);
template <>
std::optional<QString> Converted(const PropertyValue& value);
/// The text of a number or text; empty for an empty value or an object.
QString ToText(const PropertyValue& value);

PropertyValue FromVariant(const Variant& value);
/// Empty for an empty value or an object.
Variant ToVariant(const PropertyValue& value);

class PropertyStore {
public:
    /// Without rules any property number can be set. The rules are not copied.
    explicit PropertyStore(std::span<const PropertyRule> rules = {}) : FRules(rules) {}

    /// The value of a property; empty when it is not set.
    const PropertyValue& Find(std::int32_t id) const noexcept;

    /// E_NOTIMPL when the property is not set, E_FAIL when its value cannot be converted.
    template <class Number>
    HResult GetNumber(std::int32_t id, Number* number) const noexcept {
        if (!number) return E_POINTER;
        *number = 0;
        const PropertyValue& value = Find(id);
        if (std::holds_alternative<std::monostate>(value)) return E_NOTIMPL;
        const auto converted = Converted<Number>(value);
        *number = converted.value_or(0);
        return converted ? S_OK : E_FAIL;
    }
    HResult GetObject(std::int32_t id, const Guid& iid, void** object) const;
    HResult GetVariant(std::int32_t id, Variant* variant) const;

    /// E_NOTIMPL for a property that the object does not have; E_INVALIDARG for a value where an object belongs, an
    /// object where a value belongs, or an object without the rule's interface. An empty value or a null object removes
    /// the property.
    HResult Set(std::int32_t id, PropertyValue value);
    /// An IVEXAString is stored as its text, any other object by reference.
    HResult SetObject(std::int32_t id, IUnknown* object);

    void Clear() { FValues.clear(); }

private:
    std::span<const PropertyRule> FRules;
    std::map<std::int32_t, PropertyValue> FValues;
};

}  // namespace vexa::host
