// The podcasts in the library of a host that loads the plug-in: tree, rows, progress, marks.

#include "EpisodeStorage.h"
#include "FileInfo.h"
#include "HostFixture.h"
#include "LoopbackServer.h"
#include "ObjectList.h"
#include "PlainSqlite.h"
#include "Png.h"
#include "Podcasts.Core.DB.h"
#include "Properties.h"
#include "Rows.h"
#include "Tree.h"
#include "VEXA.Runtime.Notifications.h"
#include "Waiting.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace tests {
namespace {

using namespace podcasts;

/// Collects the notifications that a desktop would show.
class Desktop final : public NotificationPresenter {
public:
    static inline std::vector<Notification> Shown;
    void Show(const Notification& notification, std::function<void()>) override { Shown.push_back(notification); }
    void Hide() override { Shown.clear(); }
};

class Storage : public HostTest, public host::MusicLibraryListener {
protected:
    void SetUp() override {
        Desktop::Shown.clear();
        std::vector<std::unique_ptr<NotificationPresenter>> presenters;
        presenters.push_back(std::make_unique<Desktop>());
        SetNotificationPresenters(std::move(presenters));
        Host.Library().AddListener(this);
        Host.LoadPlugin(QStringLiteral(PLUGIN));
    }
    void TearDown() override {
        Host.UnloadPlugins();
        Host.Library().RemoveListener(this);
    }
    void OnDataChanged(const QString&) override { ++Changes; }
    void OnTasksChanged(const QString&) override {}

    static QByteArray Feed(const QByteArray& title, int episodes, const QByteArray& audio = "http://h/") {
        QByteArray feed = "<rss version=\"2.0\"><channel><title>" + title + "</title>";
        for (int i = 1; i <= episodes; ++i) {
            const QByteArray n = QByteArray::number(i);
            feed += "<item><title>" + title + " " + n + "</title><guid>" + n + "</guid><enclosure url=\"" + audio +
                    title + n + ".mp3\"/></item>";
        }
        return feed + "</channel></rss>";
    }
    void Subscribe(const QString& path, const QByteArray& document) {
        Server.Serve(path, Response::Of(document));
        const QString list = Profile.File("list.opml");
        ::WriteWhole(list, "<opml><body><outline xmlUrl=\"" + Server.Url(path).toUtf8() + "\"/></body></opml>");
        Library().Subscriptions()->ImportOPML(host::MakeString(list).Get(), nullptr, nullptr);
        ASSERT_TRUE(WaitUntil([&] { return FeedAddresses().contains(Server.Url(path)); }));
    }
    host::LibraryStorage Library() { return host::LibraryStorage(Host.Library(), kPodcasts); }
    /// Loads the plug-in anew, with an option set. What the plug-in was doing has ended before.
    void SetOption(const QString& name, int value) {
        Host.UnloadPlugins();
        Host.Config().SetValueAsInt32(host::MakeString(u"Podcasts\\" + name).Get(), value);
        Host.LoadPlugin(QStringLiteral(PLUGIN));
    }
    void Run(const QString& action) { Host.Menus().Run(*RegisteredItem(u"VEXA.Podcasts.Actions." + action)); }
    void RefreshAndWait() {
        Run("RefreshFeeds");
        EXPECT_TRUE(WaitUntil([&] { return Tasks().empty(); }));
    }
    void Select(const QStringList& files) {
        const auto selection = std::make_shared<host::FixedSelection>();
        selection->Files = files;
        selection->Focused = files.at(0);
        Host.Selection().SetModel(selection);
    }
    std::vector<host::BackgroundTask> Tasks() { return Host.Library().Tasks(kPodcasts); }
    /// The caption of the first task; empty when there is none.
    QString Caption() {
        const auto tasks = Tasks();
        return tasks.empty() ? QString() : host::ToQString(tasks[0].Caption.Get());
    }
    /// How the last refresh of a feed ended; null when none has.
    Ref<IVEXAMLTaskOutcome> Outcome() {
        Ref<IVEXAObjectList> outcomes;
        Library().Subscriptions()->GetOutcomes(IVEXAMLSubscriptionStorage::Refresh, 0, outcomes.Put());
        Ref<IVEXAMLTaskOutcome> outcome;
        if (outcomes->GetCount() > 0) outcomes->GetObject(0, IVEXAMLTaskOutcome::IID, outcome.PutVoid());
        return outcome;
    }
    PlainSqlite Database() const { return PlainSqlite(Profile.File("Podcasts.db")); }
    QStringList FeedAddresses() { return Database().Rows("SELECT URLFeed FROM PodcastFeeds"); }
    QString States() { return Database().Rows("SELECT State FROM PodcastEpisodes ORDER BY URI").join(""); }
    QStringList Nodes(const std::vector<QString>& values = {}) {
        const auto storage = Library();
        const host::Tree tree(storage.Presets().at(0).Provider);
        QStringList nodes;
        const auto children = values.empty()
                                  ? tree.Children()
                                  : tree.Children(tree.FindByValues({values.begin(), values.end()}).value().back());
        for (const auto& node : children)
            nodes += node.Caption + u"/" + QString::number(node.Flags) + u"/" + QString::number(node.Image);
        return nodes;
    }

    inline static const QString kPodcasts = "VEXA.Podcasts.ML.Storage";
    LoopbackServer Server;
    int Changes = 0;
};

TEST_F(Storage, NodesAndRowsHaveTheirPodcastsLogo) {
    Server.Serve("/logo", Response::Of(Png(8, 8), "image/png"));
    const QByteArray logo = "<itunes:image href='" + Server.Url("/logo").toUtf8() + "'/>";
    const qsizetype headEnd = Feed("A", 2).indexOf("<item>");
    Subscribe("/a", Feed("A", 2).insert(headEnd, logo));
    Subscribe("/b", Feed("B", 1));
    const auto pictures = Library().Offered<IVEXAMLNodeImage>();
    ASSERT_TRUE(pictures);
    const auto version = [&](const char* field, const QString& text) {
        const Variant value = host::ToVariant(host::PropertyValue(text));
        Ref<IVEXAString> found;
        const HResult result = pictures->GetVersion(host::MakeString(field).Get(), &value, found.Put());
        return result == S_OK ? host::ToQString(found.Get()) : "none";
    };
    const auto hasImage = [&](const char* field, const QString& text, std::uint32_t flags) {
        const Variant value = host::ToVariant(host::PropertyValue(text));
        Ref<IVEXAImageContainer> picture;
        const HResult result = pictures->GetImage(host::MakeString(field).Get(), &value, flags, picture.Put());
        EXPECT_EQ(result, picture ? S_OK : E_FAIL);
        return static_cast<bool>(picture);
    };
    const QString a = "04" + Server.Url("/a"), b = "04" + Server.Url("/b");
    EXPECT_EQ(version("Node", a), "none");
    EXPECT_FALSE(hasImage("Node", a, IVEXAMLNodeImage::LocalOnly));
    EXPECT_EQ(Server.Count("/logo"), 0) << "nothing is fetched";
    EXPECT_TRUE(hasImage("Node", a, 0));
    EXPECT_EQ(Server.Count("/logo"), 1);
    const QString first = version("Node", a);
    EXPECT_NE(first, "none");
    EXPECT_EQ(version("FileName", "podcast://h/A2.mp3"), first);
    EXPECT_TRUE(hasImage("filename", "podcast://h/A2.mp3", IVEXAMLNodeImage::LocalOnly));
    for (const auto& [field, value] : {std::pair("Node", b), {"Node", QString("01")}, {"Title", a}, {"FileName", a}}) {
        EXPECT_EQ(version(field, value), "none") << field << ' ' << value.toStdString();
        EXPECT_FALSE(hasImage(field, value, 0)) << field << ' ' << value.toStdString();
    }
    Database().Run("UPDATE PodcastFeedLogos SET Data = Data || x'00'");
    EXPECT_NE(version("Node", a), first);
}

TEST_F(Storage, TheTreeFollowsTheDatabase) {
    EXPECT_EQ(Nodes(), QStringList({"New/2/4", "Postponed/2/5", "Subscriptions/3/0"}));
    EXPECT_EQ(Nodes({"01"}), QStringList());
    Subscribe("/b", Feed("(3) News", 2));
    Subscribe("/a", Feed("Äpfel", 1));
    Database().Run("UPDATE PodcastEpisodes SET State = 2 WHERE URI LIKE '%News1.mp3'");
    EXPECT_EQ(Nodes(), QStringList({"New (2)/3/4", "Postponed (1)/3/5", "Subscriptions/3/0"}));
    EXPECT_EQ(Nodes({"01"}), QStringList({"(3) News/2/3", "Äpfel/2/3"}));
    EXPECT_EQ(Nodes({"032"}), QStringList({"(1) (3) News/0/3"}));
    EXPECT_TRUE(WaitUntil([&] { return Changes >= 2; })) << Changes << " changes were reported";
    const int before = Changes;
    Host.Messages().Send(kMsgLanguageChanged, 0, nullptr);
    EXPECT_EQ(Changes, before + 1);
    using enum IVEXAMLExtensionDataStorage::CapabilityFlags;
    for (const auto capability : {Filtering, Grouping, Searching}) EXPECT_TRUE(Library().Can(capability)) << capability;

    Ref<IVEXAMLGroupingTreeDataProviderSelection> nodes;
    const auto provider = Library().Presets().at(0).Provider;
    const struct {
        const char *Field, *Value;
        HResult Result;
    } cases[] = {
        {"Node", "04x", E_FAIL}, {"Node", "02x", E_FAIL}, {"Title", "031", E_UNEXPECTED}, {"node", "03x", E_FAIL}};
    for (const auto& c : cases) {
        const Ref<IVEXAMLGroupingTreeSelection> path(
            new host::TreeSelection({{c.Field, host::PropertyValue(QString(c.Value))}}));
        EXPECT_EQ(provider->ListChildren(path.Get(), nodes.Put()), c.Result) << c.Field << c.Value;
    }
    EXPECT_EQ(provider->GetCapabilities(), 3u);
}

TEST_F(Storage, APageShowsWhatAnotherProcessHasWritten) {
    Subscribe("/a", Feed("A", 40));
    const auto storage = Library();
    host::RowReader reader(storage);
    const host::RowQuery query{.Fields = {"Title", "State"}, .Sort = {{"Title"}}, .Offset = 10, .Limit = 4};
    const auto page = [&] {
        QStringList rows;
        for (const auto& row : reader.ReadNow(query).Rows) rows += row[0].Text + u": " + row[1].Text;
        return rows;
    };
    const QStringList before{"A 19: 1", "A 2: 1", "A 20: 1", "A 21: 1"};
    EXPECT_EQ(page(), before);
    EXPECT_EQ(page(), before);
    PlainSqlite other = Database();
    other.Run("UPDATE PodcastEpisodes SET State = 0 WHERE GUID = '22'");
    other.Run("DELETE FROM PodcastEpisodes WHERE GUID IN ('1', '10')");
    EXPECT_EQ(page(), QStringList({"A 20: 1", "A 21: 1", "A 22: 0", "A 23: 1"}));
    EXPECT_EQ(reader.CountNow(query).Count, 38);
}

TEST_F(Storage, ThePlayingEpisodeIsMarkedAsListenedUnlessThatIsOff) {
    Subscribe("/a", Feed("A", 2));
    for (const bool isOn : {false, true}) {
        SetOption("MarkEpisodesListenedOnStartPlayback", isOn);
        for (const char* file : {"http://h/A1.mp3", "podcast://h/A2.mp3"})
            EXPECT_EQ(Host.Player().Play(host::MakeString(file).Get(), nullptr), S_OK) << file;
        Host.UnloadPlugins();  // which waits until the episode is marked
        EXPECT_EQ(States(), isOn ? "10" : "11") << "the option is " << isOn;
    }
}

TEST_F(Storage, MarkingThePlayingEpisodeWaitsForAnotherProgramWithoutBlocking) {
    Subscribe("/a", Feed("A", 2));
    PlainSqlite other = Database();
    // The other program keeps the lock longer than a connection waits for it.
    std::atomic<bool> isLocked{true};
    other.Run("BEGIN IMMEDIATE");
    std::thread holder([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(5500));
        other.Run("COMMIT");
        isLocked = false;
    });
    Host.Player().Play(host::MakeString("podcast://h/A2.mp3").Get(), nullptr);
    EXPECT_TRUE(isLocked);  // Play has not waited for the lock
    EXPECT_TRUE(WaitUntil([&] { return States() == "10"; }, std::chrono::seconds(20)));
    holder.join();
}

TEST_F(Storage, APodcastsNodeHasItsOwnOptionsAndFilesInUseStay) {
    for (const char* audio : {"/A1.mp3", "/A2.mp3"}) Server.Serve(audio, Response::Of("sound", "audio/mpeg"));
    const QByteArray audio = Server.Url("/").toUtf8();
    Host.Config().Write("Podcasts\\CacheFileNameTemplate", Profile.File("%EpisodeFileName%"));
    SetOption("ShowNotifications", 1);
    Subscribe("/a", Feed("A", 1, audio));
    const auto options = Library().Offered<IVEXAMLNodeOptions>();
    ASSERT_TRUE(options);
    const QString node = "04" + Server.Url("/a"), played = Server.Url("/A1.mp3").replace("http:", "podcast:");
    // "result field value"
    const auto present = [&](const QString& field, const QString& text) {
        const auto name = host::MakeString(field);
        Variant value = host::ToVariant(host::PropertyValue(text));
        const HResult result = options->GetPresentNode(name.Get(), &value);
        return QString("%1 %2 %3")
            .arg(QString::number(result), host::ToQString(name.Get()), host::ToText(host::FromVariant(value)));
    };
    EXPECT_EQ(present("FileName", played), "0 Node " + node);
    EXPECT_EQ(present("Node", node), "1 Node " + node);
    EXPECT_EQ(present("FileName", "podcast://h/unknown.mp3"), "-2147467259 FileName podcast://h/unknown.mp3");
    const auto shown = [&] {
        QStringList texts;
        Ref<IVEXAObjectList> list;
        const Variant value = host::ToVariant(host::PropertyValue(node));
        if (options->GetOptions(host::MakeString("Node").Get(), &value, list.Put()) != S_OK) return QString("none");
        for (std::int32_t i = 0; i < list->GetCount(); ++i) {
            Ref<IVEXAMLOption> option;
            list->GetObject(i, IVEXAMLOption::IID, option.PutVoid());
            texts += QString("%1 %2 %3 %4")
                         .arg(host::TextOf(option.Get(), IVEXAMLOption::ID).left(6))
                         .arg(host::NumberOf(option.Get(), IVEXAMLOption::Kind))
                         .arg(host::NumberOf(option.Get(), IVEXAMLOption::Value))
                         .arg(host::TextOf(option.Get(), IVEXAMLOption::General));
        }
        return texts.join('|');
    };
    EXPECT_EQ(shown(), "Downlo 2 0 off|KeepFi 1 0 |Delete 1 0 |ShowNo 2 0 on");
    for (const auto& [id, number, result] : {std::tuple("KeepFiles", 1, S_OK),
                                             {"DownloadNewEpisodesAutomatically", 1, S_OK},
                                             {"ShowNotifications", 2, S_OK},
                                             {"KeepFiles", -1, E_INVALIDARG},
                                             {"ShowNotifications", 3, E_INVALIDARG},
                                             {"Other", 1, E_INVALIDARG}}) {
        const Variant value = host::ToVariant(host::PropertyValue(node));
        const Variant wanted = host::ToVariant(host::PropertyValue(number));
        EXPECT_EQ(options->SetOption(host::MakeString("Node").Get(), &value, host::MakeString(id).Get(), &wanted),
                  result)
            << id << ' ' << number;
    }
    EXPECT_EQ(shown(), "Downlo 2 1 off|KeepFi 1 1 |Delete 1 0 |ShowNo 2 2 on");

    // The newer file takes the place of the older one, unless the player uses that.
    const QString older = Profile.File("A1.mp3"), newer = Profile.File("A2.mp3");
    RefreshAndWait();
    ASSERT_TRUE(WaitUntil([&] { return QFile::exists(older) && Tasks().empty(); }));
    HResult answer = S_OK;
    QStringList used{played};
    Host.Messages().Handle(kMsgGetFilesInUse, [&](std::int32_t, void* names) {
        for (const QString& name : used) static_cast<IVEXAObjectList*>(names)->Add(host::MakeString(name).Get());
        return answer;
    });
    Server.Serve("/a", Response::Of(Feed("A", 2, audio)));
    RefreshAndWait();
    ASSERT_TRUE(WaitUntil([&] { return QFile::exists(newer) && Tasks().empty(); }));
    EXPECT_TRUE(Desktop::Shown.empty()) << "this podcast is not announced";
    EXPECT_TRUE(QFile::exists(older)) << "it plays";
    used.clear();
    answer = E_FAIL;
    RefreshAndWait();
    EXPECT_TRUE(QFile::exists(older)) << "the player does not know";
    answer = S_OK;
    RefreshAndWait();
    EXPECT_FALSE(QFile::exists(older));
    EXPECT_TRUE(QFile::exists(newer));

    // A moved podcast keeps its options, and its node is found by the former pair.
    Server.Serve("/a", Response::Redirect(Server.Url("/moved").toUtf8(), "301 Moved Permanently"));
    Server.Serve("/moved", Response::Of(Feed("A", 2, audio)));
    RefreshAndWait();
    ASSERT_EQ(FeedAddresses(), QStringList(Server.Url("/moved")));
    EXPECT_EQ(present("Node", node), "0 Node 04" + Server.Url("/moved"));
    EXPECT_EQ(shown(), "Downlo 2 1 off|KeepFi 1 1 |Delete 1 0 |ShowNo 2 2 on");
}

TEST_F(Storage, ARefreshIsShownAsATaskAndNewEpisodesAsANotification) {
    Subscribe("/a", Feed("A", 1));
    const struct {
        int Option, Episodes;
        bool IsShown;
    } cases[] = {{1, 1, false}, {0, 2, false}, {1, 6, true}};
    for (const auto& [option, episodes, isShown] : cases) {
        SCOPED_TRACE(QString("option %1, %2 episodes").arg(option).arg(episodes).toStdString());
        SetOption("ShowNotifications", option);
        Server.Serve("/a", Response::Of(Feed("A", episodes)).With(Fault::Wait));
        Run("RefreshFeeds");
        EXPECT_EQ(Caption(), "Refreshing podcasts: ");
        const QString caption = "Refreshing podcasts: " + Server.Url("/a");
        ASSERT_TRUE(WaitUntil([&] { return Caption() == caption; })) << Caption().toStdString();
        const auto tasks = Tasks();
        ASSERT_EQ(tasks.size(), 1u);
        EXPECT_FALSE(tasks[0].CancelEvent) << "a refresh begins without a cancel";
        Server.Release("/a");
        ASSERT_TRUE(WaitUntil([&] { return Tasks().empty(); })) << "still shown: " << Caption().toStdString();
        EXPECT_EQ((tasks[0].Caption->AddRef(), tasks[0].Caption->Release()), 1) << "the plug-in keeps the caption";
        QCoreApplication::processEvents();
        ASSERT_EQ(Desktop::Shown.size(), isShown ? 1u : 0u);
    }
    EXPECT_EQ(Desktop::Shown[0].Title, "Podcasts");
    EXPECT_EQ(Desktop::Shown[0].Text, "New episodes have arrived.\nA – A 3\nA – A 4\nA – A 5\nand 1 more");
    EXPECT_EQ(Desktop::Shown[0].Button, "Play");
    // A click hides it and shows the podcasts.
    const Ref<EpisodeStorage> other(new EpisodeStorage);
    IUnknown* const storage = static_cast<IVEXAMLExtensionDataStorage*>(other.Get());
    Host.PluginCore().RegisterExtension(IVEXAServiceMusicLibrary::IID, storage);
    Host.Library().SetActiveStorage(storage);
    QStringList asked;
    Host.Messages().Handle(kMsgShowWindow, [&](std::int32_t window, void* hide) {
        return asked += QString("show %1, %2").arg(window).arg(*static_cast<std::int32_t*>(hide)), S_OK;
    });
    Host.Messages().Handle(kMsgGetMainWindow, [&](std::int32_t, void*) { return asked += "raise", E_FAIL; });
    Desktop::Shown[0].OnClick();
    EXPECT_TRUE(WaitUntil([&] { return Desktop::Shown.empty(); })) << "the notification stays";
    EXPECT_EQ(Host.Library().ActiveStorageID(), kPodcasts);
    EXPECT_EQ(asked, QStringList({"show 1, 0", "raise"}));
    // Its button plays the first one that it names.
    Server.Serve("/a", Response::Of(Feed("A", 7)));
    Run("RefreshFeeds");
    ASSERT_TRUE(WaitUntil([&] { return !Desktop::Shown.empty(); }));
    Notification(Desktop::Shown[0]).OnButton();
    Ref<IVEXAFileInfo> playing;
    EXPECT_TRUE(WaitUntil([&] { return Host.Player().GetInfo(playing.Put()) == S_OK; }));
    EXPECT_EQ(host::TextOf(playing.Get(), IVEXAFileInfo::FileName), "podcast://h/A7.mp3");
    EXPECT_EQ(host::NumberOf(Outcome().Get(), IVEXAMLTaskOutcome::NewCount), 1);
}

TEST_F(Storage, SaysInTheChosenLanguageWhyAFeedOrAListCannotBeRead) {
    Subscribe("/a", Feed("A", 1));
    Server.Serve("/a", Response::Failure("404 Not Found"));
    RefreshAndWait();
    const auto reason = [this] { return host::TextOf(Outcome().Get(), IVEXAMLTaskOutcome::Error); };
    EXPECT_EQ(reason(), "the server answered 404 Not Found");
    ASSERT_TRUE(Host.ChooseLanguage("German"));
    EXPECT_EQ(reason(), u"der Server antwortete mit 404 (nicht gefunden)");

    const QString page = Profile.File("page.opml");
    ::WriteWhole(page, "<html><body/></html>");
    const Ref<host::ErrorInfo> error(new host::ErrorInfo);
    Library().Subscriptions()->ImportOPML(host::MakeString(page).Get(), nullptr, error.Get());
    EXPECT_EQ(error->Message(), QString(page + u" kann nicht gelesen werden: das Dokument ist keine OPML-Liste von "
                                               u"Abonnements (ihm fehlen die Elemente opml und body)"));
}

TEST_F(Storage, ADownloadShowsItsProgressAndCanBeCancelled) {
    const QByteArray audio(200'000, 'x');
    Subscribe("/a", Feed("A", 1, Server.Url("/").toUtf8()));
    Server.Serve("/A1.mp3", Response::Of(audio, "audio/mpeg").With(Fault::Wait, 100'000));
    Select(Database().Rows("SELECT URI FROM PodcastEpisodes"));
    Run("CachedFilesControl");
    const auto waitFor = [&](const QString& text) {
        EXPECT_TRUE(WaitUntil([&] { return Caption().contains(text); }))
            << text.toStdString() << " is not in " << Caption().toStdString();
    };
    const auto cancel = [&] {
        const auto tasks = Tasks();
        ASSERT_TRUE(tasks.size() == 1 && tasks[0].CancelEvent) << tasks.size() << " tasks";
        tasks[0].Cancel();
    };
    waitFor("50% - ");
    const auto progress = Tasks().at(0).Progress();
    ASSERT_TRUE(progress) << "how far the download is is not told";
    EXPECT_EQ(QStringLiteral("%1/%2 %3").arg(progress->Item).arg(progress->Count).arg(progress->Share), u"1/1 0.5");
    cancel();
    EXPECT_EQ(Caption(), "") << "a task is left";
    EXPECT_EQ(Database().Rows("SELECT URLAudioCached FROM PodcastEpisodes"), QStringList(""));
    // A download whose size the server does not tell.
    Server.Serve("/A1.mp3",
                 Response{"HTTP/1.1 200 OK\r\nContent-Type: audio/mpeg\r\n\r\n", audio}.With(Fault::Wait, 102'400));
    Run("CachedFilesControl");
    waitFor(QLocale().formattedDataSize(102'400) + u" - ");
    // A download whose connection breaks.
    cancel();
    Host.Language().Switch("German");
    Server.Serve("/A1.mp3", Response::Of(audio, "audio/mpeg").With(Fault::Close, 100'000));
    Run("CachedFilesControl");
    waitFor("50% - warte auf die Verbindung: ");
}

TEST_F(Storage, PagesNodesRefreshAndDownloadWorkConcurrently) {
    const QByteArray audio = Server.Url("/").toUtf8();
    QStringList files;
    for (const char* title : {"A", "B", "C"}) {
        const QString path = QString("/%1").arg(title);
        Subscribe(path, Feed(title, 60, audio));
        Server.Serve(path, Response::Of(Feed(title, 80, audio)));
        for (int i = 1; i <= 5; ++i) {
            const QString file = path + QString::number(i) + ".mp3";
            Server.Serve(file, Response::Of(QByteArray(50'000, 'x'), "audio/mpeg"));
            files += Server.Url(file).replace("http://", "podcast://");
        }
    }
    Select(files);
    Run("CachedFilesControl");
    Run("RefreshFeeds");
    const auto storage = Library();
    host::RowReader reader(storage);
    int offset = 0;
    EXPECT_TRUE(WaitUntil([&] {
        host::RowQuery query{
            .Fields = {"Title", "State", "FeedName"}, .Sort = {{"Title"}}, .Offset = offset, .Limit = 20};
        offset = (offset + 20) % 160;
        EXPECT_FALSE(reader.ReadNow(query).Error);
        query.Search = "A 7";
        EXPECT_FALSE(reader.CountNow(query).Error);
        EXPECT_GE(Nodes().size(), 3);
        return Tasks().empty();
    }));
    EXPECT_EQ(reader.CountNow({.Fields = {"Title"}}).Count, 240);
    EXPECT_EQ(Database().Rows("SELECT Count(*) FROM PodcastEpisodes WHERE URLAudioCached <> ''"), QStringList("15"));
}

TEST_F(Storage, ObjectsThatTheHostStillHoldsAtTheEndAnswerAndFindNothing) {
    const auto provider = Library().Presets().at(0).Provider;
    const auto rows = Library().Rows();
    const auto hook = Library().Offered<IVEXAMessageHook>();
    EXPECT_NO_THROW(Host.UnloadPlugins());
    EXPECT_EQ(Host.Messages().Unhook(hook.Get()), E_INVALIDARG) << "messages reached it until now";
    Ref<IVEXAMLGroupingTreeDataProviderSelection> nodes;
    const Ref<IVEXAMLGroupingTreeSelection> root(new host::TreeSelection);
    EXPECT_EQ(provider->ListChildren(root.Get(), nodes.Put()), E_FAIL);
    Ref<IUnknown> data;
    const Ref<IVEXAMLDataFilter> filter(new host::DataFilter);
    EXPECT_EQ(rows->GetData(host::MakeStringList({"Title"}).Get(), filter.Get(), data.Put()), E_FAIL);
}

}  // namespace
}  // namespace tests
