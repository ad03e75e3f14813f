#pragma once
// Restoring a profile from a backup (Podcasts.Core.Backups.h). Any thread.

#include <QDateTime>
#include <QString>
#include <QStringList>

namespace podcasts {

/// What restoring a backup would change.
struct TPodcastRestoreChanges {
    QStringList SubscribedAgain, Unsubscribed;  // titles of podcasts, addresses of those without one
    qint64 EpisodesAdded = 0, EpisodesRemoved = 0;
    qint64 MarksChanged = 0;  // of episodes that are in both
    QStringList Files;        // names of the profile's other files that differ
};

/// Throws ReasonError if `backupFile` is not a sound backup, and SqliteError if the present database cannot be read.
TPodcastRestoreChanges CompareWithBackup(const QString& profileFolder, const QString& backupFile);

/// Has the profile restored when a program next opens it and no other one has it open (vexa::FinishReplacement). The
/// caller may have the profile open. `present`: what happens to the files that are replaced; they are kept in a folder
/// of the profile whose name tells the time `now`. Throws ReasonError or SqliteError, also if this version cannot read
/// the backup; then everything is as before.
enum class TPodcastPresentFiles { Keep, Delete };
void PrepareRestore(const QString& profileFolder, const QString& backupFile, const QDateTime& now,
                    TPodcastPresentFiles present);
/// The same at once. Throws ReasonError when any program has the profile open, the calling one included.
void Restore(const QString& profileFolder, const QString& backupFile, const QDateTime& now,
             TPodcastPresentFiles present);

}  // namespace podcasts
