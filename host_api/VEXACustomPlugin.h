#pragma once
// What every plug-in object does for its host.

#include "apiWrappers.h"

namespace vexa {

/// Initialize keeps the host's core for the whole layer, Finalize lets go of it. Derived classes call them first and
/// last.
class TVEXACustomPlugin : public Implements<TInterfacedObjectEx, IVEXAPlugin, IVEXASdkVersion> {
public:
    HResult Initialize(IVEXACore* core) noexcept override;
    void Finalize() noexcept override;
    void SystemNotify(std::int32_t notification, IUnknown* data) noexcept override;
    HResult GetSdkVersion(std::int32_t* major, std::int32_t* minor) noexcept override;

protected:
    /// Throws EHostError "The IVEXAServiceConfig is not supported".
    TVEXAServiceConfig ServiceGetConfig() { return {}; }
};

}  // namespace vexa
