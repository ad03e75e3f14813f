#include "PlainSqlite.h"
#include "Podcasts.Core.DB.h"
#include "TempFolder.h"
#include "Texts.h"

#include <gtest/gtest.h>

#include <barrier>
#include <thread>

namespace podcasts {
namespace {

class DatabaseLayout : public testing::Test {
protected:
    void Open() { TPodcastsDB db(File); }
    QStringList Rows(const QByteArray& sql) { return PlainSqlite(File).Rows(sql); }

    tests::TempFolder Folder;
    const QString File = Folder.File("Podcasts.db");
};

TEST_F(DatabaseLayout, AFreshFileHasTheTablesThatOtherProgramsKnow) {
    Open();
    PlainSqlite plain(File);
    EXPECT_EQ(
        plain.Rows("SELECT m.name, group_concat(c.name || ' ' || c.type, ', ') FROM sqlite_master m, "
                   "pragma_table_info(m.name) c WHERE m.name GLOB 'Podcast*' GROUP BY m.name"),
        QStringList(
            {"PodcastEpisodeNames|ID INTEGER, Name INTEGER, Episode INTEGER, FeedID INTEGER, GUIDCheck INTEGER",
             "PodcastEpisodes|URI TEXT, FeedID INTEGER, GUID TEXT, Title TEXT, Description TEXT, Artist TEXT, "
             "URL TEXT, URLAudio TEXT, URLAudioCached TEXT, PublishDate DOUBLE, Duration DOUBLE, State INTEGER, "
             "Format TEXT",
             "PodcastFeedAddresses|URLFeed TEXT, FeedID INTEGER",
             "PodcastFeedDocuments|FeedID INTEGER, URLFeed TEXT, Address TEXT, Charset TEXT, ETag TEXT, "
             "LastModified TEXT, Digest TEXT, WantedAddress TEXT, Rules INTEGER, EpisodeCount INTEGER, LastRow INTEGER",
             "PodcastFeedLogoLooks|FeedID INTEGER, URLLogo TEXT, LookedAt INTEGER, Outcome INTEGER",
             "PodcastFeedLogos|ID INTEGER, Data BLOB", "PodcastFeedOptions|FeedID INTEGER, Name TEXT, Value TEXT",
             "PodcastFeeds|FeedID INTEGER, Name TEXT, Category TEXT, Copyright TEXT, Description TEXT, Language TEXT, "
             "AuthLogin TEXT, AuthPassword TEXT, Author TEXT, URL TEXT, URLFeed TEXT, URLLogo TEXT",
             "PodcastListenedFiles|FileName TEXT, NotedAt INTEGER", "PodcastQueue|Place INTEGER, EpisodeKey TEXT"}));
    // A feed has one row per address, and a feed's ID is never reused.
    for (const char* row : {"('u', 1, 'a')", "('u', 2, 'b')", "('u', 1, 'c')"})
        plain.Run(QByteArray("INSERT INTO PodcastEpisodes (URI, FeedID, GUID) VALUES ") + row);
    EXPECT_EQ(plain.Rows("SELECT GUID FROM PodcastEpisodes ORDER BY GUID"), QStringList({"b", "c"}));
    plain.Run(
        "INSERT INTO PodcastFeeds (Name) VALUES ('x'); DELETE FROM PodcastFeeds;"
        "INSERT INTO PodcastFeeds (Name) VALUES ('y')");
    EXPECT_EQ(plain.Rows("SELECT FeedID FROM PodcastFeeds"), QStringList("2"));
}

TEST_F(DatabaseLayout, TheFirstLayoutIsUpgradedRowByRowToWhatAFreshFileHas) {
    PlainSqlite plain(File);
    plain.Run(kFirstLayout);
    // Where several addresses of a feed give the same URI, one row is left.
    plain.Run(
        "INSERT INTO PodcastEpisodes VALUES "
        "(3, 'g1', 'T', 'D', 'A', 'http://h/1', 'http://h/time.mp3', '/f', 45000.5, 60, 2), "
        "(3, 'g2', NULL, NULL, NULL, NULL, 'a.ogg', NULL, NULL, NULL, NULL);"
        "INSERT INTO PodcastEpisodes (FeedID, ID, URLAudio) VALUES (1, 'a', 'http://h/1.mp3'), "
        "(1, 'b', 'https://h/1.mp3'), (2, 'c', 'ftp://h/1.mp3'), (1, 'd', 'http://h/2.mp3'), "
        "(1, 'e', 'http://h/2.mp3'), (1, 'f', NULL), (1, 'g', '');");
    Open();
    EXPECT_EQ(
        plain.Rows("SELECT URI, FeedID, GUID, Title, Description, Artist, URL, URLAudio, URLAudioCached, "
                   "PublishDate, Duration, State, Format FROM PodcastEpisodes WHERE FeedID = 3 ORDER BY URI DESC"),
        QStringList({"podcast://h/time.mp3|3|g1|T|D|A|http://h/1|http://h/time.mp3|/f|45000.5|60.0|2|MP3",
                     "a.ogg|3|g2|NULL|NULL|NULL|NULL|a.ogg|NULL|NULL|NULL|NULL|OGG"}));
    EXPECT_EQ(plain.Rows("SELECT URI, FeedID FROM PodcastEpisodes WHERE FeedID < 3 ORDER BY URI, FeedID"),
              QStringList({"|1", "podcast://h/1.mp3|1", "podcast://h/1.mp3|2", "podcast://h/2.mp3|1"}));
    const QString fresh = Folder.File("Fresh.db");
    { TPodcastsDB db(fresh); }
    constexpr char objects[] =
        "SELECT type, name, tbl_name FROM sqlite_master WHERE name <> 'sqlite_sequence' ORDER BY name";
    EXPECT_EQ(plain.Rows(objects), PlainSqlite(fresh).Rows(objects));
    EXPECT_EQ(plain.Rows("PRAGMA integrity_check"), QStringList("ok"));
    const QString version = plain.DataVersion();
    Open();
    EXPECT_EQ(plain.DataVersion(), version);
}

TEST_F(DatabaseLayout, MissingPartsOfAnOlderLayoutAreAdded) {
    // One version's columns and indexes are what the version before it lacks, today's included.
    const auto add = [&] {
        TPodcastsDB db(File);
        TPodcastFeed feed;
        feed.Fields[pffURLFeed] = "http://h/f";
        auto& episode = feed.NewEpisode();
        for (int i = 0; i < kEpisodeFieldCount; ++i) episode.Fields[i] = QString::number(i);
        episode.Fields[pefURI] = episode.Fields[pefURLAudio];
        db.AddOrUpdate(feed);
        const auto stored = db.GetFeed("http://h/f", true);
        ASSERT_TRUE(stored);
        EXPECT_EQ(stored->Episodes(0).Fields, episode.Fields);
    };
    constexpr char columns[] =
        "SELECT m.name || '.' || c.name FROM sqlite_master m, pragma_table_info(m.name) c WHERE m.name GLOB 'Podcast*' "
        "AND m.type = 'table' ORDER BY 1";
    constexpr char indexes[] = "SELECT name FROM sqlite_master WHERE type = 'index' AND sql IS NOT NULL ORDER BY 1";
    add();
    const QStringList allColumns = Rows(columns), allIndexes = Rows(indexes);
    QStringList keys;
    for (const QString& column : allColumns) {
        if (column == "PodcastEpisodes.GUID") continue;  // without it the layout is the first one
        SCOPED_TRACE(column.toStdString());
        for (const QString& index : Rows(indexes)) Rows("DROP INDEX " + index.toUtf8());
        const QString drop = "ALTER TABLE " + QString(column).replace(".", " DROP COLUMN ");
        if (ErrorOf([&] { Rows(drop.toUtf8()); }) != "") {
            keys += column;
            continue;
        }
        if (column == "PodcastEpisodes.Format") {
            Open();
            EXPECT_EQ(Rows("SELECT Format FROM PodcastEpisodes"), QStringList("NULL")) << "it is not derived";
        }
        add();
        EXPECT_EQ(Rows(columns), allColumns);
        EXPECT_EQ(Rows(indexes), allIndexes);
    }
    EXPECT_EQ(keys.size(), 12) << "only keys cannot be dropped: " << keys.join(' ').toStdString();
    Rows("DROP TABLE PodcastFeedLogos");
    add();
    EXPECT_EQ(Rows(columns), allColumns);
}

TEST_F(DatabaseLayout, ANewerLayoutIsRefusedAndNotChanged) {
    for (const QByteArray table : {"PodcastEpisodes", "PodcastFeeds", "PodcastFeedLogos"}) {
        QFile::remove(File);
        Open();
        PlainSqlite(File).Run("PRAGMA journal_mode=DELETE; ALTER TABLE " + table + " ADD COLUMN Chapters TEXT");
        const QByteArray before = ReadWhole(File);
        const QString error = ErrorOf([&] { Open(); });
        EXPECT_TRUE(error.contains(u"newer version") && error.contains(QString(table) + u".Chapters"))
            << error.toStdString();
        EXPECT_EQ(ReadWhole(File), before);
    }
    WriteWhole(File, QByteArray(4096, 'x'));
    const QString error = ErrorOf([&] { Open(); });
    EXPECT_TRUE(error.endsWith(u"; move the file away, or name another profile folder")) << error.toStdString();
}

TEST_F(DatabaseLayout, ManyOpenANewOrAnOldFileAtOnce) {
    for (int round = 0; round < 16; ++round) {
        for (const QString& suffix : QStringList{"", "-wal", "-shm"}) QFile::remove(File + suffix);
        if (round % 2)
            PlainSqlite(File).Run(QByteArray(kFirstLayout) +
                                  "INSERT INTO PodcastEpisodes (ID, URLAudio) VALUES ('a', 'http://h/1.mp3')");
        std::vector<std::thread> threads;
        std::barrier start(8);
        for (int i = 0; i < 8; ++i)
            threads.emplace_back([&] {
                start.arrive_and_wait();
                EXPECT_EQ(ErrorOf([&] { Open(); }), "");
            });
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(Rows("SELECT GUID FROM PodcastEpisodes").size(), round % 2);
    }
}

}  // namespace
}  // namespace podcasts
