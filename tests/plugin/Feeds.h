#pragma once
// Feeds to store.

#include "Podcasts.Core.DB.h"

namespace tests {

/// A feed whose episodes have the numbers from 0 as GUIDs and titles, and audio at http://h/NUMBER.mp3.
inline podcasts::TPodcastFeed MakeFeed(const QString& address, int episodes) {
    podcasts::TPodcastFeed feed;
    feed.Fields[podcasts::pffURLFeed] = address;
    feed.Fields[podcasts::pffTitle] = "F";
    for (int i = 0; i < episodes; ++i) {
        auto& episode = feed.NewEpisode();
        episode.Fields[podcasts::pefGUID] = episode.Fields[podcasts::pefTitle] = QString::number(i);
        episode.Fields[podcasts::pefURLAudio] = QString("http://h/%1.mp3").arg(i);
    }
    return feed;
}

}  // namespace tests
