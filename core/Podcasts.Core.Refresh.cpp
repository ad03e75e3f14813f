#include "Podcasts.Core.Tasks.h"
#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Text.h"

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
        feed = ParseFeedDocument(std::move(document), feedURL);
        if (!feed) outcome.Error = DescribeMissingFeed(feedURL);
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
    TPodcastsDB& db = FClient.DB();
    const auto episodes = TPodcastsDB::DistinctEpisodes(feed);
    // One transaction from the look at the subscription to the last row: a mark, a finished download or an
    // unsubscription of another thread or process can come before or after, never in between.
    db.RunInTransaction([&] {
        if (!FClient.IsSubscribed(feed.Fields[pffURLFeed])) {
            outcome.IsUnsubscribed = true;
            return;
        }
        const int id = db.GetFeedID(feed.Fields[pffURLFeed]);
        const TPodcastStoredEpisodes stored = db.LoadStoredEpisodes(id);
        for (const auto& [episode, uri] : episodes) {
            const auto* known = stored.Find(vexa::ToUtf8(episode->Fields[pefGUID]), vexa::ToUtf8(uri));
            if (known) {
                episode->Fields[pefURLAudioCached] = vexa::FromUtf8(known->URLAudioCached);
                episode->State = static_cast<TPodcastEpisodeState>(known->State);
            } else {
                outcome.NewEpisodes += MakeEpisodeKey(id, episode->Fields[pefGUID]);
            }
        }
        db.AddOrUpdate(feed, episodes, stored);
    });
    if (!outcome.NewEpisodes.isEmpty()) FHasNewEpisodes = true;
}

void TPodcastClientTaskRefreshFeeds::Complete() {
    FClient.RunCompletion([this] { FClient.RefreshFeedsComplete(FHasNewEpisodes, End()); });
}

}  // namespace podcasts
