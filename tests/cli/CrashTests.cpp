// Two programs on one profile at a time, and programs that are killed.

#include "Program.h"

#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <iostream>
#include <map>
#include <random>
#include <thread>

namespace {

/// How long a test runs, in a unit of its own; tests/cli/faults asks for more.
int Effort(const char* variable, int usual) {
    const int asked = qEnvironmentVariableIntValue(variable);
    return asked > 0 ? asked : usual;
}

class Crashes : public Program {
protected:
    /// Runs the command again and again, and kills it at instants spread over the duration of a complete run. `prepare`
    /// is called before each run, `check` after it.
    void KillAtRandom(const QString& command, const std::function<void()>& prepare,
                      const std::function<void()>& check) {
        const unsigned seed = std::random_device()();
        std::cout << "seed " << seed << std::endl;
        std::mt19937 random(seed);
        prepare();
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(Run(command).Status, 0);
        std::chrono::duration<double> whole = std::chrono::steady_clock::now() - begin;
        const int rounds = Effort("VEXA_TEST_KILLS", 6);
        int killed = 0;
        for (int round = 0; killed < rounds && round < 4 * rounds && !HasFailure(); ++round) {
            prepare();
            QProcess program;
            Start(program, command);
            const auto instant = whole * std::uniform_real_distribution<>()(random);
            std::this_thread::sleep_for(instant);
            program.kill();
            const bool wasKilled = Finish(program).Status == -1;
            killed += wasKilled;
            whole *= wasKilled ? 1.01 : 0.97;  // the duration of a complete run varies with the machine's load
            check();
        }
        EXPECT_GT(killed, 0);
        std::cout << killed << " kills" << std::endl;
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
    EXPECT_FALSE(refresh.waitForFinished(1000));  // it has fetched a feed by now, and waits to write
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

TEST_F(Crashes, ADownloadKilledAtAnyInstantRecordsNoFileThatIsNotWhole) {
    constexpr int size = 600'000;
    const FolderServer server;
    ASSERT_EQ(Run("subscribe " + WriteFeed(server, "A", 6, size)).Status, 0);
    const QStringList keys = Keys();
    KillAtRandom(
        "download " + keys.join(' '),
        // Of every other episode only the file is deleted, not its record; it is fetched again under its old name.
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

TEST_F(Crashes, AnUnsubscriptionKilledAtAnyInstantIsWholeOrHasOnlyLostFiles) {
    const FolderServer server;
    const QString gone = WriteFeed(server, "Gone", 200), stays = WriteFeed(server, "Stays", 3);
    ASSERT_EQ(Run("subscribe " + stays).Status, 0);
    const QString kept = Keys().value(0);
    ASSERT_EQ(Run("mark postponed " + kept).Status + Run("download " + kept).Status, 0);
    const QString other = "SELECT * FROM PodcastEpisodes WHERE FeedID = 1";
    const QStringList before = Rows(other);
    const auto isSubscribed = [&] { return Rows("SELECT 1 FROM PodcastFeeds").size() == 2; };
    KillAtRandom(
        "unsubscribe --delete-files " + gone,
        [&] {
            if (!isSubscribed()) {
                EXPECT_EQ(Run("subscribe " + gone).Status, 0);
            }
            const QStringList three = Rows("SELECT URI FROM PodcastEpisodes WHERE FeedID > 1 LIMIT 3");
            EXPECT_EQ(Run("download " + three.join(' ')).Status, 0);
        },
        [&] {
            EXPECT_EQ(Run("check-files").Status, 0);
            ExpectSound(100);
            EXPECT_EQ(Rows(other), before);
            EXPECT_EQ(Rows("SELECT 1 FROM PodcastEpisodes").size(), isSubscribed() ? 203 : 3);
        });
}

TEST_F(Crashes, TwoProgramsThatDoEverythingAtOnceLoseNoUpdateOfEachOther) {
    const FolderServer server;
    std::vector<QByteArray> documents;
    for (const int count : {120, 80, 40}) {
        WriteFeed(server, "Shared", count);
        documents.push_back(ReadWhole(server.Folder.File("Shared.xml")));
    }
    ASSERT_EQ(Run("subscribe " + server.Address + u"/Shared.xml").Status, 0);
    const QJsonArray episodes = Episodes();
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(Effort("VEXA_TEST_SECONDS", 3));
    std::array<int, 2> done{}, busy{};
    std::atomic<unsigned> published = 0;
    const auto publish = [&](const QString& name) {  // by an atomic rename, because the other program may be reading
        const unsigned number = ++published;
        QByteArray document = documents[number % documents.size()];
        document.replace("part-", QByteArray("version " + QByteArray::number(number) + " of part-"));
        WriteWhole(server.Folder.File(name), document);
        std::filesystem::rename(server.Folder.File(name).toStdString(), server.Folder.File("Shared.xml").toStdString());
    };
    // Each program has episodes, an option and a feed of its own, and both refresh the feeds that they share.
    const auto work = [&](std::size_t self) {
        std::mt19937 random(static_cast<unsigned>(self));
        PlainSqlite db(Profile.File("Podcasts.db"));
        const QString name = self ? "Second" : "First", own = WriteFeed(server, name, 30);
        const auto succeeds = [&](const QString& words) {
            const Result result = Run(words);
            const bool isBusy = result.Status == 1 && result.Error.contains(u"another program");
            EXPECT_TRUE(result.Status == 0 || isBusy) << words.toStdString() << ": " << result.Error.toStdString();
            ++(isBusy ? busy : done)[self];
            return result.Status == 0;
        };
        const auto value = [&](const QString& column, const QString& guid) {
            return db.Rows(u"SELECT %1 FROM PodcastEpisodes WHERE GUID = '%2'"_s.arg(column, guid).toUtf8()).value(0);
        };
        std::map<QString, int> states;
        QString option;
        while (std::chrono::steady_clock::now() < end && !HasFailure()) {
            const auto& episode = episodes[2 * static_cast<int>(random() % 20) + static_cast<int>(self)];
            const QString key = episode[u"key"].toString(), guid = episode[u"guid"].toString();
            switch (random() % 6) {
                case 0:
                    publish(name + u".new");
                    succeeds("refresh");
                    break;
                case 1: {
                    const int state = static_cast<int>(random() % 3);
                    if (succeeds("mark " + QStringList{"listened", "new", "postponed"}[state] + ' ' + key))
                        states[guid] = state;
                    break;
                }
                case 2:
                    if (!succeeds("download " + key)) break;
                    EXPECT_EQ(QFileInfo(value("URLAudioCached", guid)).size(), 100) << guid.toStdString();
                    break;
                case 3:
                    if (!succeeds("delete-files --permanently " + key)) break;
                    EXPECT_EQ(value("URLAudioCached", guid), "");
                    break;
                case 4:
                    if (const auto words = QString::number(random() % (self ? 2 : 4));
                        succeeds((self ? "options ShowNotifications " : "options CheckUpdates ") + words))
                        option = words;
                    break;
                default: {
                    const bool isSubscribed =
                        db.Rows("SELECT 1 FROM PodcastFeeds WHERE URLFeed = '" + own.toUtf8() + '\'').size() == 1;
                    if (succeeds((isSubscribed ? "unsubscribe " : "subscribe ") + own)) {
                        EXPECT_EQ(db.Rows(u"SELECT 1 FROM PodcastEpisodes WHERE GUID GLOB '%1-*'"_s.arg(name).toUtf8())
                                      .size(),
                                  isSubscribed ? 0 : 30);
                    }
                }
            }
            for (const auto& [marked, state] : states) EXPECT_EQ(value("State", marked).toInt(), state);
            if (!option.isEmpty() && random() % 8 == 0) {
                EXPECT_EQ(Run(self ? "options ShowNotifications" : "options CheckUpdates").Out, QString(option + '\n'))
                    << ReadWhole(Profile.File("Settings.ini")).toStdString();
            }
        }
    };
    std::thread second(work, 1);
    work(0);
    second.join();
    ExpectSound(100);
    EXPECT_GT(std::min(done[0], done[1]), 0);
    std::cout << done[0] << " + " << done[1] << " commands, busy " << busy[0] << " + " << busy[1] << std::endl;
}

}  // namespace
