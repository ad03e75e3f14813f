#pragma once
// From what people have (a feed's address, one without its scheme, the page of a podcast) to a feed and its present
// address.
//
// Any thread may call these. The network is waited for, and no lock is held meanwhile.

#include "Podcasts.Core.Fetching.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

namespace podcasts {

/// Where the feed may be that `text` names as users write, paste and drop it, in the order to try: a web address; the
/// absolute name of an existing local feed file; https and then http for "feed:", "itpc:", "pcast:" and "podcast:"
/// addresses, and for one without a scheme (see IsUrlWithoutScheme). Empty when it can be none.
QStringList FeedLocationsOf(const QString& text);
/// Whether `text` can be a feed's address or file.
bool IsFeedLocation(const QString& text);
/// Whether `text` is a feed's whole web address, scheme included, and nothing else: what is taken without being asked.
bool IsWholeFeedAddress(const QString& text);
/// The first location to try; where there is none, the text without blanks around it.
QString NormalizedFeedLocation(const QString& text);

/// Loads the document at a location, as LoadFeedDocument does.
using TPodcastDocumentLoader = std::function<TPodcastFeedDocument(const QString& location)>;
using TPodcastSubscriptionTest = std::function<bool(const QString& feedURL)>;

/// The address that a feed has now: where permanent redirects and its document's own word (itunes:new-feed-url) lead
/// from its pffURLFeed, as long as there is a readable feed; empty when it stays. `feed` becomes the one read there;
/// its pffURLFeed stays. Documents that send each other round move nobody. An address that is subscribed to already is
/// given too, with the feed as it was. `document` is where `feed` was read.
QString FollowMoves(std::unique_ptr<TPodcastFeed>& feed, const TPodcastFeedDocument& document,
                    const TPodcastDocumentLoader& load, const TPodcastSubscriptionTest& isSubscribed);

/// What FindFeed came by: a feed, or the feeds that a page names, or the reason why there is none.
struct TPodcastFoundFeed {
    std::unique_ptr<TPodcastFeed> Feed;
    QString Address;                        // of the feed, as it is to be stored; also when there is no need to read it
    bool IsSubscribed = false;              // to that address, already; Feed may be missing
    std::vector<TPodcastFeedLink> Choices;  // several: call again with the address of one
    QString Error;
    bool MayPass = false;          // the error is of a kind that may pass, see HttpErrorInfo
    bool IsUnknownFormat = false;  // the error is that there is a document, but of no format that is known
};

/// Finds the feed that `text` names: there, or on the page there, and follows it to where it has moved. `choice`: which
/// one of a page's feeds, from 1 on; 0 leaves that open where there are several.
TPodcastFoundFeed FindFeed(const QString& text, int choice, const TPodcastDocumentLoader& load,
                           const TPodcastSubscriptionTest& isSubscribed);

}  // namespace podcasts
