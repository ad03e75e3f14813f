#include "Printing.h"
#include "VEXA.Runtime.XML.h"

#include <gtest/gtest.h>

namespace vexa {
namespace {

/// The text of the root element.
QString RootText(const QByteArray& bytes, const QString& charset = {}) {
    const XmlDocument document(bytes, charset);
    return (*document.Node().begin()).Text();
}

QByteArray Utf16(const QString& text, bool bigEndian, bool mark) {
    QByteArray bytes;
    for (const QChar c : mark ? QChar(0xFEFF) + text : text) {
        const char high = static_cast<char>(c.unicode() >> 8), low = static_cast<char>(c.unicode() & 0xFF);
        bytes += bigEndian ? high : low;
        bytes += bigEndian ? low : high;
    }
    return bytes;
}

TEST(Xml, ReadsTheEncodingOfTheMarkThenTheDeclarationThenTheTransport) {
    const QString euro = QStringLiteral("\u20AC\u00E9");
    const QString cyrillic = QStringLiteral("\u043F\u043E\u0434");
    const QString wide = QStringLiteral("<?xml version='1.0' encoding='utf-16'?><r>\u043F\u043E\u0434</r>");
    struct {
        QByteArray Bytes;
        QString Charset, Text;
    } const rows[] = {
        {"<r>\xE2\x82\xAC\xC3\xA9</r>", {}, euro},
        {"\xEF\xBB\xBF\xEF\xBB\xBF<r>\xE2\x82\xAC\xC3\xA9</r>", QStringLiteral("windows-1251"), euro},
        {Utf16(wide, false, true), {}, cyrillic},
        {Utf16(wide, true, true), {}, cyrillic},
        {Utf16(wide, false, false), {}, cyrillic},
        {Utf16(wide, true, false), {}, cyrillic},
        {"<?xml version='1.0' encoding=\"windows-1251\"?><r>\xEF\xEE\xE4</r>", QStringLiteral("utf-8"), cyrillic},
        {"<r>\xEF\xEE\xE4</r>", QStringLiteral("windows-1251"), cyrillic},
        {"<?xml version='1.0' encoding='KOI8-R'?><r>\xD0\xCF\xC4</r>", {}, cyrillic},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><r>\x80\xE9</r>", {}, euro},
        {"<?xml version='1.0' encoding='UTF-8'?><r>\x80\xE9</r>", {}, euro},
        {"<r>\x80\xE9</r>", QStringLiteral("no-such-charset"), euro},
        {"<?xml version='1.0' encoding='UTF-16'?><r>\xE2\x82\xAC\xC3\xA9</r>", {}, euro},
        {"<?xml version='1.0' encoding='Shift_JIS'?><r>\x83\x65</r>", {}, QStringLiteral("\u30C6")},
    };
    for (const auto& [bytes, charset, text] : rows) EXPECT_EQ(RootText(bytes, charset), text) << bytes.toStdString();
}

TEST(Xml, ForgivesWhatRealFeedsGetWrong) {
    const struct {
        QByteArray Bytes;
        QString Text;
    } rows[] = {
        {" \r\n\t<?xml version='1.0'?><r>a</r>", QStringLiteral("a")},
        {"<r>a<![CDATA[b]]> <![CDATA[c]]>d<x>no</x>e</r>", QStringLiteral("ab cde")},
        {"<r>a&nbsp;b&eacute;&hellip;&amp;&lt;</r>", QStringLiteral("a\u00A0b\u00E9\u2026&<")},
        {"<r><![CDATA[a&nbsp;b&#0;]]></r>", QStringLiteral("a&nbsp;b&#0;")},
        {"<r><!-- &eacute; -->&eacute;<![CDATA[&eacute;]]>&eacute;</r>", QStringLiteral("\u00E9&eacute;\u00E9")},
        {"<r>Q & A &c; &nosuch; http://a/?b=1&copy=2</r>", QStringLiteral("Q & A &c; &nosuch; http://a/?b=1&copy=2")},
        {"<r>a&#0;b&#x1F;c&#xD800;d&#233;</r>", QStringLiteral("a\uFFFDb\uFFFDc\uFFFDd\u00E9")},
        {QByteArray("<r>a\0b\x01\x1F\tc</r>", 14), QStringLiteral("a b  \tc")},
    };
    for (const auto& [bytes, text] : rows) EXPECT_EQ(RootText(bytes), text) << bytes.toStdString();
}

TEST(Xml, RefusesWhatIsCutOffOrNotXmlAndSaysWhere) {
    const struct {
        const char* Bytes;
        const char* Message;
    } rows[] = {
        {"", "the document is empty"},
        {" \n ", "the document is empty"},
        {"<rss>\n<channel>\n<title>a</title>", "line 3"},
        {"<rss>\n<channel>\n<title>a</ti", "line 3"},
        {"<a>\n\n<b></a></b>", "line 3, column"},
        {"<a>&nbsp;\n<b></a></b>", "line 2, column"},
        {"just text", "not well-formed XML at line 1"},
        {"<a href='x></a>", "not well-formed XML at line 1"},
    };
    for (const auto& [bytes, message] : rows) {
        try {
            XmlDocument document(bytes);
            ADD_FAILURE() << "was read: " << bytes;
        } catch (const XmlError& error) {
            EXPECT_NE(std::string_view(error.what()).find(message), std::string_view::npos) << error.what();
        }
    }
}

TEST(Xml, SurvivesHundredThousandNestedElements) {
    constexpr int kDepth = 100'000;
    const XmlDocument document(QByteArray("<a>").repeated(kDepth) + "x" + QByteArray("</a>").repeated(kDepth));
    XmlNode node = document.Node();
    int depth = 0;
    while (const XmlNode child = node.FindChild("a")) node = child, ++depth;
    EXPECT_EQ(depth, kDepth);
    EXPECT_EQ(node.Text(), QStringLiteral("x"));
}

TEST(Xml, ExpandsNoDeclaredEntity) {
    QByteArray bomb = "<!DOCTYPE r [<!ENTITY e0 'ha'>";
    for (int i = 1; i < 12; ++i) {
        const QByteArray last = "&e" + QByteArray::number(i - 1) + ";";
        bomb += "<!ENTITY e" + QByteArray::number(i) + " '" + last.repeated(10) + "'>";
    }
    bomb += "<!ENTITY file SYSTEM 'file:///etc/passwd'>]><r>&e11;&file;</r>";
    const XmlDocument document(bomb);
    EXPECT_EQ(document.Node().ChildText("r"), QStringLiteral("&e11;&file;"));
}

TEST(Xml, FindsNodesByTheirExactNames) {
    const XmlDocument document("<rss version='2.0'><Channel/><channel><n>12</n><n>x</n><t:n>7.5</t:n></channel></rss>");
    const XmlNode channel = document.FindPath({"rss", "channel"});
    ASSERT_TRUE(channel);
    EXPECT_EQ(channel.ChildInteger("n"), 12);
    EXPECT_EQ(channel.ChildInteger("t:n"), 0);
    EXPECT_EQ(channel.ChildText("N"), QString());
    EXPECT_TRUE(document.FindPath({"rss"}).AttributeIs("version", "2.0"));
    EXPECT_FALSE(document.FindPath({"rss", "item", "title"}));
    std::string names;
    for (const XmlNode child : channel) names.append(child.Name()).append(" ");
    EXPECT_EQ(names, "n n t:n ");
}

}  // namespace
}  // namespace vexa
