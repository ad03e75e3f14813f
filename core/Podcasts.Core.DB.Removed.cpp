// Feeds that were removed but can be put back. Their rows are copied to the writing connection's temporary database,
// which SQLite keeps outside the file and deletes when the connection is closed.

#include "Podcasts.Core.DB.Columns.h"
#include "Podcasts.Core.DB.h"
#include "VEXA.Runtime.Guard.h"
#include "VEXA.Runtime.Log.h"

namespace podcasts {

using vexa::SqlBuilder;
using vexa::SqliteStatement;

namespace {

/// A table whose rows are kept, and the column with the feed's ID. The copy also has the row ids, in its first column.
struct KeptTable {
    std::string_view Name, Feed;
};
constexpr KeptTable kKeptTables[] = {
    {"PodcastFeeds", "FeedID"},         {"PodcastEpisodes", "FeedID"},     {"PodcastFeedLogos", "ID"},
    {"PodcastFeedLogoLooks", "FeedID"}, {"PodcastEpisodeNames", "FeedID"}, {"PodcastFeedOptions", "FeedID"},
    {"PodcastFeedAddresses", "FeedID"},
};

/// "Name, Category, …": all columns but the feed's ID.
template <std::size_t N>
std::string OtherColumns(const TPodcastColumn (&columns)[N]) {
    std::string list;
    for (const TPodcastColumn& column : columns)
        if (column.Sql.Name != "FeedID") list.append(list.empty() ? "" : ", ").append(column.Sql.Name);
    return list;
}

}  // namespace

std::unique_ptr<TPodcastRemovedFeed> TPodcastsDB::SetAside(int id) {
    std::unique_ptr<TPodcastRemovedFeed> removed;
    RunInTransaction([&] {
        if (QueryInteger(SqlBuilder("SELECT Count(*) FROM PodcastFeeds WHERE FeedID = ").Integer(id)) <= 0) return;
        for (const auto& [table, feed] : kKeptTables) {
            ExecuteSQL(SqlBuilder("CREATE TABLE IF NOT EXISTS temp.Removed")
                           .Raw(table)
                           .Raw(" AS SELECT rowid AS Row, * FROM main.")
                           .Raw(table)
                           .Raw(" LIMIT 0"));
            ExecuteSQL(SqlBuilder("INSERT INTO temp.Removed")
                           .Raw(table)
                           .Raw(" SELECT rowid, * FROM main.")
                           .Raw(table)
                           .Raw(" WHERE ")
                           .Raw(feed)
                           .Raw(" = ")
                           .Integer(id)
                           .Raw(" ORDER BY rowid"));
        }
        removed.reset(new TPodcastRemovedFeed(*this, id));
        Remove(id);
    });
    return removed;
}

int TPodcastsDB::PutBack(const TPodcastRemovedFeed& removed, const QStringList& missingFiles) {
    const std::string ofFeed = " WHERE FeedID = " + std::to_string(removed.FFeedID);
    int id = 0;
    PutBackRows rows{};
    RunInTransaction([&] {
        if (QueryInteger("SELECT Count(*) FROM PodcastFeeds WHERE URLFeed IN (SELECT URLFeed FROM "
                         "temp.RemovedPodcastFeeds" +
                         ofFeed + ")") > 0)
            return;
        const std::string feedColumns = OtherColumns(kFeedColumns), episodeColumns = OtherColumns(kEpisodeColumns);
        ExecuteSQL("INSERT INTO PodcastFeeds (" + feedColumns + ") SELECT " + feedColumns +
                   " FROM temp.RemovedPodcastFeeds" + ofFeed);
        id = QueryInteger("SELECT last_insert_rowid()");
        const std::string newID = std::to_string(id);

        // Rows get new ids, since the old ones may belong to others by now. The copy's own row ids are consecutive and
        // in the old order.
        std::string newRow;
        if (const auto first = Query("SELECT (SELECT ifnull(max(rowid), 0) FROM main.PodcastEpisodes) + 1, "
                                     "ifnull(min(rowid), 0) FROM temp.RemovedPodcastEpisodes" +
                                     ofFeed)) {
            rows = {id, {}, first->Integer64(0)};
            newRow = "Episodes.rowid + " + std::to_string(first->Integer64(0) - first->Integer64(1));
        }
        if (const auto old = Query("SELECT Row FROM temp.RemovedPodcastEpisodes" + ofFeed + " ORDER BY rowid")) do
                rows.Old.push_back(old->Integer64(0));
            while (old->Next());
        ExecuteSQL("INSERT INTO PodcastEpisodes (rowid, FeedID, " + episodeColumns + ") SELECT " + newRow + ", " +
                   newID + ", " + episodeColumns + " FROM temp.RemovedPodcastEpisodes Episodes" + ofFeed +
                   " ORDER BY Episodes.rowid");
        // A name keeps its ID, which tells since when the row has not had it.
        ExecuteSQL("INSERT INTO PodcastEpisodeNames (ID, Name, Episode, FeedID, GUIDCheck) SELECT Names.ID, Name, " +
                   newRow + ", " + newID + ", GUIDCheck FROM (SELECT * FROM temp.RemovedPodcastEpisodeNames" + ofFeed +
                   ") Names JOIN (SELECT rowid, Row FROM temp.RemovedPodcastEpisodes" + ofFeed +
                   ") Episodes ON Episodes.Row = Names.Episode");
        ExecuteSQL("INSERT INTO PodcastFeedLogos (ID, Data) SELECT " + newID +
                   ", Data FROM temp.RemovedPodcastFeedLogos WHERE ID = " + std::to_string(removed.FFeedID) +
                   " ORDER BY rowid");
        ExecuteSQL("INSERT INTO PodcastFeedLogoLooks (FeedID, URLLogo, LookedAt, Outcome) SELECT " + newID +
                   ", URLLogo, LookedAt, Outcome FROM temp.RemovedPodcastFeedLogoLooks" + ofFeed);
        ExecuteSQL("INSERT INTO PodcastFeedOptions (FeedID, Name, Value) SELECT " + newID +
                   ", Name, Value FROM temp.RemovedPodcastFeedOptions" + ofFeed);
        ExecuteSQL("INSERT INTO PodcastFeedAddresses (URLFeed, FeedID) SELECT URLFeed, " + newID +
                   " FROM temp.RemovedPodcastFeedAddresses" + ofFeed);
        SqliteStatement forget(*this,
                               "UPDATE PodcastEpisodes SET URLAudioCached = '' WHERE FeedID = ? AND "
                               "URLAudioCached = ?");
        for (const QString& file : missingFiles) forget.Integer(id).Text(file).Run();
    });
    if (id != 0) {
        const vexa::TLock lock(FPutBackMutex);
        FPutBack.insert_or_assign(removed.FFeedID, std::move(rows));
    }
    return id;
}

TPodcastRemovedFeed::~TPodcastRemovedFeed() {
    vexa::GuardedCall(
        vexa::LogRuntime(), "forgetting a removed feed",
        [&] {
            for (const auto& [table, feed] : kKeptTables)
                FDB.ExecuteSQL(SqlBuilder("DELETE FROM temp.Removed")
                                   .Raw(table)
                                   .Raw(" WHERE ")
                                   .Raw(feed)
                                   .Raw(" = ")
                                   .Integer(FFeedID));
        },
        vexa::E_FAIL);
}

}  // namespace podcasts
