#pragma once
// Finds a feed and its present address from what users enter: a feed's address, an address without its scheme, or the
// page of a podcast.
//
// Any thread may call these functions. They wait for the network, and hold no lock meanwhile.

#include "Podcasts.Core.Fetching.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

namespace podcasts {

/// The possible locations of the feed named by `text`, as users write, paste and drop it, in the order in which to try
/// them: a web address; the absolute name of an existing local feed file; https and then http for "feed:", "itpc:",
/// "pcast:" and "podcast:" addresses, and for an address without a scheme (see IsUrlWithoutScheme). Empty when `text`
/// cannot name a feed.
QStringList FeedLocationsOf(const QString& text);
/// Whether `text` can be a feed's address or file.
bool IsFeedLocation(const QString& text);
/// Whether `text` is a complete web address of a feed, scheme included, and nothing else. Only such a text is used
/// without the user asking for it.
bool IsWholeFeedAddress(const QString& text);
/// The first location to try; when there is none, `text` without blanks around it.
QString NormalizedFeedLocation(const QString& text);

/// Loads the document at a location, as LoadFeedDocument does.
using TPodcastDocumentLoader = std::function<TPodcastFeedDocument(const QString& location)>;
using TPodcastSubscriptionTest = std::function<bool(const QString& feedURL)>;

/// The present address of a feed that has moved: where permanent redirects and the document's itunes:new-feed-url lead
/// from its pffURLFeed, as long as there is a readable feed at each address; empty when the feed has not moved. `feed`
/// is replaced by the feed read at the new address, but keeps its pffURLFeed. Documents that name each other in a
/// circle do not move the feed. An address that is subscribed to already is returned, too, and `feed` is then left
/// unchanged. `document` is the document that `feed` was read from.
QString FollowMoves(std::unique_ptr<TPodcastFeed>& feed, const TPodcastFeedDocument& document,
                    const TPodcastDocumentLoader& load, const TPodcastSubscriptionTest& isSubscribed);

/// The result of FindFeed: a feed, or the feeds that a page links to, or the reason why there is none.
struct TPodcastFoundFeed {
    std::unique_ptr<TPodcastFeed> Feed;
    QString Address;                        // the address to store for the feed; set even if the feed was not read
    bool IsSubscribed = false;              // Address is subscribed to already; Feed may be missing
    std::vector<TPodcastFeedLink> Choices;  // if there are several feeds: call again with the address of one
    vexa::Reason Error;
    bool IsTransient = false;      // the error may be gone later, see HttpErrorInfo
    bool IsUnknownFormat = false;  // the error is that the document has no known format
};

/// Finds the feed that `text` names, at the address itself or by a link on the page there, and follows it if it has
/// moved. `choice`: the number of the page's feed, counted from 1; with 0, several feeds are returned as Choices.
TPodcastFoundFeed FindFeed(const QString& text, int choice, const TPodcastDocumentLoader& load,
                           const TPodcastSubscriptionTest& isSubscribed);

}  // namespace podcasts
