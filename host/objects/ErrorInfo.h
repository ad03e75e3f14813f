#pragma once
// Why something failed, for the user to read. Any thread may use it.

#include "VEXA.Runtime.Classes.h"
#include "VEXA.SDK.Objects.h"

#include <QString>

#include <mutex>

namespace vexa::host {

class ErrorInfo final : public RefCountedObject<IVEXAErrorInfo> {
public:
    HResult GetInfo(std::int32_t* errorCode, IVEXAString** message, IVEXAString** details) noexcept override;
    void SetInfo(std::int32_t errorCode, IVEXAString* message, IVEXAString* details) noexcept override;

    /// Empty while no error is set.
    QString Message() const;

private:
    mutable std::mutex FMutex;
    // All guarded by FMutex.
    bool FIsSet = false;
    std::int32_t FCode = 0;
    QString FMessage, FDetails;
};

/// Fills in an error object of any implementation; does nothing when `error` is null.
void SetError(IVEXAErrorInfo* error, std::int32_t code, const QString& message);

}  // namespace vexa::host
