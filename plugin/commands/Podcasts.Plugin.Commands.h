#pragma once
// The work of commands on another thread, so that the windows go on while thousands of episodes are marked or deleted.

#include "Podcasts.Core.h"

#include <functional>

namespace podcasts {

/// A command's work, on a worker thread. What it throws is logged and shown to the user.
using TPodcastsCommandWork = std::function<void(TPodcastClient&)>;

/// Runs the work after all that was given before, and waits a moment for it: what is quick has been done when this
/// returns. The plug-in does not end before its work. Nothing happens when no client is registered. Main thread.
void RunCommand(TPodcastsCommandWork work);

// ---- Works, to be run by RunCommand ----

/// Tells the user of files that there is no trash for.
void DeleteCachedEpisodes(TPodcastClient& client, const QStringList& episodeKeys);
/// Marks an episode of which the user does not know that it is being marked: while another program holds the database
/// it tries again and again, and what else fails is only logged.
void MarkListened(TPodcastClient& client, const QString& episodeKey);
/// Tells the user of files that there is no trash for.
void Unsubscribe(TPodcastClient& client, const QString& feedURL, bool deleteCachedFiles);

}  // namespace podcasts
