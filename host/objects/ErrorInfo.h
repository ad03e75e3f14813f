#pragma once
// Why something failed, for the user to read. Any thread may use it.

#include "VEXA.Runtime.Classes.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.SDK.Objects.h"

#include <QString>

namespace vexa::host {

class ErrorInfo final : public RefCountedObject<IVEXAErrorInfo> {
public:
    HResult GetInfo(std::int32_t* errorCode, IVEXAString** message, IVEXAString** details) noexcept override;
    void SetInfo(std::int32_t errorCode, IVEXAString* message, IVEXAString* details) noexcept override;

    /// Empty while no error is set.
    QString Message() const;

private:
    mutable TMutex FMutex;
    bool FIsSet VEXA_GUARDED_BY(FMutex) = false;
    std::int32_t FCode VEXA_GUARDED_BY(FMutex) = 0;
    QString FMessage VEXA_GUARDED_BY(FMutex), FDetails VEXA_GUARDED_BY(FMutex);
};

/// Fills in an error object of any implementation; does nothing when `error` is null.
void SetError(IVEXAErrorInfo* error, std::int32_t code, const QString& message);

}  // namespace vexa::host
