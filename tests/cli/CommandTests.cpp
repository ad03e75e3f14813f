#include "Program.h"

#include <QDir>

#include <signal.h>

namespace {

TEST_F(Program, WrongUsageEndsWithTwoAndSaysWhyOnStandardError) {
    const QString cases =
        "|nonsense|--nonsense|feeds extra|feeds --new|feeds --json=1|feeds --profile|subscribe|show|show 1:00000000 "
        "--json|"
        "show 1:00000000 1:00000001|mark new|mark heard 1:00000000|download|download --new 1:00000000|episodes --limit|"
        "episodes --limit x|episodes --offset=-1|episodes --state heard|options Nothing|options CheckUpdates 4|"
        "options ShowNotifications maybe|options CacheFileNameTemplate relative|set-address 1";
    for (const QString& words : cases.split('|')) {
        const Result result = Run(words);
        EXPECT_EQ(result.Status, 2) << words.toStdString();
        EXPECT_TRUE(result.Error.startsWith(u"podcasts: ")) << result.Error.toStdString();
        EXPECT_EQ(result.Out, "");
    }
}

TEST_F(Program, HelpAndVersionNeedNoProfile) {
    const QString profile = Profile.File("none");
    const QString all = RunWith("--help --profile " + profile).Out;
    for (const QString& command :
         QStringList{"subscribe", "unsubscribe", "feeds", "episodes", "show", "refresh", "download", "delete-files",
                     "mark", "check-files", "set-address", "options", "import", "export"}) {
        EXPECT_TRUE(all.contains("\n  " + command + u' ')) << command.toStdString();
        for (const QString& words : QStringList{command + " --help", "--help " + command}) {
            const Result help = RunWith("--profile " + profile + ' ' + words);
            EXPECT_EQ(help.Status, 0);
            EXPECT_TRUE(help.Out.startsWith("usage: podcasts " + command)) << help.Out.toStdString();
        }
    }
    const Result version = RunWith("--version");
    EXPECT_EQ(version.Status, 0);
    EXPECT_TRUE(version.Out.startsWith(u"podcasts 1.")) << version.Out.toStdString();
    EXPECT_FALSE(QDir(profile).exists());
}

TEST_F(Program, AFeedIsSubscribedListedRefreshedAndEnded) {
    const FolderServer server;
    const QString address = WriteFeed(server, "Show", 2);
    EXPECT_EQ(Json("feeds").array(), QJsonArray());
    const Result subscribed = Run("subscribe " + address);
    EXPECT_EQ(subscribed.Status, 0);
    EXPECT_EQ(subscribed.Out, "subscribed to Show: 2 episodes\n");
    const Result again = Run("subscribe " + address);
    EXPECT_EQ(again.Status, 1);
    EXPECT_TRUE(again.Error.contains(u"already subscribed")) << again.Error.toStdString();
    EXPECT_EQ(Run("subscribe " + server.Address + u"/none.xml" + ' ' + server.Address + u"/Show-1.mp3").Status, 1);

    WriteFeed(server, "Show", 3);
    const Result refreshed = Run("refresh");
    EXPECT_EQ(refreshed.Status, 0);
    EXPECT_TRUE(refreshed.Out.startsWith(u"Show: 1 new episode\n1 new episode:\n1:")) << refreshed.Out.toStdString();
    EXPECT_TRUE(ReadWhole(Profile.File("Settings.ini")).contains("CheckUpdatesLastTime="));
    const QJsonObject feed{{"id", 1},  {"title", "Show"}, {"address", address},
                           {"new", 3}, {"postponed", 0},  {"episodes", 3}};
    EXPECT_EQ(Json("feeds").array(), QJsonArray{feed});

    QFile::remove(server.Folder.File("Show.xml"));
    const Result failed = Run("--json refresh 1 http://none/");
    EXPECT_EQ(failed.Status, 1);
    EXPECT_TRUE(failed.Error.contains(u"404") && failed.Error.contains(u"http://none/")) << failed.Error.toStdString();
    const QJsonObject outcome = QJsonDocument::fromJson(failed.Out.toUtf8()).object();
    EXPECT_EQ(outcome[u"feeds"], 1);
    EXPECT_EQ(outcome[u"new"], 0);
    EXPECT_EQ(outcome[u"failed"][0][u"address"], address);
    EXPECT_TRUE(outcome[u"failed"][0][u"error"].toString().contains(u"404"));

    EXPECT_EQ(Run("unsubscribe 2").Status, 1);
    EXPECT_EQ(Run("unsubscribe " + address).Status, 0);
    EXPECT_EQ(Episodes(), QJsonArray());
}

TEST_F(Program, EpisodesAreListedFilteredShownAndMarked) {
    const FolderServer server;
    Run("subscribe " + WriteFeed(server, "Show", 3) + ' ' + WriteFeed(server, "Other", 1));
    const QStringList keys = Keys("1");
    ASSERT_EQ(keys.size(), 3);
    const QJsonObject newest{
        {"key", keys[0]},          {"feed_id", 1},    {"guid", "Show-3"},
        {"title", "Show, part-3"}, {"artist", "Ann"}, {"published", "2024-01-04T10:00:00Z"},
        {"duration", 90},          {"state", "new"},  {"audio", QString(server.Address + u"/Show-3.mp3")},
        {"cached", QJsonValue()},  {"format", "MP3"}};
    EXPECT_EQ(Episodes("1")[0], newest);
    EXPECT_EQ(Keys("1 --limit 1 --offset=1"), QStringList(keys[1]));
    EXPECT_EQ(Keys("--search PART-2"), QStringList(keys[1]));
    EXPECT_EQ(Keys().size(), 4);

    const QString uri = "podcast" + server.Address.sliced(4) + u"/Show-2.mp3";
    EXPECT_EQ(Run("mark postponed " + keys[0]).Status, 0);
    EXPECT_EQ(Run("mark listened -", (uri + u" \n\n" + keys[2] + u"\n").toUtf8()).Status, 0);
    EXPECT_EQ(Keys("--state postponed"), QStringList(keys[0]));
    EXPECT_EQ(Keys("--state listened"), keys.mid(1));
    const Result partly = Run("mark new 1:00000000 " + keys[0] + " podcast://none");
    EXPECT_EQ(partly.Status, 1);
    EXPECT_TRUE(partly.Error.contains(u"1:00000000") && partly.Error.contains(u"podcast://none"))
        << partly.Error.toStdString();
    EXPECT_EQ(Keys("--state postponed"), QStringList());

    const Result shown = Run("show " + uri);
    EXPECT_EQ(shown.Status, 0);
    for (const QString& text :
         QStringList{"Show, part-2", keys[1], uri, "Ann", "01:30", "listened", "Notes", "  http://h/"})
        EXPECT_TRUE(shown.Out.contains(text)) << text.toStdString();
    EXPECT_EQ(Run("show 1:00000000").Status, 1);
    // After a refresh that finds nothing new the marks stand.
    EXPECT_EQ(Run("refresh").Status, 0);
    EXPECT_EQ(Keys("--state listened"), keys.mid(1));
}

TEST_F(Program, AnAddressOrKeyThatFitsSeveralEpisodesIsRefused) {
    const FolderServer server;
    const QString address = WriteFeed(server, "Show", 1);
    QFile::copy(server.Folder.File("Show.xml"), server.Folder.File("Copy.xml"));
    Run("subscribe " + address + ' ' + server.Address + u"/Copy.xml");
    const Result ambiguous = Run("mark listened podcast" + server.Address.sliced(4) + u"/Show-1.mp3");
    EXPECT_EQ(ambiguous.Status, 1);
    EXPECT_TRUE(ambiguous.Error.contains(u"several")) << ambiguous.Error.toStdString();
    // These two GUIDs have digests that begin with the same ten digits.
    PlainSqlite(Profile.File("Podcasts.db"))
        .Run(
            "UPDATE PodcastEpisodes SET FeedID = 1, URI = URI || FeedID, GUID = CASE FeedID WHEN 1 THEN 'guid 1266' "
            "ELSE 'guid 968663' END");
    const QStringList keys = Keys();
    ASSERT_EQ(keys.size(), 2);
    EXPECT_EQ(keys[0].size(), 2 + 11);
    EXPECT_EQ(keys[0].left(12), keys[1].left(12));
    EXPECT_EQ(Run("mark listened " + keys[0].left(10)).Status, 1);
    EXPECT_EQ(Keys("--state listened"), QStringList());
    EXPECT_EQ(Run("mark listened " + keys[0].toUpper()).Status, 0);
    EXPECT_EQ(Keys("--state listened"), QStringList(keys[0]));
}

TEST_F(Program, FilesAreDownloadedForgottenAndDeleted) {
    const FolderServer server;
    Run("subscribe " + WriteFeed(server, "Show", 4));
    QFile::remove(server.Folder.File("Show-1.mp3"));
    const QStringList keys = Keys();  // of parts 4, 3, 2, 1
    ASSERT_EQ(keys.size(), 4);
    const auto fileOf = [&](int part) { return Files.File(u"Show/Show-%1.mp3"_s.arg(part)); };
    const QJsonObject one{{"downloaded", QJsonArray{QJsonObject{{"key", keys[0]}, {"file", fileOf(4)}}}},
                          {"failed", QJsonArray()}};
    EXPECT_EQ(Json("download " + keys[0]).object(), one);
    const Result rest = Run("download --new --json");
    EXPECT_EQ(rest.Status, 1);
    const QJsonObject outcome = QJsonDocument::fromJson(rest.Out.toUtf8()).object();
    EXPECT_EQ(outcome[u"downloaded"].toArray().size(), 2);
    EXPECT_EQ(outcome[u"failed"][0][u"key"], keys[3]);
    EXPECT_TRUE(outcome[u"failed"][0][u"error"].toString().contains(u"404"));
    EXPECT_EQ(ReadWhole(fileOf(3)), ReadWhole(server.Folder.File("Show-3.mp3")));
    EXPECT_EQ(Episodes()[1][u"cached"], fileOf(3));

    EXPECT_TRUE(QFile::remove(fileOf(4)));
    EXPECT_EQ(Run("check-files").Out, "1 episode has lost its file\n");
    EXPECT_TRUE(Episodes()[0][u"cached"].isNull());
    EXPECT_EQ(Run("delete-files " + keys[1]).Status, 0);
    EXPECT_FALSE(QFile::exists(fileOf(3)));
    EXPECT_TRUE(QFile::exists(qEnvironmentVariable("XDG_DATA_HOME") + u"/Trash/files/Show-3.mp3"));
    EXPECT_EQ(Run("delete-files --permanently " + keys[2]).Status, 0);
    EXPECT_FALSE(QFile::exists(fileOf(2)) ||
                 QFile::exists(qEnvironmentVariable("XDG_DATA_HOME") + u"/Trash/files/Show-2.mp3"));
    EXPECT_EQ(Run("download " + keys[0] + ' ' + keys[1]).Status, 0);
    EXPECT_EQ(Run("unsubscribe 1 --delete-files").Status, 0);
    EXPECT_EQ(QDir(Files.File("Show")).entryList(QDir::Files), QStringList());
}

TEST_F(Program, OptionsAreKeptInTheProfileAndGlobalOptionsStandAnywhere) {
    EXPECT_EQ(Run("options CheckUpdates 3").Status, 0);
    EXPECT_EQ(Run("options shownotifications off").Status, 0);
    const QString options = "CacheFileNameTemplate=" + Files.File("%FeedTitle%\\%EpisodeFileName%\n") +
                            u"CheckUpdates=3\nCheckUpdatesOnStartup=0\nDownloadNewEpisodesAutomatically=0\n"
                            "MarkEpisodesListenedOnStartPlayback=1\nShowNotifications=0\n";
    EXPECT_EQ(RunWith("options --profile=" + Profile.Path()).Out, options);
    EXPECT_EQ(RunWith("options CheckUpdates --profile " + Profile.Path()).Out, "3\n");
    EXPECT_EQ(Run("--json feeds").Out, "[]\n");
}

TEST_F(Program, SubscriptionsMoveToOtherAddressesAndProfiles) {
    const FolderServer server;
    const QString one = WriteFeed(server, "One", 1), two = WriteFeed(server, "Two", 1), list = Files.File("list.opml");
    Run("subscribe " + one + ' ' + two);
    struct {
        QString Old, New;
        int Status;
    } const moves[] = {{one, two, 1}, {one, "nowhere", 1}, {"9", one, 1}, {two, two, 0}, {"1", one + u"?moved", 0}};
    for (const auto& [from, to, status] : moves)
        EXPECT_EQ(Run("set-address " + from + ' ' + to).Status, status) << to.toStdString();
    EXPECT_EQ(Run("export " + list).Status, 0);
    EXPECT_EQ(Run("export").Out.toUtf8(), ReadWhole(list));

    const tests::TempFolder second;
    const auto inSecond = [&](const QString& words) { return RunWith("--profile " + second.Path() + ' ' + words); };
    QFile::remove(server.Folder.File("Two.xml"));
    const Result imported = inSecond("import " + list);
    EXPECT_EQ(imported.Status, 1);
    EXPECT_TRUE(imported.Error.contains(two)) << imported.Error.toStdString();
    EXPECT_TRUE(inSecond("feeds").Out.contains(one + u"?moved"));
    WriteFeed(server, "Two", 1);
    EXPECT_EQ(inSecond("import " + list).Status, 0);
    EXPECT_EQ(inSecond("import " + server.Folder.File("Two.xml")).Status, 1);
    EXPECT_EQ(inSecond("import " + Files.File("none")).Status, 1);
}

TEST_F(Program, WhatARefreshBringsIsDownloadedBeforeItEnds) {
    const FolderServer server;
    Run("subscribe " + WriteFeed(server, "Show", 1));
    Run("options DownloadNewEpisodesAutomatically 1");
    WriteFeed(server, "Show", 5, 300000);
    EXPECT_EQ(Run("refresh").Status, 0);
    for (const auto& episode : Episodes()) EXPECT_TRUE(QFile::exists(episode[u"cached"].toString()));
    ExpectSound(300000);
}

TEST_F(Program, ADownloadThatIsStoppedLeavesNoRecordAndUnlessKilledNoFile) {
    for (const int signalNumber : {SIGINT, SIGTERM, SIGKILL}) {
        const StallingServer server;
        const tests::TempFolder folder;
        const QString feed = folder.File("long.xml"), file = Files.File("Long/long.mp3");
        WriteWhole(feed, ("<rss version='2.0'><channel><title>Long</title><item><enclosure url='" + server.Address +
                          "'/></item></channel></rss>")
                             .toUtf8());
        ASSERT_EQ(Run("subscribe " + feed).Status, 0);
        // Downloaded once already, and then lost: it is fetched again under the name that its row records.
        PlainSqlite(Profile.File("Podcasts.db"))
            .Run("UPDATE PodcastEpisodes SET URLAudioCached = '" + file.toUtf8() + "'");
        QProcess download;
        Start(download, "download " + Keys().value(0));
        for (int i = 0; i < kLongest / 10 && QFileInfo(file).size() == 0; ++i) usleep(10000);
        ASSERT_GT(QFileInfo(file).size(), 0);
        kill(static_cast<pid_t>(download.processId()), signalNumber);
        const Result result = Finish(download);
        EXPECT_EQ(result.Status, signalNumber == SIGKILL ? -1 : 1);
        EXPECT_EQ(result.Error.contains(u"interrupted"), signalNumber != SIGKILL) << result.Error.toStdString();
        EXPECT_EQ(QFile::exists(file), signalNumber == SIGKILL);
        EXPECT_TRUE(Episodes()[0][u"cached"].isNull());
        Run("unsubscribe " + feed);
    }
}

}  // namespace
