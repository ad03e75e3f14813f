#pragma once
// One run over a queue of feeds. Documents are fetched ahead, several at once (see VEXA.Runtime.Http.Fetcher.h).
//
// Feeds are taken one at a time, in the queue's order, with one exception: when the server of the next feed has been
// silent for 3 s and another document is ready, the feed moves to the queue's end. A feed whose server refused the
// connection or did not answer in time can be tried again at the end of the run: all such feeds together, for 30 s at
// most.
//
// Only the thread that creates a run uses it; other threads may add items to the queue and remove items meanwhile.

#include "Podcasts.Core.Fetching.h"
#include "VEXA.Runtime.Http.Fetcher.h"

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace podcasts {

/// The queue that a run takes its items from.
class IPodcastFetchQueue {
public:
    virtual ~IPodcastFetchQueue() = default;
    /// The next items, at most `count`, in the order in which they will be taken.
    virtual QStringList Upcoming(qsizetype count) const = 0;
    /// Removes the item. Returns false and removes nothing when another item has become the next one.
    virtual bool TakeNext(const QString& item) = 0;
    /// Moves the item to the end of the queue.
    virtual void Defer(const QString& item) = 0;
};

class TPodcastFetchRun {
public:
    /// Returns the location of an item's document.
    using Locator = std::function<QString(const QString& item)>;

    /// Returns the note of the document at a location. Called on the thread that uses the run.
    using NoteReader = std::function<std::optional<TPodcastDocumentNote>(const QString& location)>;

    /// If `notes` is empty, every document is fetched whole.
    TPodcastFetchRun(IPodcastFetchQueue& queue, Locator locator, NoteReader notes, vexa::CancelCheck isCancelled);
    /// Ends all transfers.
    ~TPodcastFetchRun();
    TPodcastFetchRun(const TPodcastFetchRun&) = delete;
    TPodcastFetchRun& operator=(const TPodcastFetchRun&) = delete;

    struct Turn {
        QString Item;
        bool IsSecondTry = false;
    };
    /// Waits until it is decided which item is next, and removes it from the queue. Nothing when the queue is empty and
    /// no second try is left, or when the run is cancelled.
    [[nodiscard]] std::optional<Turn> Next();
    /// The document of the item that Next returned, which may be marked as unchanged; waits until it has arrived.
    /// Throws as LoadFeedDocument does.
    TPodcastFeedDocument TakeDocument();
    /// Schedules a second and last try for the item that Next returned.
    void TryAgain();

private:
    /// A document that has been read, or the error that prevented it.
    struct Read {
        QString Location;
        TPodcastFeedDocument Document;
        std::exception_ptr Error;
        bool NeedsFullLoad = false;  // the server says "not modified" of another document than the known one
    };
    struct SecondTry {
        QString Item, Location;
        std::exception_ptr Failure;  // of the first try
    };
    using Clock = std::chrono::steady_clock;

    void NoteChange();
    quint64 Changes();
    bool IsInWindow(const QStringList& upcoming) const;
    void SetWindow(const QStringList& upcoming);
    bool IsHere(const QString& location) const;
    bool IsReady(const QString& location);
    bool IsComing(const QString& location);
    bool IsAnyReady(const QStringList& items);
    /// The second try whose turn it is now; nothing while none is ready.
    [[nodiscard]] std::optional<Turn> NextSecondTry();
    Read ReadNow(const QString& location, vexa::HttpFetched fetched);
    void ReadAhead();

    IPodcastFetchQueue& FQueue;
    const Locator FLocator;
    const NoteReader FNotes;
    const vexa::CancelCheck FIsCancelled;

    // Used only by the thread that uses the run.
    QStringList FUpcoming;  // the upcoming items when the window was set
    qsizetype FTakenOfWindow = 0;
    QStringList FDeferred;     // deferred items, which may be beyond the window
    QString FItem, FLocation;  // of the current turn
    std::exception_ptr FFailure;
    std::deque<SecondTry> FSecondTries;
    std::optional<Clock::time_point> FDeadline;  // of the second tries, once they have begun

    std::mutex FMutex;
    std::condition_variable FChanged;
    // Guarded by FMutex.
    QStringList FWindow;                          // locations
    QString FTaken;                               // the location of the turn's document, which must not be read ahead
    QString FReading;                             // the location of the document that is being read ahead; empty: none
    std::optional<Read> FRead;                    // the document that has been read ahead
    QHash<QString, TPodcastDocumentNote> FKnown;  // by location: the notes whose validators were sent to the servers
    quint64 FChanges = 0;                         // counts events that may decide which item is next
    bool FIsStopping = false;

    vexa::HttpFetcher FFetcher;
    std::thread FReader;
};

}  // namespace podcasts
