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

TEST(Xml, ReadsTheEncodingOfTheMarkThenTheDeclarationThenTheTransport) {
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
    };
    for (const auto& [bytes, charset, text] : rows) EXPECT_EQ(RootText(bytes, charset), text) << bytes.toStdString();
}

TEST(Xml, ForgivesWhatRealFeedsGetWrong) {
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

TEST(Xml, RefusesWhatIsCutOffOrNotXmlAndSaysWhere) {
    const std::pair<const char*, const char*> rows[] = {
        {"", "the document is empty"},
        {"<rss>\n<channel>\n<title>a</ti", "line 3"},
        {"<a>\n\n<b></a></b>", "line 3, column"},
        {"<a>&nbsp;\n<b></a></b>", "line 2, column"},
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
