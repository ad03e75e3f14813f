// Taking a library along: the document, and what becomes of it in a profile that has a library already.

#include "PlainSqlite.h"
#include "Podcasts.Core.LibraryDocument.h"
#include "Podcasts.Core.MovedFiles.h"
#include "Podcasts.Core.ProfileFiles.h"
#include "TempFolder.h"
#include "Texts.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

namespace podcasts {
namespace {

using namespace Qt::StringLiterals;

class Library : public testing::Test {
protected:
    QByteArray DocumentOf(TPodcastsDB& db) {
        QByteArray document;
        WriteLibraryDocument(db, {{"Host\\Language", "Deutsch"}}, {{"Positions.json", QJsonObject{{"a", 1}}}},
                             [&](const QByteArray& bytes) { document += bytes; });
        return document;
    }
    static TPodcastJoinedLibrary Join(TPodcastsDB& db, const QByteArray& bytes) {
        const TPodcastLibraryDocument document(bytes);
        const auto joined = JoinLibrary(
            db, document.FeedCount(), [&](std::size_t index) { return document.Feed(index); }, [] { return false; });
        JoinKeptQueue(db, document.Queue());
        return joined;
    }
    /// A document with one feed.
    static QByteArray WithFeed(const QByteArray& members) {
        return R"({"format": "vexa-podcasts-library", "version": 1, "feeds": [{)" + members + "}]}";
    }
    static QByteArray WithEpisode(const QByteArray& members) {
        return WithFeed(R"("address": "http://h/f", "episodes": [{)" + members + "}]");
    }
    QString Media(const QString& name) {
        WriteWhole(Folder.File(name), "sound");
        return Folder.File(name);
    }

    tests::TempFolder Folder;
    TPodcastsDB From{Folder.File("from.db")}, To{Folder.File("to.db")};
    PlainSqlite Source{Folder.File("from.db")}, Target{Folder.File("to.db")};
};

TEST_F(Library, EveryRowComesBackAsItWasAndComingTwiceChangesNothing) {
    Source.Run(
        "INSERT INTO PodcastFeeds (FeedID, Name, Category, Copyright, Description, Language, AuthLogin, AuthPassword, "
        "Author, URL, URLFeed, URLLogo) VALUES (1, 'B', 'c', 'o', 'd', 'l', '', '', 'a', 'u', 'http://h/b', 'g'), "
        "(2, 'A', '', '', '', '', '', '', '', '', '/local/feed.xml', '');"
        "INSERT INTO PodcastEpisodes VALUES "
        // The row that was written last is not the newest; dates and durations that no text has; odd texts.
        "('podcast://c/2', 1, 'g2', 't', 'd', 'a', 'u', 'https://c/2', '', 45000.123456789, 61.5, 0, ''), "
        "('podcast://c/1.mp3', 1, 'g1', '\"\\{[' || char(10, 55357), '', '', '', 'http://c/1.mp3', '', 45000.5, 0, 2, "
        "'MP3'), "
        // Without audio, and under a URI that its address does not give.
        "('', 1, 'g0', 'no audio', '', '', '', '', '', 0, 0, 1, ''), "
        "('podcast://h/b-/g4', 1, 'g4', 'time', '', '', '', 'http://c/x?time=1', '', 1e9, 0, 1, ''), "
        "('podcast://former/b-/g1', 1, 'g1', 'same GUID', '', '', '', 'http://c/y', '', 1, 0, 1, ''), "
        "('podcast://c/2', 2, 'g2', 't', '', '', '', 'https://c/2', '', 45000, 61.5, 1, '');"
        "INSERT INTO PodcastFeedOptions VALUES (1, 'KeepFiles', '3'), (1, 'ShowNotifications', 'never');"
        "INSERT INTO PodcastFeedAddresses VALUES ('http://old/1', 1), ('http://old/2', 1);"
        "INSERT INTO PodcastQueue (EpisodeKey) VALUES ('podcast://h/b-/g4'), (char(1) || '1' || char(1) || 'g2');"
        "UPDATE PodcastEpisodes SET URLAudioCached = '" +
        Media("2.mp3").toUtf8() + "' WHERE GUID = 'g2'");
    const QByteArray document = DocumentOf(From);
    EXPECT_EQ(TPodcastLibraryDocument(document).Settings().at("Host\\Language"), "Deutsch");
    EXPECT_EQ(TPodcastLibraryDocument(document).ProfileFiles()["Positions.json"]["a"], 1);
    EXPECT_EQ(Join(To, document).NewFeeds, 2);
    for (const char* table : {"PodcastFeeds", "PodcastEpisodes", "PodcastFeedOptions", "PodcastFeedAddresses"}) {
        const QByteArray rows = "SELECT rowid, * FROM " + QByteArray(table) + " ORDER BY rowid";
        EXPECT_EQ(Target.Rows(rows), Source.Rows(rows)) << table;
    }
    EXPECT_EQ(DocumentOf(To), document) << "the queue, too";

    const QString version = Target.DataVersion();
    EXPECT_EQ(Join(To, document).Feeds, 0);
    EXPECT_EQ(Target.DataVersion(), version) << "nothing is written";
    EXPECT_EQ(DocumentOf(To), document);
    EXPECT_EQ(Join(From, document).Feeds, 0) << "nor in the library that it came from";
}

TEST_F(Library, WhatIsThereStaysAndGetsTheMarksAndFilesThatItLacks) {
    const QByteArray one = Media("1.mp3").toUtf8(), two = Media("2.mp3").toUtf8();
    const std::tuple<int, QByteArray, QByteArray, QByteArray, const char*> cases[] = {
        // the state and the file that are there, those that come, what is there afterwards
        {1, "", "listened", one, "0|1"},
        {1, "", "postponed", "", "2|"},
        {0, "", "new", "", "0|"},
        {0, "", "postponed", "", "0|"},
        {2, "", "listened", "", "2|"},
        {2, one, "new", two, "2|1"},
        {1, "/gone.mp3", "new", one, "1|/gone.mp3"},
    };
    for (const auto& [state, file, takenState, takenFile, row] : cases) {
        Target.Run(
            "DELETE FROM PodcastFeeds; DELETE FROM PodcastEpisodes;"
            "INSERT INTO PodcastFeeds (FeedID, Name, URLFeed) VALUES (1, 'Mine', 'http://h/f');"
            "INSERT INTO PodcastEpisodes (URI, FeedID, GUID, Title, URLAudio, URLAudioCached, State) VALUES "
            "('podcast://c/1.mp3', 1, 'g', 'mine', 'http://c/1.mp3', '" +
            file + "', " + QByteArray::number(state) + ")");
        Join(To, WithFeed(R"("address": "http://h/f", "title": "Other", "episodes": [{"guid": "g", "title": "other",)"
                          R"("audio": "http://c/1.mp3", "state": ")" +
                          takenState + R"(", "cached": ")" + takenFile + "\"}]"));
        const QByteArray shown = "SELECT State, replace(replace(URLAudioCached, '" + one + "', '1'), '" + two +
                                 "', '2') FROM PodcastEpisodes WHERE Title GLOB 'mine'";
        EXPECT_EQ(Target.Rows(shown), QStringList(row)) << takenState.constData() << " into " << state;
        EXPECT_EQ(Target.Rows("SELECT Name, Count(*) FROM PodcastFeeds, PodcastEpisodes"), QStringList("Mine|1"));
    }
}

TEST_F(Library, AFeedThatHasMovedAndItsEpisodesAreRecognised) {
    Target.Run(
        "INSERT INTO PodcastFeeds (FeedID, Name, URLFeed) VALUES (1, 'A', 'http://h/new'), (2, 'B', 'http://h/b');"
        "INSERT INTO PodcastFeedAddresses VALUES ('http://h/old', 1);"
        "INSERT INTO PodcastFeedOptions VALUES (1, 'KeepFiles', '3');"
        "INSERT INTO PodcastEpisodes (URI, FeedID, GUID, Title, URLAudio, PublishDate, State, URLAudioCached) VALUES "
        "('podcast://c/new/1.mp3', 1, 'g1', 'One', 'http://c/new/1.mp3', 5, 1, ''), "
        "('podcast://c/latest.mp3', 2, 'today', 'Today', 'http://c/latest.mp3', 6, 1, '')");
    QByteArray document = WithFeed(
        R"("address": "http://h/old", "options": {"KeepFiles": "9", "DeleteListenedAfterDays": "4", "Odd": "x"},
           "episodes": [{"guid": "g1", "title": "One", "audio": "http://c/old/1.mp3", "state": "listened"},
                        {"guid": "g0", "title": "Zero", "audio": "http://c/old/0.mp3"}]},
          {"address": "http://h/b2", "former_addresses": ["http://h/b"], "episodes": [
              {"guid": "yesterday", "title": "Yesterday", "audio": "http://c/latest.mp3", "state": "listened"}])");
    const auto joined = Join(To, document);
    EXPECT_EQ(joined.NewFeeds, 0);
    EXPECT_EQ(Target.Rows("SELECT FeedID, URI, GUID, State FROM PodcastEpisodes ORDER BY FeedID, GUID DESC"),
              QStringList(
                  {"1|podcast://c/new/1.mp3|g1|0", "1|podcast://c/old/0.mp3|g0|1", "2|podcast://c/latest.mp3|today|1"}))
        << "another episode that had the address before does not replace the one that has it now";
    EXPECT_EQ(Target.Rows("SELECT Name, Value FROM PodcastFeedOptions ORDER BY Name"),
              QStringList({"DeleteListenedAfterDays|4", "KeepFiles|3"}));
}

TEST_F(Library, ADocumentThatIsCutOrWrongIsRefusedAsAWholeWithTheReason) {
    const QByteArray whole = WithEpisode(R"("guid": "g\"]}", "state": "listened")");
    for (qsizetype size = 0; size < whole.size(); ++size)
        EXPECT_NE(ErrorOf([&] { TPodcastLibraryDocument{whole.first(size)}; }), "") << size;
    const std::pair<QByteArray, const char*> cases[] = {
        {"\xEF\xBB\xBF " + whole, ""},
        {WithEpisode(R"("later": {"versions": ["say", "more"]})"), ""},
        {"{}", "holds no library"},
        {R"({"format": "vexa-podcasts-library"})", "\"version\" is not a number"},
        {R"({"format": "vexa-podcasts-library", "version": 2, "feeds": []})", "newer version"},
        {R"({"format" "vexa-podcasts-library"})", "there is no \":\" at byte 10"},
        {whole + "x", "something follows its end at byte 1"},
        {WithFeed(R"("address": "http://h/f", "title" "x")"), "not a JSON document: "},
        {WithFeed(R"("title": "x")"), "feed 1 has no \"address\""},
        {WithFeed(R"("address": ["http://h/f"])"), "\"address\" of feed 1 is not a text"},
        {WithEpisode(R"("duration": "1:30")"), "\"duration\" of episode 1 of feed 1 is not a number"},
        {WithEpisode(R"("state": "heard")"), "\"state\" of episode 1 of feed 1 is not \"listened\", \"new\" or"},
        {WithEpisode(R"("x": )" + QByteArray(100000, '[') + QByteArray(100000, ']')), "not a JSON document: "},
    };
    for (const auto& [document, error] : cases) {
        const QString message = ErrorOf([&] { TPodcastLibraryDocument{document}; });
        EXPECT_TRUE(QByteArray(error).isEmpty() ? message.isEmpty() : message.contains(QString(error)))
            << document.left(200).constData() << ": " << message.toStdString();
    }
}

TEST_F(Library, AHostileDocumentNamesNeitherAddressesNorFilesOfTheMachine) {
    WriteWhole(Folder.File("letter.txt"), "Dear");
    QDir(Folder.Path()).mkdir("x");
    const QString other = Media("other.mp3"), mine = Media("mine.mp3");
    Target.Run(("INSERT INTO PodcastEpisodes (URI, FeedID, GUID, URLAudioCached) VALUES ('podcast://x', 9, 'x', '" +
                other + "')")
                   .toUtf8());
    for (const QByteArray address :
         {"file:///etc/passwd", "/etc/passwd", "relative.xml", "/a/../b.xml", "http://", "x"})
        EXPECT_EQ(Join(To, WithFeed("\"address\": \"" + address + '"')).Refused, QStringList(address));
    EXPECT_EQ(Target.Rows("SELECT * FROM PodcastFeeds"), QStringList());
    int number = 0;
    for (const QString& file : {Folder.File("letter.txt"), other, u"mine.mp3"_s, Folder.File("none.mp3"), Folder.Path(),
                                Folder.File("x/../mine.mp3"), mine})
        Join(To, WithEpisode(u"\"audio\": \"http://c/%1\", \"guid\": \"g%1\", \"cached\": \"%2\", \"uri\": "
                             "\"file:///etc/%1\", \"duration\": -5"_s.arg(++number)
                                 .arg(file)
                                 .toUtf8()));
    EXPECT_EQ(Target.Rows("SELECT URI, URLAudioCached FROM PodcastEpisodes WHERE FeedID < 9 AND URLAudioCached <> ''"),
              QStringList("podcast://c/7|" + mine));
    EXPECT_EQ(Target.Rows("SELECT Count(*) FROM PodcastEpisodes WHERE URI LIKE 'file%' OR Duration <> 0"),
              QStringList("0"));
}

TEST_F(Library, AMovedFolderIsComparedByWholeNamesOfFolders) {
    const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
        // the file, its folder's old name and its new one, where the file is if it is in the folder
        {"/m/a/b.mp3", "/m", "/n", "/n/a/b.mp3"},
        {"/music/b.mp3", "/m", "/n", ""},
        {"/m", "/m", "/n", ""},
        {"/m/a/../../x", "/m", "/n", ""},
        {"/m/b", "/m", "/m/sub", "/m/sub/b"},
        {"/m/sub/b", "/m", "/m/sub", ""},
        {"/m/sub/b", "/m/sub", "/m", "/m/b"},
        {"/b", "/", "/n", "/n/b"},
        {"/m/b", "/m", "/", "/b"},
        {"podcast://m/b", "/m", "/n", ""},
    };
    for (const auto& [file, before, now, moved] : cases)
        EXPECT_EQ(NameInMovedFolder(file, before, now), QString(moved)) << file << ' ' << before << ' ' << now;

    const QString there = Media("n/1.mp3"), other = Media("n/2.mp3"), before = Folder.File("m/%1.mp3");
    const QString rows =
        "INSERT INTO PodcastEpisodes (URI, FeedID, URLAudioCached) VALUES ('1', 1, '%1'), "
        "('1', 2, '%1'), ('2', 1, '%2'), ('3', 1, '%3'), ('4', 1, '%4');"
        "INSERT INTO PodcastListenedFiles VALUES ('%1', 7);";
    Target.Run(rows.arg(before.arg(1), before.arg(2), before.arg(3), other).toUtf8());
    const TPodcastMovedFiles moved = FindMovedFiles(To, Folder.File("m"), Folder.File("n"));
    EXPECT_EQ(moved.Missing, QStringList(before.arg(3)));
    EXPECT_EQ(moved.Taken, QStringList(before.arg(2))) << "two episodes would share a file";
    RecordMovedFiles(To, moved.Names);
    EXPECT_EQ(Target.Rows("SELECT URLAudioCached FROM PodcastEpisodes ORDER BY rowid"),
              QStringList({there, there, before.arg(2), before.arg(3), other}));
    EXPECT_EQ(Target.Rows("SELECT * FROM PodcastListenedFiles"), QStringList(there + "|7"));
}

TEST_F(Library, ThePlayersFilesAreJoinedByTheirEntries) {
    const auto json = [](const char* text) { return QJsonDocument::fromJson(text).object(); };
    const QJsonObject positions = json(
        R"({"begun": [{"address": "a", "position": 1, "when": 5}, {"address": "b", "position": 2, "when": 9}],
            "speeds": {"x": 2}, "next": []})");
    const QJsonObject taken{
        {"Positions.json", json(R"({"begun": [{"address": "a", "position": 3, "when": 6}, {"address": "c"},
            {"address": "b", "position": 4, "when": 8}, "odd"],
            "speeds": {"x": 3, "y": 1.5}, "next": ["d"], "n": 1})")},
        {"Playlists.json", json(R"({"playlists": [{"name": "p", "entries": []}]})")},
        {"../Other.json", json(R"({"a": 1})")}};
    WriteWhole(Folder.File("Positions.json"), QJsonDocument(positions).toJson());
    const auto files = JoinProfileFiles(Folder.Path(), taken);
    ASSERT_EQ(files.size(), 2);
    EXPECT_EQ(files[0].Added, 1);
    EXPECT_EQ(files[0].Replaced, 1);
    const QJsonObject joined = json(
        R"({"begun": [{"address": "a", "position": 3, "when": 6}, {"address": "b", "position": 2, "when": 9},
            {"address": "c"}], "speeds": {"x": 2, "y": 1.5}, "next": ["d"], "n": 1})");
    EXPECT_EQ(ReadProfileFiles(Folder.Path()),
              (QJsonObject{{"Positions.json", joined}, {"Playlists.json", taken["Playlists.json"]}}));
    EXPECT_TRUE(JoinProfileFiles(Folder.Path(), taken).empty());
    WriteWhole(Folder.File("Positions.json"), "{damaged");
    EXPECT_TRUE(ErrorOf([&] { JoinProfileFiles(Folder.Path(), taken); }).contains("cannot read"));
    EXPECT_EQ(ReadWhole(Folder.File("Positions.json")), "{damaged");
}

}  // namespace
}  // namespace podcasts
