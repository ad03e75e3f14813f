#pragma once
// The plug-ins' commands in the window: context menus and shortcuts. Main thread.

#include "Host.h"

#include <QObject>

#include <functional>

class QMenu;
class QWidget;

namespace vexa::host {

class WindowCommands final : public QObject {
    Q_OBJECT
public:
    /// Handles shortcuts that are pressed in `window`.
    WindowCommands(Host& host, QWidget& window);

    /// Shows one of the host's own menus; `before`, which may be empty, adds the window's own items at its top.
    void ShowMenu(BuiltInMenu menu, const QPoint& position, const std::function<void(QMenu&)>& before = {});

Q_SIGNALS:
    /// A command has run; the window should show what it may have changed.
    void Ran();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    Host& FHost;
    QWidget& FWindow;
};

}  // namespace vexa::host
