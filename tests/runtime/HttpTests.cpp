#include "LoopbackServer.h"
#include "Texts.h"
#include "VEXA.Runtime.Http.h"
#include "VEXA.Runtime.Version.h"

#include <gtest/gtest.h>
#include <signal.h>

namespace vexa {
namespace {

using tests::Fault;
using tests::Response;
using Kind = HttpErrorInfo::Kind;

class Http : public testing::Test {
protected:
    HttpGet Request(const QString& path = "/") const {
        HttpGet request;
        request.Url = Server.Url(path);
        return request;
    }
    HttpErrorInfo Get(const QString& url, const CancelCheck& isCancelled = {}) {
        HttpGet request;
        request.Url = url;
        Body.clear();
        request.OnData = [&](const char* data, std::size_t size) {
            Body.append(data, static_cast<qsizetype>(size));
            return true;
        };
        return request.Run(isCancelled);
    }

    tests::LoopbackServer Server;
    QByteArray Body;
};

TEST_F(Http, AFailureIsReportedWithKindStatusAndMessage) {
    const std::tuple<Response, Kind, int, const char*> rows[] = {
        // answer, kind, status, part of the message
        {Response::Failure("404 NOT-FOUND"), Kind::Status, 404, "404 Not Found"},
        {Response::Failure("500 Out of tea"), Kind::Status, 500, "500 Out of tea"},
        {Response::Failure("503 "), Kind::Status, 503, "503 Service Unavailable"},
        {Response::Failure("404 Not Found").With(Fault::Close, 3), Kind::Status, 404, "404"},
        {Response::Of("0123456789").With(Fault::Reset, 5), Kind::Network, 200, "broke off"}};
    for (const auto& [answer, what, status, message] : rows) {
        Server.Serve("/", answer);
        const HttpErrorInfo info = Get(Server.Url("/"));
        EXPECT_EQ(info.What, what) << message;
        EXPECT_EQ(info.Status, status) << message;
        EXPECT_TRUE(info.Why.English().contains(message)) << info.Why.English().toStdString();
        EXPECT_THROW(info.RaiseIfFailed(), HttpError);
    }
}

TEST_F(Http, RefusesAnythingButAWebAddressWithoutARequest) {
    for (const char* url :
         {"", "feed", "/etc/passwd", "file:///etc/passwd", "ftp://127.0.0.1/a", "http://", "https:///a"})
        EXPECT_EQ(Get(url).What, Kind::BadAddress) << url;
}

TEST_F(Http, GivesTheBodyByteForByteWithItsTypeAndItsProgress) {
    QByteArray random(3'000'000, '\0');
    std::uint32_t state = 1;
    for (char& c : random) c = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
    const QByteArray type = "Text/XML; q=1; Charset=\"windows-1251\"";
    const Response chunked = {"HTTP/1.1 200 OK\r\nContent-Type: " + type + "\r\nTransfer-Encoding: chunked\r\n\r\n",
                              QByteArray::number(random.size(), 16) + "\r\n" + random + "\r\n0\r\n\r\n"};
    const std::tuple<Response, QByteArray, qint64> rows[] = {
        {Response::Of(random, type), random, random.size()},
        {Response::Of(random, type, "206 Partial Content", "Content-Range: bytes 0-2999999/3000000\r\n"), random,
         random.size()},
        {Response::Of("", type), "", 0},
        {chunked, random, 0}};
    for (const auto& [answer, body, announced] : rows) {
        Server.Serve("/", answer);
        const HttpDocument document = HttpGetDocument(Server.Url("/"), 0, {});
        EXPECT_TRUE(document.Body == body);
        EXPECT_EQ(document.Info.MimeType, "text/xml");
        EXPECT_EQ(document.Info.Charset, "windows-1251");
        HttpGet request = Request();
        int accepted = 0;
        std::pair<qint64, qint64> progress{-1, -1};
        request.OnAccepted = [&](const HttpResponseInfo&) { return ++accepted, true; };
        request.OnProgress = [&](qint64 position, qint64 size) { progress = {position, size}; };
        EXPECT_TRUE(request.Run({}).Succeeded());
        EXPECT_EQ(accepted, 1);
        EXPECT_EQ(progress, std::pair(qint64(body.size()), announced));
    }
}

TEST_F(Http, EndsWhenACallbackRefusesAndKeepsItsException) {
    Server.Serve("/", Response::Of("body"));
    HttpGet request = Request(), refused = Request();
    for (const int thrower : {0, 1, 2}) {
        const auto throwIf = [=](bool hit) { return hit ? throw std::domain_error("the disk is full") : true; };
        request.OnAccepted = [=](const HttpResponseInfo&) { return throwIf(thrower == 0); };
        request.OnData = [=](const char*, std::size_t) { return throwIf(thrower == 1); };
        request.OnProgress = [=](qint64, qint64) { throwIf(thrower == 2); };
        Kind completed = Kind::Success;
        request.OnCompleted = [&](const HttpErrorInfo& info) { completed = info.What; };
        const HttpErrorInfo info = request.Run({});
        EXPECT_EQ(info.What, Kind::Callback) << thrower;
        EXPECT_EQ(completed, Kind::Callback) << thrower;
        EXPECT_EQ(info.Why.English(), "the disk is full");
        EXPECT_THROW(info.RaiseIfFailed(), std::domain_error);
    }
    refused.OnData = [](const char*, std::size_t) { return false; };
    EXPECT_EQ(refused.Run({}).What, Kind::Refused);
}

TEST_F(Http, LimitsADocumentsSizeAfterDecompression) {
    constexpr int kBound = 1024 * 1024;
    const auto serve = [&](int size) {
        const QByteArray compressed =
            qCompress(QByteArray(size, ' ')).sliced(4);  // without the header that qCompress adds
        Server.Serve("/", Response::Of(compressed, "text/xml", "200 OK", "Content-Encoding: deflate\r\n"));
    };
    serve(kBound);
    EXPECT_EQ(HttpGetDocument(Server.Url("/"), kBound, {}).Body.size(), kBound);
    serve(20 * kBound);  // compressed, a fiftieth of the bound
    HttpGet request = Request();
    request.Compressed = true;
    request.MaxBytes = kBound;
    std::size_t taken = 0;
    request.OnData = [&](const char*, std::size_t size) { return taken += size, true; };
    EXPECT_EQ(request.Run({}).What, Kind::TooLarge);
    EXPECT_LE(taken, std::size_t(kBound));
}

TEST_F(Http, SendsItsNameCompressesOnlyDocumentsAndKeepsAConnectionPerThread) {
    Server.Serve("/", Response::Of("body"));
    HttpGetDocument(Server.Url("/"), 0, {});
    Get(Server.Url("/missing"));
    Get(Server.Url("/"));
    std::thread([&] { Get(Server.Url("/")); }).join();
    std::vector<int> connections, compressed;
    for (const auto& request : Server.Requests()) {
        EXPECT_TRUE(request.Head.contains(QByteArray("\r\nUser-Agent: ").append(kUserAgent).append("\r\n")));
        connections.push_back(request.Connection);
        compressed.push_back(request.Head.contains("\r\nAccept-Encoding: ") && request.Head.contains("gzip"));
    }
    EXPECT_EQ(connections, (std::vector{1, 1, 1, 2}));
    EXPECT_EQ(compressed, (std::vector{1, 0, 0, 0}));
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    EXPECT_EQ(sigismember(&blocked, SIGPIPE), 0) << "it is blocked only during a transfer";
}

TEST_F(Http, ReportsWhereRedirectsLedAndWhichArePermanent) {
    const QByteArray gone = "301 Moved Permanently", forGood = "308 Permanent Redirect";
    // The statuses of the redirects, and how many of them count as permanent.
    const std::pair<QList<QByteArray>, int> chains[] = {
        {{}, 0},
        {{gone}, 1},
        {{forGood}, 1},
        {{gone, forGood}, 2},
        {{"302 Found"}, 0},
        {{"302 Found", gone}, 0},
        {{gone, "302 Found", gone}, 1},
    };
    for (const auto& [statuses, permanent] : chains) {
        SCOPED_TRACE(statuses.join(", ").toStdString());
        const qsizetype count = statuses.size();
        for (qsizetype i = 0; i < count; ++i)
            Server.Serve("/" + QString::number(i), Response::Redirect("/" + QByteArray::number(i + 1), statuses[i]));
        Server.Serve("/" + QString::number(count), Response::Of("body"));
        const HttpResponseInfo info = HttpGetDocument(Server.Url("/0"), 0, {}).Info;
        EXPECT_EQ(info.Address, Server.Url("/" + QString::number(count)));
        EXPECT_EQ(info.MovedTo, permanent == 0 ? QString() : Server.Url("/" + QString::number(permanent)));
    }
    Server.Serve("/0", Response::Redirect("/\xC3\xBC my#part", gone));
    Server.Serve("/%c3%bc%20my", Response::Of("body"));
    EXPECT_EQ(HttpGetDocument(Server.Url("/0"), 0, {}).Info.MovedTo.toLower(), Server.Url("/%c3%bc%20my"));
}

TEST_F(Http, SendsConditionsToTheirOwnHostOnly) {
    tests::LoopbackServer other;
    for (auto* const server : {&Server, &other}) server->Serve("/f", Response::Of("document").WithETag("\"1\""));
    Server.Serve("/away", Response::Redirect(other.Url("/f").toUtf8()));
    Server.Serve("/back", Response::Redirect(other.Url("/back").toUtf8()));
    other.Serve("/back", Response::Redirect(Server.Url("/f").toUtf8()));
    for (const auto& [path, address] : {std::pair("/away", other.Url("/f")), {"/back", Server.Url("/f")}}) {
        HttpGet request = Request(path);
        request.Conditions = {"If-None-Match: \"1\""};
        HttpResponseInfo answer;
        request.OnAccepted = [&](const HttpResponseInfo& info) { return answer = info, true; };
        EXPECT_TRUE(request.Run({}).Succeeded()) << path;
        EXPECT_EQ(answer.Address, address) << path;
        EXPECT_EQ(answer.Status, 200) << path << ": not 304, because the condition was not sent there";
    }
}

TEST_F(Http, SendsUserNameAndPasswordToTheirOwnHostOnly) {
    tests::LoopbackServer other;
    const QByteArray header = "\r\nAuthorization: Basic " + QByteArray("us er:p@ss").toBase64() + "\r\n";
    for (auto* const server : {&Server, &other}) server->Serve("/f", Response::Of("body"));
    Server.Serve("/whole", Response::Redirect(Server.Url("/f").toUtf8(), "301 Moved Permanently"));
    Server.Serve("/away", Response::Redirect(other.Url("/f").toUtf8(), "301 Moved Permanently"));
    const QString with = Server.Url("").replace("://", "://us%20er:p%40ss@");
    const std::tuple<const char*, QString, QString> cases[] = {
        // the path, where it leads, where it has moved for good
        {"/whole", with + "/f", with + "/f"},
        {"/away", other.Url("/f"), other.Url("/f")},
    };
    for (const auto& [path, address, movedTo] : cases) {
        const HttpResponseInfo info = HttpGetDocument(with + path, 0, {}).Info;
        EXPECT_EQ(info.Address, address) << path;
        EXPECT_EQ(info.MovedTo, movedTo) << path;
    }
    for (const auto& request : Server.Requests())
        EXPECT_TRUE(request.Head.contains(header)) << request.Path.toStdString();
    ASSERT_EQ(other.Paths(), QStringList("/f"));
    EXPECT_FALSE(other.Requests()[0].Head.contains("Authorization"));
    Server.Forget();
    Get(Server.Url("/f"));
    EXPECT_FALSE(Server.Requests().at(0).Head.contains("Authorization")) << "of the thread's next transfer";
}

}  // namespace
}  // namespace vexa
