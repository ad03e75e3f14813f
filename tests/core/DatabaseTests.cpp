#include "PlainSqlite.h"
#include "Podcasts.Core.DB.h"
#include "TempFolder.h"
#include "Texts.h"

#include <gtest/gtest.h>

#include <array>

using namespace Qt::StringLiterals;

namespace podcasts {
namespace {

const QString kFeed = "http://h/feed.xml";

struct Entry {
    QString GUID, Audio;
    double Date = 0;
    QString Title = "title of " + GUID;
};

std::unique_ptr<TPodcastFeed> FeedOf(const std::vector<Entry>& entries, const QString& address = kFeed) {
    auto feed = std::make_unique<TPodcastFeed>();
    feed->Fields[pffURLFeed] = address;
    for (const Entry& entry : entries) {
        TPodcastEpisode& episode = feed->NewEpisode();
        episode.Fields[pefGUID] = entry.GUID;
        episode.Fields[pefTitle] = entry.Title;
        episode.Fields[pefURLAudio] = entry.Audio;
        episode.PublishDate = entry.Date;
    }
    return feed;
}

class Database : public testing::Test {
protected:
    /// Stores a feed with one episode for each letter of `guids`, each a day younger than the one before; returns the
    /// feed's ID.
    int Store(const QString& address, const QString& guids, const QString& title = "Feed") {
        std::vector<Entry> entries;
        double date = 45000;
        for (const QChar guid : guids) entries.push_back({guid, address + u'/' + guid + u".mp3", ++date});
        const auto feed = FeedOf(entries, address);
        feed->Fields[pffTitle] = title;
        DB.AddOrUpdate(*feed);
        return feed->ID;
    }
    QStringList Rows(const QByteArray& sql) { return Other.Rows(sql); }
    QStringList CachedFiles(const QStringList& keys) {
        QStringList files;
        DB.EnumCachedFiles(keys, [&](const QString& file) { files += file; });
        return files;
    }
    static void ExpectEqual(const TPodcastEpisode* read, const TPodcastEpisode& episode) {
        ASSERT_TRUE(read);
        EXPECT_EQ(read->Fields, episode.Fields);
        EXPECT_EQ(read->FeedID, episode.FeedID);
        EXPECT_EQ(read->Duration, episode.Duration);
        EXPECT_EQ(read->PublishDate, episode.PublishDate);
        EXPECT_EQ(read->State, episode.State);
    }

    tests::TempFolder Folder;
    const QString File = Folder.File("Podcasts.db");
    TPodcastsDB DB{File};
    PlainSqlite Other{File};
};

TEST_F(Database, JoiningRowsKeepsTheNewestEightNames) {
    const auto feed = [](int address) { return FeedOf({{"guid", u"http://h/%1.mp3"_s.arg(address), 45000}}); };
    for (int i = 0; i < 20; ++i) DB.AddOrUpdate(*feed(i));
    // The name of an episode that had this row id before
    Other.Run(
        "INSERT INTO PodcastEpisodeNames (Name, Episode, FeedID, GUIDCheck) "
        "SELECT 1, rowid, FeedID, 1 FROM PodcastEpisodes");
    for (const int last : {20, 21}) {
        DB.Merge(*feed(last));
        EXPECT_EQ(Rows("SELECT URI FROM PodcastEpisodes"), QStringList(QString("podcast://h/%1.mp3").arg(last)));
        EXPECT_EQ(DB.QueryInteger("SELECT Count(*) FROM PodcastEpisodeNames"), 8);
        for (int i = 0; i < last; ++i)
            EXPECT_EQ(DB.CountEpisodes(QString("podcast://h/%1.mp3").arg(i)), i >= last - 8 ? 1 : 0) << i;
    }
}

TEST_F(Database, AnOlderNameLeadsToItsEpisodeUnlessSeveralHadIt) {
    using Document = std::vector<std::array<QString, 3>>;  // title, GUID, path of the audio
    const auto feed = [](const Document& document) {
        std::vector<Entry> entries;
        for (const auto& [title, guid, path] : document)
            entries.push_back({guid, "http://h/" + path, 45000.0 + title[0].unicode(), title});
        return FeedOf(entries);
    };
    const std::tuple<const char*, std::vector<Document>, std::vector<std::pair<QString, QString>>> cases[] = {
        // what, one document after the other, names and the titles of their episodes
        {"a token changes",
         {{{"A", "a", "1?t=1"}, {"B", "b", "2?t=1"}}, {{"A", "a", "1?t=2"}, {"B", "b", "2?t=2"}}},
         {{"podcast://h/1?t=1", "A"}, {"podcast://h/1", "A"}, {"podcast://h/2?t=9", "B"}}},
        {"only the query tells them apart",
         {{{"A", "a", "get?1"}, {"B", "b", "get?2"}}, {{"A", "a", "1"}, {"B", "b", "2"}}},
         {{"podcast://h/get?1", "A"}, {"podcast://h/get?2", "B"}, {"podcast://h/get?3", ""}, {"podcast://h/get", ""}}},
        {"a name made of the GUID",
         {{{"A", "a?1", "time"}}, {{"A", "a2", "time"}}},
         {{"podcast://h/feed.xml-/a?1", "A"}, {"podcast://h/feed.xml-/a", ""}, {"a?1", "A"}, {"a", ""}}},
        {"two had it",
         {{{"A", "a", "1"}}, {{"A", "a", "2"}, {"B", "b", "1"}}, {{"A", "a", "2"}, {"B", "b", "3"}}},
         {{"podcast://h/1", ""}}},
        {"another has it now",
         {{{"A", "a", "1"}}, {{"A", "a", "2"}, {"B", "b", "1"}}},
         {{"podcast://h/1", "B"}, {"b", "B"}}},
        {"to and fro",
         {{{"A", "a", "1"}}, {{"A", "a", "2"}}, {{"A", "a", "1"}}, {{"A", "a", "2"}}},
         {{"podcast://h/1", "A"}}},
        {"another GUID and address each time",
         {{{"A", "a", "1"}}, {{"A", "b", "2"}}, {{"A", "c", "3"}}},
         {{"a", "A"}, {"b", "A"}, {"c", "A"}, {"podcast://h/1", "A"}, {"podcast://h/2", "A"}}},
    };
    const auto titleOf = [&](const QString& name) {
        const auto episode = DB.GetEpisode(name.contains(':') ? name : MakeEpisodeKey(DB.GetFeedID(kFeed), name));
        return episode ? episode->Fields[pefTitle] : QString();
    };
    for (const auto& [what, documents, names] : cases) {
        SCOPED_TRACE(what);
        DB.Remove(kFeed);
        DB.AddOrUpdate(*feed(documents[0]));
        for (std::size_t i = 1; i < documents.size(); ++i) {
            const qint64 moves = DB.GetMoveCount();
            DB.Merge(*feed(documents[i]));
            EXPECT_GT(DB.GetMoveCount(), moves) << "document " << i;
        }
        for (const auto& [name, title] : names) EXPECT_EQ(titleOf(name), title) << name.toStdString();
    }
    // The names of a row that is united with another one are handed on.
    DB.AddOrUpdate(*feed({{"A", "c", "4"}}));
    DB.Merge(*feed({{"A", "c", "4"}}));
    for (const char* name : {"a", "podcast://h/1", "podcast://h/3"}) EXPECT_EQ(titleOf(name), "A") << name;
    DB.UpdateState({"podcast://h/1"}, pesPostponed);
    DB.SetCachedFile("podcast://h/1", "/1.mp3");
    EXPECT_EQ(Rows("SELECT URI, State, URLAudioCached FROM PodcastEpisodes"), QStringList("podcast://h/4|2|/1.mp3"));
    EXPECT_EQ(CachedFiles({"podcast://h/1"}), QStringList("/1.mp3"));
}

TEST_F(Database, AnEpisodeWhoseAddressIsTakenGetsAUriThatNoOtherHas) {
    DB.AddOrUpdate(*FeedOf({{"g", "http://h/time/1.mp3", 3, "another"}, {"g", "http://h/2.mp3", 4}}));
    DB.Merge(*FeedOf({{"g", "", 4}, {"x", "http://h/2.mp3", 5}}));
    EXPECT_EQ(Rows("SELECT URI, GUID FROM PodcastEpisodes ORDER BY URI"),
              QStringList({"podcast://h/2.mp3|x", "podcast://h/feed.xml-/g|g", "podcast://h/feed.xml-/g#2|g"}));
}

TEST_F(Database, EveryFieldIsReadBackWhateverTheTextContains) {
    const QString longText = u"a"_s.repeated(100000);
    const QStringList texts = {"",
                               "it's \"quoted\"; DROP TABLE PodcastFeeds; --",
                               u"a\u0000b\u0001"_s,
                               u"a\xD800"_s + u"b\xDC00"_s,
                               u"\U0001F399 Ж\u0301\r\n\t%_"_s,
                               longText};
    for (const QString& text : texts) {
        TPodcastFeed feed;
        for (int i = 0; i < kFeedFieldCount; ++i) feed.Fields[i] = QString::number(i) + text;
        TPodcastEpisode& episode = feed.NewEpisode();
        for (int i = 0; i < kEpisodeFieldCount; ++i) episode.Fields[i] = QString::number(i) + text;
        episode.Fields[pefURI] = episode.Fields[pefURLAudio];
        episode.Duration = 3723.3F;
        episode.PublishDate = 45429.378472222219;
        episode.State = pesPostponed;
        DB.AddOrUpdate(feed);
        ASSERT_GT(feed.ID, 0);
        EXPECT_EQ(episode.FeedID, feed.ID);

        const auto stored = DB.GetFeed(feed.Fields[pffURLFeed], true);
        ASSERT_TRUE(stored);
        auto expected = feed.Fields;
        expected[pffKeywords].clear();
        EXPECT_EQ(stored->Fields, expected);
        EXPECT_EQ(stored->ID, feed.ID);
        ASSERT_EQ(stored->EpisodeCount(), 1);
        const QString uri = episode.Fields[pefURI], key = MakeEpisodeKey(feed.ID, episode.Fields[pefGUID]);
        ExpectEqual(&stored->Episodes(0), episode);
        ExpectEqual(DB.GetEpisode(key).get(), episode);
        ExpectEqual(DB.GetEpisode(uri).get(), episode);
        DB.SetCachedFile(key, text);
        DB.UpdateState({uri}, pesListened);
        episode.Fields[pefURLAudioCached] = text;
        episode.State = pesListened;
        ExpectEqual(DB.GetEpisode(uri).get(), episode);
        QStringList visited;
        DB.EnumFeeds(feed.Fields[pffCategory],
                     [&](const QString& address, const QString& name, int) { visited += address + name; });
        EXPECT_EQ(visited, QStringList(feed.Fields[pffURLFeed] + feed.Fields[pffTitle]));
    }
}

TEST_F(Database, StoringRewritesTheRowsThatDifferAndNoOthers) {
    const int id = Store(kFeed, "abc");
    Other.Run(
        "CREATE TABLE Written (Episode INTEGER);"
        "CREATE TRIGGER A AFTER UPDATE ON PodcastEpisodes BEGIN INSERT INTO Written VALUES (NEW.rowid); END;"
        "CREATE TRIGGER B AFTER INSERT ON PodcastEpisodes BEGIN INSERT INTO Written VALUES (-NEW.rowid); END");
    const auto changeAndStore = [&](const std::function<void(TPodcastEpisode&)>& change) {
        const auto feed = DB.GetFeed(id, true);
        Other.Run("DELETE FROM Written");
        TPodcastEpisode& episode = feed->Episodes(1);
        ASSERT_TRUE(episode.Fields[pefGUID].startsWith(u'b'));
        change(episode);
        DB.AddOrUpdate(*feed);
        // A row that is written again keeps its ID, because other tables refer to it.
        EXPECT_EQ(Rows("SELECT Episode FROM Written"), QStringList("2"));
        ExpectEqual(DB.GetEpisode(MakeEpisodeKey(id, episode.Fields[pefGUID])).get(), episode);
        const QString version = Other.DataVersion();
        DB.AddOrUpdate(*feed);
        EXPECT_EQ(Other.DataVersion(), version);
    };
    const std::pair<TPodcastEpisodeField, QString> texts[] = {
        {pefArtist, "x"},         {pefDescription, "x"}, {pefGUID, "b2"},
        {pefTitle, "Title of b"}, {pefURL, "x"},         {pefURLAudio, "https://h/feed.xml/b.mp3"},
        {pefURLAudioCached, "/x"}};
    for (const auto& [field, text] : texts) changeAndStore([&](auto& episode) { episode.Fields[field] = text; });
    changeAndStore([](auto& episode) { episode.PublishDate += 1e-9; });
    changeAndStore([](auto& episode) { episode.Duration = 1.5F; });
    changeAndStore([](auto& episode) { episode.State = pesListened; });
    // NULL, which another program may have left, differs from an empty value; login and other episodes stay.
    Other.Run("UPDATE PodcastEpisodes SET Artist = NULL WHERE GUID = 'a'; UPDATE PodcastFeeds SET AuthLogin = 'me'");
    EXPECT_EQ(Store(kFeed, "a", "Renamed"), id);
    EXPECT_EQ(Rows("SELECT FeedID, Name, AuthLogin FROM PodcastFeeds"), QStringList("1|Renamed|me"));
    EXPECT_EQ(DB.GetEpisodeCount(id), 3);
    EXPECT_EQ(Rows("SELECT Artist, Format FROM PodcastEpisodes WHERE GUID = 'a'"), QStringList("|MP3"));
}

TEST_F(Database, EpisodesWithoutAudioShareOneRowWhichKeepsTheLast) {
    const auto feed = FeedOf({{"a", ""}, {"b", ""}, {"c", ""}});
    DB.AddOrUpdate(*feed);
    EXPECT_EQ(Rows("SELECT URI, GUID FROM PodcastEpisodes"), QStringList("|c"));
    const QString version = Other.DataVersion();
    DB.AddOrUpdate(*feed);
    EXPECT_EQ(Other.DataVersion(), version);
}

TEST_F(Database, AFailedChangeLeavesEverythingAsItWas) {
    Other.Run(
        "CREATE TRIGGER A BEFORE INSERT ON PodcastEpisodes WHEN NEW.GUID = 'c' BEGIN SELECT RAISE(ABORT, ''); END");
    EXPECT_THROW(Store(kFeed, "abc"), vexa::SqliteError);
    EXPECT_EQ(DB.GetFeedID(kFeed), -1);
    EXPECT_EQ(Rows("SELECT GUID FROM PodcastEpisodes"), QStringList());
    const int id = Store(kFeed, "ab");
    DB.RunInTransaction([&] {
        EXPECT_THROW(Store(kFeed, "dec", "Renamed"), vexa::SqliteError);
        DB.UpdateState({MakeEpisodeKey(id, "a")}, pesPostponed);  // the outer transaction still works
    });
    EXPECT_EQ(Rows("SELECT GUID, State FROM PodcastEpisodes"), QStringList({"a|2", "b|1"}));
    EXPECT_EQ(DB.GetFeed(id, false)->Fields[pffTitle], "Feed");
    Other.Run(
        "CREATE TRIGGER B BEFORE UPDATE ON PodcastEpisodes WHEN NEW.GUID = 'b' BEGIN SELECT RAISE(ABORT, ''); END");
    EXPECT_THROW(DB.UpdateState({MakeEpisodeKey(id, "a"), MakeEpisodeKey(id, "b")}, pesListened), vexa::SqliteError);
    EXPECT_EQ(DB.GetEpisode(MakeEpisodeKey(id, "a"))->State, pesPostponed);
    Other.Run("CREATE TRIGGER C BEFORE DELETE ON PodcastFeeds BEGIN SELECT RAISE(ABORT, ''); END");
    EXPECT_THROW(DB.Remove(id), vexa::SqliteError);
    EXPECT_EQ(DB.GetEpisodeCount(id), 2);
}

TEST_F(Database, MissingRecordsAreNotFoundAndNothingIsDone) {
    Store(kFeed, "a");
    const QString version = Other.DataVersion();
    for (const int id : {-1, 99}) {
        EXPECT_FALSE(DB.GetFeed(id, true));
        DB.Remove(id);
    }
    EXPECT_LE(DB.GetFeedID("HTTP://h/feed.xml"), 0);
    DB.Remove("HTTP://h/feed.xml");
    const auto nameless = FeedOf({{"z", "http://h/z.mp3"}}, {});
    EXPECT_FALSE(DB.Merge(*nameless).IsSubscribed) << "a feed without an address is none that is stored";
    const QStringList keys = {"",          "podcast://H/feed.xml/a.mp3", MakeEpisodeKey(1, "A"), MakeEpisodeKey(2, "a"),
                              u"\u0001"_s, u"\u0001x\u0001a"_s};
    for (const QString& key : keys) {
        EXPECT_FALSE(DB.GetEpisode(key));
        EXPECT_EQ(DB.CountEpisodes(key), 0);
        DB.SetCachedFile(key, "/x");
    }
    DB.UpdateState(keys, pesListened);
    DB.UpdateState({}, pesListened);
    EXPECT_EQ(CachedFiles({}) + CachedFiles({MakeEpisodeKey(1, "a")}), QStringList());
    EXPECT_EQ(DB.ResetMissingCachedFiles(), 0);
    EXPECT_EQ(Other.DataVersion(), version);
}

TEST_F(Database, ListsOfThousandsOfKeysOfBothFormsAreAccepted) {
    std::vector<Entry> entries;
    QStringList keys, files;
    for (int i = 0; i < 2000; ++i) {
        const QString name = QString::number(i);
        files += "/f/" + QString::number(i / 2);  // two rows record one file
        entries.push_back({name, "http://h/" + name});
        keys += i % 2 ? QString("podcast://h/" + name) : MakeEpisodeKey(1, name);
    }
    DB.AddOrUpdate(*FeedOf(entries));
    Other.Run("UPDATE PodcastEpisodes SET URLAudioCached = '/f/' || (GUID / 2)");
    keys += keys;  // each row is named twice and visited once
    QStringList visited = CachedFiles(keys);
    visited.sort();
    files.sort();
    EXPECT_EQ(visited, files);
    DB.UpdateState(keys, pesPostponed);
    EXPECT_EQ(Rows("SELECT State, Count(*) FROM PodcastEpisodes GROUP BY State"), QStringList("2|2000"));
    EXPECT_EQ(DB.ResetMissingCachedFiles(), 2000);
}

TEST_F(Database, FeedsAreSortedByTheCollationWithTheNumbersOfTheirEpisodes) {
    Store("4", "", "Zebra");
    const int second = Store("2", "abc", "Äpfel");
    Store("3", "d", "bananas");
    Store("1", "", "apes");
    DB.UpdateState({MakeEpisodeKey(second, "a")}, pesPostponed);
    DB.UpdateState({MakeEpisodeKey(second, "b")}, pesListened);
    QStringList found;
    const auto note = [&](const QString& address, const QString& name, int count) {
        found += address + name + QString::number(count);
    };
    DB.EnumFeeds(note);
    DB.EnumFeeds("Science", note);
    EXPECT_EQ(found, QStringList({"1apes0", "2Äpfel0", "3bananas0", "4Zebra0"}));
    found.clear();
    DB.EnumFeedsWithState(pesNew, note);
    EXPECT_EQ(found, QStringList({"2Äpfel1", "3bananas1"}));
    found.clear();
    DB.EnumFeedSummaries([&](int, const QString& address, const QString&, int newCount, int postponed, int episodes) {
        found += u"%1:%2/%3/%4"_s.arg(address).arg(newCount).arg(postponed).arg(episodes);
    });
    EXPECT_EQ(found, QStringList({"1:0/0/0", "2:1/1/3", "3:1/0/1", "4:0/0/0"}));
    for (const auto& [address, expected] : {std::pair("", 2), {"2", 1}, {"1", 0}}) {
        int newCount = -1, postponed = -1;
        EXPECT_TRUE(DB.GetEpisodeCounts(address, newCount, postponed));
        EXPECT_EQ(newCount, expected);
        EXPECT_EQ(postponed, expected > 0);
    }
}

TEST_F(Database, EpisodesAreReturnedNewestFirstFilteredSearchedAndPaged) {
    const int id = Store(kFeed, "abc", "Привет");
    Store("http://h/2", "d%_", "Two");
    DB.UpdateState({MakeEpisodeKey(id, "b")}, pesPostponed);
    // Of two episodes with the same date the row written later comes first.
    const std::pair<TPodcastEpisodeFilter, QString> cases[] = {
        {{0, -1, ""}, "_c%bda"},     {{id, -1, ""}, "cba"},   {{0, pesPostponed, ""}, "b"},
        {{id, pesListened, ""}, ""}, {{0, -1, "ПРИ"}, "cba"}, {{0, -1, "TITLE OF D"}, "d"},
        {{0, -1, "%"}, "%"},         {{0, -1, "_"}, "_"},     {{0, -1, "'"}, ""},
        {{0, -1, "", 2, 1}, "c%"},   {{0, -1, "", 0}, ""},    {{0, -1, "", -1, 99}, ""}};
    QString visited;
    for (const auto& [filter, guids] : cases) {
        visited.clear();
        DB.EnumEpisodes(filter, [&](auto& episode, const QString&) { visited += episode.Fields[pefGUID]; });
        EXPECT_EQ(visited, guids) << filter.Search.toStdString();
    }
    // Episodes to download are new and have no file.
    visited.clear();
    DB.SetCachedFile(MakeEpisodeKey(id, "c"), "/c.mp3");
    Other.Run("UPDATE PodcastEpisodes SET URLAudioCached = NULL WHERE GUID = 'a'");
    DB.EnumNewEpisodes(
        [&](const TPodcastUncachedEpisode& episode) { visited += episode.URI.at(episode.URI.size() - 5); });
    EXPECT_EQ(visited, "_%da");
}

TEST_F(Database, RemovingAFeedRemovesItsEpisodesAndLogos) {
    const int one = Store(kFeed, "ab"), two = Store("http://h/2", "a");
    const QByteArray bytes("\x89PNG\0'\xFF", 7);
    for (const int id : {one, one, two}) DB.SetFeedLogo(id, bytes.constData(), 7);
    const TPodcastLogoLook look{"http://h/logo", 5, TPodcastLogoOutcome::Picture};
    for (const int id : {one, two}) EXPECT_FALSE(DB.NoteLogoLook(id, look, bytes)) << "it is stored already";
    DB.Remove(kFeed);
    EXPECT_FALSE(DB.NoteLogoLook(one, look, bytes));  // as when a logo arrives after the feed was removed
    for (const char* sql : {"SELECT FeedID FROM PodcastFeeds", "SELECT FeedID FROM PodcastEpisodes",
                            "SELECT ID FROM PodcastFeedLogos", "SELECT FeedID FROM PodcastFeedLogoLooks"})
        EXPECT_EQ(Rows(sql), QStringList(QString::number(two)));
    QByteArray read;
    EXPECT_TRUE(DB.GetFeedLogo(two, read));
    EXPECT_EQ(read, bytes);
    DB.SetFeedLogo(6, "", 0);
    EXPECT_FALSE(DB.GetFeedLogo(6, read));
}

TEST_F(Database, AFileIsRecordedOnlyForTheEpisodeThatWasRead) {
    const int id = Store(kFeed, "a"), other = Store("http://h/2", "x");
    const auto read = DB.GetEpisode(MakeEpisodeKey(id, "a"));
    const auto rows = [&] { return Rows("SELECT FeedID, GUID, URLAudioCached FROM PodcastEpisodes ORDER BY 1, 2"); };
    const auto add = [&](qint64 row, int feed, const QString& guid, const QString& uri) {
        const QString values = QString("%1, %2, '%3', '%4', ''").arg(row).arg(feed).arg(guid, uri);
        Rows("INSERT INTO PodcastEpisodes (rowid, FeedID, GUID, URI, URLAudioCached) VALUES (" + values.toUtf8() + ")");
    };
    DB.Remove(other);
    // A merge may move the row meanwhile.
    DB.Merge(*FeedOf({{"b", read->Fields[pefURLAudio], read->PublishDate, read->Fields[pefTitle]}}));
    EXPECT_TRUE(DB.SetCachedFileOfRow(*read, "/f"));
    EXPECT_EQ(rows(), QStringList("1|b|/f"));
    EXPECT_FALSE(DB.ReplaceCachedFileOfRow(*read, "", "/g"));
    EXPECT_TRUE(DB.ReplaceCachedFileOfRow(*read, "/f", ""));
    EXPECT_EQ(DB.GetCachedFileOfRow(*read), "");
    // The row is deleted, and another episode gets its ID.
    Other.Run("DELETE FROM PodcastEpisodes");
    add(read->RowID, id, "c", "u");
    EXPECT_FALSE(DB.SetCachedFileOfRow(*read, "/f"));
    EXPECT_FALSE(DB.GetCachedFileOfRow(*read));
    EXPECT_EQ(rows(), QStringList("1|c|"));
    // Another program writes the row anew.
    add(99, id, "a", "moved");
    EXPECT_TRUE(DB.SetCachedFileOfRow(*read, "/f"));
    EXPECT_EQ(rows(), QStringList({"1|a|/f", "1|c|"}));
    // A file that was found is also recorded for other feeds' rows, as long as the row has the same audio as they.
    Other.Run("DELETE FROM PodcastEpisodes");
    add(read->RowID, id, "a", "moved");
    add(99, other, "x", read->Fields[pefURI]);
    EXPECT_TRUE(DB.SetFoundFileOfRow(*read, "/f"));
    EXPECT_EQ(rows(), QStringList({"1|a|/f", "2|x|"}));
    EXPECT_FALSE(DB.SetFoundFileOfRow(*read, "/g")) << "another file was recorded since the row was read";
    Other.Run("UPDATE PodcastEpisodes SET URI = '" + read->Fields[pefURI].toUtf8() + "', URLAudioCached = ''");
    EXPECT_TRUE(DB.SetFoundFileOfRow(*read, "/g"));
    EXPECT_EQ(rows(), QStringList({"1|a|/g", "2|x|/g"}));
}

TEST_F(Database, RecordsOfFilesThatAreGoneAreBlankedAndOthersStay) {
    const int id = Store(kFeed, "abcd");
    const QString there = Folder.File("it's.mp3");
    WriteWhole(there, "x");
    DB.SetCachedFile(MakeEpisodeKey(id, "a"), there);
    DB.SetCachedFile(MakeEpisodeKey(id, "b"), there + u"'gone");
    DB.SetCachedFile(MakeEpisodeKey(id, "c"), Folder.Path());
    Other.Run("UPDATE PodcastEpisodes SET URLAudioCached = NULL WHERE GUID = 'd'");
    EXPECT_EQ(DB.ResetMissingCachedFiles(), 2);
    EXPECT_EQ(Rows("SELECT URLAudioCached FROM PodcastEpisodes ORDER BY GUID"), QStringList({there, "", "", ""}));
}

}  // namespace
}  // namespace podcasts
