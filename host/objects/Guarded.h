#pragma once
// The border between the host's code, which throws, and its interfaces, which return result codes.

#include "Log.h"
#include "VEXA.SDK.Base.h"

#include <exception>

namespace vexa::host {

/// Returns what `act` returns. An exception is logged, with `what` naming what was being done, and becomes
/// E_UNEXPECTED.
template <class Act>
HResult Guarded(const char* what, Act&& act) noexcept {
    try {
        return act();
    } catch (const std::exception& error) {
        qCWarning(LogHost).noquote() << what << "failed:" << error.what();
    } catch (...) {
        qCWarning(LogHost) << what << "failed";
    }
    return E_UNEXPECTED;
}

}  // namespace vexa::host
