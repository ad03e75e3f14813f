#include "Podcasts.Core.Locating.h"
#include "Podcasts.Core.Tasks.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Http.h"
#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Reasons.h"
#include "VEXA.Runtime.Url.h"

#include <QScopeGuard>

#include <map>

namespace podcasts {

void TPodcastClientTaskRefreshFeeds::Execute() {
    TPodcastFetchRun run(
        FClient.RefreshQueue(), [](const QString& feedURL) { return feedURL; },
        [this](const QString& feedURL) { return FClient.DB().GetDocumentNote(feedURL); },
        [this] { return IsCancelled(); });
    std::map<QString, TPodcastRefreshOutcome> firstTries;  // by feed: outcomes that a second try may replace
    const auto addRemaining = qScopeGuard([&] {
        for (auto& [feedURL, outcome] : firstTries) AddOutcome(std::move(outcome));
    });
    while (const auto turn = run.Next()) {
        const QString& feedURL = turn->Item;
        firstTries.erase(feedURL);
        if (!turn->IsSecondTry) vexa::RunInMainThread([&] { FClient.NotifyRefreshFeed(feedURL); }, true);
        TPodcastRefreshOutcome outcome{feedURL, {}, {}};
        bool isTransient = false;
        try {
            isTransient = Refresh(run, outcome);
        } catch (const std::exception& error) {
            // The database has failed: this ends the task, and its completion adds outcomes for the remaining feeds.
            outcome.Error = vexa::ReasonOf(error);
            FClient.FRefreshOutcomes.Add(std::move(outcome));
            throw;
        }
        if (isTransient && !turn->IsSecondTry && !IsCancelled()) {
            run.TryAgain();
            firstTries.emplace(feedURL, std::move(outcome));
            continue;
        }
        AddOutcome(std::move(outcome));
    }
    FClient.DB().UpdateValidators(FNewValidators);
    if (!IsCancelled()) FClient.DeleteFilesBeyondLimits();
}

void TPodcastClientTaskRefreshFeeds::AddOutcome(TPodcastRefreshOutcome outcome) {
    if (outcome.Error && !IsCancelled())
        qCWarning(vexa::LogRefresh).noquote()
            << "cannot refresh" << vexa::MaskedUrl(outcome.FeedURL) + u": " + outcome.Error.English();
    FClient.FRefreshOutcomes.Add(std::move(outcome));
}

bool TPodcastClientTaskRefreshFeeds::Refresh(TPodcastFetchRun& run, TPodcastRefreshOutcome& outcome) {
    const QString& feedURL = outcome.FeedURL;
    const vexa::CancelCheck isCancelled = [this] { return IsCancelled(); };
    const TPodcastDocumentLoader load = [&](const QString& address) { return LoadFeedDocument(address, isCancelled); };
    std::unique_ptr<TPodcastFeed> feed;
    TPodcastFeedDocument place;  // the document's addresses and note, without its tree
    try {
        TPodcastFeedDocument document = run.TakeDocument();
        if (document.IsUnchanged) {
            if (IsKept(document, outcome)) return false;
            document = load(feedURL);
        }
        place = {nullptr, document.Address, document.MovedTo, document.Note};
        feed = ParseFeedDocument(document, feedURL);
        if (!feed) outcome.Error = DescribeMissingFeed(document);
    } catch (const vexa::SqliteError&) {
        throw;
    } catch (const vexa::HttpError& error) {
        outcome.Error = error.Why();
        return error.IsTransient();
    } catch (const std::exception& error) {
        outcome.Error = vexa::ReasonOf(error);
    }
    if (!feed) return false;
    const QString named = vexa::WithCredentialsOf(feedURL, feed->NewFeedURL);
    QString newURL;
    if (!IsCancelled())
        newURL =
            FollowMoves(feed, place, load, [this](const QString& address) { return FClient.IsSubscribed(address); });
    if (IsCancelled()) {
        outcome.Error = vexa::Reason(vexa::RuntimeReason("Cancelled"));
        return false;
    }
    // Note the new address even if the feed could not be followed there, so that the next refresh tries again.
    place.Note.WantedAddress = newURL.isEmpty() && !vexa::IsSameUrl(named, feedURL) ? named : newURL;
    MergeFeed(*feed, newURL, place.Note, outcome);
    return false;
}

/// Whether the stored feed is kept because its document has not changed. False when something other than that
/// document's merge has written the feed's rows meanwhile, and when the feed's move has to be tried again.
bool TPodcastClientTaskRefreshFeeds::IsKept(const TPodcastFeedDocument& document, TPodcastRefreshOutcome& outcome) {
    const auto present = FClient.DB().GetDocumentNote(outcome.FeedURL);
    if (!present || present->Digest != document.Note.Digest || present->Address != document.Note.Address) return false;
    const QString& wanted = document.MovedTo.isEmpty() ? present->WantedAddress : document.MovedTo;
    if (!wanted.isEmpty()) {
        if (!FClient.IsSubscribed(wanted)) return false;
        outcome.MovedTo = wanted;
        outcome.IsMoveRefused = true;
    }
    if (*present != document.Note) FNewValidators.insert_or_assign(outcome.FeedURL, document.Note);
    return true;
}

void TPodcastClientTaskRefreshFeeds::MergeFeed(TPodcastFeed& feed, const QString& newURL,
                                               const TPodcastDocumentNote& note, TPodcastRefreshOutcome& outcome) {
    const TPodcastMergeResult merged = FClient.DB().Merge(feed, newURL, note);
    outcome.IsUnsubscribed = !merged.IsSubscribed;
    outcome.NewEpisodes = merged.NewEpisodes;
    if (merged.IsSubscribed) outcome.MovedTo = newURL;
    outcome.IsMoveRefused = !outcome.MovedTo.isEmpty() && !merged.IsMoved;
    if (!merged.NewEpisodes.isEmpty()) FHasNewEpisodes = true;
    for (const QString& file : merged.SpareFiles)
        static_cast<void>(vexa::MoveToRecycleBin(file));  // logs a warning if there is no trash for the file
}

void TPodcastClientTaskRefreshFeeds::Complete() {
    FClient.RunCompletion([this] { FClient.RefreshFeedsComplete(FHasNewEpisodes, End()); });
}

}  // namespace podcasts
