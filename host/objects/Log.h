#pragma once
// The host's logging category, vexa.host. Quiet by default: only warnings show.

#include <QLoggingCategory>

namespace vexa::host {

const QLoggingCategory& LogHost();

}  // namespace vexa::host
