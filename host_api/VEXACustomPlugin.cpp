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

HResult TVEXACustomPlugin::GetSdkVersion(std::int32_t* major, std::int32_t* minor) noexcept {
    if (!AreGiven(major, minor)) return E_POINTER;
    *major = kSdkMajor;
    *minor = kSdkMinor;
    return S_OK;
}

}  // namespace vexa
