#pragma once
// Why a file of the toolkit could not be opened, read or written.

#include "VEXA.Runtime.Export.h"
#include "VEXA.Runtime.Reason.h"

class QFileDevice;

namespace vexa {

/// The reason for the last error of `file`, which is the operating system's (see SystemReason) as far as its words
/// tell.
VEXA_RUNTIME_API Reason FileReason(const QFileDevice& file);

}  // namespace vexa
