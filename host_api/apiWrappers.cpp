#include "apiWrappers.h"

#include "VEXA.Runtime.Mutex.h"
#include "VEXA.Runtime.Text.h"

#include <QLocale>

#include <cmath>
#include <limits>
#include <utility>

namespace vexa {

namespace {

// Host threads may still call the plug-in while it ends, so each call adds its own reference to the core.
TMutex CoreMutex;
// If Finalize was never called, the reference is released when the module is unloaded.
Ref<IVEXACore> Core VEXA_GUARDED_BY(CoreMutex);

Ref<IVEXACore> CurrentCore() noexcept {
    const TLock lock(CoreMutex);
    return Core;
}

void SetCore(Ref<IVEXACore> core) noexcept {
    const TLock lock(CoreMutex);
    std::swap(Core, core);
}

}  // namespace

void TVEXAAPIWrappers::Initialize(IVEXACore* core) {
    SetCore(core);
}

void TVEXAAPIWrappers::Finalize() {
    SetCore(nullptr);
}

void RaiseIfFailed(HResult code, const QString& format) {
    if (!Failed(code)) return;
    throw EHostError(QString(format).replace(QLatin1String("%d"), QString::number(code)));
}

Ref<IVEXACore> HostCore() {
    auto core = CurrentCore();
    if (!core) throw EHostError(QStringLiteral("Plugin was not initialized"));
    return core;
}

bool QueryHostService(const Guid& iid, void** service) noexcept {
    const auto core = CurrentCore();
    return core && Succeeded(core->QueryInterface(iid, service));
}

void CreateHostObject(const Guid& iid, void** object) {
    RaiseIfFailed(HostCore()->CreateObject(iid, object), QStringLiteral("Cannot create object (%d)"));
}

Ref<IVEXAString> ToHostString(const QString& text) {
    auto result = CreateHostObject<IVEXAString>();
    RaiseIfFailed(result->SetChars(reinterpret_cast<const char16_t*>(text.utf16()), static_cast<int>(text.size())));
    return result;
}

QString FromHostString(IVEXAString* text) {
    if (!text) return {};
    return CollectText([text](char16_t* buffer, std::int32_t capacity) { return text->GetChars(buffer, capacity); });
}

Variant ToVariant(const QString& text) {
    Variant result;
    result.Type = VariantType::Text;
    result.Text = ToHostString(text);
    return result;
}

Variant ToVariant(std::int32_t value) {
    Variant result;
    result.Type = VariantType::Int32;
    result.Integer = value;
    return result;
}

Variant ToVariant(std::int64_t value) {
    Variant result;
    result.Type = VariantType::Int64;
    result.Integer = value;
    return result;
}

Variant ToVariant(double value) {
    Variant result;
    result.Type = VariantType::Float;
    result.Float = value;
    return result;
}

QString VariantToText(const Variant& value) {
    switch (value.Type) {
        case VariantType::Int32:
        case VariantType::Int64:
            return QString::number(value.Integer);
        case VariantType::Float:
            return QString::number(value.Float, 'g', QLocale::FloatingPointShortest);
        case VariantType::Text:
            return FromHostString(value.Text.Get());
        case VariantType::Empty:
            break;
    }
    return {};
}

double VariantToFloat(const Variant& value) {
    switch (value.Type) {
        case VariantType::Int32:
        case VariantType::Int64:
            return static_cast<double>(value.Integer);
        case VariantType::Float:
            return value.Float;
        case VariantType::Text: {
            bool isNumber = false;
            const double number = FromHostString(value.Text.Get()).toDouble(&isNumber);
            if (!isNumber) throw std::invalid_argument("the text is not a number");
            return number;
        }
        case VariantType::Empty:
            break;
    }
    return 0;
}

std::int64_t VariantToInt64(const Variant& value) {
    switch (value.Type) {
        case VariantType::Int32:
        case VariantType::Int64:
            return value.Integer;
        case VariantType::Float: {
            // The exact bounds: −2⁶³ can be represented as a double, and 2⁶³ is the first double that is too large.
            const double whole = std::nearbyint(value.Float);
            if (!(whole >= -0x1p63 && whole < 0x1p63)) throw std::invalid_argument("the number is no integer");
            return static_cast<std::int64_t>(whole);
        }
        case VariantType::Text: {
            bool isNumber = false;
            const std::int64_t number = FromHostString(value.Text.Get()).toLongLong(&isNumber);
            if (!isNumber) throw std::invalid_argument("the text is not an integer");
            return number;
        }
        case VariantType::Empty:
            break;
    }
    return 0;
}

std::int32_t VariantToInt32(const Variant& value) {
    const std::int64_t number = VariantToInt64(value);
    if (number < std::numeric_limits<std::int32_t>::min() || number > std::numeric_limits<std::int32_t>::max())
        throw std::invalid_argument("the number does not fit into 32 bits");
    return static_cast<std::int32_t>(number);
}

QString LocalizedText(const QString& key) {
    const auto service = HostService<IVEXAServiceLanguage>();
    Ref<IVEXAString> text;
    if (!service || Failed(service->GetValue(ToHostString(key).Get(), text.Put()))) return {};
    return FromHostString(text.Get());
}

QString LocalizedTextPart(const QString& key, int part) {
    const auto service = HostService<IVEXAServiceLanguage>();
    Ref<IVEXAString> text;
    if (!service || Failed(service->GetValuePart(ToHostString(key).Get(), part, text.Put()))) return {};
    return FromHostString(text.Get());
}

QString LocalizedText(const Reason& why) {
    return why.Translated([](const QString& key) { return LocalizedText(key); });
}

QString FormatText(QString format, const QString& value) {
    const auto placeholder = format.indexOf(QLatin1String("%s"));
    return placeholder < 0 ? format : format.replace(placeholder, 2, value);
}

std::int32_t ReadPropertyInt32(IVEXAPropertyList* list, std::int32_t id, std::int32_t defaultValue) noexcept {
    std::int32_t value = 0;
    return list && Succeeded(list->GetValueAsInt32(id, &value)) ? value : defaultValue;
}

QString ReadPropertyString(IVEXAPropertyList* list, std::int32_t id) {
    Ref<IVEXAString> text;
    if (!list || Failed(list->GetValueAsObject(id, IVEXAString::IID, text.PutVoid()))) return {};
    return FromHostString(text.Get());
}

namespace {

IVEXAPropertyList& Required(IVEXAPropertyList* list) {
    if (!list) throw EHostError(QStringLiteral("PropList is nil"));
    return *list;
}

}  // namespace

void WritePropertyFloat(IVEXAPropertyList* list, std::int32_t id, double value) {
    RaiseIfFailed(Required(list).SetValueAsFloat(id, value));
}

void WritePropertyInt32(IVEXAPropertyList* list, std::int32_t id, std::int32_t value) {
    RaiseIfFailed(Required(list).SetValueAsInt32(id, value));
}

void WritePropertyObject(IVEXAPropertyList* list, std::int32_t id, IUnknown* value) {
    RaiseIfFailed(Required(list).SetValueAsObject(id, value));
}

void WritePropertyString(IVEXAPropertyList* list, std::int32_t id, const QString& text) {
    IVEXAPropertyList& target = Required(list);
    WritePropertyObject(&target, id, ToHostString(text).Get());
}

HResult SendHostMessage(std::uint32_t message, std::int32_t param1, void* param2) {
    const auto dispatcher = HostService<IVEXAServiceMessageDispatcher>();
    return dispatcher ? dispatcher->Send(message, param1, param2) : E_NOINTERFACE;
}

WindowHandle HostMainWindow() {
    WindowHandle window = 0;
    return Succeeded(SendHostMessage(kMsgGetMainWindow, 0, &window)) ? window : 0;
}

TVEXAServiceConfig::TVEXAServiceConfig() : FService(HostService<IVEXAServiceConfig>()) {
    if (!FService) throw EHostError(QStringLiteral("The IVEXAServiceConfig is not supported"));
}

std::int32_t TVEXAServiceConfig::ReadInteger(const QString& keyPath, std::int32_t defaultValue) {
    std::int32_t value = 0;
    return Succeeded(FService->GetValueAsInt32(ToHostString(keyPath).Get(), &value)) ? value : defaultValue;
}

bool TVEXAServiceConfig::ReadBool(const QString& keyPath, bool defaultValue) {
    return ReadInteger(keyPath, defaultValue ? 1 : 0) != 0;
}

QString TVEXAServiceConfig::ReadString(const QString& keyPath, const QString& defaultValue) {
    Ref<IVEXAString> value;
    if (Failed(FService->GetValueAsString(ToHostString(keyPath).Get(), value.Put()))) return defaultValue;
    return FromHostString(value.Get());
}

void TVEXAServiceConfig::WriteInteger(const QString& keyPath, std::int32_t value) {
    FService->SetValueAsInt32(ToHostString(keyPath).Get(), value);
}

void TVEXAServiceConfig::WriteBool(const QString& keyPath, bool value) {
    WriteInteger(keyPath, value ? 1 : 0);
}

void TVEXAServiceConfig::WriteString(const QString& keyPath, const QString& value) {
    FService->SetValueAsString(ToHostString(keyPath).Get(), ToHostString(value).Get());
}

}  // namespace vexa
