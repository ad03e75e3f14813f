#pragma once
// The window's menu bar. Main thread.

#include "Host.h"
#include "Library.h"
#include "Pane.h"
#include "PlaybackMenu.h"
#include "WindowTexts.h"
#include "WindowTheme.h"

#include <QMenuBar>

#include <vector>

class QAction;
class QActionGroup;

namespace vexa::host {

class Tray;

class WindowMenuBar final : public Pane<QMenuBar> {
    Q_OBJECT
public:
    /// Theme and tray outlive it.
    WindowMenuBar(Host& host, Playback& playback, WindowTheme& theme, const Tray& tray, QWidget* parent = nullptr);

    /// Adds an item that shows and hides a pane. `key` is the key of its caption.
    void AddPane(const char* key, QAction* toggle);
    /// Disables the items for which the storage has no command, and hides the one for finding by words; null while no
    /// storage is shown.
    void EnableOffered(const LibraryStorage* storage);

    /// `newest` tells what can be undone, when the menu is about to be shown; nothing when there is nothing.
    void SetUndo(std::function<std::optional<QString>()> newest) { FNewestAct = std::move(newest); }

    QAction* SubscribeAction() const noexcept { return FSubscribe; }
    /// Visible while the storage can find by words what it could add.
    QAction* FindNewAction() const noexcept { return FFindNew; }
    const QMenu* LibraryMenu() const noexcept { return FLibrary; }

Q_SIGNALS:
    void Subscribe();
    void FindNew();
    void Import();
    void Export();
    void Options();
    void Quit();
    void Undo();
    void FocusSearch();
    void SearchAll();
    void Shortcuts();

private:
    void Localize() override;
    struct Captioned {
        QAction* Action;
        const char* Key;
    };
    QAction* Add(QMenu* menu, const char* key, const QKeySequence& keys, void (WindowMenuBar::*signal)());
    void AddUndo(QMenu* menu);
    QMenu* AddMenuOf(const char* key);
    void AddTrayChoice(QMenu* menu);
    void AddThemes(WindowTheme& theme);
    void AddLanguages();

    Host& FHost;
    const Tray& FTray;
    const WindowTexts FTexts;
    std::vector<Captioned> FCaptions;
    QAction *FSubscribe, *FFindNew, *FImport, *FExport;
    std::function<std::optional<QString>()> FNewestAct;
    QMenu* FView = nullptr;
    QMenu* FLibrary = nullptr;
    PlaybackMenu* FPlayback = nullptr;
};

}  // namespace vexa::host
