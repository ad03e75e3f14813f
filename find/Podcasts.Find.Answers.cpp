#include "Podcasts.Find.Answers.h"

#include "Podcasts.Core.ShowNotes.h"
#include "Podcasts.Find.Reasons.h"
#include "VEXA.Runtime.Dates.h"
#include "VEXA.Runtime.Html.h"
#include "VEXA.Runtime.Url.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

#include <algorithm>

namespace podcasts {

using vexa::Reason;
using vexa::ReasonError;

namespace {

constexpr qsizetype kMaxAddress = 2000, kMaxLine = 300, kMaxDescription = 3000;  // UTF-16 code units
constexpr qsizetype kMaxMarkup = 4 * kMaxDescription;                            // what is read of a description
constexpr int kMaxEpisodes = 1'000'000;
constexpr qint64 kEarliest = 0, kLatest = 4'102'444'800;  // 1970 and 2100, in seconds since 1970

QJsonValue Member(const QJsonObject& podcast, const char* name) {
    return name ? podcast.value(QLatin1String(name)) : QJsonValue();
}

/// Cut to `length`, never inside a character of two code units.
QString Shortened(QString text, qsizetype length) {
    if (text.size() <= length) return text;
    text.truncate(text.at(length - 1).isHighSurrogate() ? length - 1 : length);
    return text;
}

/// Without control characters, and without characters that change the order of the text around them.
QString WithoutControls(QString text) {
    for (QChar& c : text) {
        const char16_t u = c.unicode();
        if (c != u'\n' && (c.category() == QChar::Other_Control || (u >= 0x202A && u <= 0x202E) ||
                           (u >= 0x2066 && u <= 0x2069) || u == 0x2028 || u == 0x2029))
            c = u' ';
    }
    return text;
}

QString ReadLine(const QJsonValue& value) {
    return Shortened(WithoutControls(Shortened(value.toString(), kMaxMarkup)).simplified(), kMaxLine);
}

/// Directories pass on descriptions as feeds have them, often with markup.
QString ReadDescription(const QJsonValue& value) {
    const QString text = ReadShowNotes(Shortened(value.toString(), kMaxMarkup)).Text;
    return Shortened(WithoutControls(text), kMaxDescription).trimmed();
}

/// An http or https address; empty for anything else.
QString ReadAddress(const QJsonValue& value) {
    const QString address = value.toString().trimmed();
    const bool hasBlank =
        std::any_of(address.begin(), address.end(), [](QChar c) { return c.isSpace() || c.unicode() < u' '; });
    return address.size() <= kMaxAddress && !hasBlank && vexa::IsUrl(address) ? address : QString();
}

QString ReadPicture(const QJsonObject& podcast, const TPodcastAnswerForm& form) {
    QString first;
    for (const char* name : form.Pictures) {
        const QString address = ReadAddress(Member(podcast, name));
        if (address.startsWith(u"https:", Qt::CaseInsensitive)) return address;
        if (first.isEmpty()) first = address;
    }
    return first;
}

int ReadCount(const QJsonValue& value) {
    const double count = value.toDouble();
    return count >= 1 && count <= kMaxEpisodes ? static_cast<int>(count) : 0;
}

QDateTime ReadDate(const QJsonValue& value) {
    if (const double ole = value.isString() ? vexa::DecodeIsoDate(value.toString().left(40)) : 0; ole != 0) {
        const QDateTime date = vexa::FromOleDate(ole);
        const qint64 seconds = date.isValid() ? date.toSecsSinceEpoch() : kEarliest;
        return seconds > kEarliest && seconds < kLatest ? date : QDateTime();
    }
    const double seconds = value.toDouble();
    const bool isDate = seconds > static_cast<double>(kEarliest) && seconds < static_cast<double>(kLatest);
    return isDate ? QDateTime::fromSecsSinceEpoch(static_cast<qint64>(seconds), Qt::UTC) : QDateTime();
}

bool IsTrue(const QJsonValue& value) {
    return value.toBool() || value.toDouble() != 0;
}

}  // namespace

std::vector<TPodcastFindRow> ReadPodcastAnswer(const QByteArray& answer, const QString& mimeType,
                                               const TPodcastAnswerForm& form, int limit) {
    // The parser refuses deep nesting, so that it does not exhaust the stack.
    const QJsonDocument document = QJsonDocument::fromJson(answer);
    const QJsonValue list = !form.List           ? QJsonValue(document.array())
                            : document.isArray() ? QJsonValue()
                                                 : document.object().value(QLatin1String(form.List));
    if (form.List ? !list.isArray() : !document.isArray()) {
        const bool isPage = document.isNull() && vexa::IsHtmlPage(answer, mimeType);
        throw ReasonError(Reason(isPage ? FindReasonText("FindPage") : FindReasonText("FindNoList")));
    }
    std::vector<TPodcastFindRow> rows;
    int rank = -1;
    const QJsonArray podcasts = list.toArray();
    for (const QJsonValue value : podcasts) {
        ++rank;
        const QJsonObject podcast = value.toObject();
        TPodcastFindRow row;
        row.Address = ReadAddress(Member(podcast, form.Address));
        if (row.Address.isEmpty() || IsTrue(Member(podcast, form.IsDead))) continue;
        row.Title = ReadLine(Member(podcast, form.Title));
        if (row.Title.isEmpty()) row.Title = Shortened(FeedIdentity(row.Address), kMaxLine);
        row.Author = ReadLine(Member(podcast, form.Author));
        row.Description = ReadDescription(Member(podcast, form.Description));
        row.Picture = ReadPicture(podcast, form);
        row.EpisodeCount = ReadCount(Member(podcast, form.EpisodeCount));
        row.Newest = ReadDate(Member(podcast, form.Newest));
        row.Rank = rank;
        rows.push_back(std::move(row));
        if (static_cast<int>(rows.size()) >= limit) break;
    }
    return rows;
}

QString FeedIdentity(const QString& address) {
    const QUrl url(address);
    QString host = url.host().toLower();
    if (host.startsWith(u"www.")) host.remove(0, 4);
    QString identity = host;
    if (url.port() > 0) identity += u':' + QString::number(url.port());
    identity += url.path(QUrl::FullyEncoded);
    while (identity.endsWith(u'/')) identity.chop(1);
    if (url.hasQuery()) identity += u'?' + url.query(QUrl::FullyEncoded);
    return identity;
}

}  // namespace podcasts
