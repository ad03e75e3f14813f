#include "Podcasts.Core.OPML.h"
#include "Texts.h"
#include "VEXA.Runtime.XML.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace podcasts {
namespace {

QStringList Read(const QByteArray& document) {
    QStringList lines;
    for (const auto& outline : ReadOpml(document)) lines += outline.Title + u'=' + outline.FeedURL;
    return lines;
}

TEST(Opml, OutlinesAreReadAtAnyDepthInDocumentOrder) {
    constexpr int depth = 100000;
    EXPECT_EQ(Read("<?xml version='1.0'?><opml version='2.0'><head><outline xmlUrl='no'/></head><body>"
                   "<outline text='A' xmlUrl=' http://a '/><outline text='folder'>"
                   "<outline text='x' title='B' xmlUrl='http://b'><outline xmlUrl='http://c'/></outline>"
                   "<group><outline text='no' xmlUrl='http://no'/></group></outline>"
                   "<outline text='no address' xmlurl='http://no'/><outline text='D' title='' xmlUrl='http://d'/>" +
                   QByteArray("<outline>").repeated(depth) + "<outline xmlUrl='u'/>" +
                   QByteArray("</outline>").repeated(depth) + "</body></opml>"),
              QStringList({"A=http://a", "B=http://b", "=http://c", "D=http://d", "=u"}));
}

TEST(Opml, AWrittenListReadsBackUnchanged) {
    // Characters that XML does not allow are replaced, and nothing after them is lost.
    const QString title = "a<b>&\"c\"'d' ]]> Ж\U0001F399\tx\ny";
    const QStringList read = Read(WriteOpml("Mine & yours", {{title, "http://h/?a=1&b=\"2\"<3>"},
                                                             {u"a\u0001\uFFFE"_s + QChar(0xD800) + u"b", "http://h/3"},
                                                             {"", "http://h/2"}}));
    ASSERT_EQ(read.size(), 3);
    EXPECT_EQ(read[0], title + u"=http://h/?a=1&b=\"2\"<3>");
    EXPECT_TRUE(read[1].startsWith(u'a') && read[1].endsWith(u"b=http://h/3"));
    EXPECT_TRUE(read[2].endsWith(u"=http://h/2"));
}

TEST(Opml, ADocumentThatIsNotAListIsAnError) {
    for (const QByteArray document : {"", "text", "<rss version='2.0'><channel/></rss>", "<opml/>",
                                      "<opml><head/></opml>", "<opml><body><outline xmlUrl='u'/></body>"})
        EXPECT_THROW(ReadOpml(document), vexa::XmlError) << document.constData();
    EXPECT_TRUE(ReadOpml("<opml><body/></opml>").empty());
}

}  // namespace
}  // namespace podcasts
