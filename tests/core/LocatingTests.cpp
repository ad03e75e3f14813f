// Finding a feed from what users enter, and following moved feeds.

#include "ClientTests.h"
#include "Podcasts.Core.OPML.h"
#include "Podcasts.Core.Subscribing.h"

#include <QUrl>

namespace podcasts {
namespace {

using Result = TPodcastSubscription::Result;

TEST(FeedLocations, AreMadeOfAddressesAsUsersWriteThem) {
    tests::TempFolder folder;
    const QString file = folder.File("my feed.xml"), list = folder.File("list.opml");
    WriteWhole(file, "<rss/>");
    WriteWhole(list, "<opml/>");
    const QString both = "https://h.org/f|http://h.org/f";
    std::vector<std::pair<QString, QString>> cases = {
        {" \n https://h.org/f \r\n", "https://h.org/f"},
        {"HTTPS://H.org/F", "https://H.org/F"},
        {"http://h.org/a b", "http://h.org/a b"},
        {"feed:https://h.org/f", "https://h.org/f"},
        {"FEED:http://h.org/f", "http://h.org/f"},
        {"feed://https://h.org/f", "https://h.org/f"},
        {"feed://localhost/f", "https://localhost/f|http://localhost/f"},
        {"127.0.0.1:80/f", "https://127.0.0.1:80/f|http://127.0.0.1:80/f"},
        {file, file},
        {" " + file + "\n", file},
        {QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded), file},
    };
    for (const char* text :
         {"feed://h.org/f", "feed:h.org/f", "Itpc://h.org/f", "pcast://h.org/f", "podcast://h.org/f", "h.org/f"})
        cases.emplace_back(text, both);
    for (const QString& text : {list, folder.File("none.xml"), u"none.xml"_s, u"file:///none.xml"_s, u"feed:"_s,
                                u"feed:ftp://h.org/f"_s, u"ftp://h.org/f"_s, u"feedback"_s, u"see h.org"_s, QString()})
        cases.emplace_back(text, "");
    for (const auto& [text, locations] : cases) {
        EXPECT_EQ(FeedLocationsOf(text).join('|'), locations) << text.toStdString();
        EXPECT_EQ(IsFeedLocation(text), !locations.isEmpty()) << text.toStdString();
    }
    for (const char* text : {"https://h.org/f", "FEED://h.org/f", "itpc://h.org/f"})
        EXPECT_TRUE(IsWholeFeedAddress(text)) << text;
    for (const QString& text : {QString("h.org/f"), file, QString("https://h.org/f it is"),
                                QString("http://h.org/\nDear"), QString("feed:ftp://h.org"), QString()})
        EXPECT_FALSE(IsWholeFeedAddress(text)) << text.toStdString();
}

class Subscribing : public ClientTest {
protected:
    static Response Page(const QByteArray& links) { return Response::Of("<!doctype html><head>" + links, "text/html"); }
    static QByteArray Link(const QByteArray& address) {
        return "<link rel=alternate type='application/rss+xml' href='" + address + "'>";
    }
    std::vector<TPodcastSubscription> ToEach(const QStringList& texts) {
        std::vector<TPodcastSubscription> results;
        const auto note = [&](const TPodcastSubscription& result) { results.push_back(result); };
        SubscribeByAddress(
            *Client, texts, 0, [] { return false; }, note);
        return results;
    }
    TPodcastSubscription To(const QString& text) { return ToEach({text}).at(0); }
    TPodcastSubscription ToPath(const QString& path) { return To(Server.Url(path)); }
};

TEST_F(Subscribing, FollowsAPageToItsFeed) {
    Server.Serve("/f", Document("Show", {{"1", "/1.mp3"}}));
    Server.Serve("/site/", Page("<base href='/'>" + Link("f")));
    Server.Serve("/moved", Response::Redirect("/site/", "301 Moved Permanently"));
    Server.Serve("/none", Page("<p>Not found"));
    Server.Serve("/xhtml", Response::Of("<?xml version='1.0'?><html xmlns='http://www.w3.org/1999/xhtml'/>"));
    Server.Serve("/dead", Page(Link("/gone")));
    Server.Serve("/capitals", Response::Of("<HTML><HEAD><LINK REL='alternate' TYPE='application/rss+xml' HREF='/gone'/>"
                                           "</HEAD></HTML>"));
    Server.Serve("/pages", Page(Link("/none")));
    const auto found = ToPath("/moved");
    EXPECT_EQ(found.What, Result::Subscribed) << found.Error.English().toStdString();
    EXPECT_EQ(found.Location, Server.Url("/f"));
    EXPECT_EQ(found.EpisodeCount, 1);
    EXPECT_TRUE(Client->IsSubscribed(Server.Url("/f")));
    Server.Forget();
    EXPECT_EQ(ToPath("/site/").What, Result::AlreadySubscribed) << "asked again with the address found";
    EXPECT_EQ(Server.Paths(), QStringList("/site/"));
    const std::pair<const char*, QString> failures[] = {
        {"/none", "HTML page"},
        {"/xhtml", "HTML page"},
        {"/capitals", Server.Url("/gone") + ", but the server answered 404"},
        {"/dead", Server.Url("/gone") + ", but the server answered 404"},
        {"/pages", Server.Url("/none") + ", but the document is an HTML page"},
    };
    for (const auto& [path, error] : failures) {
        const auto failed = ToPath(path);
        EXPECT_EQ(failed.What, Result::Failed);
        EXPECT_TRUE(failed.Error.English().contains(error)) << failed.Error.English().toStdString();
        EXPECT_EQ(failed.Location, Server.Url(path));
    }
}

TEST_F(Subscribing, TriesPlainHttpIfTheAddressHasNoScheme) {
    Server.Serve("/f", Document("Show", {}));
    Server.Serve("/page", Page(Link("/f")));
    const QString bare = Server.Url("").sliced(7);
    const auto missing = To(bare + "/none");
    EXPECT_EQ(missing.Error.English(), "the server answered 404 Not Found") << "not that there is no https";
    EXPECT_EQ(missing.Location, bare + "/none");
    EXPECT_EQ(To("feed://" + bare + "/page").Location, Server.Url("/f"));
    EXPECT_EQ(To(bare + "/f").What, Result::AlreadySubscribed);
    Client->Unsubscribe(Server.Url("/f"), false);
    EXPECT_EQ(To(bare + "/f").Location, Server.Url("/f"));
    EXPECT_TRUE(To("nowhere").Error.English().startsWith("this is neither"));
}

TEST_F(Subscribing, ReportsEachTextOfAListEvenIfSeveralNameOneDocument) {
    const QString dead = Server.Url("/dead");
    Server.Serve("/f", Document("Show", {}));
    QStringList told;
    for (const auto& one : ToEach({dead, dead + " ", dead, Server.Url("/f"), " " + dead}))
        told += one.Location.section('/', 3) + ": " + one.Error.English();
    const QString missing = "dead: the server answered 404 Not Found";
    EXPECT_EQ(told.join('|'), QStringList({missing, missing, missing, "f: ", missing}).join('|'));
}

TEST_F(Subscribing, StoresTheAddressThatTheFeedHasMovedTo) {
    Server.Serve("/old", Response::Redirect("/folder/new", "301 Moved Permanently"));
    Server.Serve("/folder/new", Response::Of("<rss version='2.0'><channel><item><enclosure url='1.mp3'/></item>"
                                             "</channel></rss>"));
    EXPECT_EQ(ToPath("/old").Location, Server.Url("/folder/new"));
    EXPECT_FALSE(Client->IsSubscribed(Server.Url("/old")));
    EXPECT_EQ(ToPath("/old").What, Result::AlreadySubscribed);
    EXPECT_TRUE(Client->DB().GetEpisode(Key("/folder/1.mp3")))
        << "relative addresses are resolved against the new address";
}

TEST_F(Subscribing, ReadsLocalFilesUnderTheirAbsoluteNames) {
    const QString file = Folder.File("Feed.XML"), unreadable = Folder.File("unreadable.xml"),
                  large = Folder.File("large.xml"), larger = Folder.File("larger.xml");
    WriteWhole(file, "<rss version='2.0'><channel><title>T</title><item/></channel></rss>");
    EXPECT_EQ(NormalizedFeedLocation(" " + Folder.Path() + u"/./Feed.XML "), file);
    EXPECT_EQ(NormalizedFeedLocation(" http://h/feed.xml\n"), "http://h/feed.xml");
    // It opens, and then fails as on a damaged disk.
    ASSERT_TRUE(QFile::link("/proc/self/mem", unreadable));
    for (const auto& [name, size] : {std::pair(large, 64 << 20), {larger, (64 << 20) + 1}}) {
        WriteWhole(name, {});
        ASSERT_TRUE(QFile::resize(name, size));
    }
    QStringList results, errors;
    for (const auto& one : ToEach({file, file, Folder.File("none.xml"), "ftp://h/feed", unreadable, large, larger})) {
        results += u"%1 %2 %3"_s.arg(static_cast<int>(one.What)).arg(one.FeedTitle).arg(one.EpisodeCount);
        errors += one.Error.English();
    }
    EXPECT_EQ(results.join('|'), "0 T 1|1 T 0|2  0|2  0|2  0|2  0|2  0");
    EXPECT_TRUE(errors[4].contains("the file cannot be read: ")) << errors[4].toStdString();
    EXPECT_NE(errors[5], errors[6]);
    EXPECT_EQ(errors[6], "the document is larger than 64 MiB");
    EXPECT_EQ(ReadOpml(ExportOpml(*Client)).at(0).FeedURL, file);
}

class Moving : public ClientTest {
protected:
    Response Feed(const QString& title, const QString& newPath) {
        Response response = Document(title, {{"1", "/1.mp3"}});
        const QString address = newPath.startsWith('/') ? Server.Url(newPath) : newPath;
        response.Body.replace("</title><item>",
                              ("</title><itunes:new-feed-url> " + address + " </itunes:new-feed-url><item>").toUtf8());
        return Response::Of(response.Body);
    }
    static Response Away(const QByteArray& to) { return Response::Redirect(to); }
    static Response Gone(const QByteArray& to) { return Response::Redirect(to, "301 Moved Permanently"); }
    TPodcastRefreshOutcome Outcome(const QString& path) {
        Refresh(path);
        return LastRefresh();
    }
};

TEST_F(Moving, GivesTheFeedItsNewAddressAndKeepsEverythingElse) {
    using Served = std::vector<std::pair<QString, Response>>;
    const std::tuple<const char*, Served, const char*, const char*> cases[] = {
        // what, what is served, where the feed is afterwards if elsewhere, its title
        {"a permanent redirect", {{"/a", Gone("/b")}, {"/b", Document("B", {{"1", "/1.mp3"}})}}, "/b", "B"},
        {"one that goes on for now", {{"/a", Gone("/b")}, {"/b", Away("/c")}, {"/c", Feed("C", "")}}, "/b", "C"},
        {"a redirect for now", {{"/a", Away("/b")}, {"/b", Feed("B", "")}}, "", "B"},
        {"for now, then for good", {{"/a", Away("/b")}, {"/b", Gone("/c")}, {"/c", Feed("C", "")}}, "", "C"},
        {"the document's word", {{"/a", Feed("A", "/b")}, {"/b", Feed("B", "/b")}}, "/b", "B"},
        {"a chain of words", {{"/a", Feed("A", "/b")}, {"/b", Feed("B", "/c")}, {"/c", Feed("C", "")}}, "/c", "C"},
        {"a word, then a redirect", {{"/a", Feed("A", "/b")}, {"/b", Gone("/c")}, {"/c", Feed("C", "/c")}}, "/c", "C"},
        {"a redirect, then a word", {{"/a", Gone("/b")}, {"/b", Feed("B", "/c")}, {"/c", Feed("C", "")}}, "/c", "C"},
        {"a word for where one for now leads", {{"/a", Away("/b")}, {"/b", Feed("B", "/b")}}, "/b", "B"},
        {"its own address", {{"/a", Feed("A", "/a")}}, "", "A"},
        {"a page", {{"/a", Feed("A", "/b")}, {"/b", Response::Of("<html>soon", "text/html")}}, "", "A"},
        {"a chain whose end gives no feed", {{"/a", Feed("A", "/b")}, {"/b", Feed("B", "/none")}}, "/b", "B"},
        {"round", {{"/a", Feed("A", "/b")}, {"/b", Feed("B", "/a")}}, "", "A"},
        {"round by a third", {{"/a", Feed("A", "/b")}, {"/b", Feed("B", "/c")}, {"/c", Feed("C", "/b")}}, "", "A"},
        {"round by a redirect", {{"/a", Feed("A", "/b")}, {"/b", Gone("/a")}}, "", "A"},
        {"the address that redirects here", {{"/a", Gone("/b")}, {"/b", Feed("B", "/a")}}, "/b", "B"},
        {"a relative address", {{"/a", Feed("A", "b")}, {"/b", Feed("B", "")}}, "", "A"},
        {"a file", {{"/a", Feed("A", "file:///etc/a.xml")}}, "", "A"},
    };
    for (const auto& [name, served, to, title] : cases) {
        SCOPED_TRACE(name);
        Subscribe("a", {{"1", "/1.mp3"}, {"2", "/2.mp3"}});
        const int id = Client->DB().GetFeedID(Server.Url("/a"));
        Client->UpdateState(Key("/1.mp3"), pesPostponed);
        Client->DB().SetCachedFile(Key("/2.mp3"), "/somewhere/2.mp3");
        for (const char* path : {"/b", "/c"}) Server.Serve(path, Response::Failure("404 Not Found"));
        for (const auto& [path, response] : served) Server.Serve(path, response);
        const QString there = *to ? to : "/a";
        const auto outcome = Outcome("/a");
        EXPECT_EQ(outcome.Error.English(), "");
        EXPECT_EQ(outcome.FeedURL, Server.Url("/a"));
        EXPECT_EQ(outcome.MovedTo, *to ? Server.Url(to) : QString());
        EXPECT_FALSE(outcome.IsMoveRefused);
        EXPECT_EQ(outcome.NewEpisodes, QStringList());
        const auto feed = Client->DB().GetFeed(Server.Url(there), false);
        ASSERT_TRUE(feed) << "at " << there.toStdString();
        EXPECT_EQ(feed->ID, id);
        EXPECT_EQ(feed->Fields[pffTitle], title);
        EXPECT_EQ(EpisodeCount(there), 2);
        EXPECT_EQ(Episode("/1.mp3").State, pesPostponed);
        EXPECT_EQ(CachedFile("/2.mp3"), "/somewhere/2.mp3");
        EXPECT_EQ(Outcome(there).MovedTo, "") << "it has not moved on from there";
        Client->Unsubscribe(Server.Url(there), false);
    }
}

TEST_F(Moving, ChangesTheNamesThatContainTheFeedsAddress) {
    Subscribe("a", {{"1", "/time/1.mp3"}});
    const auto name = [&](const QString& path) -> QString { return MakeURI(Server.Url(path)) + "-/1"; };
    Client->UpdateState(name("/a"), pesPostponed);
    Server.Serve("/a", Gone("/b"));
    Server.Serve("/b", Document("B", {{"1", "/time/1.mp3"}}));
    EXPECT_EQ(Outcome("/a").NewEpisodes, QStringList());
    const auto episode = Client->DB().GetEpisode(name("/b"));
    ASSERT_TRUE(episode);
    EXPECT_EQ(episode->State, pesPostponed);
    EXPECT_EQ(EpisodeCount("/b"), 1) << "the row itself has the new name";
    EXPECT_TRUE(Client->DB().GetEpisode(name("/a"))) << "the older name still leads to it";
}

TEST_F(Moving, ChangesNeitherFeedWhenTheNewAddressIsSubscribedToo) {
    for (const bool byRedirect : {true, false}) {
        SCOPED_TRACE(byRedirect);
        Subscribe("a", {{"1", "/1.mp3"}});
        Subscribe("b", {{"2", "/2.mp3"}});
        Server.Serve("/a", byRedirect ? Gone("/b") : Feed("A", "/b"));
        const auto outcome = Outcome("/a");
        EXPECT_EQ(Server.Count("/b"), byRedirect ? 1 : 0) << "there is nothing to read there";
        EXPECT_EQ(outcome.Error.English(), "");
        EXPECT_EQ(outcome.MovedTo, Server.Url("/b"));
        EXPECT_TRUE(outcome.IsMoveRefused);
        EXPECT_EQ(Client->DB().GetFeed(Server.Url("/b"), false)->Fields[pffTitle], "b");
        for (const char* path : {"/a", "/b"}) {
            EXPECT_TRUE(Client->IsSubscribed(Server.Url(path)));
            Client->Unsubscribe(Server.Url(path), false);
        }
    }
}

TEST_F(Moving, EndsAChainThatGoesOnForEver) {
    Subscribe("a", {{"1", "/1.mp3"}});
    Server.Serve("/a", Feed("A", "/0"));
    for (int i = 0; i < 100; ++i) Server.Serve(QString("/%1").arg(i), Feed("N", QString("/%1").arg(i + 1)));
    Server.Forget();
    const auto outcome = Outcome("/a");
    EXPECT_LE(Server.Paths().size(), 10);
    EXPECT_TRUE(Client->IsSubscribed(outcome.MovedTo)) << "as far as the chain was followed";
}

TEST_F(Moving, KeepsTheUserNameOfAnAddressOnItsHostAndSendsItWithTheAudio) {
    tests::LoopbackServer elsewhere;
    const auto secret = [](QString address) { return address.replace("://", "://ann:secret@"); };
    elsewhere.Serve("/2.mp3", Response::Of("audio", "audio/mpeg"));
    ServeAudio({"/1.mp3"});
    Server.Serve("/a", Gone("/b"));
    Response feed = Document("B", {{"1", "/1.mp3"}, {"2", "/2.mp3"}});
    feed.Body.replace(Server.Url("/2.mp3").toUtf8(), elsewhere.Url("/2.mp3").toUtf8());
    Server.Serve("/b", Response::Of(feed.Body));
    SubscribeByAddress(
        *Client, {secret(Server.Url("/a"))}, 0, [] { return false; }, [](auto&) {});
    ASSERT_TRUE(Client->IsSubscribed(secret(Server.Url("/b"))));
    Download({Key("/1.mp3"), MakeURI(elsewhere.Url("/2.mp3"))});
    EXPECT_EQ(Server.Count("/1.mp3"), 1);
    for (const auto& request : Server.Requests())
        EXPECT_TRUE(request.Head.contains("\r\nAuthorization: Basic YW5uOnNlY3JldA==\r\n"))
            << request.Path.toStdString();
    ASSERT_EQ(elsewhere.Count("/2.mp3"), 1);
    EXPECT_FALSE(elsewhere.Requests()[0].Head.contains("Authorization"));
}

}  // namespace
}  // namespace podcasts
