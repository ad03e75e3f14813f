#pragma once
// Menus of the toolkit's, made of the items of the menu manager. Main thread.
//
// A menu that is always there:
//
//     QMenu* menu = BuildMenu(host.Menus(), *host.Menus().BuiltIn(kMenuLibrary), this);
//
// One for this time only:
//
//     QMenu context(this);
//     context.addAction(play);
//     FillMenu(context, host.Menus(), *host.Menus().BuiltIn(kMenuLibraryTable));
//     context.exec(position);

#include "Menus.h"

#include <QMenu>

namespace vexa::host {

/// A menu that prepares and fills itself anew whenever it is about to show. `parent` owns it.
QMenu* BuildMenu(MenuManager& menus, IVEXAMenuItem& menu, QWidget* parent);

/// Prepares the items for the resolution that the menu is going to show at, and adds the visible ones at its end. A
/// chosen one runs as the menu was prepared. Captions are plain: nothing in them is a mnemonic or markup, and very long
/// ones are cut.
void FillMenu(QMenu& target, MenuManager& menus, IVEXAMenuItem& menu);

/// The caption as an action takes it.
QString MenuText(const QString& caption, const QFontMetrics& font);

}  // namespace vexa::host
