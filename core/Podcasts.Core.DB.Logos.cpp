// Feeds' logos, and the last attempts to fetch them: the tables PodcastFeedLogos and PodcastFeedLogoLooks.
// docs/database.md describes them.

#include "Podcasts.Core.DB.h"

#include <utility>

namespace podcasts {

using vexa::SqlBuilder;
using vexa::SqliteStatement;

bool TPodcastsDB::GetFeedLogo(int id, QByteArray& data) {
    if (id < 0) return false;
    const auto cursor = Read(SqlBuilder("SELECT * FROM PodcastFeedLogos WHERE ID = ").Integer(id).Raw(" LIMIT 1"));
    if (!cursor) return false;
    QByteArray bytes = cursor->Blob("Data");
    if (bytes.isEmpty()) return false;
    data = std::move(bytes);
    return true;
}

QString TPodcastsDB::GetFeedLogoVersion(int id) {
    const auto cursor =
        Read(SqlBuilder("SELECT rowid, length(Data) FROM PodcastFeedLogos WHERE ID = ").Integer(id).Raw(" LIMIT 1"));
    if (!cursor || cursor->Integer64(1) == 0) return {};
    // Another logo has another row, or at least another length: the last row's id may be used again.
    return QStringLiteral("%1-%2-%3").arg(id).arg(cursor->Integer64(0)).arg(cursor->Integer64(1));
}

void TPodcastsDB::SetFeedLogo(int id, const void* data, std::size_t size) {
    ExecuteWithBlob(SqlBuilder("REPLACE INTO PodcastFeedLogos VALUES (").Integer(id).Raw(", ?)").Sql(), data, size);
}

std::optional<TPodcastLogoLook> TPodcastsDB::GetLogoLook(int feedID) {
    const auto cursor =
        Read(SqlBuilder("SELECT URLLogo, LookedAt, Outcome FROM PodcastFeedLogoLooks WHERE FeedID = ").Integer(feedID));
    if (!cursor) return std::nullopt;
    return TPodcastLogoLook{cursor->Text(0), cursor->Integer64(1),
                            static_cast<TPodcastLogoOutcome>(cursor->Integer(2))};
}

bool TPodcastsDB::NoteLogoLook(int feedID, const TPodcastLogoLook& look, const QByteArray& picture) {
    bool isOther = false;
    RunInTransaction([&] {
        if (QueryInteger(SqlBuilder("SELECT Count(*) FROM PodcastFeeds WHERE FeedID = ").Integer(feedID)) == 0) return;
        SqliteStatement(*this,
                        "REPLACE INTO PodcastFeedLogoLooks (FeedID, URLLogo, LookedAt, Outcome) VALUES (?, ?, ?, ?)")
            .Integer(feedID)
            .Text(look.URLLogo)
            .Integer(look.Time)
            .Integer(static_cast<int>(look.Outcome))
            .Run();
        if (look.Outcome != TPodcastLogoOutcome::Picture) return;
        if (QByteArray stored; GetFeedLogo(feedID, stored) && stored == picture) return;
        // The table has no key, and GetFeedLogo reads the first row, so delete older rows.
        ExecuteSQL(SqlBuilder("DELETE FROM PodcastFeedLogos WHERE ID = ").Integer(feedID));
        SetFeedLogo(feedID, picture.constData(), static_cast<std::size_t>(picture.size()));
        isOther = true;
    });
    return isOther;
}

void TPodcastsDB::ForgetLogo(int feedID) {
    for (const char* sql :
         {"DELETE FROM PodcastFeedLogos WHERE ID = ", "DELETE FROM PodcastFeedLogoLooks WHERE FeedID = "})
        ExecuteSQL(SqlBuilder(sql).Integer(feedID));
}

}  // namespace podcasts
