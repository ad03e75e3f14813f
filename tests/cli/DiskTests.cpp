// A full disk, and folders without write permission.

#include "FileSizeLimit.h"
#include "Program.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>

namespace {

class Disk : public Program {
protected:
    /// Runs the command with the profile, after calling `prepare` in the new process.
    Result RunPrepared(const QString& words, const std::function<void()>& prepare) {
        QProcess program;
        program.setChildProcessModifier(prepare);
        Start(program, words);
        return Finish(program);
    }
    /// Everything stored that the commands below may change.
    QStringList Stored() {
        return Rows("SELECT GUID, State, URLAudioCached <> '' FROM PodcastEpisodes ORDER BY rowid")
               << Run("options").Out;
    }
};

TEST_F(Disk, AFullOneIsReportedAndStoredDataStays) {
    if (!tests::kCanLimitFileSize) GTEST_SKIP();
    const QString address = Subscribe("A", 40), other = Publish("B", 30);
    const QStringList keys = Keys();
    ASSERT_EQ(Run("mark postponed " + keys[0]).Status + Run("download " + keys[1]).Status, 0);
    Publish("A", 300, 200'000);
    const QString commands[] = {"refresh",
                                "subscribe " + other,
                                "mark listened " + keys.join(' '),
                                "download " + keys[2],
                                "options CheckUpdates 3",
                                "unsubscribe " + address};
    int failures = 0;
    for (const QString& command : commands) {
        const QStringList before = Stored();
        for (const rlim_t bytes : {0, 200, 5'000, 30'000, 130'000}) {
            const Result result = RunPrepared(command, [bytes] {
                const rlimit limit{bytes, bytes};
                setrlimit(RLIMIT_FSIZE, &limit);
            });
            ExpectSound(100);
            if (result.Status == 0) break;  // the limit was large enough
            EXPECT_EQ(result.Status, 1) << command.toStdString();
            EXPECT_TRUE(result.Error.contains(u"; check the disk") || result.Error.contains(u": File too large"))
                << result.Error.toStdString();
            EXPECT_EQ(Stored(), before) << bytes << ' ' << command.toStdString();
            ++failures;
        }
    }
    EXPECT_GT(failures, 10);
    EXPECT_EQ(Run("refresh").Status, 0);
}

TEST_F(Disk, EveryCommandReportsAProfileThatCannotBeWritten) {
    Subscribe("A", 3);
    const QString key = Keys().value(0);
    const QStringList before = Stored();
    const QByteArray folder = QFile::encodeName(Profile.Path()), file = folder + "/Podcasts.db";
    const auto asSomebodyElse = [] {
        constexpr uid_t nobody = 65534;
        if (geteuid() == 0 && setuid(nobody) != 0) _exit(9);
    };
    const mode_t modes[][2] = {{0000, 0644}, {0555, 0444}, {0555, 0666}, {0777, 0444}, {0777, 0000}};
    for (const auto& [ofFolder, ofFile] : modes) {
        for (const QString& command :
             QStringList{"feeds", "mark listened " + key, "options CheckUpdates 3", "refresh"}) {
            chmod(file.constData(), ofFile);
            chmod(folder.constData(), ofFolder);
            const Result result = RunPrepared(command, asSomebodyElse);
            chmod(folder.constData(), 0700);
            chmod(file.constData(), 0644);
            EXPECT_EQ(result.Status, 1) << command.toStdString();
            EXPECT_EQ(Stored(), before);
        }
    }
    EXPECT_EQ(Run("mark listened " + key).Status, 0);
    EXPECT_EQ(Run("options CheckUpdates 3").Status, 0);
}

}  // namespace
