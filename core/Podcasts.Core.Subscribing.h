#pragma once
// Subscribes to feeds by address, and reads and writes the subscription list as OPML.

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
    QString Location;   // the address under which the feed is stored; without a feed, the text that was given
    QString FeedTitle;  // empty without a feed
    int EpisodeCount = 0;
    std::vector<TPodcastFeedLink> Choices;  // SeveralFeeds: the feeds that the page at the location links to
    vexa::Reason Error;                     // why the subscription failed
    bool IsDropped = false;                 // the work was stopped before this text's turn came
};

/// Subscribes to the feed that each text names (see FindFeed), one after another on the calling thread, in the order of
/// a TPodcastFetchRun: documents are fetched ahead, and feeds on silent servers come last. `choice` as in FindFeed.
/// `finished` is called on the calling thread with the result for each text. A cancelled run ends at once and keeps the
/// subscriptions stored so far.
void SubscribeByAddress(TPodcastClient& client, const QStringList& texts, int choice,
                        const vexa::CancelCheck& isCancelled,
                        const std::function<void(const TPodcastSubscription&)>& finished);

/// The OPML document of all subscriptions, by name.
QByteArray ExportOpml(TPodcastClient& client);

/// The feed addresses in an OPML file, each once. Throws vexa::ReasonError with the file's name and the cause.
QStringList ReadOpmlFile(const QString& fileName);
/// Writes all subscriptions; on failure the file is left unchanged. Throws vexa::ReasonError likewise.
void WriteOpmlFile(TPodcastClient& client, const QString& fileName);

}  // namespace podcasts
