#include "Podcasts.Core.Parsers.h"
#include "Texts.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace podcasts {
namespace {

std::unique_ptr<TPodcastFeed> Parse(const QByteArray& document, const QString& address = {}) {
    return TPodcastParser::ParseDocument(vexa::XmlDocument(document), address);
}

std::unique_ptr<TPodcastFeed> ParseChannel(const QByteArray& inner, const QString& address = {}) {
    return Parse("<rss version='2.0'><channel>" + inner + "</channel></rss>", address);
}

std::unique_ptr<TPodcastFeed> ParseStore(const QByteArray& inner) {
    return Parse("<feed xml:lang='en' xmlns:im='http://itunes.apple.com/rss'>" + inner + "</feed>");
}

TEST(Parsers, RecogniseTheirFormatsAndNoOthers) {
    EXPECT_TRUE(Parse("<feed xmlns:im='HTTP://iTunes.Apple.com/RSS'/>"));
    for (const QByteArray document :
         {"<rss version='2.00'><channel/></rss>", "<rss version='2.0'><x><channel/></x></rss>",
          "<feed xmlns:im='http://itunes.apple.com/rss/2'/>", "<x><rss version='2.0'><channel/></rss></x>"})
        EXPECT_FALSE(Parse(document)) << document.constData();
}

TEST(Parsers, EachElementOfAChannelFillsItsFieldAndTheLaterOneWins) {
    const std::tuple<TPodcastFeedField, QByteArray, QString> cases[] = {
        {pffAuthor, "<itunes:author>A</itunes:author><author>no</author>", "A"},
        {pffCategory, "<category>1</category><itunes:category text='2'/>", "2"},
        {pffCategory, "<itunes:category text='2'/><category>1</category>", "1"},
        {pffCategory, "<category>1</category><itunes:category/><category> </category>", "1"},
        {pffDescription, "<description>1</description><description/>", "1"},
        {pffDescription, "<description> </description>", " "},
        {pffURL, "<link>http://h/</link><link xmlns='http://www.w3.org/2005/Atom' href='http://no/'/>", "http://h/"},
        {pffURLLogo, "<itunes:image href='http://h/l.png'/><itunes:image/>", "http://h/l.png"},
        {pffCategory, "<itunes:category text='Arts'><itunes:category text='Books'/></itunes:category>", "Arts"},
        {pffCopyright, "<copyright>C</copyright>", "C"},
        {pffDescription, "<description> <![CDATA[<b>1</b>]]>&amp;2</description>", " <b>1</b>&2"},
        {pffKeywords, "<itunes:keywords>a, b</itunes:keywords>", "a, b"},
        {pffLanguage, "<language>de</language>", "de"},
        {pffTitle, "<title>one</title><title>two</title>", "two"},
        {pffTitle, "<title>one</title><Title>two</Title><image><title>three</title></image>", "one"},
        {pffURL, "<link>http://h/</link><atom:link href='http://no/'/>", "http://h/"},
        {pffURLFeed, "<atom:link rel='self' href='http://h/feed'/><url>x</url>", ""},
        {pffURLLogo, "<itunes:image href='http://h/l.png'/><image><url>http://no/</url></image>", "http://h/l.png"}};
    for (const auto& [field, inner, value] : cases) {
        const auto feed = ParseChannel(inner);
        EXPECT_EQ(feed->Fields[field], value) << inner.constData();
        EXPECT_EQ(feed->EpisodeCount(), 0);
    }
}

using EpisodeCase = std::tuple<TPodcastEpisodeField, QByteArray, QString>;

TEST(Parsers, EachElementOfAnItemOrEntryFillsItsField) {
    const EpisodeCase items[] = {
        {pefArtist, "<itunes:author>A</itunes:author><author>no</author>", "A"},
        {pefDescription, "<description>1</description><itunes:summary>2</itunes:summary>", "2"},
        {pefDescription, "<itunes:summary>2</itunes:summary><description>1</description>", "1"},
        {pefDescription, "<description>1</description><itunes:summary> </itunes:summary>", "1"},
        {pefDescription, "<content:encoded>3</content:encoded><description>1</description>", "3"},
        {pefDescription, "<itunes:summary>2</itunes:summary><content:encoded> </content:encoded>", "2"},
        {pefDescription, "<itunes:subtitle>no</itunes:subtitle>", ""},
        {pefDescription, "<description><p>a <b>&amp;</b></p><br/></description>", "<p>a <b>&amp;</b></p><br/>"},
        {pefGUID, "<guid isPermaLink='false'> g </guid>", " g "},
        {pefGUID, "<guid>g</guid><guid/>", "g"},
        {pefTitle, "<title>a</title><itunes:title>no</itunes:title>", "a"},
        {pefURL, "<link>http://h/1</link>", "http://h/1"},
        {pefURLAudio, "<enclosure url='http://h/1.mp3'/><enclosure url='http://h/2.mp3'/>", "http://h/1.mp3"},
        {pefURLAudio, "<enclosure/><enclosure url='http://h/2.mp3'/>", "http://h/2.mp3"},
        {pefURLAudio, "<enclosure url='1.jpg' type='image/jpeg'/><enclosure url='2' type='audio/mpeg'/>", "2"},
        {pefURLAudio, "<enclosure url='1.jpg'/><enclosure url='2.M4A?x' type='application/octet-stream'/>", "2.M4A?x"},
        {pefURLAudio, "<enclosure url='1.pdf' type='application/pdf'/><enclosure url='2.jpg'/>", "1.pdf"},
        {pefURLAudio, "<enclosure url='1' type='video/mp4'/><enclosure url='2' type='audio/mpeg'/>", "1"},
        {pefURLAudio, "<media:content url='http://no/'/>", ""},
        {pefURLAudio, "<media:content url='1' type='image/png'/><media:content url='2' type='audio/mpeg'/>", "2"},
        {pefURLAudio, "<media:content url='1' type='image/png'/><media:content url='2' type='video/mp4'/>", ""},
        {pefURLAudio, "<media:group><media:content url='1' medium='video'/></media:group>", "1"},
        {pefURLAudio, "<media:content url='1.mp3' medium='image'/>", ""},
        {pefURLAudio, "<media:content url='1.mp3'/><enclosure url='2.jpg'/><media:content url='3.mp3'/>", "2.jpg"},
        {pefURLAudioCached, "<URLAudioCached>no</URLAudioCached>", ""}};
    const EpisodeCase entries[] = {
        {pefArtist, "<im:artist>A</im:artist>", "A"},
        {pefTitle, "<im:name>1</im:name><title>2</title>", "2"},
        {pefTitle, "<title>2</title><im:name>1</im:name>", "1"},
        {pefGUID, "<id>i</id><guid>no</guid>", "i"},
        {pefURL, "<link rel='alternate' href='http://h/1'/><link rel='Alternate' href='http://no/'/>", "http://h/1"},
        {pefURLAudio, "<link rel='enclosure' href='1'/><link rel='enclosure' href='2'/>", "1"},
        {pefURLAudio, "<link rel='enclosure' type='image/x' href='1'/><link rel='enclosure' type='audio/x' href='2'/>",
         "2"},
        {pefURLAudio, "<link href='http://no/'/>", ""}};
    const auto check = [](const EpisodeCase& expected, const std::unique_ptr<TPodcastFeed>& feed) {
        const auto& [field, inner, value] = expected;
        ASSERT_EQ(feed->EpisodeCount(), 1) << inner.constData();
        EXPECT_EQ(feed->Episodes(0).Fields[field], value) << inner.constData();
        EXPECT_EQ(feed->Episodes(0).State, pesNew);
    };
    for (const EpisodeCase& item : items) check(item, ParseChannel("<item>" + std::get<1>(item) + "</item>"));
    for (const EpisodeCase& entry : entries) check(entry, ParseStore("<entry>" + std::get<1>(entry) + "</entry>"));
}

TEST(Parsers, AStoreFeedFillsItsFieldsAndTheFirstEnclosureGivesTheDuration) {
    const auto feed = ParseStore(
        "<title>T</title><rights>R</rights><link>L</link><icon>I</icon><author><name>N</name></author><entry>"
        "<updated>2024-05-17T11:05:00+02:00</updated>"
        "<link rel='enclosure' href='http://h/1'><im:duration>1500</im:duration></link>"
        "<link rel='enclosure' href='http://h/2'><im:duration>9000</im:duration></link></entry>");
    const std::array<QString, kFeedFieldCount> fields = {"N", "", "R", "", "", "en", "T", "L", "", "I"};
    EXPECT_EQ(feed->Fields, fields);
    EXPECT_EQ(feed->Episodes(0).Duration, 1.5F);
    EXPECT_DOUBLE_EQ(feed->Episodes(0).PublishDate, 45429 + (9 * 60 + 5) / 1440.0);
}

TEST(Parsers, AddressesAreResolvedAgainstTheDocumentsAndXmlBase) {
    const QString address = "http://u:secret@h/shows/feed.xml?x=1";
    const std::pair<QByteArray, QString> rows[] = {
        {"<enclosure url='/1.mp3'/>", "http://h/1.mp3"},
        {"<enclosure url=' my 1.mp3 '/>", "http://h/shows/my%201.mp3"},
        {"<enclosure url='//cdn/\xC3\xB6.mp3'/>", "http://cdn/%C3%B6.mp3"},
        {"<enclosure url='a/10:30.mp3'/>", "http://h/shows/a/10:30.mp3"},
        {"<enclosure url=' HTTP://h/\xC3\xB6 1.mp3'/>", u" HTTP://h/\u00F6 1.mp3"_s},
        {"<enclosure url='podcast:1'/>", "podcast:1"},
        {"<enclosure xml:base='b/' url='1.mp3'/>", "http://h/shows/b/1.mp3"},
        {"<media:content xml:base='https://c/b' type='audio/x' url='1.mp3'/>", "https://c/1.mp3"}};
    for (const auto& [inner, audio] : rows)
        EXPECT_EQ(ParseChannel("<item>" + inner + "</item>", address)->Episodes(0).Fields[pefURLAudio], audio)
            << inner.constData();
    const auto feed = Parse(
        "<rss version='2.0' xml:base='http://b/1/'><channel xml:base='2/'><link>a</link>"
        "<itunes:image href='l.png'/><item xml:base='3/'><link>\ne\n</link></item>"
        "<item><link>no address</link></item></channel></rss>",
        "/home/ada/feed.xml");
    EXPECT_EQ(feed->Fields[pffURL], "http://b/1/2/a");
    EXPECT_EQ(feed->Fields[pffURLLogo], "http://b/1/2/l.png");
    EXPECT_EQ(feed->Episodes(0).Fields[pefURL], "http://b/1/2/3/e");
    EXPECT_EQ(feed->Episodes(1).Fields[pefURL], "no address");
    EXPECT_EQ(ParseChannel("<link>a</link>", "/home/ada/feed.xml")->Fields[pffURL], "a");
}

TEST(Parsers, ARecoveredDocumentKeepsAllTextAndEachItemOnce) {
    const auto feed = ParseChannel(
        "<item><title>I <3 <b>radio</b></title><guid>g<i>1</i></guid><description>Hello<br>world</description>"
        "<enclosure url='1'/><item><title>2</title><pubDate>Fri, 17 May 2024 11:05:03 GMT</item>");
    ASSERT_EQ(feed->EpisodeCount(), 2);
    EXPECT_EQ(feed->Episodes(0).Fields[pefTitle], "I <3 radio");
    EXPECT_EQ(feed->Episodes(0).Fields[pefGUID], "g1");
    EXPECT_EQ(feed->Episodes(0).Fields[pefDescription], "Helloworld");
    EXPECT_EQ(feed->Episodes(0).Fields[pefURLAudio], "1");
    EXPECT_EQ(feed->Episodes(1).Fields[pefTitle], "2");
    EXPECT_NE(feed->Episodes(1).PublishDate, 0);
}

TEST(Parsers, ADurationIsOneTwoOrThreeNumbers) {
    for (const QString& text : u"abc||1:2:3:4|:|1,5|nan|inf"_s.split('|'))
        EXPECT_EQ(TPodcastParserRSS20::ParseDuration(text), 0) << text.toStdString();
    const std::pair<QString, double> cases[] = {{"90", 90},
                                                {"1:30", 90},
                                                {"1:2:3.5", 3723.5},
                                                {"45:00", 2700},
                                                {"0.25", 0.25},
                                                {"x:30", 30},
                                                {"1:x", 60},
                                                {"1:x:5", 3605},
                                                {"99999999999:30", 30},
                                                {"1000000:0:1", -694967295},
                                                {"100000000:30", 6e9 + 30}};
    for (const auto& [text, seconds] : cases)
        EXPECT_EQ(TPodcastParserRSS20::ParseDuration(text), seconds) << text.toStdString();
}

TEST(Parsers, AnEpisodeWithoutGuidGetsTheDigestOfDateAndTitle) {
    const std::pair<QByteArray, QString> cases[] = {
        {"", "879815e13386d57d574d1104152eb34b"},
        {"<guid></guid><pubDate>Fri, 17 May 2024 11:05:03 +0200</pubDate><title>Äpfel</title>",
         "5666e79eebc434ac544dfc911e224f4c"}};
    for (const auto& [inner, guid] : cases)
        EXPECT_EQ(ParseChannel("<title>x</title><item/><item>" + inner + "</item>")->Episodes(1).Fields[pefGUID], guid);
    EXPECT_EQ(ParseStore("<entry/>")->Episodes(0).Fields[pefGUID], cases[0].second);
}

}  // namespace
}  // namespace podcasts
