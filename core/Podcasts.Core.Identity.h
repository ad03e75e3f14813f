#pragma once
// Decides which stored episode an episode of a new document is. Publishers change audio addresses, GUIDs, titles and
// dates at will; an episode that can still be recognised must keep its row, and with it the listener's mark and the
// downloaded file.
//
// docs/database.md explains the rules, and what they cannot recognise. They work on a whole document and all stored
// episodes of its feed at once, without the database and without files. One thread uses these objects at a time.

#include "Podcasts.Core.StoredEpisodes.h"

#include <QString>

#include <vector>

namespace podcasts {

/// An episode of a document, and the stored row of that episode.
struct TPodcastEpisodeMatch {
    TPodcastEpisode* Episode;
    QString URI;             // the URI under which the episode is stored from now on
    int Row = -1;            // index of the stored row; −1 for an episode that is not stored yet
    std::vector<int> Twins;  // further rows of the same episode, to be united with `Row`; by row id
};

/// Matches the episodes of a document whose pffURLFeed is set. If several have one URI, only one of them is used: the
/// one that is stored with that address and GUID already, else the last one. The result is in document order.
std::vector<TPodcastEpisodeMatch> MatchEpisodes(const TPodcastFeed& document, const TPodcastStoredEpisodes& stored);

/// Matches the episodes of a document by their URIs alone: each with the row of its URI. If several have one URI, only
/// the last one is used.
std::vector<TPodcastEpisodeMatch> MatchEpisodesByURI(const TPodcastFeed& document,
                                                     const TPodcastStoredEpisodes& stored);

/// Whether an episode can be played: it has an audio address that does not consist of blanks only.
bool HasAudio(const TPodcastEpisode& episode);

}  // namespace podcasts
