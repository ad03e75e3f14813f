// Feeds' own options: what is downloaded by itself, what is announced, and which files are kept.

#include "ClientTests.h"

namespace podcasts {
namespace {

class FeedOptions : public ClientTest {
protected:
    FeedOptions() {
        for (int day = 1; day <= 5; ++day) ServeAudio({Audio("a", day), Audio("b", day)});
    }
    static QString Audio(const QString& feed, int day) { return QString("/%1%2.mp3").arg(feed).arg(day); }
    /// Episodes of these days of a month.
    static std::vector<Item> Days(const QString& feed, const QList<int>& days) {
        std::vector<Item> items;
        for (const int day : days)
            items.push_back({QString::number(day), Audio(feed, day), "Day", QString("0%1 Jan 2020").arg(day)});
        return items;
    }
    void ServeDays(const QString& feed, const QList<int>& days) {
        Server.Serve("/" + feed, Document(feed, Days(feed, days)));
    }
    void SubscribeToDays(const QString& feed, const QList<int>& days) {
        Subscribe(feed, Days(feed, days));
        ASSERT_TRUE(WaitForTasks());
    }
    int ID(const QString& feed) { return Client->DB().GetFeedID(Server.Url("/" + feed)); }
    void Set(const QString& feed, const QString& option, const QString& value) {
        ASSERT_TRUE(Client->SetFeedOption(ID(feed), *FindPodcastFeedOption(option), value));
    }
    /// The episodes that have a file, as "a1 a2"; each file and its record must agree.
    QString Files() {
        QStringList there;
        for (const char* feed : {"a", "b"})
            for (int day = 1; day <= 5; ++day) {
                const QString file = AudioFile(feed + Audio(feed, day));
                const auto episode = Client->DB().GetEpisode(Key(Audio(feed, day)));
                if (!episode) continue;
                if (QFile::exists(file)) there += feed + QString::number(day);
                EXPECT_EQ(episode->Fields[pefURLAudioCached], QFile::exists(file) ? file : QString()) << day;
            }
        return there.join(' ');
    }
    /// Opens the profile anew, as the next start of the program, which knows no more who asked for a file.
    void Restart(TPodcastClocks clocks = {}) { Client = MakeClient(std::move(clocks)); }
    QStringList AllKeys(const QString& feed) {
        QStringList keys;
        for (int day = 1; day <= 5; ++day) keys += Key(Audio(feed, day));
        return keys;
    }
};

TEST_F(FeedOptions, AFeedsOwnChoiceDecidesWhatIsDownloadedAndAnnounced) {
    const std::tuple<bool, const char*, bool> cases[] = {{false, "general", false}, {false, "always", true},
                                                         {false, "never", false},   {true, "general", true},
                                                         {true, "always", true},    {true, "never", false}};
    for (const auto& [general, choice, isWanted] : cases) {
        SCOPED_TRACE(testing::Message() << general << ' ' << choice);
        SubscribeToDays("a", {1});
        Set("a", "DownloadNewEpisodesAutomatically", choice);
        Set("a", "ShowNotifications", choice);
        Client->Options().SetDownloadNewEpisodesAutomatically(general);
        Client->Options().SetShowNotifications(general);
        const QString ofA = isWanted ? "a1" : "", ofB = general ? "b1" : "";
        SubscribeToDays("b", {1});
        EXPECT_EQ(Files(), QString(ofA + ' ' + ofB).trimmed()) << "after subscribing to another feed";
        ServeDays("a", {1, 2});
        ServeDays("b", {1, 2});
        Client->RefreshFeeds();
        ASSERT_TRUE(WaitForTasks());
        EXPECT_EQ(Files().contains("a2"), isWanted) << "after a refresh";
        EXPECT_EQ(Files().contains("b2"), general) << "the other feed has no option";
        QStringList announced;
        for (const QString& key : Client->EpisodesToAnnounce())
            announced += Client->DB().GetEpisode(key)->Fields[pefURI];
        EXPECT_EQ(announced.contains(Key("/a2.mp3")), isWanted);
        EXPECT_EQ(announced.contains(Key("/b2.mp3")), general);
        Client->Options().SetDownloadNewEpisodesAutomatically(false);
        for (const char* feed : {"/a", "/b"}) Client->Unsubscribe(Server.Url(feed), true);
    }
    EXPECT_FALSE(Client->SetFeedOption(1, *FindPodcastFeedOption("KeepFiles"), "1")) << "there is no such feed";
    EXPECT_EQ(Rows("SELECT * FROM PodcastFeedOptions"), QStringList()) << "they end with the subscription";
}

TEST_F(FeedOptions, OnlyTheNewestFilesAreKeptAndDownloaded) {
    SubscribeToDays("a", {1, 2, 3});
    SubscribeToDays("b", {1, 2, 3});
    Set("a", "KeepFiles", "2");
    for (const char* feed : {"a", "b"}) Set(feed, "DownloadNewEpisodesAutomatically", "always");
    Refresh("/a");
    EXPECT_EQ(Files(), "a2 a3 b1 b2 b3");
    ServeDays("a", {1, 2, 3, 4});
    Refresh("/a");
    EXPECT_EQ(Files(), "a3 a4 b1 b2 b3") << "also of what is not listened to";
    Server.Forget();
    Refresh("/a");
    EXPECT_EQ(Server.Count("/a2.mp3"), 0) << "a deleted file is not downloaded again";
    Download({Key("/a1.mp3")});
    EXPECT_EQ(Files(), "a1 a3 a4 b1 b2 b3") << "somebody has asked for it";
    Restart();
    Refresh("/a");
    EXPECT_EQ(Files(), "a3 a4 b1 b2 b3");
    // Of episodes without dates, those that were stored last.
    Subscribe("c", {{"1", "/b4.mp3"}, {"2", "/b5.mp3"}});
    Set("c", "KeepFiles", "1");
    Set("c", "DownloadNewEpisodesAutomatically", "always");
    Refresh("/c");
    Server.Serve("/c", Document("c", {{"1", "/b4.mp3"}, {"2", "/b5.mp3"}, {"3", "/a5.mp3"}}));
    for (int i = 0; i < 2; ++i) {
        Server.Forget();
        Refresh("/c");
        EXPECT_EQ(QDir(AudioFile("c")).entryList(QDir::Files), QStringList("a5.mp3"));
        EXPECT_EQ(Server.Count("/a5.mp3"), i == 0 ? 1 : 0);
    }
}

TEST_F(FeedOptions, FilesThatAreNeededStayWhateverTheLimits) {
    SubscribeToDays("a", {1, 2, 3, 4, 5});
    Download(AllKeys("a"));
    Restart();
    Set("a", "KeepFiles", "1");
    Client->UpdateState(Key("/a1.mp3"), pesPostponed);
    const QString second = AudioFile("a/a2.mp3");
    const QStringList uses{Key("/a2.mp3"), MakeEpisodeKey(ID("a"), "2"), second};
    for (const QString& name : uses) {
        Client->SetFilesInUse([&] { return QStringList(name); });
        const bool isFirst = name == uses.first();
        if (isFirst) Client->DownloadQueue().Add(Key("/a3.mp3"));
        Client->DeleteFilesBeyondLimits();
        EXPECT_EQ(Files(), isFirst ? "a1 a2 a3 a5" : "a1 a2 a5") << name.toStdString();
        Client->DownloadQueue().Clear();
    }
    Client->SetFilesInUse([] { return std::nullopt; });
    Client->DeleteFilesBeyondLimits();
    EXPECT_EQ(Files(), "a1 a2 a5") << "nobody knows what is in use";
    Client->SetFilesInUse({});
    // A file of another feed's row stays; a file that is gone already is no error.
    ServeDays("b", {});
    SubscribeToDays("b", {1});
    Client->DB().SetCachedFile(Key("/b1.mp3"), second);
    Client->DeleteFilesBeyondLimits();
    EXPECT_EQ(CachedFile("/a2.mp3"), second);
    Client->DB().SetCachedFile(Key("/b1.mp3"), "");
    QFile::remove(second);
    Client->DeleteFilesBeyondLimits();
    EXPECT_EQ(Files(), "a1 a5");
    EXPECT_TRUE(QFile::exists(qEnvironmentVariable("XDG_DATA_HOME") + "/Trash/files/a4.mp3"));
}

TEST_F(FeedOptions, FilesAreDeletedSomeDaysAfterTheirEpisodesWereListenedTo) {
    SubscribeToDays("a", {1, 2, 3, 4});
    Download(AllKeys("a").first(4));
    const QDateTime written = QDateTime::currentDateTimeUtc();
    QDateTime now = written.addDays(-9);
    Restart({vexa::TickCount, [&] { return now; }});
    Client->UpdateState(Key("/a1.mp3"), pesListened);
    Set("a", "DeleteListenedAfterDays", "3");
    now = written.addDays(1);
    EXPECT_EQ(Client->DeleteFilesBeyondLimits(), 0) << "the file was downloaded after the mark";
    Client->UpdateState({Key("/a2.mp3"), Key("/a3.mp3")}, pesListened);
    now = now.addDays(2);
    Client->DeleteFilesBeyondLimits();
    EXPECT_EQ(Files(), "a2 a3 a4") << "a mark from before the option counts, too";
    Client->UpdateState(Key("/a3.mp3"), pesNew);
    Client->UpdateState(Key("/a3.mp3"), pesListened);
    now = now.addDays(1);
    Refresh("/a");
    EXPECT_EQ(Files(), "a3 a4") << "the days begin anew with a new mark";
    now = now.addDays(2);
    Client->DeleteFilesBeyondLimitsInBackground();
    ASSERT_TRUE(tests::WaitUntil([&] { return CachedFile("/a3.mp3").isEmpty(); }));
    EXPECT_EQ(Files(), "a4");
    Set("a", "DeleteListenedAfterDays", "0");
    EXPECT_EQ(Rows("SELECT * FROM PodcastListenedFiles"), QStringList());
}

}  // namespace
}  // namespace podcasts
