#pragma once
// What the desktop does for a program besides windows.

#include "VEXA.Runtime.Export.h"

#include <QString>

#include <cstdint>

namespace vexa {

/// Opens the desktop's file manager with the file selected, or, where no file manager can be asked for that, the file's
/// folder. False when neither works or there is no such file. Any thread; returns within a few seconds.
VEXA_RUNTIME_API bool ShowInFolder(const QString& fileName);

/// Brings one of the program's own windows, by its native handle, to the front; does nothing for any other.
VEXA_RUNTIME_API void BringToFront(std::uintptr_t window);

}  // namespace vexa
