// A damaged database: set aside, replaced, repaired.

#include "ClientTests.h"
#include "Podcasts.Core.Backups.h"
#include "Podcasts.Core.Repair.h"
#include "Podcasts.Core.Restoring.h"
#include "VEXA.Runtime.Profile.h"

#include <QStandardPaths>

#include <numeric>
#include <random>

namespace podcasts {
namespace {

class RepairTest : public ClientTest {
protected:
    static constexpr int kEpisodes = 400;

    RepairTest() {
        std::vector<Item> items;
        for (int i = 0; i < kEpisodes; ++i)
            items.push_back({QString::number(i), u"/%1.mp3"_s.arg(i), u"Title %1 "_s.arg(i) + QString(500, u'x')});
        Subscribe("a", items);
        Subscribe("b", {{"1", "/b.mp3"}});
        MakeBackup(Folder.Path(), QDateTime::fromString("2026-01-02T03:04:05Z", Qt::ISODate), std::nullopt);
        // Later than the backup
        QStringList keys;
        for (int i = 0; i < kEpisodes; i += 3) keys += Key(u"/%1.mp3"_s.arg(i));
        Client->UpdateState(keys, pesListened);
        Client->Unsubscribe(Server.Url("/b"), false);
        Subscribe("c", {{"1", "/c.mp3"}, {"2", "/c2.mp3"}});
        Subscribe("e", {{"1", "/e.mp3"}});
        Client.reset();
        FSound = ReadWhole(File());
    }
    QString File() const { return DatabaseFileName(Folder.Path()); }
    /// Damages the database as the seed says: some bytes anywhere, a page, or a run of pages.
    void Damage(unsigned seed) {
        std::mt19937 random(seed);
        QByteArray bytes = FSound;
        const auto size = static_cast<std::size_t>(bytes.size());
        if (seed % 3 == 0) {
            for (unsigned left = 1 + random() % 60; left > 0; --left)
                bytes[static_cast<qsizetype>(random() % size)] = static_cast<char>(random());
        } else {
            const std::size_t pages = seed % 3 == 1 ? 1 : 1 + random() % 12;
            const std::size_t page = random() % (size / 8192 - pages);
            for (std::size_t i = page * 8192; i < (page + pages) * 8192; ++i)
                bytes[static_cast<qsizetype>(i)] = static_cast<char>(seed % 2 == 0 ? 0 : random());
        }
        WriteWhole(File(), bytes);
        QFile::remove(File() + "-wal");
        QFile::remove(File() + "-shm");
    }
    /// The states of the episodes that a simple reader gets out of the file, row by row.
    QMap<QString, QString> Readable() const {
        QMap<QString, QString> states;
        PlainSqlite db(File());
        for (int row = 1; row <= kEpisodes + 10; ++row) {
            try {
                for (const QString& found :
                     db.Rows("SELECT FeedID || ' ' || GUID || '|' || State FROM PodcastEpisodes NOT INDEXED WHERE "
                             "typeof(FeedID || State) = 'text' AND typeof(GUID) = 'text' AND State IN (0, 1, 2) AND "
                             "rowid = " +
                             QByteArray::number(row)))
                    states.insert(found.section('|', 0, 0), found.section('|', 1));
            } catch (const std::exception&) {
            }
        }
        return states;
    }

    /// Whether the seed has damaged the database so that it is noticed; then it is repaired.
    bool IsRepaired(int seed) {
        SCOPED_TRACE(seed);
        Damage(static_cast<unsigned>(seed));
        const auto readable = Readable();
        if (FindDatabaseDamage(Folder.Path()).isEmpty()) return false;
        const TPodcastRepair repair =
            RepairDatabase(Folder.Path(), QDateTime::currentDateTimeUtc(),
                           seed % 4 == 0 ? QStandardPaths::findExecutable("sqlite3") : QString());
        EXPECT_EQ(FindDatabaseDamage(Folder.Path()), QStringList());
        EXPECT_TRUE(QFile::exists(repair.Aside + "/Podcasts.db"));
        QMap<QString, QString> states;
        PlainSqlite db(File());
        for (const QString& row : db.Rows("SELECT FeedID || ' ' || GUID || '|' || State FROM PodcastEpisodes"))
            states.insert(row.section('|', 0, 0), row.section('|', 1));
        for (auto row = readable.begin(); row != readable.end(); ++row)
            EXPECT_EQ(states.value(row.key()), row.value()) << row.key().toStdString();
        // Of a row that is damaged unnoticed, the GUID or the address may be another one now.
        const QStringList uris = db.Rows("SELECT URI FROM PodcastEpisodes WHERE FeedID = 1");
        const QSet<QString> known(uris.begin(), uris.end());
        for (int i = 0; i < kEpisodes; ++i)
            EXPECT_TRUE(states.contains("1 " + QString::number(i)) || known.contains(Key(u"/%1.mp3"_s.arg(i))))
                << i << " is in the backup";
        Open();  // and the program can use it
        Client->UpdateState(Key("/1.mp3"), pesPostponed);
        Client.reset();
        QDir(repair.Aside).removeRecursively();
        return true;
    }

private:
    QByteArray FSound;
};

TEST_F(RepairTest, WhateverCanBeReadIsThereAfterwardsAndTheRestIsAsInTheBackup) {
    const int asked = qEnvironmentVariableIntValue("VEXA_TEST_SEEDS");
    std::vector<int> seeds(static_cast<std::size_t>(asked > 0 ? asked : 7));
    std::iota(seeds.begin(), seeds.end(), qEnvironmentVariableIntValue("VEXA_TEST_FIRST_SEED"));
    if (asked == 0) seeds.insert(seeds.end(), {270, 1356});  // give a row another one's id, and its URI
    std::size_t repaired = 0;
    for (const int seed : seeds) {
        if (HasFailure()) break;
        try {
            repaired += IsRepaired(seed) ? 1 : 0;
        } catch (const std::exception& error) {
            ADD_FAILURE() << seed << ": " << error.what();
        }
    }
    EXPECT_GT(repaired, seeds.size() / 2);
}

TEST_F(RepairTest, RowsThatNothingLeadsToAreTakenFromTheRecoveringProgram) {
    const QString program = QStandardPaths::findExecutable("sqlite3"), script = Folder.File("recover");
    if (program.isEmpty()) GTEST_SKIP() << "sqlite3 is not installed";
    // Not every sqlite3 is built with what its .recover needs: this one writes what that makes of lost rows.
    const QStringList rows = Rows(
        "SELECT printf('INSERT INTO lost_and_found VALUES (4, 9, 13, %d, %Q, %d, %Q, %Q, '''', '''', '''', %Q, "
        "'''', 0, 0, %d, '''');', rowid, URI, FeedID, GUID, Title, URLAudio, State) FROM PodcastEpisodes");
    WriteWhole(
        Folder.File("statements"),
        "BEGIN; CREATE TABLE lost_and_found (rootpgno, pgno, nfield, id, c0, c1, c2, c3, c4, c5, c6, c7, c8, c9, c10, "
        "c11, c12);" +
            rows.join("").toUtf8() + "COMMIT;");
    WriteWhole(script, "#!/bin/sh\ncase \"$3\" in\n.recover*) cat '" + Folder.File("statements").toUtf8() +
                           "' ;;\n*) exec " + program.toUtf8() + " \"$@\" ;;\nesac\n");
    QFile::setPermissions(script, QFile::ReadOwner | QFile::ExeOwner);
    const int root = Rows("SELECT rootpage FROM sqlite_master WHERE name = 'PodcastEpisodes'").value(0).toInt();
    QByteArray damaged = ReadWhole(File());
    damaged.replace(8192 * (root - 1), 8192, QByteArray(8192, 'x'));
    for (const bool isSetAside : {false, true}) {
        SCOPED_TRACE(isSetAside);
        Client.reset();
        WriteWhole(File(), damaged);
        if (isSetAside) ReplaceDamagedDatabase(Folder.Path(), QDateTime::currentDateTimeUtc());
        const auto repair = RepairDatabase(Folder.Path(), QDateTime::currentDateTimeUtc(), script);
        EXPECT_EQ(repair.ReadEpisodes, kEpisodes + 3);
        Open();
        EXPECT_EQ(Rows("SELECT Title, URLAudio, State FROM PodcastEpisodes WHERE FeedID > 2")
                      .replaceInStrings(Server.Url(""), ""),
                  QStringList({"Episode|/c.mp3|1", "Episode|/c2.mp3|1", "Episode|/e.mp3|1"}))
            << "not only what indexes know";
        QDir(repair.Aside).removeRecursively();
    }
}

TEST_F(RepairTest, ADamagedDatabaseIsSetAsideForTheBackupAndItsMarksComeBackLater) {
    // A damaged number must not use up those that are left.
    Rows("UPDATE sqlite_sequence SET seq = 9223372036854775807");
    Rows("UPDATE PodcastEpisodes SET FeedID = 'x' WHERE GUID = '5'");
    QByteArray damaged = ReadWhole(File());
    damaged.replace(20 * 8192, 8192, QByteArray(8192, 'x'));
    WriteWhole(File(), damaged);
    NoteDamage(Folder.Path());
    EXPECT_THROW(Open(), vexa::SqliteError) << "nothing may write to it";
    {
        const vexa::FolderLock other(Folder.Path(), vexa::FolderLock::Kind::Shared);
        EXPECT_THROW(ReplaceDamagedDatabase(Folder.Path(), QDateTime::currentDateTimeUtc()), vexa::ReasonError)
            << "another program has it open";
        EXPECT_TRUE(ReadWhole(File()) == damaged);
    }
    const TPodcastRepair replaced = ReplaceDamagedDatabase(Folder.Path(), QDateTime::currentDateTimeUtc());
    EXPECT_TRUE(replaced.BackupDate.isValid());
    EXPECT_TRUE(ReadWhole(replaced.Aside + "/Podcasts.db") == damaged) << "nothing was written to it";
    Open();
    EXPECT_TRUE(Client->IsSubscribed(Server.Url("/b"))) << "as in the backup";
    EXPECT_EQ(Episode("/3.mp3").State, pesNew);
    Client->UpdateState(Key("/1.mp3"), pesPostponed);
    Subscribe("d", {{"1", "/d.mp3"}});
    Subscribe("c", {{"1", "/c.mp3"}});
    Client.reset();
    RepairDatabase(Folder.Path(), QDateTime::currentDateTimeUtc(), {});
    Open();
    EXPECT_EQ(Rows("SELECT URLFeed FROM PodcastFeeds ORDER BY FeedID").replaceInStrings(Server.Url("/"), ""),
              QStringList({"a", "b", "d", "c", "e"}));
    // In the damaged database "c" had the number of "d", and "e" that of "c".
    EXPECT_EQ(EpisodeCount("/d"), 1);
    EXPECT_EQ(EpisodeCount("/c"), 2) << "as in the damaged one";
    EXPECT_EQ(EpisodeCount("/e"), 1);
    EXPECT_EQ(Episode("/3.mp3").State, pesListened);
    EXPECT_EQ(Episode("/1.mp3").State, pesPostponed) << "what was marked since then stays";
    EXPECT_EQ(Rows("SELECT typeof(FeedID) FROM PodcastEpisodes GROUP BY 1"), QStringList("integer"));
    Client.reset();
    EXPECT_EQ(RepairDatabase(Folder.Path(), QDateTime::currentDateTimeUtc(), {}).Aside, "") << "nothing is left to do";

    // A backup that the user wants restored is in place before anything is repaired.
    PrepareRestore(Folder.Path(), ListBackups(Folder.Path()).back().FileName, QDateTime::currentDateTimeUtc(),
                   TPodcastPresentFiles::Keep);
    WriteWhole(File(), damaged);
    EXPECT_EQ(RepairDatabase(Folder.Path(), QDateTime::currentDateTimeUtc(), {}).Aside, QString());
    Open();
    EXPECT_EQ(Episode("/3.mp3").State, pesNew);
}

}  // namespace
}  // namespace podcasts
