#pragma once
// The border between the host's code, which throws, and its interfaces, which answer with result codes.

#include "Log.h"
#include "VEXA.Runtime.Guard.h"

namespace vexa::host {

/// What `act` answers, S_OK for one without a result; what it throws is logged and becomes E_UNEXPECTED.
template <class Act>
HResult Guarded(const char* what, Act&& act) noexcept {
    return GuardedCall(LogHost(), what, act, E_UNEXPECTED);
}

}  // namespace vexa::host
