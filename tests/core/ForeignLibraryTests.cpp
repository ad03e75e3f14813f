// The libraries of other programs. The first database is what gPodder 3.11 wrote, as far as it is read: two feeds, of
// which it downloaded three episodes and deleted one of these; positions as its window stores them.

#include "PlainSqlite.h"
#include "Podcasts.Core.ForeignLibraries.h"
#include "Podcasts.Core.LibraryDocument.h"
#include "TempFolder.h"
#include "Texts.h"

#include <QJsonArray>

#include <gtest/gtest.h>

namespace podcasts {
namespace {

using namespace Qt::StringLiterals;

constexpr char kGpodder[] = R"(
CREATE TABLE podcast (id INTEGER PRIMARY KEY, title TEXT, url TEXT, link TEXT, description TEXT, cover_url TEXT,
    auth_username TEXT, auth_password TEXT, download_folder TEXT, pause_subscription INTEGER, section TEXT);
CREATE TABLE episode (id INTEGER PRIMARY KEY, podcast_id INTEGER, title TEXT, description TEXT, url TEXT,
    published INTEGER, guid TEXT, state INTEGER, is_new INTEGER, archive INTEGER, download_filename TEXT,
    total_time INTEGER, current_position INTEGER, current_position_updated INTEGER, description_html TEXT);
CREATE TABLE version (version integer);
INSERT INTO version VALUES(8);
INSERT INTO podcast VALUES
    (1,'Show One','http://h/One.xml','http://h/','About One',NULL,NULL,NULL,'Show One',0,'Audio'),
    (2,'Show Two','http://h/Two.xml','http://h/','About Two',NULL,'bob','p w','Show Two',0,'Audio');
INSERT INTO episode VALUES
    (1,1,'One part 4','','http://h/One-4.mp3',1704362400,'One-4',1,1,0,'One-4.mp3',90,0,0,'<p>Notes <b>4</b></p>'),
    (3,1,'One part 2','','http://h/One-2.mp3',1704189600,'One-2',2,1,0,'One-2.mp3',90,0,0,'<p>Notes <b>2</b></p>'),
    (4,1,'One part 1','Plain notes','http://h/One-1.mp3',1704103200,'One-1',1,0,1,'One-1.mp3',90,30,1704500000,''),
    (6,2,'Two part 3','','http://h/Two-3.mp3',1704276000,'Two-3',0,0,0,NULL,90,90,1704400000,'<p>Notes <b>3</b></p>'),
    (7,2,'Two part 2','','http://h/Two-2.mp3',1704189600,'Two-2',0,1,0,NULL,90,10,1704600000,'<p>Notes <b>2</b></p>');
)";

constexpr char kAntennaPod[] = R"(
PRAGMA user_version = 3050000;
CREATE TABLE Feeds (id INTEGER PRIMARY KEY AUTOINCREMENT, title TEXT, custom_title TEXT, download_url TEXT,
    username TEXT, password TEXT, feed_playback_speed REAL, state INTEGER DEFAULT 0,
    description TEXT, language TEXT, author TEXT);
CREATE TABLE FeedItems (id INTEGER PRIMARY KEY AUTOINCREMENT, title TEXT, pubDate INTEGER, read INTEGER,
    description TEXT, feed INTEGER, item_identifier TEXT);
CREATE TABLE FeedMedia (id INTEGER PRIMARY KEY AUTOINCREMENT, duration INTEGER, file_url TEXT, download_url TEXT,
    downloaded INTEGER, position INTEGER, feeditem INTEGER, last_played_time INTEGER);
CREATE TABLE Queue (id INTEGER PRIMARY KEY, feeditem INTEGER, feed INTEGER);
CREATE TABLE Favorites (id INTEGER PRIMARY KEY, feeditem INTEGER, feed INTEGER);
INSERT INTO Feeds VALUES (3,'A','Mine','http://h/a','ann','s p',-1,0,'About','en','Ann'),
    (4,'B',NULL,'http://h/b',NULL,NULL,1.5,1,'','','');
INSERT INTO FeedItems VALUES (1,'a1',1704103200000,1,'n',3,'g1'), (2,'a2',1704189600000,-1,'n',3,'g2'),
    (3,'a3',1704276000000,0,'n',3,'g3'), (4,'b1',1,0,'n',4,'x');
INSERT INTO FeedMedia VALUES (1,60000,'/storage/1.mp3','http://c/1.mp3',1,0,1,5),
    (2,90000,NULL,'http://c/2.mp3',0,30500,2,1704500000000);
INSERT INTO Queue VALUES (0,2,3), (1,4,4);
INSERT INTO Favorites VALUES (0,1,3);
)";

class ForeignLibraries : public testing::Test {
protected:
    /// Makes the database, and reads it.
    TPodcastForeignLibrary Read(const QString& program, const QByteArray& sql) {
        QFile::remove(FileName);
        PlainSqlite(FileName).Run(sql);
        return ReadForeignLibrary(program, FileName);
    }
    /// What is stored of a library in an empty profile.
    QStringList Stored(TPodcastForeignLibrary library) {
        const QString name = Folder.File("Podcasts.db");
        QFile::remove(name);
        {
            TPodcastsDB db(name);
            JoinLibrary(
                db, library.Feeds.size(), [&](std::size_t index) { return std::move(library.Feeds[index]); },
                [] { return false; });
        }
        return PlainSqlite(name).Rows(
            "SELECT Name, URLFeed, GUID, Title, Episodes.Description, URI, PublishDate, Duration, State, "
            "URLAudioCached "
            "FROM PodcastEpisodes Episodes JOIN PodcastFeeds USING (FeedID) ORDER BY Episodes.rowid");
    }
    static QString Positions(const TPodcastForeignLibrary& library) {
        QString text;
        for (const auto& file : library.ProfileFiles["Positions.json"]["begun"].toArray())
            text += u"%1 %2/%3 %4 "_s.arg(file[u"address"].toString())
                        .arg(file[u"position"].toDouble())
                        .arg(file[u"duration"].toDouble())
                        .arg(file[u"when"].toDouble(), 0, 'f', 0);
        return text;
    }

    tests::TempFolder Folder;
    const QString FileName = Folder.File("Database");
};

TEST_F(ForeignLibraries, GpoddersSubscriptionsMarksFilesAndPositionsAreRead) {
    const QString file = Folder.File("Downloads/Show One/One-4.mp3");
    WriteWhole(file, "sound");
    const auto library = Read("gpodder", kGpodder);
    EXPECT_EQ(library.Schema, 8);
    EXPECT_EQ(Positions(library),
              "podcast://h/Two-2.mp3 10/90 1704600000000 podcast://h/One-1.mp3 30/90 1704500000000 ");
    EXPECT_EQ(library.NotTaken, QStringList("locks of episodes against deletion: 1"));
    const QString one = "Show One|http://h/One.xml|", two = "Show Two|http://bob:p%20w@h/Two.xml|";
    const QStringList rows{
        one + "One-4|One part 4|<p>Notes <b>4</b></p>|podcast://h/One-4.mp3|45295.4166666667|90.0|1|" + file,
        one + "One-2|One part 2|<p>Notes <b>2</b></p>|podcast://h/One-2.mp3|45293.4166666667|90.0|0|",
        one + "One-1|One part 1|Plain notes|podcast://h/One-1.mp3|45292.4166666667|90.0|0|",
        two + "Two-3|Two part 3|<p>Notes <b>3</b></p>|podcast://h/Two-3.mp3|45294.4166666667|90.0|0|",
        two + "Two-2|Two part 2|<p>Notes <b>2</b></p>|podcast://h/Two-2.mp3|45293.4166666667|90.0|1|"};
    EXPECT_EQ(Stored(Read("gpodder", kGpodder)), rows);
    EXPECT_EQ(Stored(Read("gpodder", QByteArray(kGpodder) + "ALTER TABLE episode DROP COLUMN description_html")).size(),
              5)
        << "an older schema";
}

TEST_F(ForeignLibraries, AntennaPodsSubscriptionsMarksQueueAndPositionsAreRead) {
    const auto library = Read("antennapod", kAntennaPod);
    EXPECT_EQ(library.Schema, 3050000);
    EXPECT_EQ(Positions(library), "podcast://c/2.mp3 30.5/90 1704500000000 ");
    EXPECT_EQ(library.ProfileFiles["Positions.json"]["next"].toArray(), QJsonArray{"podcast://c/2.mp3"});
    EXPECT_EQ(library.NotTaken, QStringList({"feeds that are not subscribed there: 1", "favourites: 1"}));
    const auto& fields = library.Feeds.at(0).Feed.Fields;
    EXPECT_EQ(QStringList({fields[pffDescription], fields[pffLanguage], fields[pffAuthor]}).join(u'|'), "About|en|Ann");
    const QString feed = "Mine|http://ann:s%20p@h/a|";
    EXPECT_EQ(Stored(Read("antennapod", kAntennaPod)),
              QStringList({feed + "g1|a1|n|podcast://c/1.mp3|45292.4166666667|60.0|0|",
                           feed + "g2|a2|n|podcast://c/2.mp3|45293.4166666667|90.0|1|",
                           feed + "g3|a3|n||45294.4166666667|0.0|1|"}));
}

TEST_F(ForeignLibraries, AFileThatIsNoSuchDatabaseIsRefusedAndNeverWritten) {
    const std::tuple<QString, QByteArray, const char*> cases[] = {
        // the program, the database, why it is refused
        {"gpodder", kAntennaPod, "no column podcast.id"},
        {"antennapod", kGpodder, "no column Feeds.id"},
        // Neither a view nor a virtual table is asked, which could be made to never end.
        {"gpodder", "CREATE TABLE podcast (id, url); CREATE VIEW episode AS SELECT 1 podcast_id, 2 url", "no column "},
    };
    for (const auto& [program, sql, error] : cases) {
        const QString message = ErrorOf([&] { Read(program, sql); });
        EXPECT_TRUE(message.contains(error)) << message.toStdString();
    }
    Read("gpodder", kGpodder);
    QByteArray bytes = ReadWhole(FileName);
    bytes.replace(bytes.size() / 2, bytes.size() / 2, QByteArray(bytes.size() / 2, '\x55'));
    for (const QByteArray& damaged : {bytes, bytes.first(5000), QByteArray("SQLite format 3"), QByteArray("{}")}) {
        WriteWhole(FileName, damaged);
        const QString message = ErrorOf([&] { ReadForeignLibrary("gpodder", FileName); });
        EXPECT_TRUE(message.contains("damaged") || message.contains("not a database of SQLite"))
            << message.toStdString();
        EXPECT_EQ(ReadWhole(FileName), damaged);
    }
    EXPECT_NE(ErrorOf([&] { ReadForeignLibrary("gpodder", Folder.File("none")); }), "");
}

}  // namespace
}  // namespace podcasts
