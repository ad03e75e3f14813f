#pragma once
// Loading one feed document, and fetching the next one while the last is stored.

#include "Podcasts.Core.Classes.h"
#include "VEXA.Runtime.Html.h"
#include "VEXA.Runtime.Threads.h"
#include "VEXA.Runtime.XML.h"

#include <QString>

#include <atomic>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace podcasts {

/// Whether `text` names an existing local file that matches "*.xml;".
bool IsLocalFeedFile(const QString& text);

/// A feed that a page names.
using TPodcastFeedLink = vexa::HtmlLink;

/// The document is an HTML page, which may name feeds.
class TPodcastPageError : public vexa::XmlError {
public:
    explicit TPodcastPageError(std::vector<TPodcastFeedLink> feeds);

    const std::vector<TPodcastFeedLink>& Feeds() const noexcept { return FFeeds; }

private:
    std::vector<TPodcastFeedLink> FFeeds;
};

struct TPodcastFeedDocument {
    std::unique_ptr<vexa::XmlDocument> Tree;  // null: the location was none
    QString Address;                          // that the document came from, after all redirects
    QString MovedTo;                          // where permanent redirects led; empty when there were none
};

/// Loads the document at `location`. An empty one when the location is neither a web address nor a local feed file.
/// Throws HttpError, XmlError, TPodcastPageError and what reading a file throws.
TPodcastFeedDocument LoadFeedDocument(const QString& location, const vexa::CancelCheck& isCancelled);

/// The feed of a loaded document (or of none), its pffURLFeed set to `location`; nothing when no parser recognises it.
/// Throws XmlError when the document is so damaged that fewer than half of its items can be read.
std::unique_ptr<TPodcastFeed> ParseFeedDocument(const TPodcastFeedDocument& document, const QString& location);

/// Why there is no feed in a document, or at a location that gave none.
QString DescribeMissingFeed(const TPodcastFeedDocument& document);

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
    TPodcastFeedDocument Take(const QString& location, const vexa::CancelCheck& isCancelled);

private:
    void Work();
    void Drop(std::unique_lock<std::mutex>& lock);

    std::mutex FMutex;
    std::condition_variable FChanged;
    // All guarded by FMutex.
    enum class State { Idle, Requested, Running, Done, Stopping } FState = State::Idle;
    QString FLocation;
    TPodcastFeedDocument FDocument;
    std::exception_ptr FError;

    std::atomic<bool> FAbandoned{false};
    std::thread FThread;
};

}  // namespace podcasts
