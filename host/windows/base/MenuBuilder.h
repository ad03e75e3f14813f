#pragma once
// Builds the toolkit's menus from the items of the menu manager. Main thread.
//
// A permanent menu:
//
//     QMenu* menu = BuildMenu(host.Menus(), {kMenuLibrary, kMenuLibraryTree}, this);
//
// A context menu:
//
//     QMenu context(this);
//     context.addAction(play);
//     FillMenu(context, host.Menus(), *host.Menus().BuiltIn(kMenuLibraryTable));
//     context.exec(position);

#include "Menus.h"

#include <QMenu>

namespace vexa::host {

/// A menu of the items of several menus, one after the other, that prepares and fills itself anew every time before it
/// is shown. `parent` owns it.
QMenu* BuildMenu(MenuManager& menus, const std::vector<BuiltInMenu>& parts, QWidget* parent);

/// Prepares the items for the resolution of `target`, and appends the visible ones to it. A chosen item is triggered
/// without preparing the menu again. Captions are plain text, without mnemonics and markup, and are shortened if very
/// long.
void FillMenu(QMenu& target, MenuManager& menus, IVEXAMenuItem& menu);

/// A caption as the text of a QAction.
QString MenuText(const QString& caption, const QFontMetrics& font);

}  // namespace vexa::host
