#include "Podcasts.Core.Parsers.h"

#include "VEXA.Runtime.Dates.h"
#include "VEXA.Runtime.Text.h"

#include <QCryptographicHash>

#include <cmath>

namespace podcasts {

using vexa::XmlDocument;
using vexa::XmlNode;

namespace {

constexpr char16_t kITunesNamespace[] = u"http://itunes.apple.com/rss";

void ReadRssItem(const XmlNode& item, TPodcastEpisode& episode) {
    for (const XmlNode child : item) {
        const std::string_view name = child.Name();
        if (name == "title") {
            episode.Fields[pefTitle] = child.Text();
        } else if (name == "guid") {
            episode.Fields[pefGUID] = child.Text();
        } else if (name == "pubDate") {
            episode.PublishDate = vexa::DecodeRfc822Date(child.Text());
        } else if (name == "link") {
            episode.Fields[pefURL] = child.Text();
        } else if (name == "description" || name == "itunes:summary") {
            episode.Fields[pefDescription] = child.Text();
        } else if (name == "itunes:author") {
            episode.Fields[pefArtist] = child.Text();
        } else if (name == "itunes:duration") {
            const auto seconds = static_cast<float>(TPodcastParserRSS20::ParseDuration(child.Text()));
            episode.Duration = std::isfinite(seconds) ? seconds : 0;
        } else if (name == "enclosure" && episode.Fields[pefURLAudio].isEmpty()) {
            episode.Fields[pefURLAudio] = child.Attribute("url");
        }
    }
}

void ReadStoreEntry(const XmlNode& entry, TPodcastEpisode& episode) {
    for (const XmlNode child : entry) {
        const std::string_view name = child.Name();
        if (name == "im:artist") {
            episode.Fields[pefArtist] = child.Text();
        } else if (name == "im:name" || name == "title") {
            episode.Fields[pefTitle] = child.Text();
        } else if (name == "id") {
            episode.Fields[pefGUID] = child.Text();
        } else if (name == "updated") {
            episode.PublishDate = vexa::DecodeIsoDate(child.Text());
        } else if (name == "link") {
            if (child.AttributeIs("rel", "alternate")) {
                episode.Fields[pefURL] = child.Attribute("href");
            } else if (child.AttributeIs("rel", "enclosure") && episode.Fields[pefURLAudio].isEmpty()) {
                episode.Fields[pefURLAudio] = child.Attribute("href");
                episode.Duration = static_cast<float>(static_cast<double>(child.ChildInteger("im:duration")) / 1000);
            }
        }
    }
}

int ReadInteger(QStringView text) {
    return text.trimmed().toInt();
}

double ReadDecimal(QStringView text) {
    const double value = text.trimmed().toDouble();
    return std::isfinite(value) ? value : 0;
}

}  // namespace

std::unique_ptr<TPodcastFeed> TPodcastParser::ParseDocument(const XmlDocument& document) {
    static const TPodcastParserRSS20 rss;
    static const TPodcastParserITunes store;
    for (const TPodcastParser* parser :
         {static_cast<const TPodcastParser*>(&rss), static_cast<const TPodcastParser*>(&store)})
        if (parser->CanParse(document)) return parser->Parse(document);
    return nullptr;
}

void TPodcastParser::MakeGUID(TPodcastEpisode& episode) {
    if (!episode.Fields[pefGUID].isEmpty()) return;
    const std::string bytes = vexa::ToUtf8(
        QString(vexa::FormatOleDate(episode.PublishDate, u"yyyy.MM.dd hh:mm:ss") + episode.Fields[pefTitle]));
    const QByteArray digest = QCryptographicHash::hash(QByteArrayView(bytes), QCryptographicHash::Md5);
    episode.Fields[pefGUID] = QString::fromLatin1(digest.toHex());
}

bool TPodcastParserRSS20::CanParse(const XmlDocument& document) const {
    const XmlNode rss = document.FindPath({"rss"});
    return rss && rss.AttributeIs("version", "2.0") && rss.FindChild("channel");
}

std::unique_ptr<TPodcastFeed> TPodcastParserRSS20::Parse(const XmlDocument& document) const {
    auto feed = std::make_unique<TPodcastFeed>();
    for (const XmlNode child : document.FindPath({"rss", "channel"})) {
        const std::string_view name = child.Name();
        if (name == "item") {
            TPodcastEpisode& episode = feed->NewEpisode();
            ReadRssItem(child, episode);
            MakeGUID(episode);
        } else if (name == "title") {
            feed->Fields[pffTitle] = child.Text();
        } else if (name == "description") {
            feed->Fields[pffDescription] = child.Text();
        } else if (name == "link") {
            feed->Fields[pffURL] = child.Text();
        } else if (name == "copyright") {
            feed->Fields[pffCopyright] = child.Text();
        } else if (name == "language") {
            feed->Fields[pffLanguage] = child.Text();
        } else if (name == "category") {
            feed->Fields[pffCategory] = child.Text();
        } else if (name == "itunes:author") {
            feed->Fields[pffAuthor] = child.Text();
        } else if (name == "itunes:category") {
            feed->Fields[pffCategory] = child.Attribute("text");
        } else if (name == "itunes:keywords") {
            feed->Fields[pffKeywords] = child.Text();
        } else if (name == "itunes:image") {
            feed->Fields[pffURLLogo] = child.Attribute("href");
        }
    }
    return feed;
}

double TPodcastParserRSS20::ParseDuration(const QString& text) {
    const QList<QStringView> parts = QStringView(text).split(u':');
    switch (parts.size()) {
        case 1:
            return ReadDecimal(parts[0]);
        case 2:
            return static_cast<double>(ReadInteger(parts[0])) * 60 + ReadDecimal(parts[1]);
        case 3: {
            // 32-bit arithmetic that wraps, as stored durations were always computed.
            const std::uint32_t seconds = static_cast<std::uint32_t>(ReadInteger(parts[0])) * 3600u +
                                          static_cast<std::uint32_t>(ReadInteger(parts[1])) * 60u;
            return static_cast<double>(static_cast<std::int32_t>(seconds)) + ReadDecimal(parts[2]);
        }
        default:
            return 0;
    }
}

bool TPodcastParserITunes::CanParse(const XmlDocument& document) const {
    const XmlNode feed = document.FindPath({"feed"});
    return feed && feed.Attribute("xmlns:im").compare(QStringView(kITunesNamespace), Qt::CaseInsensitive) == 0;
}

std::unique_ptr<TPodcastFeed> TPodcastParserITunes::Parse(const XmlDocument& document) const {
    auto feed = std::make_unique<TPodcastFeed>();
    const XmlNode root = document.FindPath({"feed"});
    if (!root) return feed;
    feed->Fields[pffTitle] = root.ChildText("title");
    feed->Fields[pffCopyright] = root.ChildText("rights");
    feed->Fields[pffLanguage] = root.Attribute("xml:lang");
    feed->Fields[pffURL] = root.ChildText("link");
    feed->Fields[pffURLLogo] = root.ChildText("icon");
    if (const XmlNode author = root.FindChild("author")) feed->Fields[pffAuthor] = author.ChildText("name");
    for (const XmlNode child : root) {
        if (child.Name() != "entry") continue;
        TPodcastEpisode& episode = feed->NewEpisode();
        ReadStoreEntry(child, episode);
        MakeGUID(episode);
    }
    return feed;
}

}  // namespace podcasts
