#pragma once
// The client's two background tasks. Made and started by the client alone.

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
        return IsCancelled() || HasFailed() ? TPodcastClient::TaskEnd::Stopped : TPodcastClient::TaskEnd::ByItself;
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
    /// The turn that the run has given. True when it failed in a way that may pass, see HttpErrorInfo.
    [[nodiscard]] bool Refresh(TPodcastFetchRun& run, TPodcastRefreshOutcome& outcome);
    [[nodiscard]] bool IsKept(const TPodcastFeedDocument& document, TPodcastRefreshOutcome& outcome);
    void AddOutcome(TPodcastRefreshOutcome outcome);
    /// `newURL`: where the feed is from now on, unless another one is there; empty when it stays.
    void MergeFeed(TPodcastFeed& feed, const QString& newURL, const TPodcastDocumentNote& note,
                   TPodcastRefreshOutcome& outcome);

    bool FHasNewEpisodes = false;
    std::map<QString, TPodcastDocumentNote> FNewValidators;  // by feed, of documents that have not changed
};

/// Takes episode keys from the download queue until it is empty: each audio file goes straight to disk.
class TPodcastClientTaskDownloadEpisodes final : public TPodcastClientTask {
public:
    using TPodcastClientTask::TPodcastClientTask;
    void Execute() override;
    void Complete() override;

private:
    struct Download;
    /// False when there is nothing to fetch: there is a file already, or the outcome says why there can be none.
    [[nodiscard]] bool PrepareDownload(Download& download, TPodcastDownloadOutcome& outcome);
    /// Fetches the file, by as many connections as it takes.
    void Transfer(Download& download, TPodcastDownloadOutcome& outcome);
    /// One connection.
    vexa::HttpErrorInfo Attempt(Download& download);
    /// False when the body is of no use.
    bool Accept(Download& download, const vexa::HttpResponseInfo& response);
    /// Opens the file once enough of the body has come to see that it is audio, and writes that. Throws for a web page.
    /// False when there is a whole file meanwhile.
    [[nodiscard]] bool BeginFile(Download& download, bool isWhole);
    /// Opens the file that the response goes to; false when another download has made one meanwhile.
    [[nodiscard]] bool OpenTarget(Download& download);
    /// Returns after `pause`, or as soon as the download is to stop.
    void WaitForConnection(Download& download, std::chrono::milliseconds pause);
    /// Whether the task is cancelled, or nobody waits for this file any more.
    [[nodiscard]] bool IsToStop(Download& download);
    /// Records the file, or takes it away when the outcome holds an error.
    void Finish(Download& download, TPodcastDownloadOutcome& outcome);
};

}  // namespace podcasts
