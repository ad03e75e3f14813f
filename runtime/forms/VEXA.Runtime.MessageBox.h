#pragma once
// Short messages to the user. Main thread.

#include "VEXA.Runtime.Export.h"

#include <QString>

#include <cstdint>

namespace vexa {

/// Tells that something failed, in a box of its own over the window `owner` (a native handle; 0 or a window of another
/// program: over none), and returns at once. `text` is plain: nothing in it is markup. An empty title is the program's
/// name. In a program without windows the text is logged.
VEXA_RUNTIME_API void ShowErrorBox(std::uintptr_t owner, const QString& title, const QString& text);

}  // namespace vexa
