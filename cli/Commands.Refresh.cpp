#include "Commands.h"

#include "Reporters.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>

namespace podcasts::cli {

namespace {

constexpr qsizetype kMaxListed = 30;  // new episodes printed after a refresh

void ListNewEpisodes(Session& session, const QStringList& keys) {
    if (keys.isEmpty()) return;
    session.Out().PrintLine(QString::number(keys.size()) + (keys.size() == 1 ? u" new episode:" : u" new episodes:"));
    for (const QString& key : keys.first(std::min(keys.size(), kMaxListed))) {
        const auto episode = session.DB().GetEpisode(key);
        const auto feed = episode ? session.DB().GetFeed(episode->FeedID, false) : nullptr;
        if (feed) session.Out().PrintLine(session.EpisodeLine(*episode, feed->Fields[pffTitle]));
    }
    if (keys.size() > kMaxListed) {
        session.Out().PrintLine(u"… and " + QString::number(keys.size() - kMaxListed) +
                                u" more: podcasts episodes --state new");
    }
}

/// The addresses of the feeds asked for; of all feeds when none is named. Prints an error for each unknown feed.
QStringList ChosenFeeds(Session& session, const QStringList& feeds, bool& hasUnknown) {
    QStringList addresses;
    if (feeds.isEmpty())
        session.DB().EnumFeeds([&](const QString& address, const QString&, int) { addresses += address; });
    for (const QString& feed : feeds) {
        try {
            addresses += session.FindFeed(feed);
        } catch (const FeedError& error) {
            session.Out().PrintError(QString::fromUtf8(error.what()));
            hasUnknown = true;
        }
    }
    return addresses;
}

}  // namespace

int RunRefresh(Session& session, const Arguments& arguments) {
    const bool isAll = arguments.Operands.isEmpty();
    bool hasUnknown = false;
    QStringList waiting = ChosenFeeds(session, arguments.Operands, hasUnknown);
    const vexa::Ref<RefreshReporter> refresh(new RefreshReporter(session, arguments.Json));
    const vexa::Ref<DownloadReporter> downloads(new DownloadReporter(session, arguments.Json));
    session.Client().Listeners().Add(vexa::Ref<vexa::IUnknown>(refresh.Get()));
    session.Client().Listeners().Add(vexa::Ref<vexa::IUnknown>(downloads.Get()));
    const auto report = [&] {
        refresh->Report();
        downloads->Report();
    };
    if (isAll) {
        session.Client().RefreshFeeds();
        session.RunUntilIdle(report);
    }
    // The queue treats addresses that differ only in letter case as the same one, so queue those without an outcome
    // again.
    for (qsizetype left = -1;;) {
        QSet<QString> done;
        for (const auto& outcome : refresh->Outcomes()) done += outcome.FeedURL;
        waiting.removeIf([&](const QString& address) { return done.contains(address); });
        if (waiting.isEmpty() || waiting.size() == left || session.IsInterrupted()) break;
        left = waiting.size();
        session.Client().RefreshFeeds(waiting);
        session.RunUntilIdle(report);
    }
    if (isAll) WritePodcastRefreshTime(session.Config(), session.Client());
    session.Config().Save();
    session.Out().ShowStatus(QString());

    QStringList newEpisodes;
    QJsonArray failed, moved;
    for (const auto& outcome : refresh->Outcomes()) {
        newEpisodes += outcome.NewEpisodes;
        if (outcome.Error)
            failed += QJsonObject{{QStringLiteral("address"), outcome.FeedURL},
                                  {QStringLiteral("error"), outcome.Error.English()}};
        if (!outcome.MovedTo.isEmpty())
            moved += QJsonObject{{QStringLiteral("address"), outcome.FeedURL},
                                 {QStringLiteral("to"), outcome.MovedTo},
                                 {QStringLiteral("stored"), !outcome.IsMoveRefused}};
    }
    if (session.IsInterrupted()) return kFailed;
    if (arguments.Json) {
        const QJsonObject result{{QStringLiteral("feeds"), static_cast<qint64>(refresh->Outcomes().size())},
                                 {QStringLiteral("failed"), failed},
                                 {QStringLiteral("moved"), moved},
                                 {QStringLiteral("new"), newEpisodes.size()}};
        session.Out().PrintLine(QString::fromUtf8(QJsonDocument(result).toJson(QJsonDocument::Compact)));
    } else {
        if (isAll && refresh->Outcomes().empty())
            session.Out().PrintLine(QStringLiteral("no subscriptions yet: podcasts subscribe ADDRESS"));
        ListNewEpisodes(session, newEpisodes);
    }
    return hasUnknown || refresh->HasFailures() || downloads->HasFailures() ? kFailed : kDone;
}

}  // namespace podcasts::cli
