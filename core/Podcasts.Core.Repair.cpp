#include "Podcasts.Core.Repair.h"

#include "Podcasts.Core.Backups.h"
#include "Podcasts.Core.DB.Columns.h"
#include "Podcasts.Core.DB.h"
#include "Podcasts.Core.Reasons.h"
#include "Podcasts.Core.Salvage.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Profile.h"
#include "VEXA.Runtime.SQLite.File.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <algorithm>
#include <optional>

namespace podcasts {

using vexa::Reason;
using vexa::ReasonError;
using vexa::SqliteFile;

namespace {

const QString kDatabase = QStringLiteral("Podcasts.db");
const QString kAside = QStringLiteral("Damaged ");
const QString kRepaired = QStringLiteral("Repaired");  // in the folder of a damaged database: nothing is left to do

QString NoteName(const QString& profileFolder) {
    return DatabaseFileName(profileFolder) + u".damaged";
}

/// An empty file, whose time tells when the database was last checked without a backup.
QString CheckNote(const QString& profileFolder) {
    return QDir(BackupFolder(profileFolder)).filePath(QStringLiteral("Checked"));
}

std::optional<TPodcastBackup> NewestSound(const QString& profileFolder) {
    for (const TPodcastBackup& backup : ListBackups(profileFolder)) {
        if (!backup.IsWhole) continue;
        try {
            if (SqliteFile(backup.FileName, SqliteFile::Mode::Read).FindDamage(1).isEmpty()) return backup;
        } catch (const vexa::SqliteError& error) {
            qCWarning(vexa::LogDatabase).noquote() << error.what();
        }
    }
    return std::nullopt;
}

/// The exclusive lock on a profile that no program has open.
class ProfileOfNobody {
public:
    explicit ProfileOfNobody(const QString& profileFolder)
        : FProfile(profileFolder), FLock(profileFolder, vexa::FolderLock::Kind::Exclusive) {
        if (!FLock.IsHeld() || vexa::IsDatabaseInUse(DatabaseFileName(profileFolder))) Refuse();
        vexa::FinishReplacement(profileFolder, FLock);  // one that waits for the next start, or of a program that died
    }

    /// Puts the new database in its place, and what is there now in the folder `aside`.
    void Replace(vexa::ProfileReplacement& replacement, const QString& aside, vexa::ReplacedFiles replaced) {
        replacement.Commit(aside, replaced);
        if (vexa::FinishReplacement(FProfile, FLock) != vexa::ReplacementResult::InUse) return;
        vexa::CancelReplacement(FProfile);
        Refuse();
    }

private:
    [[noreturn]] void Refuse() const { throw ReasonError(Reason(CoreReason("ProfileInUse"), {FProfile})); }

    const QString FProfile;
    const vexa::FolderLock FLock;
};

QString AsideName(const QDateTime& now) {
    return kAside + now.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH.mm.ss"));
}

/// Makes `target` the database of the backup, or a new one without.
void Begin(const QString& target, const std::optional<TPodcastBackup>& backup) {
    if (backup) {
        SqliteFile source(backup->FileName, SqliteFile::Mode::Read);
        SqliteFile copy(target, SqliteFile::Mode::New);
        copy.CopyFrom(source);
        copy.ExecuteSQL(std::string("DROP TABLE IF EXISTS ") + kBackedUpFiles);
    }
    TPodcastsDB db(target);
    db.ExecuteSQL("DELETE FROM PodcastFeedDocuments");  // see Podcasts.Core.Restoring.cpp
}

void EndWithoutLog(const QString& target) {
    SqliteFile(target, SqliteFile::Mode::Write).ExecuteSQL("PRAGMA journal_mode=DELETE");
}

/// The folder of the newest damaged database that was set aside and not repaired yet; empty when there is none.
QString NewestAside(const QString& profileFolder) {
    for (const QString& name :
         QDir(profileFolder).entryList({kAside + u'*'}, QDir::Dirs, QDir::Name | QDir::Reversed)) {
        const QDir folder(QDir(profileFolder).filePath(name));
        if (folder.exists(kDatabase) && !folder.exists(kRepaired)) return folder.path();
    }
    return {};
}

}  // namespace

QStringList FindDatabaseDamage(const QString& profileFolder, const vexa::CancelCheck& isCancelled) {
    const QString database = DatabaseFileName(profileFolder);
    if (!QFileInfo::exists(database) || QFileInfo(database).size() == 0) return {};
    try {
        return SqliteFile(database, SqliteFile::Mode::Read, isCancelled).FindDamage();
    } catch (const vexa::SqliteError& error) {
        if (!error.IsOfDamage()) throw;
        return {error.Why().English()};
    }
}

bool IsCheckDue(const QString& profileFolder, const QDateTime& now) {
    constexpr qint64 kDays = 7;
    if (!QFileInfo::exists(DatabaseFileName(profileFolder))) return false;
    const auto isRecent = [&](const QDateTime& when) {
        return when.isValid() && when <= now.addSecs(1) && when.daysTo(now) < kDays;
    };
    const auto backups = ListBackups(profileFolder);
    return !isRecent(QFileInfo(CheckNote(profileFolder)).lastModified()) &&
           std::none_of(backups.begin(), backups.end(),
                        [&](auto& backup) { return backup.IsWhole && isRecent(backup.Date); });
}

void NoteCheck(const QString& profileFolder, const QDateTime& now) {
    QDir().mkpath(BackupFolder(profileFolder));
    QFile note(CheckNote(profileFolder));
    if (!note.open(QIODevice::WriteOnly) || !note.setFileTime(now, QFileDevice::FileModificationTime))
        qCWarning(vexa::LogDatabase).noquote() << "cannot note the check of the database:" << note.errorString();
}

void NoteDamage(const QString& profileFolder) {
    QFile note(NoteName(profileFolder));
    if (!note.open(QIODevice::WriteOnly)) qCWarning(vexa::LogDatabase).noquote() << note.errorString();
}

bool IsDamageNoted(const QString& profileFolder) {
    return QFileInfo::exists(NoteName(profileFolder));
}

void ForgetDamage(const QString& profileFolder) {
    QFile::remove(NoteName(profileFolder));
}

TPodcastRepair ReplaceDamagedDatabase(const QString& profileFolder, const QDateTime& now) {
    ProfileOfNobody profile(profileFolder);
    TPodcastRepair repair;
    const auto backup = NewestSound(profileFolder);
    if (backup) repair.BackupDate = backup->Date;
    vexa::ProfileReplacement replacement(profileFolder);
    const QString target = replacement.File(kDatabase);
    Begin(target, backup);
    {
        TPodcastsDB db(target);
        repair.Feeds = db.QueryInteger("SELECT Count(*) FROM PodcastFeeds");
        repair.Episodes = db.QueryInteger("SELECT Count(*) FROM PodcastEpisodes");
    }
    EndWithoutLog(target);
    repair.IsComplete = false;
    const QString aside = AsideName(now);
    profile.Replace(replacement, aside, vexa::ReplacedFiles::Keep);
    repair.Aside = QDir(profileFolder).filePath(aside);
    ForgetDamage(profileFolder);
    return repair;
}

TPodcastRepair RepairDatabase(const QString& profileFolder, const QDateTime& now, const QString& recoverProgram) {
    ProfileOfNobody profile(profileFolder);
    TPodcastRepair repair;
    const QString present = DatabaseFileName(profileFolder);
    const bool isPresentSound = FindDatabaseDamage(profileFolder).isEmpty();
    const QString former = isPresentSound ? NewestAside(profileFolder) : QString();
    if (isPresentSound && former.isEmpty()) return repair;
    vexa::ProfileReplacement replacement(profileFolder);
    const QString target = replacement.File(kDatabase);
    const auto base = isPresentSound ? TPodcastBackup{present, {}, 0, true} : NewestSound(profileFolder);
    if (base && !isPresentSound) repair.BackupDate = base->Date;
    Begin(target, base);
    // Of two states of one episode that of the damaged database is the later one, unless the program has gone on
    // without it since, or a clock was wrong.
    const QString damaged = isPresentSound ? QDir(former).filePath(kDatabase) : present;
    const bool isLater = !isPresentSound && (!base || QFileInfo(damaged).lastModified() >= base->Date ||
                                             QFileInfo(damaged + u"-wal").lastModified() >= base->Date);
    {
        const TPodcastSalvage salvage(target, damaged, recoverProgram, isLater);
        repair.ReadEpisodes = salvage.ReadEpisodes();
        repair.IsComplete = salvage.IsComplete();
    }
    {
        TPodcastsDB db(target);
        repair.Feeds = db.QueryInteger("SELECT Count(*) FROM PodcastFeeds");
        repair.Episodes = db.QueryInteger("SELECT Count(*) FROM PodcastEpisodes");
    }
    EndWithoutLog(target);
    const QString aside = AsideName(now);
    profile.Replace(replacement, aside, isPresentSound ? vexa::ReplacedFiles::Delete : vexa::ReplacedFiles::Keep);
    repair.Aside = isPresentSound ? former : QDir(profileFolder).filePath(aside);
    QFile done(QDir(repair.Aside).filePath(kRepaired));
    static_cast<void>(done.open(QIODevice::WriteOnly));
    ForgetDamage(profileFolder);
    return repair;
}

}  // namespace podcasts
