#include "Podcasts.Plugin.ML.Rows.h"

#include "VEXA.Runtime.Text.h"

namespace podcasts {

using namespace vexa;

std::unique_ptr<SqliteRows> TPodcastsRows::Read(TPodcastsDB& db, const TVEXAPodcastsMLStatement& statement) {
    const auto cursor = db.Read(ToUtf8(statement.SQL));
    if (!cursor) return nullptr;
    auto rows = std::make_unique<SqliteRowSet>();
    rows->Append(*cursor);
    return rows;
}

qint64 TPodcastsRows::Count(TPodcastsDB& db, const TVEXAPodcastsMLStatement& statement) {
    const QString sql =
        u"SELECT Count(*) FROM PodcastEpisodes, PodcastFeeds WHERE (PodcastEpisodes.FeedID = "
        u"PodcastFeeds.FeedID)" +
        statement.Conditions + statement.Search;
    return db.ReadInteger(ToUtf8(sql));
}

}  // namespace podcasts
