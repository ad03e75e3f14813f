#include "Podcasts.Core.Tasks.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Log.h"

namespace podcasts {

void TPodcastClientTaskRefreshFeeds::Execute() {
    TPodcastFeedFetcher fetcher;
    QString feedURL;
    while (!IsCancelled() && FClient.RefreshQueue().Pop(feedURL)) {
        vexa::RunInMainThread([&] { FClient.NotifyRefreshFeed(feedURL); }, true);
        TPodcastRefreshOutcome outcome{feedURL, {}, {}};
        try {
            Refresh(feedURL, fetcher, outcome);
        } catch (const std::exception& error) {
            // The database failed: this ends the task, and its completion accounts for the feeds that are left.
            outcome.Error = QString::fromUtf8(error.what());
            FClient.FRefreshOutcomes.Add(std::move(outcome));
            throw;
        }
        FClient.FRefreshOutcomes.Add(std::move(outcome));
    }
}

void TPodcastClientTaskRefreshFeeds::Refresh(const QString& feedURL, TPodcastFeedFetcher& fetcher,
                                             TPodcastRefreshOutcome& outcome) {
    std::unique_ptr<TPodcastFeed> feed;
    try {
        auto document = fetcher.Take(feedURL, [this] { return IsCancelled(); });
        // The next document may come while this one is stored. It is a guess: what is queued meanwhile goes first.
        if (QString next; !IsCancelled() && FClient.RefreshQueue().Peek(next)) fetcher.Begin(next);
        feed = ParseFeedDocument(document.get(), feedURL);
        if (!feed) outcome.Error = DescribeMissingFeed(document.get());
    } catch (const std::exception& error) {
        outcome.Error = QString::fromUtf8(error.what());
    }
    if (feed && IsCancelled())
        outcome.Error = QStringLiteral("cancelled");
    else if (feed)
        MergeFeed(*feed, outcome);
    if (!outcome.Error.isEmpty() && !IsCancelled())
        qCWarning(vexa::LogRefresh).noquote() << "cannot refresh" << feedURL + u": " + outcome.Error;
}

void TPodcastClientTaskRefreshFeeds::MergeFeed(TPodcastFeed& feed, TPodcastRefreshOutcome& outcome) {
    const TPodcastMergeResult merged = FClient.DB().Merge(feed);
    outcome.IsUnsubscribed = !merged.IsSubscribed;
    outcome.NewEpisodes = merged.NewEpisodes;
    if (!merged.NewEpisodes.isEmpty()) FHasNewEpisodes = true;
    for (const QString& file : merged.SpareFiles) vexa::MoveToRecycleBin(file);
}

void TPodcastClientTaskRefreshFeeds::Complete() {
    FClient.RunCompletion([this] { FClient.RefreshFeedsComplete(FHasNewEpisodes, End()); });
}

}  // namespace podcasts
