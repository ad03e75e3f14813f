// Finding podcasts: directories on loopback that answer, refuse, lie and are silent.

#include "LoopbackServer.h"
#include "Podcasts.Core.DB.h"
#include "Podcasts.Find.h"
#include "TempFolder.h"
#include "Texts.h"
#include "Waiting.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>

using namespace Qt::StringLiterals;
using tests::Fault;
using tests::LoopbackServer;
using tests::Response;

namespace podcasts {
namespace {

constexpr std::size_t kStore = 0, kGpodder = 1, kIndex = 2;  // numbers of directories

QString Described(const TPodcastFindRow& row) {
    const QString date = row.Newest.isValid() ? row.Newest.toString(Qt::ISODate) : u"-"_s;
    const QString picture = row.Picture.isEmpty() ? u"-"_s : row.Picture, count = QString::number(row.EpisodeCount);
    return QStringList{row.Address, row.Title, row.Author, row.Description, picture, count, date}.join('|');
}

QString Read(std::size_t directory, const QByteArray& answer, const QString& type = {}) {
    QStringList rows;
    try {
        for (const auto& row : ReadPodcastAnswer(answer, type, PodcastDirectories()[directory].Form, 3))
            rows += Described(row);
    } catch (const vexa::ReasonError& error) {
        return QString::fromUtf8(error.what());
    }
    return rows.join('\n');
}

TEST(PodcastAnswers, AreReadAsEachDirectoryWritesThem) {
    EXPECT_EQ(Read(kStore, R"({"resultCount":2,"results":[{"collectionName":"No feed"},
        {"feedUrl":"http://h.org/f","collectionName":"A & B","artistName":"Ann","artworkUrl100":"https://i/1",
         "artworkUrl600":"http://i/6","trackCount":120,"releaseDate":"2026-11-20T05:00:00Z"}]})"),
              "http://h.org/f|A & B|Ann||https://i/1|120|2026-11-20T05:00:00Z");
    EXPECT_EQ(Read(kGpodder, R"([{"url":"https://h.org/g","title":"G","author":null,"subscribers":3,
        "description":"<p>One<br>two &amp; three<style>p","logo_url":"http://i/l","scaled_logo_url":"http://i/s"}])"),
              "https://h.org/g|G||One\ntwo & three|http://i/s|0|-");
    EXPECT_EQ(Read(kIndex, R"({"feeds":[{"url":"https://h.org/dead","title":"D","dead":1},
        {"url":"https://h.org/i","title":"","lastUpdateTime":1764000000,"episodeCount":7,"dead":0}]})"),
              "https://h.org/i|h.org/i|||-|7|2025-11-24T16:00:00Z");
}

TEST(PodcastAnswers, MayBeHostile) {
    const QString noList = "the answer is not a list of podcasts";
    const std::pair<QByteArray, QString> cases[] = {
        {"null", noList},
        {"", noList},
        {"{}", noList},
        {"[{\"url\":\"http://h/f\"}", noList},
        {QByteArray(100'000, '['), noList},
        {"<!DOCTYPE html><html><body>Log in", "the answer is a web page, not a list of podcasts"},
        {"[]", ""},
        {"[1, null, [[]], \"http://h/f\", {\"url\": {\"a\": 1}}, {\"url\": [\"http://h/f\"]}, {\"title\": \"T\"}]", ""},
        {R"([{"url":"file:///etc/passwd"},{"url":"http:///f"},{"url":"ftp://h/f"},{"url":"javascript:x"},
             {"url":"http://h/\r\nX: 1"},{"url":"//h/f"},
             {"url":"http://h/ok","title":7,"logo_url":"file:///dev/zero"}])",
         "http://h/ok|h/ok|||-|0|-"},
        {R"([{"url":"http://h/f","title":"\u001b[31mred\u202e\n<b>x</b>","description":"<script>a</script>\u0007b"}])",
         "http://h/f|[31mred <b>x</b>||b|-|0|-"},
    };
    for (const auto& [answer, read] : cases) EXPECT_EQ(Read(kGpodder, answer), read) << answer.left(80).constData();
    EXPECT_EQ(Read(kStore, "[]"), noList);

    const QByteArray longest(1'000'000, 'x');
    const auto rows =
        ReadPodcastAnswer("[{\"url\":\"http://h/f\",\"title\":\"" + longest + "\",\"description\":\"" +
                              QByteArray("<a ").repeated(300'000) + "\"},{\"url\":\"http://h/" + longest + "\"}]",
                          {}, PodcastDirectories()[kGpodder].Form, 9);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].Title.size(), 300);
    EXPECT_LE(rows[0].Description.size(), 3000);
    EXPECT_EQ(Read(kGpodder, "[" + QByteArray("{\"url\":\"http://h/f\"},").repeated(99) + "1]").count('\n'), 2);
}

TEST(FeedIdentities, AreThoseOfOneFeedHoweverItsAddressIsWritten) {
    for (const char* same : {"http://h.org/f", "https://h.org/f/", "HTTPS://WWW.H.org/f//", "https://a:b@h.org/f#x"})
        EXPECT_EQ(FeedIdentity(same), "h.org/f") << same;
    for (const char* other : {"http://h.org/F", "http://h.org/f?a=1", "http://h.org:81/f", "http://x.h.org/f"})
        EXPECT_NE(FeedIdentity(other), "h.org/f") << other;
}

class Finding : public testing::Test {
protected:
    Finding() {
        for (std::size_t i = 0; i < kPodcastDirectoryCount; ++i)
            Options.Directories[i].Base = Server.Url("/" + QString(QLatin1String(PodcastDirectories()[i].ID)));
        Options.Country = "de";
    }
    static Response Json(const QByteArray& json) { return Response::Of(json, "application/json"); }
    static Response Listing(const QStringList& addresses) {
        QStringList rows;
        for (const QString& address : addresses) rows += u"{\"url\":\""_s + address + u"\",\"title\":\"G\"}";
        return Json("[" + rows.join(',').toUtf8() + "]");
    }
    void UseKey() {
        Options.Key = " key\r\n";
        Options.Secret = "secret";
    }
    /// Searches, and returns "directory: error" for each that failed.
    QStringList Search(const QString& words = "a b+c/&") {
        QStringList failed;
        bool isCompleted = false;
        const auto note = [&](const TPodcastDirectoryOutcome& outcome) {
            if (outcome.RestsUntil.isValid()) Rests[outcome.Directory] = outcome.RestsUntil;
            const QLatin1String directory(PodcastDirectories()[outcome.Directory].ID);
            if (outcome.Error) failed += directory + u": "_s + outcome.Error.English();
        };
        Finder.Find(words, 20, Options, {.Found = {}, .DirectoryDone = note, .Completed = [&] { isCompleted = true; }});
        EXPECT_TRUE(tests::WaitUntil([&] { return isCompleted; }));
        failed.sort();
        return failed;
    }
    QString Header(const tests::Request& request, const QByteArray& name) const {
        const QByteArray line = "\r\n" + name.toLower() + ": ";
        const auto from = request.Head.toLower().indexOf(line);
        return from < 0 ? QString() : request.Head.mid(from + name.size() + 4).split('\r')[0];
    }

    const QString kStorePath = "/itunes/search?media=podcast&term=a%20b%2Bc%2F%26&limit=20&country=DE";
    const QString kGpodderPath = "/gpodder/search.json?q=a%20b%2Bc%2F%26&scale_logo=256";
    const QString kIndexPath = "/podcastindex/api/1.0/search/byterm?q=a%20b%2Bc%2F%26&max=20";
    tests::TempFolder Folder;
    LoopbackServer Server;
    TPodcastsDB DB{Folder.File("Podcasts.db")};
    QDateTime Now = QDateTime::fromString("2026-11-26T12:00:00Z", Qt::ISODate);
    TPodcastFinder Finder{[this] {
                              QStringList addresses;
                              DB.EnumFeedAddresses([&](const QString& address) { addresses += address; });
                              return addresses;
                          },
                          [this] { return Now; }};
    TPodcastFindOptions Options;
    std::map<std::size_t, QDateTime> Rests;
};

TEST_F(Finding, UnitesWhatTheDirectoriesKnowOfOneFeedAndKnowsSubscriptions) {
    UseKey();
    TPodcastFeed feed;
    feed.Fields[pffURLFeed] = "https://h.org/old";
    DB.AddOrUpdate(feed);
    ASSERT_TRUE(DB.ChangeFeedURL("https://h.org/old", "https://h.org/present/"));
    Server.Serve(kStorePath, Json(R"({"results":[{"feedUrl":"https://h.org/a","collectionName":"A","trackCount":3},
        {"feedUrl":"http://www.h.org/present","collectionName":"P"}]})"));
    Server.Serve(kGpodderPath,
                 Listing({"http://h.org/g", "http://h.org/old/", "http://h.org/g/"}).With(Fault::Wait, 0));
    const Response other =
        Json(R"({"feeds":[{"url":"http://h.org/a/","title":"Other","author":"Ann","episodeCount":2}]})");
    Server.Serve(kIndexPath, other.With(Fault::Wait, 0));
    QStringList told;
    int done = 0;
    Finder.Find("a b+c/&", 20, Options,
                {.Found = [&](std::size_t row) { told += QString::number(row); },
                 .DirectoryDone = [&](auto&) { ++done; },
                 .Completed = {}});
    ASSERT_TRUE(tests::WaitUntil([&] { return done == 1; })) << "the store's podcasts do not wait for the others";
    EXPECT_EQ(told.join(' '), "0 1");
    Server.Release(kIndexPath);
    ASSERT_TRUE(tests::WaitUntil([&] { return done == 2; }));
    EXPECT_EQ(told.join(' '), "0 1 0");
    Server.Release(kGpodderPath);
    ASSERT_TRUE(tests::WaitUntil([&] { return !Finder.IsRunning(); }));
    QStringList rows;
    for (const auto& row : Finder.Rows())
        rows += Described(row) + u" "_s + QString::number(row.Directories) + (row.IsSubscribed ? u"*"_s : QString());
    EXPECT_EQ(rows, QStringList({"https://h.org/a|A|Ann||-|3|- 5", "http://www.h.org/present|P|||-|0|- 1*",
                                 "http://h.org/g|G|||-|0|- 2", "http://h.org/old/|G|||-|0|- 2*"}));
    EXPECT_EQ(Finder.RankedRows()[1].Address, "http://h.org/g") << "first what each directory names first";
}

TEST_F(Finding, NamesADirectoryThatFailsAndShowsWhatTheOthersKnow) {
    const std::pair<Response, QString> cases[] = {
        {Response::Failure("500 Oops"), "itunes: the server answered 500 Oops"},
        {Response::Of("<main>Log in to the hotel", "text/html"),
         "itunes: the answer is a web page, not a list of podcasts"},
        {Response::Redirect("/hotel"), "itunes: the answer is a web page, not a list of podcasts"},
        {Json("[" + QByteArray("1,").repeated(5'000'000)), "itunes: the document is larger than 4 MiB"},
    };
    Server.Serve("/hotel", Response::Of("<!doctype html>Hello", "text/html"));
    Server.Serve(kGpodderPath, Listing({"http://h.org/g"}));
    for (const auto& [answer, error] : cases) {
        Server.Serve(kStorePath, answer);
        EXPECT_EQ(Search().join('\n'), error);
        EXPECT_EQ(Finder.Rows().size(), 1u);
    }
    EXPECT_EQ(Server.Count(kIndexPath), 0) << "without a key nobody is asked in the user's name";
}

TEST_F(Finding, LeavesADirectoryAloneThatHasRefused) {
    Server.Serve(kStorePath, Response::Failure("403 Forbidden"));
    Server.Serve(kGpodderPath, Response::Failure("429 Slow", "Retry-After: 7200\r\n"));
    EXPECT_EQ(Search().size(), 2);
    EXPECT_EQ(Rests[kGpodder], Now.addSecs(7200)) << "longer than an hour, because it says so";
    Server.Serve(kGpodderPath, Listing({}));
    const QString until = Now.addSecs(3600).toLocalTime().toString("HH:mm");
    EXPECT_EQ(Search().join('\n'), "itunes: the server answered 403 Forbidden; it is not asked again before " + until);
    EXPECT_EQ(Rests[kStore], Now.addSecs(3600));

    Server.Serve(kStorePath, Json("{\"results\":[]}"));
    Options.Directories[kStore].RestsUntil = Rests[kStore];
    Server.Forget();
    const QString resting = "itunes: it has refused to answer, and is not asked again before " + until;
    EXPECT_EQ(Search().join('\n'), resting);
    EXPECT_EQ(Server.Count(kStorePath), 0);
    Now = Now.addSecs(3600);
    EXPECT_EQ(Search(), QStringList());
    Now = Now.addDays(-2);
    EXPECT_EQ(Search(), QStringList()) << "a clock that was set back does not silence it for days";
}

TEST_F(Finding, ProvesItsKeyAgainWithTheServersClock) {
    UseKey();
    Options.Directories[kStore].IsAsked = Options.Directories[kGpodder].IsAsked = false;
    const Response refused = Response::Failure("401 Unauthorized", "Date: Thu, 26 Nov 2026 12:10:00 GMT\r\n");
    Server.ServeInTurn(kIndexPath, {refused, Json("{\"feeds\":[{\"url\":\"http://h.org/i\"}]}"), refused});
    EXPECT_EQ(Search(), QStringList());
    EXPECT_EQ(Finder.Rows().size(), 1u);
    const auto requests = Server.Requests();
    ASSERT_EQ(requests.size(), 2u);
    // printf keysecret1795694400 | sha1sum, and the same ten minutes later
    EXPECT_EQ(Header(requests[0], "X-Auth-Key"), "key");
    EXPECT_EQ(Header(requests[0], "X-Auth-Date"), "1795694400");
    EXPECT_EQ(Header(requests[0], "Authorization"), "6bcf1115e1e0caa10e8d314baaf1d3dc0d66d616");
    EXPECT_EQ(Header(requests[1], "X-Auth-Date"), "1795695000");
    EXPECT_EQ(Header(requests[1], "Authorization"), "a0212907f7bfd5d4e31095459ba53ba311850c4a");
    Server.Forget();
    EXPECT_EQ(Search().join('\n'), "podcastindex: the server answered 401 Unauthorized");
    EXPECT_EQ(Server.Requests().size(), 2u) << "once only";
    Now = Now.addSecs(600);
    for (const Response& wrongKey : {refused, Response::Failure("401 Unauthorized")}) {
        Server.Serve(kIndexPath, wrongKey);
        Server.Forget();
        EXPECT_EQ(Search().size(), 1);
        EXPECT_EQ(Server.Requests().size(), 1u) << "the clock is right, or not known";
    }

    LoopbackServer other;
    other.Serve("/", Json("{\"feeds\":[]}"));
    Server.Serve(kIndexPath, Response::Redirect(other.Url("/").toUtf8()));
    EXPECT_EQ(Search(), QStringList());
    EXPECT_EQ(Header(other.Requests().at(0), "X-Auth-Key"), "") << "another server does not get the key";
}

TEST_F(Finding, WithoutWordsGivesThePopularOnesOfThoseWhoTellThem) {
    Server.Serve("/gpodder/toplist/20.json?scale_logo=256", Listing({"http://h.org/1", "http://h.org/2"}));
    EXPECT_EQ(Search(" \n"), QStringList());
    EXPECT_EQ(Finder.Rows().size(), 2u);
    EXPECT_EQ(Server.Requests().size(), 1u);
    Options.Directories[kGpodder].IsAsked = false;
    EXPECT_THROW(Search(""), vexa::ReasonError);
    Options.Directories[kStore].IsAsked = false;
    EXPECT_THROW(Search("words"), vexa::ReasonError);
}

TEST_F(Finding, EndsAtOnceWhenItIsCancelledWhateverTheServersDo) {
    for (const QString& path : {kStorePath, kGpodderPath}) Server.Serve(path, Listing({}).With(Fault::Wait, -1));
    auto finder = std::make_unique<TPodcastFinder>([] { return QStringList(); });
    bool isTold = false;
    const TPodcastFinder::Events events{.Found = {}, .DirectoryDone = [&](auto&) { isTold = true; }, .Completed = {}};
    finder->Find("a b+c/&", 20, Options, events);
    ASSERT_TRUE(tests::WaitUntil([&] { return Server.Requests().size() == 2; }));
    Server.Serve(kGpodderPath, Listing({"http://h.org/1", "http://h.org/2"}));
    // The next search replaces it, and its first podcast ends the finder.
    int found = 0;
    finder->Find("a b+c/&", 20, Options,
                 {.Found = [&](std::size_t) { ++found, finder.reset(); }, .DirectoryDone = {}, .Completed = {}});
    ASSERT_TRUE(tests::WaitUntil([&] { return !finder; }));
    QCoreApplication::processEvents();
    EXPECT_EQ(found, 1);
    EXPECT_FALSE(isTold);
}

}  // namespace
}  // namespace podcasts
