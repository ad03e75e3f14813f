#pragma once
// Reads pages of the library's table, and counts its rows, fast enough for a million episodes.
//
// A page is found in two steps: the row ids in the request's order, then the rows with these ids. Row ids come from an
// index, without the feeds. If no index has the requested order, the ids of all rows are sorted once and kept until
// anything is written to the database. A search text is searched for in memory.

#include "Podcasts.Core.DB.h"
#include "Podcasts.Plugin.ML.Request.h"
#include "Podcasts.Plugin.ML.Rows.Text.h"

#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace podcasts {

/// Reads on its own connection, which never waits for a writer. Any thread may call it; calls run one after another.
class TPodcastsRows {
public:
    /// The rows of a request; null when there are none. Throws vexa::SqliteError.
    std::unique_ptr<vexa::SqliteRows> Read(const TPodcastsDB& db, const TPodcastsRowRequest& request);
    /// The number of rows of a request, regardless of its range.
    qint64 Count(const TPodcastsDB& db, const TPodcastsRowRequest& request);
    /// Closes the connection and drops all kept ids and texts.
    void Close();

private:
    using RowIDs = std::vector<std::uint32_t>;
    using SharedRowIDs = std::shared_ptr<const RowIDs>;
    struct KeptIDs {
        QString Rows;
        QString Order;
        SharedRowIDs IDs;
    };

    void Open(const TPodcastsDB& db);
    /// Call it inside a snapshot, so that the kept ids and texts belong to the same state as the rows that are read.
    void DropOutdated();
    /// Whether the two steps return the same rows as the whole statement.
    bool IsRegular();
    /// The ids of all rows of a request; null when finding only those of the page is faster.
    SharedRowIDs AllIDs(const TPodcastsRowRequest& request);
    SharedRowIDs SearchedIDs(const TPodcastsRowRequest& request);
    SharedRowIDs OrderedIDs(const QString& rows, const QString& order);
    SharedRowIDs FindKept(const QString& rows, const QString& order);
    SharedRowIDs Keep(const QString& rows, const QString& order, RowIDs ids);
    RowIDs ReadIDs(const QString& statement);
    std::unique_ptr<vexa::SqliteRows> ReadRows(const QString& statement);

    std::mutex FMutex;  // guards all members below
    std::unique_ptr<vexa::SqliteReader> FReader;
    qint64 FVersion = -1;  // FReader's DataVersion to which the members below belong
    std::optional<bool> FIsRegular;
    std::list<KeptIDs> FKept;  // the most recently used first
    QString FLastSorted;       // the last request whose page was found by sorting all rows
    TPodcastsRowText FText;
};

}  // namespace podcasts
