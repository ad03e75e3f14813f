#pragma once
// The plug-ins' commands in the window: context menus and shortcuts. Main thread.

#include "Host.h"

#include <QObject>

#include <functional>
#include <optional>
#include <vector>

class QAction;
class QMenu;
class QWidget;

namespace vexa::host {

class WindowCommands final : public QObject {
    Q_OBJECT
public:
    /// Handles shortcuts that are pressed in `window`.
    WindowCommands(Host& host, QWidget& window);

    /// Runs an item as from its menu.
    void Run(IVEXAMenuItem& item);
    /// While `view` has the focus, keys that otherwise type or search, and Delete, run commands, too, but none of the
    /// menu `except`.
    void AcceptPlainKeys(QWidget& view, std::optional<BuiltInMenu> except = {});
    /// An action of the window's own that its plain keys run there.
    void AddPlainAction(QAction* action);
    const QList<QAction*>& PlainActions() const noexcept { return FPlainActions; }

    /// Shows one of the host's own menus; `before`, which may be empty, adds the window's own items at its top.
    void ShowMenu(BuiltInMenu menu, const QPoint& position, const std::function<void(QMenu&)>& before = {});

Q_SIGNALS:
    /// A command may run now, and change what is selected.
    void AboutToRun();
    /// A command has run; the window should show what it may have changed.
    void Ran();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct View {
        const QWidget* Widget;
        std::optional<BuiltInMenu> Except;
    };

    const View* FocusedView() const;
    bool Run(const QKeySequence& keys, const View* view);

    Host& FHost;
    QWidget& FWindow;
    std::vector<View> FViews;
    QList<QAction*> FPlainActions;
};

}  // namespace vexa::host
