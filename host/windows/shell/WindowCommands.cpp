#include "WindowCommands.h"

#include "MenuBuilder.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>

namespace vexa::host {

namespace {

/// Whether the key can be a shortcut of a command. Keys that type text or move around belong to the focused control.
bool IsCommand(const QKeyEvent& event) {
    const int key = event.key();
    if (key == Qt::Key_Control || key == Qt::Key_Shift || key == Qt::Key_Alt || key == Qt::Key_Meta) return false;
    if (key >= Qt::Key_F1 && key <= Qt::Key_F35) return true;
    const bool edits = qobject_cast<QLineEdit*>(QApplication::focusWidget()) != nullptr;
    if (key == Qt::Key_Delete || key == Qt::Key_Insert) return !edits;
    if (!(event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier))) return false;
    for (const auto standard : {QKeySequence::SelectAll, QKeySequence::Copy, QKeySequence::Cut, QKeySequence::Paste,
                                QKeySequence::Undo, QKeySequence::Redo})
        if (edits && const_cast<QKeyEvent&>(event).matches(standard)) return false;
    return true;
}

}  // namespace

WindowCommands::WindowCommands(Host& host, QWidget& window) : QObject(&window), FHost(host), FWindow(window) {
    qApp->installEventFilter(this);
}

void WindowCommands::ShowMenu(BuiltInMenu menu, const QPoint& position, const std::function<void(QMenu&)>& before) {
    QMenu shown(&FWindow);
    if (before) {
        before(shown);
        shown.addSeparator();
    }
    FillMenu(shown, FHost.Menus(), *FHost.Menus().BuiltIn(menu));
    if (shown.isEmpty()) return;
    if (shown.exec(position)) Q_EMIT Ran();
}

bool WindowCommands::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress || !watched->isWidgetType()) return false;
    const auto* widget = static_cast<QWidget*>(watched);
    const QWidget* focused = QApplication::focusWidget();
    if (widget->window() != &FWindow || (focused && widget != focused)) return false;
    const auto& key = static_cast<const QKeyEvent&>(*event);
    if (!IsCommand(key)) return false;
    if (!FHost.Menus().RunShortcut(QKeySequence(key.keyCombination()))) return false;
    Q_EMIT Ran();
    return true;
}

}  // namespace vexa::host
