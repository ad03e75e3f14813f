#pragma once
// Pages of the library's table, and their numbers of rows.

#include "Podcasts.Core.DB.h"
#include "Podcasts.Plugin.ML.DataProvider.h"

#include <memory>

namespace podcasts {

/// Reads on connections that never wait for a writer. Any thread.
class TPodcastsRows {
public:
    /// The rows of a statement; null for none.
    std::unique_ptr<vexa::SqliteRows> Read(TPodcastsDB& db, const TVEXAPodcastsMLStatement& statement);
    /// The number of rows without the range.
    qint64 Count(TPodcastsDB& db, const TVEXAPodcastsMLStatement& statement);
};

}  // namespace podcasts
