#include "Podcasts.Core.Backups.h"
#include "Podcasts.Core.Reasons.h"
#include "Podcasts.Core.Repair.h"
#include "Podcasts.Core.Tasks.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Threads.h"

#include <QFileInfo>
#include <QSet>

namespace podcasts {

vexa::Reason TaskStopped() {
    return vexa::Reason(CoreReason("Stopped"));
}

namespace {
/// Finishes what a program has prepared for the next one that opens the profile.
std::unique_ptr<vexa::FolderLock> LockProfile(const QString& folder) {
    if (vexa::FinishReplacement(folder) == vexa::ReplacementResult::InUse)
        qCInfo(vexa::LogDatabase).noquote() << "the backup is restored once no program has the profile open:" << folder;
    auto lock = std::make_unique<vexa::FolderLock>(folder, vexa::FolderLock::Kind::Shared);
    lock->ThrowUnlessHeld();
    if (IsDamageNoted(folder))
        throw vexa::SqliteError(vexa::Reason(CoreReason("DatabaseDamage"),
                                             {DatabaseFileName(folder), vexa::Reason(CoreReason("DamageNoted"))}),
                                vexa::SqliteError::kDamage);
    return lock;
}
}  // namespace

TPodcastClient::TPodcastClient(const QString& dbFileName, TPodcastClocks clocks, TPodcastGoOnWithoutBackup goOn)
    : FClocks(std::move(clocks)),
      FGoOnWithoutBackup(std::move(goOn)),
      FProfileFolder(QFileInfo(dbFileName).path()),
      FProfileLock(LockProfile(FProfileFolder)),
      FListeners(std::make_unique<TPodcastListenerList>()),
      FDB(std::make_unique<TPodcastsDB>(dbFileName, [this] { BackUpOrAsk(std::nullopt); })),
      FRefreshQueue(std::make_unique<TPodcastClientQueue>()),
      FDownloadQueue(std::make_unique<TPodcastClientQueue>()),
      FUndoLog(std::make_unique<TPodcastUndoLog>()),
      FOptions(std::make_unique<TPodcastClientOptions>([this](TPodcastClientOptions&) { OptionsChanged(); })),
      FUpdateTimer(std::make_unique<vexa::Timer>(FClocks.Interval, [this] { RefreshFeedsIfDue(); })),
      FKeptQueue(std::make_unique<TPodcastKeptQueue>(*FDB)) {
    OptionsChanged();
}

TPodcastClient::~TPodcastClient() {
    VEXA_ASSERT_MAIN_THREAD();
    FListeners->Clear();
    FLinks.Invalidate();
    FIsBeingDestroyed = true;
    vexa::WorkerPool::Cancel(FLastRefreshTask, true);
    vexa::WorkerPool::Cancel(FLastDownloadTask, true);
    vexa::WorkerPool::Cancel(FLimitsTask, true);
    vexa::WorkerPool::Cancel(FBackupTask, true);
}

void TPodcastClient::RefreshFeeds() {
    VEXA_ASSERT_MAIN_THREAD();
    LastRefreshTime = FClocks.TickCount();
    LastRefreshDate = FClocks.Calendar();
    QStringList feedURLs;
    FDB->EnumFeeds([&](const QString& urlFeed, const QString&, int) { feedURLs += urlFeed; });
    FRefreshQueue->Add(feedURLs);
    StartRefreshTask();
}

void TPodcastClient::RefreshFeeds(const QStringList& feedURLs) {
    VEXA_ASSERT_MAIN_THREAD();
    FRefreshQueue->Add(feedURLs);
    StartRefreshTask();
}

void TPodcastClient::RefreshFeedsOnStartup() {
    if (FOptions->CheckUpdatesOnStartup()) RefreshFeeds();
}

void TPodcastClient::RefreshFeedsIfDue() {
    // The tick count restarts with the machine, so on its own it would never be due on one that is switched off every
    // night.
    const std::uint32_t interval = UpdateInterval(FOptions->CheckUpdates());
    if (IsRefreshDue(FClocks.TickCount(), LastRefreshTime, interval) ||
        IsRefreshDue(FClocks.Calendar(), LastRefreshDate, interval))
        RefreshFeeds();
}

void TPodcastClient::CancelRefresh() {
    VEXA_ASSERT_MAIN_THREAD();
    vexa::WorkerPool::Cancel(FRefreshTask, true);
}

std::unique_ptr<TPodcastFeed> TPodcastClient::FetchFeed(const QString& location, const vexa::CancelCheck& isCancelled,
                                                        bool raiseErrors) {
    try {
        return ParseFeedDocument(LoadFeedDocument(location, isCancelled), location);
    } catch (...) {
        if (raiseErrors) throw;
        return nullptr;
    }
}

bool TPodcastClient::IsSubscribed(const QString& feedURL) {
    return !feedURL.isEmpty() && FDB->GetFeedID(feedURL) >= 1;
}

void TPodcastClient::Subscribe(TPodcastFeed& feed) {
    VEXA_ASSERT_MAIN_THREAD();
    FDB->AddOrUpdate(feed);
    FeedSubscribed();
}

bool TPodcastClient::SubscribeNew(TPodcastFeed& feed) {
    bool isNew = false;
    FDB->RunInTransaction([&] {
        isNew = !IsSubscribed(feed.Fields[pffURLFeed]);
        if (isNew) FDB->AddOrUpdate(feed);
    });
    if (!isNew) return false;
    vexa::RunInMainThread([this] { FeedSubscribed(); }, true);
    return true;
}

void TPodcastClient::FeedSubscribed() {
    VEXA_ASSERT_MAIN_THREAD();
    NotifyDataChanged();
    DownloadAutomatically();
}

QStringList TPodcastClient::Unsubscribe(const QString& feedURL, bool deleteCachedFiles, TPodcastUndo undo) {
    QStringList kept;
    FRefreshQueue->Remove(feedURL);
    if (const auto feed = FDB->GetFeed(feedURL, true)) {
        // Locked while files are recycled, so that the download task cannot take one of these episodes meanwhile.
        const vexa::TLock lock(FDownloadQueue->Mutex());
        QSet<QString> recycled;
        std::vector<vexa::TrashedFile> inTrash;
        const auto recycle = [&](const QString& fileName) {
            // Keep a file that an episode of another feed records as well.
            if (recycled.contains(fileName) || FDB->IsFileOfAnotherFeed(fileName, feed->ID)) return;
            recycled.insert(fileName);
            vexa::TrashedFile trashed;
            if (!vexa::MoveToRecycleBin(fileName, &trashed)) kept += fileName;
            if (!trashed.InTrash.isEmpty()) inTrash.push_back(std::move(trashed));
        };
        QStringList queued;
        for (const auto& episode : feed->Episodes()) {
            const QStringList keys{episode->Fields[pefURI], MakeEpisodeKey(episode->FeedID, episode->Fields[pefGUID])};
            for (const QString& key : keys)
                if (FDownloadQueue->Remove(key)) queued += keys[0];  // the other one ends with the feed's ID
            FKeptQueue->Remove(keys);
            if (QString fileName; deleteCachedFiles && GetLocalFileName(*episode, *feed, fileName)) recycle(fileName);
        }
        if (!deleteCachedFiles) FFeedsWithKeptFiles.insert(feed->ID);
        // A download, of this program or another one, may have recorded a file since the feed was read. A download that
        // ends later finds no row, and removes its file itself.
        QStringList late;
        std::shared_ptr<TPodcastRemovedFeed> removed;
        const auto remove = [&](bool isToBeKept) {
            FDB->RunInTransaction([&] {
                late.clear();
                if (deleteCachedFiles)
                    FDB->EnumCachedFilesOfFeed(feed->ID, [&](const QString& fileName) { late += fileName; });
                // By ID, because a refresh of another process may have given the feed another address meanwhile.
                if (isToBeKept)
                    removed = FDB->SetAside(feed->ID);
                else
                    FDB->Remove(feed->ID);
            });
        };
        try {
            remove(undo == TPodcastUndo::Kept);
        } catch (const vexa::SqliteError& error) {
            if (undo == TPodcastUndo::NotKept || error.IsBusy()) throw;
            // Perhaps there is no room for the copy.
            qCWarning(vexa::LogRefresh).noquote() << "unsubscribing without a way back:" << error.what();
            remove(false);
        }
        for (const QString& fileName : late) recycle(fileName);
        if (removed)
            KeepForUndo(std::move(removed), feed->Fields[pffTitle], feed->EpisodeCount(), std::move(inTrash), queued);
    }
    NotifyDataChanged();
    return kept;
}

bool TPodcastClient::AreFilesKept(int feedID) {
    const vexa::TLock lock(FDownloadQueue->Mutex());
    return FFeedsWithKeptFiles.contains(feedID);
}

void TPodcastClient::ChangeFeedURL(const QString& oldURL, const QString& newURL) {
    VEXA_ASSERT_MAIN_THREAD();
    FDB->ChangeFeedURL(oldURL, newURL);
    NotifyDataChanged();
}

void TPodcastClient::UpdateState(const QStringList& episodeKeys, TPodcastEpisodeState state, TPodcastUndo undo) {
    auto former = FDB->UpdateState(episodeKeys, state);
    if (undo == TPodcastUndo::Kept) KeepForUndo(std::move(former), state, episodeKeys);
    NoteListenedFiles();
    NotifyDataChanged();
}

void TPodcastClient::UpdateState(const QString& episodeKey, TPodcastEpisodeState state) {
    UpdateState(QStringList(episodeKey), state);
}

void TPodcastClient::DownloadEpisode(const QString& episodeKey) {
    DownloadEpisodes({episodeKey});
}

void TPodcastClient::DownloadEpisodes(const QStringList& episodeKeys) {
    {
        const vexa::TLock lock(FDownloadQueue->Mutex());
        FRequested.unite(QSet<QString>(episodeKeys.begin(), episodeKeys.end()));
    }
    QueueDownloads(episodeKeys);
}

void TPodcastClient::QueueDownloads(const QStringList& episodeKeys) {
    VEXA_ASSERT_MAIN_THREAD();
    FDownloadQueue->Add(episodeKeys);
    FKeptQueue->Add(episodeKeys);
    StartDownloadTask();
}

void TPodcastClient::ResumeDownloads() {
    const QStringList keys = FKeptQueue->Start();
    if (!keys.isEmpty()) DownloadEpisodes(keys);
}

QStringList TPodcastClient::NewEpisodesToDownload() {
    QStringList keys;
    FDB->EnumNewEpisodes([&](const TPodcastUncachedEpisode& episode) {
        if (!episode.URI.isEmpty()) keys += episode.URI;
    });
    return keys;
}

void TPodcastClient::CancelDownloads() {
    VEXA_ASSERT_MAIN_THREAD();
    vexa::WorkerPool::Cancel(FDownloadTask, true);
}

bool TPodcastClient::GetLocalFileName(const TPodcastEpisode& episode, const TPodcastFeed& feed, QString& fileName) {
    fileName.clear();
    const QString& recorded = episode.Fields[pefURLAudioCached];
    if (recorded.isEmpty()) return false;
    if (vexa::FileExists(recorded)) {
        fileName = recorded;
        return true;
    }
    const QString expected = TPodcastInfoFormatString::Expand(FOptions->CacheFileNameTemplate(), feed, episode);
    // Many feeds give all files the same name, so a file that another episode's row records is not this episode's.
    if (!vexa::FileExists(expected) || FDB->IsFileOfAnother(expected, episode)) return false;
    fileName = expected;
    return true;
}

QStringList TPodcastClient::DeleteCachedEpisodes(const QStringList& episodeKeys, TPodcastDeletedFiles* deleted) {
    QStringList files, kept;
    FDB->EnumCachedFiles(episodeKeys, [&](const QString& fileName) { files += fileName; });
    files.removeDuplicates();
    TPodcastDeletedFiles unused;
    TPodcastDeletedFiles& done = deleted ? *deleted : unused;
    for (const QString& fileName : files) {
        vexa::TrashedFile trashed;
        if (!vexa::MoveToRecycleBin(fileName, &trashed)) {
            kept += fileName;
            done.NotDeleted.insert(fileName);
        }
        if (!trashed.InTrash.isEmpty()) done.InTrash.push_back(std::move(trashed));
    }
    const auto rows = FDB->ForgetFiles(episodeKeys);
    done.Rows.insert(done.Rows.end(), rows.begin(), rows.end());
    return kept;
}

int TPodcastClient::CheckLocalCopies() {
    const int reset = FDB->ResetMissingCachedFiles();
    NotifyDataChanged();
    return reset;
}

void TPodcastClient::StartRefreshTask() {
    VEXA_ASSERT_MAIN_THREAD();
    // A running task takes the new entries. If they come too late for it, its completion starts another task at its
    // end.
    if (FRefreshTask != 0 || FIsRefreshHeld) return;
    FIsRefreshHeld = true;
    FRefreshOutcomes.Clear();
    NotifyRefreshFeedsStarted();
    FIsRefreshHeld = false;
    FRefreshTask = FLastRefreshTask = vexa::WorkerPool::Run(std::make_unique<TPodcastClientTaskRefreshFeeds>(*this));
}

void TPodcastClient::StartDownloadTask() {
    VEXA_ASSERT_MAIN_THREAD();
    if (FDownloadTask != 0 || FAreDownloadsHeld) return;
    FAreDownloadsHeld = true;
    FDownloadOutcomes.Clear();
    NotifyDownloadsStarted();
    FAreDownloadsHeld = false;
    FDownloadTask = FLastDownloadTask =
        vexa::WorkerPool::Run(std::make_unique<TPodcastClientTaskDownloadEpisodes>(*this));
}

void TPodcastClient::RunCompletion(const std::function<void()>& completion) {
    vexa::RunInMainThread(
        [&] {
            if (!FIsBeingDestroyed) completion();
        },
        true);
}

namespace {
/// Adds a "not done" outcome for everything left in a stopped task's queue, and empties the queue.
template <class Outcome>
void DropQueue(TPodcastClientQueue& queue, TPodcastOutcomes<Outcome>& outcomes) {
    for (const QString& item : queue.Items()) {
        Outcome outcome{item, {}, {}};
        outcome.Error = TaskStopped();
        outcome.IsDropped = true;
        outcomes.Add(std::move(outcome));
    }
    queue.Clear();
}
}  // namespace

void TPodcastClient::RefreshFeedsComplete(bool hasNewEpisodes, TaskEnd end) {
    VEXA_ASSERT_MAIN_THREAD();
    FIsRefreshHeld = true;
    if (end != TaskEnd::ByItself) DropQueue(*FRefreshQueue, FRefreshOutcomes);
    NotifyRefreshFeedsFinished(hasNewEpisodes);
    FRefreshTask = 0;
    NotifyDataChanged();
    try {
        DownloadAutomatically();
    } catch (const std::exception& error) {
        qCWarning(vexa::LogRefresh) << "cannot look for new episodes:" << error.what();
    }
    FIsRefreshHeld = false;
    if (end != TaskEnd::ByItself) FRefreshQueue->Clear();
    if (QString late; FRefreshQueue->Peek(late)) StartRefreshTask();
}

void TPodcastClient::DownloadsComplete(TaskEnd end) {
    VEXA_ASSERT_MAIN_THREAD();
    FAreDownloadsHeld = true;
    if (end != TaskEnd::ByItself) DropQueue(*FDownloadQueue, FDownloadOutcomes);
    if (end == TaskEnd::Cancelled) FKeptQueue->Clear();
    FDownloadTask = 0;
    NotifyDownloadsFinished();
    NotifyDataChanged();
    FAreDownloadsHeld = false;
    if (end != TaskEnd::ByItself) FDownloadQueue->Clear();
    if (end == TaskEnd::Cancelled) FKeptQueue->Clear();
    if (QString late; FDownloadQueue->Peek(late)) StartDownloadTask();
}

void TPodcastClient::OptionsChanged() {
    // The options raise no event while they are constructed, so the timer exists.
    FUpdateTimer->SetEnabled(FOptions->CheckUpdates() != 0);
}

void TPodcastClient::NotifyDataChanged() {
    vexa::RunInMainThread(
        [this] { FListeners->Notify<IPodcastClientChangeListener>([](auto& listener) { listener.DataChanged(); }); },
        true);
}

void TPodcastClient::NotifyRefreshFeedsStarted() {
    FListeners->Notify<IPodcastClientRefreshFeedsListener>([](auto& listener) { listener.RefreshFeedsStarted(); });
}

void TPodcastClient::NotifyRefreshFeed(const QString& feedURL) {
    FListeners->Notify<IPodcastClientRefreshFeedsListener>([&](auto& listener) { listener.RefreshFeed(feedURL); });
}

void TPodcastClient::NotifyRefreshFeedsFinished(bool hasNewEpisodes) {
    FListeners->Notify<IPodcastClientRefreshFeedsListener>(
        [&](auto& listener) { listener.RefreshFeedsFinished(hasNewEpisodes); });
}

void TPodcastClient::NotifyDownloadsStarted() {
    FListeners->Notify<IPodcastClientDownloadsListener>([](auto& listener) { listener.DownloadsStarted(); });
}

void TPodcastClient::NotifyDownloadsProgress(std::int64_t position, std::int64_t size, const QString& caption) {
    FListeners->Notify<IPodcastClientDownloadsListener>(
        [&](auto& listener) { listener.DownloadsProgress(position, size, caption); });
}

void TPodcastClient::NotifyDownloadsFinished() {
    FListeners->Notify<IPodcastClientDownloadsListener>([](auto& listener) { listener.DownloadsFinished(); });
}

}  // namespace podcasts
