#pragma once
// The client's two background tasks. Only the client creates and starts them.

#include "Podcasts.Core.h"
#include "VEXA.Runtime.Http.h"

#include <QString>

#include <chrono>

namespace podcasts {

class TPodcastClientTask : public vexa::Task {
public:
    explicit TPodcastClientTask(TPodcastClient& client) : FClient(client) {}

protected:
    TPodcastClient::TaskEnd End() const {
        using enum TPodcastClient::TaskEnd;
        if (IsCancelled()) return Cancelled;
        return HasFailed() ? Failed : ByItself;
    }

    TPodcastClient& FClient;
};

/// Takes feed addresses from the refresh queue until it is empty: fetch, parse, merge.
class TPodcastClientTaskRefreshFeeds final : public TPodcastClientTask {
public:
    using TPodcastClientTask::TPodcastClientTask;
    void Execute() override;
    void Complete() override;

private:
    /// Refreshes the feed of the run's current turn. True for a transient failure, see HttpErrorInfo.
    [[nodiscard]] bool Refresh(TPodcastFetchRun& run, TPodcastRefreshOutcome& outcome);
    [[nodiscard]] bool IsKept(const TPodcastFeedDocument& document, TPodcastRefreshOutcome& outcome);
    void AddOutcome(TPodcastRefreshOutcome outcome);
    /// `newURL`: the feed's new address, which it gets unless another feed has it; empty when the feed has not moved.
    void MergeFeed(TPodcastFeed& feed, const QString& newURL, const TPodcastDocumentNote& note,
                   TPodcastRefreshOutcome& outcome);

    bool FHasNewEpisodes = false;
    std::map<QString, TPodcastDocumentNote> FNewValidators;  // by feed: the notes of unchanged documents
};

/// Takes episode keys from the download queue until it is empty, and writes each audio file straight to disk.
class TPodcastClientTaskDownloadEpisodes final : public TPodcastClientTask {
public:
    using TPodcastClientTask::TPodcastClientTask;
    void Execute() override;
    void Complete() override;

private:
    struct Download;
    /// False when there is nothing to fetch: the file exists already, or the outcome has an error.
    [[nodiscard]] bool PrepareDownload(Download& download, TPodcastDownloadOutcome& outcome);
    /// Fetches the file, over as many connections as it takes.
    void Transfer(Download& download, TPodcastDownloadOutcome& outcome);
    /// Fetches as much as one connection brings.
    vexa::HttpErrorInfo Attempt(Download& download);
    /// False when the body cannot be used.
    bool Accept(Download& download, const vexa::HttpResponseInfo& response);
    /// Opens the file once enough of the body has arrived to recognise it as audio, and writes those bytes. Throws for
    /// a web page. False when another download has completed the file meanwhile.
    [[nodiscard]] bool BeginFile(Download& download, bool isWhole);
    /// Opens the file for the response; false when another download has completed it meanwhile.
    [[nodiscard]] bool OpenTarget(Download& download);
    /// Returns after `pause`, or as soon as the download has to stop.
    void WaitForConnection(Download& download, std::chrono::milliseconds pause);
    /// Whether the task is cancelled, or the file is no longer needed.
    [[nodiscard]] bool ShouldStop(Download& download);
    /// Records the file, or removes it when the outcome has an error.
    void Finish(Download& download, TPodcastDownloadOutcome& outcome);
};

}  // namespace podcasts
