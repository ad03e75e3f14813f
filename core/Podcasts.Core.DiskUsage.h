#pragma once
// What downloaded files take on the disk, by feed. Any thread; asks the file system about every file.

#include "Podcasts.Core.DB.h"

#include <optional>
#include <vector>

namespace podcasts {

struct TPodcastDiskUsage {
    int FeedID = 0;
    QString FeedTitle;  // may be empty
    int Files = 0, HeardFiles = 0;
    qint64 Bytes = 0, HeardBytes = 0;
    QStringList HeardKeys;  // of the episodes marked as listened whose files these are
};

/// Feeds without files are left out; the feed that takes most comes first. A file that several episodes record counts
/// for the first of them, and as heard only if all of them are. What is in use, given by keys and file names, is not
/// heard to its end yet; if it is not known what is, no file counts as heard. Files that are gone do not count.
std::vector<TPodcastDiskUsage> GetDiskUsage(TPodcastsDB& db, const std::optional<QStringList>& inUse);

}  // namespace podcasts
