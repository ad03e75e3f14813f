#pragma once
// The feeds' logos. A stored logo is given out at once; without one the caller waits for the network. Covers change, so
// a stored logo is looked at again, in the background, when a week has passed since the last look (an hour, if that
// failed), when the feed names another address, and when the clock has been set back. Only pictures below 8 MiB that
// the host can read are stored; any other answer leaves the stored one as it is, and counts as a look all the same.
//
// Any thread may ask, several at once: a feed's logo is fetched by one thread at a time, and no server is asked for
// more than three logos at a time.

#include "Podcasts.Core.h"
#include "apiWrappers.h"

namespace podcasts {

/// A readable picture; null when there is none. May wait for the network. The caller holds a pass for the client;
/// closing the passes cancels the wait. Throws what the database throws.
vexa::Ref<vexa::IVEXAImageContainer> FeedLogo(TPodcastClient& client, const TPodcastFeed& feed);

}  // namespace podcasts
