#pragma once
// The system's logging categories. By default only warnings are shown; QT_LOGGING_RULES="podcasts.*=true" shows all.

#include "VEXA.Runtime.Export.h"

#include <QLoggingCategory>

namespace vexa {

VEXA_RUNTIME_API const QLoggingCategory& LogHttp();      // podcasts.http
VEXA_RUNTIME_API const QLoggingCategory& LogDatabase();  // podcasts.db
VEXA_RUNTIME_API const QLoggingCategory& LogRefresh();   // podcasts.refresh
VEXA_RUNTIME_API const QLoggingCategory& LogDownload();  // podcasts.download
VEXA_RUNTIME_API const QLoggingCategory& LogPlugin();    // podcasts.plugin
VEXA_RUNTIME_API const QLoggingCategory& LogRuntime();   // podcasts.runtime

}  // namespace vexa
