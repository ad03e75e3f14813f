#pragma once
// The feeds' logos. A stored logo is returned at once; without one the caller waits for the network. Because covers
// change, a stored logo is fetched again in the background when a week has passed since the last attempt (an hour, if
// that failed), when the feed names another address, and when the clock has been set back. Only pictures below 8 MiB
// that the host can read, and that take up to 128 MiB decoded, are stored; any other response leaves the stored logo
// unchanged, but counts as an attempt.
//
// Any thread may call, several at once: only one thread at a time fetches a feed's logo, and at most three logos at a
// time are fetched from one server.

#include "Podcasts.Core.h"
#include "apiWrappers.h"

namespace podcasts {

/// The feed's logo, which the host can read; null when there is none. May wait for the network. The caller must hold a
/// pass for the client; closing the passes cancels the wait. Throws the exceptions of the database.
vexa::Ref<vexa::IVEXAImageContainer> FeedLogo(TPodcastClient& client, const TPodcastFeed& feed);
/// The stored logo, without fetching anything; null when there is none that the host can read.
vexa::Ref<vexa::IVEXAImageContainer> StoredFeedLogo(TPodcastClient& client, const TPodcastFeed& feed);

}  // namespace podcasts
