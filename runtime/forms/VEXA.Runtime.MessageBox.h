#pragma once
// Short messages to the user. Main thread.

#include "VEXA.Runtime.Export.h"

#include <QString>

#include <cstdint>

namespace vexa {

/// Reports an error in a message box over the window `owner` (a native handle; for 0, or a window of another program,
/// the box has no owner), and returns at once. `text` is plain text, without markup. An empty `title` is replaced by
/// the program's name. In a program without windows the text is logged.
VEXA_RUNTIME_API void ShowErrorBox(std::uintptr_t owner, const QString& title, const QString& text);

}  // namespace vexa
