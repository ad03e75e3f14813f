#include "VEXA.Runtime.Html.h"

#include "VEXA.Runtime.Encoding.h"
#include "VEXA.Runtime.FileTypes.h"
#include "VEXA.Runtime.Text.h"
#include "VEXA.Runtime.Url.h"

#include <QRegularExpression>
#include <QUrl>

#include <libxml/HTMLparser.h>

#include <algorithm>
#include <memory>
#include <new>

namespace vexa {

namespace {

constexpr qsizetype kSniffedBytes = 1024;         // bytes searched for the first tag and the charset
constexpr qsizetype kMaxRead = 1024 * 1024;       // bytes; links are in a page's head
constexpr int kMaxDepth = 256;                    // elements; the parser searches all open ones for each end tag
constexpr std::size_t kMaxTagLength = 64 * 1024;  // bytes; the parser compares each attribute with all before it
constexpr std::size_t kMaxLinks = 100;
constexpr qsizetype kMaxTitleLength = 300;
constexpr qsizetype kMaxAddressLength = 8192;

/// The charset named by the page itself (approximately as in the HTML Standard, 13.2.3.2).
QString CharsetOf(const QByteArray& start) {
    static const QRegularExpression named(QStringLiteral("<meta[^>]+charset\\s*=\\s*[\"']?\\s*([A-Za-z0-9_.:-]+)"),
                                          QRegularExpression::CaseInsensitiveOption);
    return named.match(QString::fromLatin1(start)).captured(1);
}

QUrl Resolved(const QUrl& base, const QString& address) {
    const QUrl url(address);
    return base.isEmpty() ? url : base.resolved(url);
}

/// Collects links from the parser's callbacks, without building a tree.
class LinkCollector {
public:
    LinkCollector(const QString& relation, const QString& type) : FRelation(relation), FType(type) {}

    void Read(std::string_view page) {
        htmlSAXHandler handler{};
        handler.startElement = Start;
        handler.endElement = End;
        handler.characters = handler.cdataBlock = Text;
        const std::unique_ptr<htmlParserCtxt, decltype(&htmlFreeParserCtxt)> parser(htmlNewParserCtxt(),
                                                                                    htmlFreeParserCtxt);
        if (!parser) throw std::bad_alloc();
        *parser->sax = handler;
        parser->userData = this;
        FParser = parser.get();
        FRest = page;
        htmlCtxtReadIO(
            FParser, GivePart, nullptr, this, nullptr, "UTF-8",
            HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NONET | HTML_PARSE_IGNORE_ENC);
        FParser = nullptr;
    }

    QString Base;  // as the page names it
    std::vector<HtmlLink> Links;

private:
    static QString Attribute(const xmlChar** attributes, const char* name) {
        for (; attributes && attributes[0]; attributes += 2)
            if (attributes[1] && xmlStrcasecmp(attributes[0], reinterpret_cast<const xmlChar*>(name)) == 0)
                return FromUtf8(reinterpret_cast<const char*>(attributes[1]));
        return {};
    }

    /// Gives the parser the next part of the page. Ends the page if the parser reads on and on without a callback.
    static int GivePart(void* self, char* to, int size) noexcept {
        auto& collector = *static_cast<LinkCollector*>(self);
        if (collector.FSilent >= kMaxTagLength) return 0;
        const std::string_view part = collector.FRest.substr(0, static_cast<std::size_t>(size));
        std::copy(part.begin(), part.end(), to);
        collector.FRest.remove_prefix(part.size());
        collector.FSilent += part.size();
        return static_cast<int>(part.size());
    }
    static void Text(void* self, const xmlChar*, int) noexcept { static_cast<LinkCollector*>(self)->FSilent = 0; }

    static void Start(void* self, const xmlChar* name, const xmlChar** attributes) noexcept {
        auto& collector = *static_cast<LinkCollector*>(self);
        collector.FSilent = 0;
        try {
            collector.Note(reinterpret_cast<const char*>(name), attributes);
        } catch (...) {  // out of memory: return only what has been found so far
            collector.FIsFull = true;
        }
        if (++collector.FDepth > kMaxDepth || collector.FIsFull) xmlStopParser(collector.FParser);
    }
    static void End(void* self, const xmlChar*) noexcept { --static_cast<LinkCollector*>(self)->FDepth; }

    void Note(QByteArrayView name, const xmlChar** attributes) {
        if (name == "base" && Base.isEmpty()) Base = Attribute(attributes, "href").trimmed();
        if (name != "link") return;
        const QStringList relations = Attribute(attributes, "rel").simplified().split(u' ');
        const QString type = Attribute(attributes, "type").section(u';', 0, 0).trimmed();
        if (!relations.contains(FRelation, Qt::CaseInsensitive) || type.compare(FType, Qt::CaseInsensitive) != 0)
            return;
        const QString address = Attribute(attributes, "href").trimmed();
        if (address.isEmpty() || address.size() > kMaxAddressLength) return;
        Links.push_back({address, Attribute(attributes, "title").simplified().left(kMaxTitleLength)});
        FIsFull = Links.size() >= kMaxLinks;
    }

    const QString FRelation, FType;
    xmlParserCtxtPtr FParser = nullptr;
    std::string_view FRest;   // the part of the page that the parser has not read yet
    std::size_t FSilent = 0;  // bytes that the parser has read since its last callback
    int FDepth = 0;
    bool FIsFull = false;
};

}  // namespace

bool IsHtmlPage(const QByteArray& bytes, const QString& mimeType) {
    const std::string start =
        DecodeXml({bytes.constData(), static_cast<std::size_t>(std::min(bytes.size(), kSniffedBytes))});
    if (BeginsLikeHtmlPage(QByteArrayView(start))) return true;
    if (mimeType != u"text/html" && mimeType != u"application/xhtml+xml") return false;
    // Skip the XML declaration and comments, which may precede the first tag.
    static const QRegularExpression first(
        QStringLiteral("^(?:\\s|<\\?[^>]*>|<!--.*?-->)*<(?:!doctype\\s+)?([a-z][a-z0-9:-]*)"),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    static const QStringList feeds{QStringLiteral("rss"), QStringLiteral("feed"), QStringLiteral("rdf:RDF"),
                                   QStringLiteral("opml")};
    const auto match = first.match(FromUtf8(start));
    return match.hasMatch() && !feeds.contains(match.captured(1), Qt::CaseInsensitive);
}

std::vector<HtmlLink> FindHtmlLinks(const QByteArray& bytes, const QString& charset, const QString& address,
                                    const QString& relation, const QString& type) {
    QByteArray start = bytes.left(kMaxRead);
    if (start.size() < bytes.size()) start.truncate(start.lastIndexOf('>') + 1);  // do not cut within a character
    std::string page = DecodeXml({start.constData(), static_cast<std::size_t>(start.size())},
                                 charset.isEmpty() ? CharsetOf(start.left(kSniffedBytes)) : charset);
    std::replace(page.begin(), page.end(), '\0', ' ');  // the parser would stop there
    LinkCollector collector(relation, type);
    collector.Read(page);

    const QUrl base = Resolved(QUrl(address), collector.Base);
    std::vector<HtmlLink> links;
    for (HtmlLink& link : collector.Links) {
        link.Address = QString::fromUtf8(EncodedUrl(Resolved(base, link.Address).toString(QUrl::FullyEncoded)));
        const bool isKnown = std::any_of(links.begin(), links.end(),
                                         [&](const HtmlLink& known) { return known.Address == link.Address; });
        if (!link.Address.isEmpty() && !isKnown) links.push_back(std::move(link));
    }
    return links;
}

}  // namespace vexa
