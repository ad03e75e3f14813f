#include "Commands.h"

#include "Podcasts.Core.Subscribing.h"
#include "Reporters.h"
#include "VEXA.Runtime.Text.h"
#include "VEXA.Runtime.Url.h"

#include <QDateTime>

#include <algorithm>
#include <limits>

namespace podcasts::cli {

namespace {

QString Plural(qint64 count, const QString& singular, const QString& plural) {
    return QString::number(count) + u' ' + (count == 1 ? singular : plural);
}

const QString kFeed = QStringLiteral("--feed");

QString Feeds(qint64 count) {
    return Plural(count, QStringLiteral("feed"), QStringLiteral("feeds"));
}

QString Episodes(qint64 count) {
    return Plural(count, QStringLiteral("episode"), QStringLiteral("episodes"));
}

QString TitleOr(const QString& title, const QString& address) {
    const QString line = OneLine(title);
    return line.isEmpty() ? OneLine(vexa::MaskedUrl(address)) : line;
}

/// Prints the feeds to choose from.
void ListChoices(Session& session, const TPodcastSubscription& result) {
    session.Out().PrintError(vexa::MaskedUrl(result.Location) + u" names " +
                             Feeds(static_cast<qint64>(result.Choices.size())) +
                             u"; take one with subscribe --feed N:");
    for (std::size_t i = 0; i < result.Choices.size(); ++i) {
        const QString title = OneLine(result.Choices[i].Title);
        session.Out().PrintError(QString::number(i + 1).rightJustified(4) + u"  " +
                                 (title.isEmpty() ? QString() : title + u"  ") +
                                 OneLine(vexa::MaskedUrl(result.Choices[i].Address)));
    }
}

/// Subscribes and prints each result. With `alreadyFails`, an existing subscription makes the command fail.
int Subscribe(Session& session, const QStringList& locations, int choice, bool alreadyFails) {
    int status = kDone;
    qsizetype done = 0, dropped = 0;
    const auto showProgress = [&] {
        if (locations.size() > 1)
            session.Out().ShowStatus(QStringLiteral("subscribing: %1 of %2").arg(done).arg(locations.size()));
    };
    const vexa::Ref<DownloadReporter> downloads(new DownloadReporter(session, false));
    session.Client().Listeners().Add(vexa::Ref<vexa::IUnknown>(downloads.Get()));
    showProgress();
    SubscribeByAddress(
        session.Client(), locations, choice, [&] { return session.IsInterrupted(); },
        [&](const TPodcastSubscription& result) {
            if (result.IsDropped) {
                ++dropped;
                return;
            }
            ++done;
            using Result = TPodcastSubscription::Result;
            const QString title = TitleOr(result.FeedTitle, result.Location);
            const QString shownLocation = vexa::MaskedUrl(result.Location);
            if (result.What == Result::Subscribed) {
                session.Out().PrintLine(u"subscribed to " + title + u": " + Episodes(result.EpisodeCount));
            } else if (result.What == Result::AlreadySubscribed) {
                const QString message = u"already subscribed to " + title + u" (" + shownLocation + u")";
                if (alreadyFails)
                    session.Out().PrintError(message);
                else
                    session.Out().PrintLine(message);
                if (alreadyFails) status = kFailed;
            } else if (result.What == Result::SeveralFeeds) {
                ListChoices(session, result);
                status = kFailed;
            } else {
                session.Out().PrintError(u"cannot subscribe to " + shownLocation + u": " + result.Error.English());
                status = kFailed;
            }
            showProgress();
        });
    PrintDropped(session, dropped);
    session.RunUntilIdle([&] { downloads->Report(); });
    return session.IsInterrupted() || downloads->HasFailures() ? kFailed : status;
}

}  // namespace

void CheckSubscribe(const Arguments& arguments) {
    if (arguments.Number(kFeed).value_or(1) < 1) throw UsageError(QStringLiteral("feeds are counted from 1"));
}

int RunSubscribe(Session& session, const Arguments& arguments) {
    const qint64 choice = std::min<qint64>(arguments.Number(kFeed).value_or(0), std::numeric_limits<int>::max());
    return Subscribe(session, arguments.Operands, static_cast<int>(choice), true);
}

int ImportOpml(Session& session, const QString& fileName) {
    const QStringList locations = ReadOpmlFile(fileName);
    if (locations.isEmpty()) session.Out().PrintLine(QStringLiteral("the list names no feeds"));
    return Subscribe(session, locations, 0, false);
}

int RunUnsubscribe(Session& session, const Arguments& arguments) {
    QStringList addresses, kept;
    for (const QString& operand : arguments.Operands) addresses += session.FindFeed(operand);
    addresses.removeDuplicates();
    session.Client().BackUpBeforeUnsubscribing(addresses.size());
    for (const QString& address : addresses) {
        if (session.IsInterrupted()) return kFailed;
        const auto feed = session.DB().GetFeed(address, false);
        kept += session.Client().Unsubscribe(address, arguments.Has(QStringLiteral("--delete-files")));
        session.Out().PrintLine(u"unsubscribed from " + TitleOr(feed ? feed->Fields[pffTitle] : QString(), address));
    }
    for (const QString& fileName : kept)
        session.Out().PrintError(u"there is no trash for " + fileName + u": it stays where it is");
    return kept.isEmpty() ? kDone : kFailed;
}

int RunSetAddress(Session& session, const Arguments& arguments) {
    const QString oldAddress = session.FindFeed(arguments.Operands[0]);
    const QString newAddress = NormalizedFeedLocation(arguments.Operands[1]);
    if (newAddress == oldAddress) return kDone;
    if (!IsFeedLocation(newAddress)) {
        session.Out().PrintError(newAddress + u" is neither an http or https address nor an existing .xml file");
        return kFailed;
    }
    if (session.Client().IsSubscribed(newAddress)) {
        session.Out().PrintError(u"another subscription has the address " + vexa::MaskedUrl(newAddress));
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
    constexpr int kMaxTitleWidth = 40;
    int widest = 5;
    for (const Row& row : rows)
        widest = std::max(widest, std::min(vexa::DisplayWidth(OneLine(row.Title)), kMaxTitleWidth));
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
             QString::number(row.Episodes), vexa::MaskedUrl(row.Address));
    return kDone;
}

}  // namespace podcasts::cli
