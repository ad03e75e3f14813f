#pragma once
// Subscribing by address, with its checks; and the subscription list as OPML.

#include "Podcasts.Core.OPML.h"
#include "Podcasts.Core.h"

#include <QString>

#include <functional>
#include <vector>

namespace podcasts {

struct TPodcastSubscription {
    enum class Result { Subscribed, AlreadySubscribed, Failed };

    Result What = Result::Failed;
    QString Location;   // as it is stored: a local file's name is made absolute
    QString FeedTitle;  // when there is a feed
    int EpisodeCount = 0;
    QString Error;  // why it failed
};

/// Subscribes to feeds one after the other on the calling thread; the document after the present one is fetched ahead.
/// `finished` is told each result there. Stops between two when cancelled.
void SubscribeByAddress(TPodcastClient& client, const QStringList& locations, const vexa::CancelCheck& isCancelled,
                        const std::function<void(const TPodcastSubscription&)>& finished);

/// The location as it is stored: trimmed, an existing local file by its absolute name.
QString NormalizedFeedLocation(const QString& location);

/// All subscriptions, by name.
QByteArray ExportOpml(TPodcastClient& client);

/// The addresses that a file of subscriptions names, each once. Throws std::runtime_error with the file's name and the
/// reason.
QStringList ReadOpmlFile(const QString& fileName);
/// Writes all subscriptions, whole or not at all. Throws std::runtime_error likewise.
void WriteOpmlFile(TPodcastClient& client, const QString& fileName);

}  // namespace podcasts
