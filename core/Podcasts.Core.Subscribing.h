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
};

/// Subscribes to what each text names (see FindFeed) one after the other on the calling thread; the document after the
/// present one is fetched ahead. `choice` as in FindFeed. `finished` is told each result there. Stops between two when
/// cancelled.
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
