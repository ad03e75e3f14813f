#include "Program.h"

#include <QDir>

#include <signal.h>

namespace {

const QStringList kCommands = {u"subscribe"_s,   u"unsubscribe"_s, u"feeds"_s,        u"episodes"_s, u"show"_s,
                               u"refresh"_s,     u"download"_s,    u"delete-files"_s, u"mark"_s,     u"check-files"_s,
                               u"set-address"_s, u"options"_s,     u"import"_s,       u"export"_s};

TEST_F(Program, WrongUsageEndsWithTwoAndSaysWhyOnStandardError) {
    const QStringList cases[] = {{},
                                 {u"nonsense"_s},
                                 {u"--nonsense"_s},
                                 {u"feeds"_s, u"extra"_s},
                                 {u"feeds"_s, u"--new"_s},
                                 {u"subscribe"_s},
                                 {u"show"_s},
                                 {u"show"_s, u"1:00000000"_s, u"1:00000001"_s},
                                 {u"mark"_s, u"new"_s},
                                 {u"mark"_s, u"heard"_s, u"1:00000000"_s},
                                 {u"download"_s},
                                 {u"download"_s, u"--new"_s, u"1:00000000"_s},
                                 {u"episodes"_s, u"--limit"_s},
                                 {u"episodes"_s, u"--limit"_s, u"x"_s},
                                 {u"episodes"_s, u"--offset=-1"_s},
                                 {u"episodes"_s, u"--state"_s, u"heard"_s},
                                 {u"feeds"_s, u"--json=1"_s},
                                 {u"show"_s, u"1:00000000"_s, u"--json"_s},
                                 {u"options"_s, u"Nothing"_s},
                                 {u"options"_s, u"CheckUpdates"_s, u"4"_s},
                                 {u"options"_s, u"ShowNotifications"_s, u"maybe"_s},
                                 {u"options"_s, u"CacheFileNameTemplate"_s, u"relative"_s},
                                 {u"set-address"_s, u"1"_s},
                                 {u"feeds"_s, u"--profile"_s}};
    for (const QStringList& words : cases) {
        const Result result = Run(words);
        EXPECT_EQ(result.Status, 2) << words.join(u' ').toStdString();
        EXPECT_TRUE(result.Error.startsWith(u"podcasts: ")) << result.Error.toStdString();
        EXPECT_EQ(result.Out, u""_s);
    }
}

TEST_F(Program, HelpAndVersionNeedNoProfile) {
    const QString profile = Profile.File(u"none"_s);
    const QString all = RunWith({u"--help"_s, u"--profile"_s, profile}).Out;
    for (const QString& command : kCommands) {
        EXPECT_TRUE(all.contains(u"\n  "_s + command + u' ')) << command.toStdString();
        for (const QStringList& words : {QStringList{command, u"--help"_s}, QStringList{u"--help"_s, command}}) {
            const Result help = RunWith(QStringList({u"--profile"_s, profile}) + words);
            EXPECT_EQ(help.Status, 0);
            EXPECT_TRUE(help.Out.startsWith(u"usage: podcasts "_s + command)) << help.Out.toStdString();
        }
    }
    const Result version = RunWith({u"--version"_s});
    EXPECT_EQ(version.Status, 0);
    EXPECT_TRUE(version.Out.startsWith(u"podcasts 1.")) << version.Out.toStdString();
    EXPECT_FALSE(QDir(profile).exists());
}

TEST_F(Program, AFeedIsSubscribedListedRefreshedAndEnded) {
    const FolderServer server;
    const QString address = WriteFeed(server, u"Show"_s, 2);
    EXPECT_EQ(Json({u"feeds"_s}).array(), QJsonArray());
    const Result subscribed = Run({u"subscribe"_s, address});
    EXPECT_EQ(subscribed.Status, 0);
    EXPECT_EQ(subscribed.Out, u"subscribed to Show: 2 episodes\n"_s);
    const Result again = Run({u"subscribe"_s, address});
    EXPECT_EQ(again.Status, 1);
    EXPECT_TRUE(again.Error.contains(u"already subscribed")) << again.Error.toStdString();
    EXPECT_EQ(Run({u"subscribe"_s, server.Address + u"/none.xml", server.Address + u"/Show-1.mp3"}).Status, 1);

    WriteFeed(server, u"Show"_s, 3);
    const Result refreshed = Run({u"refresh"_s});
    EXPECT_EQ(refreshed.Status, 0);
    EXPECT_TRUE(refreshed.Out.startsWith(u"Show: 1 new episode\n1 new episode:\n1:")) << refreshed.Out.toStdString();
    EXPECT_TRUE(ReadWhole(Profile.File(u"Settings.ini"_s)).contains("CheckUpdatesLastTime="));
    const QJsonObject feed{{u"id"_s, 1},  {u"title"_s, u"Show"_s}, {u"address"_s, address},
                           {u"new"_s, 3}, {u"postponed"_s, 0},     {u"episodes"_s, 3}};
    EXPECT_EQ(Json({u"feeds"_s}).array(), QJsonArray{feed});

    QFile::remove(server.Folder.File(u"Show.xml"_s));
    const Result failed = Run({u"--json"_s, u"refresh"_s, u"1"_s, u"http://none/"_s});
    EXPECT_EQ(failed.Status, 1);
    EXPECT_TRUE(failed.Error.contains(u"404") && failed.Error.contains(u"http://none/")) << failed.Error.toStdString();
    const QJsonObject outcome = QJsonDocument::fromJson(failed.Out.toUtf8()).object();
    EXPECT_EQ(outcome[u"feeds"], 1);
    EXPECT_EQ(outcome[u"new"], 0);
    EXPECT_EQ(outcome[u"failed"][0][u"address"], address);
    EXPECT_TRUE(outcome[u"failed"][0][u"error"].toString().contains(u"404"));

    EXPECT_EQ(Run({u"unsubscribe"_s, u"2"_s}).Status, 1);
    EXPECT_EQ(Run({u"unsubscribe"_s, address}).Status, 0);
    EXPECT_EQ(Episodes(), QJsonArray());
}

TEST_F(Program, EpisodesAreListedFilteredShownAndMarked) {
    const FolderServer server;
    Run({u"subscribe"_s, WriteFeed(server, u"Show"_s, 3), WriteFeed(server, u"Other"_s, 1)});
    const QStringList keys = Keys({u"1"_s});
    ASSERT_EQ(keys.size(), 3);
    const QJsonObject newest{{u"key"_s, keys[0]},
                             {u"feed_id"_s, 1},
                             {u"guid"_s, u"Show-3"_s},
                             {u"title"_s, u"Show part 3"_s},
                             {u"artist"_s, u"Ann"_s},
                             {u"published"_s, u"2024-01-04T10:00:00Z"_s},
                             {u"duration"_s, 90},
                             {u"state"_s, u"new"_s},
                             {u"audio"_s, QString(server.Address + u"/Show-3.mp3")},
                             {u"cached"_s, QJsonValue()},
                             {u"format"_s, u"MP3"_s}};
    EXPECT_EQ(Episodes({u"1"_s})[0], newest);
    EXPECT_EQ(Keys({u"1"_s, u"--limit"_s, u"1"_s, u"--offset=1"_s}), QStringList(keys[1]));
    EXPECT_EQ(Keys({u"--search"_s, u"PART 2"_s}), QStringList(keys[1]));
    EXPECT_EQ(Keys().size(), 4);

    const QString uri = u"podcast"_s + server.Address.sliced(4) + u"/Show-2.mp3";
    EXPECT_EQ(Run({u"mark"_s, u"postponed"_s, keys[0]}).Status, 0);
    EXPECT_EQ(Run({u"mark"_s, u"listened"_s, u"-"_s}, (uri + u" \n\n" + keys[2] + u"\n").toUtf8()).Status, 0);
    EXPECT_EQ(Keys({u"--state"_s, u"postponed"_s}), QStringList(keys[0]));
    EXPECT_EQ(Keys({u"--state"_s, u"listened"_s}), keys.mid(1));
    const Result partly = Run({u"mark"_s, u"new"_s, u"1:00000000"_s, keys[0], u"podcast://none"_s});
    EXPECT_EQ(partly.Status, 1);
    EXPECT_TRUE(partly.Error.contains(u"1:00000000") && partly.Error.contains(u"podcast://none"))
        << partly.Error.toStdString();
    EXPECT_EQ(Keys({u"--state"_s, u"postponed"_s}), QStringList());

    const Result shown = Run({u"show"_s, uri});
    EXPECT_EQ(shown.Status, 0);
    for (const QString& text :
         {u"Show part 2"_s, keys[1], uri, u"Ann"_s, u"01:30"_s, u"listened"_s, u"Notes"_s, u"  http://h/"_s})
        EXPECT_TRUE(shown.Out.contains(text)) << text.toStdString();
    EXPECT_EQ(Run({u"show"_s, u"1:00000000"_s}).Status, 1);
    // After a refresh that finds nothing new the marks stand.
    EXPECT_EQ(Run({u"refresh"_s}).Status, 0);
    EXPECT_EQ(Keys({u"--state"_s, u"listened"_s}), keys.mid(1));
}

TEST_F(Program, AnAddressOrKeyThatFitsSeveralEpisodesIsRefused) {
    const FolderServer server;
    const QString address = WriteFeed(server, u"Show"_s, 1);
    QFile::copy(server.Folder.File(u"Show.xml"_s), server.Folder.File(u"Copy.xml"_s));
    Run({u"subscribe"_s, address, server.Address + u"/Copy.xml"});
    const Result ambiguous = Run({u"mark"_s, u"listened"_s, u"podcast"_s + server.Address.sliced(4) + u"/Show-1.mp3"});
    EXPECT_EQ(ambiguous.Status, 1);
    EXPECT_TRUE(ambiguous.Error.contains(u"several")) << ambiguous.Error.toStdString();
    // These two GUIDs have digests that begin with the same ten digits.
    PlainSqlite(Profile.File(u"Podcasts.db"_s))
        .Run(
            "UPDATE PodcastEpisodes SET FeedID = 1, URI = URI || FeedID, GUID = CASE FeedID WHEN 1 THEN 'guid 1266' "
            "ELSE 'guid 968663' END");
    const QStringList keys = Keys();
    ASSERT_EQ(keys.size(), 2);
    EXPECT_EQ(keys[0].size(), 2 + 11);
    EXPECT_EQ(keys[0].left(12), keys[1].left(12));
    EXPECT_EQ(Run({u"mark"_s, u"listened"_s, keys[0].left(10)}).Status, 1);
    EXPECT_EQ(Keys({u"--state"_s, u"listened"_s}), QStringList());
    EXPECT_EQ(Run({u"mark"_s, u"listened"_s, keys[0].toUpper()}).Status, 0);
    EXPECT_EQ(Keys({u"--state"_s, u"listened"_s}), QStringList(keys[0]));
}

TEST_F(Program, FilesAreDownloadedForgottenAndDeleted) {
    const FolderServer server;
    Run({u"subscribe"_s, WriteFeed(server, u"Show"_s, 4)});
    QFile::remove(server.Folder.File(u"Show-1.mp3"_s));
    const QStringList keys = Keys();  // of parts 4, 3, 2, 1
    ASSERT_EQ(keys.size(), 4);
    const auto fileOf = [&](int part) { return Files.File(u"Show/Show-%1.mp3"_s.arg(part)); };
    const QJsonObject one{{u"downloaded"_s, QJsonArray{QJsonObject{{u"key"_s, keys[0]}, {u"file"_s, fileOf(4)}}}},
                          {u"failed"_s, QJsonArray()}};
    EXPECT_EQ(Json({u"download"_s, keys[0]}).object(), one);
    const Result rest = Run({u"download"_s, u"--new"_s, u"--json"_s});
    EXPECT_EQ(rest.Status, 1);
    const QJsonObject outcome = QJsonDocument::fromJson(rest.Out.toUtf8()).object();
    EXPECT_EQ(outcome[u"downloaded"].toArray().size(), 2);
    EXPECT_EQ(outcome[u"failed"][0][u"key"], keys[3]);
    EXPECT_TRUE(outcome[u"failed"][0][u"error"].toString().contains(u"404"));
    EXPECT_EQ(ReadWhole(fileOf(3)), ReadWhole(server.Folder.File(u"Show-3.mp3"_s)));
    EXPECT_EQ(Episodes()[1][u"cached"], fileOf(3));

    EXPECT_TRUE(QFile::remove(fileOf(4)));
    EXPECT_EQ(Run({u"check-files"_s}).Out, u"1 episode has lost its file\n"_s);
    EXPECT_TRUE(Episodes()[0][u"cached"].isNull());
    EXPECT_EQ(Run({u"delete-files"_s, keys[1]}).Status, 0);
    EXPECT_FALSE(QFile::exists(fileOf(3)));
    EXPECT_TRUE(QFile::exists(qEnvironmentVariable("XDG_DATA_HOME") + u"/Trash/files/Show-3.mp3"));
    EXPECT_EQ(Run({u"delete-files"_s, u"--permanently"_s, keys[2]}).Status, 0);
    EXPECT_FALSE(QFile::exists(fileOf(2)) ||
                 QFile::exists(qEnvironmentVariable("XDG_DATA_HOME") + u"/Trash/files/Show-2.mp3"));
    EXPECT_EQ(Run({u"download"_s, keys[0], keys[1]}).Status, 0);
    EXPECT_EQ(Run({u"unsubscribe"_s, u"1"_s, u"--delete-files"_s}).Status, 0);
    EXPECT_EQ(QDir(Files.File(u"Show"_s)).entryList(QDir::Files), QStringList());
}

TEST_F(Program, OptionsAreKeptInTheProfileAndGlobalOptionsStandAnywhere) {
    EXPECT_EQ(Run({u"options"_s, u"CheckUpdates"_s, u"3"_s}).Status, 0);
    EXPECT_EQ(Run({u"options"_s, u"shownotifications"_s, u"off"_s}).Status, 0);
    const QString options = u"CacheFileNameTemplate="_s + Files.File(u"%FeedTitle%\\%EpisodeFileName%\n"_s) +
                            u"CheckUpdates=3\nCheckUpdatesOnStartup=0\nDownloadNewEpisodesAutomatically=0\n"
                            "MarkEpisodesListenedOnStartPlayback=1\nShowNotifications=0\n";
    EXPECT_EQ(RunWith({u"options"_s, u"--profile="_s + Profile.Path()}).Out, options);
    EXPECT_EQ(RunWith({u"options"_s, u"CheckUpdates"_s, u"--profile"_s, Profile.Path()}).Out, u"3\n"_s);
    EXPECT_EQ(Run({u"--json"_s, u"feeds"_s}).Out, u"[]\n"_s);
}

TEST_F(Program, SubscriptionsMoveToOtherAddressesAndProfiles) {
    const FolderServer server;
    const QString one = WriteFeed(server, u"One"_s, 1), two = WriteFeed(server, u"Two"_s, 1),
                  list = Files.File(u"list.opml"_s);
    Run({u"subscribe"_s, one, two});
    struct {
        QString Old, New;
        int Status;
    } const moves[] = {
        {one, two, 1}, {one, u"nowhere"_s, 1}, {u"9"_s, one, 1}, {two, two, 0}, {u"1"_s, one + u"?moved", 0}};
    for (const auto& [from, to, status] : moves)
        EXPECT_EQ(Run({u"set-address"_s, from, to}).Status, status) << to.toStdString();
    EXPECT_EQ(Run({u"export"_s, list}).Status, 0);
    EXPECT_EQ(Run({u"export"_s}).Out.toUtf8(), ReadWhole(list));

    const TempFolder second;
    const auto inSecond = [&](const QStringList& words) {
        return RunWith(QStringList({u"--profile"_s, second.Path()}) + words);
    };
    QFile::remove(server.Folder.File(u"Two.xml"_s));
    const Result imported = inSecond({u"import"_s, list});
    EXPECT_EQ(imported.Status, 1);
    EXPECT_TRUE(imported.Error.contains(two)) << imported.Error.toStdString();
    EXPECT_TRUE(inSecond({u"feeds"_s}).Out.contains(one + u"?moved"));
    WriteFeed(server, u"Two"_s, 1);
    EXPECT_EQ(inSecond({u"import"_s, list}).Status, 0);
    EXPECT_EQ(inSecond({u"import"_s, server.Folder.File(u"Two.xml"_s)}).Status, 1);
    EXPECT_EQ(inSecond({u"import"_s, Files.File(u"none"_s)}).Status, 1);
}

TEST_F(Program, WhatARefreshBringsIsDownloadedBeforeItEnds) {
    const FolderServer server;
    Run({u"subscribe"_s, WriteFeed(server, u"Show"_s, 1)});
    Run({u"options"_s, u"DownloadNewEpisodesAutomatically"_s, u"1"_s});
    WriteFeed(server, u"Show"_s, 5, 300000);
    EXPECT_EQ(Run({u"refresh"_s}).Status, 0);
    for (const auto& episode : Episodes()) EXPECT_TRUE(QFile::exists(episode[u"cached"].toString()));
    ExpectSound(300000);
}

TEST_F(Program, ADownloadThatIsStoppedLeavesNoRecordAndUnlessKilledNoFile) {
    for (const int signalNumber : {SIGINT, SIGTERM, SIGKILL}) {
        const StallingServer server;
        const TempFolder folder;
        const QString feed = folder.File(u"long.xml"_s), file = Files.File(u"Long/long.mp3"_s);
        WriteWhole(feed, ("<rss version='2.0'><channel><title>Long</title><item><enclosure url='" + server.Address +
                          "'/></item></channel></rss>")
                             .toUtf8());
        ASSERT_EQ(Run({u"subscribe"_s, feed}).Status, 0);
        // Downloaded once already, and then lost: it is fetched again under the name that its row records.
        PlainSqlite(Profile.File(u"Podcasts.db"_s))
            .Run("UPDATE PodcastEpisodes SET URLAudioCached = '" + file.toUtf8() + "'");
        QProcess download;
        Start(download, {u"download"_s, Keys().value(0)});
        for (int i = 0; i < kLongest / 10 && QFileInfo(file).size() == 0; ++i) usleep(10000);
        ASSERT_GT(QFileInfo(file).size(), 0);
        kill(static_cast<pid_t>(download.processId()), signalNumber);
        const Result result = Finish(download);
        EXPECT_EQ(result.Status, signalNumber == SIGKILL ? -1 : 1);
        EXPECT_EQ(result.Error.contains(u"interrupted"), signalNumber != SIGKILL) << result.Error.toStdString();
        EXPECT_EQ(QFile::exists(file), signalNumber == SIGKILL);
        EXPECT_TRUE(Episodes()[0][u"cached"].isNull());
        Run({u"unsubscribe"_s, feed});
    }
}

}  // namespace
