// Servers that misbehave at every stage of an answer, met by a refresh and by a download.

#include "ClientTests.h"
#include "Podcasts.Core.Resuming.h"
#include "VEXA.Runtime.Http.h"

#include <QProcess>
#include <QScopeGuard>

#include <signal.h>
#include <sys/resource.h>

#include <array>

namespace podcasts {
namespace {

class ClientFaults : public ClientTest {
protected:
    ClientFaults() {
        Subscribe("a", {{"1", "/bad.mp3"}, {"2", "/good.mp3"}});
        Client->UpdateState(Key("/good.mp3"), pesPostponed);
        Server.Serve("/good.mp3", Response::Of("sound", "audio/mpeg"));
        Server.Serve("/round", Response::Redirect("/round"));
        SetDownloadPauseUnit(std::chrono::milliseconds(1));
    }
    ~ClientFaults() override {
        vexa::SetHttpTimeouts({});
        SetDownloadPauseUnit(std::chrono::seconds(1));
    }

    QString RefreshError(const Response& response) {
        Server.Serve("/a", response);
        Refresh("/a");
        const QString error = LastRefresh().Error.English();
        EXPECT_EQ(EpisodeCount("/a"), 2) << error.toStdString();
        EXPECT_EQ(Feed("/a").Fields[pffTitle], "a") << error.toStdString();
        EXPECT_EQ(Episode("/good.mp3").State, pesPostponed) << error.toStdString();
        return error;
    }
    QString DownloadError(const Response& response) {
        Server.Serve("/bad.mp3", response);
        Client->DB().SetCachedFile(Key("/good.mp3"), {});
        Download({Key("/good.mp3"), Key("/bad.mp3")});
        const QString error = LastDownload().Error.English();
        EXPECT_EQ(CachedFile("/bad.mp3"), "") << error.toStdString();
        EXPECT_EQ(QDir(AudioFile("a")).entryList(QDir::Files), QStringList("good.mp3")) << error.toStdString();
        EXPECT_EQ(ReadWhole(CachedFile("/good.mp3")), "sound") << "on the same thread, after " << error.toStdString();
        return error;
    }
    struct Row {
        const char* Name;
        Response Answer;
        const char* Message;
    };
    std::vector<Row> Misbehaviours() const;

    static Response Raw(const QByteArray& head, const QByteArray& body = {}, Fault what = Fault::Close,
                        int after = -2) {
        return Response{head, body}.With(what, after == -2 ? static_cast<int>(body.size()) : after);
    }
};

std::vector<ClientFaults::Row> ClientFaults::Misbehaviours() const {
    const QByteArray ok = "HTTP/1.1 200 OK\r\n", chunked = ok + "Transfer-Encoding: chunked\r\n\r\n",
                     body = Document("a", {{"3", "/3.mp3"}}).Body;
    const auto length = [&](const QByteArray& text) { return Raw(ok + "Content-Length: " + text + "\r\n\r\n", body); };
    return {
        {"silence", Response::Of(body).With(Fault::Wait), "in time"},
        {"silence in the head", Raw(ok + "Content-Le", {}, Fault::Wait), "in time"},
        {"half a status line", Raw("HTTP/1."), "without an answer"},
        {"half a head", Raw(ok + "Content-Le"), "before all headers"},
        {"another protocol", Raw("SSH-2.0-Server\r\n"), "not HTTP"},
        {"an empty body", Response::Of("", "audio/mpeg"), "empty"},
        {"nothing but zeros", Raw(QByteArray(5000, '\0')), "not HTTP"},
        {"length too large", length("100000"), "before the whole body"},
        {"length enormous", length("9223372036854775807"), "before the whole body"},
        {"length negative", length("-5"), "Content-Length"},
        {"length no number", length("many"), "Content-Length"},
        {"chunks cut", Raw(chunked, "5\r\nhello\r\n"), "before the whole body"},
        {"a chunk cut", Raw(chunked, "500\r\nhello"), "before the whole body"},
        {"a chunk of no size", Raw(chunked, "zz\r\nhello\r\n"), "hexadecimal"},
        {"a chunk beyond numbers", Raw(chunked, "fffffffffffffffffff\r\nhello"), "hexadecimal"},
        {"endless headers", Raw(ok, "X-Filler: of a header\r\n", Fault::Repeat, 0), "Too large response headers"},
        {"an endless header", Raw(ok, "X-Filler: of a header", Fault::Repeat, 0),
         "header of the server's answer is too long"},
        {"endless beginnings", Raw("", "HTTP/1.1 100 Continue\r\n\r\n", Fault::Repeat, 0), "headers"},
        {"an endless error page", Raw("HTTP/1.1 500 Oops\r\n\r\n", "<p>", Fault::Repeat, 0), "500 Oops"},
        {"an endless page with a redirect",
         Raw("HTTP/1.1 302 Found\r\nLocation: /missing\r\n\r\n", "<p>", Fault::Repeat, 0), "404 Not Found"},
        {"too many requests", Response::Failure("429 Too Many Requests", "Retry-After: 120\r\n"),
         "429 Too Many Requests; it asks to wait 120 seconds"},
        {"a part", Response::Of(body, "audio/mpeg", "206 Partial Content", "Content-Range: bytes 0-9/1000\r\n"),
         "206 Partial Content"},
        {"no content", Raw("HTTP/1.1 204 No Content\r\n\r\n"), "204 No Content"},
        {"nothing changed", Raw("HTTP/1.1 304 Not Modified\r\n\r\n"), "304 Not Modified"},
        {"redirect that goes round", Response::Redirect(Server.Url("/round").toUtf8()), "more than 10 times"},
        {"redirect to a file", Response::Redirect("file:///etc/passwd"), "not http or https"},
        {"redirect to another scheme", Response::Redirect("gopher://127.0.0.1/1"), "not http or https"},
        {"redirect without an address", Response::Redirect(""), "302 Found"},
        {"redirect to no host", Response::Redirect("http://"), "redirect target"},
        {"redirect to TLS where there is none", Response::Redirect(Server.Url("/x").replace("http", "https").toUtf8()),
         "SSL"},
        {"redirect with a password", Response::Redirect(Server.Url("/x").replace("//", "//me:secret@").toUtf8()),
         "404"},
        {"redirect to nobody", Response::Redirect("http://127.0.0.1:1/"), "could not be reached"},
    };
}

TEST_F(ClientFaults, EveryMisbehaviourOfAServerIsReportedAndLosesNothing) {
    for (const Row& row : Misbehaviours()) {
        // Short timeouts only where they are the point, so that slow machines do not fail elsewhere.
        const bool isWaiting = QByteArrayView(row.Message) == "in time";
        vexa::SetHttpTimeouts(isWaiting ? vexa::HttpTimeouts{.Stalled = std::chrono::seconds(2)}
                                        : vexa::HttpTimeouts());
        // The next test refreshes from all those servers, except from one that asks for time.
        QStringList errors{DownloadError(row.Answer)};
        if (row.Answer.Head.contains("Retry-After")) errors += RefreshError(row.Answer);
        for (const QString& error : errors) {
            EXPECT_TRUE(error.contains(row.Message) && !error.contains(u"secret"))
                << row.Name << ": " << error.toStdString();
        }
    }
}

TEST_F(ClientFaults, ManyMisbehavingServersAtOnceDelayNoOtherAndLoseNothing) {
    std::array<tests::LoopbackServer, 4> servers;  // three transfers each, twelve in all
    // Only the time for answers is short: a sanitizer's build takes seconds to load the certificates for a connection.
    vexa::SetHttpTimeouts({.Stalled = std::chrono::seconds(2)});
    std::vector<std::pair<QString, const Row*>> feeds;
    const std::vector<Row> rows = Misbehaviours();
    for (const Row& row : rows) {
        if (row.Answer.Head.contains("Retry-After")) continue;  // or the server's other feeds would not be fetched
        auto& server = servers[feeds.size() % servers.size()];
        const QString path = QString("/%1").arg(feeds.size());
        server.Serve(path, row.Answer);
        feeds.emplace_back(server.Url(path), &row);
        TPodcastFeed feed;
        feed.Fields[pffURLFeed] = server.Url(path);
        feed.NewEpisode().Fields[pefURLAudio] = server.Url(path + ".mp3");
        Client->DB().AddOrUpdate(feed);
    }
    Server.Serve("/a", Document("a", {{"1", "/bad.mp3"}, {"2", "/good.mp3"}, {"3", "/3.mp3"}}));
    Client->RefreshFeeds();
    ASSERT_TRUE(WaitForTasks());
    std::map<QString, QString> errors;
    for (const auto& outcome : Client->RefreshOutcomes().From()) errors[outcome.FeedURL] = outcome.Error.English();
    EXPECT_EQ(errors.size(), feeds.size() + 1);
    EXPECT_EQ(EpisodeCount("/a"), 3) << errors[Server.Url("/a")].toStdString();
    EXPECT_EQ(Episode("/good.mp3").State, pesPostponed);
    for (const auto& [feedURL, row] : feeds) {
        const QString& error = errors[feedURL];
        EXPECT_TRUE(error.contains(row->Message) && !error.contains(u"secret"))
            << row->Name << ": " << error.toStdString();
        EXPECT_EQ(Client->DB().GetEpisodeCount(Client->DB().GetFeedID(feedURL)), 1) << row->Name;
    }
}

TEST_F(ClientFaults, AnEndlessBodyIsLimitedInSizeAndTimeAndByTheDisk) {
    const Response endless = Raw("HTTP/1.1 200 OK\r\n\r\n", QByteArray(60'000, ' '), Fault::Repeat, 0);
    rusage before{}, after{};
    getrusage(RUSAGE_SELF, &before);
    EXPECT_EQ(RefreshError(endless), "the document is larger than 64 MiB");
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 300 * 1024) << "KiB";
    EXPECT_EQ(RefreshError(Response::Of("no gzip", "text/xml", "200 OK", "Content-Encoding: gzip\r\n")),
              "the compressed body is damaged");
    vexa::SetHttpTimeouts({.Document = std::chrono::seconds(1)});
    EXPECT_EQ(RefreshError(Response::Of(QByteArray(9999, ' ')).With(Fault::Drip, 0)),
              "the server did not answer in time");
    rlimit unlimited{};
    getrlimit(RLIMIT_FSIZE, &unlimited);
    const rlimit full{20'000'000, unlimited.rlim_max};  // no file grows beyond that, as on a full disk
    signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &full);
    const auto restore = qScopeGuard([&] { setrlimit(RLIMIT_FSIZE, &unlimited); });
    EXPECT_EQ(DownloadError(endless).left(22), "cannot write the file ");
}

TEST_F(ClientFaults, AnUntrustedCertificateIsRefused) {
    QProcess openssl;
    const QString key = Folder.File("key.pem"), certificate = Folder.File("certificate.pem");
    const auto run = [&](const QString& words) { openssl.start("openssl", words.split(' ')); };
    run("req -x509 -newkey rsa:2048 -nodes -subj /CN=127.0.0.1 -addext subjectAltName=IP:127.0.0.1 -keyout " + key +
        " -out " + certificate);
    if (!openssl.waitForFinished() || openssl.exitCode() != 0) GTEST_SKIP() << "openssl makes no certificate";
    run("s_server -accept 127.0.0.1:0 -www -key " + key + " -cert " + certificate);
    QString line;
    while (!line.startsWith(u"ACCEPT") && (openssl.canReadLine() || openssl.waitForReadyRead()))
        line = QString::fromUtf8(openssl.readLine()).trimmed();
    const Response moved = Response::Redirect("https://" + line.section(' ', 1).toUtf8() + "/");
    for (const QString& error : {RefreshError(moved), DownloadError(moved)})
        EXPECT_TRUE(error.startsWith(u"the server's certificate is not trusted: ")) << error.toStdString();
    openssl.kill();
    openssl.waitForFinished();
}

}  // namespace
}  // namespace podcasts
