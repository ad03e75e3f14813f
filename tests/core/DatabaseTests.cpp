#include "PlainSqlite.h"
#include "Podcasts.Core.DB.h"
#include "TempFolder.h"
#include "Texts.h"

#include <gtest/gtest.h>

#include <functional>

using namespace Qt::StringLiterals;

namespace podcasts {
namespace {

const QString kFeed = "http://h/feed.xml";

TPodcastEpisode& AddEpisode(TPodcastFeed& feed, const QString& guid, const QString& audio, double date = 0) {
    TPodcastEpisode& episode = feed.NewEpisode();
    episode.Fields[pefGUID] = guid;
    episode.Fields[pefTitle] = "title of " + guid;
    episode.Fields[pefURLAudio] = audio;
    episode.PublishDate = date;
    return episode;
}

class Database : public testing::Test {
protected:
    /// Stores a feed with one episode for each letter of `guids`, each a day younger than the one before; gives its ID.
    int Store(const QString& address, const QString& guids, const QString& title = "Feed") {
        TPodcastFeed feed;
        feed.Fields[pffURLFeed] = address;
        feed.Fields[pffTitle] = title;
        double date = 45000;
        for (const QChar guid : guids) AddEpisode(feed, guid, address + u'/' + guid + u".mp3", ++date);
        DB.AddOrUpdate(feed);
        return feed.ID;
    }
    QStringList Rows(const QByteArray& sql) { return Other.Rows(sql); }
    QStringList RowIDs() { return Rows("SELECT rowid FROM PodcastEpisodes ORDER BY GUID"); }
    QStringList NewEpisodes() {
        QStringList uris;
        DB.EnumNewEpisodes([&](const QString& uri) { uris += uri; });
        return uris;
    }
    QStringList CachedFiles(const QStringList& keys) {
        QStringList files;
        DB.EnumCachedFiles(keys, [&](const QString& file) { files += file; });
        return files;
    }

    tests::TempFolder Folder;
    const QString File = Folder.File("Podcasts.db");
    TPodcastsDB DB{File};
    PlainSqlite Other{File};
};

TEST_F(Database, WhatIsStoredComesBackInEveryFieldWhateverTheTextHolds) {
    const QString texts[] = {"plain",
                             "it's \"quoted\"; DROP TABLE PodcastFeeds; --",
                             u"a\u0000b"_s,
                             u"a\u0001b"_s,
                             u"a\xD800"_s + u"b\xDC00"_s,
                             u"\U0001F399 Ж\u0301\r\n\t%_"_s,
                             u"a"_s.repeated(100000),
                             ""};
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
        const auto byGUID = DB.GetEpisode(MakeEpisodeKey(feed.ID, episode.Fields[pefGUID]));
        const auto byURI = DB.GetEpisode(episode.Fields[pefURI]);
        for (const TPodcastEpisode* read : {&stored->Episodes(0), byGUID.get(), byURI.get()}) {
            ASSERT_TRUE(read);
            EXPECT_EQ(read->Fields, episode.Fields);
            EXPECT_EQ(read->FeedID, feed.ID);
            EXPECT_EQ(read->Duration, episode.Duration);
            EXPECT_EQ(read->PublishDate, episode.PublishDate);
            EXPECT_EQ(read->State, pesPostponed);
        }
        DB.SetCachedFile(MakeEpisodeKey(feed.ID, episode.Fields[pefGUID]), text);
        DB.UpdateState({episode.Fields[pefURI]}, pesListened);
        EXPECT_EQ(DB.GetEpisode(episode.Fields[pefURI])->Fields[pefURLAudioCached], text);
        EXPECT_EQ(DB.GetEpisode(episode.Fields[pefURI])->State, pesListened);
        int count = 0;
        DB.EnumFeeds(feed.Fields[pffCategory], [&](const QString& address, const QString& name, int) {
            EXPECT_EQ(address + name, feed.Fields[pffURLFeed] + feed.Fields[pffTitle]);
            ++count;
        });
        EXPECT_EQ(count, 1);
    }
}

TEST_F(Database, StoringTheSameAgainWritesNothing) {
    const int id = Store(kFeed, "abc");
    const QStringList rows = RowIDs();
    const QString version = Other.DataVersion();
    EXPECT_EQ(Store(kFeed, "abc"), id);
    EXPECT_EQ(Other.DataVersion(), version);
    EXPECT_EQ(RowIDs(), rows);
}

TEST_F(Database, AChangedValueRewritesItsOwnRowOnly) {
    const std::function<void(TPodcastEpisode&)> changes[] = {
        [](auto& e) { e.Fields[pefArtist] = "x"; },
        [](auto& e) { e.Fields[pefDescription] = "x"; },
        [](auto& e) { e.Fields[pefGUID] = "b2"; },
        [](auto& e) { e.Fields[pefTitle] = "Title of b2"; },
        [](auto& e) { e.Fields[pefURL] = "x"; },
        [](auto& e) { e.Fields[pefURLAudio].replace("http:", "https:"); },
        [](auto& e) { e.Fields[pefURLAudioCached] = "/x"; },
        [](auto& e) { e.PublishDate += 1e-9; },
        [](auto& e) { e.Duration = 1.5F; },
        [](auto& e) { e.State = pesListened; },
    };
    const int id = Store(kFeed, "abc");
    for (const auto& change : changes) {
        const auto feed = DB.GetFeed(id, true);
        const QStringList before = RowIDs();
        TPodcastEpisode* episode = nullptr;
        for (const auto& each : feed->Episodes())
            if (each->Fields[pefGUID].startsWith(u'b')) episode = each.get();
        ASSERT_TRUE(episode);
        change(*episode);
        DB.AddOrUpdate(*feed);
        const QStringList after = RowIDs();
        ASSERT_EQ(after.size(), 3);
        EXPECT_EQ(after[0], before[0]);
        EXPECT_NE(after[1], before[1]);
        EXPECT_EQ(after[2], before[2]);
        const auto stored = DB.GetEpisode(MakeEpisodeKey(id, episode->Fields[pefGUID]));
        ASSERT_TRUE(stored);
        EXPECT_EQ(stored->Fields, episode->Fields);
        EXPECT_EQ(stored->PublishDate, episode->PublishDate);
        EXPECT_EQ(stored->Duration, episode->Duration);
        EXPECT_EQ(stored->State, episode->State);
    }
}

TEST_F(Database, ARowThatHoldsNullIsRewritten) {
    Store(kFeed, "ab");
    Other.Run(
        "UPDATE PodcastEpisodes SET Format = NULL WHERE GUID = 'a'; UPDATE PodcastEpisodes SET Artist = NULL WHERE "
        "GUID = 'b'");
    Store(kFeed, "ab");
    EXPECT_EQ(Rows("SELECT Artist, Format FROM PodcastEpisodes"), QStringList({"|MP3", "|MP3"}));
}

TEST_F(Database, AChangedFeedKeepsItsIdAndLoginAndItsOldEpisodes) {
    const int id = Store(kFeed, "ab");
    Other.Run("UPDATE PodcastFeeds SET AuthLogin = 'me', AuthPassword = 'secret'");
    EXPECT_EQ(Store(kFeed, "c", "Renamed"), id);
    EXPECT_EQ(Rows("SELECT FeedID, Name, AuthLogin, AuthPassword FROM PodcastFeeds"),
              QStringList(u"%1|Renamed|me|secret"_s.arg(id)));
    EXPECT_EQ(DB.GetEpisodeCount(id), 3);
}

TEST_F(Database, AnAudioAddressThatChangesGivesASecondRowOfTheGuid) {
    const int id = Store(kFeed, "ab");
    TPodcastFeed feed;
    feed.Fields[pffURLFeed] = kFeed;
    AddEpisode(feed, "a", "http://h/new.mp3").State = pesPostponed;
    DB.AddOrUpdate(feed);
    EXPECT_EQ(DB.CountEpisodes(MakeEpisodeKey(id, "a")), 2);
    EXPECT_EQ(DB.GetEpisode(MakeEpisodeKey(id, "a"))->Fields[pefURLAudio], "http://h/new.mp3");
    const TPodcastStoredEpisodes stored = DB.LoadStoredEpisodes(id);
    // The row of the address asked for, else the one written last.
    ASSERT_TRUE(stored.Find("a", "podcast://h/feed.xml/a.mp3"));
    EXPECT_EQ(stored.Find("a", "podcast://h/feed.xml/a.mp3")->State, pesNew);
    EXPECT_EQ(stored.Find("a", "podcast://h/third.mp3")->State, pesPostponed);
    EXPECT_EQ(stored.Find("A", "podcast://h/new.mp3"), nullptr);
    EXPECT_EQ(stored.FindURI("podcast://h/third.mp3"), nullptr);
}

TEST_F(Database, EpisodesWithoutAudioShareOneRowAndTheLastOfThemIsKept) {
    TPodcastFeed feed;
    feed.Fields[pffURLFeed] = kFeed;
    for (const QString& guid : QStringList{"a", "b", "c"}) AddEpisode(feed, guid, QString());
    DB.AddOrUpdate(feed);
    EXPECT_EQ(Rows("SELECT URI, GUID FROM PodcastEpisodes"), QStringList("|c"));
    const QString version = Other.DataVersion();
    DB.AddOrUpdate(feed);
    EXPECT_EQ(Other.DataVersion(), version);
}

TEST_F(Database, AStoreThatFailsLeavesNothingBehind) {
    Other.Run(
        "CREATE TRIGGER Refuse BEFORE INSERT ON PodcastEpisodes WHEN NEW.GUID = 'c' BEGIN SELECT RAISE(ABORT, 'no c'); "
        "END");
    EXPECT_THROW(Store(kFeed, "abc"), vexa::SqliteError);
    EXPECT_EQ(DB.GetFeedID(kFeed), -1);
    EXPECT_EQ(RowIDs(), QStringList());
    const int id = Store(kFeed, "ab", "Feed");
    DB.RunInTransaction([&] {
        EXPECT_THROW(Store(kFeed, "dec", "Renamed"), vexa::SqliteError);
        DB.UpdateState({MakeEpisodeKey(id, "a")}, pesPostponed);  // the outer transaction goes on
    });
    EXPECT_EQ(Rows("SELECT GUID, State FROM PodcastEpisodes"), QStringList({"a|2", "b|1"}));
    EXPECT_EQ(DB.GetFeed(id, false)->Fields[pffTitle], "Feed");
    Other.Run(
        "CREATE TRIGGER Keep BEFORE UPDATE ON PodcastEpisodes WHEN NEW.GUID = 'b' BEGIN SELECT RAISE(ABORT, 'no b'); "
        "END");
    EXPECT_THROW(DB.UpdateState({MakeEpisodeKey(id, "a"), MakeEpisodeKey(id, "b")}, pesListened), vexa::SqliteError);
    EXPECT_EQ(DB.GetEpisode(MakeEpisodeKey(id, "a"))->State, pesPostponed);
}

TEST_F(Database, WhatIsNotThereIsNotFoundAndNothingIsDone) {
    Store(kFeed, "a");
    const QString version = Other.DataVersion();
    EXPECT_LE(DB.GetFeedID("HTTP://h/feed.xml"), 0);
    for (const int id : {-1, 0, 99}) {
        EXPECT_FALSE(DB.GetFeed(id, true));
        QByteArray logo = "kept";
        EXPECT_FALSE(DB.GetFeedLogo(id, logo));
        EXPECT_EQ(logo, "kept");
        DB.Remove(id);
    }
    EXPECT_FALSE(DB.GetFeed("http://no/", false));
    DB.Remove("http://no/");
    for (const QString& key : QStringList{"", "podcast://H/feed.xml/a.mp3", MakeEpisodeKey(1, "A"),
                                          MakeEpisodeKey(2, "a"), u"\u0001"_s, u"\u0001x\u0001a"_s}) {
        EXPECT_FALSE(DB.GetEpisode(key));
        EXPECT_EQ(DB.CountEpisodes(key), 0);
        DB.UpdateState({key}, pesListened);
        DB.SetCachedFile(key, "/x");
    }
    DB.UpdateState({}, pesListened);
    EXPECT_EQ(CachedFiles({}), QStringList());
    EXPECT_EQ(CachedFiles({MakeEpisodeKey(1, "a")}), QStringList());
    EXPECT_EQ(DB.ResetMissingCachedFiles(), 0);
    EXPECT_EQ(Rows("SELECT State, URLAudioCached FROM PodcastEpisodes"), QStringList("1|"));
    EXPECT_EQ(Other.DataVersion(), version);
}

TEST_F(Database, ListsOfThousandsOfKeysOfBothFormsAreTaken) {
    TPodcastFeed feed;
    feed.Fields[pffURLFeed] = kFeed;
    QStringList keys, files;
    for (int i = 0; i < 2000; ++i) {
        const QString name = QString::number(i);
        files += "/f/" + name;
        AddEpisode(feed, name, "http://h/" + name).Fields[pefURLAudioCached] = files.last();
        keys += i % 2 ? QString("podcast://h/" + name) : MakeEpisodeKey(1, name);
    }
    DB.AddOrUpdate(feed);
    ASSERT_EQ(feed.ID, 1);
    keys += keys;  // named twice, visited once
    QStringList visited = CachedFiles(keys);
    visited.sort();
    files.sort();
    EXPECT_EQ(visited, files);
    DB.UpdateState(keys, pesPostponed);
    EXPECT_EQ(Rows("SELECT State, Count(*) FROM PodcastEpisodes GROUP BY State"), QStringList("2|2000"));
    EXPECT_EQ(DB.ResetMissingCachedFiles(), 2000);
}

TEST_F(Database, EpisodesAreCountedByStateForOneFeedAndForAll) {
    const int one = Store(kFeed, "abc"), two = Store("http://h/2", "abcd");
    DB.UpdateState({MakeEpisodeKey(one, "a"), MakeEpisodeKey(two, "a")}, pesPostponed);
    DB.UpdateState({MakeEpisodeKey(two, "b")}, pesListened);
    struct {
        QString Address;
        int ID, New, Postponed;
    } const cases[] = {{"", 0, 4, 2}, {kFeed, one, 2, 1}, {"http://h/2", two, 2, 1}};
    for (const auto& [address, id, newCount, postponed] : cases) {
        int byID[2], byAddress[2];
        EXPECT_TRUE(DB.GetEpisodeCounts(id, byID[0], byID[1]));
        EXPECT_TRUE(DB.GetEpisodeCounts(address, byAddress[0], byAddress[1]));
        for (const auto& counts : {byID, byAddress})
            EXPECT_EQ(std::pair(counts[0], counts[1]), std::pair(newCount, postponed));
    }
    int unused = 0;
    for (const int id : {-1, 99}) EXPECT_FALSE(DB.GetEpisodeCounts(id, unused, unused));
    EXPECT_FALSE(DB.GetEpisodeCounts("http://no/", unused, unused));
    // A row without URI, as only another program writes one, is not counted.
    Other.Run("UPDATE PodcastEpisodes SET URI = NULL WHERE GUID = 'c' AND FeedID = 1");
    int newCount = 0;
    EXPECT_TRUE(DB.GetEpisodeCounts(0, newCount, unused));
    EXPECT_EQ(newCount, 3);
}

TEST_F(Database, FeedsComeByNameAsPeopleSortThem) {
    Store("4", "", "Zebra");
    const int second = Store("2", "abc", "Äpfel");
    Store("3", "d", "bananas");
    Store("1", "", "apes");
    DB.UpdateState({MakeEpisodeKey(second, "a")}, pesPostponed);
    DB.UpdateState({MakeEpisodeKey(second, "b")}, pesListened);
    QStringList all, withNew, summaries, science;
    DB.EnumFeeds([&](const QString& address, const QString& name, int count) {
        all += address + name + QString::number(count);
    });
    EXPECT_EQ(all, QStringList({"1apes0", "2Äpfel0", "3bananas0", "4Zebra0"}));
    DB.EnumFeedsWithState(pesNew, [&](const QString& address, const QString&, int count) {
        withNew += address + QString::number(count);
    });
    EXPECT_EQ(withNew, QStringList({"21", "31"}));
    DB.EnumFeedSummaries([&](int, const QString& address, const QString&, int newCount, int postponed, int episodes) {
        summaries += u"%1:%2/%3/%4"_s.arg(address).arg(newCount).arg(postponed).arg(episodes);
    });
    EXPECT_EQ(summaries, QStringList({"1:0/0/0", "2:1/1/3", "3:1/0/1", "4:0/0/0"}));
    DB.EnumFeeds("Science", [&](const QString& address, const QString&, int) { science += address; });
    EXPECT_EQ(science, QStringList());
}

TEST_F(Database, NewEpisodesWithoutFileComeNewestFirst) {
    const int id = Store(kFeed, "abcde");
    DB.UpdateState({MakeEpisodeKey(id, "b")}, pesListened);
    DB.SetCachedFile(MakeEpisodeKey(id, "d"), "/d.mp3");
    Other.Run("UPDATE PodcastEpisodes SET URLAudioCached = NULL WHERE GUID = 'a'");
    EXPECT_EQ(NewEpisodes(),
              QStringList({"podcast://h/feed.xml/e.mp3", "podcast://h/feed.xml/c.mp3", "podcast://h/feed.xml/a.mp3"}));
}

TEST_F(Database, EpisodesAreFilteredSearchedAndPaged) {
    const int id = Store(kFeed, "abc", "Привет");
    Store("http://h/2", "d%_", "Two");
    DB.UpdateState({MakeEpisodeKey(id, "b")}, pesPostponed);
    const std::pair<TPodcastEpisodeFilter, QString> cases[] = {
        {{}, "_c%bda"},  // of two with one date the row written later comes first
        {{.FeedID = id, .Search = {}}, "cba"},
        {{.State = pesPostponed, .Search = {}}, "b"},
        {{.FeedID = id, .State = pesListened, .Search = {}}, ""},
        {{.Search = "ПРИ"}, "cba"},
        {{.Search = "TITLE OF D"}, "d"},
        {{.Search = "%"}, "%"},
        {{.Search = "_"}, "_"},
        {{.Search = "'"}, ""},
        {{.Search = {}, .Limit = 2, .Offset = 1}, "c%"},
        {{.Search = {}, .Limit = 0}, ""},
        {{.Search = {}, .Offset = 99}, ""},
    };
    for (const auto& [filter, guids] : cases) {
        QString visited;
        DB.EnumEpisodes(filter,
                        [&](const TPodcastEpisode& episode, const QString&) { visited += episode.Fields[pefGUID]; });
        EXPECT_EQ(visited, guids) << filter.Search.toStdString();
    }
}

TEST_F(Database, ARemovedFeedTakesItsEpisodesAndLogosAlong) {
    const int one = Store(kFeed, "ab"), two = Store("http://h/2", "a");
    for (const int id : {one, one, two}) DB.SetFeedLogo(id, "logo", 4);
    DB.Remove(kFeed);
    for (const char* sql :
         {"SELECT FeedID FROM PodcastFeeds", "SELECT FeedID FROM PodcastEpisodes", "SELECT ID FROM PodcastFeedLogos"})
        EXPECT_EQ(Rows(sql), QStringList(QString::number(two)));
}

TEST_F(Database, ALogoComesBackByteForByteAndAnEmptyOneIsNone) {
    const QByteArray bytes("\x89PNG\0'\xFF", 7);
    DB.SetFeedLogo(5, bytes.constData(), static_cast<std::size_t>(bytes.size()));
    DB.SetFeedLogo(6, "", 0);
    QByteArray read;
    EXPECT_TRUE(DB.GetFeedLogo(5, read));
    EXPECT_EQ(read, bytes);
    EXPECT_FALSE(DB.GetFeedLogo(6, read));
}

TEST_F(Database, AFeedMovesOnlyToAnAddressThatIsFree) {
    struct {
        QString Old, New;
        bool Moves;
    } const cases[] = {{"http://1", "", false},         {"http://1", "http://1", false},
                       {"http://1", "http://2", false}, {"http://no", "http://3", false},
                       {"http://1", "HTTP://1", true},  {"HTTP://1", "http://4", true}};
    const int one = Store("http://1", "a"), two = Store("http://2", "");
    for (const auto& [from, to, moves] : cases) {
        const int before = DB.GetFeedID(to);
        DB.ChangeFeedURL(from, to);
        EXPECT_EQ(DB.GetFeedID(to), moves ? one : before) << from.toStdString();
    }
    EXPECT_EQ(DB.GetFeedID("http://2"), two);
    EXPECT_EQ(DB.GetEpisodeCount(one), 1);
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

TEST_F(Database, AFileBelongsToTheEpisodesOfItsUriOrGuid) {
    const int one = Store(kFeed, "ab");
    DB.SetCachedFile(MakeEpisodeKey(one, "a"), "/f");
    struct {
        int FeedID;
        QString GUID, URI;
        bool IsOfAnother;
    } const cases[] = {{one, "a", "podcast://h/feed.xml/a.mp3", false},
                       {one, "b", "podcast://h/feed.xml/b.mp3", true},
                       {one, "a", "podcast://moved", false},
                       {99, "a", "podcast://other", true},
                       {99, "x", "podcast://h/feed.xml/a.mp3", false}};
    for (const auto& [feedID, guid, uri, isOfAnother] : cases) {
        TPodcastEpisode episode;
        episode.FeedID = feedID;
        episode.Fields[pefGUID] = guid;
        episode.Fields[pefURI] = uri;
        EXPECT_EQ(DB.IsFileOfAnother("/f", episode), isOfAnother) << uri.toStdString();
        EXPECT_FALSE(DB.IsFileOfAnother("", episode));
    }
}

}  // namespace
}  // namespace podcasts
