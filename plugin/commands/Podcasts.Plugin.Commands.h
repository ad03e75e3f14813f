#pragma once
// Runs the work of commands on another thread, so that windows stay responsive while thousands of episodes are marked
// or deleted.

#include "Podcasts.Core.h"

#include <functional>
#include <optional>

namespace podcasts {

/// A command's work, which runs on a worker thread. An exception is logged and shown to the user.
using TPodcastsCommandWork = std::function<void(TPodcastClient&)>;

/// Runs `work` after all work queued earlier, and waits a moment for it, so that quick work is done when this function
/// returns. The plug-in's end waits for all work. Does nothing when no client is registered. Main thread.
void RunCommand(TPodcastsCommandWork work);

// ---- Functions to be run by RunCommand ----

/// Marks episodes at the user's request, which can be undone. Tells the host about those that count as heard.
void MarkEpisodes(TPodcastClient& client, const QStringList& episodeKeys, TPodcastEpisodeState state);
/// Tells the user about files that were kept because there is no trash for them. Can be undone.
void DeleteCachedEpisodes(TPodcastClient& client, const QStringList& episodeKeys);
/// Marks an episode automatically, without a request by the user: retries while another program locks the database, and
/// only logs other errors.
void MarkListened(TPodcastClient& client, const QString& episodeKey);
/// Tells the user about files that were kept because there is no trash for them. Can be undone.
void Unsubscribe(TPodcastClient& client, const QString& feedURL, bool deleteCachedFiles);
/// Undoes an act of the client's log. Nothing when the log does not have it.
std::optional<TPodcastUndone> UndoAct(TPodcastClient& client, qint64 number);

}  // namespace podcasts
