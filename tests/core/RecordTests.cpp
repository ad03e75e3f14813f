#include "Podcasts.Core.Classes.h"
#include "Podcasts.Core.DB.h"
#include "Texts.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace podcasts {
namespace {

TEST(Records, AnEpisodeIsNewOnlyWhenItsFeedMadeIt) {
    TPodcastFeed feed;
    EXPECT_EQ(feed.NewEpisode().State, pesNew);
    EXPECT_EQ(TPodcastEpisode().State, pesListened);
    EXPECT_EQ(feed.EpisodeCount(), 1);
}

TEST(Records, FindEpisodeGivesTheFirstOfTheGuidOrLeavesItsResultAlone) {
    TPodcastFeed feed;
    for (const char16_t* guid : {u"a", u"B", u"B", u"b"}) feed.NewEpisode().Fields[pefGUID] = QString::fromUtf16(guid);
    TPodcastEpisode* found = nullptr;
    EXPECT_TRUE(feed.FindEpisode(u"B"_s, found));
    EXPECT_EQ(found, &feed.Episodes(1));
    EXPECT_TRUE(feed.FindEpisode(u"b"_s, found));
    EXPECT_EQ(found, &feed.Episodes(3));
    EXPECT_FALSE(feed.FindEpisode(u"A"_s, found));
    EXPECT_EQ(found, &feed.Episodes(3));
}

TEST(Records, AnEpisodesUriIsItsAudioAddressUnlessThatChangesWithTime) {
    struct {
        QString GUID, Audio, URI;
    } const cases[] = {
        {u"g1"_s, u"http://h/dir/a.mp3"_s, u"podcast://h/dir/a.mp3"_s},
        {u"g1"_s, u"http://h/get?time=5"_s, u"podcast://h/feed.xml-/g1"_s},
        {u"g1"_s, u"https://sometimes.example/a.mp3"_s, u"podcast://h/feed.xml-/g1"_s},
        {u"g1"_s, u"http://h/Time.mp3"_s, u"podcast://h/Time.mp3"_s},
        {u""_s, u"http://h/get?time=5"_s, u"podcast://h/get?time=5"_s},
        {u"g1"_s, u"http://h/?to=http://x"_s, u"podcast://h/?to=http://x"_s},
        {u"g1"_s, u"a.mp3"_s, u"a.mp3"_s},
        {u"g1"_s, u"://h/a.mp3"_s, u"://h/a.mp3"_s},
        {u"g1"_s, u""_s, u""_s},
    };
    TPodcastFeed feed;
    feed.Fields[pffURLFeed] = u"http://h/feed.xml"_s;
    for (const auto& [guid, audio, uri] : cases) {
        TPodcastEpisode episode;
        episode.Fields[pefGUID] = guid;
        episode.Fields[pefURLAudio] = audio;
        EXPECT_EQ(TPodcastsDBQueryBuilder::MakeEpisodeURI(episode, feed), uri);
    }
}

TEST(Records, AFormatIsTheExtensionInCapitalsWithoutQuery) {
    const std::pair<QString, QString> cases[] = {
        {u"http://h/a.mp3?x=1.ogg#t"_s, u"MP3"_s},
        {u"http://h.com"_s, u""_s},
        {u"http://h.com/a"_s, u""_s},
        {u"/music/b.M4a"_s, u"M4A"_s},
        {u"c."_s, u""_s},
        {u""_s, u""_s},
    };
    for (const auto& [address, format] : cases) EXPECT_EQ(MakeFormat(address), format) << address.toStdString();
}

/// Everything that a template can take from a feed and an episode is `text`, but for the audio address.
QString ExpandWith(const QString& text, const QString& audio, const QString& templateText) {
    TPodcastFeed feed;
    feed.Fields.fill(text);
    TPodcastEpisode& episode = feed.NewEpisode();
    episode.Fields.fill(text);
    episode.Fields[pefURLAudio] = audio;
    episode.PublishDate = 45429 + (9 * 60 + 5) / 1440.0;  // 2024-05-17 09:05
    return TPodcastInfoFormatString::Expand(templateText, feed, episode);
}

TEST(FileNameTemplate, ReplacesMacrosAndFunctionsAndNothingElse) {
    struct {
        QString Text, Audio, Template, Name;
    } const cases[] = {
        {u"T"_s, u"http://h/d/show-12.mp3?src=rss"_s, u"/m/%FeedTitle%\\%EpisodeFileName%"_s, u"/m/T/show-12.mp3"_s},
        {u"T"_s, u"http://h/a.mp3?b?c"_s, u"/m/%EpisodeFileName%"_s, u"/m/a.mp3b"_s},
        {u"T"_s, u"http://h/a?b/c.ogg"_s, u"/m/%EpisodeFileName%"_s, u"/m/c.ogg"_s},
        {u"T"_s, u""_s, u"%EpisodeArtist%-%EpisodeTitle%-%FeedCategory%"_s, u"T-T-T"_s},
        {u"T"_s, u""_s, u"%EpisodePublishDate%"_s, u"2024.05.17 09-05"_s},
        {u"T"_s, u"http://h/x.m4a"_s, u"%EpisodeTitle%%ExtractFileExt(%EpisodeFileName%)%"_s, u"T.m4a"_s},
        {u"T"_s, u""_s, u"100%/%Nothing%FeedTitle%/%feedtitle%"_s, u"100%/%NothingT/%feedtitle%"_s},
        {u""_s, u""_s, u"%FeedCategory%\\%EpisodeTitle%x"_s, u"/x"_s},
        {u"a\\b/c:d"_s, u""_s, u"/m/%FeedTitle%/x"_s, u"/m/abcd/x"_s},
        {u"a\u0000b\u0007\u0085c"_s, u""_s, u"/m/%FeedTitle%"_s, u"/m/abc"_s},
        {u"NUL"_s, u""_s, u"/m/%FeedTitle%"_s, u"/m/_NUL"_s},
        {u"%FeedTitle%"_s, u""_s, u"/m/%EpisodeTitle%"_s, u"/m/%FeedTitle%"_s},
    };
    for (const auto& [text, audio, templateText, name] : cases) EXPECT_EQ(ExpandWith(text, audio, templateText), name);
}

TEST(FileNameTemplate, NeverLeavesItsFolderWhateverTheTitles) {
    const QString titles[] = {u".."_s,    u"../.."_s, u"..\\..\\x"_s,      u"."_s,     u"/etc/passwd"_s, u". . ."_s,
                              u"C:\\x"_s, u""_s,      u"\u0000..\u0001"_s, u"．．/x"_s};
    const QString templates[] = {u"/m/%FeedTitle%/%EpisodeTitle%.mp3"_s,
                                 u"/m/%FeedTitle%.%EpisodeTitle%.%FeedCategory%/x"_s,
                                 u"/m/%EpisodeFileName%/%FeedTitle%"_s};
    for (const QString& title : titles) {
        for (const QString& templateText : templates) {
            const QString name = ExpandWith(title, u"http://h/"_s + title, templateText);
            EXPECT_TRUE(name.startsWith(u"/m/")) << name.toStdString();
            EXPECT_FALSE(name.split(u'/').contains(u".."_s)) << name.toStdString();
            EXPECT_FALSE(name.contains(QChar::Null));
            EXPECT_EQ(name.count(u'/'), templateText.count(u'/'));
        }
    }
}

TEST(FileNameTemplate, CutsLongNamesToWhatAFileSystemTakesAndKeepsTheExtension) {
    for (const QString& letter : {u"a"_s, u"ж"_s, u"語"_s, u"\U0001F399"_s}) {
        const QString title = letter.repeated(1000);
        const QString name =
            ExpandWith(title, u"http://h/"_s + title + u".flac", u"%EpisodeTitle%%FeedTitle%/%EpisodeFileName%"_s);
        const QStringList parts = name.split(u'/');
        ASSERT_EQ(parts.size(), 2);
        for (const QString& part : parts) {
            EXPECT_LE(part.toUtf8().size(), 255);
            EXPECT_GE(part.toUtf8().size(), 150);
            EXPECT_FALSE(part.contains(QChar::ReplacementCharacter));
        }
        EXPECT_TRUE(parts[1].endsWith(u".flac"));
    }
}

}  // namespace
}  // namespace podcasts
