#pragma once
// The border between code that throws and interfaces that answer with result codes.

#include "VEXA.Runtime.Export.h"
#include "VEXA.SDK.Base.h"

#include <QLoggingCategory>
#include <QString>

#include <type_traits>

namespace vexa {

/// The message of the exception that is being handled; empty when it has none.
VEXA_RUNTIME_API QString CaughtMessage();
/// Writes a warning that `what` failed, with that message.
VEXA_RUNTIME_API void LogCaughtException(const QLoggingCategory& category, const char* what) noexcept;

/// What `body` answers, S_OK for one without a result; what it throws is logged with `what` and becomes `failure`.
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
