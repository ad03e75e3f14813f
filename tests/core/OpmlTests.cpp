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

TEST(Opml, ALocalFeedFileIsSubscribedByItsAbsoluteName) {
    const tests::TempFolder folder;
    const QString file = folder.File("Feed.XML");
    WriteWhole(file, "<rss version='2.0'><channel><title>T</title><item/></channel></rss>");
    EXPECT_EQ(NormalizedFeedLocation(" " + folder.Path() + u"/./Feed.XML "), file);
    EXPECT_EQ(NormalizedFeedLocation(" http://h/feed.xml\n"), "http://h/feed.xml");
    TPodcastClient client(folder.File("Podcasts.db"));
    QStringList results;
    const auto note = [&](const TPodcastSubscription& result) {
        results += u"%1 %2 %3"_s.arg(static_cast<int>(result.What)).arg(result.FeedTitle).arg(result.EpisodeCount);
    };
    SubscribeByAddress(
        client, {file, file, folder.File("none.xml"), "ftp://h/feed"}, 0, [] { return false; }, note);
    EXPECT_EQ(results, QStringList({"0 T 1", "1 T 0", "2  0", "2  0"}));
    EXPECT_EQ(Read(ExportOpml(client)), QStringList("T=" + file));

    // One file opens, and then fails as on a damaged disk; the others have the largest size, and one byte more.
    QStringList files;
    for (const char* name : {"unreadable.xml", "large.xml", "larger.xml"}) files += folder.File(name);
    ASSERT_TRUE(QFile::link("/proc/self/mem", files[0]));
    for (const int more : {0, 1})
        ASSERT_TRUE(QFile(files[1 + more]).open(QIODevice::WriteOnly) &&
                    QFile::resize(files[1 + more], (64 << 20) + more));
    QStringList errors;
    SubscribeByAddress(
        client, files, 0, [] { return false; }, [&](auto& result) { errors += result.Error.English(); });
    EXPECT_TRUE(errors[0].contains("the file cannot be read: ")) << errors[0].toStdString();
    EXPECT_NE(errors[1], errors[2]);
    EXPECT_EQ(errors[2], "the document is larger than 64 MiB");
}

}  // namespace
}  // namespace podcasts
