#pragma once
// The dialog that lists the keys that do something in the window. Main thread.

#include "Menus.h"
#include "WindowTexts.h"

#include <QList>

class QAction;
class QWidget;

namespace vexa::host {

/// Lists the shortcuts of the window's actions and of the plug-ins' commands, and returns at once.
void ShowShortcutsDialog(const QList<QAction*>& actions, MenuManager& menus, const WindowTexts& texts, QWidget& window);

}  // namespace vexa::host
