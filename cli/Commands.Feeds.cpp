#include "Commands.h"

#include "Podcasts.Core.Subscribing.h"
#include "Reporters.h"
#include "VEXA.Runtime.Text.h"

#include <QDateTime>

namespace podcasts::cli {

namespace {

QString Plural(qint64 count, const QString& singular, const QString& plural) {
    return QString::number(count) + u' ' + (count == 1 ? singular : plural);
}

QString Episodes(qint64 count) {
    return Plural(count, QStringLiteral("episode"), QStringLiteral("episodes"));
}

QString TitleOr(const QString& title, const QString& address) {
    const QString line = OneLine(title);
    return line.isEmpty() ? OneLine(address) : line;
}

/// Subscribes and reports each result; `alreadyFails` says whether an existing subscription makes the command fail.
int Subscribe(Session& session, const QStringList& locations, bool alreadyFails) {
    int status = kDone;
    const vexa::Ref<DownloadReporter> downloads(new DownloadReporter(session, false));
    session.Client().Listeners().Add(vexa::Ref<vexa::IUnknown>(downloads.Get()));
    SubscribeByAddress(
        session.Client(), locations, [&] { return session.IsInterrupted(); },
        [&](const TPodcastSubscription& result) {
            using Result = TPodcastSubscription::Result;
            const QString title = TitleOr(result.FeedTitle, result.Location);
            if (result.What == Result::Subscribed) {
                session.Out().PrintLine(u"subscribed to " + title + u": " + Episodes(result.EpisodeCount));
            } else if (result.What == Result::AlreadySubscribed) {
                const QString said = u"already subscribed to " + title + u" (" + result.Location + u")";
                if (alreadyFails)
                    session.Out().Complain(said);
                else
                    session.Out().PrintLine(said);
                if (alreadyFails) status = kFailed;
            } else {
                session.Out().Complain(u"cannot subscribe to " + result.Location + u": " + result.Error);
                status = kFailed;
            }
        });
    session.RunUntilIdle([&] { downloads->Report(); });
    return session.IsInterrupted() || downloads->HasFailures() ? kFailed : status;
}

}  // namespace

int RunSubscribe(Session& session, const Arguments& arguments) {
    return Subscribe(session, arguments.Operands, true);
}

int RunImport(Session& session, const Arguments& arguments) {
    const QStringList locations = ReadOpmlFile(arguments.Operands.first());
    if (locations.isEmpty()) session.Out().PrintLine(QStringLiteral("the list names no feeds"));
    return Subscribe(session, locations, false);
}

int RunExport(Session& session, const Arguments& arguments) {
    if (arguments.Operands.isEmpty())
        session.Out().Print(QString::fromUtf8(ExportOpml(session.Client())));
    else
        WriteOpmlFile(session.Client(), arguments.Operands.first());
    return kDone;
}

int RunUnsubscribe(Session& session, const Arguments& arguments) {
    const QString address = session.FindFeed(arguments.Operands.first());
    if (address.isEmpty()) return kFailed;
    const auto feed = session.DB().GetFeed(address, false);
    const QStringList kept = session.Client().Unsubscribe(address, arguments.Has(QStringLiteral("--delete-files")));
    session.Out().PrintLine(u"unsubscribed from " + TitleOr(feed ? feed->Fields[pffTitle] : QString(), address));
    for (const QString& fileName : kept)
        session.Out().Complain(u"there is no trash for " + fileName + u": it stays where it is");
    return kept.isEmpty() ? kDone : kFailed;
}

int RunSetAddress(Session& session, const Arguments& arguments) {
    const QString oldAddress = session.FindFeed(arguments.Operands[0]);
    if (oldAddress.isEmpty()) return kFailed;
    const QString newAddress = NormalizedFeedLocation(arguments.Operands[1]);
    if (newAddress == oldAddress) return kDone;
    if (!IsFeedLocation(newAddress)) {
        session.Out().Complain(newAddress + u" is neither an http or https address nor an existing .xml file");
        return kFailed;
    }
    if (session.Client().IsSubscribed(newAddress)) {
        session.Out().Complain(u"another subscription has the address " + newAddress);
        return kFailed;
    }
    session.Client().ChangeFeedURL(oldAddress, newAddress);
    return kDone;
}

int RunFeeds(Session& session, const Arguments& arguments) {
    struct Row {
        int ID;
        QString Title, Address;
        int New, Postponed, Episodes;
    };
    std::vector<Row> rows;
    session.DB().EnumFeedSummaries(
        [&](int id, const QString& address, const QString& title, int newCount, int postponed, int episodes) {
            rows.push_back({id, title, address, newCount, postponed, episodes});
        });
    if (arguments.Json) {
        JsonArrayPrinter json(session.Out());
        for (const Row& row : rows) {
            json.Add({{QStringLiteral("id"), row.ID},
                      {QStringLiteral("title"), row.Title},
                      {QStringLiteral("address"), row.Address},
                      {QStringLiteral("new"), row.New},
                      {QStringLiteral("postponed"), row.Postponed},
                      {QStringLiteral("episodes"), row.Episodes}});
        }
        json.End();
        return kDone;
    }
    if (rows.empty()) {
        session.Out().PrintLine(QStringLiteral("no subscriptions yet: podcasts subscribe ADDRESS"));
        return kDone;
    }
    constexpr int kWidestTitle = 40;
    int widest = 5;
    for (const Row& row : rows)
        widest = std::max(widest, std::min(vexa::DisplayWidth(OneLine(row.Title)), kWidestTitle));
    const auto line = [&](const QString& id, const QString& title, const QString& newCount, const QString& postponed,
                          const QString& episodes, const QString& address) {
        session.Out().PrintLine(id.rightJustified(4) + u"  " + InColumns(OneLine(title), widest) + u"  " +
                                newCount.rightJustified(6) + u"  " + postponed.rightJustified(9) + u"  " +
                                episodes.rightJustified(8) + u"  " + OneLine(address));
    };
    line(QStringLiteral("id"), QStringLiteral("title"), QStringLiteral("new"), QStringLiteral("postponed"),
         QStringLiteral("episodes"), QStringLiteral("address"));
    for (const Row& row : rows)
        line(QString::number(row.ID), row.Title, QString::number(row.New), QString::number(row.Postponed),
             QString::number(row.Episodes), row.Address);
    return kDone;
}

}  // namespace podcasts::cli
