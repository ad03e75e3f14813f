#include "Podcasts.Find.Directories.h"

#include "Podcasts.Find.Reasons.h"

#include <QCryptographicHash>
#include <QUrl>

#include <algorithm>
#include <iterator>

namespace podcasts {

namespace {

using Kind = TPodcastConfigKey::Kind;

constexpr TPodcastDirectory kDirectories[] = {
    {.Name = "iTunes Store",
     .ID = "itunes",
     .Address = "https://itunes.apple.com",
     .SearchPath = "/search?media=podcast&term={words}&limit={limit}&country={country}",
     .PopularPath = nullptr,
     .MaxRows = 200,
     .NeedsKey = false,
     .Learns = FindReasonText("LearnsStore"),
     .Form = {.List = "results",
              .Address = "feedUrl",
              .Title = "collectionName",
              .Author = "artistName",
              .Description = nullptr,
              .Pictures = {"artworkUrl600", "artworkUrl100"},
              .EpisodeCount = "trackCount",
              .Newest = "releaseDate",
              .IsDead = nullptr},
     .Ask = {u"Podcasts.Find\\AskStore", Kind::Bool, true},
     .Base = {u"Podcasts.Find\\StoreAddress", Kind::String, true},
     .Rest = {u"Podcasts.Find\\StoreRest", Kind::String, false}},
    {.Name = "gpodder.net",
     .ID = "gpodder",
     .Address = "https://gpodder.net",
     .SearchPath = "/search.json?q={words}&scale_logo=256",
     .PopularPath = "/toplist/{limit}.json?scale_logo=256",
     .MaxRows = 100,
     .NeedsKey = false,
     .Learns = FindReasonText("LearnsGpodder"),
     .Form = {.List = nullptr,
              .Address = "url",
              .Title = "title",
              .Author = "author",
              .Description = "description",
              .Pictures = {"scaled_logo_url", "logo_url"},
              .EpisodeCount = nullptr,
              .Newest = nullptr,
              .IsDead = nullptr},
     .Ask = {u"Podcasts.Find\\AskGpodder", Kind::Bool, true},
     .Base = {u"Podcasts.Find\\GpodderAddress", Kind::String, true},
     .Rest = {u"Podcasts.Find\\GpodderRest", Kind::String, false}},
    {.Name = "Podcast Index",
     .ID = "podcastindex",
     .Address = "https://api.podcastindex.org",
     .SearchPath = "/api/1.0/search/byterm?q={words}&max={limit}",
     .PopularPath = nullptr,
     .MaxRows = 200,
     .NeedsKey = true,
     .Learns = FindReasonText("LearnsPodcastIndex"),
     .Form = {.List = "feeds",
              .Address = "url",
              .Title = "title",
              .Author = "author",
              .Description = "description",
              .Pictures = {"artwork", "image"},
              .EpisodeCount = "episodeCount",
              .Newest = "lastUpdateTime",
              .IsDead = "dead"},
     .Ask = {u"Podcasts.Find\\AskPodcastIndex", Kind::Bool, true},
     .Base = {u"Podcasts.Find\\PodcastIndexAddress", Kind::String, true},
     .Rest = {u"Podcasts.Find\\PodcastIndexRest", Kind::String, false}},
};
static_assert(std::size(kDirectories) == kPodcastDirectoryCount);

/// Without anything that would end the header.
QByteArray HeaderValue(const QString& text) {
    QByteArray value = text.trimmed().toUtf8();
    value.removeIf([](char c) { return static_cast<unsigned char>(c) < ' ' || c == 0x7f; });
    return value;
}

}  // namespace

std::span<const TPodcastDirectory> PodcastDirectories() {
    return kDirectories;
}

QString PodcastRequestAddress(const TPodcastDirectory& directory, const QString& base, const QString& words, int limit,
                              const QString& country) {
    QString start = base;
    while (start.endsWith(u'/')) start.chop(1);
    QString path = QString::fromLatin1(words.isEmpty() ? directory.PopularPath : directory.SearchPath);
    path.replace(QStringLiteral("{limit}"), QString::number(std::clamp(limit, 1, directory.MaxRows)));
    path.replace(QStringLiteral("{country}"), QString::fromLatin1(QUrl::toPercentEncoding(country)));
    path.replace(QStringLiteral("{words}"), QString::fromLatin1(QUrl::toPercentEncoding(words)));
    return start + path;
}

QList<QByteArray> PodcastKeyHeaders(const QString& key, const QString& secret, const QDateTime& date) {
    const QByteArray seconds = QByteArray::number(date.toSecsSinceEpoch());
    const QByteArray ownKey = HeaderValue(key);
    const QByteArray proven = ownKey + HeaderValue(secret) + seconds;
    const QByteArray proof = QCryptographicHash::hash(proven, QCryptographicHash::Sha1).toHex();
    return {"X-Auth-Key: " + ownKey, "X-Auth-Date: " + seconds, "Authorization: " + proof};
}

}  // namespace podcasts
