#include "WindowCommands.h"

#include "MenuBuilder.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>

namespace vexa::host {

namespace {

bool IsModifier(int key) {
    return key == Qt::Key_Control || key == Qt::Key_Shift || key == Qt::Key_Alt || key == Qt::Key_Meta;
}

/// Whether the key types text, moves around or deletes, and so belongs to the focused control.
bool IsPlain(const QKeyEvent& event) {
    if (event.key() >= Qt::Key_F1 && event.key() <= Qt::Key_F35) return false;
    return !(event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier));
}

bool IsEditing(const QKeyEvent& event) {
    if (!qobject_cast<QLineEdit*>(QApplication::focusWidget())) return false;
    for (const auto standard : {QKeySequence::SelectAll, QKeySequence::Copy, QKeySequence::Cut, QKeySequence::Paste,
                                QKeySequence::Undo, QKeySequence::Redo})
        if (const_cast<QKeyEvent&>(event).matches(standard)) return true;
    return false;
}

/// The keys as a shortcut names them. Which symbols need Shift depends on the keyboard.
QKeySequence KeysOf(const QKeyEvent& event) {
    const bool isSymbol = !event.text().isEmpty() && event.text()[0].isPrint() && !event.text()[0].isLetter();
    return isSymbol && IsPlain(event) ? QKeySequence(event.key()) : QKeySequence(event.keyCombination());
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
    Q_EMIT AboutToRun();
    if (shown.exec(position)) Q_EMIT Ran();
}

bool WindowCommands::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress || !watched->isWidgetType()) return false;
    const auto* widget = static_cast<QWidget*>(watched);
    const QWidget* focused = QApplication::focusWidget();
    if (widget->window() != &FWindow || (focused && widget != focused)) return false;
    const auto& key = static_cast<const QKeyEvent&>(*event);
    if (IsModifier(key.key()) || IsEditing(key)) return false;
    if (!IsPlain(key)) return Run(KeysOf(key), nullptr);
    const View* view = FocusedView();
    // A key that is held down would act on one row after the other.
    return view && !key.isAutoRepeat() && Run(KeysOf(key), view);
}

const WindowCommands::View* WindowCommands::FocusedView() const {
    const QWidget* focused = QApplication::focusWidget();
    for (const View& view : FViews)
        if (view.Widget == focused) return &view;
    return nullptr;
}

bool WindowCommands::Run(const QKeySequence& keys, const View* view) {
    for (QAction* action : view ? FPlainActions : QList<QAction*>())
        if (action->isEnabled() && action->shortcuts().contains(keys)) return action->trigger(), true;
    Q_EMIT AboutToRun();
    if (!FHost.Menus().RunShortcut(keys, view ? view->Except : std::nullopt)) return false;
    Q_EMIT Ran();
    return true;
}

void WindowCommands::Run(IVEXAMenuItem& item) {
    Q_EMIT AboutToRun();
    if (Succeeded(FHost.Menus().Run(item))) Q_EMIT Ran();
}

void WindowCommands::AcceptPlainKeys(QWidget& view, std::optional<BuiltInMenu> except) {
    FViews.push_back({&view, except});
}

void WindowCommands::AddPlainAction(QAction* action) {
    FPlainActions += action;
}

}  // namespace vexa::host
