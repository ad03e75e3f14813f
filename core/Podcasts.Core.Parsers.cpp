#include "Podcasts.Core.Parsers.h"

#include "VEXA.Runtime.Dates.h"
#include "VEXA.Runtime.FileTypes.h"
#include "VEXA.Runtime.Text.h"
#include "VEXA.Runtime.Url.h"

#include <QCryptographicHash>
#include <QUrl>

#include <algorithm>
#include <cmath>
#include <utility>

namespace podcasts {

using vexa::XmlDocument;
using vexa::XmlNode;

namespace {

constexpr char16_t kITunesNamespace[] = u"http://itunes.apple.com/rss";

bool IsBlank(QStringView text) {
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.isSpace(); });
}

/// Sets a field, unless the text is blank and the field is set already.
void Take(QString& field, QString text) {
    if (field.isEmpty() || !IsBlank(text)) field = std::move(text);
}

/// The base of relative addresses in an element.
class Base {
public:
    explicit Base(const QString& address) : FAddress(address) {}

    /// The base inside `node`, which may have its own xml:base.
    Base Of(const XmlNode& node) const {
        return node.AttributeBytes("xml:base").empty() ? *this : Base(Resolve(node.Attribute("xml:base")));
    }

    /// Resolves a relative address. An absolute address, or any if there is no base, is returned unchanged.
    QString Resolve(QString address) const {
        const QStringView trimmed = QStringView(address).trimmed();
        if (trimmed.isEmpty() || HasScheme(trimmed) || !HasScheme(FAddress)) return address;
        QUrl base(FAddress);
        base.setUserInfo({});  // do not store the feed's user name and password with every episode
        const QUrl resolved = base.resolved(QUrl(trimmed.toString()));
        return resolved.isValid() ? QString::fromLatin1(resolved.toEncoded()) : address;
    }

    /// Resolves the text of an element. A text that contains blanks is not an address.
    QString ResolveText(const XmlNode& node) const {
        QString text = node.Text();
        const QStringView trimmed = QStringView(text).trimmed();
        const auto isSpace = [](QChar c) { return c.isSpace(); };
        if (HasScheme(trimmed) || std::any_of(trimmed.begin(), trimmed.end(), isSpace)) return text;
        return Of(node).Resolve(std::move(text));
    }

private:
    /// RFC 3986, section 3.1.
    static bool HasScheme(QStringView address) {
        const qsizetype colon = address.indexOf(u':');
        const auto isPart = [](QChar c) {
            return c.unicode() < 0x80 && (c.isLetterOrNumber() || c == u'+' || c == u'-' || c == u'.');
        };
        return colon > 0 && address[0].isLetter() && std::all_of(address.begin(), address.begin() + colon, isPart);
    }

    QString FAddress;
};

/// Chooses the file to play from an episode's files: the first enclosure that is audio or video, else the first
/// enclosure; without enclosures the first media:content that is audio or video.
class AudioChoice {
public:
    AudioChoice(TPodcastEpisode& episode, const Base& base) : FAddress(episode.Fields[pefURLAudio]), FBase(base) {}

    /// True when this enclosure is the best file so far.
    bool OfferEnclosure(const XmlNode& enclosure, const char* addressAttribute) {
        const QString address = enclosure.Attribute(addressAttribute);
        if (FIsMedia || IsBlank(address)) return false;
        // A fast path: nearly every enclosure is audio, and every refresh reads all of them.
        FIsMedia = enclosure.AttributeBytes("type").starts_with("audio/") ||
                   vexa::IsMedia(enclosure.Attribute("type"), address);
        if (FHasEnclosure && !FIsMedia) return false;
        FHasEnclosure = true;
        FAddress = FBase.Of(enclosure).Resolve(address);
        return true;
    }

    void OfferMedia(const XmlNode& content) {
        const QString address = content.Attribute("url");
        if (FHasEnclosure || !FAddress.isEmpty() || IsBlank(address)) return;
        const QString medium = content.Attribute("medium").trimmed(), type = content.Attribute("type").trimmed();
        // A video clip beside a picture illustrates a text, unless its medium says otherwise.
        const bool isIllustration = FHasPicture && type.startsWith(u"video/", Qt::CaseInsensitive);
        const bool isMedia = medium.isEmpty() ? vexa::IsMedia(type, address) && !isIllustration
                                              : medium == u"audio" || medium == u"video";
        if (isMedia)
            FAddress = FBase.Of(content).Resolve(address);
        else
            FHasPicture = true;
    }

private:
    QString& FAddress;
    const Base& FBase;
    bool FHasEnclosure = false, FIsMedia = false, FHasPicture = false;
};

/// Reads the elements of an RSS document.
class RssReader {
public:
    explicit RssReader(const XmlDocument& document) : FIsRecovered(document.IsRecovered()) {}

    void ReadItem(const XmlNode& item, const Base& base, TPodcastEpisode& episode) const {
        AudioChoice audio(episode, base);
        QString notes;  // from content:encoded, which is complete where other elements may have only an extract
        for (const XmlNode child : item) {
            const std::string_view name = child.Name();
            if (name == "title") {
                Take(episode.Fields[pefTitle], Text(child));
            } else if (name == "guid") {
                Take(episode.Fields[pefGUID], Text(child));
            } else if (name == "pubDate") {
                const QString text = child.Text();
                if (!IsBlank(text)) episode.PublishDate = vexa::DecodeRfc822Date(text);
            } else if (name == "link") {
                Take(episode.Fields[pefURL], base.ResolveText(child));
            } else if (name == "description" || name == "itunes:summary") {
                Take(episode.Fields[pefDescription], Notes(child));
            } else if (name == "content:encoded") {
                Take(notes, Notes(child));
            } else if (name == "itunes:author") {
                Take(episode.Fields[pefArtist], child.Text());
            } else if (name == "itunes:duration") {
                ReadDuration(child.Text(), episode);
            } else if (name == "enclosure") {
                audio.OfferEnclosure(child, "url");
            } else if (name == "media:content") {
                audio.OfferMedia(child);
            } else if (name == "media:group") {
                for (const XmlNode content : child)
                    if (content.Name() == "media:content") audio.OfferMedia(content);
            }
        }
        if (!IsBlank(notes)) episode.Fields[pefDescription] = std::move(notes);
    }

    QString Text(const XmlNode& node) const { return FIsRecovered ? node.DeepText() : node.Text(); }

    /// The notes are HTML, which some publishers do not escape. In a recovered document elements may be in the wrong
    /// place, so only their text is used.
    QString Notes(const XmlNode& node) const { return FIsRecovered ? node.DeepText() : node.Markup(); }

private:
    static void ReadDuration(const QString& text, TPodcastEpisode& episode) {
        if (IsBlank(text)) return;
        const auto seconds = static_cast<float>(TPodcastParserRSS20::ParseDuration(text));
        episode.Duration = std::isfinite(seconds) ? seconds : 0;
    }

    bool FIsRecovered;
};

void ReadStoreEntry(const XmlNode& entry, const Base& base, TPodcastEpisode& episode) {
    AudioChoice audio(episode, base);
    for (const XmlNode child : entry) {
        const std::string_view name = child.Name();
        if (name == "im:artist") {
            Take(episode.Fields[pefArtist], child.Text());
        } else if (name == "im:name" || name == "title") {
            Take(episode.Fields[pefTitle], child.Text());
        } else if (name == "id") {
            Take(episode.Fields[pefGUID], child.Text());
        } else if (name == "updated") {
            const QString text = child.Text();
            if (!IsBlank(text)) episode.PublishDate = vexa::DecodeIsoDate(text);
        } else if (name == "link") {
            if (child.AttributeIs("rel", "alternate"))
                Take(episode.Fields[pefURL], base.Of(child).Resolve(child.Attribute("href")));
            else if (child.AttributeIs("rel", "enclosure") && audio.OfferEnclosure(child, "href"))
                episode.Duration = static_cast<float>(static_cast<double>(child.ChildInteger("im:duration")) / 1000);
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

std::unique_ptr<TPodcastFeed> TPodcastParser::ParseDocument(const XmlDocument& document, const QString& address) {
    static const TPodcastParserRSS20 rss;
    static const TPodcastParserITunes store;
    for (const TPodcastParser* parser :
         {static_cast<const TPodcastParser*>(&rss), static_cast<const TPodcastParser*>(&store)})
        if (parser->CanParse(document)) return parser->Parse(document, address);
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

std::unique_ptr<TPodcastFeed> TPodcastParserRSS20::Parse(const XmlDocument& document, const QString& address) const {
    auto feed = std::make_unique<TPodcastFeed>();
    const XmlNode channel = document.FindPath({"rss", "channel"});
    const Base base = Base(address).Of(document.FindPath({"rss"})).Of(channel);
    const RssReader reader(document);
    for (const XmlNode child : channel) {
        const std::string_view name = child.Name();
        if (name == "item") {
            TPodcastEpisode& episode = feed->NewEpisode();
            reader.ReadItem(child, base.Of(child), episode);
            MakeGUID(episode);
        } else if (name == "title") {
            Take(feed->Fields[pffTitle], reader.Text(child));
        } else if (name == "description") {
            Take(feed->Fields[pffDescription], reader.Notes(child));
        } else if (name == "link") {
            Take(feed->Fields[pffURL], base.ResolveText(child));
        } else if (name == "copyright") {
            Take(feed->Fields[pffCopyright], child.Text());
        } else if (name == "language") {
            Take(feed->Fields[pffLanguage], child.Text());
        } else if (name == "category") {
            Take(feed->Fields[pffCategory], child.Text());
        } else if (name == "itunes:author") {
            Take(feed->Fields[pffAuthor], child.Text());
        } else if (name == "itunes:category") {
            Take(feed->Fields[pffCategory], child.Attribute("text"));
        } else if (name == "itunes:keywords") {
            Take(feed->Fields[pffKeywords], child.Text());
        } else if (name == "itunes:image") {
            Take(feed->Fields[pffURLLogo], base.Of(child).Resolve(child.Attribute("href")));
        } else if (name == "itunes:new-feed-url") {
            if (const QString named = child.Text().trimmed(); vexa::IsUrl(named)) feed->NewFeedURL = named;
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
            // 32-bit arithmetic that wraps, to match the durations stored by earlier versions.
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

std::unique_ptr<TPodcastFeed> TPodcastParserITunes::Parse(const XmlDocument& document, const QString& address) const {
    auto feed = std::make_unique<TPodcastFeed>();
    const XmlNode root = document.FindPath({"feed"});
    if (!root) return feed;
    const Base base = Base(address).Of(root);
    feed->Fields[pffTitle] = root.ChildText("title");
    feed->Fields[pffCopyright] = root.ChildText("rights");
    feed->Fields[pffLanguage] = root.Attribute("xml:lang");
    feed->Fields[pffURL] = base.ResolveText(root.FindChild("link"));
    feed->Fields[pffURLLogo] = base.ResolveText(root.FindChild("icon"));
    if (const XmlNode author = root.FindChild("author")) feed->Fields[pffAuthor] = author.ChildText("name");
    for (const XmlNode child : root) {
        if (child.Name() != "entry") continue;
        TPodcastEpisode& episode = feed->NewEpisode();
        ReadStoreEntry(child, base.Of(child), episode);
        MakeGUID(episode);
    }
    return feed;
}

}  // namespace podcasts
