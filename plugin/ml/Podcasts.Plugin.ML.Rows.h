#pragma once
// Pages of the library's table, and their numbers of rows, fast for a million episodes.
//
// A page is found in two steps: the row ids in the request's order, then the rows of these ids. Row ids come from an
// index, without the feeds. Where no index holds the order, the ids of all rows are sorted once and kept until anybody
// writes to the database. A search text is looked for in memory.

#include "Podcasts.Core.DB.h"
#include "Podcasts.Plugin.ML.Request.h"
#include "Podcasts.Plugin.ML.Rows.Text.h"
#include "VEXA.Runtime.Mutex.h"

#include <list>
#include <memory>
#include <optional>
#include <vector>

namespace podcasts {

/// Reads on a connection of its own, which never waits for a writer. Any thread, one after the other.
class TPodcastsRows {
public:
    /// The rows of a request; null for none. Throws vexa::SqliteError.
    std::unique_ptr<vexa::SqliteRows> Read(const TPodcastsDB& db, const TPodcastsRowRequest& request);
    /// The number of rows without the range.
    qint64 Count(const TPodcastsDB& db, const TPodcastsRowRequest& request);
    /// Closes the connection and drops what is kept.
    void Close();

private:
    using RowIDs = std::vector<std::uint32_t>;
    using SharedRowIDs = std::shared_ptr<const RowIDs>;
    struct KeptIDs {
        QString Rows;
        QString Order;
        SharedRowIDs IDs;
    };

    void Open(const TPodcastsDB& db) VEXA_REQUIRES(FMutex);
    /// Inside a snapshot, so that what is kept and what is read are of one state.
    void DropWhatChanged() VEXA_REQUIRES(FMutex);
    /// Whether the two steps give what the whole statement gives.
    bool IsRegular() VEXA_REQUIRES(FMutex);
    /// The ids of all rows of a request; null where those of the page alone are found sooner.
    SharedRowIDs AllIDs(const TPodcastsRowRequest& request) VEXA_REQUIRES(FMutex);
    SharedRowIDs SearchedIDs(const TPodcastsRowRequest& request) VEXA_REQUIRES(FMutex);
    SharedRowIDs OrderedIDs(const QString& rows, const QString& order) VEXA_REQUIRES(FMutex);
    SharedRowIDs FindKept(const QString& rows, const QString& order) VEXA_REQUIRES(FMutex);
    SharedRowIDs Keep(const QString& rows, const QString& order, RowIDs ids) VEXA_REQUIRES(FMutex);
    RowIDs ReadIDs(const QString& statement) VEXA_REQUIRES(FMutex);
    std::unique_ptr<vexa::SqliteRows> ReadRows(const QString& statement) VEXA_REQUIRES(FMutex);

    vexa::TMutex FMutex;
    std::unique_ptr<vexa::SqliteReader> FReader VEXA_GUARDED_BY(FMutex);
    // Of the database, as FReader tells it; what follows is of this version.
    qint64 FVersion VEXA_GUARDED_BY(FMutex) = -1;
    std::optional<bool> FIsRegular VEXA_GUARDED_BY(FMutex);
    std::list<KeptIDs> FKept VEXA_GUARDED_BY(FMutex);  // the ones used last in front
    QString FLastSorted VEXA_GUARDED_BY(FMutex);       // the last request whose page was sorted out of all rows
    TPodcastsRowText FText VEXA_GUARDED_BY(FMutex);
};

}  // namespace podcasts
