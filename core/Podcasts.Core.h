#pragma once
// The podcast engine: one client over one database, with at most one refresh task and one download task at a time in
// the background, and listeners that are notified of what happens.
//
// Call all operations on the main thread, unless their comments say otherwise.

#include "Podcasts.Core.DB.h"
#include "Podcasts.Core.FetchRun.h"
#include "Podcasts.Core.KeptQueue.h"
#include "Podcasts.Core.Options.h"
#include "Podcasts.Core.Undo.h"
#include "VEXA.Runtime.Classes.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.Runtime.Profile.h"
#include "VEXA.Runtime.Reason.h"
#include "VEXA.Runtime.Threads.h"
#include "VEXA.SDK.Base.h"

#include <QDateTime>
#include <QSet>
#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <set>
#include <unordered_map>
#include <vector>

namespace podcasts {

// The listeners' interfaces are used only by the engine and the programs that link it. Unlike the operations between
// host and plug-in, theirs may throw; the exceptions are logged.

/// Is notified when feeds, episodes or states have changed.
struct IPodcastClientChangeListener : vexa::IUnknown {
    static constexpr vexa::Guid IID = vexa::ParseGuid("{1FF947C7-CF1B-4D65-8D39-418ACA7A1516}");
    virtual void DataChanged() = 0;

protected:
    ~IPodcastClientChangeListener() = default;
};

/// The prefix of a download's caption while the download waits for its next attempt after a broken connection.
inline const QString kWaitingForConnection = QStringLiteral("waiting for the connection: ");

/// Is notified of downloads.
struct IPodcastClientDownloadsListener : vexa::IUnknown {
    static constexpr vexa::Guid IID = vexa::ParseGuid("{33D44065-4BBD-45D6-A0FE-A9A1647D1487}");
    virtual void DownloadsFinished() = 0;
    /// `position`: bytes received; `size`: the expected total, 0 when unknown; `caption` may begin with
    /// kWaitingForConnection. Called on the downloading thread.
    virtual void DownloadsProgress(std::int64_t position, std::int64_t size, const QString& caption) = 0;
    virtual void DownloadsStarted() = 0;

protected:
    ~IPodcastClientDownloadsListener() = default;
};

/// Is notified of refreshes.
struct IPodcastClientRefreshFeedsListener : vexa::IUnknown {
    static constexpr vexa::Guid IID = vexa::ParseGuid("{DB9FAF65-9F8E-4022-BCF3-58D71F526D20}");
    virtual void RefreshFeedsFinished(bool hasNewEpisodes) = 0;
    /// A feed is about to be fetched.
    virtual void RefreshFeed(const QString& feedURL) = 0;
    virtual void RefreshFeedsStarted() = 0;

protected:
    ~IPodcastClientRefreshFeedsListener() = default;
};

/// Listeners in the order added. Any thread may call it. Its lock is held while listeners run, and is reentrant, so a
/// listener may add and remove listeners, but must not wait for another thread that notifies.
class TPodcastListenerList {
public:
    void Add(vexa::Ref<vexa::IUnknown> listener);
    void Remove(vexa::IUnknown* listener);
    void Clear();
    /// Whether the calling thread is inside a notification.
    bool IsNotifying();

    /// Calls `notify` for every listener that offers the interface T. Exceptions are logged.
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
    int FVisits VEXA_GUARDED_BY(FMutex) = 0;  // nested notifications by the thread that holds FMutex
};

/// Pending work: texts, unique if letter case is ignored, taken last in, first out. Any thread may call it.
class TPodcastClientQueue final : public IPodcastFetchQueue {
public:
    void Add(const QString& item);
    void Add(const QStringList& items);
    /// Removes the item added last; returns false and clears `item` when there is none.
    [[nodiscard]] bool Pop(QString& item);
    /// Finds the item that Pop would remove.
    [[nodiscard]] bool Peek(QString& item) const;
    /// Returns whether it was there.
    bool Remove(const QString& item);
    void Clear();
    QStringList Upcoming(qsizetype count) const override;
    bool TakeNext(const QString& item) override;
    void Defer(const QString& item) override;
    /// All items, in the order added.
    QStringList Items() const;
    qsizetype Count() const;

    /// Hold it to make several operations one.
    vexa::TRecursiveMutex& Mutex() VEXA_RETURNS_MUTEX(FMutex) { return FMutex; }

private:
    using ItemList = std::list<QString>;
    mutable vexa::TRecursiveMutex FMutex;
    ItemList FItems VEXA_GUARDED_BY(FMutex);
    std::unordered_map<QString, ItemList::iterator> FIndex VEXA_GUARDED_BY(FMutex);  // by the case-folded item
};

/// The error of an item that was not processed because its task was stopped.
vexa::Reason TaskStopped();

/// What happened to one feed of the last refresh.
struct TPodcastRefreshOutcome {
    QString FeedURL;
    QStringList NewEpisodes;      // keys
    vexa::Reason Error;           // why the refresh failed; none when it did not
    bool IsDropped = false;       // the task was stopped before the feed's turn came
    bool IsUnsubscribed = false;  // the feed was unsubscribed while its document was fetched: nothing was stored
    QString MovedTo{};            // the feed's new address; empty when it has not moved
    bool IsMoveRefused = false;   // another subscription has that address: both are left unchanged
};

/// What happened to one episode of the last downloads.
struct TPodcastDownloadOutcome {
    QString EpisodeKey;
    QString FileName;    // of the local copy
    vexa::Reason Error;  // why there is no local copy; none when there is one
    bool IsDropped = false;
};

/// The outcomes of the last task of one kind, in order; readable while that task runs. Any thread may call it.
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
    std::size_t Count() const {
        const vexa::TLock lock(FMutex);
        return FItems.size();
    }
    /// The outcomes from index `first` on.
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

/// What DeleteCachedEpisodes has done.
struct TPodcastDeletedFiles {
    std::vector<TPodcastFormerFile> Rows;
    std::vector<vexa::TrashedFile> InTrash;
    QSet<QString> NotDeleted;  // because there is no trash for them
};

/// The clocks that the client reads. Tests replace them.
struct TPodcastClocks {
    std::function<std::uint32_t()> TickCount = vexa::TickCount;
    std::function<QDateTime()> Calendar = QDateTime::currentDateTimeUtc;
    std::chrono::milliseconds Interval = std::chrono::minutes(10);  // how often the client looks at the two
};

/// Asks the user whether to go on without the backup that should have been made first, which failed because of `why`.
using TPodcastGoOnWithoutBackup = std::function<bool(const vexa::Reason& why)>;

class TPodcastClient {
public:
    /// Finishes what was restored into the profile, which is the file's folder, and locks the profile. Opens the
    /// database (see TPodcastsDB), with a backup before an upgrade, and starts the update timer unless the options
    /// forbid it. Without `goOn` nothing goes on without a backup that was to be made first: it throws a ReasonError.
    explicit TPodcastClient(const QString& dbFileName, TPodcastClocks clocks = {}, TPodcastGoOnWithoutBackup goOn = {});
    /// Cancels the tasks and waits for them; listeners are not notified any more. A listener must not destroy the
    /// client, because a task may be waiting for the listener.
    ~TPodcastClient();
    TPodcastClient(const TPodcastClient&) = delete;
    TPodcastClient& operator=(const TPodcastClient&) = delete;

    TPodcastsDB& DB() noexcept { return *FDB; }
    TPodcastClientOptions& Options() noexcept { return *FOptions; }
    const TPodcastClientOptions& Options() const noexcept { return *FOptions; }
    TPodcastListenerList& Listeners() noexcept { return *FListeners; }
    TPodcastClientQueue& RefreshQueue() noexcept { return *FRefreshQueue; }
    TPodcastClientQueue& DownloadQueue() noexcept { return *FDownloadQueue; }
    /// The source of weak references to the client, which become null when its destruction begins.
    const vexa::LinkSource<TPodcastClient>& Links() const noexcept { return FLinks; }

    /// The calendar time, in UTC. Any thread.
    QDateTime Now() const { return FClocks.Calendar(); }

    /// When the last refresh of all feeds was requested, as a tick count and as a calendar time (invalid: unknown).
    std::uint32_t LastRefreshTime = 0;
    QDateTime LastRefreshDate;
    vexa::TaskHandle RefreshTask() const noexcept { return FRefreshTask; }    // 0 when no refresh runs
    vexa::TaskHandle DownloadTask() const noexcept { return FDownloadTask; }  // 0 when no download runs
    vexa::Timer& UpdateTimer() noexcept { return *FUpdateTimer; }
    const TPodcastOutcomes<TPodcastRefreshOutcome>& RefreshOutcomes() const noexcept { return FRefreshOutcomes; }
    const TPodcastOutcomes<TPodcastDownloadOutcome>& DownloadOutcomes() const noexcept { return FDownloadOutcomes; }

    /// Refreshes all feeds.
    void RefreshFeeds();
    void RefreshFeeds(const QStringList& feedURLs);
    void RefreshFeedsOnStartup();
    /// Refreshes all feeds if the interval set in the options has passed since the last time, by either clock. The
    /// update timer calls this every ten minutes.
    void RefreshFeedsIfDue();
    void CancelRefresh();
    /// Loads and parses one feed document; nothing when the location is invalid or the document is not a feed. Errors
    /// while loading are thrown only with `raiseErrors`. Any thread may call it.
    static std::unique_ptr<TPodcastFeed> FetchFeed(const QString& location, const vexa::CancelCheck& isCancelled,
                                                   bool raiseErrors);

    bool IsSubscribed(const QString& feedURL);  // any thread
    void Subscribe(TPodcastFeed& feed);
    /// Like Subscribe, but returns false and changes nothing if a feed with that address is stored by now. Any thread;
    /// it waits until the main thread has notified the listeners.
    [[nodiscard]] bool SubscribeNew(TPodcastFeed& feed);
    /// Returns the names of the cached files that should have been deleted but were kept, because there is no trash for
    /// them. Any thread.
    QStringList Unsubscribe(const QString& feedURL, bool deleteCachedFiles, TPodcastUndo undo = TPodcastUndo::NotKept);
    void ChangeFeedURL(const QString& oldURL, const QString& newURL);

    void UpdateState(const QStringList& episodeKeys, TPodcastEpisodeState state,
                     TPodcastUndo undo = TPodcastUndo::NotKept);              // any thread
    void UpdateState(const QString& episodeKey, TPodcastEpisodeState state);  // any thread

    void DownloadEpisode(const QString& episodeKey);
    void DownloadEpisodes(const QStringList& episodeKeys);
    /// Downloads what was queued when the program last ended, and keeps the queue in the database from now on. A
    /// download that fails is not kept. Without this call the queue is forgotten at the end.
    void ResumeDownloads();
    /// The keys of all new episodes without a cached file, newest first; episodes without audio are left out.
    QStringList NewEpisodesToDownload();
    /// Cancels the downloads and waits; when it returns, listeners have been notified of the end.
    void CancelDownloads();
    /// Finds the existing local copy of an episode: the recorded file, else the file that the template names, unless
    /// another episode's row records that file. False for an episode that was never cached. Any thread may call it.
    bool GetLocalFileName(const TPodcastEpisode& episode, const TPodcastFeed& feed, QString& fileName);
    /// Moves the files to the desktop's trash and marks the episodes as not cached. Returns the names of the files that
    /// were kept because there is no trash for them. `deleted` receives what was done, in addition to what it holds.
    /// Does not notify listeners. Any thread.
    QStringList DeleteCachedEpisodes(const QStringList& episodeKeys, TPodcastDeletedFiles* deleted = nullptr);
    /// Marks the episodes whose file is gone as not cached; returns their number. Any thread.
    int CheckLocalCopies();

    /// The keys and file names that some other part of the program uses now; nothing when it cannot tell.
    using FilesInUse = std::function<std::optional<QStringList>()>;
    /// Sets who tells which files are in use, which are not deleted then. It is called on the main thread.
    void SetFilesInUse(FilesInUse filesInUse) { FFilesInUse = std::move(filesInUse); }
    /// Asks for them on the main thread, and waits. Any thread.
    std::optional<QStringList> AskFilesInUse();
    /// Sets a feed's own option. False, with nothing changed, when there is no such feed, or `value` is none of the
    /// option's values.
    [[nodiscard]] bool SetFeedOption(int feedID, const TPodcastFeedOption& option, const QString& value);
    /// Moves the files that exceed the feeds' own limits (TPodcastFeedOptions) to the desktop's trash, and marks the
    /// episodes as not cached; a file stays if there is no trash for it. A file stays, too, while it is in use, while
    /// its episode is postponed or queued, and if this client was asked to download it. Refreshes and downloads do
    /// this at their ends. Returns the number of files deleted. Errors are logged. Any thread but one that the main
    /// thread waits for otherwise than by Cancel.
    int DeleteFilesBeyondLimits() noexcept;
    /// The same on another thread.
    void DeleteFilesBeyondLimitsInBackground();
    /// Of the new episodes of the last refresh, the keys of those of which the user wants to be notified.
    QStringList EpisodesToAnnounce();

    // Backups (Podcasts.Core.Backups.h).
    QString ProfileFolder() const { return FProfileFolder; }
    /// Makes a backup before so many feeds are unsubscribed at once, if they are more than ten. Throws ReasonError when
    /// that failed and the user does not want to go on.
    void BackUpBeforeUnsubscribing(qsizetype feeds);
    /// From now on, makes a backup in the background once a day when something has changed, which checks the database,
    /// too; without one for a week the database is checked alone. `damageFound` is called on the main thread when it is
    /// damaged: then nothing is written to it any more, and the next program that opens it sets it aside.
    void StartBackups(std::function<void(const vexa::Reason& damage)> damageFound);
    /// Makes a backup in the background now; `completed` is called on the main thread with the reason why it failed, or
    /// none, unless the client has been destroyed by then.
    using BackupCompleted = std::function<void(const vexa::Reason& problem)>;
    void BackUpInBackground(BackupCompleted completed);

    /// What can be undone. The operations that say so add to it before they notify the listeners.
    const TPodcastUndoLog& UndoLog() const noexcept { return *FUndoLog; }
    /// Makes deleted files an act that can be undone. Any thread.
    void KeepForUndo(TPodcastDeletedFiles deleted);
    /// Undoes an act of the log; nothing when the log does not have it. When it throws, as with a database that is
    /// locked, it may be called again. Any thread; waits until the main thread has notified the listeners.
    std::optional<TPodcastUndone> Undo(qint64 number);

    /// Any thread; waits until the main thread has notified the listeners. Every operation that changes data does so,
    /// too.
    void NotifyDataChanged();

private:
    friend class TPodcastClientTask;
    friend class TPodcastClientTaskRefreshFeeds;
    friend class TPodcastClientTaskDownloadEpisodes;

    /// How a task ended, for its completion.
    enum class TaskEnd {
        ByItself,   // the queue was empty: items that have been added since then are kept for another task
        Cancelled,  // the remaining items are dropped
        Failed,     // the same, but the next start may go on with downloads
    };

    void KeepForUndo(std::vector<TPodcastFormerState> former, TPodcastEpisodeState state,
                     const QStringList& episodeKeys);
    void KeepForUndo(std::shared_ptr<TPodcastRemovedFeed> removed, const QString& title, qsizetype count,
                     std::vector<vexa::TrashedFile> inTrash, const QStringList& queued);

    /// Queues the new episodes that the general option and the feeds' own ones want.
    void DownloadAutomatically();
    QStringList EpisodesToDownloadAutomatically();
    void QueueDownloads(const QStringList& episodeKeys);
    /// Notes which files belong to listened episodes, if any feed limits how long these are kept.
    void NoteListenedFiles() noexcept;
    class LimitedFiles;
    class LimitsTask;
    class BackupTask;
    void RunBackupTask(BackupCompleted completed);
    qint64 BackupLimit() const;  // bytes
    /// Makes a backup that belongs to an action, or asks the user.
    void BackUpOrAsk(std::optional<qint64> limit);
    /// Makes a backup if one is due, else a check of the database if that is. Errors are logged.
    void BackUpIfDue(qint64 limit, const vexa::CancelCheck& isCancelled) noexcept;

    /// Called after a new feed has been stored: notifies listeners and starts automatic downloads.
    void FeedSubscribed();
    /// Whether this client has unsubscribed from the feed and kept its files. Any thread.
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
    const TPodcastGoOnWithoutBackup FGoOnWithoutBackup;
    const QString FProfileFolder;
    const std::unique_ptr<vexa::FolderLock> FProfileLock;
    std::unique_ptr<TPodcastListenerList> FListeners;
    std::unique_ptr<TPodcastsDB> FDB;
    std::unique_ptr<TPodcastClientQueue> FRefreshQueue;
    std::unique_ptr<TPodcastClientQueue> FDownloadQueue;
    std::unique_ptr<TPodcastUndoLog> FUndoLog;
    std::unique_ptr<TPodcastClientOptions> FOptions;
    std::unique_ptr<vexa::Timer> FUpdateTimer;
    TPodcastOutcomes<TPodcastRefreshOutcome> FRefreshOutcomes;
    TPodcastOutcomes<TPodcastDownloadOutcome> FDownloadOutcomes;
    std::set<int> FFeedsWithKeptFiles VEXA_GUARDED_BY(FDownloadQueue->Mutex());  // see AreFilesKept

    QSet<QString> FRequested VEXA_GUARDED_BY(FDownloadQueue->Mutex());  // keys that DownloadEpisodes was called with

    // Main thread only.
    FilesInUse FFilesInUse;
    vexa::TaskHandle FLimitsTask = 0;
    vexa::TaskHandle FBackupTask = 0;
    bool FIsBackingUp = false;
    std::function<void(const vexa::Reason&)> FDamageFound;
    std::unique_ptr<vexa::Timer> FBackupTimer;
    vexa::TaskHandle FRefreshTask = 0;
    vexa::TaskHandle FDownloadTask = 0;
    vexa::TaskHandle FLastRefreshTask = 0;  // still set after the completion, until the thread has released the task
    vexa::TaskHandle FLastDownloadTask = 0;
    bool FIsRefreshHeld = false;  // a task is being started or completed: no other task may start now
    bool FAreDownloadsHeld = false;
    bool FIsBeingDestroyed = false;

    vexa::LinkSource<TPodcastClient> FLinks{this};
    std::unique_ptr<TPodcastKeptQueue> FKeptQueue;  // ends first: it waits until everything is written
};

}  // namespace podcasts
