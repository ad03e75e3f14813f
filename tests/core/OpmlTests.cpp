#include "Podcasts.Core.OPML.h"
#include "Podcasts.Core.Subscribing.h"
#include "TempFolder.h"
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
    EXPECT_EQ(Read("<?xml version='1.0'?><opml version='2.0'><head><outline xmlUrl='no'/></head><body>"
                   "<outline text='A' xmlUrl=' http://a '/>"
                   "<outline text='folder'><outline text='x' title='B' xmlUrl='http://b'><outline "
                   "xmlUrl='http://c'/></outline>"
                   "<group><outline text='no' xmlUrl='http://no'/></group></outline>"
                   "<outline text='no address' xmlurl='http://no'/><outline text='D' title='' "
                   "xmlUrl='http://d'/></body></opml>"),
              QStringList({u"A=http://a"_s, u"B=http://b"_s, u"=http://c"_s, u"D=http://d"_s}));
}

TEST(Opml, AListNestedAHundredThousandDeepIsRead) {
    constexpr int depth = 100000;
    const QByteArray document = "<opml><body>" + QByteArray("<outline>").repeated(depth) + "<outline xmlUrl='u'/>" +
                                QByteArray("</outline>").repeated(depth) + "</body></opml>";
    EXPECT_EQ(Read(document), QStringList(u"=u"_s));
}

TEST(Opml, WhatIsWrittenReadsBack) {
    const QString title = u"a<b>&\"c\"'d' ]]> Ж\U0001F399\tx\ny"_s;
    const std::vector<TPodcastOpmlOutline> outlines = {{title, u"http://h/?a=1&b=\"2\"<3>"_s},
                                                       {u""_s, u"http://h/2"_s},
                                                       {u"a\u0001\uFFFE"_s + QChar(0xD800) + u"b", u"http://h/3"_s}};
    const auto read = ReadOpml(WriteOpml(u"Mine & yours"_s, outlines));
    ASSERT_EQ(read.size(), 3U);
    EXPECT_EQ(read[0].Title, title);
    EXPECT_EQ(read[0].FeedURL, outlines[0].FeedURL);
    EXPECT_EQ(read[1].FeedURL, u"http://h/2"_s);
    // What no document may hold is replaced, and nothing after it is lost.
    EXPECT_TRUE(read[2].Title.startsWith(u'a') && read[2].Title.endsWith(u'b'));
    EXPECT_EQ(read[2].FeedURL, u"http://h/3"_s);
}

TEST(Opml, WhatIsNoListIsAnError) {
    for (const QByteArray document : {"", "text", "<rss version='2.0'><channel/></rss>", "<opml/>",
                                      "<opml><head/></opml>", "<opml><body><outline xmlUrl='u'/></body>"})
        EXPECT_THROW(ReadOpml(document), vexa::XmlError) << document.constData();
    EXPECT_TRUE(ReadOpml("<opml><body/></opml>").empty());
}

TEST(Opml, ALocalFeedFileIsSubscribedByItsAbsoluteName) {
    const tests::TempFolder folder;
    const QString file = folder.File(u"Feed.XML"_s);
    WriteWhole(file, "<rss version='2.0'><channel><title>T</title><item/></channel></rss>");
    EXPECT_EQ(NormalizedFeedLocation(u" "_s + folder.Path() + u"/./Feed.XML "), file);
    EXPECT_EQ(NormalizedFeedLocation(u" http://h/feed.xml\n"_s), u"http://h/feed.xml"_s);
    TPodcastClient client(folder.File(u"Podcasts.db"_s));
    QStringList results;
    const auto note = [&](const TPodcastSubscription& result) {
        results += u"%1 %2 %3"_s.arg(static_cast<int>(result.What)).arg(result.FeedTitle).arg(result.EpisodeCount);
    };
    SubscribeByAddress(
        client, {file, file, folder.File(u"none.xml"_s), u"ftp://h/feed"_s}, [] { return false; }, note);
    EXPECT_EQ(results, QStringList({u"0 T 1"_s, u"1 T 0"_s, u"2  0"_s, u"2  0"_s}));
    EXPECT_TRUE(client.IsSubscribed(file));
    EXPECT_FALSE(client.IsSubscribed(u""_s));
    EXPECT_EQ(Read(ExportOpml(client)), QStringList(u"T="_s + file));
}

}  // namespace
}  // namespace podcasts
