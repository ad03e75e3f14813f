#include "ClientTests.h"

namespace podcasts {
namespace {

/// Feeds whose documents do not change. The tests change titles behind the engine's back, so that a merge shows.
class ClientUnchanged : public ClientTest {
protected:
    void SetUp() override {
        Subscribe("a", {{"1", "/1.mp3", "One"}, {"2", "/2.mp3", "Two"}});
        Whole = Document("a", {{"1", "/1.mp3", "One"}, {"2", "/2.mp3", "Two"}});
        Server.Serve("/a", Whole.WithETag("\"1\""));
    }
    /// Refreshes, and returns which requests were sent and what came of them.
    std::string RefreshAnd(const QString& path = "/a") {
        Rows("UPDATE PodcastEpisodes SET Title = 'changed' WHERE GUID = '1'");
        Server.Forget();
        Refresh(path);
        std::string said;
        for (const auto& request : Server.Requests()) {
            std::string conditions;
            for (const auto& [name, as] :
                 {std::pair("If-None-Match: ", "if not "), {"If-Modified-Since: ", "since "}}) {
                const qsizetype at = request.Head.indexOf(name);
                if (at < 0) continue;
                conditions += as + request.Head.sliced(at).split('\r').first().split(' ').last().toStdString() + ", ";
            }
            said += conditions.empty() ? "whole, " : conditions;
        }
        if (const auto error = LastRefresh().Error) return said + error.English().toStdString();
        return said + (Episode("/1.mp3").Fields[pefTitle] == "changed" ? "kept" : "merged");
    }

    Response Whole;
};

TEST_F(ClientUnchanged, IsRequestedWithItsValidatorsAndNeitherParsedNorMerged) {
    EXPECT_EQ(RefreshAnd(), "whole, merged") << "subscribing notes nothing";
    EXPECT_EQ(RefreshAnd(), "if not \"1\", kept");
    Server.Serve("/a", Whole);
    EXPECT_EQ(RefreshAnd(), "if not \"1\", kept") << "the same bytes, without validators";
    EXPECT_EQ(RefreshAnd(), "whole, kept");
    // Validators that change with every answer.
    for (const char* etag : {"\"2\"", "\"3\""}) {
        Server.Serve("/a", Whole.WithETag(etag));
        RefreshAnd();
    }
    EXPECT_EQ(RefreshAnd(), "if not \"3\", kept");
    Server.Serve("/a", Document("a", {{"1", "/1.mp3", "Uno"}}).WithETag("\"4\""));
    EXPECT_EQ(RefreshAnd(), "if not \"3\", merged");
    EXPECT_EQ(Episode("/1.mp3").Fields[pefTitle], "Uno");
}

TEST_F(ClientUnchanged, IsRequestedWithItsTimeOfChange) {
    const auto changed = [](const QByteArray& body, const QByteArray& time, const QByteArray& more = {}) {
        return Response::Of(body, "application/rss+xml", "200 OK", "Last-Modified: " + time + "\r\n" + more);
    };
    Server.Serve("/a", changed(Whole.Body, "Monday"));
    EXPECT_EQ(RefreshAnd(), "whole, merged");
    Server.Serve("/a", changed(Whole.Body, "Tuesday"));
    EXPECT_EQ(RefreshAnd(), "since Monday, kept") << "the same bytes, written again";
    Server.Serve("/a", Response::Of({}, {}, "304 Not Modified", "Last-Modified: Wednesday\r\n"));
    EXPECT_EQ(RefreshAnd(), "since Tuesday, kept");
    Server.Serve("/a", changed(Document("a", {{"1", "/1.mp3", "Uno"}}).Body, "Thursday", "ETag: \"1\"\r\n"));
    EXPECT_EQ(RefreshAnd(), "since Wednesday, merged");
    EXPECT_EQ(RefreshAnd(), "if not \"1\", since Thursday, kept");
}

TEST_F(ClientUnchanged, IsParsedAgainWhenAnythingElseHasWrittenItsRows) {
    const QString other =
        "INSERT INTO PodcastEpisodes (URI, FeedID, GUID, Title, URLAudio, State) VALUES ('x', 1, 'x', 'x', 'x', 1)";
    const std::tuple<const char*, std::function<void()>, const char*> cases[] = {
        // what, how, what is requested and what comes of it
        {"a mark", [&] { Client->UpdateState(Key("/2.mp3"), pesListened); }, "if not \"1\", kept"},
        {"a subscription", [&] { Client->Subscribe(*TPodcastClient::FetchFeed(Server.Url("/a"), {}, true)); },
         "whole, merged"},
        {"another program's row", [&] { Rows(other); }, "whole, merged"},
        {"a row that another program deleted", [&] { Rows("DELETE FROM PodcastEpisodes WHERE GUID = 'x'"); },
         "whole, merged"},
        {"a row that another program replaced", [&] { Rows("UPDATE PodcastEpisodes SET rowid = 77 WHERE GUID = '2'"); },
         "whole, merged"},
        {"older rules", [&] { Rows("UPDATE PodcastFeedDocuments SET Rules = Rules - 1"); }, "whole, merged"},
    };
    RefreshAnd();
    for (const auto& [what, change, expected] : cases) {
        change();
        EXPECT_EQ(RefreshAnd(), expected) << what;
        EXPECT_EQ(RefreshAnd(), "if not \"1\", kept") << "after " << what;
    }
    // An older version of the program changes the address without knowing about the table.
    Rows("UPDATE PodcastFeeds SET URLFeed = '" + Server.Url("/b") + "'");
    Server.Serve("/b", Whole.WithETag("\"1\""));
    EXPECT_EQ(RefreshAnd("/b"), "whole, merged") << "another address";
    Client->Unsubscribe(Server.Url("/b"), false);
    EXPECT_EQ(Client->DB().QueryInteger("SELECT Count(*) FROM PodcastFeedDocuments"), 0);
}

TEST_F(ClientUnchanged, IsNotAssumedOfAnotherDocument) {
    Server.Serve("/elsewhere", Whole.WithETag("\"1\""));
    Server.Serve("/a", Response::Redirect("/elsewhere"));
    EXPECT_EQ(RefreshAnd(), "whole, whole, merged");
    EXPECT_EQ(RefreshAnd(), "if not \"1\", if not \"1\", kept");
    // Now the redirecting address has a document of its own, with a validator of the same name.
    Server.Serve("/a", Document("a", {{"1", "/1.mp3", "Uno"}}).WithETag("\"1\""));
    EXPECT_EQ(RefreshAnd(), "if not \"1\", whole, merged");
    EXPECT_EQ(Episode("/1.mp3").Fields[pefTitle], "Uno");
    // A 304 for a request without validators.
    Rows("DELETE FROM PodcastFeedDocuments");
    Server.Serve("/a", Response::Failure("304 Not Modified"));
    EXPECT_EQ(RefreshAnd(), "whole, the server answered 304 Not Modified");
    EXPECT_EQ(EpisodeCount("/a"), 2);
}

TEST_F(ClientUnchanged, IsFollowedToItsNewAddressAsSoonAsThatIsReadable) {
    const QByteArray named =
        "<title>a</title><itunes:new-feed-url>" + Server.Url("/new").toUtf8() + "</itunes:new-feed-url>";
    QByteArray body = Whole.Body;
    body.replace("<title>a</title>", named);
    body.replace("<rss ", "<rss xmlns:itunes='http://www.itunes.com/dtds/podcast-1.0.dtd' ");
    Server.Serve("/a", Response::Of(body).WithETag("\"1\""));
    EXPECT_EQ(RefreshAnd(), "whole, whole, merged") << "the new address gives 404";
    EXPECT_EQ(RefreshAnd(), "if not \"1\", whole, whole, merged") << "and is tried again";
    Subscribe("new", {});
    EXPECT_EQ(RefreshAnd(), "if not \"1\", kept") << "another subscription has it";
    EXPECT_TRUE(LastRefresh().IsMoveRefused);
    Client->Unsubscribe(Server.Url("/new"), false);
    Server.Serve("/new", Whole);
    EXPECT_EQ(RefreshAnd(), "if not \"1\", whole, whole, merged");
    EXPECT_EQ(LastRefresh().MovedTo, Server.Url("/new"));
    EXPECT_TRUE(Client->IsSubscribed(Server.Url("/new")));
}

}  // namespace
}  // namespace podcasts
