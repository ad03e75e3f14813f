#pragma once
// Loading one feed document, and fetching the next one while the last is stored.

#include "Podcasts.Core.Classes.h"
#include "VEXA.Runtime.Threads.h"
#include "VEXA.Runtime.XML.h"

#include <QString>

#include <atomic>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>

namespace podcasts {

/// Whether `text` names an existing local file that matches "*.xml;".
bool IsLocalFeedFile(const QString& text);
/// Whether `text` is a web address or a local feed file.
bool IsFeedLocation(const QString& text);

/// Loads the document at `location`. Nothing when the location is neither a web address nor a local feed file. Throws
/// HttpError, XmlError and what reading a file throws.
std::unique_ptr<vexa::XmlDocument> LoadFeedDocument(const QString& location, const vexa::CancelCheck& isCancelled);

/// The feed of a loaded document (or of none), its pffURLFeed set to `location`; nothing when no parser recognises it.
/// Throws XmlError when the document is so damaged that fewer than half of its items can be read.
std::unique_ptr<TPodcastFeed> ParseFeedDocument(const vexa::XmlDocument* document, const QString& location);

/// Why there is no feed in a document, or at a location that gave none.
QString DescribeMissingFeed(const vexa::XmlDocument* document);

/// Fetches feeds on a thread of its own, one at a time, so that connections are kept and the next document can be on
/// its way while the last one is stored. One thread uses it.
class TPodcastFeedFetcher {
public:
    TPodcastFeedFetcher();
    ~TPodcastFeedFetcher();
    TPodcastFeedFetcher(const TPodcastFeedFetcher&) = delete;
    TPodcastFeedFetcher& operator=(const TPodcastFeedFetcher&) = delete;

    /// Guesses that this location will be taken next. A guess that turns out wrong is dropped.
    void Begin(const QString& location);
    /// What LoadFeedDocument gives or throws for the location, fetched now unless it was begun. Begin the next one,
    /// then make and store this one's records: the two threads then have about half of the work each.
    std::unique_ptr<vexa::XmlDocument> Take(const QString& location, const vexa::CancelCheck& isCancelled);

private:
    void Work();
    void Drop(std::unique_lock<std::mutex>& lock);

    std::mutex FMutex;
    std::condition_variable FChanged;
    // All guarded by FMutex.
    enum class State { Idle, Requested, Running, Done, Stopping } FState = State::Idle;
    QString FLocation;
    std::unique_ptr<vexa::XmlDocument> FDocument;
    std::exception_ptr FError;

    std::atomic<bool> FAbandoned{false};
    std::thread FThread;
};

}  // namespace podcasts
