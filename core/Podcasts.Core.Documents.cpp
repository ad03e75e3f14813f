#include "Podcasts.Core.Documents.h"

#include "VEXA.Runtime.FileTypes.h"
#include "VEXA.Runtime.Html.h"

#include <algorithm>

namespace podcasts {

namespace {

constexpr char kHtmlPage[] = "an HTML page";
constexpr char16_t kHtmlRoot[] = u"html";

QString NotAFeed(const QString& what) {
    return u"the document is " + what + u", not a feed";
}

QString OtherFeed(const QString& what) {
    return u"the document is " + what + u"; only RSS 2.0 feeds and feeds of the iTunes store can be read";
}

/// Describes an RSS document that the parser does not recognise.
QString DescribeRss(const vexa::XmlNode& rss) {
    const QString version = rss.Attribute("version");
    if (version == u"2.0") return NotAFeed(QStringLiteral("an RSS document without a channel"));
    if (version.isEmpty()) return OtherFeed(QStringLiteral("an RSS feed without a version"));
    return OtherFeed(QStringLiteral("an RSS feed of version \"%1\"").arg(version));
}

/// The node's name without its namespace prefix, in small letters.
QString LocalName(const vexa::XmlNode& node) {
    return QString::fromUtf8(node.Name()).section(u':', -1).toLower();
}

/// Describes a document by its root element; empty for an unknown element.
QString DescribeRoot(const vexa::XmlNode& root) {
    const QString local = LocalName(root);
    if (root.Name() == "rss") return DescribeRss(root);
    if (local == u"rss") return OtherFeed(QStringLiteral("an RSS feed whose tags are not in small letters"));
    if (local == u"rdf") return OtherFeed(QStringLiteral("an RSS 1.0 (RDF) feed"));
    if (local == u"feed") return OtherFeed(QStringLiteral("an Atom feed"));
    if (local == kHtmlRoot) return DescribeHtmlPage();
    if (local == u"opml") return NotAFeed(QStringLiteral("an OPML list of subscriptions"));
    return {};
}

}  // namespace

QString DescribeForeignDocument(const vexa::XmlDocument& document) {
    for (const vexa::XmlNode root : document.Node())
        if (const QString description = DescribeRoot(root); !description.isEmpty()) return description;
    return QStringLiteral("the document is neither an RSS 2.0 feed nor a feed of the iTunes store");
}

namespace {

bool BeginsWithFeed(QByteArrayView bytes) {
    constexpr qsizetype kStart = 4096;  // bytes, for messages of a server's scripts before the feed
    const QByteArrayView start = bytes.first(std::min(bytes.size(), kStart));
    return start.contains("<rss") || start.contains("<feed");
}

}  // namespace

QString DescribeForeignDocument(QByteArrayView bytes) {
    if (BeginsWithFeed(bytes)) return {};
    const QByteArrayView text = bytes.trimmed();
    if (text.startsWith('{') || text.startsWith('[')) return NotAFeed(QStringLiteral("a JSON document"));
    if (bytes.startsWith("\x1F\x8B")) return NotAFeed(QStringLiteral("a gzip archive"));
    if (vexa::BeginsLikeMedia(bytes)) return NotAFeed(QStringLiteral("an audio or video file"));
    return {};
}

bool IsHtmlPage(const QByteArray& bytes, const QString& mimeType) {
    return !BeginsWithFeed(bytes) && vexa::IsHtmlPage(bytes, mimeType);
}

bool IsHtmlPage(const vexa::XmlDocument& document) {
    const auto root = document.Node().begin();
    return root != document.Node().end() && LocalName(*root) == kHtmlRoot;
}

QString DescribeHtmlPage() {
    return NotAFeed(kHtmlPage);
}

}  // namespace podcasts
