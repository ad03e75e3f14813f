#include "PlainSqlite.h"
#include "Podcasts.Core.DB.h"
#include "TempFolder.h"
#include "Texts.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <barrier>
#include <thread>

using namespace Qt::StringLiterals;

namespace podcasts {
namespace {

class DatabaseLayout : public testing::Test {
protected:
    /// Creates the file by plain SQLite, as an earlier version of the program left it.
    void Create(const QByteArray& sql) { PlainSqlite(File).Run(sql); }
    void Open() { TPodcastsDB db(File); }
    QStringList Rows(const QByteArray& sql) { return PlainSqlite(File).Rows(sql); }
    /// What opening the file throws; empty when it opens.
    std::string OpeningError() {
        try {
            Open();
            return {};
        } catch (const vexa::SqliteError& error) {
            return error.what();
        }
    }

    tests::TempFolder Folder;
    const QString File = Folder.File("Podcasts.db");
};

TEST_F(DatabaseLayout, AFreshFileHasTheThreeTables) {
    Open();
    const std::pair<const char*, QString> tables[] = {
        {"PodcastFeeds",
         u"FeedID INTEGER 1, Name TEXT 0, Category TEXT 0, Copyright TEXT 0, Description TEXT 0, "
         "Language TEXT 0, AuthLogin TEXT 0, AuthPassword TEXT 0, Author TEXT 0, URL TEXT 0, "
         "URLFeed TEXT 0, URLLogo TEXT 0"_s},
        {"PodcastEpisodes",
         u"URI TEXT 0, FeedID INTEGER 0, GUID TEXT 0, Title TEXT 0, Description TEXT 0, "
         "Artist TEXT 0, URL TEXT 0, URLAudio TEXT 0, URLAudioCached TEXT 0, PublishDate DOUBLE 0, "
         "Duration DOUBLE 0, State INTEGER 0, Format TEXT 0"_s},
        {"PodcastFeedLogos", "ID INTEGER 0, Data BLOB 0"},
    };
    for (const auto& [table, columns] : tables) {
        const QByteArray sql =
            QByteArray("SELECT name || ' ' || type || ' ' || pk FROM pragma_table_info('") + table + "')";
        EXPECT_EQ(Rows(sql).join(", "), columns);
    }
}

TEST_F(DatabaseLayout, OneAddressIsOneRowOfAFeedAndAFeedsIdIsNeverGivenAgain) {
    Open();
    PlainSqlite plain(File);
    for (const char* row : {"('u', 1, 'a')", "('u', 2, 'b')", "('u', 1, 'c')"})
        plain.Run(QByteArray("INSERT INTO PodcastEpisodes (URI, FeedID, GUID) VALUES ") + row);
    EXPECT_EQ(plain.Rows("SELECT GUID FROM PodcastEpisodes ORDER BY GUID"), QStringList({"b", "c"}));
    plain.Run(
        "INSERT INTO PodcastFeeds (URLFeed) VALUES ('x'); DELETE FROM PodcastFeeds; INSERT INTO PodcastFeeds (URLFeed) "
        "VALUES ('y')");
    EXPECT_EQ(plain.Rows("SELECT FeedID FROM PodcastFeeds"), QStringList("2"));
}

TEST_F(DatabaseLayout, TheFirstLayoutIsUpgradedRowByRow) {
    Create(QByteArray(kFirstLayout) +
           "INSERT INTO PodcastEpisodes VALUES (3, 'g1', 'T', 'D', 'A', 'http://h/1', 'http://h/time.mp3', '/f', "
           "45000.5, 60, 2);"
           "INSERT INTO PodcastEpisodes VALUES (3, 'g2', NULL, NULL, NULL, NULL, 'a.ogg', NULL, NULL, NULL, NULL);");
    Open();
    EXPECT_EQ(Rows("SELECT * FROM PodcastEpisodes ORDER BY URI DESC"),
              QStringList({"podcast://h/time.mp3|3|g1|T|D|A|http://h/1|http://h/time.mp3|/f|45000.5|60.0|2|MP3",
                           "a.ogg|3|g2|NULL|NULL|NULL|NULL|a.ogg|NULL|NULL|NULL|NULL|OGG"}));
    EXPECT_EQ(Rows("SELECT Count(*) FROM sqlite_master WHERE name LIKE '%_old'"), QStringList("0"));
}

TEST_F(DatabaseLayout, AddressesOfTheFirstLayoutThatMakeOneUriDoNotStopTheUpgrade) {
    Create(QByteArray(kFirstLayout) +
           "INSERT INTO PodcastEpisodes (FeedID, ID, URLAudio) VALUES (1, 'a', 'http://h/1.mp3'), (1, 'b', "
           "'https://h/1.mp3'), "
           "(2, 'c', 'ftp://h/1.mp3'), (1, 'd', 'http://h/2.mp3'), (1, 'e', 'http://h/2.mp3'), (1, 'f', NULL), (1, "
           "'g', '');");
    Open();
    EXPECT_EQ(Rows("SELECT URI, FeedID FROM PodcastEpisodes ORDER BY URI, FeedID"),
              QStringList({"|1", "podcast://h/1.mp3|1", "podcast://h/1.mp3|2", "podcast://h/2.mp3|1"}));
}

TEST_F(DatabaseLayout, TheSecondLayoutGainsAnEmptyFormat) {
    Create(
        "CREATE TABLE PodcastEpisodes (URI TEXT, FeedID INTEGER, GUID TEXT, Title TEXT, Description TEXT, Artist TEXT, "
        "URL TEXT, URLAudio TEXT, URLAudioCached TEXT, PublishDate DOUBLE, Duration DOUBLE, State INTEGER, UNIQUE "
        "(URI, FeedID));"
        "INSERT INTO PodcastEpisodes (URI, FeedID, GUID, State) VALUES ('podcast://h/1', 1, 'g', 2);");
    Open();
    EXPECT_EQ(Rows("SELECT URI, FeedID, GUID, State, Format FROM PodcastEpisodes"),
              QStringList("podcast://h/1|1|g|2|NULL"));
    EXPECT_EQ(Rows("SELECT name FROM pragma_table_info('PodcastEpisodes')").last(), "Format");
}

TEST_F(DatabaseLayout, AnUpgradedFileHasEverythingThatAFreshOneHas) {
    Create(kFirstLayout);
    Open();
    const QString fresh = Folder.File("Fresh.db");
    { TPodcastsDB db(fresh); }
    constexpr char objects[] =
        "SELECT type, name, tbl_name FROM sqlite_master WHERE name <> 'sqlite_sequence' ORDER BY name";
    EXPECT_EQ(Rows(objects), PlainSqlite(fresh).Rows(objects));
    EXPECT_EQ(Rows("PRAGMA integrity_check"), QStringList("ok"));
}

TEST_F(DatabaseLayout, AnUpgradeThatFailsLeavesTheFileAsItWas) {
    Create(QByteArray(kFirstLayout) +
           "INSERT INTO PodcastEpisodes (ID, URLAudio) VALUES ('a', 'http://h/1.mp3');"
           "CREATE TABLE PodcastEpisodes_old (x);");
    constexpr char everything[] = "SELECT sql FROM sqlite_master UNION ALL SELECT ID FROM PodcastEpisodes";
    const QStringList before = Rows(everything);
    EXPECT_NE(OpeningError(), "");
    EXPECT_EQ(Rows(everything), before);
}

TEST_F(DatabaseLayout, OpeningAgainWritesNothing) {
    Create(kFirstLayout);
    Open();
    const QByteArray before = ReadWhole(File);
    Open();
    EXPECT_EQ(ReadWhole(File), before);
    PlainSqlite other(File);
    const QString version = other.DataVersion();
    Open();
    EXPECT_EQ(other.DataVersion(), version);
}

TEST_F(DatabaseLayout, ANewerLayoutIsRefusedAndNotTouched) {
    for (const QByteArray table : {"PodcastEpisodes", "PodcastFeeds", "PodcastFeedLogos"}) {
        QFile::remove(File);
        Open();
        Create("PRAGMA journal_mode=DELETE; ALTER TABLE " + table + " ADD COLUMN Chapters TEXT");
        const QByteArray before = ReadWhole(File);
        const std::string error = OpeningError();
        EXPECT_NE(error.find("newer version"), std::string::npos) << error;
        EXPECT_NE(error.find(table.toStdString() + ".Chapters"), std::string::npos) << error;
        EXPECT_EQ(ReadWhole(File), before);
    }
}

TEST_F(DatabaseLayout, AFileThatIsNoDatabaseIsNamedAndNotTouched) {
    const QByteArray bytes = QByteArray("ID3").leftJustified(5000, 'x');
    WriteWhole(File, bytes);
    const std::string error = OpeningError();
    EXPECT_NE(error.find(File.toStdString()), std::string::npos) << error;
    EXPECT_NE(error.find("move the file away"), std::string::npos) << error;
    EXPECT_EQ(ReadWhole(File), bytes);
}

/// Root may write everywhere, so that what may not be written is tried as another user.
class AsOrdinaryUser {
public:
    AsOrdinaryUser() { EXPECT_EQ(FWas == 0 ? seteuid(65534) : 0, 0); }
    ~AsOrdinaryUser() { EXPECT_EQ(seteuid(FWas), 0); }

private:
    const uid_t FWas = geteuid();
};

TEST_F(DatabaseLayout, AFileOrFolderThatMayNotBeWrittenIsNamed) {
    Open();
    const auto isMode = [](const QString& name, mode_t mode) { return chmod(name.toUtf8().constData(), mode) == 0; };
    struct {
        mode_t File, Folder;
        const char* Advice;
    } const cases[] = {{0444, 0555, "make the file and its folder writable"},
                       {0444, 0777, "make the file and its folder writable"},
                       {0000, 0777, "check that its folder exists and is writable"},
                       {0666, 0555, "make the file and its folder writable"}};
    for (const auto& [file, folder, advice] : cases) {
        ASSERT_TRUE(isMode(File, file) && isMode(Folder.Path(), folder));
        std::string error;
        {
            const AsOrdinaryUser user;
            error = OpeningError();
        }
        EXPECT_NE(error.find(File.toStdString()), std::string::npos) << error;
        EXPECT_NE(error.find(advice), std::string::npos) << error;
        ASSERT_TRUE(isMode(Folder.Path(), 0755) && isMode(File, 0644));
    }
}

TEST_F(DatabaseLayout, ManyOpenANewOrAnOldFileAtOnce) {
    for (int round = 0; round < 40; ++round) {
        for (const QString& suffix : QStringList{"", "-wal", "-shm"}) QFile::remove(File + suffix);
        if (round % 2)
            Create(QByteArray(kFirstLayout) +
                   "INSERT INTO PodcastEpisodes (ID, URLAudio) VALUES ('a', 'http://h/1.mp3')");
        std::vector<std::string> errors(8);
        std::vector<std::thread> threads;
        std::barrier start(8);
        for (std::string& error : errors)
            threads.emplace_back([&] {
                start.arrive_and_wait();
                error = OpeningError();
            });
        for (std::thread& thread : threads) thread.join();
        for (const std::string& error : errors) EXPECT_EQ(error, "");
        EXPECT_EQ(Rows("SELECT GUID FROM PodcastEpisodes").size(), round % 2);
    }
}

TEST_F(DatabaseLayout, WhileAnotherProgramWritesItIsReadAndAWriteSaysWhoIsInTheWay) {
    Open();
    PlainSqlite other(File);
    other.Run("BEGIN IMMEDIATE");
    TPodcastsDB db(File);
    EXPECT_EQ(db.GetFeedID("http://h/"), -1);
    TPodcastFeed feed;
    feed.Fields[pffURLFeed] = "http://h/";
    try {
        db.AddOrUpdate(feed);
        ADD_FAILURE() << "two programs wrote at once";
    } catch (const vexa::SqliteError& error) {
        EXPECT_NE(std::string(error.what()).find("another program is using it"), std::string::npos) << error.what();
    }
    other.Run("ROLLBACK");
    db.AddOrUpdate(feed);
    EXPECT_GT(feed.ID, 0);
}

}  // namespace
}  // namespace podcasts
