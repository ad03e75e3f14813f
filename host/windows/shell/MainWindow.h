#pragma once
// The player's window: which panes there are, where they stand, and who hears whom. Main thread.
//
//     Host host(options);
//     Playback playback(host);
//     MainWindow window(host, playback);
//     host.LoadPlugin(fileName);
//     window.show();
//
// It ends before its player and its host. When plug-ins are unloaded meanwhile, it lets go of all that is theirs.

#include "Host.h"
#include "LibraryController.h"
#include "Opener.h"
#include "OptionsDialog.h"
#include "Playback.h"
#include "Subscriber.h"
#include "SubscriptionChooser.h"
#include "WindowCommands.h"
#include "WindowMenuBar.h"
#include "WindowTheme.h"

#include <QMainWindow>

class QMessageBox;
class QSplitter;
class QStackedWidget;
class QVBoxLayout;

namespace vexa::host {

class Banner;
class DetailsPane;
class FirstStartPage;
class ListeningPane;
class PlaybackBar;
class PlaylistPane;
class TaskBar;

class MainWindow final : public QMainWindow {
    Q_OBJECT
public:
    MainWindow(Host& host, Playback& playback);
    ~MainWindow() override;

    WindowTheme& Theme() noexcept { return FTheme; }
    LibraryController& Library() noexcept { return *FLibrary; }

    /// Loads a plug-in, or says why it cannot.
    void LoadPlugin(const QString& fileName);
    /// Plays a file, or says why it cannot.
    void Play(const QString& file);
    /// As Opener says; the window comes to the front.
    void Open(const QStringList& addresses);
    void BringToFront();
    /// Says what went wrong, without waiting for an answer.
    void Warn(const QString& message);
    /// Gives the settings where everything stands.
    void SaveLayout();

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void AnswerMessages();
    void Arrange();
    void AddMenuItems();
    void ConnectPlayback();
    void ConnectLibrary();
    void ConnectMenus();
    void ShowPage();
    void ShowDetails();
    void LetGo();
    void Import();
    void Export();
    void Report(const std::vector<Subscriber::Outcome>& outcomes);
    void RestoreLayout();
    void Localize();
    void OnThemeChanged();

    Host& FHost;
    Playback& FPlayback;
    const WindowTexts FTexts;
    WindowTheme FTheme;
    TreePane* FTree;
    TablePane* FTable;
    Subscriber* FSubscriber;
    DetailsPane* FDetails;
    PlaylistPane* FPlaylists;
    ListeningPane* FListening;
    FirstStartPage* FFirstStart;
    TaskBar* FTasks;
    QSplitter *FSplitter, *FLeft, *FSide;
    QStackedWidget* FPages;
    QWidget* FPlace;  // of all but menu and status bar
    QVBoxLayout* FPlaceLayout;
    Banner* FBanner;
    PlaybackBar* FBar;
    WindowMenuBar* FMenuBar;
    OptionsWindow FOptions;
    WindowCommands* FCommands;
    Opener FOpener;
    SubscriptionChooser FChooser;
    std::unique_ptr<LibraryController> FLibrary;
    MessageListener FLanguage;
    QPointer<QMessageBox> FWarning;
};

}  // namespace vexa::host
