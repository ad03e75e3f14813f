#pragma once
// The player without its window: its icon in the desktop's tray. Main thread.

#include "Config.h"
#include "Playback.h"
#include "WindowTexts.h"

#include <QMenu>
#include <QSystemTrayIcon>
#include <QTimer>

#include <functional>
#include <optional>

namespace vexa::host {

/// What closing the window does while something plays or is downloaded and the desktop has a tray. The user is asked
/// the first time.
enum class AtClosing { GoOnInTray, End };
std::optional<AtClosing> ChosenAtClosing(ConfigService& config);
void ChooseAtClosing(ConfigService& config, AtClosing choice);

class Tray final : public QObject {
    Q_OBJECT
public:
    /// `isAvailable`: whether the desktop has a tray now; it may come and go.
    Tray(Playback& playback, const WindowTexts& texts,
         std::function<bool()> isAvailable = QSystemTrayIcon::isSystemTrayAvailable);

    bool IsAvailable() const { return FIsAvailable(); }
    void Show();
    void Hide();
    /// Sets the texts, as after a change of language.
    void Update();

Q_SIGNALS:
    /// The user has asked for the window, or the tray has vanished.
    void WindowWanted();
    void QuitWanted();

private:
    Playback& FPlayback;
    const WindowTexts& FTexts;
    const std::function<bool()> FIsAvailable;
    QMenu FMenu;
    QAction *FShow, *FPlay, *FQuit;
    QSystemTrayIcon FIcon;
    QTimer FLook;  // the desktop does not tell when the tray vanishes
};

}  // namespace vexa::host
