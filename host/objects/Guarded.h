#pragma once
// The border between the host's code, which throws, and its interfaces, which return result codes.

#include "Log.h"
#include "VEXA.Runtime.Guard.h"

namespace vexa::host {

/// Returns what `act` returns, S_OK if that is nothing. An exception is logged, with `what` naming what was being done,
/// and becomes E_UNEXPECTED.
template <class Act>
HResult Guarded(const char* what, Act&& act) noexcept {
    return GuardedCall(LogHost(), what, act, E_UNEXPECTED);
}

}  // namespace vexa::host
