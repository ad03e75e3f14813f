// What the user did and takes back, whatever else has happened meanwhile.

#include "ClientTests.h"

namespace podcasts {
namespace {

class ClientUndo : public ClientTest {
protected:
    /// Undoes the newest act: "restored, changed: problem".
    QString Undo() {
        const auto act = Client->UndoLog().Last();
        const auto undone = act ? Client->Undo(act->Number) : std::nullopt;
        if (!undone) return "nothing";
        return QString("%1, %2: ").arg(undone->Restored).arg(undone->Changed) + undone->Problem.English();
    }
    QString States(const QStringList& audios) {
        QString states;
        for (const QString& audio : audios) states += QString::number(Episode(audio).State);
        return states;
    }
    void Mark(const QStringList& audios, TPodcastEpisodeState state) {
        QStringList keys;
        for (const QString& audio : audios) keys += Key(audio);
        Client->UpdateState(keys, state, TPodcastUndo::Kept);
    }
    void DeleteFiles(const QStringList& keys) {
        TPodcastDeletedFiles deleted;
        for (const QString& key : keys) Client->DeleteCachedEpisodes({key}, &deleted);  // as in groups
        Client->KeepForUndo(std::move(deleted));
    }
    static QString InTrash(const QString& name) { return qEnvironmentVariable("XDG_DATA_HOME") + u"/Trash/" + name; }
    static void EmptyTrash() { QDir(InTrash({})).removeRecursively(); }
    /// All that is stored of the feed, but for its ID and the rows' ids.
    QStringList Stored(const QString& path) {
        const QString id = QString::number(Client->DB().GetFeedID(Server.Url(path)));
        QStringList stored;
        for (const auto& [table, feed, left] : {std::array<const char*, 3>{"PodcastFeeds", "FeedID", ""},
                                                {"PodcastEpisodes", "FeedID", ""},
                                                {"PodcastFeedLogos", "ID", ""},
                                                {"PodcastFeedLogoLooks", "FeedID", ""},
                                                {"PodcastFeedOptions", "FeedID", ""},
                                                {"PodcastEpisodeNames", "FeedID", "Episode"}}) {
            QStringList columns = Rows(QString("SELECT name FROM pragma_table_info('%1')").arg(table));
            columns.removeIf([&](const QString& name) { return name == feed || name == left; });
            const QString sql = "SELECT quote(%1) FROM %2 WHERE %3 = %4 ORDER BY rowid";
            stored += Rows(sql.arg(columns.join("), quote("), table, feed, id));
        }
        return stored;
    }
};

TEST_F(ClientUndo, MarksAreTakenBackButForEpisodesThatWereChangedSince) {
    Subscribe("a", {{"1", "/1.mp3"}, {"2", "/2.mp3"}, {"3", "/3.mp3"}});
    const QStringList all{"/1.mp3", "/2.mp3", "/3.mp3"};
    Mark({"/2.mp3"}, pesPostponed);
    const QString twoNames = MakeEpisodeKey(Client->DB().GetFeedID(Server.Url("/a")), "1");
    Client->UpdateState({Key("/1.mp3"), twoNames, Key("/2.mp3"), Key("/3.mp3")}, pesListened, TPodcastUndo::Kept);
    EXPECT_EQ(Client->UndoLog().Last()->Count, 3) << "one episode under two names";
    Client->UpdateState(Key("/3.mp3"), pesPostponed);  // not by the user
    EXPECT_EQ(States(all), "002");
    EXPECT_EQ(Client->UndoLog().Last()->Count, 3);
    // A refresh gives an episode another GUID and address.
    Server.Serve("/a", Document("a", {{"new", "/new.mp3"}, {"2", "/2.mp3", "Other"}, {"3", "/3.mp3", "Third"}}));
    Client->DB().Merge(*TPodcastClient::FetchFeed(Server.Url("/a"), {}, true));
    EXPECT_EQ(Undo(), "2, 1: ");
    EXPECT_EQ(Client->DB().GetEpisode(Key("/1.mp3"))->State, pesNew) << "under its new name";
    EXPECT_EQ(States({"/2.mp3", "/3.mp3"}), "22");
    EXPECT_EQ(Client->UndoLog().Last()->Title, "Episode");
    EXPECT_EQ(Undo(), "1, 0: ");
    EXPECT_EQ(States({"/2.mp3"}), "1");
    EXPECT_EQ(Undo(), "nothing");
    Mark({"/2.mp3"}, pesNew);
    EXPECT_EQ(Undo(), "nothing") << "what changes nothing is no act";
}

TEST_F(ClientUndo, ARowThatBelongsToAnotherEpisodeByNowIsLeftAlone) {
    Subscribe("a", {{"1", "/1.mp3"}});
    Mark({"/1.mp3"}, pesListened);
    Client->Unsubscribe(Server.Url("/a"), false);
    Subscribe("b", {{"1", "/1.mp3"}});
    Client->UpdateState(Key("/1.mp3"), pesListened);
    EXPECT_EQ(Undo(), "0, 1: ");
    EXPECT_EQ(States({"/1.mp3"}), "0");
}

TEST_F(ClientUndo, TheLastTwentyActsAreKeptAndOneThatFailsStays) {
    Subscribe("a", {{"1", "/1.mp3"}});
    for (int i = 0; i < 21; ++i) Mark({"/1.mp3"}, i % 2 == 0 ? pesListened : pesNew);
    Rows("ALTER TABLE PodcastEpisodes RENAME TO Elsewhere");
    EXPECT_TRUE(ErrorOf([&] { Undo(); }).contains("PodcastEpisodes"));
    Rows("ALTER TABLE Elsewhere RENAME TO PodcastEpisodes");
    Heard->Events.clear();
    int undone = 0;
    while (Undo() == "1, 0: ") ++undone;
    EXPECT_EQ(undone, 20);
    EXPECT_EQ(Heard->Events.count("changed"), 20) << "listeners are told";
    EXPECT_FALSE(Client->Undo(1)) << "the oldest act was dropped";
}

TEST_F(ClientUndo, DeletedFilesComeBackFromTheTrash) {
    Subscribe("a", {{"1", "/1.mp3"}, {"2", "/2.mp3"}, {"3", "/3.mp3"}});
    EmptyTrash();
    ServeAudio({"/1.mp3", "/2.mp3", "/3.mp3"});
    const QStringList keys{Key("/1.mp3"), Key("/2.mp3"), Key("/3.mp3")};
    Download(keys);
    DeleteFiles(keys);
    EXPECT_EQ(Client->UndoLog().Last()->Count, 3);
    EXPECT_FALSE(QFile::exists(AudioFile("a/1.mp3")));
    Download({keys[1]});  // again
    QFile::remove(InTrash("files/3.mp3"));
    WriteWhole(InTrash("files/3.mp3"), "another file of that name");
    EXPECT_EQ(Undo(), "1, 2: ");
    EXPECT_EQ(ReadWhole(AudioFile("a/1.mp3")), "/1.mp3");
    EXPECT_EQ(CachedFile("/1.mp3"), AudioFile("a/1.mp3"));
    EXPECT_EQ(CachedFile("/2.mp3"), AudioFile("a/2.mp3")) << "the new download";
    EXPECT_EQ(CachedFile("/3.mp3"), "");
    EXPECT_FALSE(QFile::exists(AudioFile("a/3.mp3"))) << "not the other file";
    EXPECT_EQ(QDir(InTrash("info")).entryList(QDir::Files).filter("1.mp3"), QStringList());

    // A file that no row takes back returns to the trash.
    DeleteFiles({keys[0]});
    Client->DB().SetCachedFile(keys[0], "/elsewhere/1.mp3");
    EXPECT_EQ(Undo(), "0, 1: ");
    EXPECT_FALSE(QFile::exists(AudioFile("a/1.mp3")));
    EXPECT_EQ(CachedFile("/1.mp3"), "/elsewhere/1.mp3");
}

TEST_F(ClientUndo, ASubscriptionComesBackWithEverythingThatWasStored) {
    ServeAudio({"/1.mp3"});
    Subscribe("b", {{"1", "/b.mp3"}});
    Subscribe("a", {{"1", "/1.mp3", "One"}, {"2", "/old.mp3", "Two"}, {"3", "/3.mp3", "Three"}});
    Server.Serve("/a", Document("a", {{"1", "/1.mp3", "One"}, {"2", "/2.mp3", "Two"}}));
    Refresh("/a");
    Download({Key("/1.mp3")});
    Mark({"/2.mp3"}, pesPostponed);
    const int id = Client->DB().GetFeedID(Server.Url("/a"));
    Client->DB().NoteLogoLook(id, {"http://h/logo", 7, TPodcastLogoOutcome::Picture}, "picture");
    ASSERT_TRUE(Client->SetFeedOption(id, *FindPodcastFeedOption("KeepFiles"), "9"));
    const QStringList before = Stored("/a");
    ASSERT_EQ(before.size(), 8) << "feed, episodes, logo, look, option and an older name: "
                                << before.join('\n').toStdString();

    for (const bool withFiles : {true, false, true}) {
        Client->Unsubscribe(Server.Url("/a"), withFiles, TPodcastUndo::Kept);
        EXPECT_EQ(QFile::exists(AudioFile("a/1.mp3")), !withFiles);
        EXPECT_EQ(Client->DB().GetEpisode(Key("/2.mp3")), nullptr);
        Subscribe("c", {{"1", "/c.mp3"}, {"2", "/d.mp3"}});  // takes the rows' ids
        EXPECT_EQ(Client->UndoLog().Last()->Title, "a");
        EXPECT_EQ(Undo(), "3, 0: ");
        EXPECT_EQ(Stored("/a"), before);
        EXPECT_NE(Client->DB().GetFeedID(Server.Url("/a")), id);
        EXPECT_EQ(ReadWhole(AudioFile("a/1.mp3")), "/1.mp3");
        EXPECT_EQ(Client->DB().GetEpisode(Key("/old.mp3"))->Fields[pefGUID], "2") << "by its older name";
        Client->Unsubscribe(Server.Url("/c"), false);
    }
    // Earlier acts can still be undone.
    DeleteFiles({Key("/1.mp3")});
    Client->Unsubscribe(Server.Url("/a"), true, TPodcastUndo::Kept);
    EXPECT_EQ(Undo(), "3, 0: ");
    EXPECT_EQ(Undo(), "1, 0: ") << "the deleted file";
    EXPECT_EQ(CachedFile("/1.mp3"), AudioFile("a/1.mp3"));
    EXPECT_EQ(Undo(), "1, 0: ") << "the mark";
    EXPECT_EQ(States({"/2.mp3"}), "1");
    Server.Serve("/a", Document("a", {{"1", "/1.mp3", "One"}, {"2", "/2.mp3", "Two"}, {"4", "/4.mp3", "Four"}}));
    Refresh("/a");
    EXPECT_EQ(LastRefresh().NewEpisodes.size(), 1) << "the others are known";
    EXPECT_EQ(Rows("PRAGMA integrity_check"), QStringList("ok"));
}

TEST_F(ClientUndo, OfASubscriptionWhatCannotComeBackIsTold) {
    ServeAudio({"/1.mp3"});
    Subscribe("a", {{"1", "/1.mp3"}});
    Download({Key("/1.mp3")});
    Client->Unsubscribe(Server.Url("/a"), true, TPodcastUndo::Kept);
    EmptyTrash();
    EXPECT_EQ(Undo(), "1, 0: 1 of its files are not in the trash any more");
    EXPECT_EQ(CachedFile("/1.mp3"), "");

    Download({Key("/1.mp3")});
    Client->Unsubscribe(Server.Url("/a"), true, TPodcastUndo::Kept);
    Subscribe("a", {{"1", "/1.mp3"}});
    EXPECT_EQ(Undo(), "0, 0: you have subscribed to this podcast again");
    EXPECT_EQ(EpisodeCount("/a"), 1);
    EXPECT_FALSE(QFile::exists(AudioFile("a/1.mp3"))) << "no episode would record it";
    EXPECT_EQ(Undo(), "nothing");
}

TEST_F(ClientUndo, AQueuedDownloadIsQueuedAgainWithItsSubscription) {
    Subscribe("a", {{"1", "/1.mp3"}, {"2", "/2.mp3"}});
    for (const char* audio : {"/1.mp3", "/2.mp3"})
        Server.Serve(audio, Response::Of("sound", "audio/mpeg").With(Fault::Wait, 2));
    Client->DownloadEpisodes({Key("/1.mp3"), Key("/2.mp3")});
    ASSERT_TRUE(WaitForRequest("/2.mp3"));
    Client->Unsubscribe(Server.Url("/a"), true, TPodcastUndo::Kept);
    ServeAudio({"/1.mp3", "/2.mp3"});
    ASSERT_TRUE(WaitForTasks());
    EXPECT_EQ(Undo(), "2, 0: ");
    ASSERT_TRUE(WaitForTasks());
    EXPECT_EQ(CachedFile("/1.mp3"), AudioFile("a/1.mp3"));
}

}  // namespace
}  // namespace podcasts
