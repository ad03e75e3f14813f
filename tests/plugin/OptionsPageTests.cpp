// The settings page inside the host's options dialog.

#include "DialogFixture.h"
#include "Podcasts.Plugin.Dialogs.Backups.h"
#include "Podcasts.Plugin.Dialogs.Settings.h"
#include "Podcasts.Plugin.Dialogs.Storage.h"
#include "Podcasts.Plugin.h"
#include "VEXA.Runtime.Files.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScrollBar>
#include <QSpinBox>
#include <QToolButton>
#include <QTreeWidget>

namespace podcasts {

using namespace vexa;

namespace {

class OptionsDialog final : public RefCountedObject<IVEXAServiceOptionsDialog> {
public:
    int Modified = 0;
    Ref<IVEXAOptionsDialogFrame> Shown;

    HResult FrameModified(IVEXAOptionsDialogFrame*) noexcept override { return ++Modified, S_OK; }
    HResult FrameShow(IVEXAOptionsDialogFrame* frame, Bool32) noexcept override { return Shown = frame, S_OK; }
};

class PageTest : public DialogTest {
protected:
    /// Shows a page in the window, as the options dialog does.
    WindowHandle Show(IVEXAOptionsDialogFrame& page) {
        Window->show();
        const WindowHandle handle = page.CreatePage(Window->winId());
        page.HandleNotification(IVEXAOptionsDialogFrame::Localize);
        page.HandleNotification(IVEXAOptionsDialogFrame::Load);
        return handle;
    }

    std::unique_ptr<QWidget> Window = std::make_unique<QWidget>();
};

class OptionsPageTest : public PageTest {
protected:
    OptionsPageTest() {
        Host.PluginCore().AddService<IVEXAServiceOptionsDialog>(QStringLiteral("options"), Dialog);
        Window->resize(500, 400);
        Outside.setParent(Window.get());
        const WindowHandle page = Show(*Frame);
        EXPECT_EQ(page, Page().winId());
        Outside.setFocus();
    }
    QWidget& Page() { return *Window->findChild<QScrollArea*>(); }
    template <class Control>
    Control& On(const char* name) {
        return Find<Control>(Page(), name);
    }
    QString Focused() const { return Window->focusWidget() ? Window->focusWidget()->objectName() : QString(); }

    Ref<OptionsDialog> Dialog{new OptionsDialog};
    QLineEdit& Outside = *new QLineEdit;
    std::shared_ptr<TPodcastFindOptions> Finding = std::make_shared<TPodcastFindOptions>();
    Ref<TVEXAPodcastsOptionsFrame> Frame =
        NewObject<TVEXAPodcastsOptionsFrame>(*Client, std::function<void()>(), std::function<void()>(), Finding);
};

TEST_F(OptionsPageTest, ShowsTheDefaultsInTheUsersLanguageAndFillsItsParent) {
    EXPECT_EQ(On<QComboBox>("cbUpdates").currentText(), "Daily");
    EXPECT_EQ(On<QLineEdit>("edDownloadPath").text(), TPodcastClientOptions::GetDefaultCacheFileNameTemplate());
    EXPECT_TRUE(On<QLineEdit>("edDownloadPath").toolTip().contains("%FeedTitle%"));
    const std::pair<const char*, bool> boxes[] = {{"CB1", false}, {"CB2", false}, {"CB3", true}, {"CB4", true}};
    for (const auto& [name, isChecked] : boxes) EXPECT_EQ(On<QCheckBox>(name).isChecked(), isChecked) << name;
    Window->resize(620, 440);
    EXPECT_EQ(Page().geometry(), QRect(0, 0, 620, 440));

    Host.Language().Switch("German");
    Frame->HandleNotification(IVEXAOptionsDialogFrame::Localize);
    EXPECT_EQ(On<QComboBox>("cbUpdates").currentText(), QString::fromUtf8("Täglich"));
    EXPECT_EQ(On<QLabel>("L1").text(), "Folgen speichern unter:");
    EXPECT_EQ(On<QGroupBox>("GB3").title(), "");
    QStringList labelled;
    for (const auto* label : Page().findChildren<QLabel*>())
        if (label->buddy()) labelled += label->buddy()->objectName();
    EXPECT_EQ(labelled, QStringList({"edDownloadPath", "edKey", "edSecret"}));
    EXPECT_EQ(On<QLineEdit>("edDownloadPath").text(), TPodcastClientOptions::GetDefaultCacheFileNameTemplate());
    EXPECT_EQ(Dialog->Modified, 0) << "changes by the page itself do not count";
}

TEST_F(OptionsPageTest, WrapsItsLinesInsteadOfScrollingSideways) {
    const QFont usual = QApplication::font();
    QApplication::setFont(QFont(usual.family(), 16));
    for (const QString& language : {QString("English"), QString("German"), QString("Russian")}) {
        Host.Language().Switch(language);
        Window->resize(434, 500);
        Frame->DestroyPage();
        Frame->CreatePage(Window->winId());
        Frame->HandleNotification(IVEXAOptionsDialogFrame::Localize);
        QApplication::processEvents();
        EXPECT_EQ(static_cast<QScrollArea&>(Page()).horizontalScrollBar()->maximum(), 0) << language.toStdString();
        const auto& box = On<QCheckBox>("CB4");
        EXPECT_GE(box.height(), box.heightForWidth(box.width())) << "nothing is cut off";
        EXPECT_GT(box.height(), 3 * box.fontMetrics().height() / 2) << "two lines";
    }
    QApplication::setFont(usual);
}

TEST_F(OptionsPageTest, ReportsChangesAndAppliesThemWhenItSaves) {
    for (const char* const name : {"CB1", "CB2", "CB3", "CB4"}) On<QCheckBox>(name).click();
    QTest::keyClick(&On<QComboBox>("cbUpdates"), Qt::Key_Down);
    On<QLineEdit>("edDownloadPath").selectAll();
    QTest::keyClick(&On<QLineEdit>("edDownloadPath"), Qt::Key_X);
    On<QCheckBox>("gpodder").click();
    QTest::keyClicks(&On<QLineEdit>("edKey"), "k ");
    QTest::keyClick(&On<QLineEdit>("edSecret"), Qt::Key_S);
    EXPECT_EQ(Dialog->Modified, 10);
    const TPodcastClientOptions& options = Client->Options();
    EXPECT_FALSE(options.CheckUpdatesOnStartup());
    Frame->HandleNotification(IVEXAOptionsDialogFrame::Save);
    EXPECT_TRUE(options.CheckUpdatesOnStartup());
    EXPECT_TRUE(options.DownloadNewEpisodesAutomatically());
    EXPECT_FALSE(options.ShowNotifications());
    EXPECT_FALSE(options.MarkEpisodesListenedOnStartPlayback);
    EXPECT_EQ(options.CheckUpdates(), 3);
    EXPECT_EQ(options.CacheFileNameTemplate(), "x");
    EXPECT_TRUE(Finding->Directories[0].IsAsked && !Finding->Directories[1].IsAsked);
    EXPECT_EQ(Finding->Key + Finding->Secret, "ks");

    Frame->HandleNotification(IVEXAOptionsDialogFrame::Reset);
    EXPECT_EQ(options.CacheFileNameTemplate(), "x") << "Reset changes only the page";
    Frame->HandleNotification(IVEXAOptionsDialogFrame::Save);
    EXPECT_EQ(options.CacheFileNameTemplate(), TPodcastClientOptions::GetDefaultCacheFileNameTemplate());
    EXPECT_EQ(options.CheckUpdates(), 2);
    EXPECT_TRUE(Finding->Directories[1].IsAsked && Finding->Key.isEmpty());
}

TEST_F(OptionsPageTest, ReplacesTheSelectionByAMacro) {
    auto& edit = On<QLineEdit>("edDownloadPath");
    edit.setText("a/bcd/e");
    edit.setSelection(2, 3);
    Click(On<QToolButton>("edDownloadPathButtons1"));
    auto& menu = On<QMenu>("pmMacrosLegend");
    ASSERT_TRUE(menu.isVisible());
    ASSERT_EQ(menu.actions().size(), TPodcastInfoFormatString::Instance().Macros().size());
    QTest::mouseClick(&menu, Qt::LeftButton, {}, menu.actionGeometry(menu.actions().last()).center());
    EXPECT_EQ(edit.text(), "a/%FeedTitle%/e");
    EXPECT_EQ(Focused(), "edDownloadPath") << "to type on";
}

TEST_F(OptionsPageTest, UsesTheFolderThatTheUserChooses) {
    const QString folder = Profile.File("Casts");
    QDir().mkpath(folder);
    const int modified = Dialog->Modified;
    WithDialog([&] { Click(On<QToolButton>("edDownloadPathButtons0")); },
               [&](QWidget& browser) {
                   EXPECT_EQ(browser.windowTitle(), "Choose a folder:");
                   const QString label = Find<QLabel>(browser, "lookInLabel").text();
                   EXPECT_NE(label, "");
                   Frame->HandleNotification(IVEXAOptionsDialogFrame::Localize);
                   EXPECT_EQ(Find<QLabel>(browser, "lookInLabel").text(), label);
                   Find<QLineEdit>(browser, "fileNameEdit").setText(folder);
                   static_cast<QFileDialog&>(browser).QDialog::accept();
               });
    EXPECT_EQ(On<QLineEdit>("edDownloadPath").text(), folder + "/%FeedTitle%\\%EpisodeFileName%");
    EXPECT_EQ(Dialog->Modified, modified + 1);
}

TEST_F(OptionsPageTest, MayBeRemovedWhileTheUserChoosesAFolder) {
    WithDialog([&] { On<QToolButton>("edDownloadPathButtons0").click(); },
               [&](QWidget&) {
                   Frame->DestroyPage();
                   Client.reset();
               });
    EXPECT_FALSE(Window->findChild<QScrollArea*>());
}

TEST_F(OptionsPageTest, MovesTheFocusThroughThePageAndOutOfIt) {
    // The line edit inside a spin box can have the focus, too, and passes it on to the box.
    auto* const number = new QSpinBox(&On<QGroupBox>("GB3"));
    number->setObjectName("number");
    number->show();
    QStringList forward, backward;
    const QStringList order{
        "cbUpdates", "CB1",   "CB3",    "edDownloadPath", "edDownloadPathButtons0", "edDownloadPathButtons1",
        "CB2",       "CB4",   "itunes", "gpodder",        "podcastindex",           "edKey",
        "edSecret",  "number"};
    const auto isStuck = [&](const QStringList& way) { return way.size() > order.size(); };
    for (Bool32 more = Frame->FocusFirstControl(); more && !isStuck(forward);
         more = Frame->FocusNextControl(kTrue, kTrue))
        forward += Focused();
    EXPECT_EQ(forward, order);
    for (Bool32 more = Frame->FocusLastControl(); more && !isStuck(backward);
         more = Frame->FocusNextControl(kFalse, kTrue))
        backward.prepend(Focused());
    EXPECT_EQ(backward, order);

    On<QCheckBox>("CB3").setFocus();
    EXPECT_EQ(Frame->FocusNextControl(kFalse, kFalse), kTrue);
    EXPECT_EQ(Focused(), "CB1");
    On<QCheckBox>("CB3").setFocus();
    EXPECT_EQ(Frame->FocusNextControl(kTrue, kFalse), kFalse) << "an arrow key stays in its group";
    Page().setEnabled(false);
    EXPECT_EQ(Frame->FocusFirstControl(), kFalse);
    EXPECT_EQ(Frame->FocusLastControl(), kFalse);
}

TEST_F(OptionsPageTest, HandlesTheMnemonicsOfItsControls) {
    On<QCheckBox>("CB1").setText("&Start");
    On<QLabel>("L1").setText("&Folder && file");
    On<QGroupBox>("GB1").setTitle("&Group");
    EXPECT_EQ(Frame->HandleDialogChar(u'g', 0), kTrue);
    EXPECT_EQ(Focused(), "cbUpdates") << "the first control of the group";
    EXPECT_EQ(Frame->HandleDialogChar(u's', 0), kTrue);
    EXPECT_TRUE(On<QCheckBox>("CB1").isChecked());
    EXPECT_EQ(Frame->HandleDialogChar(u'F', 0), kTrue);
    EXPECT_EQ(Focused(), "edDownloadPath");
    EXPECT_EQ(Frame->HandleDialogChar(u'&', 0), kFalse);
    EXPECT_EQ(Frame->HandleDialogKey(27, 0), kFalse) << "Escape is the host's";
}

TEST_F(OptionsPageTest, SurvivesItsParentAndItsClient) {
    Window.reset();
    Frame->HandleNotification(IVEXAOptionsDialogFrame::Save);
    EXPECT_EQ(Frame->FocusFirstControl(), kFalse);
    Frame->DestroyPage();
    EXPECT_EQ(Frame->CreatePage(0), 0u);
    QWidget other;
    EXPECT_NE(Frame->CreatePage(other.winId()), 0u);
    Client.reset();
    Frame->HandleNotification(IVEXAOptionsDialogFrame::Save);
    EXPECT_EQ(Frame->CreatePage(other.winId()), 0u);
}

TEST_F(OptionsPageTest, IsOpenedByThePlugIn) {
    TVEXAAPIWrappers::Finalize();
    const auto plugin = NewObject<TVEXAPodcastsPlugin>();
    ASSERT_EQ(plugin->Initialize(&Host.PluginCore()), S_OK);
    Query<IVEXAExternalSettingsDialog>(static_cast<TInterfacedObjectEx*>(plugin.Get()))->Show(0);
    ASSERT_TRUE(Dialog->Shown);
    Ref<IVEXAString> caption;
    EXPECT_EQ(Dialog->Shown->QueryCaption(caption.Put()), S_OK);
    EXPECT_EQ(FromHostString(caption.Get()), "Podcasts");
    plugin->Finalize();
}

class BackupsPageTest : public PageTest {};

TEST_F(BackupsPageTest, MakesBackupsAndRestoresOneAtTheNextStart) {
    Client = std::make_unique<TPodcastClient>(DatabaseFileName(Profile.Path()));
    Subscribe(tests::MakeFeed("http://h/a"));
    const auto frame = NewObject<TVEXAPodcastsBackupsFrame>(
        *Client, TPodcastsBackupsWork{.Run = [&](const auto& work) { work(*Client); }});
    Show(*frame);
    auto& list = Find<QTreeWidget>(*Window, "Backups");
    auto& state = Find<QLabel>(*Window, "State");
    auto& restore = Find<QPushButton>(*Window, "Restore");
    auto& doNotRestore = Find<QPushButton>(*Window, "DoNotRestore");
    const auto says = [&](const QString& words) {
        EXPECT_TRUE(tests::WaitUntil([&] { return state.text().contains(words); }, std::chrono::seconds(5)))
            << state.text().toStdString();
    };
    says("There is no backup yet");
    WriteWhole(Profile.File("Backups"), "in the way");
    Click(Find<QPushButton>(*Window, "BackUp"));
    says("cannot create the folder");
    QFile::remove(Profile.File("Backups"));
    Click(Find<QPushButton>(*Window, "BackUp"));
    says("Backups take ");
    EXPECT_EQ(list.topLevelItemCount(), 1);
    EXPECT_FALSE(restore.isEnabled());

    Client->Unsubscribe("http://h/a", false);
    list.topLevelItem(0)->setSelected(true);
    Click(restore);
    says("when the player starts the next time");
    Click(doNotRestore);
    says("Backups take ");
    EXPECT_FALSE(doNotRestore.isVisible());
    EXPECT_FALSE(IsReplacementPending(Profile.Path()));
    list.topLevelItem(list.topLevelItemCount() - 1)->setSelected(true);
    Click(restore);
    says("when the player starts the next time");
    EXPECT_FALSE(Client->IsSubscribed("http://h/a")) << "not yet";

    auto& limit = Find<QSpinBox>(*Window, "Limit");
    EXPECT_EQ(limit.value(), 500);
    for (const auto* label : Window->findChildren<QLabel*>()) EXPECT_FALSE(label->buddy() && label->text().isEmpty());
    limit.setValue(70);
    frame->HandleNotification(IVEXAOptionsDialogFrame::Save);
    EXPECT_EQ(Client->Options().BackupSizeLimit, 70);
    Client.reset();
    Client = std::make_unique<TPodcastClient>(DatabaseFileName(Profile.Path()));
    EXPECT_TRUE(Client->IsSubscribed("http://h/a"));
}

class StoragePageTest : public PageTest {};

TEST_F(StoragePageTest, ShowsWhatFilesTakeAndDeletesWhatWasHeard) {
    // Two podcasts: one has a heard and a new file, and a heard one that is gone; of the other, a file of both is heard
    // in one of its episodes only.
    const auto subscribe = [&](const QString& name, const std::vector<std::pair<QString, int>>& files) {
        TPodcastFeed feed = tests::MakeFeed("http://h/" + name, static_cast<int>(files.size()), "http://h/" + name);
        feed.Fields[pffTitle] = name;
        Client->Subscribe(feed);
        for (int i = 0; const auto& [file, size] : files) {
            const QString key = QString("podcast://h/%1%2.mp3").arg(name).arg(i++);
            if (size > 0) WriteWhole(Profile.File(file), QByteArray(size, 'x'));
            Client->DB().SetCachedFile(key, Profile.File(file));
            if (file.contains("heard")) Client->UpdateState(key, pesListened);
        }
    };
    subscribe("Fog", {{"heard1", 3000}, {"new", 2000}, {"heard-gone", 0}});
    subscribe("Tides", {{"heard2", 9000}, {"both", 500}, {"both", 500}, {"heard-begun", 100}});
    Client->SetFilesInUse([] { return QStringList{"podcast://h/Tides3.mp3"}; });
    Client->UpdateState(QString("podcast://h/Tides1.mp3"), pesListened);
    const auto frame = NewObject<TVEXAPodcastsStorageFrame>(TPodcastsStorageWork{
        .Run = [&](const auto& work) { work(*Client); },
        .Delete = [](TPodcastClient& client, const QStringList& keys) { client.DeleteCachedEpisodes(keys); }});
    Show(*frame);
    auto& feeds = Find<QTreeWidget>(*Window, "Feeds");
    auto& button = Find<QPushButton>(*Window, "DeleteHeard");
    const auto shown = [&] {
        QStringList rows;
        for (int row = 0; row < feeds.topLevelItemCount(); ++row) {
            QStringList texts;
            for (int column = 0; column < 4; ++column) texts += feeds.topLevelItem(row)->text(column);
            rows += texts.join(u'|');
        }
        return rows.join(u"  ").remove(QChar(0xa0));
    };
    const auto becomes = [&](const QString& wanted) {
        EXPECT_TRUE(tests::WaitUntil([&] { return shown() == wanted; }, std::chrono::seconds(5)))
            << shown().toStdString();
    };
    becomes("Tides|3|9.4 kB|8.8 kB  Fog|2|4.9 kB|2.9 kB");
    EXPECT_EQ(button.text().remove(QChar(0xa0)), "Delete what was heard (11.7 kB)");
    feeds.topLevelItem(1)->setSelected(true);
    EXPECT_TRUE(button.text().contains("of the selected podcasts")) << button.text().toStdString();
    Click(button);
    becomes("Tides|3|9.4 kB|8.8 kB  Fog|1|2.0 kB|0 bytes");
    Click(button);
    becomes("Fog|1|2.0 kB|0 bytes  Tides|2|600 bytes|0 bytes");
    EXPECT_FALSE(button.isEnabled());
}

}  // namespace
}  // namespace podcasts
