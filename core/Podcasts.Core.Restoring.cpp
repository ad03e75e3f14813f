#include "Podcasts.Core.Restoring.h"

#include "Podcasts.Core.Backups.h"
#include "Podcasts.Core.DB.h"
#include "Podcasts.Core.Reasons.h"
#include "Podcasts.Core.Repair.h"
#include "VEXA.Runtime.FileReason.h"
#include "VEXA.Runtime.Profile.h"
#include "VEXA.Runtime.SQLite.File.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace podcasts {

using vexa::Reason;
using vexa::ReasonError;
using vexa::SqliteFile;

namespace {

bool HasTable(SqliteFile& file, std::string_view table) {
    vexa::SqlBuilder query("SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = ");
    query.Text(QString::fromUtf8(table.data(), static_cast<qsizetype>(table.size())));
    return file.Query(query.Sql()) != nullptr;
}

/// Opens and checks a backup.
class Backup {
public:
    explicit Backup(const QString& fileName) {
        try {
            FFile.emplace(fileName, SqliteFile::Mode::Read);
            if (const QStringList damage = FFile->FindDamage(1); !damage.isEmpty())
                throw ReasonError(Reason(CoreReason("NoBackup"), {fileName, damage[0]}));
            if (!HasTable(*FFile, "PodcastFeeds") || !HasTable(*FFile, "PodcastEpisodes"))
                throw ReasonError(Reason(CoreReason("NoBackup"), {fileName, Reason(CoreReason("NoPodcasts"))}));
        } catch (const vexa::SqliteError& error) {
            throw ReasonError(Reason(CoreReason("NoBackup"), {fileName, error.Why()}));
        }
    }

    SqliteFile& File() { return *FFile; }
    /// Visits the files other than the database. A copy of a database that this program did not make has none.
    void EnumFiles(const std::function<void(const QString& name, const QByteArray& bytes)>& visitor) {
        if (!HasTable(*FFile, kBackedUpFiles)) return;
        if (const auto row = FFile->Query(std::string("SELECT Name, Data FROM ") + kBackedUpFiles + " ORDER BY Name"))
            do
                if (const QString name = row->Text(0); IsFileOfBackups(name)) visitor(name, row->Blob(1));
            while (row->Next());
    }

private:
    std::optional<SqliteFile> FFile;
};

void Write(const QString& fileName, const QByteArray& bytes) {
    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush())
        throw ReasonError(Reason(CoreReason("CannotWriteFile"), {fileName, vexa::FileReason(file)}));
}

QByteArray Read(const QString& fileName) {
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList Texts(SqliteFile& file, std::string_view sql) {
    QStringList texts;
    if (const auto row = file.Query(sql)) do
            texts += row->Text(0);
        while (row->Next());
    return texts;
}

/// Writes the database of the backup to a new file, as the program needs it.
void WriteDatabase(SqliteFile& backup, const QString& target) {
    {
        SqliteFile copy(target, SqliteFile::Mode::New);
        copy.CopyFrom(backup);
        copy.ExecuteSQL(std::string("DROP TABLE IF EXISTS ") + kBackedUpFiles);
    }
    {
        TPodcastsDB db(target);  // upgrades an older layout, and refuses a newer one
        // The documents may have changed since then. With these notes a server might answer that they have not.
        db.ExecuteSQL("DELETE FROM PodcastFeedDocuments");
    }
    // One file without a log: programs that end early must not separate the two.
    SqliteFile(target, SqliteFile::Mode::Write).ExecuteSQL("PRAGMA journal_mode=DELETE");
}

/// Keeps other programs from preparing something else, or deleting the backup, meanwhile.
class BackupsLock {
public:
    explicit BackupsLock(const QString& profileFolder)
        : FLock(BackupFolder(profileFolder), vexa::FolderLock::Kind::Exclusive) {
        if (!FLock.IsHeld()) throw ReasonError(Reason(CoreReason("BackupBusy")));
    }

private:
    const vexa::FolderLock FLock;
};

}  // namespace

TPodcastRestoreChanges CompareWithBackup(const QString& profileFolder, const QString& backupFile) {
    Backup backup(backupFile);
    TPodcastRestoreChanges changes;
    backup.EnumFiles([&](const QString& name, const QByteArray& bytes) {
        if (Read(QDir(profileFolder).filePath(name)) != bytes) changes.Files += name;
    });
    SqliteFile& file = backup.File();
    const QString present = DatabaseFileName(profileFolder);
    const std::string titles = "SELECT CASE Name WHEN '' THEN URLFeed ELSE Name END FROM ";
    if (!QFileInfo::exists(present)) {
        changes.SubscribedAgain = Texts(file, titles + "PodcastFeeds ORDER BY FeedID");
        if (const auto row = file.Query("SELECT Count(*) FROM PodcastEpisodes"))
            changes.EpisodesAdded = row->Integer64(0);
        return changes;
    }
    file.ExecuteSQL(vexa::SqlBuilder("ATTACH ").Text(present).Raw(" AS Present").Sql());
    const auto others = [&](const std::string& of, const std::string& than) {
        return titles + of + ".PodcastFeeds WHERE URLFeed NOT IN (SELECT URLFeed FROM " + than +
               ".PodcastFeeds) ORDER BY FeedID";
    };
    changes.SubscribedAgain = Texts(file, others("main", "Present"));
    changes.Unsubscribed = Texts(file, others("Present", "main"));
    const auto count = [&](const std::string& sql) {
        const auto row = file.Query("SELECT Count(*) FROM " + sql);
        return row ? row->Integer64(0) : 0;
    };
    const std::string same =
        "main.PodcastEpisodes One JOIN Present.PodcastEpisodes Other ON Other.URI = One.URI AND Other.FeedID = "
        "One.FeedID";
    // The first layout identifies episodes in another way, so that only their numbers can be compared.
    const qint64 then = count("main.PodcastEpisodes"), now = count("Present.PodcastEpisodes");
    if (count("pragma_table_info('PodcastEpisodes') WHERE name = 'URI'") == 0) {
        changes.EpisodesAdded = std::max<qint64>(then - now, 0);
        changes.EpisodesRemoved = std::max<qint64>(now - then, 0);
        return changes;
    }
    const qint64 shared = count(same);
    changes.EpisodesAdded = then - shared;
    changes.EpisodesRemoved = now - shared;
    changes.MarksChanged = count(same + " WHERE One.State IS NOT Other.State");
    return changes;
}

void PrepareRestore(const QString& profileFolder, const QString& backupFile, const QDateTime& now,
                    TPodcastPresentFiles present) {
    const BackupsLock lock(profileFolder);
    Backup backup(backupFile);
    vexa::ProfileReplacement replacement(profileFolder);
    WriteDatabase(backup.File(), replacement.File(QStringLiteral("Podcasts.db")));
    backup.EnumFiles([&](const QString& name, const QByteArray& bytes) { Write(replacement.File(name), bytes); });
    replacement.Commit(now.toLocalTime().toString(QStringLiteral("'Replaced' yyyy-MM-dd HH.mm.ss")),
                       present == TPodcastPresentFiles::Keep ? vexa::ReplacedFiles::Keep : vexa::ReplacedFiles::Delete);
}

void Restore(const QString& profileFolder, const QString& backupFile, const QDateTime& now,
             TPodcastPresentFiles present) {
    const vexa::FolderLock lock(profileFolder, vexa::FolderLock::Kind::Exclusive);
    if (!lock.IsHeld() || vexa::IsDatabaseInUse(DatabaseFileName(profileFolder)))
        throw ReasonError(Reason(CoreReason("ProfileInUse"), {profileFolder}));
    vexa::FinishReplacement(profileFolder, lock);  // of a program that was killed
    PrepareRestore(profileFolder, backupFile, now, present);
    if (vexa::FinishReplacement(profileFolder, lock) != vexa::ReplacementResult::InUse)
        return ForgetDamage(profileFolder);
    vexa::CancelReplacement(profileFolder);
    throw ReasonError(Reason(CoreReason("ProfileInUse"), {profileFolder}));
}

}  // namespace podcasts
