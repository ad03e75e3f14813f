#pragma once
// A damaged database: noticing it, and putting together a sound one from what can be read of it and from the newest
// backup. docs/backups.md tells the rules. Any thread.

#include "VEXA.Runtime.Threads.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

namespace podcasts {

/// What is wrong with the profile's database, as SQLite's quick_check says it, or why it cannot be read at all; empty
/// when it is sound, or there is none. Nothing is written to it.
QStringList FindDatabaseDamage(const QString& profileFolder, const vexa::CancelCheck& isCancelled = {});

/// Has the next program that opens the profile look for damage (IsDamageNoted). For damage that opening the database
/// does not show.
void NoteDamage(const QString& profileFolder);
bool IsDamageNoted(const QString& profileFolder);
void ForgetDamage(const QString& profileFolder);

/// Whether the database was not checked for a week, neither by a backup nor by a check that NoteCheck has noted.
bool IsCheckDue(const QString& profileFolder, const QDateTime& now);
void NoteCheck(const QString& profileFolder, const QDateTime& now);

/// What has become of a damaged database.
struct TPodcastRepair {
    QString Aside;                          // the folder of the profile where the damaged database is now, with its log
    QDateTime BackupDate;                   // of the backup that was used, UTC; invalid when there was none
    qint64 Episodes = 0, ReadEpisodes = 0;  // in the new database; those of them that the damaged one gave
    int Feeds = 0;
    bool IsComplete = true;  // whether every row of the damaged database could be read
};

/// Sets the damaged database aside, and puts the newest whole backup in its place; a new database without one. Only
/// when no program has it open: otherwise throws ReasonError, and nothing is changed.
TPodcastRepair ReplaceDamagedDatabase(const QString& profileFolder, const QDateTime& now);

/// The same, but everything that can be read of the damaged database comes into the new one; the backup fills what
/// cannot be read. When the database is sound, but one that ReplaceDamagedDatabase has set aside is there, what can be
/// read of the newest of those is added to it.
/// `recoverProgram`: the program sqlite3, which finds rows that lost their way in the file; empty: goes without.
TPodcastRepair RepairDatabase(const QString& profileFolder, const QDateTime& now, const QString& recoverProgram);

}  // namespace podcasts
