#include "Podcasts.Core.ShowNotes.h"

#include "VEXA.Runtime.HtmlEntities.h"
#include "VEXA.Runtime.Text.h"

#include <QRegularExpression>

namespace podcasts {

namespace {

QString DecodeEntities(const QString& text) {
    std::string bytes = vexa::ToUtf8(text);
    vexa::ReplaceHtmlEntities(bytes);
    const QString named = vexa::FromUtf8(bytes);
    static const QRegularExpression number(QStringLiteral("&#([0-9]{1,7}|[xX][0-9a-fA-F]{1,6});"));
    QString decoded;
    qsizetype from = 0;
    for (auto matches = number.globalMatch(named); matches.hasNext();) {
        const auto match = matches.next();
        const QString digits = match.captured(1);
        const bool isHex = digits.startsWith(u'x', Qt::CaseInsensitive);
        const char32_t point = isHex ? digits.sliced(1).toUInt(nullptr, 16) : digits.toUInt();
        decoded += QStringView(named).sliced(from, match.capturedStart() - from);
        decoded += QString::fromUcs4(&point, 1);
        from = match.capturedEnd();
    }
    decoded += QStringView(named).sliced(from);
    static constexpr std::pair<QLatin1String, QLatin1String> entities[] = {
        {QLatin1String("&lt;"), QLatin1String("<")},
        {QLatin1String("&gt;"), QLatin1String(">")},
        {QLatin1String("&quot;"), QLatin1String("\"")},
        {QLatin1String("&apos;"), QLatin1String("'")},
        {QLatin1String("&amp;"), QLatin1String("&")}};  // must be last
    for (const auto& [entity, character] : entities) decoded.replace(entity, character);
    return decoded;
}

}  // namespace

TPodcastShowNotes ReadShowNotes(const QString& html) {
    // A comment, script or style sheet without an end takes all that follows, as in a browser. No alternative is tried
    // from one place beyond the next that could match: hostile notes are read in linear time.
    static const QRegularExpression tag(
        QStringLiteral("<!--.*?(?:-->|\\z)|<(?:script|style)\\b.*?(?:</(?:script|style)\\s*>|\\z)|"
                       "<(/?)([a-z][a-z0-9]*)([^<>]*)>"),
        QRegularExpression::DotMatchesEverythingOption | QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression href(QStringLiteral("href\\s*=\\s*[\"']((?:https?|mailto):[^\"']*)[\"']"),
                                         QRegularExpression::CaseInsensitiveOption);
    static const QStringList blocks = {QStringLiteral("p"),  QStringLiteral("div"), QStringLiteral("ul"),
                                       QStringLiteral("ol"), QStringLiteral("h1"),  QStringLiteral("h2"),
                                       QStringLiteral("h3"), QStringLiteral("h4"),  QStringLiteral("blockquote")};
    TPodcastShowNotes notes;
    QString text;
    qsizetype from = 0;
    for (auto matches = tag.globalMatch(html); matches.hasNext();) {
        const auto match = matches.next();
        text += QStringView(html).sliced(from, match.capturedStart() - from);
        from = match.capturedEnd();
        const QString name = match.captured(2).toLower();
        if (name == u"br" || name == u"tr")
            text += u'\n';
        else if (name == u"li" && match.captured(1).isEmpty())
            text += u"\n- ";
        else if (blocks.contains(name))
            text += u"\n\n";
        if (const auto link = href.match(match.captured(3)); name == u"a" && link.hasMatch())
            notes.Links += DecodeEntities(link.captured(1));
    }
    text += QStringView(html).sliced(from);
    notes.Links.removeDuplicates();
    static const QRegularExpression blanks(QStringLiteral("[^\\S\\n]+")),
        blankLines(QStringLiteral(" *\\n *(\\n\\s*)+"));
    notes.Text =
        DecodeEntities(text).replace(blanks, QStringLiteral(" ")).replace(blankLines, QStringLiteral("\n\n")).trimmed();
    return notes;
}

}  // namespace podcasts
