#pragma once
// One run over a queue of feeds whose documents are fetched ahead, several at once (see VEXA.Runtime.Http.Fetcher.h).
//
// Feeds are taken one at a time, in the queue's order, with one exception: where the server of the next one has been
// silent for 3 s while another document is ready, the feed goes to the queue's end. A feed whose server refused the
// connection or did not answer in time may be tried again at the run's end: all such feeds together, for 30 s at most.
//
// The thread that makes the run uses it; other threads may add to the queue and take from it meanwhile.

#include "Podcasts.Core.Fetching.h"
#include "VEXA.Runtime.Http.Fetcher.h"
#include "VEXA.Runtime.Mutex.h"

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

namespace podcasts {

/// What a run works off.
class IPodcastFetchQueue {
public:
    virtual ~IPodcastFetchQueue() = default;
    /// The next items in the order in which they are to be taken, at most `count`.
    virtual QStringList Upcoming(qsizetype count) const = 0;
    /// Takes the item out. False, and nothing is taken, when another one is the next by now.
    virtual bool TakeNext(const QString& item) = 0;
    /// Moves the item behind all others.
    virtual void Defer(const QString& item) = 0;
};

class TPodcastFetchRun {
public:
    /// Where an item's document is.
    using Locator = std::function<QString(const QString& item)>;

    /// What is known of the document at a location. Called on the run's own thread.
    using NoteReader = std::function<std::optional<TPodcastDocumentNote>(const QString& location)>;

    /// Without `notes` nothing is known, and every document comes whole.
    TPodcastFetchRun(IPodcastFetchQueue& queue, Locator locator, NoteReader notes, vexa::CancelCheck isCancelled);
    /// Ends all transfers.
    ~TPodcastFetchRun();
    TPodcastFetchRun(const TPodcastFetchRun&) = delete;
    TPodcastFetchRun& operator=(const TPodcastFetchRun&) = delete;

    struct Turn {
        QString Item;
        bool IsSecondTry = false;
    };
    /// Waits until it is clear which item is the next, and takes it out of the queue. Nothing when the queue is empty
    /// and there is nothing left to try again, or when the run is cancelled.
    std::optional<Turn> Next();
    /// The document of the item that Next gave, or the word that it has not changed; waits for it where it has not
    /// arrived. Throws as LoadFeedDocument does.
    TPodcastFeedDocument TakeDocument();
    /// Puts the item that Next gave aside for a second try, which is the last one.
    void TryAgain();

private:
    /// A document that has been read, or why it could not be.
    struct Read {
        QString Location;
        TPodcastFeedDocument Document;
        std::exception_ptr Error;
        bool IsToBeLoadedWhole = false;  // a server's word is not believed
    };
    struct SecondTry {
        QString Item, Location;
        std::exception_ptr Failure;  // of the first one
    };
    using Clock = std::chrono::steady_clock;

    void NoteChange() VEXA_REQUIRES(FMutex);
    quint64 Changes();
    bool IsInWindow(const QStringList& upcoming) const;
    void SetWindow(const QStringList& upcoming);
    bool IsHere(const QString& location) const VEXA_REQUIRES(FMutex);
    bool IsReady(const QString& location);
    bool IsComing(const QString& location);
    bool IsAnyReady(const QStringList& items);
    /// The second try that can be taken now.
    std::optional<Turn> NextSecondTry();
    Read ReadNow(const QString& location, vexa::HttpFetched fetched);
    void ReadAhead();

    IPodcastFetchQueue& FQueue;
    const Locator FLocator;
    const NoteReader FNotes;
    const vexa::CancelCheck FIsCancelled;

    // The run's own thread.
    QStringList FUpcoming;  // when the window was set
    qsizetype FTakenOfWindow = 0;
    QStringList FDeferred;     // beyond the window
    QString FItem, FLocation;  // of the turn
    std::exception_ptr FFailure;
    std::deque<SecondTry> FSecondTries;
    std::optional<Clock::time_point> FDeadline;  // of the second tries, once they have begun

    vexa::TMutex FMutex;
    vexa::TCondition FChanged;
    QStringList FWindow VEXA_GUARDED_BY(FMutex);  // locations
    // The location of the turn's document, which is not to be read ahead.
    QString FTaken VEXA_GUARDED_BY(FMutex);
    // The location of the document that is being read ahead; empty: none.
    QString FReading VEXA_GUARDED_BY(FMutex);
    std::optional<Read> FRead VEXA_GUARDED_BY(FMutex);  // ahead
    // By location, as it was when its transfer was asked for.
    QHash<QString, TPodcastDocumentNote> FKnown VEXA_GUARDED_BY(FMutex);
    quint64 FChanges VEXA_GUARDED_BY(FMutex) = 0;  // counts what may decide which item is next
    bool FIsStopping VEXA_GUARDED_BY(FMutex) = false;

    vexa::HttpFetcher FFetcher;
    std::thread FReader;
};

}  // namespace podcasts
