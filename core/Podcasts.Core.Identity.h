#pragma once
// Which stored episode an episode of a new document is. Publishers change audio addresses, GUIDs, titles and dates at
// will; an episode that can still be told must keep its row, and with it the listener's mark and the downloaded file.
//
// The rules, for a listener and with what cannot be told, are in docs/database.md. They look at a whole document and
// all that is stored of its feed at once: no database, no files. One thread uses these objects at a time.

#include "Podcasts.Core.StoredEpisodes.h"

#include <QString>

#include <vector>

namespace podcasts {

/// An episode of a document that counts, and the stored one that it is.
struct TPodcastEpisodeMatch {
    TPodcastEpisode* Episode;
    QString URI;             // that the episode is stored under from now on
    int Row = -1;            // index of the stored row; −1 for an episode that is not stored yet
    std::vector<int> Twins;  // further rows of the same episode, to become one with `Row`; by row id
};

/// Matches the episodes of a document whose pffURLFeed is set. Of several with one URI a single one counts: the one
/// that is stored with that address and GUID already, else the last of them. In document order.
std::vector<TPodcastEpisodeMatch> MatchEpisodes(const TPodcastFeed& document, const TPodcastStoredEpisodes& stored);

/// The episodes of a document that count when only URIs are looked at: of several with one URI the last; each with the
/// row of its URI.
std::vector<TPodcastEpisodeMatch> MatchEpisodesByURI(const TPodcastFeed& document,
                                                     const TPodcastStoredEpisodes& stored);

/// Whether an episode can be played: it has an audio address that is more than blanks.
bool HasAudio(const TPodcastEpisode& episode);

}  // namespace podcasts
