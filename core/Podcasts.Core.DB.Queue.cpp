// The kept download queue: the table PodcastQueue. docs/database.md describes it.

#include "Podcasts.Core.DB.h"

namespace podcasts {

using vexa::SqliteStatement;

QStringList TPodcastsDB::GetKeptQueue() {
    QStringList keys;
    if (const auto cursor = Read("SELECT EpisodeKey FROM PodcastQueue ORDER BY Place")) {
        do keys += cursor->Text(0);
        while (cursor->Next());
    }
    return keys;
}

void TPodcastsDB::ChangeKeptQueue(const std::vector<TPodcastQueueChange>& changes) {
    RunInTransaction([&] {
        SqliteStatement add(*this, "INSERT INTO PodcastQueue (EpisodeKey) VALUES (?)");
        SqliteStatement remove(*this, "DELETE FROM PodcastQueue WHERE EpisodeKey = ?");
        for (const auto& [key, isQueued] : changes) (isQueued ? add : remove).Text(key).Run();
    });
}

}  // namespace podcasts
