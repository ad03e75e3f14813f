#pragma once
// What the status of an HTTP response means, for people to read.

#include "VEXA.Runtime.Export.h"
#include "VEXA.Runtime.Reason.h"

namespace vexa {

/// A status and its meaning ("404 Not Found"), the place of "the server answered %1". `phrase`: the server's own words,
/// empty when it sent none. A phrase that is not the usual one is used as it is.
VEXA_RUNTIME_API Reason HttpStatusMeaning(int status, const QString& phrase = {});

}  // namespace vexa
