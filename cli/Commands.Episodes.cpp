#include "Commands.h"

#include "Podcasts.Core.ShowNotes.h"
#include "VEXA.Runtime.Dates.h"
#include "VEXA.Runtime.Files.h"

#include <QDateTime>
#include <QFile>

namespace podcasts::cli {

namespace {

QJsonValue NullIfEmpty(const QString& text) {
    return text.isEmpty() ? QJsonValue() : QJsonValue(text);
}

QJsonObject ToJson(Session& session, const TPodcastEpisode& episode) {
    const auto& fields = episode.Fields;
    const QString published =
        episode.PublishDate == 0 ? QString() : vexa::FromOleDate(episode.PublishDate).toString(Qt::ISODate);
    return {{QStringLiteral("key"), session.Keys().Short(episode.FeedID, fields[pefGUID])},
            {QStringLiteral("feed_id"), episode.FeedID},
            {QStringLiteral("guid"), fields[pefGUID]},
            {QStringLiteral("title"), fields[pefTitle]},
            {QStringLiteral("artist"), fields[pefArtist]},
            {QStringLiteral("published"), NullIfEmpty(published)},
            {QStringLiteral("duration"), static_cast<double>(episode.Duration)},
            {QStringLiteral("state"), StateName(episode.State)},
            {QStringLiteral("audio"), fields[pefURLAudio]},
            {QStringLiteral("cached"), NullIfEmpty(fields[pefURLAudioCached])},
            {QStringLiteral("format"), MakeFormat(fields[pefURLAudio])}};
}

TPodcastEpisodeFilter FilterOf(const Arguments& arguments) {
    TPodcastEpisodeFilter filter;
    if (arguments.Has(QStringLiteral("--state")))
        filter.State = ReadState(arguments.Options.at(QStringLiteral("--state")));
    if (arguments.Has(QStringLiteral("--search"))) filter.Search = arguments.Options.at(QStringLiteral("--search"));
    filter.Limit = arguments.Number(QStringLiteral("--limit")).value_or(-1);
    filter.Offset = arguments.Number(QStringLiteral("--offset")).value_or(0);
    return filter;
}

}  // namespace

void CheckEpisodes(const Arguments& arguments) {
    FilterOf(arguments);
}

int RunEpisodes(Session& session, const Arguments& arguments) {
    TPodcastEpisodeFilter filter = FilterOf(arguments);
    if (!arguments.Operands.isEmpty())
        filter.FeedID = session.DB().GetFeedID(session.FindFeed(arguments.Operands.first()));
    JsonArrayPrinter json(session.Out());
    session.DB().EnumEpisodes(filter, [&](const TPodcastEpisode& episode, const QString& feedName) {
        if (arguments.Json)
            json.Add(ToJson(session, episode));
        else
            session.Out().PrintLine(session.EpisodeLine(episode, filter.FeedID > 0 ? QString() : feedName));
    });
    if (arguments.Json) json.End();
    return kDone;
}

int RunShow(Session& session, const Arguments& arguments) {
    const QStringList keys = session.FindEpisodes(arguments.Operands).Keys;
    const auto episode = keys.isEmpty() ? nullptr : session.DB().GetEpisode(keys.first());
    if (!episode) return kFailed;
    const auto& fields = episode->Fields;
    const auto feed = session.DB().GetFeed(episode->FeedID, false);
    const auto line = [&](const QString& label, const QString& value) {
        if (!value.isEmpty()) session.Out().PrintLine(label.leftJustified(11) + value);
    };
    session.Out().PrintLine(OneLine(fields[pefTitle]));
    line(QStringLiteral("feed"), feed ? OneLine(feed->Fields[pffTitle]) : QString());
    line(QStringLiteral("key"), session.Keys().Short(episode->FeedID, fields[pefGUID]));
    line(QStringLiteral("address"), OneLine(fields[pefURI]));
    line(QStringLiteral("guid"), OneLine(fields[pefGUID]));
    line(QStringLiteral("artist"), OneLine(fields[pefArtist]));
    if (episode->PublishDate != 0) {
        const QDateTime published = vexa::FromOleDate(episode->PublishDate).toLocalTime();
        line(QStringLiteral("published"), published.toString(QStringLiteral("yyyy-MM-dd hh:mm")));
    }
    line(QStringLiteral("duration"), DurationText(static_cast<double>(episode->Duration)));
    line(QStringLiteral("state"), StateName(episode->State));
    line(QStringLiteral("audio"), OneLine(fields[pefURLAudio]));
    line(QStringLiteral("format"), OneLine(MakeFormat(fields[pefURLAudio])));
    line(QStringLiteral("web page"), OneLine(fields[pefURL]));
    if (const QString& file = fields[pefURLAudioCached]; !file.isEmpty())
        line(QStringLiteral("file"), OneLine(file) + (vexa::FileExists(file) ? u"" : u" (missing)"));
    const TPodcastShowNotes notes = ReadShowNotes(fields[pefDescription]);
    if (!notes.Text.isEmpty()) session.Out().PrintLine(u'\n' + SafeText(notes.Text));
    if (!notes.Links.isEmpty()) session.Out().PrintLine(QStringLiteral("\nlinks"));
    for (const QString& link : notes.Links) session.Out().PrintLine(u"  " + OneLine(link));
    return kDone;
}

void CheckMark(const Arguments& arguments) {
    ReadState(arguments.Operands.first());
}

int RunMark(Session& session, const Arguments& arguments) {
    const TPodcastEpisodeState state = ReadState(arguments.Operands.first());
    const auto found = session.FindEpisodes(arguments.Operands.mid(1));
    session.Client().UpdateState(found.Keys, state);
    return found.Unknown == 0 ? kDone : kFailed;
}

int RunDeleteFiles(Session& session, const Arguments& arguments) {
    const bool isPermanent = arguments.Has(QStringLiteral("--permanently"));
    const auto found = session.FindEpisodes(arguments.Operands);
    int failures = found.Unknown;
    for (const QString& key : found.Keys) {
        const auto episode = session.DB().GetEpisode(key);
        const QString fileName = episode ? episode->Fields[pefURLAudioCached] : QString();
        if (fileName.isEmpty()) continue;
        QFile file(fileName);
        const bool isGone = isPermanent ? !file.exists() || file.remove() : vexa::MoveToRecycleBin(fileName);
        if (isGone) {
            session.Client().DeleteCachedEpisodes({key});  // immediately, since the record must not outlive the file
            session.Out().PrintLine(u"deleted " + fileName);
            continue;
        }
        // The file stays, and so does its record, so that the next attempt finds the file again.
        const QString reason =
            isPermanent ? file.errorString() : QStringLiteral("there is no trash for it (see --permanently)");
        session.Out().PrintError(u"cannot delete " + fileName + u": " + reason);
        ++failures;
    }
    return failures == 0 ? kDone : kFailed;
}

int RunCheckFiles(Session& session, const Arguments&) {
    const int reset = session.Client().CheckLocalCopies();
    session.Out().PrintLine(reset == 0
                                ? QStringLiteral("every downloaded file is there")
                                : QString(QString::number(reset) + (reset == 1 ? u" episode has lost its file"
                                                                               : u" episodes have lost their files")));
    return kDone;
}

}  // namespace podcasts::cli
