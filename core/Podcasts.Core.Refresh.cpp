#include "Podcasts.Core.Locating.h"
#include "Podcasts.Core.Tasks.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Url.h"

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
    const vexa::CancelCheck isCancelled = [this] { return IsCancelled(); };
    std::unique_ptr<TPodcastFeed> feed;
    TPodcastFeedDocument place;  // of the document, without it
    try {
        auto document = fetcher.Take(feedURL, isCancelled);
        // The next document may come while this one is stored. It is a guess: what is queued meanwhile goes first.
        if (QString next; !IsCancelled() && FClient.RefreshQueue().Peek(next)) fetcher.Begin(next);
        place = {nullptr, document.Address, document.MovedTo};
        feed = ParseFeedDocument(document, feedURL);
        if (!feed) outcome.Error = DescribeMissingFeed(document);
    } catch (const std::exception& error) {
        outcome.Error = QString::fromUtf8(error.what());
    }
    QString newURL;
    if (feed && !IsCancelled())
        newURL = FollowMoves(
            feed, place, [&](const QString& address) { return LoadFeedDocument(address, isCancelled); },
            [this](const QString& address) { return FClient.IsSubscribed(address); });
    if (feed && IsCancelled())
        outcome.Error = QStringLiteral("cancelled");
    else if (feed)
        MergeFeed(*feed, newURL, outcome);
    if (!outcome.Error.isEmpty() && !IsCancelled())
        qCWarning(vexa::LogRefresh).noquote() << "cannot refresh" << vexa::MaskedUrl(feedURL) + u": " + outcome.Error;
}

void TPodcastClientTaskRefreshFeeds::MergeFeed(TPodcastFeed& feed, const QString& newURL,
                                               TPodcastRefreshOutcome& outcome) {
    const TPodcastMergeResult merged = FClient.DB().Merge(feed, newURL);
    outcome.IsUnsubscribed = !merged.IsSubscribed;
    outcome.NewEpisodes = merged.NewEpisodes;
    if (merged.IsSubscribed) outcome.MovedTo = newURL;
    outcome.IsMoveRefused = !outcome.MovedTo.isEmpty() && !merged.IsMoved;
    if (!merged.NewEpisodes.isEmpty()) FHasNewEpisodes = true;
    for (const QString& file : merged.SpareFiles) vexa::MoveToRecycleBin(file);
}

void TPodcastClientTaskRefreshFeeds::Complete() {
    FClient.RunCompletion([this] { FClient.RefreshFeedsComplete(FHasNewEpisodes, End()); });
}

}  // namespace podcasts
