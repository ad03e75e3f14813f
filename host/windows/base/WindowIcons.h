#pragma once
// The window's icons, in the colour of the text they stand beside, and the program's own. Main thread.

#include <QIcon>

namespace vexa::host {

/// A drawing by the name of its file in icons/. Made once for each colour; anew after ForgetWindowIcons.
QIcon WindowIcon(const QString& name);
/// In its own colours, for the desktops that do not find it by the name of the desktop file.
QIcon ProgramIcon();
/// The colours have changed.
void ForgetWindowIcons();

}  // namespace vexa::host
