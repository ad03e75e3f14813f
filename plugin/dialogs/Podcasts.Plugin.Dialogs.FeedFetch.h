#pragma once
// Reads the feed that a text names, in the background, for a dialog or a part of one. Main thread.

#include "Podcasts.Core.Locating.h"
#include "VEXA.Runtime.Classes.h"
#include "VEXA.Runtime.Threads.h"

#include <QString>

#include <functional>

namespace podcasts {

class TPodcastFeedFetch {
public:
    using Done = std::function<void(TPodcastFoundFeed& found)>;

    /// Begins to read. `done` is called once, later, unless this object is destroyed before; it may destroy the object.
    /// Feeds that are subscribed to already are read like others.
    TPodcastFeedFetch(const QString& text, Done done);
    /// Cancels the fetch and waits for it; meanwhile queued procedures run.
    ~TPodcastFeedFetch();
    TPodcastFeedFetch(const TPodcastFeedFetch&) = delete;
    TPodcastFeedFetch& operator=(const TPodcastFeedFetch&) = delete;

    /// Cancels the fetch, which ends soon after: neither this call nor the destructor waits for it.
    void Abandon();

private:
    class FetchTask;

    const Done FDone;
    vexa::TaskHandle FTask = 0;
    vexa::LinkSource<TPodcastFeedFetch> FLinks{this};  // tells the task whether this object still exists
};

}  // namespace podcasts
