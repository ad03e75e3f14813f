#include "Commands.h"

#include "Podcasts.Core.Backups.h"
#include "Podcasts.Core.Repair.h"
#include "Podcasts.Core.Restoring.h"
#include "VEXA.Runtime.SQLite.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QStandardPaths>

#include <optional>

namespace podcasts::cli {

namespace {

const QString kList = QStringLiteral("--list");

QString SizeText(qint64 bytes) {
    return QLocale::c().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

/// The limit of the space for backups, which is an option. If the settings cannot be read, nothing is deleted.
std::optional<qint64> LimitIn(const QString& profileFolder) {
    TPodcastClientOptions options;
    try {
        SettingsConfig config(vexa::SettingsFileName(profileFolder));
        ReadPodcastOptions(config, options);
    } catch (const std::exception&) {
        return std::nullopt;
    }
    return options.BackupSizeLimit * kBytesPerBackupUnit;
}

void PrintTitles(Terminal& terminal, const QString& caption, const QStringList& titles) {
    for (const QString& title : titles) terminal.PrintLine(caption + OneLine(title));
}

void PrintChanges(Terminal& terminal, const TPodcastRestoreChanges& changes) {
    PrintTitles(terminal, QStringLiteral("subscribed again: "), changes.SubscribedAgain);
    PrintTitles(terminal, QStringLiteral("unsubscribed: "), changes.Unsubscribed);
    const std::pair<const char*, qint64> numbers[] = {{"episodes added: ", changes.EpisodesAdded},
                                                      {"episodes removed: ", changes.EpisodesRemoved},
                                                      {"marks changed: ", changes.MarksChanged}};
    for (const auto& [caption, number] : numbers)
        if (number > 0) terminal.PrintLine(QString::fromUtf8(caption) + QString::number(number));
    PrintTitles(terminal, QStringLiteral("file replaced: "), changes.Files);
}

bool IsEmpty(const TPodcastRestoreChanges& changes) {
    return changes.SubscribedAgain.isEmpty() && changes.Unsubscribed.isEmpty() && changes.EpisodesAdded == 0 &&
           changes.EpisodesRemoved == 0 && changes.MarksChanged == 0 && changes.Files.isEmpty();
}

}  // namespace

void CheckBackup(const Arguments& arguments) {
    if (arguments.Has(kList) && !arguments.Operands.isEmpty()) throw UsageError(QStringLiteral("--list takes no file"));
}

int RunBackup(const QString& profileFolder, Terminal& terminal, const Arguments& arguments) {
    if (arguments.Has(kList)) {
        for (const TPodcastBackup& backup : ListBackups(profileFolder))
            terminal.PrintLine(backup.ShownDate() + u"  " + SizeText(backup.Size).rightJustified(9) +
                               (backup.IsWhole ? QString() : QStringLiteral("  incomplete")));
        return kDone;
    }
    const auto isCancelled = [&] { return terminal.Interrupted.load(); };
    if (arguments.Operands.isEmpty()) {
        const TPodcastBackup made =
            MakeBackup(profileFolder, QDateTime::currentDateTimeUtc(), LimitIn(profileFolder), isCancelled);
        terminal.PrintLine(u"backed up to " + made.FileName);
    } else {
        MakeBackupFile(profileFolder, QDir().absoluteFilePath(arguments.Operands.first()), isCancelled);
    }
    return kDone;
}

int RunRestore(const QString& profileFolder, Terminal& terminal, const Arguments& arguments) {
    // A date may be two words for a shell.
    const QString operand = arguments.Operands.join(u' ');
    QString fileName = QDir().absoluteFilePath(operand);
    if (!QFileInfo(fileName).isFile()) {
        const auto backup = FindBackup(profileFolder, operand);
        if (!backup) {
            terminal.PrintError(u"there is neither a file nor a backup " + operand +
                                u": \"podcasts backup --list\" lists the backups");
            return kFailed;
        }
        fileName = backup->FileName;
    }
    TPodcastRestoreChanges changes;
    bool isKnown = false;
    try {
        changes = CompareWithBackup(profileFolder, fileName);
        isKnown = true;
    } catch (const vexa::SqliteError& error) {
        terminal.PrintError(u"what changes is not known: " + error.Why().English());
    }
    if (isKnown && IsEmpty(changes)) {
        terminal.PrintLine(QStringLiteral("nothing changes: the profile is as it was then"));
        return kDone;
    }
    if (arguments.Has(QStringLiteral("--dry-run"))) {
        PrintChanges(terminal, changes);
        return isKnown ? kDone : kFailed;
    }
    const QDateTime now = QDateTime::currentDateTimeUtc();
    auto present = TPodcastPresentFiles::Delete;
    try {
        MakeBackup(profileFolder, now, std::nullopt);
    } catch (const std::exception& error) {
        if (QFileInfo::exists(DatabaseFileName(profileFolder)))
            terminal.PrintError(u"what is replaced is kept beside it, since no backup could be made of it: " +
                                vexa::ReasonOf(error).English());
        present = TPodcastPresentFiles::Keep;
    }
    Restore(profileFolder, fileName, now, present);
    PrintChanges(terminal, changes);
    return kDone;
}

int RunCheck(const QString& profileFolder, Terminal& terminal, const Arguments& arguments) {
    const auto isCancelled = [&] { return terminal.Interrupted.load(); };
    if (!arguments.Has(QStringLiteral("--repair"))) {
        const QStringList damage = FindDatabaseDamage(profileFolder, isCancelled);
        for (const QString& line : damage) terminal.PrintError(line);
        if (damage.isEmpty()) {
            ForgetDamage(profileFolder);
            terminal.PrintLine(QStringLiteral("the database is sound"));
        } else {
            terminal.PrintError(QStringLiteral("the database is damaged: \"podcasts check --repair\" repairs it"));
        }
        return damage.isEmpty() ? kDone : kFailed;
    }
    const TPodcastRepair repair = RepairDatabase(profileFolder, QDateTime::currentDateTimeUtc(),
                                                 QStandardPaths::findExecutable(QStringLiteral("sqlite3")));
    if (repair.Aside.isEmpty()) {
        terminal.PrintLine(QStringLiteral("there is nothing to repair"));
        return kDone;
    }
    terminal.PrintLine(QStringLiteral("repaired: %1 podcasts, %2 episodes, %3 of them read from the damaged database")
                           .arg(repair.Feeds)
                           .arg(repair.Episodes)
                           .arg(repair.ReadEpisodes));
    if (repair.BackupDate.isValid())
        terminal.PrintLine(u"what could not be read is as in the backup of " +
                           repair.BackupDate.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")));
    else if (!repair.IsComplete)
        terminal.PrintLine(QStringLiteral("not everything could be read, and there was no backup"));
    terminal.PrintLine(u"the damaged database is in " + repair.Aside);
    return kDone;
}

}  // namespace podcasts::cli
