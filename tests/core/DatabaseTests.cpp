#include "PlainSqlite.h"
#include "Podcasts.Core.DB.h"
#include "TempFolder.h"
#include "Texts.h"

#include <gtest/gtest.h>

#include <functional>

using namespace Qt::StringLiterals;

namespace podcasts {
namespace {

const QString kFeed = u"http://h/feed.xml"_s;

TPodcastEpisode& AddEpisode(TPodcastFeed& feed, const QString& guid, const QString& audio, double date = 0) {
    TPodcastEpisode& episode = feed.NewEpisode();
    episode.Fields[pefGUID] = guid;
    episode.Fields[pefTitle] = u"title of "_s + guid;
    episode.Fields[pefURLAudio] = audio;
    episode.PublishDate = date;
    return episode;
}

class Database : public testing::Test {
protected:
    /// Stores a feed with one episode for each letter of `guids`, each a day younger than the one before; gives its ID.
    int Store(const QString& address, const QString& guids, const QString& title = u"Feed"_s) {
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

    TempFolder Folder;
    const QString File = Folder.File(u"Podcasts.db"_s);
    TPodcastsDB DB{File};
    PlainSqlite Other{File};
};

TEST_F(Database, WhatIsStoredComesBackInEveryFieldWhateverTheTextHolds) {
    const QString texts[] = {u"plain"_s,
                             u"it's \"quoted\"; DROP TABLE PodcastFeeds; --"_s,
                             u"a\u0000b"_s,
                             u"a\u0001b"_s,
                             u"a\xD800"_s + u"b\xDC00"_s,
                             u"\U0001F399 Ж\u0301\r\n\t%_"_s,
                             u"a"_s.repeated(100000),
                             u""_s};
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
    const int id = Store(kFeed, u"abc"_s);
    const QStringList rows = RowIDs();
    const QString version = Other.DataVersion();
    EXPECT_EQ(Store(kFeed, u"abc"_s), id);
    EXPECT_EQ(Other.DataVersion(), version);
    EXPECT_EQ(RowIDs(), rows);
}

TEST_F(Database, AChangedValueRewritesItsOwnRowOnly) {
    const std::function<void(TPodcastEpisode&)> changes[] = {
        [](auto& e) { e.Fields[pefArtist] = u"x"_s; },
        [](auto& e) { e.Fields[pefDescription] = u"x"_s; },
        [](auto& e) { e.Fields[pefGUID] = u"b2"_s; },
        [](auto& e) { e.Fields[pefTitle] = u"Title of b2"_s; },
        [](auto& e) { e.Fields[pefURL] = u"x"_s; },
        [](auto& e) { e.Fields[pefURLAudio].replace(u"http:"_s, u"https:"_s); },
        [](auto& e) { e.Fields[pefURLAudioCached] = u"/x"_s; },
        [](auto& e) { e.PublishDate += 1e-9; },
        [](auto& e) { e.Duration = 1.5F; },
        [](auto& e) { e.State = pesListened; },
    };
    const int id = Store(kFeed, u"abc"_s);
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
    Store(kFeed, u"ab"_s);
    Other.Run(
        "UPDATE PodcastEpisodes SET Format = NULL WHERE GUID = 'a'; UPDATE PodcastEpisodes SET Artist = NULL WHERE GUID = 'b'");
    Store(kFeed, u"ab"_s);
    EXPECT_EQ(Rows("SELECT Artist, Format FROM PodcastEpisodes"), QStringList({u"|MP3"_s, u"|MP3"_s}));
}

TEST_F(Database, AChangedFeedKeepsItsIdAndLoginAndItsOldEpisodes) {
    const int id = Store(kFeed, u"ab"_s);
    Other.Run("UPDATE PodcastFeeds SET AuthLogin = 'me', AuthPassword = 'secret'");
    EXPECT_EQ(Store(kFeed, u"c"_s, u"Renamed"_s), id);
    EXPECT_EQ(Rows("SELECT FeedID, Name, AuthLogin, AuthPassword FROM PodcastFeeds"),
              QStringList(u"%1|Renamed|me|secret"_s.arg(id)));
    EXPECT_EQ(DB.GetEpisodeCount(id), 3);
}

TEST_F(Database, AnAudioAddressThatChangesGivesASecondRowOfTheGuid) {
    const int id = Store(kFeed, u"ab"_s);
    TPodcastFeed feed;
    feed.Fields[pffURLFeed] = kFeed;
    AddEpisode(feed, u"a"_s, u"http://h/new.mp3"_s).State = pesPostponed;
    DB.AddOrUpdate(feed);
    EXPECT_EQ(DB.CountEpisodes(MakeEpisodeKey(id, u"a"_s)), 2);
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
    for (const QString& guid : {u"a"_s, u"b"_s, u"c"_s}) AddEpisode(feed, guid, QString());
    DB.AddOrUpdate(feed);
    EXPECT_EQ(Rows("SELECT URI, GUID FROM PodcastEpisodes"), QStringList(u"|c"_s));
    const QString version = Other.DataVersion();
    DB.AddOrUpdate(feed);
    EXPECT_EQ(Other.DataVersion(), version);
}

TEST_F(Database, AStoreThatFailsLeavesNothingBehind) {
    Other.Run(
        "CREATE TRIGGER Refuse BEFORE INSERT ON PodcastEpisodes WHEN NEW.GUID = 'c' BEGIN SELECT RAISE(ABORT, 'no c'); "
        "END");
    EXPECT_THROW(Store(kFeed, u"abc"_s), vexa::SqliteError);
    EXPECT_EQ(DB.GetFeedID(kFeed), -1);
    EXPECT_EQ(RowIDs(), QStringList());
    const int id = Store(kFeed, u"ab"_s, u"Feed"_s);
    DB.RunInTransaction([&] {
        EXPECT_THROW(Store(kFeed, u"dec"_s, u"Renamed"_s), vexa::SqliteError);
        DB.UpdateState({MakeEpisodeKey(id, u"a"_s)}, pesPostponed);  // the outer transaction goes on
    });
    EXPECT_EQ(Rows("SELECT GUID, State FROM PodcastEpisodes"), QStringList({u"a|2"_s, u"b|1"_s}));
    EXPECT_EQ(DB.GetFeed(id, false)->Fields[pffTitle], u"Feed"_s);
    Other.Run(
        "CREATE TRIGGER Keep BEFORE UPDATE ON PodcastEpisodes WHEN NEW.GUID = 'b' BEGIN SELECT RAISE(ABORT, 'no b'); "
        "END");
    EXPECT_THROW(DB.UpdateState({MakeEpisodeKey(id, u"a"_s), MakeEpisodeKey(id, u"b"_s)}, pesListened),
                 vexa::SqliteError);
    EXPECT_EQ(DB.GetEpisode(MakeEpisodeKey(id, u"a"_s))->State, pesPostponed);
}

TEST_F(Database, WhatIsNotThereIsNotFoundAndNothingIsDone) {
    Store(kFeed, u"a"_s);
    const QString version = Other.DataVersion();
    EXPECT_LE(DB.GetFeedID(u"HTTP://h/feed.xml"_s), 0);
    for (const int id : {-1, 0, 99}) {
        EXPECT_FALSE(DB.GetFeed(id, true));
        QByteArray logo = "kept";
        EXPECT_FALSE(DB.GetFeedLogo(id, logo));
        EXPECT_EQ(logo, "kept");
        DB.Remove(id);
    }
    EXPECT_FALSE(DB.GetFeed(u"http://no/"_s, false));
    DB.Remove(u"http://no/"_s);
    for (const QString& key : {u""_s, u"podcast://H/feed.xml/a.mp3"_s, MakeEpisodeKey(1, u"A"_s),
                               MakeEpisodeKey(2, u"a"_s), u"\u0001"_s, u"\u0001x\u0001a"_s}) {
        EXPECT_FALSE(DB.GetEpisode(key));
        EXPECT_EQ(DB.CountEpisodes(key), 0);
        DB.UpdateState({key}, pesListened);
        DB.SetCachedFile(key, u"/x"_s);
    }
    DB.UpdateState({}, pesListened);
    EXPECT_EQ(CachedFiles({}), QStringList());
    EXPECT_EQ(CachedFiles({MakeEpisodeKey(1, u"a"_s)}), QStringList());
    EXPECT_EQ(DB.ResetMissingCachedFiles(), 0);
    EXPECT_EQ(Rows("SELECT State, URLAudioCached FROM PodcastEpisodes"), QStringList(u"1|"_s));
    EXPECT_EQ(Other.DataVersion(), version);
}

TEST_F(Database, ListsOfThousandsOfKeysOfBothFormsAreTaken) {
    TPodcastFeed feed;
    feed.Fields[pffURLFeed] = kFeed;
    QStringList keys, files;
    for (int i = 0; i < 2000; ++i) {
        const QString name = QString::number(i);
        files += u"/f/"_s + name;
        AddEpisode(feed, name, u"http://h/"_s + name).Fields[pefURLAudioCached] = files.last();
        keys += i % 2 ? u"podcast://h/"_s + name
                      : u"\u0001"
                        "1\u0001"_s +
                            name;
    }
    DB.AddOrUpdate(feed);
    ASSERT_EQ(feed.ID, 1);
    keys += keys;  // named twice, visited once
    QStringList visited = CachedFiles(keys);
    visited.sort();
    files.sort();
    EXPECT_EQ(visited, files);
    DB.UpdateState(keys, pesPostponed);
    EXPECT_EQ(Rows("SELECT State, Count(*) FROM PodcastEpisodes GROUP BY State"), QStringList(u"2|2000"_s));
    EXPECT_EQ(DB.ResetMissingCachedFiles(), 2000);
}

TEST_F(Database, EpisodesAreCountedByStateForOneFeedAndForAll) {
    const int one = Store(kFeed, u"abc"_s), two = Store(u"http://h/2"_s, u"abcd"_s);
    DB.UpdateState({MakeEpisodeKey(one, u"a"_s), MakeEpisodeKey(two, u"a"_s)}, pesPostponed);
    DB.UpdateState({MakeEpisodeKey(two, u"b"_s)}, pesListened);
    struct {
        QString Address;
        int ID, New, Postponed;
    } const cases[] = {{u""_s, 0, 4, 2}, {kFeed, one, 2, 1}, {u"http://h/2"_s, two, 2, 1}};
    for (const auto& [address, id, newCount, postponed] : cases) {
        int byID[2], byAddress[2];
        EXPECT_TRUE(DB.GetEpisodeCounts(id, byID[0], byID[1]));
        EXPECT_TRUE(DB.GetEpisodeCounts(address, byAddress[0], byAddress[1]));
        for (const auto& counts : {byID, byAddress})
            EXPECT_EQ(std::pair(counts[0], counts[1]), std::pair(newCount, postponed));
    }
    int unused = 0;
    for (const int id : {-1, 99}) EXPECT_FALSE(DB.GetEpisodeCounts(id, unused, unused));
    EXPECT_FALSE(DB.GetEpisodeCounts(u"http://no/"_s, unused, unused));
    // A row without URI, as only another program writes one, is not counted.
    Other.Run("UPDATE PodcastEpisodes SET URI = NULL WHERE GUID = 'c' AND FeedID = 1");
    int newCount = 0;
    EXPECT_TRUE(DB.GetEpisodeCounts(0, newCount, unused));
    EXPECT_EQ(newCount, 3);
}

TEST_F(Database, FeedsComeByNameAsPeopleSortThem) {
    Store(u"4"_s, u""_s, u"Zebra"_s);
    const int second = Store(u"2"_s, u"abc"_s, u"Äpfel"_s);
    Store(u"3"_s, u"d"_s, u"bananas"_s);
    Store(u"1"_s, u""_s, u"apes"_s);
    DB.UpdateState({MakeEpisodeKey(second, u"a"_s)}, pesPostponed);
    DB.UpdateState({MakeEpisodeKey(second, u"b"_s)}, pesListened);
    QStringList all, withNew, summaries, science;
    DB.EnumFeeds([&](const QString& address, const QString& name, int count) {
        all += address + name + QString::number(count);
    });
    EXPECT_EQ(all, QStringList({u"1apes0"_s, u"2Äpfel0"_s, u"3bananas0"_s, u"4Zebra0"_s}));
    DB.EnumFeedsWithState(pesNew, [&](const QString& address, const QString&, int count) {
        withNew += address + QString::number(count);
    });
    EXPECT_EQ(withNew, QStringList({u"21"_s, u"31"_s}));
    DB.EnumFeedSummaries([&](int, const QString& address, const QString&, int newCount, int postponed, int episodes) {
        summaries += u"%1:%2/%3/%4"_s.arg(address).arg(newCount).arg(postponed).arg(episodes);
    });
    EXPECT_EQ(summaries, QStringList({u"1:0/0/0"_s, u"2:1/1/3"_s, u"3:1/0/1"_s, u"4:0/0/0"_s}));
    DB.EnumFeeds(u"Science"_s, [&](const QString& address, const QString&, int) { science += address; });
    EXPECT_EQ(science, QStringList());
}

TEST_F(Database, NewEpisodesWithoutFileComeNewestFirst) {
    const int id = Store(kFeed, u"abcde"_s);
    DB.UpdateState({MakeEpisodeKey(id, u"b"_s)}, pesListened);
    DB.SetCachedFile(MakeEpisodeKey(id, u"d"_s), u"/d.mp3"_s);
    Other.Run("UPDATE PodcastEpisodes SET URLAudioCached = NULL WHERE GUID = 'a'");
    EXPECT_EQ(NewEpisodes(), QStringList({u"podcast://h/feed.xml/e.mp3"_s, u"podcast://h/feed.xml/c.mp3"_s,
                                          u"podcast://h/feed.xml/a.mp3"_s}));
}

TEST_F(Database, EpisodesAreFilteredSearchedAndPaged) {
    const int id = Store(kFeed, u"abc"_s, u"Привет"_s);
    Store(u"http://h/2"_s, u"d%_"_s, u"Two"_s);
    DB.UpdateState({MakeEpisodeKey(id, u"b"_s)}, pesPostponed);
    const std::pair<TPodcastEpisodeFilter, QString> cases[] = {
        {{}, u"_c%bda"_s},  // of two with one date the row written later comes first
        {{.FeedID = id, .Search = {}}, u"cba"_s},
        {{.State = pesPostponed, .Search = {}}, u"b"_s},
        {{.FeedID = id, .State = pesListened, .Search = {}}, u""_s},
        {{.Search = u"ПРИ"_s}, u"cba"_s},
        {{.Search = u"TITLE OF D"_s}, u"d"_s},
        {{.Search = u"%"_s}, u"%"_s},
        {{.Search = u"_"_s}, u"_"_s},
        {{.Search = u"'"_s}, u""_s},
        {{.Search = {}, .Limit = 2, .Offset = 1}, u"c%"_s},
        {{.Search = {}, .Limit = 0}, u""_s},
        {{.Search = {}, .Offset = 99}, u""_s},
    };
    for (const auto& [filter, guids] : cases) {
        QString visited;
        DB.EnumEpisodes(filter,
                        [&](const TPodcastEpisode& episode, const QString&) { visited += episode.Fields[pefGUID]; });
        EXPECT_EQ(visited, guids) << filter.Search.toStdString();
    }
}

TEST_F(Database, ARemovedFeedTakesItsEpisodesAndLogosAlong) {
    const int one = Store(kFeed, u"ab"_s), two = Store(u"http://h/2"_s, u"a"_s);
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
    } const cases[] = {{u"http://1"_s, u""_s, false},         {u"http://1"_s, u"http://1"_s, false},
                       {u"http://1"_s, u"http://2"_s, false}, {u"http://no"_s, u"http://3"_s, false},
                       {u"http://1"_s, u"HTTP://1"_s, true},  {u"HTTP://1"_s, u"http://4"_s, true}};
    const int one = Store(u"http://1"_s, u"a"_s), two = Store(u"http://2"_s, u""_s);
    for (const auto& [from, to, moves] : cases) {
        const int before = DB.GetFeedID(to);
        DB.ChangeFeedURL(from, to);
        EXPECT_EQ(DB.GetFeedID(to), moves ? one : before) << from.toStdString();
    }
    EXPECT_EQ(DB.GetFeedID(u"http://2"_s), two);
    EXPECT_EQ(DB.GetEpisodeCount(one), 1);
}

TEST_F(Database, RecordsOfFilesThatAreGoneAreBlankedAndOthersStay) {
    const int id = Store(kFeed, u"abcd"_s);
    const QString there = Folder.File(u"it's.mp3"_s);
    WriteWhole(there, "x");
    DB.SetCachedFile(MakeEpisodeKey(id, u"a"_s), there);
    DB.SetCachedFile(MakeEpisodeKey(id, u"b"_s), there + u"'gone");
    DB.SetCachedFile(MakeEpisodeKey(id, u"c"_s), Folder.Path());
    Other.Run("UPDATE PodcastEpisodes SET URLAudioCached = NULL WHERE GUID = 'd'");
    EXPECT_EQ(DB.ResetMissingCachedFiles(), 2);
    EXPECT_EQ(Rows("SELECT URLAudioCached FROM PodcastEpisodes ORDER BY GUID"),
              QStringList({there, u""_s, u""_s, u""_s}));
}

TEST_F(Database, AFileBelongsToTheEpisodesOfItsUriOrGuid) {
    const int one = Store(kFeed, u"ab"_s);
    DB.SetCachedFile(MakeEpisodeKey(one, u"a"_s), u"/f"_s);
    struct {
        int FeedID;
        QString GUID, URI;
        bool IsOfAnother;
    } const cases[] = {{one, u"a"_s, u"podcast://h/feed.xml/a.mp3"_s, false},
                       {one, u"b"_s, u"podcast://h/feed.xml/b.mp3"_s, true},
                       {one, u"a"_s, u"podcast://moved"_s, false},
                       {99, u"a"_s, u"podcast://other"_s, true},
                       {99, u"x"_s, u"podcast://h/feed.xml/a.mp3"_s, false}};
    for (const auto& [feedID, guid, uri, isOfAnother] : cases) {
        TPodcastEpisode episode;
        episode.FeedID = feedID;
        episode.Fields[pefGUID] = guid;
        episode.Fields[pefURI] = uri;
        EXPECT_EQ(DB.IsFileOfAnother(u"/f"_s, episode), isOfAnother) << uri.toStdString();
        EXPECT_FALSE(DB.IsFileOfAnother(u""_s, episode));
    }
}

}  // namespace
}  // namespace podcasts
