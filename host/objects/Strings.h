#pragma once
// The host's string objects, and conversions from and to QString.

#include "VEXA.Runtime.Classes.h"
#include "VEXA.SDK.Objects.h"

#include <QString>

#include <mutex>

namespace vexa::host {

/// Any thread may read the text while another thread writes it.
class HostString final : public RefCountedObject<IVEXAString> {
public:
    HostString() = default;
    explicit HostString(const QString& text) : FText(text) {}

    std::int32_t GetChars(char16_t* buffer, std::int32_t capacity) noexcept override;
    HResult SetChars(const char16_t* chars, std::int32_t length) noexcept override;

private:
    std::mutex FMutex;
    QString FText;  // guarded by FMutex
};

Ref<IVEXAString> MakeString(const QString& text);

/// The text of a string object of any implementation; empty for null.
QString ToQString(IVEXAString* text);

/// Puts a new string object into an out argument. S_OK; E_POINTER when `out` is null.
HResult PutString(const QString& text, IVEXAString** out);

}  // namespace vexa::host
