#include "Program.h"

#include <QDir>

namespace {

TEST_F(Program, AProfileIsBackedUpListedAndRestored) {
    Subscribe("Show", 3);
    Subscribe("Other", 1);
    ASSERT_TRUE(Run("backup").Out.startsWith("backed up to " + Profile.Path() + "/Backups/2"));
    const QString line = Run("backup --list").Out;
    const QString date = line.left(19), file = Files.File("mine");
    ASSERT_EQ(line.count('\n'), 1) << line.toStdString();
    EXPECT_EQ(Run("restore " + date).Out, "nothing changes: the profile is as it was then\n");

    ASSERT_EQ(Run("mark listened " + Keys().join(' ')).Status + Run("unsubscribe 2").Status, 0);
    ASSERT_EQ(Run("options CheckUpdates 3").Status, 0);
    ASSERT_EQ(Run("backup " + file).Status, 0);
    const QString changes =
        "subscribed again: Other\nepisodes added: 1\nmarks changed: 3\nfile replaced: Settings.ini\n";
    EXPECT_EQ(Run("restore --dry-run " + date).Out, changes);
    EXPECT_EQ(Rows("SELECT Sum(State) FROM PodcastEpisodes"), QStringList("0"));
    {
        PlainSqlite other(Profile.File("Podcasts.db"));
        other.Rows("SELECT Count(*) FROM PodcastFeeds");  // SQLite opens a file when it is first used
        ExpectFailure("restore " + date.left(10), {"another program has the profile", "open"});
    }
    EXPECT_EQ(Run("restore " + date).Out, changes);
    EXPECT_EQ(Json("feeds").array().size(), 2);
    EXPECT_EQ(Run("options CheckUpdates").Out, "2\n");
    EXPECT_EQ(Run("restore " + file).Status, 0);
    EXPECT_EQ(Json("feeds").array().size(), 1);
    EXPECT_EQ(Run("backup --list").Out.count('\n'), 4) << "what was replaced has become a backup, too";

    WriteWhole(file, "no backup");
    ExpectFailure("restore " + file, {"mine is not a backup: "});
    ExpectFailure("restore 1999", {"there is neither a file nor a backup 1999"});
}

TEST_F(Program, ADamagedDatabaseIsFoundAndRepaired) {
    Subscribe("Show", 60);
    EXPECT_EQ(Run("check").Out, "the database is sound\n");
    ASSERT_EQ(Run("backup").Status, 0);
    ASSERT_EQ(Run("mark listened " + Keys("--limit 5").join(' ')).Status, 0);
    const QString file = Profile.File("Podcasts.db");
    const QStringList page = Rows("SELECT rootpage - 1 FROM sqlite_master WHERE name = 'PodcastEpisodesByDate'");
    QByteArray bytes = ReadWhole(file);
    bytes.replace(page[0].toInt() * 8192, 8192, QByteArray(8192, 'x'));
    WriteWhole(file, bytes);
    ExpectFailure("check", {"podcasts check --repair"});
    EXPECT_EQ(Run("check --repair").Out.section('\n', 0, 0),
              "repaired: 1 podcasts, 60 episodes, 60 of them read from the damaged database");
    EXPECT_EQ(Run("check").Status, 0);
    EXPECT_EQ(Keys("--state listened").size(), 5) << "marked after the backup";
    EXPECT_EQ(Run("check --repair").Out, "there is nothing to repair\n");
}

TEST_F(Program, WithoutItsBackupAnActionNeedsAWord) {
    QString ids;
    for (int i = 1; i <= 11; ++i) {
        Subscribe("Show" + QString::number(i), 1);
        ids += ' ' + QString::number(i);
    }
    WriteWhole(Profile.File("Backups"), "in the way");
    ExpectFailure("unsubscribe" + ids, {"no backup could be made first", "--without-backup"});
    EXPECT_EQ(Rows("SELECT Count(*) FROM PodcastFeeds"), QStringList("11"));
    EXPECT_EQ(Run("unsubscribe 11").Status, 0);
    EXPECT_EQ(Run("unsubscribe" + ids.section(' ', 0, 10)).Status, 0) << "ten are not too many";
    // The same before an upgrade.
    Rows("DROP INDEX PodcastEpisodesByDate");
    ExpectFailure("feeds", {"no backup could be made first"});
    EXPECT_EQ(Run("feeds --without-backup").Status, 0);
    QFile::remove(Profile.File("Backups"));
    Rows("DROP INDEX PodcastEpisodesByDate");
    EXPECT_EQ(Run("feeds").Status, 0);
    EXPECT_EQ(Run("backup --list").Out.count('\n'), 1);
}

}  // namespace
