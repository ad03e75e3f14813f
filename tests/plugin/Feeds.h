#pragma once
// Feeds to store.

#include "Podcasts.Core.DB.h"

namespace tests {

/// A feed titled F, whose episodes have the numbers from 0 as GUIDs and titles, and audio such as http://h/0.mp3.
inline podcasts::TPodcastFeed MakeFeed(const QString& address, int episodes = 0, const QString& audio = "http://h/") {
    podcasts::TPodcastFeed feed;
    feed.Fields[podcasts::pffURLFeed] = address;
    feed.Fields[podcasts::pffTitle] = "F";
    for (int i = 0; i < episodes; ++i) {
        auto& episode = feed.NewEpisode();
        episode.Fields[podcasts::pefGUID] = episode.Fields[podcasts::pefTitle] = QString::number(i);
        episode.Fields[podcasts::pefURLAudio] = audio + QString::number(i) + ".mp3";
    }
    return feed;
}

}  // namespace tests
