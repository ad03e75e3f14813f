#include "Podcasts.Core.OPML.h"

#include "Podcasts.Core.Reasons.h"
#include "VEXA.Runtime.XML.h"

#include <QXmlStreamWriter>

namespace podcasts {

std::vector<TPodcastOpmlOutline> ReadOpml(const QByteArray& bytes) {
    const vexa::XmlDocument document(bytes);
    const vexa::XmlNode body = document.FindPath({"opml", "body"});
    if (!body) throw vexa::XmlError(vexa::Reason(CoreReason("NoOpmlList")));
    std::vector<TPodcastOpmlOutline> outlines;
    // Depth first, without recursion, because a list may be nested more deeply than the stack allows.
    std::vector<std::pair<vexa::XmlNode::Iterator, vexa::XmlNode::Iterator>> open{{body.begin(), body.end()}};
    while (!open.empty()) {
        auto& [next, end] = open.back();
        if (next == end) {
            open.pop_back();
            continue;
        }
        const vexa::XmlNode node = *next;
        ++next;
        if (node.Name() != "outline") continue;
        if (const QString url = node.Attribute("xmlUrl").trimmed(); !url.isEmpty()) {
            const QString title = node.Attribute("title");
            outlines.push_back({title.isEmpty() ? node.Attribute("text") : title, url});
        }
        open.emplace_back(node.begin(), node.end());
    }
    return outlines;
}

QByteArray WriteOpml(const QString& title, const std::vector<TPodcastOpmlOutline>& outlines) {
    QByteArray bytes;
    QXmlStreamWriter xml(&bytes);
    // The XML writer stops at a character that XML forbids.
    auto clean = [](QString text) {
        for (QChar& c : text)
            if ((c < u' ' && c != u'\t' && c != u'\n' && c != u'\r') || c.unicode() >= 0xFFFE) c = u' ';
        return QString::fromUtf8(text.toUtf8());  // also replaces lone surrogates, at which the writer stops, too
    };
    xml.setAutoFormatting(true);
    xml.setAutoFormattingIndent(2);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("opml"));
    xml.writeAttribute(QStringLiteral("version"), QStringLiteral("2.0"));
    xml.writeStartElement(QStringLiteral("head"));
    xml.writeTextElement(QStringLiteral("title"), clean(title));
    xml.writeEndElement();
    xml.writeStartElement(QStringLiteral("body"));
    for (const auto& outline : outlines) {
        xml.writeEmptyElement(QStringLiteral("outline"));
        xml.writeAttribute(QStringLiteral("type"), QStringLiteral("rss"));
        xml.writeAttribute(QStringLiteral("text"), clean(outline.Title));
        xml.writeAttribute(QStringLiteral("title"), clean(outline.Title));
        xml.writeAttribute(QStringLiteral("xmlUrl"), clean(outline.FeedURL));
    }
    xml.writeEndElement();
    xml.writeEndElement();
    xml.writeEndDocument();
    return bytes;
}

}  // namespace podcasts
