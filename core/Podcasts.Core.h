#pragma once
// The podcast engine: one client over one database, with at most one refresh and one download at a time in the
// background, and listeners that hear what happens.
//
// All operations belong to the main thread unless they say otherwise.

#include "Podcasts.Core.DB.h"
#include "Podcasts.Core.FetchRun.h"
#include "Podcasts.Core.Options.h"
#include "VEXA.Runtime.Classes.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.Runtime.Threads.h"
#include "VEXA.SDK.Base.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <functional>
#include <list>
#include <set>
#include <unordered_map>
#include <vector>

namespace podcasts {

// The listeners' interfaces stay inside the engine and its users: unlike those between host and plug-in their
// operations may throw, which is logged.

/// Hears that feeds, episodes or states changed.
struct IPodcastClientChangeListener : vexa::IUnknown {
    static constexpr vexa::Guid IID = vexa::ParseGuid("{1FF947C7-CF1B-4D65-8D39-418ACA7A1516}");
    virtual void DataChanged() = 0;

protected:
    ~IPodcastClientChangeListener() = default;
};

/// What the caption of a download begins with while its transfer, which has broken, waits for the next attempt.
inline const QString kWaitingForConnection = QStringLiteral("waiting for the connection: ");

/// Hears of downloads.
struct IPodcastClientDownloadsListener : vexa::IUnknown {
    static constexpr vexa::Guid IID = vexa::ParseGuid("{33D44065-4BBD-45D6-A0FE-A9A1647D1487}");
    virtual void DownloadsFinished() = 0;
    /// Bytes received and the expected total (0 when unknown); the caption may begin with kWaitingForConnection. Called
    /// on the downloading thread.
    virtual void DownloadsProgress(std::int64_t position, std::int64_t size, const QString& caption) = 0;
    virtual void DownloadsStarted() = 0;

protected:
    ~IPodcastClientDownloadsListener() = default;
};

/// Hears of refreshes.
struct IPodcastClientRefreshFeedsListener : vexa::IUnknown {
    static constexpr vexa::Guid IID = vexa::ParseGuid("{DB9FAF65-9F8E-4022-BCF3-58D71F526D20}");
    virtual void RefreshFeedsFinished(bool hasNewEpisodes) = 0;
    /// A feed is about to be fetched.
    virtual void RefreshFeed(const QString& feedURL) = 0;
    virtual void RefreshFeedsStarted() = 0;

protected:
    ~IPodcastClientRefreshFeedsListener() = default;
};

/// Listeners in the order added. Any thread may call it; its lock is held while listeners run, and is reentrant, so a
/// listener may add and remove but must not wait for another thread that notifies.
class TPodcastListenerList {
public:
    void Add(vexa::Ref<vexa::IUnknown> listener);
    void Remove(vexa::IUnknown* listener);
    void Clear();
    /// Whether the calling thread is inside a notification.
    bool IsNotifying();

    /// Calls `notify` for every listener that offers the interface T. What one throws is logged.
    template <class T, class Call>
    void Notify(Call notify) {
        Visit([&](vexa::IUnknown* listener) {
            if (const auto offered = vexa::Query<T>(listener)) notify(*offered);
        });
    }

private:
    void Visit(const std::function<void(vexa::IUnknown*)>& visitor);

    vexa::TRecursiveMutex FMutex;
    std::vector<vexa::Ref<vexa::IUnknown>> FListeners VEXA_GUARDED_BY(FMutex);
    int FVisits VEXA_GUARDED_BY(FMutex) = 0;  // of the thread that holds it
};

/// Work that waits: texts, unique when letter case is ignored, handed out last in, first out. Any thread may call it.
class TPodcastClientQueue final : public IPodcastFetchQueue {
public:
    void Add(const QString& item);
    void Add(const QStringList& items);
    /// Takes the item added last; false, with `item` empty, when there is none.
    bool Pop(QString& item);
    /// The item that Pop would take.
    bool Peek(QString& item) const;
    void Remove(const QString& item);
    void Clear();
    QStringList Upcoming(qsizetype count) const override;
    bool TakeNext(const QString& item) override;
    void Defer(const QString& item) override;
    /// All items, in the order added.
    QStringList Items() const;

    /// To be held across several operations.
    vexa::TRecursiveMutex& Mutex() VEXA_RETURNS_MUTEX(FMutex) { return FMutex; }

private:
    using ItemList = std::list<QString>;
    mutable vexa::TRecursiveMutex FMutex;
    ItemList FItems VEXA_GUARDED_BY(FMutex);
    std::unordered_map<QString, ItemList::iterator> FIndex VEXA_GUARDED_BY(FMutex);  // by the case-folded item
};

/// The reason of what was not done because its task was stopped.
inline const QString kTaskStopped = QStringLiteral("not done: the work was stopped before");

/// What happened to one feed of the last refresh.
struct TPodcastRefreshOutcome {
    QString FeedURL;
    QStringList NewEpisodes;      // keys
    QString Error;                // why it failed; empty when it did not
    bool IsDropped = false;       // the task was stopped before its turn came
    bool IsUnsubscribed = false;  // while its document was on its way: nothing was stored
    QString MovedTo{};            // the feed's new address; empty when it stays where it was
    bool IsMoveRefused = false;   // another subscription has that address: both stay as they are
};

/// What happened to one episode of the last downloads.
struct TPodcastDownloadOutcome {
    QString EpisodeKey;
    QString FileName;  // of the local copy
    QString Error;     // why there is none; empty when there is
    bool IsDropped = false;
};

/// The outcomes of the last task of a kind, in order, readable while it runs. Any thread may call it.
template <class Outcome>
class TPodcastOutcomes {
public:
    void Clear() {
        const vexa::TLock lock(FMutex);
        FItems.clear();
    }
    void Add(Outcome outcome) {
        const vexa::TLock lock(FMutex);
        FItems.push_back(std::move(outcome));
    }
    /// Those from index `first` on.
    std::vector<Outcome> From(std::size_t first = 0) const {
        const vexa::TLock lock(FMutex);
        return first < FItems.size()
                   ? std::vector<Outcome>(FItems.begin() + static_cast<std::ptrdiff_t>(first), FItems.end())
                   : std::vector<Outcome>();
    }

private:
    mutable vexa::TMutex FMutex;
    std::vector<Outcome> FItems VEXA_GUARDED_BY(FMutex);
};

/// Where the client reads the time. A test gives it clocks of its own.
struct TPodcastClocks {
    std::function<std::uint32_t()> TickCount = vexa::TickCount;
    std::function<QDateTime()> Calendar = QDateTime::currentDateTimeUtc;
};

class TPodcastClient {
public:
    /// Opens the database (see TPodcastsDB) and starts the update timer unless the options forbid it.
    explicit TPodcastClient(const QString& dbFileName, TPodcastClocks clocks = {});
    /// Cancels the tasks and waits for them. Nobody is notified any more. Not to be called by a listener, for which a
    /// task waits.
    ~TPodcastClient();
    TPodcastClient(const TPodcastClient&) = delete;
    TPodcastClient& operator=(const TPodcastClient&) = delete;

    TPodcastsDB& DB() noexcept { return *FDB; }
    TPodcastClientOptions& Options() noexcept { return *FOptions; }
    const TPodcastClientOptions& Options() const noexcept { return *FOptions; }
    TPodcastListenerList& Listeners() noexcept { return *FListeners; }
    TPodcastClientQueue& RefreshQueue() noexcept { return *FRefreshQueue; }
    TPodcastClientQueue& DownloadQueue() noexcept { return *FDownloadQueue; }
    /// Weak references to the client, null once it is being destroyed.
    const vexa::LinkSource<TPodcastClient>& Links() const noexcept { return FLinks; }

    /// The calendar's time, in UTC. Any thread.
    QDateTime Now() const { return FClocks.Calendar(); }

    /// When the last refresh of all feeds was requested: the tick count, and the calendar's time (invalid: unknown).
    std::uint32_t LastRefreshTime = 0;
    QDateTime LastRefreshDate;
    vexa::TaskHandle RefreshTask() const noexcept { return FRefreshTask; }    // 0: none runs
    vexa::TaskHandle DownloadTask() const noexcept { return FDownloadTask; }  // 0: none runs
    vexa::Timer& UpdateTimer() noexcept { return *FUpdateTimer; }
    const TPodcastOutcomes<TPodcastRefreshOutcome>& RefreshOutcomes() const noexcept { return FRefreshOutcomes; }
    const TPodcastOutcomes<TPodcastDownloadOutcome>& DownloadOutcomes() const noexcept { return FDownloadOutcomes; }

    /// All feeds.
    void RefreshFeeds();
    void RefreshFeeds(const QStringList& feedURLs);
    void RefreshFeedsOnStartup();
    /// All feeds, if the interval of the options has passed since the last time, by either clock. The update timer
    /// calls it every ten minutes.
    void RefreshFeedsIfDue();
    void CancelRefresh();
    /// One feed document; nothing when the location is none or the document no feed. Errors of loading are thrown only
    /// with `raiseErrors`. Any thread may call it.
    static std::unique_ptr<TPodcastFeed> FetchFeed(const QString& location, const vexa::CancelCheck& isCancelled,
                                                   bool raiseErrors);

    bool IsSubscribed(const QString& feedURL);  // any thread
    void Subscribe(TPodcastFeed& feed);
    /// As Subscribe, unless a feed of that address is stored by now: then false, and nothing changes. Any thread, which
    /// waits for the main one to tell the listeners.
    bool SubscribeNew(TPodcastFeed& feed);
    /// Returns the names of cached files that were to be deleted and for which there is no trash: they stay. Any
    /// thread.
    QStringList Unsubscribe(const QString& feedURL, bool deleteCachedFiles);
    void ChangeFeedURL(const QString& oldURL, const QString& newURL);

    void UpdateState(const QStringList& episodeKeys, TPodcastEpisodeState state);  // any thread
    void UpdateState(const QString& episodeKey, TPodcastEpisodeState state);       // any thread

    void DownloadEpisode(const QString& episodeKey);
    void DownloadEpisodes(const QStringList& episodeKeys);
    /// Every new episode without a cached file.
    void DownloadNewEpisodes();
    /// Their keys, newest first; without those that have no audio.
    QStringList NewEpisodesToDownload();
    /// Waits; the completion has been delivered when it returns.
    void CancelDownloads();
    /// The existing local copy of an episode: the recorded file, else the file of the template's name unless another
    /// episode's row records that. False for an episode that was never cached. Any thread may call it.
    bool GetLocalFileName(const TPodcastEpisode& episode, const TPodcastFeed& feed, QString& fileName);
    /// Moves the files to the desktop's trash and marks the episodes as not cached. Returns the names of files for
    /// which there is no trash: they stay on disk. Notifies nobody. Any thread.
    QStringList DeleteCachedEpisodes(const QStringList& episodeKeys);
    /// Marks episodes as not cached whose file is gone; returns how many. Any thread.
    int CheckLocalCopies();

    /// Any thread, which waits for the main one to tell the listeners; so does all that changes data.
    void NotifyDataChanged();

private:
    friend class TPodcastClientTask;
    friend class TPodcastClientTaskRefreshFeeds;
    friend class TPodcastClientTaskDownloadEpisodes;

    /// How a task ended, for its completion.
    enum class TaskEnd {
        ByItself,  // the queue was empty: what is in it now came too late and is kept for another task
        Stopped,   // cancelled or failed: what is left is dropped
    };

    /// What follows when a new feed is stored.
    void FeedSubscribed();
    /// Whether this client has unsubscribed from the feed and left its files where they are. Any thread.
    bool AreFilesKept(int feedID);

    void StartRefreshTask();
    void StartDownloadTask();
    void RefreshFeedsComplete(bool hasNewEpisodes, TaskEnd end);
    void DownloadsComplete(TaskEnd end);
    /// Runs a task's completion on the main thread and waits for it; does nothing while the client is being destroyed.
    void RunCompletion(const std::function<void()>& completion);

    void NotifyRefreshFeedsStarted();
    void NotifyRefreshFeed(const QString& feedURL);
    void NotifyRefreshFeedsFinished(bool hasNewEpisodes);
    void NotifyDownloadsStarted();
    void NotifyDownloadsProgress(std::int64_t position, std::int64_t size, const QString& caption);
    void NotifyDownloadsFinished();

    void OptionsChanged();

    const TPodcastClocks FClocks;
    std::unique_ptr<TPodcastListenerList> FListeners;
    std::unique_ptr<TPodcastsDB> FDB;
    std::unique_ptr<TPodcastClientQueue> FRefreshQueue;
    std::unique_ptr<TPodcastClientQueue> FDownloadQueue;
    std::unique_ptr<TPodcastClientOptions> FOptions;
    std::unique_ptr<vexa::Timer> FUpdateTimer;
    TPodcastOutcomes<TPodcastRefreshOutcome> FRefreshOutcomes;
    TPodcastOutcomes<TPodcastDownloadOutcome> FDownloadOutcomes;
    std::set<int> FFeedsWithKeptFiles VEXA_GUARDED_BY(FDownloadQueue->Mutex());  // see AreFilesKept

    // Main thread only.
    vexa::TaskHandle FRefreshTask = 0;
    vexa::TaskHandle FDownloadTask = 0;
    vexa::TaskHandle FLastRefreshTask = 0;  // also after its completion, while its thread is about to let go of it
    vexa::TaskHandle FLastDownloadTask = 0;
    bool FIsRefreshHeld = false;  // being started or completed: no task may start now
    bool FAreDownloadsHeld = false;
    bool FIsBeingDestroyed = false;

    vexa::LinkSource<TPodcastClient> FLinks{this};
};

}  // namespace podcasts
