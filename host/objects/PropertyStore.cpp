#include "PropertyStore.h"

#include "Strings.h"

#include <QLocale>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace vexa::host {

namespace {

/// Nothing for a fraction, or for what does not fit into 64 bits.
std::optional<std::int64_t> ToWhole(double number) noexcept {
    constexpr double kPowerOf63 = 9223372036854775808.0;
    if (!(number >= -kPowerOf63 && number < kPowerOf63) || std::trunc(number) != number) return std::nullopt;
    return static_cast<std::int64_t>(number);
}

std::optional<double> ToFinite(const QString& text) noexcept {
    bool ok = false;
    const double number = text.toDouble(&ok);
    return ok && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

}  // namespace

template <>
std::optional<std::int64_t> Converted(const PropertyValue& value) {
    if (const auto* whole = std::get_if<std::int32_t>(&value)) return *whole;
    if (const auto* whole = std::get_if<std::int64_t>(&value)) return *whole;
    if (const auto* real = std::get_if<double>(&value)) return ToWhole(*real);
    const auto* text = std::get_if<QString>(&value);
    if (!text) return std::nullopt;
    bool ok = false;
    if (const std::int64_t number = text->toLongLong(&ok); ok) return number;
    const auto real = ToFinite(*text);
    return real ? ToWhole(*real) : std::nullopt;
}

template <>
std::optional<std::int32_t> Converted(const PropertyValue& value) {
    const auto wide = Converted<std::int64_t>(value);
    if (!wide || !std::in_range<std::int32_t>(*wide)) return std::nullopt;
    return static_cast<std::int32_t>(*wide);
}

template <>
std::optional<double> Converted(const PropertyValue& value) {
    if (const auto* real = std::get_if<double>(&value)) return *real;
    if (const auto* text = std::get_if<QString>(&value)) return ToFinite(*text);
    const auto wide = Converted<std::int64_t>(value);
    if (!wide || ToWhole(static_cast<double>(*wide)) != wide) return std::nullopt;
    return static_cast<double>(*wide);
}

template <>
std::optional<QString> Converted(const PropertyValue& value) {
    if (const auto* whole = std::get_if<std::int32_t>(&value)) return QString::number(*whole);
    if (const auto* wide = std::get_if<std::int64_t>(&value)) return QString::number(*wide);
    // Reads back bit for bit.
    if (const auto* real = std::get_if<double>(&value))
        return QString::number(*real, 'g', QLocale::FloatingPointShortest);
    if (const auto* text = std::get_if<QString>(&value)) return *text;
    return std::nullopt;
}

QString ToText(const PropertyValue& value) {
    return Converted<QString>(value).value_or(QString());
}

PropertyValue FromVariant(const Variant& value) {
    switch (value.Type) {
        case VariantType::Int32:
            return static_cast<std::int32_t>(value.Integer);
        case VariantType::Int64:
            return value.Integer;
        case VariantType::Float:
            return value.Float;
        case VariantType::Text:
            return ToQString(value.Text.Get());
        case VariantType::Empty:
            break;
    }
    return {};
}

Variant ToVariant(const PropertyValue& value) {
    Variant variant;
    if (const auto* whole = std::get_if<std::int32_t>(&value)) {
        variant.Type = VariantType::Int32;
        variant.Integer = *whole;
    } else if (const auto* wide = std::get_if<std::int64_t>(&value)) {
        variant.Type = VariantType::Int64;
        variant.Integer = *wide;
    } else if (const auto* real = std::get_if<double>(&value)) {
        variant.Type = VariantType::Float;
        variant.Float = *real;
    } else if (const auto* text = std::get_if<QString>(&value)) {
        variant.Type = VariantType::Text;
        variant.Text = MakeString(*text);
    }
    return variant;
}

const PropertyValue& PropertyStore::Find(std::int32_t id) const noexcept {
    static const PropertyValue empty;
    const auto found = FValues.find(id);
    return found != FValues.end() ? found->second : empty;
}

HResult PropertyStore::GetObject(std::int32_t id, const Guid& iid, void** object) const {
    if (!object) return E_POINTER;
    *object = nullptr;
    const PropertyValue& value = Find(id);
    if (const auto* kept = std::get_if<Ref<IUnknown>>(&value)) return (*kept)->QueryInterface(iid, object);
    const auto text = Converted<QString>(value);
    return text ? MakeString(*text)->QueryInterface(iid, object) : E_INVALIDARG;
}

HResult PropertyStore::GetVariant(std::int32_t id, Variant* variant) const {
    if (!variant) return E_POINTER;
    const PropertyValue& value = Find(id);
    *variant = ToVariant(value);
    if (variant->Type != VariantType::Empty) return S_OK;
    return std::holds_alternative<std::monostate>(value) ? E_NOTIMPL : E_FAIL;
}

HResult PropertyStore::Set(std::int32_t id, PropertyValue value) {
    const auto rule = std::find_if(FRules.begin(), FRules.end(), [id](const PropertyRule& r) { return r.ID == id; });
    const bool isCustom = id == IVEXAPropertyList::kCustomObject;
    if (!isCustom && !FRules.empty() && rule == FRules.end()) return E_NOTIMPL;
    const bool wantsObject = isCustom || (rule != FRules.end() && rule->Object);
    if (std::holds_alternative<std::monostate>(value)) {
        FValues.erase(id);
        return S_OK;
    }
    const auto* object = std::get_if<Ref<IUnknown>>(&value);
    if (!FRules.empty() || isCustom) {
        if (wantsObject != (object != nullptr)) return E_INVALIDARG;
        if (object && !isCustom) {
            Ref<IUnknown> offered;
            if (Failed((*object)->QueryInterface(*rule->Object, offered.PutVoid()))) return E_INVALIDARG;
        }
    }
    FValues[id] = std::move(value);
    return S_OK;
}

HResult PropertyStore::SetObject(std::int32_t id, IUnknown* object) {
    if (!object) return Set(id, {});
    if (id != IVEXAPropertyList::kCustomObject)
        if (const auto text = Query<IVEXAString>(object)) return Set(id, ToQString(text.Get()));
    return Set(id, Ref<IUnknown>(object));
}

}  // namespace vexa::host
