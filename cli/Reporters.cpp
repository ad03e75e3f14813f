#include "Reporters.h"

#include <algorithm>

namespace podcasts::cli {

namespace {

QString Size(qint64 bytes) {
    return bytes < 1'000'000 ? QString::number(bytes / 1000) + u" kB"
                             : QString::number(static_cast<double>(bytes) / 1e6, 'f', 1) + u" MB";
}

QString ProgressLine(qint64 position, qint64 size, const QString& caption) {
    if (size <= 0) return Size(position) + u"  " + caption;
    constexpr int kBar = 24;
    const auto share = static_cast<double>(position) / static_cast<double>(size);
    const int filled = std::clamp(static_cast<int>(share * kBar), 0, kBar);
    return u'[' + QString(filled, u'#') + QString(kBar - filled, u'-') + u"] " +
           QString::number(static_cast<int>(share * 100)).rightJustified(3) + u" %  " + Size(position) + u" of " +
           Size(size) + u"  " + caption;
}

}  // namespace

void PrintDropped(Session& session, qsizetype count) {
    if (count > 0) session.Out().PrintError(QString::number(count) + u" more not done: the work was stopped before");
}

template <class Outcome>
void OutcomeReporter<Outcome>::Report() {
    const std::vector<Outcome> newOutcomes = FSource.From(FSeen);
    if (newOutcomes.empty()) return;
    FSeen += newOutcomes.size();
    qsizetype dropped = 0;
    for (const Outcome& outcome : newOutcomes) {
        FHasFailures = FHasFailures || outcome.Error;
        if (outcome.IsDropped)
            ++dropped;
        else if (outcome.Error)
            FSession.Out().PrintError(FailureText(outcome));
        else if (!FIsQuiet && !FSession.IsInterrupted())
            FSession.Out().PrintLine(SuccessText(outcome));
    }
    PrintDropped(FSession, dropped);
    FOutcomes.insert(FOutcomes.end(), newOutcomes.begin(), newOutcomes.end());
    FSession.Out().FlushLines();
}

template class OutcomeReporter<TPodcastRefreshOutcome>;
template class OutcomeReporter<TPodcastDownloadOutcome>;

QString RefreshReporter::SuccessText(const TPodcastRefreshOutcome& outcome) {
    const QString address = OneLine(vexa::MaskedUrl(outcome.FeedURL));
    if (outcome.IsUnsubscribed) return address + u": unsubscribed meanwhile";
    const bool hasMoved = !outcome.MovedTo.isEmpty() && !outcome.IsMoveRefused;
    const auto feed = FSession.DB().GetFeed(hasMoved ? outcome.MovedTo : outcome.FeedURL, false);
    const QString title = OneLine(feed ? feed->Fields[pffTitle] : QString());
    const auto count = outcome.NewEpisodes.size();
    QString text = (title.isEmpty() ? address : title) + u": " +
                   (count == 0 ? QStringLiteral("nothing new")
                               : QString::number(count) + (count == 1 ? u" new episode" : u" new episodes"));
    if (!outcome.MovedTo.isEmpty()) text += u"; moved to " + OneLine(vexa::MaskedUrl(outcome.MovedTo));
    if (outcome.IsMoveRefused) text += u", which is subscribed too: both stay as they are";
    return text;
}

QString RefreshReporter::FailureText(const TPodcastRefreshOutcome& outcome) {
    return u"cannot refresh " + vexa::MaskedUrl(outcome.FeedURL) + u": " + outcome.Error.English();
}

void DownloadReporter::DownloadsProgress(std::int64_t position, std::int64_t size, const QString& caption) {
    if (FSession.Out().HasStatusLine()) FSession.Out().ShowStatus(ProgressLine(position, size, caption));
}

QString DownloadReporter::ShownKey(const QString& episodeKey) {
    QString& shown = FShownKeys[episodeKey];
    if (shown.isEmpty()) {
        const auto episode = FSession.DB().GetEpisode(episodeKey);
        shown = episode ? FSession.Keys().Short(episode->FeedID, episode->Fields[pefGUID]) : OneLine(episodeKey);
    }
    return shown;
}

QString DownloadReporter::SuccessText(const TPodcastDownloadOutcome& outcome) {
    return u"downloaded " + ShownKey(outcome.EpisodeKey) + u" to " + OneLine(outcome.FileName);
}

QString DownloadReporter::FailureText(const TPodcastDownloadOutcome& outcome) {
    return u"cannot download " + ShownKey(outcome.EpisodeKey) + u": " + outcome.Error.English();
}

}  // namespace podcasts::cli
