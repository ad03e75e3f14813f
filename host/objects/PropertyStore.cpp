#include "PropertyStore.h"

#include "Strings.h"

#include <QLocale>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace vexa::host {

namespace {

/// Whether `from` is a whole number that fits into 64 bits.
bool ToWhole(double from, std::int64_t& number) noexcept {
    constexpr double kPowerOf63 = 9223372036854775808.0;
    if (!(from >= -kPowerOf63 && from < kPowerOf63) || std::trunc(from) != from) return false;
    number = static_cast<std::int64_t>(from);
    return true;
}

bool ToFinite(const QString& text, double& number) noexcept {
    bool ok = false;
    number = text.toDouble(&ok);
    return ok && std::isfinite(number);
}

}  // namespace

bool Convert(const PropertyValue& value, std::int64_t& number) noexcept {
    number = 0;
    if (const auto* whole = std::get_if<std::int32_t>(&value)) return number = *whole, true;
    if (const auto* whole = std::get_if<std::int64_t>(&value)) return number = *whole, true;
    if (const auto* real = std::get_if<double>(&value)) return ToWhole(*real, number);
    if (const auto* text = std::get_if<QString>(&value)) {
        bool ok = false;
        number = text->toLongLong(&ok);
        double real = 0;
        return ok || (ToFinite(*text, real) && ToWhole(real, number));
    }
    return false;
}

bool Convert(const PropertyValue& value, std::int32_t& number) noexcept {
    std::int64_t wide = 0;
    if (!Convert(value, wide) || !std::in_range<std::int32_t>(wide)) return false;
    number = static_cast<std::int32_t>(wide);
    return true;
}

bool Convert(const PropertyValue& value, double& number) noexcept {
    if (const auto* real = std::get_if<double>(&value)) return number = *real, true;
    if (const auto* text = std::get_if<QString>(&value)) return ToFinite(*text, number);
    std::int64_t wide = 0, back = 0;
    if (!Convert(value, wide)) return false;
    number = static_cast<double>(wide);
    return ToWhole(number, back) && back == wide;
}

bool Convert(const PropertyValue& value, QString& text) {
    if (const auto* whole = std::get_if<std::int32_t>(&value))
        text = QString::number(*whole);
    else if (const auto* wide = std::get_if<std::int64_t>(&value))
        text = QString::number(*wide);
    else if (const auto* real = std::get_if<double>(&value))
        text = QString::number(*real, 'g', QLocale::FloatingPointShortest);  // reads back bit for bit
    else if (const auto* own = std::get_if<QString>(&value))
        text = *own;
    else
        return false;
    return true;
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

bool ToVariant(const PropertyValue& value, Variant& variant) {
    variant = {};
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
    } else {
        return std::holds_alternative<std::monostate>(value);
    }
    return true;
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
    QString text;
    if (!Convert(value, text)) return E_INVALIDARG;
    return MakeString(text)->QueryInterface(iid, object);
}

HResult PropertyStore::GetVariant(std::int32_t id, Variant* variant) const {
    if (!variant) return E_POINTER;
    const PropertyValue& value = Find(id);
    if (!ToVariant(value, *variant)) return E_FAIL;
    return variant->Type == VariantType::Empty ? E_NOTIMPL : S_OK;
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
