// Two programs on one profile, and programs that are killed.

#include "Program.h"

#include <array>
#include <chrono>
#include <functional>
#include <iostream>
#include <random>
#include <thread>

namespace {

class Crashes : public Program {
protected:
    /// Starts the command again and again and kills it at instants spread over the time that a whole run takes.
    /// `prepare` comes before each run, `check` after it.
    void KillAtRandom(const QString& command, const std::function<void()>& prepare,
                      const std::function<void()>& check) {
        const unsigned seed = std::random_device()();
        std::cout << "seed " << seed << std::endl;
        std::mt19937 random(seed);
        prepare();
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(Run(command).Status, 0);
        std::chrono::duration<double> whole = std::chrono::steady_clock::now() - begin;
        int killed = 0;
        for (int round = 0; round < 8 && !HasFailure(); ++round) {
            prepare();
            QProcess program;
            Start(program, command);
            const auto instant = whole * std::uniform_real_distribution<>()(random);
            std::this_thread::sleep_for(instant);
            program.kill();
            const bool wasKilled = Finish(program).Status == -1;
            killed += wasKilled;
            if (!wasKilled) whole = instant;  // it takes less by now
            check();
        }
        EXPECT_GT(killed, 0);
    }
};

TEST_F(Crashes, WhatAnotherProgramCommitsWhileARefreshWaitsToStoreStands) {
    const FolderServer server;
    ASSERT_EQ(Run("subscribe " + WriteFeed(server, "A", 3) + ' ' + WriteFeed(server, "B", 3)).Status, 0);
    for (const QString& name : QStringList{"A", "B"}) WriteFeed(server, name, 4);
    PlainSqlite other(Profile.File("Podcasts.db"));
    other.Run("BEGIN IMMEDIATE");
    QProcess refresh;
    Start(refresh, "refresh");
    EXPECT_FALSE(refresh.waitForFinished(1000));  // by now it has fetched a feed and cannot write
    other.Run(
        "UPDATE PodcastEpisodes SET State = 2, Description = '' WHERE GUID = 'A-1';"
        "UPDATE PodcastEpisodes SET URLAudioCached = '/f', Description = '' WHERE GUID = 'A-2';"
        "DELETE FROM PodcastFeeds WHERE Name GLOB 'B'; DELETE FROM PodcastEpisodes WHERE FeedID = 2; COMMIT");
    const Result refreshed = Finish(refresh);
    EXPECT_EQ(refreshed.Status, 0);
    EXPECT_TRUE(refreshed.Out.contains(u"/B.xml: unsubscribed meanwhile")) << refreshed.Out.toStdString();
    EXPECT_EQ(other.Rows("SELECT GUID, State, URLAudioCached, length(Description) > 0 FROM PodcastEpisodes"
                         " ORDER BY GUID"),
              QStringList({"A-1|2||1", "A-2|1|/f|1", "A-3|1||1", "A-4|1||1"}));
    EXPECT_EQ(other.Rows("SELECT FeedID FROM PodcastFeeds"), QStringList("1"));
}

TEST_F(Crashes, SeveralThatSubscribeToOneFeedAtOnceStoreItOnce) {
    const FolderServer server({"--latency-ms", "200"});
    const QString address = WriteFeed(server, "A", 3);
    std::array<QProcess, 6> programs;
    for (QProcess& program : programs) Start(program, "subscribe " + address);
    int subscribed = 0;
    for (QProcess& program : programs) subscribed += Finish(program).Status == 0;
    EXPECT_EQ(subscribed, 1);
    EXPECT_EQ(Json("feeds").array().size(), 1);
    EXPECT_EQ(Episodes().size(), 3);
}

TEST_F(Crashes, ARefreshKilledAtAnyInstantLosesNothingThatWasCommitted) {
    const FolderServer server;
    int count = 100, marks = 0;
    const auto writeFeeds = [&]() -> QString {
        return WriteFeed(server, "A", count, 1) + ' ' + WriteFeed(server, "B", count, 1);
    };
    ASSERT_EQ(Run("subscribe " + writeFeeds()).Status, 0);
    const QStringList keys = Keys();
    KillAtRandom(
        "refresh",
        [&] {
            count += 20;
            writeFeeds();
            EXPECT_EQ(Run("mark postponed " + keys[marks++]).Status, 0);
        },
        [&] {
            EXPECT_EQ(Keys("--state postponed").size(), marks);
            ExpectSound(1);
            // A feed is stored whole or not at all.
            for (const auto& feed : Json("feeds").array()) EXPECT_EQ(feed[u"episodes"].toInt() % 20, 0);
        });
    EXPECT_EQ(Run("refresh").Status, 0);
    EXPECT_EQ(Episodes().size(), 2 * count);
}

TEST_F(Crashes, ADownloadKilledAtAnyInstantRecordsNoFileThatIsNotWhole) {
    constexpr int size = 3'000'000;
    const FolderServer server;
    ASSERT_EQ(Run("subscribe " + WriteFeed(server, "A", 6, size)).Status, 0);
    const QStringList keys = Keys();
    KillAtRandom(
        "download " + keys.join(' '),
        // Every other file loses only itself, not its record, and is fetched again under its old name.
        [&] {
            const QStringList deleted = {keys[0], keys[2], keys[4]};
            EXPECT_EQ(Run("delete-files --permanently " + deleted.join(' ')).Status, 0);
            for (const int part : {1, 3, 5}) QFile::remove(Files.File(u"A/A-%1.mp3"_s.arg(part)));
        },
        [&] {
            EXPECT_EQ(Run("check-files").Status, 0);
            ExpectSound(size);
        });
    EXPECT_EQ(Run("download " + keys.join(' ')).Status, 0);
    ExpectSound(size);
    EXPECT_EQ(Run("check-files").Out, "every downloaded file is there\n");
}

TEST_F(Crashes, AnUpgradeKilledAtAnyInstantIsDoneByTheNextStart) {
    const QString file = Profile.File("Podcasts.db"), old = Files.File("Old.db");
    PlainSqlite(old).Run(QByteArray(kFirstLayout) +
                         "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 20000) "
                         "INSERT INTO PodcastEpisodes SELECT 1, 'g' || i, 'Title ' || i, hex(zeroblob(200)), '', '', "
                         "'http://h/' || i || '.mp3', '', 45000 + i, 60, i % 3 FROM n");
    KillAtRandom(
        "feeds",
        [&] {
            for (const QString& suffix : QStringList{"", "-wal", "-shm"}) QFile::remove(file + suffix);
            ASSERT_TRUE(QFile::copy(old, file));
        },
        [&] {
            EXPECT_EQ(Run("feeds").Status, 0);
            ExpectSound(0);
            constexpr char sums[] =
                "SELECT Count(*), Sum(State), Count(DISTINCT GUID), Sum(Format GLOB 'MP3'), "
                "Sum(URI = 'podcast://h/' || substr(GUID, 2) || '.mp3') FROM PodcastEpisodes";
            EXPECT_EQ(PlainSqlite(file).Rows(sums), QStringList("20000|20001|20000|20000|20000"));
        });
}

}  // namespace
