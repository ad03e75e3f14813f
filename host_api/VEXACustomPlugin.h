#pragma once
// The base of plug-in objects.

#include "apiWrappers.h"

namespace vexa {

/// Initialize stores the host's core for this whole layer, and Finalize releases it. An override of Initialize calls it
/// first, an override of Finalize calls it last.
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
