#pragma once
// Reads what can be read of a damaged database into a sound one. Only for Podcasts.Core.Repair.cpp.

#include "VEXA.Runtime.SQLite.File.h"

#include <QString>

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace podcasts {

/// A row of a damaged database: a literal of SQL for each column that could be read.
struct TPodcastSalvagedRow {
    qint64 ID = 0;
    bool IsWhole = true;  // false: some columns are those that the indexes know, or that could be read by themselves
    std::map<std::string, std::string, std::less<>> Values;

    /// "NULL" for a column that could not be read.
    std::string_view operator[](std::string_view column) const;
};

/// Reads the rows of one table: those before the first damaged page, those after the last, and between them whatever
/// can be reached by looking for row ids. Of a row that is not whole it reads the columns that can be read, also those
/// that only the indexes still have.
class TPodcastTableSalvage {
public:
    using Visitor = std::function<void(const TPodcastSalvagedRow& row)>;

    /// `columns`: those that the rows should have; those that the file lacks are left out.
    TPodcastTableSalvage(vexa::SqliteFile& file, std::string_view table, const std::vector<std::string>& columns);

    /// Visits every row once. Returns whether the whole table could be read, as far as its indexes can tell.
    bool Read(const Visitor& visitor);

private:
    /// A query that was run until its rows, or the first error, ended.
    struct Stretch {
        bool IsWhole = false;
        qint64 Last = 0;  // the last row id; 0 without rows
    };
    Stretch ReadRange(qint64 first, qint64 last, bool isDescending);
    /// Whether a query of those ids gets to its first row, or its end: quicker than reading it with all its columns.
    bool CanReachFirst(qint64 first, qint64 last);
    void ReadBetween(qint64 first, qint64 last);
    void ReadColumns(qint64 id);
    std::vector<std::string> Indexes();
    /// Whether there are indexes, and all of them have as many entries as rows were read: a damaged page may also hide
    /// rows without an error.
    bool DoIndexesAgree();
    void ReadIndexes();

    vexa::SqliteFile& FFile;
    const std::string FTable;
    std::vector<std::string> FColumns;
    const Visitor* FVisitor = nullptr;
    std::set<qint64> FRead;
    /// What indexes know of rows that were not read, and how many of them know the row.
    struct Indexed {
        TPodcastSalvagedRow Row;
        int Indexes = 0;
    };
    std::map<qint64, Indexed> FIndexed;
    std::map<qint64, TPodcastSalvagedRow> FDoubtful;  // whose ids may be damaged
};

/// Does it. Everything is written in one transaction.
class TPodcastSalvage {
public:
    /// Adds what can be read of `damaged` to the database `target`. With `isLater` the damaged database has the later
    /// state of what is in both, and if all of a table can be read, it alone counts; otherwise only marks and files are
    /// taken from it for what is in both: an episode is listened if it is in one of them, and its file is one that
    /// exists. `recoverProgram`: see RepairDatabase.
    TPodcastSalvage(const QString& target, const QString& damaged, const QString& recoverProgram, bool isLater);

    qint64 ReadEpisodes() const noexcept { return FReadEpisodes; }
    bool IsComplete() const noexcept { return FIsComplete; }

private:
    void SalvageTables(vexa::SqliteFile& damaged, bool isRecovered);
    void SalvageLostRows(vexa::SqliteFile& recovered);
    void Recover(const QString& damaged, const QString& program);
    /// The row with the number that its feed has in the target.
    TPodcastSalvagedRow WithFeedOfTarget(const struct TPodcastSalvagedTable& table,
                                         const TPodcastSalvagedRow& row) const;
    /// Into the target: as a new row, or united with the row that is there. `isOnly`: the target had no rows before.
    void TakeRow(const struct TPodcastSalvagedTable& table, const TPodcastSalvagedRow& row, bool isOnly);
    void AddRow(const struct TPodcastSalvagedTable& table, const TPodcastSalvagedRow& row, bool isOnly);
    void MergeEpisode(const TPodcastSalvagedRow& row, qint64 present);
    std::string FindPresent(const struct TPodcastSalvagedTable& table, const TPodcastSalvagedRow& row);
    void AddLostFeeds(const std::map<std::string, std::string>& addresses);

    vexa::SqliteFile FTarget;
    const bool FIsLater;
    qint64 FReadEpisodes = 0;
    bool FIsComplete = true;
    std::set<std::string> FCompleteTables;
    std::map<std::string, std::string, std::less<>> FFeedIDs;  // of the damaged database, with those in the target
    /// The ids of the rows that were taken from a table. One that was taken in part may come again as a whole.
    struct Taken {
        std::set<qint64> Rows, Parts;

        /// Whether the row brings more than was taken already.
        bool Add(const TPodcastSalvagedRow& row);
    };
    std::map<std::string, Taken, std::less<>> FTaken;  // by table
};

}  // namespace podcasts
