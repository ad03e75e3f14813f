#pragma once
// The host's string objects, and the way from and to QString.

#include "VEXA.Runtime.Classes.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.SDK.Objects.h"

#include <QString>

namespace vexa::host {

/// Any thread may read it while another one writes.
class HostString final : public RefCountedObject<IVEXAString> {
public:
    HostString() = default;
    explicit HostString(const QString& text) : FText(text) {}

    std::int32_t GetChars(char16_t* buffer, std::int32_t capacity) noexcept override;
    HResult SetChars(const char16_t* chars, std::int32_t length) noexcept override;

private:
    TMutex FMutex;
    QString FText VEXA_GUARDED_BY(FMutex);
};

Ref<IVEXAString> MakeString(const QString& text);

/// The text of anybody's string object; empty for an absent one.
QString ToQString(IVEXAString* text);

/// A new string object for an out argument: S_OK, or E_POINTER without one.
HResult PutString(const QString& text, IVEXAString** out);

}  // namespace vexa::host
