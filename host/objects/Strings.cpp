#include "Strings.h"

#include "Guarded.h"
#include "VEXA.Runtime.Text.h"

#include <algorithm>

namespace vexa::host {

std::int32_t HostString::GetChars(char16_t* buffer, std::int32_t capacity) noexcept {
    const TLock lock(FMutex);
    const auto length = static_cast<std::int32_t>(FText.size());
    if (buffer && capacity > 0)
        std::copy_n(reinterpret_cast<const char16_t*>(FText.constData()), std::min(length, capacity), buffer);
    return length;
}

HResult HostString::SetChars(const char16_t* chars, std::int32_t length) noexcept {
    if (length < 0) return E_INVALIDARG;
    if (!chars && length > 0) return E_POINTER;
    return Guarded("setting a text", [&] {
        QString text(reinterpret_cast<const QChar*>(chars), length);
        const TLock lock(FMutex);
        FText.swap(text);  // the old text is freed outside the lock
        return S_OK;
    });
}

Ref<IVEXAString> MakeString(const QString& text) {
    return Ref<IVEXAString>(new HostString(text));
}

QString ToQString(IVEXAString* text) {
    if (!text) return {};
    return CollectText([text](char16_t* buffer, std::int32_t capacity) { return text->GetChars(buffer, capacity); });
}

HResult PutString(const QString& text, IVEXAString** out) {
    if (!out) return E_POINTER;
    *out = MakeString(text).Detach();
    return S_OK;
}

}  // namespace vexa::host
