#pragma once
// Pages of the library's table, and their numbers of rows, fast for a million episodes.
//
// A request gives the rows that its statement gives, in the statement's own order, ties included. Where the order that
// SQLite takes can be told from its plan, the rows are found in another way: the row ids alone, from an index and
// without the join, then the page's rows by their ids; ids in order kept for the next page; a search text looked for in
// memory. Whatever is not understood runs as it stands.

#include "Podcasts.Core.DB.h"
#include "Podcasts.Plugin.ML.DataProvider.h"
#include "Podcasts.Plugin.ML.Rows.Plan.h"
#include "Podcasts.Plugin.ML.Rows.Text.h"

#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace podcasts {

/// Reads on a connection of its own, which never waits for a writer. Any thread, one after the other. What is kept is
/// thrown away as soon as anybody has written to the database.
class TPodcastsRows {
public:
    /// The rows of a statement; null for none. Throws vexa::SqliteError.
    std::unique_ptr<vexa::SqliteRows> Read(const TPodcastsDB& db, const TVEXAPodcastsMLStatement& statement);
    /// The number of rows without the range.
    qint64 Count(const TPodcastsDB& db, const TVEXAPodcastsMLStatement& statement);
    /// Closes the connection and drops what is kept.
    void Close();

private:
    using RowIDs = std::vector<std::uint32_t>;
    struct KeptIDs {
        QString Rows;  // which: conditions and search
        QString Order;
        std::shared_ptr<const RowIDs> IDs;
    };

    void Open(const TPodcastsDB& db);
    /// Inside a snapshot, so that what is kept and what is read are of one state.
    void DropWhatChanged();
    TPodcastsRowPlan PlanOf(const TVEXAPodcastsMLStatement& statement);
    std::shared_ptr<const RowIDs> FindKept(const QString& rows, const QString& order);
    std::shared_ptr<const RowIDs> Keep(const QString& rows, const QString& order, RowIDs ids);
    std::shared_ptr<const RowIDs> OrderedIDs(const TPodcastsRowPlan& plan);
    std::shared_ptr<const RowIDs> SearchedIDs(const TPodcastsRowPlan& plan, const TVEXAPodcastsMLStatement& statement);
    RowIDs ReadIDs(const QString& sql);
    std::unique_ptr<vexa::SqliteRows> ReadPlain(const QString& sql);
    std::unique_ptr<vexa::SqliteRows> ReadByIDs(const TVEXAPodcastsMLStatement& statement, const std::uint32_t* ids,
                                                std::size_t count);
    bool HasSmallIDs();
    bool HasOrphans();

    std::mutex FMutex;  // guards all below
    std::unique_ptr<vexa::SqliteReader> FReader;
    qint64 FVersion = -1;              // of the database, as FReader tells it
    std::list<KeptIDs> FKept;          // the ones used last in front
    std::optional<bool> FHasSmallIDs;  // whether all row ids fit into 32 bits
    std::optional<bool> FHasOrphans;   // whether an episode lacks its feed
    QString FLastKey;                  // of the last request that had to sort
    TPodcastsRowText FText;
};

}  // namespace podcasts
