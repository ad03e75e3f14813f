// Two programs on one profile, and programs that are killed.

#include "Program.h"

#include <array>
#include <chrono>
#include <functional>
#include <iostream>
#include <random>

namespace {

using Clock = std::chrono::steady_clock;

QStringList Sorted(QStringList texts) {
    texts.sort();
    return texts;
}

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
        const auto begin = Clock::now();
        EXPECT_EQ(Run(command).Status, 0);
        std::chrono::duration<double> whole = Clock::now() - begin;
        int killed = 0;
        for (int round = 0; round < 15 && !HasFailure(); ++round) {
            prepare();
            QProcess program;
            Start(program, command);
            const auto instant = whole * std::uniform_real_distribution<>()(random);
            std::this_thread::sleep_for(instant);
            program.kill();
            if (Finish(program).Status == -1)
                ++killed;
            else
                whole = instant;  // it takes less by now
            check();
        }
        EXPECT_GT(killed, 0);
    }
};

TEST_F(Crashes, AMarkMadeDuringARefreshStands) {
    const FolderServer server({"--latency-ms", "300"});
    QStringList feeds;
    for (const QString& name : QStringList{"A", "B", "C"}) feeds += WriteFeed(server, name, 20);
    ASSERT_EQ(Run("subscribe " + feeds.join(' ')).Status, 0);
    const QStringList keys = Keys();
    // Every row is written anew: each description changes.
    for (const QString& name : QStringList{"A", "B", "C"}) {
        const QString file = server.Folder.File(name + u".xml");
        WriteWhole(file, ReadWhole(file).replace("Notes", "Changed"));
    }
    QProcess refresh;
    Start(refresh, "refresh");
    QStringList marked;
    while (refresh.state() == QProcess::Running && marked.size() < keys.size()) {
        marked += keys[marked.size()];
        EXPECT_EQ(Run("mark listened " + marked.last()).Status, 0);
        refresh.waitForFinished(1);
    }
    EXPECT_EQ(Finish(refresh).Status, 0);
    EXPECT_GT(marked.size(), 0);
    EXPECT_EQ(Sorted(Keys("--state listened")), Sorted(marked));
    PlainSqlite db(Profile.File("Podcasts.db"));
    EXPECT_EQ(db.Rows("SELECT Count(*) FROM PodcastEpisodes WHERE Description LIKE '%Changed%'"), QStringList("60"));
}

TEST_F(Crashes, WhatAnotherProgramCommitsWhileARefreshWaitsToStoreStands) {
    const FolderServer server;
    ASSERT_EQ(Run("subscribe " + WriteFeed(server, "A", 3) + ' ' + WriteFeed(server, "B", 3)).Status, 0);
    WriteFeed(server, "A", 4);
    WriteFeed(server, "B", 4);
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
    EXPECT_EQ(
        other.Rows("SELECT GUID, State, URLAudioCached, length(Description) > 0 FROM PodcastEpisodes ORDER BY GUID"),
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
    int count = 100;
    ASSERT_EQ(Run("subscribe " + WriteFeed(server, "A", count, 1) + ' ' + WriteFeed(server, "B", count, 1)).Status, 0);
    const QStringList keys = Keys();
    QStringList marked;
    KillAtRandom(
        "refresh",
        [&] {
            count += 20;
            WriteFeed(server, "A", count, 1);
            WriteFeed(server, "B", count, 1);
            marked += keys[marked.size()];
            EXPECT_EQ(Run("mark postponed " + marked.last()).Status, 0);
        },
        [&] {
            EXPECT_EQ(Sorted(Keys("--state postponed")), Sorted(marked));
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
            EXPECT_EQ(Run(QStringList({"delete-files", "--permanently", keys[0], keys[2], keys[4]}).join(' ')).Status,
                      0);
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
            EXPECT_EQ(
                PlainSqlite(file).Rows("SELECT Count(*), Sum(State), Count(DISTINCT GUID), Sum(Format GLOB 'MP3'), "
                                       "Sum(URI = 'podcast://h/' || substr(GUID, 2) || '.mp3') FROM PodcastEpisodes"),
                QStringList("20000|20001|20000|20000|20000"));
        });
}

}  // namespace
