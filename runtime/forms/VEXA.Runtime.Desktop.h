#pragma once
// Services of the desktop.

#include "VEXA.Runtime.Export.h"

#include <QString>

#include <cstdint>

namespace vexa {

/// Opens the desktop's file manager with the file selected, or just the file's folder where no file manager can select
/// files. False when neither works, or the file does not exist. Any thread; returns within a few seconds.
VEXA_RUNTIME_API bool ShowInFolder(const QString& fileName);

/// Brings one of the program's own windows, given by its native handle, to the front; ignores other windows.
VEXA_RUNTIME_API void BringToFront(std::uintptr_t window);

}  // namespace vexa
