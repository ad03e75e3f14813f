#include "Podcasts.Core.DiskUsage.h"

#include <QFileInfo>
#include <QHash>
#include <QSet>

#include <algorithm>

namespace podcasts {

namespace {

struct File {
    int FeedID = 0;
    bool IsHeard = true;
    QStringList Keys;
};

}  // namespace

std::vector<TPodcastDiskUsage> GetDiskUsage(TPodcastsDB& db, const std::optional<QStringList>& inUse) {
    const QSet<QString> used(inUse ? QSet<QString>(inUse->begin(), inUse->end()) : QSet<QString>());
    QHash<QString, File> files;
    QHash<int, TPodcastDiskUsage> feeds;
    for (const TPodcastStoredFile& stored : db.GetStoredFiles()) {
        File& file = files[stored.FileName];
        if (file.Keys.isEmpty()) file.FeedID = stored.FeedID;
        file.IsHeard = file.IsHeard && inUse && stored.State == pesListened && !used.contains(stored.FileName) &&
                       !used.contains(stored.EpisodeKey);
        file.Keys += stored.EpisodeKey;
        feeds[stored.FeedID].FeedTitle = stored.FeedTitle;
    }
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        const QFileInfo info(file.key());
        if (!info.isFile()) continue;
        TPodcastDiskUsage& feed = feeds[file->FeedID];
        feed.FeedID = file->FeedID;
        ++feed.Files;
        feed.Bytes += info.size();
        if (!file->IsHeard) continue;
        ++feed.HeardFiles;
        feed.HeardBytes += info.size();
        feed.HeardKeys += file->Keys;
    }
    std::vector<TPodcastDiskUsage> usage;
    for (TPodcastDiskUsage& feed : feeds)
        if (feed.Files > 0) usage.push_back(std::move(feed));
    std::sort(usage.begin(), usage.end(), [](const auto& one, const auto& other) {
        return one.Bytes != other.Bytes ? one.Bytes > other.Bytes : one.FeedTitle < other.FeedTitle;
    });
    return usage;
}

}  // namespace podcasts
