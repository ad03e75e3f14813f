#pragma once
// A connection to a database file for work on the file as a whole: copying it while others use it, and checking it.

#include "VEXA.Runtime.SQLite.h"
#include "VEXA.Runtime.Threads.h"

#include <QFile>
#include <QStringList>

namespace vexa {

/// Used by one thread at a time. Unlike SqliteDatabase it leaves the file's journal mode and tables as they are. Every
/// error is thrown as an SqliteError.
class VEXA_RUNTIME_API SqliteFile final : public SqliteConnection {
public:
    enum class Mode {
        Read,   // nothing is written to the database, not even what its log still holds
        Write,  // an existing file
        New,
    };
    /// `isCancelled` is asked now and then during long statements; true ends them with an error.
    SqliteFile(const QString& fileName, Mode mode, CancelCheck isCancelled = {});
    ~SqliteFile() override;

    /// A cursor on the first row; null when there are no rows.
    std::unique_ptr<SqliteCursor> Query(std::string_view sql) { return SqliteConnection::Query(sql, {}); }
    /// Runs statements and skips their rows.
    void ExecuteSQL(std::string_view sql);
    /// Runs an INSERT whose only "?" is replaced by the bytes.
    void ExecuteWithBlob(std::string_view sql, const QByteArray& bytes);

    /// Replaces the contents of this file by those that `source` has at the time of the call. Other connections to the
    /// source read and write meanwhile without waiting. Afterwards this file has no log beside it, but has not been
    /// flushed to the disk yet.
    void CopyFrom(SqliteFile& source);
    /// What SQLite's quick_check finds, at most `most` lines; empty when the file is sound.
    QStringList FindDamage(int most = 10);
    /// Has AUTOINCREMENT go on from where `other`, which may be damaged, has arrived, in every table in which that is
    /// further, but not beyond a thousand million.
    void RaiseSequences(SqliteFile& other);

private:
    CancelCheck FIsCancelled;
};

/// Whether any program has the database open. The calling process must not have it open itself: it would lose its
/// locks.
[[nodiscard]] VEXA_RUNTIME_API bool IsDatabaseInUse(const QString& fileName);
/// Whether another process has it open, for a process that has, too. `file` is open, and stays open at least as long as
/// the process's connections: closing any descriptor of the file gives up all its locks.
[[nodiscard]] VEXA_RUNTIME_API bool IsDatabaseInUse(const QFile& file);

}  // namespace vexa
