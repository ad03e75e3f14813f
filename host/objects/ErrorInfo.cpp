#include "ErrorInfo.h"

#include "Guarded.h"
#include "Strings.h"

namespace vexa::host {

HResult ErrorInfo::GetInfo(std::int32_t* errorCode, IVEXAString** message, IVEXAString** details) noexcept {
    if (errorCode) *errorCode = 0;
    if (message) *message = nullptr;
    if (details) *details = nullptr;
    return Guarded("reading an error", [&] {
        const TLock lock(FMutex);
        if (!FIsSet) return E_FAIL;
        if (errorCode) *errorCode = FCode;
        if (message) PutString(FMessage, message);
        if (details) PutString(FDetails, details);
        return S_OK;
    });
}

void ErrorInfo::SetInfo(std::int32_t errorCode, IVEXAString* message, IVEXAString* details) noexcept {
    Guarded("keeping an error", [&] {
        const QString text = ToQString(message), more = ToQString(details);
        const TLock lock(FMutex);
        FIsSet = true;
        FCode = errorCode;
        FMessage = text;
        FDetails = more;
        return S_OK;
    });
}

QString ErrorInfo::Message() const {
    const TLock lock(FMutex);
    return FMessage;
}

void SetError(IVEXAErrorInfo* error, std::int32_t code, const QString& message) {
    if (error) error->SetInfo(code, MakeString(message).Get(), nullptr);
}

}  // namespace vexa::host
