#pragma once
// The client's two background tasks. Made and started by the client alone.

#include "Podcasts.Core.h"

#include <QString>

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
    bool Refresh(TPodcastFetchRun& run, TPodcastRefreshOutcome& outcome);
    bool IsKept(const TPodcastFeedDocument& document, TPodcastRefreshOutcome& outcome);
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
    bool PrepareDownload(Download& download, TPodcastDownloadOutcome& outcome);
    void Transfer(Download& download, TPodcastDownloadOutcome& outcome);
    /// Opens the file once enough of the body has come to see that it is audio, and writes that. Throws for a web page.
    void BeginFile(Download& download, bool isWhole);
    /// Opens the file that the response goes to.
    void OpenTarget(Download& download);
    /// Records the file, or takes it away when the outcome holds an error.
    void Finish(Download& download, TPodcastDownloadOutcome& outcome);
};

}  // namespace podcasts
