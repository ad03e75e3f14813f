#include "Texts.h"
#include "VEXA.Runtime.XML.h"

#include <QStringConverter>

#include <gtest/gtest.h>

namespace vexa {
namespace {

/// The text of the root element.
QString RootText(const QByteArray& bytes, const QString& charset = {}) {
    const XmlDocument document(bytes, charset);
    return (*document.Node().begin()).Text();
}

/// Why a document is refused; empty when it is read.
QString RefusalOf(const QByteArray& bytes) {
    return ErrorOf([&] { XmlDocument document(bytes); });
}

TEST(Xml, TakesTheEncodingFromTheMarkThenTheDeclarationThenTheTransport) {
    const QString euro = "\u20AC\u00E9", cyrillic = "\u043F\u043E\u0434";
    const QString wide = "<?xml version='1.0' encoding='utf-16'?><r>" + cyrillic + "</r>";
    const QByteArray little = QStringEncoder(QStringEncoder::Utf16LE).encode(QChar(0xFEFF) + wide);
    const QByteArray big = QStringEncoder(QStringEncoder::Utf16BE).encode(wide);
    const std::tuple<QByteArray, QString, QString> rows[] = {
        {"\xEF\xBB\xBF\xEF\xBB\xBF<r>\xE2\x82\xAC\xC3\xA9</r>", "windows-1251", euro},
        {little, {}, cyrillic},
        {big, {}, cyrillic},
        {"<?xml version='1.0' encoding=\"windows-1251\"?><r>\xEF\xEE\xE4</r>", "utf-8", cyrillic},
        {"<r>\xEF\xEE\xE4</r>", "windows-1251", cyrillic},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><r>\x80\xE9</r>", {}, euro},
        {"<?xml version='1.0' encoding='UTF-8'?><r>\x80\xE9</r>", {}, euro},
        {"<r>\x80\xE9</r>", "no-such-charset", euro},
        {"<?xml version='1.0' encoding='UTF-16'?><r>\xE2\x82\xAC\xC3\xA9</r>", {}, euro},
        {"<?xml version='1.0' encoding='Shift_JIS'?><r>\x83\x65</r>", {}, "\u30C6"},
        // A document that is valid UTF-8 is read as such, whatever encoding is declared.
        {"<r>\xE2\x82\xAC\xC3\xA9</r>", "iso-8859-1", euro},
        {"<r>\xE2\x82\xAC\xC3\xA9</r>", "Shift_JIS", euro},
        {"<r>plain</r>", "IBM037", "plain"},
        {"<r>" + QByteArray(100'000, '\xEF') + "</r>", "windows-1251", QString(100'000, u'\u043F')},
        {"<?xml version='1.0' encoding='windows-1251'?><r>\xE2\x82\xAC\xC3\xA9</r>", {}, euro},
        {"<r>\x1B$B%F\x1B(B</r>", "ISO-2022-JP", "\u30C6"},
        // In UTF-8 with errors, only the invalid bytes are lost, one at a time.
        {"<r>\xE2\x82\xAC\xC3\xA9 caf\xE9</r>", {}, euro + " caf\uFFFD"},
        {"<?xml version='1.0' encoding='utf-8'?><r>\xE2\x82\xAC\xC3\xA9\xE6\x97</r>", {}, euro + "\uFFFD\uFFFD"},
        {"\xEF\xBB\xBF<r>\xE2\x82\xAC\xC3\xA9\xED\xA0\x80</r>", {}, euro + "\uFFFD\uFFFD\uFFFD"},
        {"<r>\xC9\xA0" + QByteArray(9, '\xE9') + "</r>", {}, "\u00C9\u00A0" + QString(9, u'\u00E9')},
    };
    for (const auto& [bytes, charset, text] : rows) EXPECT_EQ(RootText(bytes, charset), text) << bytes.toStdString();
}

TEST(Xml, ToleratesTheErrorsOfRealFeeds) {
    const std::pair<QByteArray, QString> rows[] = {
        {" \r\n\t<?xml version='1.0'?><r>a</r>", "a"},
        {"<r>a<![CDATA[b]]> <![CDATA[c]]>d<x>no</x>e</r>", "ab cde"},
        {"<r>a&nbsp;b&eacute;&hellip;&amp;&lt;</r>", "a\u00A0b\u00E9\u2026&<"},
        {"<r><![CDATA[a&nbsp;b&#0;]]></r>", "a&nbsp;b&#0;"},
        {"<r><!-- &eacute; -->&eacute;<![CDATA[&eacute;]]>&eacute;</r>", "\u00E9&eacute;\u00E9"},
        {"<?x <![CDATA[ &#0; ?><r a=\"'<!-->\">&#14;<b c='<![CDATA['/>&nbsp;</r>", "\uFFFD\u00A0"},
        {"<!DOCTYPE r [<!-- don't --><!ENTITY e 'a'>]><r>&nbsp;<![CDATA[&nbsp;]]></r>", "\u00A0&nbsp;"},
        {"<r>Q & A &c; &nosuch; http://a/?b=1&copy=2</r>", "Q & A &c; &nosuch; http://a/?b=1&copy=2"},
        {"<r>a&#0;b&#x1F;c&#xD800;d&#233;</r>", "a\uFFFDb\uFFFDc\uFFFDd\u00E9"},
        {QByteArray("<r>a\0b\x01\x1F\tc</r>", 14), "a b  \tc"},
    };
    for (const auto& [bytes, text] : rows) EXPECT_EQ(RootText(bytes), text) << bytes.toStdString();
}

TEST(Xml, RefusesTruncatedDocumentsAndNonXmlAndSaysWhere) {
    const std::pair<const char*, const char*> rows[] = {
        {"", "the document is empty"},
        {"<rss>\n<channel>\n<title>a</ti", "line 3"},
        {"<a>\n\n<b></a></b>", "line 3, column"},
        {"<a>&nbsp;\n<b></a></b>", "line 2, column"},
        {"<a href='x></a>", "not well-formed XML at line 1"},
        {"<a><b></a>text", "not well-formed"},
        {"<a b=c></a>", "not well-formed"},
    };
    for (const auto& [bytes, message] : rows) {
        EXPECT_THROW(XmlDocument{bytes}, XmlError) << bytes;
        EXPECT_TRUE(RefusalOf(bytes).contains(message)) << RefusalOf(bytes).toStdString();
    }
}

/// A document as text: "name(attribute=value|text|child)".
QString Outline(const XmlNode& node) {
    QString outline = QString::fromUtf8(node.Name()) + u'(' + node.Attribute("a") + u'|' + node.Text();
    for (const XmlNode child : node) outline += u' ' + Outline(child);
    return outline + u')';
}

TEST(Xml, RecoversADamagedDocumentThatIsNotTruncated) {
    const std::pair<QByteArray, QString> rows[] = {
        {"<r><t>I <3 radio & a < b, x <y</t></r>", "r(| t(|I <3 radio & a < b, x <y))"},
        {"<r><t>&nbsp;&nosuch; &amp; <3 &#233;</t></r>", "r(| t(|\u00A0&nosuch; & <3 \u00E9))"},
        {"<r><t a='x < y & z' a='again'>]]><3</t></r>", "r(| t(x < y & z|]]><3))"},
        {"<r><t><![CDATA[<p>a]]>b</p>]]></t><u>c</u></r>", "r(| t(|<p>ab</p>]]>) u(|c))"},
        {"<r><t>a<![CDATA[]]><3</t></r>", "r(| t(|a<3))"},
        {"<r><t>Hello<br>world<p>x</t><u>c</u></r>", "r(| t(|Hello br(|world p(|x))) u(|c))"},
        {"<r><item><t>1</t><item><t>2</t></item></item></x></r>", "r(|</item></x> item(| t(|1)) item(| t(|2)))"},
        {"<r><item><t>1<item><t>2</t></r>", "r(| item(| t(|1)) item(| t(|2)))"},
        {"<b>Warning</b><br><?xml version='1.0'?><r><t>1</u></t></r>", "r(| t(|1</u>))"},
        {"<!DOCTYPE r [<!ENTITY e 'no]><x>'><!-- don't ]> -->]><r>&e;</x></r><!-- </r> --> \n", "r(|&e;</x>)"},
        {QByteArray("<r>a</x></r>\0\0", 14), "r(|a</x>)"},
        {"<r><t>see </r> there</t></r>", "r(| t(|see </r> there))"},
    };
    for (const auto& [bytes, outline] : rows) {
        const XmlDocument document(bytes);
        EXPECT_EQ(Outline(*document.Node().begin()), outline) << bytes.toStdString();
        EXPECT_TRUE(document.IsRecovered()) << bytes.toStdString();
    }
    const XmlDocument whole("<r><item>1</item></r>"), damaged("<r><item>1</x></item><item a=''/><items/></r>");
    EXPECT_FALSE(whole.IsRecovered());
    EXPECT_EQ(whole.CountStartTags("item"), 0U);
    EXPECT_EQ(damaged.CountStartTags("item"), 2U);
    EXPECT_EQ(XmlDocument("<r>a<b>c<d/>e</b>f</r>").FindPath({"r"}).DeepText(), "acef");
    EXPECT_EQ(XmlDocument("<r>a<b>c&amp;<d/></b><![CDATA[<i>]]>&lt;</r>").FindPath({"r"}).Markup(),
              "a<b>c&amp;<d/></b><i>&lt;");
}

TEST(Xml, NeverTakesATruncatedDocumentForADamagedOne) {
    const QByteArray document =
        "<?xml version='1.0'?><rss a='1'><channel><title>a <3 </rss> b</title><item><title>1</title>"
        "<description>say </rss> <p>or <i></rss> <![CDATA[</rss>]]> &amp;</p></description></item>"
        "<item><b>2</b></channel></rss>";
    ASSERT_TRUE(XmlDocument(document).IsRecovered());
    for (qsizetype size = 0; size < document.size(); ++size)
        EXPECT_THROW(XmlDocument{document.first(size)}, XmlError) << document.first(size).toStdString();
    const QByteArray deep = "<r><3" + QByteArray("<a>").repeated(300) + QByteArray("</a>").repeated(300) + "</r>";
    EXPECT_THROW(XmlDocument{deep}, XmlError) << "deeper than the reader goes";
    QByteArray attributes;  // the reader compares each with all before it
    for (int i = 0; i < 300'000; ++i) attributes += " a" + QByteArray::number(i, 36) + "='x'";
    const XmlDocument wide("<r><3<a" + attributes + "/><b>c</b></r>");
    EXPECT_EQ(wide.FindPath({"r", "a"}).Attribute("a1"), "x");
    EXPECT_EQ(wide.FindPath({"r", "a"}).Attribute("azzz"), "") << "more attributes than any element has";
    EXPECT_EQ(wide.FindPath({"r", "b"}).Text(), "c");
    const QByteArray large = "<r><3" + QByteArray(8 * 1024 * 1024, ' ') + "</r>";
    EXPECT_THROW(XmlDocument{large}, XmlError);
}

TEST(Xml, RefusesMoreElementsThanAnyFeedHas) {
    for (const QByteArray& piece : {QByteArray("<item/>"), QByteArray("<entry >")})
        EXPECT_EQ(RefusalOf("<r>" + piece.repeated(250'001)), "the document has too many elements");
    EXPECT_EQ(RefusalOf("<r>" + QByteArray("<item/>").repeated(250'000) + "</r>"), "");
    EXPECT_EQ(RefusalOf("<r a='" + QByteArray("=<").repeated(2'000'000) + "'/>"), "the document has too many elements");
    EXPECT_EQ(RefusalOf("<r a='" + QByteArray("=").repeated(3'999'990) + "'/>"), "");
}

TEST(Xml, ExpandsNoDeclaredEntity) {
    QByteArray bomb = "<!DOCTYPE r [<!ENTITY e0 'ha'>";
    for (int i = 1; i < 12; ++i) {
        const QByteArray last = "&e" + QByteArray::number(i - 1) + ";";
        bomb += "<!ENTITY e" + QByteArray::number(i) + " '" + last.repeated(10) + "'>";
    }
    bomb += "<!ENTITY file SYSTEM 'file:///etc/passwd'>]><r>&e11;&file;</r>";
    const XmlDocument document(bomb);
    EXPECT_EQ(document.Node().ChildText("r"), "&e11;&file;");
}

}  // namespace
}  // namespace vexa
