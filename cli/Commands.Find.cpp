#include "Commands.h"

#include "Podcasts.Find.h"
#include "VEXA.Runtime.Text.h"
#include "VEXA.Runtime.Url.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <limits>

namespace podcasts::cli {

namespace {

const QString kLimit = QStringLiteral("--limit");
constexpr qint64 kUsualLimit = 50;

QString NameOf(const TPodcastDirectory& directory) {
    return QString::fromLatin1(directory.Name);
}

struct Findings {
    std::vector<TPodcastFindRow> Rows;
    std::vector<TPodcastDirectoryOutcome> Failed;
};

/// Searches until every directory has answered or failed, or a signal arrives.
Findings Search(Session& session, const QString& words, int limit) {
    TPodcastFindOptions options = ReadPodcastFindOptions(session.Config());
    Findings findings;
    TPodcastFinder finder([&] {
        QStringList addresses;
        session.DB().EnumFeedAddresses([&](const QString& address) { addresses += address; });
        return addresses;
    });
    TPodcastFinder::Events events;
    events.DirectoryDone = [&](const TPodcastDirectoryOutcome& outcome) {
        if (outcome.Error) findings.Failed.push_back(outcome);
        if (outcome.RestsUntil.isValid()) options.Directories[outcome.Directory].RestsUntil = outcome.RestsUntil;
    };
    session.Out().ShowStatus(QStringLiteral("asking the directories"));
    finder.Find(words, limit, options, std::move(events));
    vexa::DrainMainThreadUntil([&] { return session.IsInterrupted() || !finder.IsRunning(); });
    WritePodcastFindOptions(session.Config(), options);
    session.Config().Save();
    findings.Rows = finder.RankedRows();
    if (findings.Rows.size() > static_cast<std::size_t>(limit)) findings.Rows.resize(static_cast<std::size_t>(limit));
    return findings;
}

void PrintJson(Session& session, const Findings& findings) {
    const auto orNull = [](const QString& text) { return text.isEmpty() ? QJsonValue() : QJsonValue(text); };
    QJsonArray podcasts, failed;
    for (const TPodcastFindRow& row : findings.Rows) {
        QJsonArray directories;
        for (std::size_t i = 0; i < kPodcastDirectoryCount; ++i)
            if (row.Directories >> i & 1) directories += QString::fromLatin1(PodcastDirectories()[i].ID);
        podcasts += QJsonObject{{QStringLiteral("address"), row.Address},
                                {QStringLiteral("title"), row.Title},
                                {QStringLiteral("author"), row.Author},
                                {QStringLiteral("description"), row.Description},
                                {QStringLiteral("picture"), orNull(row.Picture)},
                                {QStringLiteral("episodes"), row.EpisodeCount > 0 ? row.EpisodeCount : QJsonValue()},
                                {QStringLiteral("newest"), orNull(row.Newest.toString(Qt::ISODate))},
                                {QStringLiteral("subscribed"), row.IsSubscribed},
                                {QStringLiteral("directories"), directories}};
    }
    for (const TPodcastDirectoryOutcome& outcome : findings.Failed)
        failed +=
            QJsonObject{{QStringLiteral("directory"), QString::fromLatin1(PodcastDirectories()[outcome.Directory].ID)},
                        {QStringLiteral("error"), outcome.Error.English()}};
    const QJsonObject document{{QStringLiteral("podcasts"), podcasts}, {QStringLiteral("failed"), failed}};
    session.Out().PrintLine(QString::fromUtf8(QJsonDocument(document).toJson(QJsonDocument::Compact)));
}

void PrintTable(Session& session, const std::vector<TPodcastFindRow>& rows) {
    constexpr int kMaxTitle = 40, kMaxAuthor = 24;
    int title = 5, author = 6;
    for (const TPodcastFindRow& row : rows) {
        title = std::max(title, std::min(vexa::DisplayWidth(OneLine(row.Title)), kMaxTitle));
        author = std::max(author, std::min(vexa::DisplayWidth(OneLine(row.Author)), kMaxAuthor));
    }
    const auto line = [&](const QString& mark, const QString& name, const QString& by, const QString& count,
                          const QString& newest, const QString& address) {
        session.Out().PrintLine(mark + u' ' + InColumns(OneLine(name), title) + u"  " + InColumns(OneLine(by), author) +
                                u"  " + count.rightJustified(8) + u"  " + newest.leftJustified(10) + u"  " +
                                OneLine(address));
    };
    line(QStringLiteral(" "), QStringLiteral("title"), QStringLiteral("author"), QStringLiteral("episodes"),
         QStringLiteral("newest"), QStringLiteral("address"));
    for (const TPodcastFindRow& row : rows)
        line(row.IsSubscribed ? QStringLiteral("*") : QStringLiteral(" "), row.Title, row.Author,
             row.EpisodeCount > 0 ? QString::number(row.EpisodeCount) : QString(),
             row.Newest.toLocalTime().date().toString(Qt::ISODate), vexa::MaskedUrl(row.Address));
}

}  // namespace

void CheckFind(const Arguments& arguments) {
    if (arguments.Number(kLimit).value_or(1) < 1) throw UsageError(kLimit + u" is 1 or more");
}

int RunFind(Session& session, const Arguments& arguments) {
    const auto limit = static_cast<int>(
        std::min<qint64>(arguments.Number(kLimit).value_or(kUsualLimit), std::numeric_limits<int>::max()));
    const Findings findings = Search(session, arguments.Operands.join(u' '), limit);
    for (const TPodcastDirectoryOutcome& outcome : findings.Failed)
        session.Out().PrintError(NameOf(PodcastDirectories()[outcome.Directory]) + u": " + outcome.Error.English());
    if (arguments.Json)
        PrintJson(session, findings);
    else if (!findings.Rows.empty())
        PrintTable(session, findings.Rows);
    else if (findings.Failed.empty())
        session.Out().PrintLine(QStringLiteral("no podcast was found"));
    return findings.Failed.empty() ? kDone : kFailed;
}

}  // namespace podcasts::cli
