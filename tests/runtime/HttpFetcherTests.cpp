#include "LoopbackServer.h"
#include "VEXA.Runtime.Http.Fetcher.h"
#include "Waiting.h"

#include <QDateTime>

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

namespace vexa {
namespace {

using tests::Fault;
using tests::Response;
using namespace std::chrono_literals;

constexpr qint64 kMaxBytes = 10'000'000;

/// Several servers, each of which counts as one host.
class HttpFetching : public testing::Test {
protected:
    static constexpr int kServers = 5, kPaths = 10;

    HttpFetching() { Limits.SilentAfter = 1h; }
    void SetUp() override {
        for (auto& server : Servers) ServeAll(server, Response::Of("document").With(Fault::Wait));
    }
    static void ServeAll(tests::LoopbackServer& server, const Response& response) {
        for (int path = 0; path < kPaths; ++path) server.Serve(QString("/%1").arg(path), response);
    }
    void Start() {
        Fetcher.emplace([] {}, Limits);
    }
    /// All paths of a server, one server after the other.
    QStringList Addresses(int servers = kServers) {
        QStringList addresses;
        for (int server = 0; server < servers; ++server)
            for (int path = 0; path < kPaths; ++path) addresses += Servers[server].Url(QString("/%1").arg(path));
        return addresses;
    }
    void Want(const QStringList& addresses, bool isSecondTry = false) {
        Fetcher->SetWindow(addresses, [&](const QString&) {
            HttpFetch fetch;
            fetch.MaxBytes = kMaxBytes;
            fetch.IsSecondTry = isSecondTry;
            return fetch;
        });
    }
    int Requests(int server) { return static_cast<int>(Servers[server].Requests().size()); }
    int AllRequests() {
        int count = 0;
        for (int server = 0; server < kServers; ++server) count += Requests(server);
        return count;
    }
    /// Whether `count` requests come, and then no more.
    bool WaitForRequests(int count) {
        if (!tests::WaitUntil([&] { return AllRequests() >= count; })) return false;
        std::this_thread::sleep_for(150ms);
        return AllRequests() == count;
    }
    HttpErrorInfo Take(const QString& address) { return Fetcher->Take(address, {}).Outcome; }

    tests::LoopbackServer Servers[kServers];
    HttpFetcherLimits Limits;
    std::optional<HttpFetcher> Fetcher;
};

TEST_F(HttpFetching, StartsTwelveTransfersInOrderThreePerHostAndAnotherWhenOneIsTaken) {
    Start();
    Want(Addresses());
    EXPECT_TRUE(WaitForRequests(12));
    for (int server = 0; server < 4; ++server) EXPECT_EQ(Requests(server), 3) << server;
    EXPECT_EQ(Requests(4), 0);
    Servers[0].Release("/1");
    EXPECT_EQ(QString(Fetcher->Take(Servers[0].Url("/1"), {}).Document.Body), "document");
    EXPECT_TRUE(WaitForRequests(13));
    EXPECT_EQ(Servers[0].Count("/3"), 1) << "the next one of a host with room";
    // A transfer that is not wanted any more makes room, too.
    Want({Servers[4].Url("/7")});
    EXPECT_TRUE(WaitForRequests(14));
    EXPECT_EQ(Servers[4].Count("/7"), 1);
    const HttpFetched cancelled = Fetcher->Take(Servers[4].Url("/7"), [] { return true; });
    EXPECT_EQ(cancelled.Outcome.What, HttpErrorInfo::Kind::Cancelled) << "while it is running";
}

TEST_F(HttpFetching, SilentServersDelayNoOtherAndGiveWayWhenThereAreMany) {
    Limits.SilentAfter = 50ms;
    Limits.MaxActive = 1;
    Limits.MaxSilent = 4;
    Limits.EvictableAfter = 300ms;
    ServeAll(Servers[4], Response::Of("document"));
    Start();
    const QStringList addresses = Addresses();
    Want(addresses);
    EXPECT_TRUE(WaitForRequests(4)) << "the number of servers that may be silent; none has answered yet";
    EXPECT_GE(Fetcher->SilenceOf(addresses[0]), 100ms);
    EXPECT_GE(Fetcher->SilenceOf(addresses[5]), 100ms) << "waits for a server that is silent";
    EXPECT_EQ(Fetcher->SilenceOf(addresses.last()), 0ms) << "not asked yet";
    EXPECT_TRUE(Take(addresses.last()).Succeeded()) << "an awaited address is requested all the same";
    EXPECT_TRUE(tests::WaitUntil([&] { return Fetcher->IsReady(addresses[0]); }))
        << "it was cancelled in favour of others";
    const HttpErrorInfo outcome = Take(addresses[0]);
    EXPECT_EQ(outcome.Why.English(), "the server did not answer in time");
    EXPECT_TRUE(outcome.IsTransient);
    // Its server's other addresses fail with it, until it is asked once more.
    EXPECT_TRUE(tests::WaitUntil([&] { return Fetcher->IsReady(addresses[9]); }));
    const int asked = Requests(0);
    Want({addresses[9]});
    EXPECT_TRUE(Take(addresses[9]).IsTransient);
    EXPECT_EQ(Requests(0), asked);
    Servers[0].Serve("/9", Response::Of("document"));
    Want({addresses[9]}, true);
    EXPECT_TRUE(Take(addresses[9]).Succeeded());
}

TEST_F(HttpFetching, KeepsItsMemoryLimitExceptForAnAwaitedDocument) {
    constexpr int kSize = 1'000'000;
    Limits.MaxHeldBytes = 5 * kSize / 2;
    for (auto& server : Servers) ServeAll(server, Response::Of(QByteArray(kSize, 'x')));
    Start();
    const QStringList addresses = Addresses();
    Want(addresses);
    const auto ready = [&] {
        return std::count_if(addresses.begin(), addresses.end(), [&](auto& one) { return Fetcher->IsReady(one); });
    };
    ASSERT_TRUE(tests::WaitUntil([&] { return ready() >= 1; }));
    std::this_thread::sleep_for(150ms);
    EXPECT_LE(AllRequests(), 3 + 12) << "the finished ones, and those being transferred";
    EXPECT_LE(ready(), 3);
    // Taken from the end, in the reverse of the order in which they were begun.
    for (auto address = addresses.rbegin(); address != addresses.rend(); ++address) {
        const HttpFetched fetched = Fetcher->Take(*address, {});
        ASSERT_TRUE(fetched.Outcome.Succeeded()) << fetched.Outcome.Why.English().toStdString();
        ASSERT_EQ(fetched.Document.Body.size(), kSize);
        EXPECT_LE(ready(), 3);
    }
    Want({addresses[0]});
    EXPECT_TRUE(tests::WaitUntil([&] { return ready() == 1; })) << "those that were taken have made no room";
}

TEST_F(HttpFetching, AServerThatAsksToRetryLaterIsNotAskedAgainInThisRun) {
    Servers[0].Serve("/0", Response::Failure("429 Too Many Requests", "Retry-After: 7200\r\n"));
    ServeAll(Servers[1], Response::Of("document"));
    Limits.MaxPerHost = 1;
    Start();
    const QStringList addresses = Addresses(2);
    Want(addresses);
    EXPECT_EQ(Take(addresses[0]).Why.English(),
              "the server answered 429 Too Many Requests; it asks to wait 7200 seconds");
    const QString until = QDateTime::currentDateTime().addSecs(7200).toString("yyyy-MM-dd HH:");
    for (int path = 1; path < kPaths; ++path) {
        const HttpErrorInfo outcome = Take(addresses[path]);
        EXPECT_TRUE(
            outcome.Why.English().startsWith("it was not asked for, since its server wants to be left alone until "));
        EXPECT_TRUE(outcome.Why.English().contains(until)) << outcome.Why.English().toStdString();
        EXPECT_FALSE(outcome.IsTransient) << "not worth a second try in the same run";
    }
    EXPECT_EQ(Requests(0), 1);
    EXPECT_TRUE(Take(addresses.last()).Succeeded()) << "of another server";
}

TEST_F(HttpFetching, ATransferThatEndsWhileItIsDroppedIsEndedOnce) {
    Servers[0].Serve("/ended", Response::Of("document"));
    Start();
    for (int round = 0; round < 600; ++round) {
        Want({Servers[0].Url("/ended")});
        const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(round % 200 * 10);
        while (std::chrono::steady_clock::now() < end) {
        }
        Want({});
    }
    Want({Servers[0].Url("/ended")});
    EXPECT_EQ(Fetcher->Take(Servers[0].Url("/ended"), {}).Document.Body, "document");
}

}  // namespace
}  // namespace vexa
