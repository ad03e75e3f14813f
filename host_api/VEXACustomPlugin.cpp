#include "VEXACustomPlugin.h"

namespace vexa {

HResult TVEXACustomPlugin::Initialize(IVEXACore* core) noexcept {
    TVEXAAPIWrappers::Initialize(core);
    return S_OK;
}

void TVEXACustomPlugin::Finalize() noexcept {
    TVEXAAPIWrappers::Finalize();
}

void TVEXACustomPlugin::SystemNotify(std::int32_t, IUnknown*) noexcept {}

}  // namespace vexa
