#include "Podcasts.Core.Classes.h"
#include "Podcasts.Core.DB.h"
#include "Texts.h"

#include <gtest/gtest.h>

#include <random>

using namespace Qt::StringLiterals;

namespace podcasts {
namespace {

TEST(Records, AnEpisodesUriIsItsAudioAddressUnlessThatChangesWithTime) {
    const std::tuple<QString, QString, QString> cases[] = {
        {"g1", "http://h/dir/a.mp3", "podcast://h/dir/a.mp3"},
        {"g1", "http://h/get?time=5", "podcast://h/feed.xml-/g1"},
        {"g1", "https://sometimes.example/a.mp3", "podcast://h/feed.xml-/g1"},
        {"g1", "http://h/Time.mp3", "podcast://h/Time.mp3"},
        {"", "http://h/get?time=5", "podcast://h/get?time=5"},
        {"g1", "http://h/?to=http://x", "podcast://h/?to=http://x"},
        {"g1", "://h/a.mp3", "://h/a.mp3"},
        {"g1", "", ""}};
    TPodcastFeed feed;
    feed.Fields[pffURLFeed] = "http://h/feed.xml";
    for (const auto& [guid, audio, uri] : cases) {
        TPodcastEpisode episode;
        episode.Fields[pefGUID] = guid;
        episode.Fields[pefURLAudio] = audio;
        EXPECT_EQ(TPodcastsDBQueryBuilder::MakeEpisodeURI(episode, feed), uri);
    }
}

/// Expands the template with `text` for all fields of feed and episode except the audio address.
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
    const std::tuple<QString, QString, QString, QString> cases[] = {
        {"T", "http://h/d/show-12.mp3?src=rss", "/m/%FeedTitle%\\%EpisodeFileName%", "/m/T/show-12.mp3"},
        {"T", "http://h/a.mp3?b?c", "/m/%EpisodeFileName%", "/m/a.mp3b"},
        {"T", "http://h/?a=1", "/m/%EpisodeFileName%x", "/m/x"},
        {"T", "http://h/a?b/c.ogg", "/m/%EpisodeFileName%", "/m/c.ogg"},
        {"T", "", "%EpisodeArtist%-%EpisodeTitle%-%FeedCategory%", "T-T-T"},
        {"T", "", "%EpisodePublishDate%", "2024.05.17 09-05"},
        {"T", "http://h/x.m4a", "%EpisodeTitle%%ExtractFileExt(%EpisodeFileName%)%", "T.m4a"},
        {"T", "", "100%/%Nothing%FeedTitle%/%feedtitle%", "100%/%NothingT/%feedtitle%"},
        {"", "", "%FeedCategory%\\%EpisodeTitle%x", "/x"},
        {"a\\b/c:d", "", "/m/%FeedTitle%/x", "/m/abcd/x"},
        {u"a\u0000b\u0007\u0085c"_s, "", "/m/%FeedTitle%", "/m/abc"},
        {"NUL", "", "/m/%FeedTitle%", "/m/_NUL"},
        {"%FeedTitle%", "", "/m/%EpisodeTitle%", "/m/%FeedTitle%"}};
    for (const auto& [text, audio, templateText, name] : cases) EXPECT_EQ(ExpandWith(text, audio, templateText), name);
}

TEST(FileNameTemplate, NeverLeavesItsFolderWhateverTheTitles) {
    QStringList titles = {"/etc/passwd", "C:\\x", u"..\u0001"_s, "．．/x"};
    const QStringList pieces = {".", "..", "/", "\\", " ", "x", u"\u0000"_s, "．", "NUL", "%FeedTitle%", QChar(0xD800)};
    std::mt19937 random(1);
    for (int i = 0; i < 1000; ++i) {
        titles += QString();
        for (auto left = random() % 8; left > 0; --left)
            titles.last() += pieces[static_cast<qsizetype>(random() % static_cast<std::size_t>(pieces.size()))];
    }
    const QString templates[] = {"/m/%FeedTitle%/%EpisodeTitle%.mp3", "/m/%FeedTitle%.%EpisodeTitle%.%FeedCategory%/x",
                                 "/m/%EpisodeFileName%/%FeedTitle%"};
    for (const QString& title : titles) {
        for (const QString& templateText : templates) {
            const QString name = ExpandWith(title, "http://h/" + title, templateText);
            EXPECT_TRUE(name.startsWith(u"/m/")) << name.toStdString();
            EXPECT_FALSE(name.split(u'/').contains("..")) << name.toStdString();
            EXPECT_FALSE(name.contains(QChar::Null));
            EXPECT_EQ(name.count(u'/'), templateText.count(u'/'));
        }
    }
}

TEST(FileNameTemplate, ShortensNamesToTheFileSystemsLimitAndKeepsTheExtension) {
    for (const QString& letter : QStringList{"a", "ж", "語", "\U0001F399"}) {
        const QString title = letter.repeated(1000);
        const QString name =
            ExpandWith(title, "http://h/" + title + u".flac", "%EpisodeTitle%%FeedTitle%/%EpisodeFileName%");
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
