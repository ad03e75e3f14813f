#pragma once
// The window's icons, in the colour of the text they stand beside. Main thread.

#include <QIcon>

namespace vexa::host {

/// A drawing by the name of its file in icons/. Made once for each colour; anew after ForgetWindowIcons.
QIcon WindowIcon(const QString& name);
/// The colours have changed.
void ForgetWindowIcons();

}  // namespace vexa::host
