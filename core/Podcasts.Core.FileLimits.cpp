// What the feeds' own options say about downloading by itself, about notifications, and about how many files are kept
// and how long.

#include "Podcasts.Core.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Guard.h"
#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Threads.h"

#include <QFileInfo>

#include <algorithm>
#include <map>

namespace podcasts {

namespace {

constexpr qint64 kSecondsPerDay = 24 * 60 * 60;

/// How many more files of a feed may be downloaded so that no more than its limit are kept.
class Room {
public:
    Room(int limit, const std::vector<TPodcastFileOfFeed>& files) : FLimit(limit) {
        for (const TPodcastFileOfFeed& file : files) FFiles.emplace_back(file.PublishDate, file.RowID);
    }
    /// Whether the file would be one of those that are kept. Ask for the newest episode first.
    bool Take(const TPodcastUncachedEpisode& episode) {
        const std::pair place(episode.PublishDate, episode.RowID);
        const auto newer =
            std::partition_point(FFiles.begin(), FFiles.end(), [&](auto& file) { return file > place; }) -
            FFiles.begin();
        if (newer + FTaken >= FLimit) return false;
        ++FTaken;
        return true;
    }

private:
    const std::ptrdiff_t FLimit;
    std::vector<std::pair<double, qint64>> FFiles;  // dates and rows of the feed's files, newest first
    std::ptrdiff_t FTaken = 0;
};

}  // namespace

// ---- Downloads and notifications ----

QStringList TPodcastClient::EpisodesToDownloadAutomatically() {
    const bool general = FOptions->DownloadNewEpisodesAutomatically();
    const auto options = FDB->GetFeedOptions();
    if (options.empty()) return general ? NewEpisodesToDownload() : QStringList();
    const auto wants = [general](const TPodcastFeedOptions& own) { return Decides(own.AutomaticDownload, general); };
    if (!general && std::none_of(options.begin(), options.end(), [&](auto& each) { return wants(each.second); }))
        return {};
    QStringList keys;
    std::map<int, Room> rooms;
    FDB->EnumNewEpisodes([&](const TPodcastUncachedEpisode& episode) {
        if (episode.URI.isEmpty()) return;
        const auto found = options.find(episode.FeedID);
        const TPodcastFeedOptions own = found == options.end() ? TPodcastFeedOptions() : found->second;
        if (!wants(own)) return;
        if (own.KeepFiles > 0) {
            auto room = rooms.find(episode.FeedID);
            if (room == rooms.end())
                room = rooms.emplace(episode.FeedID, Room(own.KeepFiles, FDB->GetFilesOfFeed(episode.FeedID))).first;
            // Otherwise the file would be deleted at once, and downloaded again after the next refresh.
            if (!room->second.Take(episode)) return;
        }
        keys += episode.URI;
    });
    return keys;
}

void TPodcastClient::DownloadAutomatically() {
    // Collect the keys first, so that no query is open while listeners are notified.
    const QStringList keys = EpisodesToDownloadAutomatically();
    if (!keys.isEmpty()) QueueDownloads(keys);
}

QStringList TPodcastClient::EpisodesToAnnounce() {
    VEXA_ASSERT_MAIN_THREAD();
    QStringList keys;
    const auto outcomes = FRefreshOutcomes.From();
    const bool hasNew = std::any_of(outcomes.begin(), outcomes.end(),
                                    [](const auto& outcome) { return !outcome.NewEpisodes.isEmpty(); });
    if (!hasNew) return keys;
    const auto options = FDB->GetFeedOptions();
    for (const TPodcastRefreshOutcome& outcome : outcomes) {
        if (outcome.NewEpisodes.isEmpty()) continue;
        auto own = options.end();
        if (!options.empty()) {
            const bool isMoved = !outcome.MovedTo.isEmpty() && !outcome.IsMoveRefused;
            own = options.find(FDB->GetFeedID(isMoved ? outcome.MovedTo : outcome.FeedURL));
        }
        const auto choice = own == options.end() ? TPodcastFeedChoice::AsGeneral : own->second.Notifications;
        if (Decides(choice, FOptions->ShowNotifications())) keys += outcome.NewEpisodes;
    }
    return keys;
}

bool TPodcastClient::SetFeedOption(int feedID, const TPodcastFeedOption& option, const QString& value) {
    if (!FDB->SetFeedOption(feedID, option, value)) return false;
    NoteListenedFiles();  // the days begin to count
    return true;
}

// ---- Limits ----

/// The files of the feeds that limit them, and which of these exceed the limits.
class TPodcastClient::LimitedFiles {
public:
    explicit LimitedFiles(TPodcastClient& client) : FDB(client.DB()), FNow(client.Now().toSecsSinceEpoch()) {
        QStringList listened;
        for (const auto& [feedID, options] : FDB.GetFeedOptions()) {
            if (!options.HasLimits()) continue;
            Feed& feed = FFeeds.emplace_back(Feed{feedID, options, FDB.GetFilesOfFeed(feedID)});
            if (options.DeleteAfterDays == 0) continue;
            for (const TPodcastFileOfFeed& file : feed.Files)
                if (file.State == pesListened) listened += file.FileName;
        }
        if (!FFeeds.empty()) FListenedSince = FDB.NoteListenedFiles(listened, FNow);
    }

    struct Superfluous {
        int FeedID;
        TPodcastFileOfFeed File;
    };
    std::vector<Superfluous> Find() const {
        std::vector<Superfluous> found;
        for (const auto& [feedID, options, files] : FFeeds) {
            int kept = 0;
            for (const TPodcastFileOfFeed& file : files) {
                const bool isBeyond = options.KeepFiles > 0 && kept++ >= options.KeepFiles;
                if (file.State != pesPostponed && (isBeyond || IsListenedLongAgo(file, options.DeleteAfterDays)))
                    found.push_back({feedID, file});
            }
        }
        return found;
    }

private:
    struct Feed {
        int ID;
        TPodcastFeedOptions Options;
        std::vector<TPodcastFileOfFeed> Files;  // newest first
    };

    bool IsListenedLongAgo(const TPodcastFileOfFeed& file, int days) const {
        if (days == 0 || file.State != pesListened) return false;
        const auto noted = FListenedSince.find(file.FileName);
        if (noted == FListenedSince.end()) return false;
        // A listened episode that is downloaded again is to be listened to again.
        const qint64 written = QFileInfo(file.FileName).lastModified().toSecsSinceEpoch();
        return FNow - std::max(noted->second, written) >= days * kSecondsPerDay;
    }

    TPodcastsDB& FDB;
    const qint64 FNow;  // seconds since 1970, UTC
    std::vector<Feed> FFeeds;
    std::map<QString, qint64> FListenedSince;  // by file name, in the same unit
};

void TPodcastClient::NoteListenedFiles() noexcept {
    vexa::GuardedCall(
        vexa::LogDownload(), "noting which files were listened to", [&] { const LimitedFiles noted(*this); },
        vexa::E_FAIL);
}

int TPodcastClient::DeleteFilesBeyondLimits() noexcept {
    int deleted = 0;
    const auto work = [&] {
        const auto superfluous = LimitedFiles(*this).Find();
        if (superfluous.empty()) return;
        const std::optional<QStringList> used = AskFilesInUse();
        if (!used) return;
        QSet<qint64> rows;  // by row, because a key may be an older name of the episode
        for (const QString& name : *used)
            if (const auto episode = FDB->GetEpisode(name)) rows.insert(episode->RowID);
        for (const auto& [feedID, file] : superfluous) {
            // Locked, so that the download task cannot take the episode meanwhile.
            const vexa::TLock lock(FDownloadQueue->Mutex());
            const QStringList queued = FDownloadQueue->Items();
            bool isNeeded = rows.contains(file.RowID) || used->contains(file.FileName);
            for (const QString& key : file.Keys)
                isNeeded = isNeeded || FRequested.contains(key) || queued.contains(key);
            if (isNeeded || FDB->IsFileOfAnotherFeed(file.FileName, feedID) || !FDB->IsUnchanged(file)) continue;
            if (!vexa::MoveToRecycleBin(file.FileName)) continue;  // logs a warning
            FDB->ForgetMissingFile(file.FileName);
            qCInfo(vexa::LogDownload).noquote() << "moved to the trash, by the podcast's own options:" << file.FileName;
            ++deleted;
        }
    };
    vexa::GuardedCall(vexa::LogDownload(), "deleting files beyond the podcasts' limits", work, vexa::E_FAIL);
    if (deleted > 0)
        vexa::GuardedCall(
            vexa::LogDownload(), "telling that files were deleted", [&] { NotifyDataChanged(); }, vexa::E_FAIL);
    return deleted;
}

class TPodcastClient::LimitsTask final : public vexa::Task {
public:
    explicit LimitsTask(TPodcastClient& client) : FClient(client) {}
    void Execute() override { FClient.DeleteFilesBeyondLimits(); }

private:
    TPodcastClient& FClient;  // waits for the task before it is destroyed
};

void TPodcastClient::DeleteFilesBeyondLimitsInBackground() {
    VEXA_ASSERT_MAIN_THREAD();
    vexa::WorkerPool::Cancel(FLimitsTask, true);
    FLimitsTask = vexa::WorkerPool::Run(std::make_unique<LimitsTask>(*this));
}

std::optional<QStringList> TPodcastClient::AskFilesInUse() {
    std::optional<QStringList> used;
    vexa::RunInMainThread(
        [&] {
            if (FIsBeingDestroyed) return;
            used = FFilesInUse ? FFilesInUse() : QStringList();
        },
        true);
    return used;
}

}  // namespace podcasts
