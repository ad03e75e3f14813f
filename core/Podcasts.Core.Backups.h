#pragma once
// Backups of a profile: its database, and the programs' settings, playing positions and playlists. docs/backups.md
// describes the file. Any thread.

#include "VEXA.Runtime.Threads.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <optional>
#include <span>
#include <vector>

namespace podcasts {

/// The profile's database.
QString DatabaseFileName(const QString& profileFolder);
/// The profile's folder of backups. Whoever changes it or restores from it locks it (vexa::FolderLock).
QString BackupFolder(const QString& profileFolder);

/// A file in the profile's folder of backups.
struct TPodcastBackup {
    QString FileName;
    QDateTime Date;       // UTC
    qint64 Size = 0;      // bytes
    bool IsWhole = true;  // as long as its header says; restoring also checks its contents

    /// The date in the user's time, as lists show it and FindBackup takes it: "2026-11-26 17:40:12".
    QString ShownDate() const;
};

/// The newest first.
std::vector<TPodcastBackup> ListBackups(const QString& profileFolder);
/// The newest backup whose shown date begins with `date`; nothing when there is none.
std::optional<TPodcastBackup> FindBackup(const QString& profileFolder, const QString& date);

/// Which of the backups, newest first, are not worth their space: all but those of the last 24 hours before the newest,
/// and the newest of each of the newest seven days, four weeks and twelve months that have any, days being local ones.
/// While what is left takes more than `limit` bytes, the oldest of the most numerous of these kinds is not worth it,
/// either; but never the newest that is whole.
std::vector<std::size_t> FindSuperfluousBackups(std::span<const TPodcastBackup> backups, qint64 limit);

/// The unit of the option BackupSizeLimit.
inline constexpr qint64 kBytesPerBackupUnit = 1'000'000;

/// Whether the profile has changed since the newest backup, and that was on another local day.
bool IsBackupDue(const QString& profileFolder, const QDateTime& now);

/// Makes a backup in the profile's folder of backups, and deletes those that are superfluous then. Programs that use
/// the profile need not wait meanwhile. All or nothing: whatever goes wrong, no part of a backup is left, and no other
/// one deleted. Throws ReasonError or SqliteError; SqliteError::IsOfDamage tells that the database is damaged. When
/// another program is just making one, throws ReasonError at once. Without a limit, no other backup is deleted.
TPodcastBackup MakeBackup(const QString& profileFolder, const QDateTime& now, std::optional<qint64> limit,
                          const vexa::CancelCheck& isCancelled = {});
/// The same in a file that the user names, which is replaced if there is one.
void MakeBackupFile(const QString& profileFolder, const QString& fileName, const vexa::CancelCheck& isCancelled = {});

/// A file of the profile that belongs to backups, next to the database.
bool IsFileOfBackups(const QString& name);
/// The table of a backup that holds them.
inline constexpr char kBackedUpFiles[] = "ProfileFiles";

}  // namespace podcasts
