#pragma once
// The player's window: makes the panes, lays them out and connects them. Main thread.
//
//     Host host(options);
//     Playback playback(host);
//     MainWindow window(host, playback);
//     host.LoadPlugin(fileName);
//     window.show();
//
// Destroy it before its playback and its host. If plug-ins are unloaded before, it releases everything of theirs.

#include "Host.h"
#include "LibraryController.h"
#include "Opener.h"
#include "OptionsDialog.h"
#include "Playback.h"
#include "Subscriber.h"
#include "SubscriptionChooser.h"
#include "Tray.h"
#include "UndoActs.h"
#include "VideoWindow.h"
#include "WindowCommands.h"
#include "WindowMenuBar.h"
#include "WindowTheme.h"

#include <QMainWindow>
#include <QTranslator>

class QMessageBox;
class QSplitter;
class QStackedWidget;
class QToolButton;
class QVBoxLayout;

namespace vexa::host {

class Banner;
class DetailsPane;
class FirstStartPage;
class ListeningPane;
class ListsPane;
class PlaybackBar;
class PlaylistPane;
class TaskBar;

class MainWindow final : public QMainWindow {
    Q_OBJECT
public:
    /// `isTrayAvailable` as Tray takes it.
    MainWindow(Host& host, Playback& playback,
               std::function<bool()> isTrayAvailable = QSystemTrayIcon::isSystemTrayAvailable);
    ~MainWindow() override;

    WindowTheme& Theme() noexcept { return FTheme; }
    LibraryController& Library() noexcept { return *FLibrary; }

    /// Loads a plug-in, or shows why it cannot be loaded.
    void LoadPlugin(const QString& fileName);
    /// Plays a file, or shows why it cannot be played.
    void Play(const QString& file);
    /// Opens the dialog with the settings of a node of the storage shown, if the node has options.
    void ShowNodeOptions(const TreeNode& node);
    /// Brings the window to the front and opens the addresses as Opener does.
    void Open(const QStringList& addresses);
    void BringToFront();
    /// Shows a warning, without waiting for the user to close it.
    void Warn(const QString& message);
    /// Ends the program without a question.
    void End();
    /// The desktop's session is ending: from now on closing the window does not ask.
    void ExpectEnd() noexcept { FIsEnding = true; }
    /// Writes the layout to the settings.
    void SaveLayout();

protected:
    /// When the user closes the window while something plays or is downloaded, the player goes on in the tray, or asks.
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void HandleMessages();
    void Arrange();
    QWidget* LeftColumn();
    void ShowToolBar();
    void UpdateSide();
    void AddMenuItems();
    void ConnectPlayback();
    void ConnectLibrary();
    void ConnectMenus();
    void ShowTreeMenu(const QPoint& position);
    NodeName NameOf(const TreeNode& node) const;
    /// Shows the storage's own search window.
    void ShowSearch(const QString& text);
    void ConnectUndo();
    bool IsOffered(RowButton button) const;
    void Run(RowButton button, const QString& file);
    void RunOn(RowButton button, const QString& file);
    void AddPlainAction(const char* key, Qt::Key shortcut, std::function<void()> run);
    void ShowShortcuts();
    void ShowPage();
    void ShowDetails();
    void ReleasePlugins();
    void Import();
    void Export();
    void Report(const std::vector<Subscriber::Outcome>& outcomes);
    void RestoreLayout();
    void SaveLayoutOnChanges();
    void Localize();
    void OnThemeChanged();
    bool IsBusy() const;
    void AskWhetherToEnd();
    void GoIntoTray();

    Host& FHost;
    Playback& FPlayback;
    const WindowTexts FTexts;
    WindowTheme FTheme;
    Tray FTray;
    TreePane* FTree;
    TablePane* FTable;
    NodePage* FPage;
    CoverGrid* FGrid;
    Subscriber* FSubscriber;
    DetailsPane* FDetails;
    PlaylistPane* FPlaylists;
    ListeningPane* FListening;
    FirstStartPage* FFirstStart;
    TaskBar* FTasks;
    ListsPane* FLists;
    QToolButton *FAdd, *FRefresh;
    QSplitter *FSplitter, *FSide;
    QStackedWidget* FPages;
    QWidget* FContent;  // contains everything but menu bar and status bar
    QVBoxLayout* FContentLayout;
    Banner* FBanner;
    PlaybackBar* FBar;
    VideoWindow FVideo;
    WindowMenuBar* FMenuBar;
    OptionsWindow FOptions;
    WindowCommands* FCommands;
    UndoActs FActs;
    Opener FOpener;
    SubscriptionChooser FChooser;
    std::unique_ptr<LibraryController> FLibrary;
    MessageListener FLanguage;
    QPointer<QMessageBox> FWarning, FQuestion;
    QTimer FLayoutSaver;
    QTranslator FToolkitTexts;
    bool FIsEnding = false;
};

}  // namespace vexa::host
