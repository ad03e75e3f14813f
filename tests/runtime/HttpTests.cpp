#include "LoopbackServer.h"
#include "Printing.h"
#include "VEXA.Runtime.Http.h"
#include "VEXA.Runtime.Version.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace vexa {
namespace {

using tests::Fault;
using tests::LoopbackServer;
using tests::Response;
using Kind = HttpErrorInfo::Kind;

HttpErrorInfo Get(const QString& url, const CancelCheck& isCancelled = {}, QByteArray* body = nullptr) {
    HttpGet request;
    request.Url = url;
    request.OnData = [&](const char* data, std::size_t size) {
        if (body) body->append(data, static_cast<qsizetype>(size));
        return true;
    };
    return request.Run(isCancelled);
}

std::string RandomBytes(std::size_t size) {
    std::string bytes(size, '\0');
    std::uint32_t state = 1;
    for (char& c : bytes) c = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
    return bytes;
}

struct FailureCase {
    const char* Name;
    Response Answer;
    Kind Expected;
    int Status;
    const char* Message;  // a part of it
};
void PrintTo(const FailureCase& row, std::ostream* out) {
    *out << row.Name;
}
class HttpFailure : public testing::TestWithParam<FailureCase> {};

TEST_P(HttpFailure, IsToldByItsKindItsStatusAndAMessage) {
    const FailureCase& expected = GetParam();
    LoopbackServer server;
    server.Serve("/", expected.Answer);
    server.Serve("/hangup", Response::Of("").With(Fault::Close));
    SetHttpTimeouts({.Connect = std::chrono::seconds(15), .Stalled = std::chrono::seconds(2)});
    const HttpErrorInfo info = Get(server.Url("/"));
    SetHttpTimeouts({});
    EXPECT_EQ(info.What, expected.Expected);
    EXPECT_EQ(info.Status, expected.Status);
    EXPECT_TRUE(info.Message.contains(QString::fromUtf8(expected.Message))) << info.Message.toStdString();
    try {
        info.RaiseIfFailed();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const HttpError& error) {
        EXPECT_EQ(QString::fromUtf8(error.what()), info.Message);
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, HttpFailure,
    testing::Values(
        FailureCase{"NotFound", Response::Failure(404, "Not Found"), Kind::Status, 404, "404 Not Found"},
        FailureCase{"OwnPhrase", Response::Failure(500, "Out of tea"), Kind::Status, 500, "500 Out of tea"},
        FailureCase{"NoPhrase", Response::Failure(503, ""), Kind::Status, 503, "503 Service Unavailable"},
        FailureCase{"CutErrorPage", Response::Failure(404, "Not Found").With(Fault::Close, 3), Kind::Status, 404,
                    "404"},
        FailureCase{"ShortBody", Response::Of("0123456789").With(Fault::Close, 5), Kind::Network, 200,
                    "before the whole body"},
        FailureCase{"CutChunks",
                    [] {
                        Response response = Response::Of("0123456789").With(Fault::Close, 5);
                        response.Chunked = true;
                        return response;
                    }(),
                    Kind::Network, 200, "before the whole body"},
        FailureCase{"ResetInBody", Response::Of("0123456789").With(Fault::Reset, 5), Kind::Network, 200,
                    "transfer failed"},
        FailureCase{"NoAnswer", Response::Of("").With(Fault::Close), Kind::Network, 0, "without an answer"},
        FailureCase{"Stalled", Response::Of("0123456789").With(Fault::Wait, 5), Kind::Network, 200, "in time"},
        FailureCase{"NeverAnswers", Response::Of("").With(Fault::Wait), Kind::Network, 0, "in time"},
        FailureCase{"RedirectLoop", Response::Redirect("/"), Kind::Network, 302, "more than 10 times"},
        FailureCase{"RedirectToFile", Response::Redirect("file:///etc/passwd"), Kind::Network, 302,
                    "not http or https"},
        FailureCase{"RedirectToNoAnswer", Response::Redirect("/hangup"), Kind::Network, 302, "without an answer"},
        FailureCase{"RedirectNowhere", Response::Failure(302, "Found"), Kind::Status, 302, "302 Found"}),
    [](const auto& row) { return row.param.Name; });

TEST(Http, RefusesWhatIsNoWebAddressWithoutAsking) {
    for (const char* url :
         {"", "feed", "/etc/passwd", "file:///etc/passwd", "ftp://127.0.0.1/a", "http://", "https:///a"})
        EXPECT_EQ(Get(QString::fromUtf8(url)).What, Kind::BadAddress) << url;
}

TEST(Http, SaysThatNobodyListens) {
    QString url;
    {
        LoopbackServer server;
        url = server.Url("/");
    }
    const HttpErrorInfo info = Get(url);
    EXPECT_EQ(info.What, Kind::Network);
    EXPECT_FALSE(info.Message.isEmpty());
}

TEST(Http, GivesTheBodyByteForByteWithItsTypeAndCharset) {
    LoopbackServer server;
    const std::string body = RandomBytes(3'000'000);
    for (const bool chunked : {false, true}) {
        Response response = Response::Of(body, "Text/XML; q=1; Charset=\"windows-1251\"");
        response.Chunked = chunked;
        server.Serve("/", response);
        const HttpDocument document = HttpGetDocument(server.Url("/"), 0, {});
        EXPECT_TRUE(document.Body == QByteArray::fromStdString(body));
        EXPECT_EQ(document.Info.MimeType, QStringLiteral("text/xml"));
        EXPECT_EQ(document.Info.Charset, QStringLiteral("windows-1251"));
    }
}

TEST(Http, AcceptsAnEmptyBodyAndTellsItsProgress) {
    LoopbackServer server;
    server.Serve("/", Response::Of("", "audio/mpeg"));
    server.Serve("/full", Response::Of(std::string(100'000, 'x')));
    HttpGet request;
    int accepted = 0;
    std::pair<qint64, qint64> progress{-1, -1};
    request.OnAccepted = [&](const HttpResponseInfo&) { return ++accepted, true; };
    request.OnProgress = [&](qint64 position, qint64 size) { progress = {position, size}; };
    request.Url = server.Url("/");
    EXPECT_TRUE(request.Run({}).Succeeded());
    EXPECT_EQ(accepted, 1);
    EXPECT_EQ(progress, std::pair(qint64(0), qint64(0)));
    request.Url = server.Url("/full");
    EXPECT_TRUE(request.Run({}).Succeeded());
    EXPECT_EQ(progress, std::pair(qint64(100'000), qint64(100'000)));
}

TEST(Http, CanBeCancelledBeforeAnAnswerAndInTheMiddleOfABody) {
    LoopbackServer server;
    server.Serve("/silent", Response::Of("").With(Fault::Wait));
    server.Serve("/stalled", Response::Of(std::string(100, 'x')).With(Fault::Wait, 10));
    for (const std::string path : {"/silent", "/stalled"}) {
        std::atomic<bool> isCancelled{false};
        std::thread other([&] {
            EXPECT_TRUE(server.WaitUntilRequested(path));
            isCancelled = true;
        });
        EXPECT_EQ(Get(server.Url(path), [&] { return isCancelled.load(); }).What, Kind::Cancelled) << path;
        other.join();
    }
    server.Serve("/", Response::Of("whole"));
    EXPECT_TRUE(Get(server.Url("/")).Succeeded()) << "the thread's next transfer";
}

TEST(Http, KeepsWhatACallbackThrowsAndEndsTheTransfer) {
    struct Mine : std::runtime_error {
        using std::runtime_error::runtime_error;
    };
    LoopbackServer server;
    server.Serve("/", Response::Of("body"));
    for (const int thrower : {0, 1, 2}) {
        HttpGet request;
        request.Url = server.Url("/");
        auto throwIf = [=](bool hit) {
            if (hit) throw Mine("the disk is full");
            return true;
        };
        request.OnAccepted = [=](const HttpResponseInfo&) { return throwIf(thrower == 0); };
        request.OnData = [=](const char*, std::size_t) { return throwIf(thrower == 1); };
        request.OnProgress = [=](qint64, qint64) { throwIf(thrower == 2); };
        Kind completed = Kind::Success;
        request.OnCompleted = [&](const HttpErrorInfo& info) { completed = info.What; };
        const HttpErrorInfo info = request.Run({});
        EXPECT_EQ(info.What, Kind::Callback) << thrower;
        EXPECT_EQ(completed, Kind::Callback) << thrower;
        EXPECT_EQ(info.Message, QStringLiteral("the disk is full"));
        EXPECT_THROW(info.RaiseIfFailed(), Mine);
    }
}

TEST(Http, EndsWhenACallbackRefuses) {
    LoopbackServer server;
    server.Serve("/", Response::Of("body"));
    HttpGet request;
    request.Url = server.Url("/");
    request.OnData = [](const char*, std::size_t) { return false; };
    EXPECT_EQ(request.Run({}).What, Kind::Refused);
}

TEST(Http, BoundsADocumentByItsSizeAfterDecompression) {
    constexpr int kBound = 1024 * 1024;
    LoopbackServer server;
    auto serve = [&](std::size_t size) {
        Response response = Response::Of(tests::Gzip(std::string(size, ' ')));
        response.Headers["Content-Encoding"] = "gzip";
        server.Serve("/", response);
    };
    serve(kBound);
    EXPECT_EQ(HttpGetDocument(server.Url("/"), kBound, {}).Body.size(), kBound);
    serve(100 * kBound);  // on the wire a tenth of the bound
    HttpGet request;
    request.Url = server.Url("/");
    request.Compressed = true;
    request.MaxBytes = kBound;
    std::size_t taken = 0;
    request.OnData = [&](const char*, std::size_t size) { return taken += size, true; };
    const HttpErrorInfo info = request.Run({});
    EXPECT_EQ(info.What, Kind::TooLarge);
    EXPECT_EQ(info.Message, QStringLiteral("the document is larger than 1 MiB"));
    EXPECT_LE(taken, std::size_t(kBound));
}

TEST(Http, SaysWhoItIsAndAsksForCompressionOnlyForDocuments) {
    LoopbackServer server;
    server.Serve("/", Response::Of("body"));
    HttpGetDocument(server.Url("/"), 0, {});
    Get(server.Url("/"));
    const auto requests = server.Requests();
    ASSERT_EQ(requests.size(), 2u);
    for (const auto& request : requests) EXPECT_EQ(request.Headers.at("user-agent"), kUserAgent);
    EXPECT_NE(requests[0].Headers.at("accept-encoding").find("gzip"), std::string::npos);
    EXPECT_FALSE(requests[1].Headers.contains("accept-encoding"));
}

TEST(Http, KeepsItsConnectionAlsoAfterAnErrorPage) {
    LoopbackServer server;
    server.Serve("/", Response::Of("body"));
    for (const char* path : {"/", "/missing", "/"}) Get(server.Url(path));
    std::thread([&] { Get(server.Url("/")); }).join();
    std::vector<int> connections;
    for (const auto& request : server.Requests()) connections.push_back(request.Connection);
    EXPECT_EQ(connections, (std::vector{1, 1, 1, 2})) << "one for each thread";
}

TEST(Http, FollowsTenRedirectsAndNoMore) {
    LoopbackServer server;
    auto path = [](int i) { return std::string("/").append(std::to_string(i)); };
    for (int i = 0; i < 11; ++i) server.Serve(path(i), Response::Redirect(path(i + 1)));
    server.Serve("/11", Response::Of("there"));
    QByteArray body;
    EXPECT_TRUE(Get(server.Url("/1"), {}, &body).Succeeded());
    EXPECT_EQ(body, QByteArray("there"));
    EXPECT_FALSE(Get(server.Url("/0")).Succeeded());
}

TEST(Http, LetsACallbackFetchSomethingItself) {
    LoopbackServer server;
    server.Serve("/outer", Response::Of("outer"));
    server.Serve("/inner", Response::Of("inner"));
    HttpGet request;
    request.Url = server.Url("/outer");
    QByteArray inner, outer;
    request.OnAccepted = [&](const HttpResponseInfo&) { return Get(server.Url("/inner"), {}, &inner).Succeeded(); };
    request.OnData = [&](const char* data, std::size_t size) {
        outer.append(data, static_cast<qsizetype>(size));
        return true;
    };
    EXPECT_TRUE(request.Run({}).Succeeded());
    EXPECT_EQ(inner + outer, QByteArray("innerouter"));
}

}  // namespace
}  // namespace vexa
