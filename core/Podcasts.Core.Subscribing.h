#pragma once
// Subscribing by address, with its checks; and the subscription list as OPML.

#include "Podcasts.Core.Locating.h"
#include "Podcasts.Core.OPML.h"
#include "Podcasts.Core.h"

#include <QString>

#include <functional>
#include <vector>

namespace podcasts {

struct TPodcastSubscription {
    enum class Result { Subscribed, AlreadySubscribed, Failed, SeveralFeeds };

    Result What = Result::Failed;
    QString Location;   // as the feed is stored; without a feed, what was asked for
    QString FeedTitle;  // when there is a feed
    int EpisodeCount = 0;
    std::vector<TPodcastFeedLink> Choices;  // the several feeds that the page at the location names
    QString Error;                          // why it failed
    bool IsDropped = false;                 // the work was stopped before its turn came
};

/// Subscribes to what each text names (see FindFeed), one after the other on the calling thread, in the order of a
/// TPodcastFetchRun: documents are fetched ahead, and servers that keep silent come last. `choice` as in FindFeed.
/// `finished` is told the result for each text there. A cancelled run ends at once; what is
/// stored stays.
void SubscribeByAddress(TPodcastClient& client, const QStringList& texts, int choice,
                        const vexa::CancelCheck& isCancelled,
                        const std::function<void(const TPodcastSubscription&)>& finished);

/// All subscriptions, by name.
QByteArray ExportOpml(TPodcastClient& client);

/// The addresses that a file of subscriptions names, each once. Throws std::runtime_error with the file's name and the
/// reason.
QStringList ReadOpmlFile(const QString& fileName);
/// Writes all subscriptions, whole or not at all. Throws std::runtime_error likewise.
void WriteOpmlFile(TPodcastClient& client, const QString& fileName);

}  // namespace podcasts
