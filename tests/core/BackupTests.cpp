// Backups and restoring: what is kept of them, what they hold, and that a program killed at any step leaves a whole.

#include "ClientTests.h"
#include "Podcasts.Core.Backups.h"
#include "Podcasts.Core.Restoring.h"

#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace {
int CallsLeft = 0;  // until this process kills itself; 0: it does not
void CountCall() {
    if (CallsLeft > 0 && --CallsLeft == 0) raise(SIGKILL);
}
}  // namespace

// In place of the C library's, for all libraries of this program.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): its names are reserved.
extern "C" int rename(const char* from, const char* to) noexcept {
    CountCall();
    return static_cast<int>(syscall(SYS_rename, from, to));
}
extern "C" int mkdir(const char* name, mode_t mode) noexcept {
    CountCall();
    return static_cast<int>(syscall(SYS_mkdir, name, mode));
}
extern "C" int fsync(int descriptor) {
    CountCall();
    return static_cast<int>(syscall(SYS_fsync, descriptor));
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

namespace podcasts {
namespace {

TEST(Backups, ThoseOfTheNewestDaysWeeksAndMonthsStayAsFarAsThereIsRoom) {
    const QDateTime newest(QDate(2026, 11, 26), QTime(12, 0), Qt::LocalTime);
    const auto left = [&](const std::vector<int>& hoursBefore, qint64 size, qint64 limit, std::size_t broken = 99) {
        std::vector<TPodcastBackup> backups;
        for (const int hours : hoursBefore)
            backups.push_back({{}, newest.addSecs(-3600 * hours).toUTC(), size, backups.size() != broken});
        const auto superfluous = FindSuperfluousBackups(backups, limit);
        QStringList kept;
        for (std::size_t i = 0; i < backups.size(); ++i)
            if (std::find(superfluous.begin(), superfluous.end(), i) == superfluous.end())
                kept += QString::number(hoursBefore[i] / 24);
        return kept.join(' ');
    };
    std::vector<int> daily(500);
    for (std::size_t i = 0; i < daily.size(); ++i) daily[i] = static_cast<int>(i) * 24;
    // Thursday 26 November: days 0 to 6; the Sundays 4, 11 and 18 before, and this week; the ends of months.
    EXPECT_EQ(left(daily, 1, 1000), "0 1 2 3 4 5 6 11 18 26 57 87 118 149 179 210 240 271 299 330");
    EXPECT_EQ(left(daily, 1, 12), "0 1 2 3 4 11 18 26 57 87 118 149");
    EXPECT_EQ(left({0, 24, 48}, 1000, 1), "0") << "the newest stays, however large it is";
    EXPECT_EQ(left({0, 24, 48}, 1000, 1, 0), "1") << "the newest that is whole stays";
    EXPECT_EQ(left({0, 1, 2, 20, 30, 37, 38}, 1, 1000), "0 0 0 0 1") << "one of a day, but all of the last 24 hours";
}

class BackupTest : public ClientTest {
protected:
    BackupTest() {
        Subscribe("a", {{"1", "/1.mp3"}, {"2", "/2.mp3"}});
        WriteWhole(Folder.File("Positions.json"), "old");
    }
    void Write(const QString& json) { WriteWhole(Folder.File("Positions.json"), json.toUtf8()); }
    TPodcastBackup BackUp(const QString& when = "2026-01-02T03:04:05Z") {
        return MakeBackup(Folder.Path(), QDateTime::fromString(when, Qt::ISODate), 1'000'000'000);
    }
    void RestoreFrom(const QString& fileName) {
        Restore(Folder.Path(), fileName, QDateTime::currentDateTimeUtc(), TPodcastPresentFiles::Delete);
    }
    /// What the profile holds: the states of the episodes, and the other file.
    QString State() {
        const QStringList states = Rows("SELECT Group_Concat(State, '') FROM PodcastEpisodes");
        return states.value(0) + ' ' + QString::fromUtf8(ReadWhole(Folder.File("Positions.json")));
    }
    QStringList Left() { return QDir(Folder.Path()).entryList({"Re*"}); }
};

TEST_F(BackupTest, RestoringBringsBackTheProfileButNoNumberTwice) {
    Rows("INSERT INTO PodcastFeedDocuments (FeedID, ETag) VALUES (1, 'tag')");
    Client->UpdateState(Key("/1.mp3"), pesListened);
    WriteWhole(Folder.File("audio.mp3"), "no setting");
    const TPodcastBackup backup = BackUp();
    EXPECT_EQ(PlainSqlite(backup.FileName).Rows("SELECT Name, Data FROM ProfileFiles"),
              QStringList("Positions.json|old"));
    EXPECT_FALSE(QFile::exists(backup.FileName + "-wal"));

    Client->UpdateState(Key("/1.mp3"), pesPostponed);
    Client->Unsubscribe(Server.Url("/a"), false);
    Subscribe("b", {{"1", "/b1.mp3"}});
    Subscribe("c", {});
    Write("new");
    const TPodcastRestoreChanges changes = CompareWithBackup(Folder.Path(), backup.FileName);
    EXPECT_EQ(changes.SubscribedAgain, QStringList("a"));
    EXPECT_EQ(changes.Unsubscribed, QStringList({"b", "c"}));
    EXPECT_EQ(changes.EpisodesAdded - changes.EpisodesRemoved * 10, 2 - 10);
    EXPECT_EQ(changes.Files, QStringList("Positions.json"));

    EXPECT_THROW(RestoreFrom(backup.FileName), vexa::ReasonError) << "the profile is open";
    EXPECT_EQ(State(), "1 new");
    Client.reset();
    RestoreFrom(backup.FileName);
    EXPECT_EQ(State(), "01 old");
    EXPECT_EQ(Left(), QStringList());
    EXPECT_EQ(Rows("SELECT Count(*) FROM PodcastFeedDocuments"), QStringList("0"));
    Open();
    Subscribe("d", {});
    EXPECT_EQ(Feed("/d").ID, 4) << "the numbers of podcasts that came after the backup are not used again";
}

TEST_F(BackupTest, OneIsDueOnceADayWhenSomethingHasChanged) {
    const auto isDue = [&](const QDateTime& when) { return IsBackupDue(Folder.Path(), when); };
    const QDateTime now = QDateTime::currentDateTimeUtc().addSecs(2);
    EXPECT_TRUE(isDue(now));
    Client->StartBackups({});
    EXPECT_TRUE(tests::WaitUntil([&] { return ListBackups(Folder.Path()).size() == 1; }))
        << "none is made at the start";
    Client.reset();
    MakeBackup(Folder.Path(), now, std::nullopt);
    EXPECT_FALSE(isDue(now.addDays(1))) << "nothing has changed";
    // A database that was opened since then has an empty log.
    for (const auto& [name, isChange] : {std::pair("Podcasts.db-wal", false), {"Positions.json", true}}) {
        QFile file(Folder.File(name));
        ASSERT_TRUE(file.open(QIODevice::ReadWrite) &&
                    file.setFileTime(now.addSecs(60), QFileDevice::FileModificationTime));
        EXPECT_FALSE(isDue(now));
        EXPECT_EQ(isDue(now.addDays(1)), isChange) << name;
    }
}

TEST_F(BackupTest, WhatIsNoneOrFailsChangesNothing) {
    const TPodcastBackup backup = BackUp();
    Write("new");
    Client.reset();
    const QString other = Folder.File("other"), before = State();
    QByteArray bytes = ReadWhole(backup.FileName), damaged = bytes;
    for (qsizetype i = 8192; i < 8192 * 3; ++i) damaged[i] = 'x';
    PlainSqlite(Folder.File("empty.db")).Run("CREATE TABLE Something (Text)");
    for (const QByteArray& content : {QByteArray(), QByteArray("no database"), damaged, bytes.first(bytes.size() / 2),
                                      ReadWhole(Folder.File("empty.db"))}) {
        WriteWhole(other, content);
        EXPECT_THROW(RestoreFrom(other), vexa::ReasonError) << content.size();
        EXPECT_EQ(State(), before);
        EXPECT_EQ(Left(), QStringList());
    }
    // A damaged database gives no backup, and costs none.
    WriteWhole(Folder.File("Podcasts.db"), damaged);
    EXPECT_ANY_THROW(BackUp("2026-01-03T00:00:00Z"));
    EXPECT_EQ(QDir(Folder.File("Backups")).entryList(QDir::Files).size(), 1);
}

TEST_F(BackupTest, AProgramKilledAtAnyStepLeavesTheOldOrTheNewWhole) {
    const TPodcastBackup backup = BackUp();
    Client->UpdateState(Key("/1.mp3"), pesListened);
    Write("new");
    Client.reset();
    const QString whole = Folder.File("whole.db");
    MakeBackupFile(Folder.Path(), whole);
    std::array<int, 2> outcomes{};
    int backups = 0;
    for (int call = 1;; ++call) {
        const pid_t child = fork();
        if (child == 0) {
            CallsLeft = call;
            BackUp("2026-01-04T00:00:00Z");
            RestoreFrom(backup.FileName);
            _exit(0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        for (const TPodcastBackup& made : ListBackups(Folder.Path())) {
            EXPECT_TRUE(made.IsWhole);
            EXPECT_EQ(PlainSqlite(made.FileName).Rows("PRAGMA quick_check"), QStringList("ok"));
            if (made.FileName != backup.FileName) ++backups, QFile::remove(made.FileName);
        }
        Open();  // finishes it, as the next start does
        Client.reset();
        const QString state = State();
        EXPECT_TRUE(state == "01 new" || state == "11 old") << call << ": " << state.toStdString();
        EXPECT_FALSE(Left().contains("Restoring"));
        ++outcomes[state == "11 old"];
        if (WIFEXITED(status)) break;
        RestoreFrom(whole);
        Write("new");
    }
    EXPECT_GT(outcomes[0], 5);
    EXPECT_GT(outcomes[1], 5);
    EXPECT_GT(backups, 5);
    EXPECT_EQ(Left(), QStringList());
}

}  // namespace
}  // namespace podcasts
