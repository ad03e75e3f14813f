#include <QJsonArray>
#include <QJsonDocument>

#include "Commands.h"

namespace podcasts::cli {

namespace {

constexpr qsizetype kMostListed = 30;  // new episodes named after a refresh

/// Tells what became of each feed as soon as the next one is announced.
class Reporter final : public vexa::RefCountedObject<IPodcastClientRefreshFeedsListener> {
public:
    Reporter(Session& session, bool json) : FSession(session), FJson(json) {}

    void RefreshFeedsStarted() override {}
    void RefreshFeedsFinished(bool) override { ReportNewOutcomes(); }
    void RefreshFeed(const QString& feedURL) override {
        ReportNewOutcomes();
        FSession.Out().ShowStatus(u"fetching " + feedURL);
    }

    const std::vector<TPodcastRefreshOutcome>& Outcomes() const { return FOutcomes; }

private:
    void ReportNewOutcomes() {
        for (auto& outcome : FSession.Client().RefreshOutcomes().From(FOutcomes.size())) {
            Report(outcome);
            FOutcomes.push_back(std::move(outcome));
        }
    }

    void Report(const TPodcastRefreshOutcome& outcome) {
        Terminal& out = FSession.Out();
        if (!outcome.Error.isEmpty()) {
            out.Complain(u"cannot refresh " + outcome.FeedURL + u": " + outcome.Error);
        } else if (!FJson && !FSession.IsInterrupted()) {
            const auto feed = FSession.DB().GetFeed(outcome.FeedURL, false);
            const QString title = feed ? OneLine(feed->Fields[pffTitle]) : QString();
            const auto count = outcome.NewEpisodes.size();
            out.PrintLine((title.isEmpty() ? outcome.FeedURL : title) + u": " +
                          (count == 0 ? QStringLiteral("nothing new")
                                      : QString::number(count) + (count == 1 ? u" new episode" : u" new episodes")));
        }
    }

    Session& FSession;
    const bool FJson;
    std::vector<TPodcastRefreshOutcome> FOutcomes;
};

void ListNewEpisodes(Session& session, const QStringList& keys) {
    if (keys.isEmpty()) return;
    session.Out().PrintLine(QString::number(keys.size()) + (keys.size() == 1 ? u" new episode:" : u" new episodes:"));
    for (const QString& key : keys.first(std::min(keys.size(), kMostListed))) {
        const auto episode = session.DB().GetEpisode(key);
        const auto feed = episode ? session.DB().GetFeed(episode->FeedID, false) : nullptr;
        if (feed) session.Out().PrintLine(session.EpisodeLine(*episode, feed->Fields[pffTitle]));
    }
    if (keys.size() > kMostListed) {
        session.Out().PrintLine(u"… and " + QString::number(keys.size() - kMostListed) +
                                u" more: podcasts episodes --state new");
    }
}

}  // namespace

int RunRefresh(Session& session, const Arguments& arguments) {
    int status = kDone;
    QStringList addresses;
    for (const QString& feed : arguments.Operands) {
        if (const QString address = session.FindFeed(feed); !address.isEmpty()) addresses += address;
        else status = kFailed;
    }
    const vexa::Ref<Reporter> reporter(new Reporter(session, arguments.Json));
    session.Client().Listeners().Add(vexa::Ref<vexa::IUnknown>(reporter.Get()));
    if (arguments.Operands.isEmpty()) {
        session.Client().RefreshFeeds();
        session.Config().WriteInteger(kCheckUpdatesLastTime.KeyPath(), static_cast<int>(session.Client().LastRefreshTime));
    } else if (!addresses.isEmpty()) {
        session.Client().RefreshFeeds(addresses);
    }
    session.RunUntilIdle();
    session.Client().Listeners().Clear();
    session.Config().Save();
    session.Out().ShowStatus(QString());

    QStringList newEpisodes;
    QJsonArray failed;
    for (const auto& outcome : reporter->Outcomes()) {
        newEpisodes += outcome.NewEpisodes;
        if (outcome.Error.isEmpty()) continue;
        failed += QJsonObject{{QStringLiteral("address"), outcome.FeedURL}, {QStringLiteral("error"), outcome.Error}};
        status = kFailed;
    }
    if (session.IsInterrupted()) return kFailed;
    if (arguments.Json) {
        const QJsonObject result{{QStringLiteral("feeds"), static_cast<qint64>(reporter->Outcomes().size())},
                                 {QStringLiteral("failed"), failed},
                                 {QStringLiteral("new"), newEpisodes.size()}};
        session.Out().PrintLine(QString::fromUtf8(QJsonDocument(result).toJson(QJsonDocument::Compact)));
    } else {
        ListNewEpisodes(session, newEpisodes);
    }
    return status;
}

}  // namespace podcasts::cli
