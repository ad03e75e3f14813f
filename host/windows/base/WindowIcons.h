#pragma once
// The window's icons, in the colour of the text beside them, and the program's icon. Main thread.

#include <QIcon>

namespace vexa::host {

/// The drawing of that file name in icons/. Icons are cached until ForgetWindowIcons.
QIcon WindowIcon(const QString& name);
/// The program's icon in its own colours, for desktops that do not find it by the name of the desktop file.
QIcon ProgramIcon();
/// Called when the colours have changed.
void ForgetWindowIcons();

}  // namespace vexa::host
