#pragma once
// What the desktop does for a program besides windows.

#include "VEXA.Runtime.Export.h"

#include <QString>

namespace vexa {

/// Opens the desktop's file manager with the file selected, or, where no file manager can be asked for that, the file's
/// folder. False when neither works or there is no such file. Any thread; returns within a few seconds.
VEXA_RUNTIME_API bool ShowInFolder(const QString& fileName);

}  // namespace vexa
