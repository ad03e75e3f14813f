#include "MainWindow.h"

#include "Banner.h"
#include "DetailsPane.h"
#include "FirstStartPage.h"
#include "ListeningPane.h"
#include "ListsPane.h"
#include "NodeOptionsDialog.h"
#include "NowPlayingButton.h"
#include "PlaybackBar.h"
#include "PlaylistPane.h"
#include "RowTexts.h"
#include "ShortcutsDialog.h"
#include "TaskBar.h"
#include "VEXA.Runtime.Threads.h"
#include "VEXA.Runtime.Url.h"
#include "WindowIcons.h"

#include <QApplication>
#include <QBoxLayout>
#include <QCloseEvent>
#include <QFileDialog>
#include <QLibraryInfo>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QSplitter>
#include <QStackedWidget>
#include <QTableView>
#include <QTreeView>

namespace vexa::host {

namespace {

constexpr QSize kFirstSize(1320, 800);
constexpr double kShareOfScreen = 0.9;   // of the first window, at most: its frame and the desktop's panels want room
constexpr std::size_t kMaxReported = 3;  // more subscriptions than this are reported by their number only

constexpr auto kLayoutPause = std::chrono::milliseconds(200);  // so that not every step of a drag is saved

const QString kGeometryKey = QStringLiteral("Window\\Geometry");
const QString kSplitterKey = QStringLiteral("Window\\Splitter");
const QString kSideKey = QStringLiteral("Window\\Side");
const QString kThemeKey = QStringLiteral("Window\\Theme");

WindowTheme::Choice StoredTheme(ConfigService& config) {
    return static_cast<WindowTheme::Choice>(std::clamp(config.Find(kThemeKey).value_or(QString()).toInt(), 0, 2));
}

}  // namespace

MainWindow::MainWindow(Host& host, Playback& playback, std::function<bool()> isTrayAvailable)
    : FHost(host),
      FPlayback(playback),
      FTexts(host.Language()),
      FTheme(StoredTheme(host.Config())),
      FTray(playback, FTexts, std::move(isTrayAvailable)),
      FTree(new TreePane(host.Language())),
      FTable(new TablePane(host.Language())),
      FPage(new NodePage(host.Language())),
      FGrid(new CoverGrid),
      FSubscriber(new Subscriber(host, this)),
      FDetails(new DetailsPane(host)),
      FPlaylists(new PlaylistPane(host)),
      FListening(new ListeningPane(host, playback)),
      FFirstStart(new FirstStartPage(host, *FSubscriber)),
      FTasks(new TaskBar(host.Library(), host.Language())),
      FLists(new ListsPane(host.Language(), *FListening, *FPlaylists)),
      FAdd(new QToolButton),
      FRefresh(new QToolButton),
      FSplitter(new QSplitter(Qt::Horizontal)),
      FSide(new QSplitter(Qt::Vertical)),
      FPages(new QStackedWidget),
      FContent(new QWidget),
      FContentLayout(new QVBoxLayout(FContent)),
      FBanner(new Banner),
      FBar(new PlaybackBar(playback, host)),
      FVideo(playback, host),
      FMenuBar(new WindowMenuBar(host, playback, FTheme, FTray)),
      FOptions(host),
      FCommands(new WindowCommands(host, *this)),
      FActs(host.Library()),
      FOpener(host, *FSubscriber, *this),
      FChooser(host.Language(), *FSubscriber, *this),
      FLanguage(host.Messages(), kMsgLanguageChanged, [this] { Localize(); }) {
    setObjectName(QStringLiteral("MainWindow"));
    setMenuBar(FMenuBar);
    setStatusBar(FTasks);
    setAcceptDrops(true);
    Arrange();
    AddMenuItems();
    FTable->SetPage(FPage);
    FTable->SetGrid(FGrid);
    FLibrary = std::make_unique<LibraryController>(FHost, *FTree, *FTable, *FPage, *FGrid);
    FOptions.SetParent(this);
    ConnectLibrary();
    ConnectPlayback();
    ConnectMenus();
    ConnectUndo();
    HandleMessages();
    std::vector<std::unique_ptr<NotificationPresenter>> presenters;
    presenters.push_back(MakeServicePresenter());
    presenters.push_back(MakeTrayPresenter());
    presenters.push_back(MakeBannerPresenter(FBanner, [this] { return FTexts("Show"); }));
    SetNotificationPresenters(std::move(presenters));
    RestoreLayout();
    Localize();
    ShowPage();
    SaveLayoutOnChanges();
}

MainWindow::~MainWindow() {
    // A subscription may end, or what plays may be described, while FLibrary, being destroyed, waits for its thread;
    // then nothing must use it.
    FSubscriber->disconnect(this);
    FPlayback.disconnect(this);
    SaveLayout();
    ReleasePlugins();
    FLibrary.reset();
    std::vector<std::unique_ptr<NotificationPresenter>> presenters;
    presenters.push_back(MakeServicePresenter());
    presenters.push_back(MakeTrayPresenter());
    SetNotificationPresenters(std::move(presenters));
    FHost.Messages().Handle(kMsgGetMainWindow, [](std::int32_t, void*) { return E_FAIL; });
    FHost.Messages().Handle(kMsgShowWindow, [](std::int32_t, void*) { return E_NOTIMPL; });
}

void MainWindow::Arrange() {
    FSide->addWidget(FDetails);
    FSide->addWidget(FLists);
    FSide->setSizes({420, 240});
    FSplitter->addWidget(LeftColumn());
    FSplitter->addWidget(FTable);
    FSplitter->addWidget(FSide);
    FSplitter->setStretchFactor(1, 1);
    FSplitter->setSizes({220, 800, 300});
    for (QSplitter* splitter : {FSplitter, FSide}) {
        splitter->setHandleWidth(1);
        splitter->setChildrenCollapsible(false);
    }
    FTable->setMinimumWidth(260);
    FSide->setMinimumWidth(220);
    FPages->addWidget(FSplitter);
    FPages->addWidget(FFirstStart);
    auto* line = new QFrame;
    line->setObjectName(QStringLiteral("Line"));
    FContentLayout->setContentsMargins({});
    FContentLayout->setSpacing(0);
    FContentLayout->addWidget(FPages, 1);
    FContentLayout->addWidget(FBanner);
    FContentLayout->addWidget(line);
    FContentLayout->addWidget(FBar);
    setCentralWidget(FContent);
}

void MainWindow::AddMenuItems() {
    const auto add = [this](const char* key, const QKeySequence& keys, auto show) {
        auto* toggle = new QAction(this);
        toggle->setObjectName(QString::fromLatin1(key));
        toggle->setCheckable(true);
        toggle->setShortcut(keys);
        toggle->setChecked(FHost.Config().Find(u"Window\\" + QString::fromLatin1(key)).value_or(QString()) != u"0");
        show(toggle->isChecked());
        connect(toggle, &QAction::toggled, this, [this, show, key](bool isShown) {
            show(isShown);
            UpdateSide();
            FHost.Config().Write(u"Window\\" + QString::fromLatin1(key),
                                 isShown ? QStringLiteral("1") : QStringLiteral("0"));
        });
        FMenuBar->AddPane(key, toggle);
    };
    add("PaneDetails", Qt::Key_F9, [this](bool isShown) { FDetails->setVisible(isShown); });
    add("PanePlaylists", Qt::SHIFT | Qt::Key_F9, [this](bool isShown) { FLists->SetWanted(*FPlaylists, isShown); });
    FMenuBar->AddPane("Compact", FTable->CompactAction());
    add("PaneListening", Qt::CTRL | Qt::Key_F9, [this](bool isShown) { FLists->SetWanted(*FListening, isShown); });
    connect(FLists, &ListsPane::OpenChanged, this, &MainWindow::UpdateSide);
    UpdateSide();
}

void MainWindow::UpdateSide() {
    FSide->setVisible(FDetails->isVisibleTo(FSide) || FLists->IsOpen());
}

/// The tree below what its storage is asked to do most: to add a source, and to look for new rows.
QWidget* MainWindow::LeftColumn() {
    FAdd->setObjectName(QStringLiteral("Add"));
    FAdd->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    FRefresh->setObjectName(QStringLiteral("Refresh"));
    for (QToolButton* button : {FAdd, FRefresh}) {
        button->setAutoRaise(true);
        button->setFocusPolicy(Qt::StrongFocus);
    }
    connect(FRefresh, &QToolButton::clicked, this, [this] {
        if (const auto item = FHost.Menus().WithButton(IVEXAMenuItem::RefreshButton)) FCommands->Run(*item);
    });
    auto* bar = new QHBoxLayout;
    bar->setContentsMargins(8, 8, 8, 8);
    bar->addWidget(FAdd);
    bar->addStretch(1);
    bar->addWidget(FRefresh);
    auto* left = new QWidget;
    left->setMinimumWidth(140);
    auto* column = new QVBoxLayout(left);
    column->setContentsMargins({});
    column->setSpacing(0);
    column->addLayout(bar);
    column->addWidget(FTree, 1);
    return left;
}

void MainWindow::ShowToolBar() {
    const auto item = FHost.Menus().WithButton(IVEXAMenuItem::RefreshButton);
    FRefresh->setVisible(static_cast<bool>(item));
    if (item) FRefresh->setToolTip(FHost.Menus().Caption(*item));
    FRefresh->setAccessibleName(FRefresh->toolTip());
    FRefresh->setIcon(WindowIcon(QStringLiteral("refresh")));
    // A storage that can search is asked to do so; subscribing by address is in the button's menu then.
    const bool canFind = FMenuBar->FindNewAction()->isVisible();
    QAction* const action = canFind ? FMenuBar->FindNewAction() : FMenuBar->SubscribeAction();
    if (QAction* const former = FAdd->defaultAction(); former && former != action) FAdd->removeAction(former);
    FAdd->setDefaultAction(action);
    FAdd->setPopupMode(canFind ? QToolButton::MenuButtonPopup : QToolButton::DelayedPopup);
    if (canFind) FAdd->addAction(FMenuBar->SubscribeAction());
    action->setIcon(WindowIcon(QStringLiteral("add")));
    FAdd->setAccessibleName(FTexts(canFind ? "FindNew" : "Subscribe").remove(u'&'));
}

void MainWindow::ConnectLibrary() {
    connect(FTable, &TablePane::Activated, this, &MainWindow::Play);
    connect(FTable, &TablePane::CurrentChanged, this, &MainWindow::ShowDetails);
    FTable->SetOfferedButtons([this](RowButton button) { return IsOffered(button); });
    connect(FPage, &NodePage::OptionsWanted, this, [this] {
        if (const TreePath path = FTree->SelectedPath(); !path.empty()) ShowNodeOptions(path.back());
    });
    connect(FLibrary.get(), &LibraryController::PlayWanted, this, &MainWindow::Play);
    connect(FTable, &TablePane::ButtonClicked, this, &MainWindow::Run);
    connect(FPlaylists, &PlaylistPane::Activated, this, &MainWindow::Play);
    connect(FTable, &TablePane::MenuWanted, this, [this](const QPoint& position) {
        FCommands->ShowMenu(kMenuLibraryTable, position, [this](QMenu& menu) {
            const auto add = [&](const char* key, auto then) {
                menu.addAction(FTexts(key), this, then)->setEnabled(!FTable->CurrentFile().isEmpty());
            };
            add("Play", [this] { Play(FTable->CurrentFile()); });
            add("PlayNext", [this] { FPlayback.PlayNext(FTable->SelectedFiles()); });
            add("PlayLast", [this] { FPlayback.PlayLast(FTable->SelectedFiles()); });
            add("AddToPlaylist", [this] { FPlaylists->Add(FTable->SelectedFiles()); });
        });
    });
    connect(FTree, &TreePane::MenuWanted, this, [this](const QPoint& position) { ShowTreeMenu(position); });
    connect(FPlaylists, &PlaylistPane::MenuWanted, this, [this](const QPoint& position) {
        FCommands->ShowMenu(kMenuPlaylistItem, position, [this](QMenu& menu) { FPlaylists->FillMenu(menu); });
    });
    connect(FCommands, &WindowCommands::AboutToRun, FTable, &TablePane::TouchSelected);
    connect(FMenuBar->LibraryMenu(), &QMenu::aboutToShow, FTable, &TablePane::TouchSelected);
    connect(FCommands, &WindowCommands::Ran, FLibrary.get(), &LibraryController::Reload);
    connect(FLibrary.get(), &LibraryController::TasksChanged, this, [this] { FTasks->Update(FLibrary->Storage()); });
    connect(FLibrary.get(), &LibraryController::Reloaded, this, &MainWindow::ShowPage);
    connect(FLibrary.get(), &LibraryController::StorageChanged, this, [this] {
        if (FLibrary->Storage())
            FListening->Model().AskTitles();
        else
            ReleasePlugins();
        FTasks->Update(FLibrary->Storage());
        FActs.SetStorage(FLibrary->Storage());
        FDetails->SetStorage(FLibrary->Storage() ? FLibrary->Storage()->ID() : QString());
        FMenuBar->EnableOffered(FLibrary->Storage());
        FFirstStart->ReadOptions();
        ShowToolBar();
        ShowPage();
    });
    connect(&FTable->Model(), &TableModel::Failed, this,
            [this](const QString& reason) { FBanner->Show(FTexts("Library"), reason); });
    connect(FSubscriber, &Subscriber::Finished, this, &MainWindow::Report);
    connect(&FOpener, &Opener::PlayWanted, this, &MainWindow::Play);
    connect(&FOpener, &Opener::Failed, this, &MainWindow::Warn);
}

void MainWindow::ConnectPlayback() {
    FTable->Model().SetPositions(&FPlayback.SavedPositions());
    connect(&FPlayback, &Playback::CurrentChanged, this, [this] {
        FTable->Model().Touch({FPlayback.Current().Address});
        FTable->Model().SetPlaying(FPlayback.Current().Address);
    });
    connect(&FPlayback, &Playback::PositionsChanged, &FTable->Model(), &TableModel::OnPositionsChanged);
    connect(&FPlayback, &Playback::Failed, this, &MainWindow::Warn);
    connect(&FPlayback, &Playback::Skipped, this, [this](const QString& name, const QString& reason) {
        FTasks->AddProblem({name, reason});
    });
    connect(&FPlayback, &Playback::Warned, this, [this](const QString& text) { FBanner->Show(text, {}); });
    const auto showCover = [this] {
        const NowPlaying& now = FPlayback.Current();
        // Without an album, as of a radio station, there would be no initials either.
        FBar->SetCover(now.Album.isEmpty() ? QPixmap()
                                           : FLibrary->Cover(now.Address, now.Album, NowPlayingButton::kCoverSide));
    };
    connect(&FPlayback, &Playback::CurrentChanged, this, showCover);
    connect(FLibrary.get(), &LibraryController::CoversChanged, this, showCover);
    connect(FLibrary.get(), &LibraryController::StorageChanged, this, showCover);
    const CoverSource covers = [this](const QString& file, const QString& name, int side) {
        return FLibrary ? FLibrary->Cover(file, name, side) : QPixmap();
    };
    FDetails->SetCoverSource(covers);
    FListening->Model().SetCoverSource(covers);
    FPlaylists->SetCoverSource(covers);
    connect(FLibrary.get(), &LibraryController::CoversChanged, this, [this] {
        FDetails->ShowCover();
        for (const QListView* list : {FListening->View(), FPlaylists->View()}) list->viewport()->update();
    });
    connect(FBar, &PlaybackBar::ShowInLibrary, FLibrary.get(), &LibraryController::Find);
    connect(&FVideo, &VideoWindow::ShowInLibrary, FLibrary.get(), &LibraryController::Find);
    connect(&FVideo, &VideoWindow::ShowInLibrary, this, &MainWindow::BringToFront);
    connect(FListening, &ListeningPane::ShowInLibrary, FLibrary.get(), &LibraryController::Find);
    connect(FListening, &ListeningPane::Activated, &FPlayback, &Playback::Play);
    connect(FListening, &ListeningPane::Cleared, this, [this](const QStringList& addresses) {
        FActs.Add(FTexts("UpNextCleared"), [this, addresses] { FPlayback.SetUpNext(addresses + FPlayback.UpNext()); });
    });
    connect(FDetails, &DetailsPane::PlayWanted, this, &MainWindow::Play);
    connect(FDetails, &DetailsPane::ButtonClicked, this, &MainWindow::RunOn);
    connect(FDetails, &DetailsPane::SeekWanted, this, [this](const QString& file, double seconds) {
        if (FPlayback.Current().Address != file) FPlayback.Play(file);
        FPlayback.Seek(seconds);
    });
}

NodeName MainWindow::NameOf(const TreeNode& node) const {
    const LibraryStorage* const storage = FLibrary->Storage();
    return {storage ? storage->ID() : QString(), node.Pair.Field, node.Value()};
}

void MainWindow::ShowNodeOptions(const TreeNode& node) {
    const NodeName name = NameOf(node);
    if (!NodeOptionsDialog::Has(FHost.Library(), name)) return;
    auto* dialog =
        new NodeOptionsDialog(FHost.Library(), FPlayback.Nodes(), FHost.Language(), name, node.Caption, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->open();
}

void MainWindow::ShowTreeMenu(const QPoint& position) {
    const TreePath path = FTree->SelectedPath();
    const bool hasOptions = !path.empty() && NodeOptionsDialog::Has(FHost.Library(), NameOf(path.back()));
    if (!hasOptions) return FCommands->ShowMenu(kMenuLibraryTree, position);
    FCommands->ShowMenu(kMenuLibraryTree, position, [this, node = path.back()](QMenu& menu) {
        menu.addAction(FTexts.Rows(FLibrary->Storage()->ID(), WindowTexts::RowText::NodeOptions), this,
                       [this, node] { ShowNodeOptions(node); });
    });
}

void MainWindow::ConnectMenus() {
    connect(&FTheme, &WindowTheme::Changed, this, &MainWindow::OnThemeChanged);
    connect(&FTheme, &WindowTheme::Changed, this, &MainWindow::SaveLayout);
    connect(FMenuBar, &WindowMenuBar::Subscribe, this, [this] {
        const LibraryStorage* storage = FLibrary->Storage();
        if (const auto add = storage ? storage->Offered<IVEXAMLDataStorageCommandAddFilesDialog>()
                                     : Ref<IVEXAMLDataStorageCommandAddFilesDialog>())
            add->Execute(winId());
    });
    connect(FMenuBar, &WindowMenuBar::FindNew, this, [this] { ShowSearch({}); });
    connect(FFirstStart, &FirstStartPage::SearchWanted, this, &MainWindow::ShowSearch);
    connect(FMenuBar, &WindowMenuBar::Import, this, &MainWindow::Import);
    connect(FFirstStart, &FirstStartPage::ImportWanted, this, &MainWindow::Import);
    connect(FMenuBar, &WindowMenuBar::Export, this, &MainWindow::Export);
    connect(FMenuBar, &WindowMenuBar::Options, this, [this] { FOptions.ShowPage(nullptr, true); });
    connect(FMenuBar, &WindowMenuBar::Quit, this, &MainWindow::End);
    connect(&FTray, &Tray::QuitWanted, this, &MainWindow::End);
    connect(&FTray, &Tray::WindowWanted, this, &MainWindow::BringToFront);
    connect(FMenuBar, &WindowMenuBar::Shortcuts, this, &MainWindow::ShowShortcuts);
    FCommands->AcceptPlainKeys(*FTable->View(), kMenuLibraryTree);
    FCommands->AcceptPlainKeys(*FTree->View());
    AddPlainAction("PlayLast", Qt::Key_Q, [this] { FPlayback.PlayLast(FTable->SelectedFiles()); });
    AddPlainAction("PlayOrPause", Qt::Key_Space, [this] { FPlayback.PlayOrPause(); });
    AddPlainAction("Shortcuts", Qt::Key_Question, [this] { ShowShortcuts(); });
    connect(FMenuBar, &WindowMenuBar::FocusSearch, this, [this] { FTable->FocusSearch(false); });
    connect(FMenuBar, &WindowMenuBar::SearchAll, this, [this] { FTable->FocusSearch(true); });
}

void MainWindow::ShowSearch(const QString& text) {
    const LibraryStorage* storage = FLibrary->Storage();
    if (const auto finder = storage ? storage->Offered<IVEXAMLFinder>() : Ref<IVEXAMLFinder>())
        finder->ShowSearchWindow(winId(), MakeString(text).Get());
}

void MainWindow::ConnectUndo() {
    FMenuBar->SetUndo([this] { return FActs.Newest(); });
    connect(FMenuBar, &WindowMenuBar::Undo, this, [this] {
        FBanner->Withdraw();
        FActs.Undo();
    });
    connect(&FActs, &UndoActs::Done, this, [this](const QString& text) {
        FBanner->Offer(text, {FTexts("Undo"), [this] { FActs.Undo(); }});
    });
    connect(&FActs, &UndoActs::UndonePartly, this, [this](const QString& reason) { FBanner->Show(reason); });
}

namespace {

IVEXAMenuItem::Buttons ItemOf(RowButton button) {
    return button == RowButton::Fetch  ? IVEXAMenuItem::FetchButton
           : button == RowButton::Done ? IVEXAMenuItem::DoneButton
                                       : IVEXAMenuItem::NoButton;
}

}  // namespace

bool MainWindow::IsOffered(RowButton button) const {
    const auto item = ItemOf(button);
    return item == IVEXAMenuItem::NoButton || FHost.Menus().WithButton(item);
}

void MainWindow::Run(RowButton button, const QString& file) {
    const MenuManager::Item item = FHost.Menus().WithButton(ItemOf(button));
    if (button == RowButton::PlayNext) return FPlayback.PlayNext({file});
    if (item) FCommands->Run(*item);
}

/// The details are those of the current row, while others may be selected, too.
void MainWindow::RunOn(RowButton button, const QString& file) {
    if (button == RowButton::PlayNext) return FPlayback.PlayNext({file});
    if (const auto item = FHost.Menus().WithButton(ItemOf(button))) FLibrary->RunOn(*item, {file});
}

void MainWindow::AddPlainAction(const char* key, Qt::Key shortcut, std::function<void()> run) {
    auto* action = new QAction(FTexts(key), this);
    action->setObjectName(QString::fromLatin1(key));
    action->setShortcut(QKeySequence(shortcut));
    connect(action, &QAction::triggered, this, std::move(run));
    FCommands->AddPlainAction(action);
}

void MainWindow::ShowShortcuts() {
    const QMenu* library = FMenuBar->LibraryMenu();
    QList<QAction*> actions = FCommands->PlainActions();
    // The plug-ins' items in the library's menu come from the menu manager, whether or not they are shown now.
    for (QAction* action : FMenuBar->findChildren<QAction*>())
        if (!library->actions().contains(action)) actions += action;
    ShowShortcutsDialog(actions, FHost.Menus(), FTexts, *this);
}

void MainWindow::ShowPage() {
    QWidget* page = FSplitter;
    if (FLibrary->IsEmpty()) page = FFirstStart;
    if (FPages->currentWidget() == page) return;
    FPages->setCurrentWidget(page);
    if (page == FSplitter) FTable->View()->setFocus();
}

void MainWindow::ShowDetails() {
    double date = 0;
    const TableModel& model = FTable->Model();
    const QModelIndex current =
        FTable->View()->currentIndex().siblingAtColumn(std::max(model.ColumnOf(IVEXAMLDataField::Title), 0));
    const int column = model.ColumnOf(IVEXAMLDataField::Date);
    if (const auto* row = current.isValid() && column >= 0 ? model.Row(current.row()) : nullptr)
        date = (*row)[static_cast<std::size_t>(column)].Number;
    FDetails->Show(FTable->CurrentFile(), date);
    FDetails->SetButtons(IsOffered(RowButton::Fetch),
                         IsOffered(RowButton::Done) && !current.data(TableModel::kIsDoneRole).toBool());
}

void MainWindow::ReleasePlugins() {
    FDetails->Stop();
    FListening->Model().Stop();
    FTasks->Update(nullptr);
    FActs.SetStorage(nullptr);
}

void MainWindow::Import() {
    const QString file = QFileDialog::getOpenFileName(this, QString(), QString(), FTexts("OpmlFiles"));
    if (file.isEmpty()) return;
    try {
        FSubscriber->Import(file);
    } catch (const std::exception& error) {
        Warn(QString::fromUtf8(error.what()));
    }
}

void MainWindow::Export() {
    QString file =
        QFileDialog::getSaveFileName(this, QString(), QStringLiteral("subscriptions.opml"), FTexts("OpmlFiles"));
    if (file.isEmpty()) return;
    try {
        FSubscriber->Export(file);
        FBanner->Show(FTexts("Exported", file), {});
    } catch (const std::exception& error) {
        Warn(QString::fromUtf8(error.what()));
    }
}

void MainWindow::Report(const std::vector<Subscriber::Outcome>& outcomes) {
    FLibrary->Reload();
    // Do not ask about every page of a long list.
    if (outcomes.size() <= kMaxReported) FChooser.Ask(outcomes);
    // The first start page says beside its field what is wrong with a single one.
    if (FPages->currentWidget() == FFirstStart && outcomes.size() == 1 &&
        !SubscriptionReport(outcomes, FTexts, true).isEmpty())
        return;
    if (outcomes.size() > kMaxReported) {
        std::vector<TaskProblem> problems;
        int subscribed = 0;
        for (const auto& outcome : outcomes) {
            if (outcome.Code == S_OK) ++subscribed;
            if (const QString problem = SubscriptionProblem(outcome, FTexts); !problem.isEmpty())
                problems.push_back({MaskedUrl(outcome.Address), problem});
        }
        const auto count = QLocale().toString(subscribed);
        FTasks->AddProblems(std::move(problems));
        return FBanner->Show(FTexts("Subscribed", count), {});
    }
    if (const QString report = SubscriptionReport(outcomes, FTexts, false); !report.isEmpty())
        FBanner->Show(report, {});
}

void MainWindow::HandleMessages() {
    FHost.Messages().Handle(kMsgGetMainWindow, [this](std::int32_t, void* window) {
        if (!window) return E_POINTER;
        *static_cast<WindowHandle*>(window) = winId();
        return S_OK;
    });
    FHost.Messages().Handle(kMsgShowWindow, [this](std::int32_t which, void* command) {
        if (which != kWindowLibrary) return E_INVALIDARG;
        auto* value = static_cast<std::int32_t*>(command);
        const bool isToShow = !value || *value == 0;
        if (value) *value = isVisible() ? 0 : 1;
        if (!isToShow) return S_OK;
        BringToFront();
        return S_OK;
    });
}

void MainWindow::BringToFront() {
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
    // For window managers that do not keep a dialog above its window.
    if (QWidget* dialog = QApplication::activeModalWidget()) dialog->raise();
}

void MainWindow::Warn(const QString& message) {
    VEXA_ASSERT_MAIN_THREAD();
    // Add the message to an open box, because nobody would read a box behind another box.
    if (FWarning && FWarning->isVisible()) {
        if (!FWarning->text().contains(message)) FWarning->setText(FWarning->text() + u"\n\n" + message);
        return;
    }
    FWarning = new QMessageBox(QMessageBox::Warning, windowTitle(), message, QMessageBox::Ok, this);
    FWarning->setTextFormat(Qt::PlainText);
    FWarning->setAttribute(Qt::WA_DeleteOnClose);
    FWarning->open();
}

void MainWindow::LoadPlugin(const QString& fileName) {
    VEXA_ASSERT_MAIN_THREAD();
    try {
        FHost.LoadPlugin(fileName);
    } catch (const std::exception& error) {
        Warn(FHost.Language().Text(ReasonOf(error)));
    }
}

void MainWindow::Play(const QString& file) {
    VEXA_ASSERT_MAIN_THREAD();
    FPlayback.Play(file);
}

void MainWindow::Open(const QStringList& addresses) {
    VEXA_ASSERT_MAIN_THREAD();
    BringToFront();
    FOpener.Open(addresses);
}

void MainWindow::RestoreLayout() {
    const auto bytes = [this](const QString& key) {
        return QByteArray::fromBase64(FHost.Config().Find(key).value_or(QString()).toLatin1());
    };
    const QByteArray geometry = bytes(kGeometryKey);
    if (geometry.isEmpty() || !restoreGeometry(geometry))
        resize(kFirstSize.boundedTo(screen()->availableSize() * kShareOfScreen));
    if (const QByteArray sizes = bytes(kSplitterKey); !sizes.isEmpty()) FSplitter->restoreState(sizes);
    if (const QByteArray sizes = bytes(kSideKey); !sizes.isEmpty()) FSide->restoreState(sizes);
    for (QSplitter* splitter : {FSplitter, FSide}) splitter->setHandleWidth(1);
}

void MainWindow::SaveLayout() {
    FLibrary->SaveLayout();
    const auto write = [this](const QString& key, const QByteArray& value) {
        FHost.Config().Write(key, QString::fromLatin1(value.toBase64()));
    };
    write(kGeometryKey, saveGeometry());
    write(kSplitterKey, FSplitter->saveState());
    write(kSideKey, FSide->saveState());
    FHost.Config().Write(kThemeKey, QString::number(static_cast<int>(FTheme.Chosen())));
}

void MainWindow::SaveLayoutOnChanges() {
    FLayoutSaver.setSingleShot(true);
    FLayoutSaver.setInterval(kLayoutPause);
    connect(&FLayoutSaver, &QTimer::timeout, this, &MainWindow::SaveLayout);
    const auto save = qOverload<>(&QTimer::start);
    for (QSplitter* splitter : {FSplitter, FSide}) connect(splitter, &QSplitter::splitterMoved, &FLayoutSaver, save);
    connect(FTable, &TablePane::LayoutChanged, &FLayoutSaver, save);
    connect(FTree, &TreePane::SelectionChanged, &FLayoutSaver, save);
}

void MainWindow::resizeEvent(QResizeEvent* event) {
    FLayoutSaver.start();
    QMainWindow::resizeEvent(event);
}

void MainWindow::moveEvent(QMoveEvent* event) {
    FLayoutSaver.start();
    QMainWindow::moveEvent(event);
}

void MainWindow::Localize() {
    QLocale::setDefault(LocaleOf(FHost.Language().Language()));
    // The toolkit's own texts: file dialogs, buttons, menus of text fields. It has English without a file.
    QApplication::removeTranslator(&FToolkitTexts);
    if (FToolkitTexts.load(QLocale(), QStringLiteral("qtbase"), QStringLiteral("_"),
                           QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(&FToolkitTexts);
    setWindowTitle(FTexts("Title"));
    FTray.Update();
    ShowToolBar();
    FBanner->SetDismissName(FTexts("Dismiss"));
    for (QAction* action : FCommands->PlainActions())
        action->setText(FTexts(action->objectName().toLatin1().constData()));
    QEvent changed(QEvent::LanguageChange);
    QCoreApplication::sendEvent(this, &changed);
}

void MainWindow::OnThemeChanged() {
    FTree->Model().Repaint();
    FTable->OnThemeChanged();
    FPage->OnThemeChanged();
    FDetails->OnThemeChanged();
    ShowToolBar();
    FPlaylists->OnThemeChanged();
    FFirstStart->OnThemeChanged();
    FTasks->OnThemeChanged();
    FBanner->OnThemeChanged();
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (FSubscriber->CanSubscribe() && !AddressesIn(*event->mimeData()).isEmpty()) event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
    event->acceptProposedAction();
    FSubscriber->Subscribe(AddressesIn(*event->mimeData()));
}

bool MainWindow::IsBusy() const {
    return FPlayback.IsPlaying() || FTasks->HasWorkToLose();
}

void MainWindow::closeEvent(QCloseEvent* event) {
    SaveLayout();
    const bool hasTray = FTray.IsAvailable();
    const auto choice = ChosenAtClosing(FHost.Config());
    if (FIsEnding || !IsBusy() || (hasTray && choice == AtClosing::End)) {
        event->accept();
        QApplication::quit();
        return;
    }
    event->ignore();
    if (hasTray && choice)
        GoIntoTray();
    else
        AskWhetherToEnd();
}

void MainWindow::AskWhetherToEnd() {
    if (FQuestion && FQuestion->isVisible()) return FQuestion->raise();
    const bool hasTray = FTray.IsAvailable();
    FQuestion = new QMessageBox(QMessageBox::Question, windowTitle(), FTexts("Busy"), QMessageBox::NoButton, this);
    FQuestion->setAttribute(Qt::WA_DeleteOnClose);
    FQuestion->setInformativeText(FTexts(hasTray ? "BusyTray" : "BusyEnd"));
    const auto add = [this](const char* key, QMessageBox::ButtonRole role, auto then) {
        QPushButton* button = FQuestion->addButton(FTexts(key), role);
        connect(button, &QPushButton::clicked, this, then);
        return button;
    };
    QPushButton* stay = add("KeepOpen", QMessageBox::RejectRole, [] {});
    QPushButton* end = add("End", QMessageBox::DestructiveRole, [this, hasTray] {
        if (hasTray) ChooseAtClosing(FHost.Config(), AtClosing::End);
        End();
    });
    end->setAutoDefault(false);
    FQuestion->setEscapeButton(stay);
    FQuestion->setDefaultButton(stay);
    if (hasTray)
        FQuestion->setDefaultButton(add("GoOnInTray", QMessageBox::AcceptRole, [this] {
            ChooseAtClosing(FHost.Config(), AtClosing::GoOnInTray);
            GoIntoTray();
        }));
    FQuestion->open();
}

void MainWindow::GoIntoTray() {
    FTray.Show();
    hide();
}

void MainWindow::End() {
    ExpectEnd();
    close();
    QApplication::quit();
}

void MainWindow::showEvent(QShowEvent* event) {
    FTray.Hide();
    QMainWindow::showEvent(event);
}

}  // namespace vexa::host
