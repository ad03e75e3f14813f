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

/// What a stopped task left, in one line instead of one for each.
void TellDropped(Terminal& out, qsizetype count, const QString& things) {
    if (count > 0) out.Complain(QString::number(count) + u' ' + things + u" not done: the work was stopped before");
}

}  // namespace

void RefreshReporter::Report() {
    const auto news = FSession.Client().RefreshOutcomes().From(FSeen);
    if (news.empty()) return;
    FSeen += news.size();
    for (const auto& outcome : news) Tell(outcome);
    TellDropped(FSession.Out(), std::count_if(news.begin(), news.end(), [](auto& outcome) { return outcome.IsDropped; }),
                QStringLiteral("feeds"));
    FOutcomes.insert(FOutcomes.end(), news.begin(), news.end());
    FSession.Out().FlushLines();
}

void RefreshReporter::Tell(const TPodcastRefreshOutcome& outcome) {
    if (!outcome.Error.isEmpty()) {
        FHasFailures = true;
        if (!outcome.IsDropped) FSession.Out().Complain(u"cannot refresh " + outcome.FeedURL + u": " + outcome.Error);
        return;
    }
    if (FIsQuiet || FSession.IsInterrupted()) return;
    const auto feed = FSession.DB().GetFeed(outcome.FeedURL, false);
    const QString title = OneLine(feed ? feed->Fields[pffTitle] : QString());
    const auto count = outcome.NewEpisodes.size();
    FSession.Out().PrintLine((title.isEmpty() ? OneLine(outcome.FeedURL) : title) + u": " +
                             (count == 0 ? QStringLiteral("nothing new")
                                         : QString::number(count) + (count == 1 ? u" new episode" : u" new episodes")));
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

void DownloadReporter::Report() {
    const auto news = FSession.Client().DownloadOutcomes().From(FSeen);
    if (news.empty()) return;
    FSeen += news.size();
    for (const auto& outcome : news) Tell(outcome);
    TellDropped(FSession.Out(), std::count_if(news.begin(), news.end(), [](auto& outcome) { return outcome.IsDropped; }),
                QStringLiteral("downloads"));
    FOutcomes.insert(FOutcomes.end(), news.begin(), news.end());
    FSession.Out().FlushLines();
}

void DownloadReporter::Tell(const TPodcastDownloadOutcome& outcome) {
    if (!outcome.Error.isEmpty()) {
        FHasFailures = true;
        if (!outcome.IsDropped)
            FSession.Out().Complain(u"cannot download " + ShownKey(outcome.EpisodeKey) + u": " + outcome.Error);
    } else if (!FIsQuiet && !FSession.IsInterrupted()) {
        FSession.Out().PrintLine(u"downloaded " + ShownKey(outcome.EpisodeKey) + u" to " + OneLine(outcome.FileName));
    }
}

}  // namespace podcasts::cli
