#include "Podcasts.Core.Locating.h"
#include "Podcasts.Core.Tasks.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Http.h"
#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Url.h"

#include <QScopeGuard>

#include <map>

namespace podcasts {

void TPodcastClientTaskRefreshFeeds::Execute() {
    TPodcastFetchRun run(
        FClient.RefreshQueue(), [](const QString& feedURL) { return feedURL; }, [this] { return IsCancelled(); });
    std::map<QString, TPodcastRefreshOutcome> putAside;  // by feed, for a second try
    const auto addThoseWithoutAnother = qScopeGuard([&] {
        for (auto& [feedURL, outcome] : putAside) AddOutcome(std::move(outcome));
    });
    while (const auto turn = run.Next()) {
        const QString& feedURL = turn->Item;
        putAside.erase(feedURL);
        if (!turn->IsSecondTry) vexa::RunInMainThread([&] { FClient.NotifyRefreshFeed(feedURL); }, true);
        TPodcastRefreshOutcome outcome{feedURL, {}, {}};
        bool mayPass = false;
        try {
            mayPass = Refresh(run, outcome);
        } catch (const std::exception& error) {
            // The database failed: this ends the task, and its completion accounts for the feeds that are left.
            outcome.Error = QString::fromUtf8(error.what());
            FClient.FRefreshOutcomes.Add(std::move(outcome));
            throw;
        }
        if (mayPass && !turn->IsSecondTry && !IsCancelled()) {
            run.TryAgain();
            putAside.emplace(feedURL, std::move(outcome));
            continue;
        }
        AddOutcome(std::move(outcome));
    }
}

void TPodcastClientTaskRefreshFeeds::AddOutcome(TPodcastRefreshOutcome outcome) {
    if (!outcome.Error.isEmpty() && !IsCancelled())
        qCWarning(vexa::LogRefresh).noquote()
            << "cannot refresh" << vexa::MaskedUrl(outcome.FeedURL) + u": " + outcome.Error;
    FClient.FRefreshOutcomes.Add(std::move(outcome));
}

bool TPodcastClientTaskRefreshFeeds::Refresh(TPodcastFetchRun& run, TPodcastRefreshOutcome& outcome) {
    const QString& feedURL = outcome.FeedURL;
    std::unique_ptr<TPodcastFeed> feed;
    TPodcastFeedDocument place;  // of the document, without it
    try {
        const TPodcastFeedDocument document = run.TakeDocument();
        place = {nullptr, document.Address, document.MovedTo};
        feed = ParseFeedDocument(document, feedURL);
        if (!feed) outcome.Error = DescribeMissingFeed(document);
    } catch (const vexa::HttpError& error) {
        outcome.Error = QString::fromUtf8(error.what());
        return error.MayPass();
    } catch (const std::exception& error) {
        outcome.Error = QString::fromUtf8(error.what());
    }
    if (!feed) return false;
    QString newURL;
    if (!IsCancelled()) {
        const vexa::CancelCheck isCancelled = [this] { return IsCancelled(); };
        newURL = FollowMoves(
            feed, place, [&](const QString& address) { return LoadFeedDocument(address, isCancelled); },
            [this](const QString& address) { return FClient.IsSubscribed(address); });
    }
    if (IsCancelled())
        outcome.Error = QStringLiteral("cancelled");
    else
        MergeFeed(*feed, newURL, outcome);
    return false;
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
