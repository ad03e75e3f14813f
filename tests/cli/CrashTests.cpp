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
    Crashes() { std::cout << "seed " << FSeed << std::endl; }

    /// Starts the command again and again and kills it at instants spread over the time that a whole run takes.
    /// `prepare` comes before each run, `check` after it.
    void KillAtRandom(const QStringList& command, const std::function<void()>& prepare,
                      const std::function<void()>& check) {
        prepare();
        const auto begin = Clock::now();
        EXPECT_EQ(Run(command).Status, 0);
        const auto whole = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin).count();
        std::uniform_int_distribution<std::int64_t> instant(0, whole);
        int killed = 0;
        for (int round = 0; round < 15 && !HasFailure(); ++round) {
            prepare();
            QProcess program;
            Start(program, command);
            std::this_thread::sleep_for(std::chrono::microseconds(instant(FRandom)));
            program.kill();
            killed += Finish(program).Status == -1;
            check();
        }
        EXPECT_GT(killed, 0);
    }

private:
    const unsigned FSeed = std::random_device()();
    std::mt19937 FRandom{FSeed};
};

TEST_F(Crashes, AMarkMadeDuringARefreshStands) {
    const FolderServer server({u"--latency-ms"_s, u"300"_s});
    QStringList feeds;
    for (const QString& name : {u"A"_s, u"B"_s, u"C"_s}) feeds += WriteFeed(server, name, 20);
    ASSERT_EQ(Run(QStringList(u"subscribe"_s) + feeds).Status, 0);
    const QStringList keys = Keys();
    // Every row is written anew: each description changes.
    for (const QString& name : {u"A"_s, u"B"_s, u"C"_s}) {
        const QString file = server.Folder.File(name + u".xml");
        WriteWhole(file, ReadWhole(file).replace("Notes", "Changed"));
    }
    QProcess refresh;
    Start(refresh, {u"refresh"_s});
    QStringList marked;
    while (refresh.state() == QProcess::Running && marked.size() < keys.size()) {
        marked += keys[marked.size()];
        EXPECT_EQ(Run({u"mark"_s, u"listened"_s, marked.last()}).Status, 0);
        refresh.waitForFinished(1);
    }
    EXPECT_EQ(Finish(refresh).Status, 0);
    EXPECT_GT(marked.size(), 0);
    EXPECT_EQ(Sorted(Keys({u"--state"_s, u"listened"_s})), Sorted(marked));
    PlainSqlite db(Profile.File(u"Podcasts.db"_s));
    EXPECT_EQ(db.Rows("SELECT Count(*) FROM PodcastEpisodes WHERE Description LIKE '%Changed%'"), QStringList(u"60"_s));
}

TEST_F(Crashes, WhatAnotherProgramCommitsWhileARefreshWaitsToStoreStands) {
    const FolderServer server;
    ASSERT_EQ(Run({u"subscribe"_s, WriteFeed(server, u"A"_s, 3), WriteFeed(server, u"B"_s, 3)}).Status, 0);
    WriteFeed(server, u"A"_s, 4);
    WriteFeed(server, u"B"_s, 4);
    PlainSqlite other(Profile.File(u"Podcasts.db"_s));
    other.Run("BEGIN IMMEDIATE");
    QProcess refresh;
    Start(refresh, {u"refresh"_s});
    std::this_thread::sleep_for(std::chrono::seconds(1));  // by now it has fetched a feed and cannot write
    EXPECT_EQ(refresh.state(), QProcess::Running);
    other.Run(
        "UPDATE PodcastEpisodes SET State = 2, Description = '' WHERE GUID = 'A-1';"
        "UPDATE PodcastEpisodes SET URLAudioCached = '/f', Description = '' WHERE GUID = 'A-2';"
        "DELETE FROM PodcastFeeds WHERE Name GLOB 'B'; DELETE FROM PodcastEpisodes WHERE FeedID = 2; COMMIT");
    EXPECT_EQ(Finish(refresh).Status, 0);
    EXPECT_EQ(
        other.Rows("SELECT GUID, State, URLAudioCached, length(Description) > 0 FROM PodcastEpisodes ORDER BY GUID"),
        QStringList({u"A-1|2||1"_s, u"A-2|1|/f|1"_s, u"A-3|1||1"_s, u"A-4|1||1"_s}));
    EXPECT_EQ(other.Rows("SELECT FeedID FROM PodcastFeeds"), QStringList(u"1"_s));
}

TEST_F(Crashes, SeveralThatSubscribeToOneFeedAtOnceStoreItOnce) {
    const FolderServer server({u"--latency-ms"_s, u"200"_s});
    const QString address = WriteFeed(server, u"A"_s, 3);
    std::array<QProcess, 6> programs;
    for (QProcess& program : programs) Start(program, {u"subscribe"_s, address});
    int subscribed = 0;
    for (QProcess& program : programs) subscribed += Finish(program).Status == 0;
    EXPECT_EQ(subscribed, 1);
    EXPECT_EQ(Json({u"feeds"_s}).array().size(), 1);
    EXPECT_EQ(Episodes().size(), 3);
}

TEST_F(Crashes, ARefreshKilledAtAnyInstantLosesNothingThatWasCommitted) {
    const FolderServer server;
    int count = 100;
    ASSERT_EQ(Run({u"subscribe"_s, WriteFeed(server, u"A"_s, count, 1), WriteFeed(server, u"B"_s, count, 1)}).Status,
              0);
    const QStringList keys = Keys();
    QStringList marked;
    KillAtRandom(
        {u"refresh"_s},
        [&] {
            count += 20;
            WriteFeed(server, u"A"_s, count, 1);
            WriteFeed(server, u"B"_s, count, 1);
            marked += keys[marked.size()];
            EXPECT_EQ(Run({u"mark"_s, u"postponed"_s, marked.last()}).Status, 0);
        },
        [&] {
            EXPECT_EQ(Sorted(Keys({u"--state"_s, u"postponed"_s})), Sorted(marked));
            ExpectSound(1);
            // A feed is stored whole or not at all.
            for (const auto& feed : Json({u"feeds"_s}).array()) EXPECT_EQ(feed[u"episodes"].toInt() % 20, 0);
        });
    EXPECT_EQ(Run({u"refresh"_s}).Status, 0);
    EXPECT_EQ(Episodes().size(), 2 * count);
}

TEST_F(Crashes, ADownloadKilledAtAnyInstantRecordsNoFileThatIsNotWhole) {
    constexpr int size = 3'000'000;
    const FolderServer server;
    ASSERT_EQ(Run({u"subscribe"_s, WriteFeed(server, u"A"_s, 6, size)}).Status, 0);
    const QStringList keys = Keys();
    KillAtRandom(
        QStringList(u"download"_s) + keys,
        // Every other file loses only itself, not its record, and is fetched again under its old name.
        [&] {
            EXPECT_EQ(Run(QStringList({u"delete-files"_s, u"--permanently"_s, keys[0], keys[2], keys[4]})).Status, 0);
            for (const int part : {1, 3, 5}) QFile::remove(Files.File(u"A/A-%1.mp3"_s.arg(part)));
        },
        [&] {
            EXPECT_EQ(Run({u"check-files"_s}).Status, 0);
            ExpectSound(size);
        });
    EXPECT_EQ(Run(QStringList(u"download"_s) + keys).Status, 0);
    ExpectSound(size);
    EXPECT_EQ(Run({u"check-files"_s}).Out, u"every downloaded file is there\n"_s);
}

TEST_F(Crashes, AnUpgradeKilledAtAnyInstantIsDoneByTheNextStart) {
    const QString file = Profile.File(u"Podcasts.db"_s), old = Files.File(u"Old.db"_s);
    PlainSqlite(old).Run(QByteArray(kFirstLayout) +
                         "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 20000) "
                         "INSERT INTO PodcastEpisodes SELECT 1, 'g' || i, 'Title ' || i, hex(zeroblob(200)), '', '', "
                         "'http://h/' || i || '.mp3', '', 45000 + i, 60, i % 3 FROM n");
    KillAtRandom(
        {u"feeds"_s},
        [&] {
            for (const QString& suffix : {u""_s, u"-wal"_s, u"-shm"_s}) QFile::remove(file + suffix);
            ASSERT_TRUE(QFile::copy(old, file));
        },
        [&] {
            EXPECT_EQ(Run({u"feeds"_s}).Status, 0);
            ExpectSound(0);
            EXPECT_EQ(
                PlainSqlite(file).Rows("SELECT Count(*), Sum(State), Count(DISTINCT GUID), Sum(Format GLOB 'MP3'), "
                                       "Sum(URI = 'podcast://h/' || substr(GUID, 2) || '.mp3') FROM PodcastEpisodes"),
                QStringList(u"20000|20001|20000|20000|20000"_s));
        });
}

}  // namespace
