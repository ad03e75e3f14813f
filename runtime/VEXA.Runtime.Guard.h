#pragma once
// Connects code that throws with interfaces that return result codes.

#include "VEXA.Runtime.Export.h"
#include "VEXA.SDK.Base.h"

#include <QLoggingCategory>
#include <QString>

#include <type_traits>

namespace vexa {

/// The message of the exception that is being handled; empty when it has none.
VEXA_RUNTIME_API QString CaughtMessage();
/// Logs a warning that `what` failed, with the message of the exception that is being handled.
VEXA_RUNTIME_API void LogCaughtException(const QLoggingCategory& category, const char* what) noexcept;

/// Runs `body` and returns its result, or S_OK if it has none. An exception is logged with `what` and turned into
/// `failure`.
template <class Body>
HResult GuardedCall(const QLoggingCategory& category, const char* what, Body&& body, HResult failure) noexcept {
    try {
        if constexpr (std::is_void_v<decltype(body())>) {
            body();
            return S_OK;
        } else {
            return body();
        }
    } catch (...) {
        LogCaughtException(category, what);
        return failure;
    }
}

}  // namespace vexa
