#pragma once
// What is taken along of a subscription: from one profile to another, or from the library of another program.

#include "Podcasts.Core.Classes.h"
#include "Podcasts.Core.FeedOptions.h"

#include <QString>
#include <QStringList>

namespace podcasts {

/// A feed with everything that was stored of it. An episode's pefURI may be empty; then it is made from its addresses.
struct TPodcastTakenFeed {
    TPodcastFeed Feed;
    QStringList FormerAddresses;  // under which the feed was known before
    TPodcastFeedOptions Options;
};

/// What TPodcastsDB::Join has changed of a feed.
struct TPodcastJoined {
    bool IsNew = false;  // the feed was not subscribed before
    int Episodes = 0;    // added
    int Marks = 0;       // of episodes that were stored before
    int Files = 0;       // recorded
    int Options = 0;     // set, of a feed that was subscribed before

    bool IsChanged() const noexcept { return IsNew || Episodes + Marks + Files + Options > 0; }
};

}  // namespace podcasts
