#include "Podcasts.Core.Documents.h"

#include "Podcasts.Core.Reasons.h"
#include "VEXA.Runtime.FileTypes.h"
#include "VEXA.Runtime.Html.h"

#include <algorithm>

namespace podcasts {

using vexa::Reason;
using vexa::ReasonText;

namespace {

constexpr char16_t kHtmlRoot[] = u"html";

Reason NotAFeed(const ReasonText& kind) {
    return Reason(CoreReason("NotAFeed"), {Reason(kind)});
}

Reason OtherFeed(const Reason& kind) {
    return Reason(CoreReason("OtherFeed"), {kind});
}

Reason OtherFeed(const ReasonText& kind) {
    return OtherFeed(Reason(kind));
}

/// Describes an RSS document that the parser does not recognise.
Reason DescribeRss(const vexa::XmlNode& rss) {
    const QString version = rss.Attribute("version");
    if (version == u"2.0") return NotAFeed(CoreReason("RssWithoutChannel"));
    if (version.isEmpty()) return OtherFeed(CoreReason("RssWithoutVersion"));
    return OtherFeed(Reason(CoreReason("RssVersion"), {version}));
}

/// The node's name without its namespace prefix, in small letters.
QString LocalName(const vexa::XmlNode& node) {
    return QString::fromUtf8(node.Name()).section(u':', -1).toLower();
}

/// Describes a document by its root element; no reason for an unknown element.
Reason DescribeRoot(const vexa::XmlNode& root) {
    const QString local = LocalName(root);
    if (root.Name() == "rss") return DescribeRss(root);
    if (local == u"rss") return OtherFeed(CoreReason("RssCapitals"));
    if (local == u"rdf") return OtherFeed(CoreReason("Rdf"));
    if (local == u"feed") return OtherFeed(CoreReason("Atom"));
    if (local == kHtmlRoot) return DescribeHtmlPage();
    if (local == u"opml") return NotAFeed(CoreReason("OpmlList"));
    return {};
}

}  // namespace

Reason DescribeForeignDocument(const vexa::XmlDocument& document) {
    for (const vexa::XmlNode root : document.Node())
        if (const Reason description = DescribeRoot(root)) return description;
    return Reason(CoreReason("UnknownDocument"));
}

namespace {

bool BeginsWithFeed(QByteArrayView bytes) {
    constexpr qsizetype kStart = 4096;  // bytes, for messages of a server's scripts before the feed
    const QByteArrayView start = bytes.first(std::min(bytes.size(), kStart));
    return start.contains("<rss") || start.contains("<feed");
}

}  // namespace

Reason DescribeForeignDocument(QByteArrayView bytes) {
    if (BeginsWithFeed(bytes)) return {};
    const QByteArrayView text = bytes.trimmed();
    if (text.startsWith('{') || text.startsWith('[')) return NotAFeed(CoreReason("Json"));
    if (bytes.startsWith("\x1F\x8B")) return NotAFeed(CoreReason("Gzip"));
    if (vexa::BeginsLikeMedia(bytes)) return NotAFeed(CoreReason("Media"));
    return {};
}

bool IsHtmlPage(const QByteArray& bytes, const QString& mimeType) {
    return !BeginsWithFeed(bytes) && vexa::IsHtmlPage(bytes, mimeType);
}

bool IsHtmlPage(const vexa::XmlDocument& document) {
    const auto root = document.Node().begin();
    return root != document.Node().end() && LocalName(*root) == kHtmlRoot;
}

Reason DescribeHtmlPage() {
    return NotAFeed(CoreReason("HtmlPage"));
}

}  // namespace podcasts
