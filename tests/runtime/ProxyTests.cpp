// Proxies from the environment and from the desktop, on loopback.

#include "LoopbackServer.h"
#include "VEXA.Runtime.DesktopProxies.h"
#include "VEXA.Runtime.Http.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace vexa {
namespace {

using tests::Response;

/// Only a proxy can resolve the host names used here.
class Proxies : public testing::Test {
protected:
    Proxies() {
        for (const char* name : kVariables) qunsetenv(name);
        Proxy.Serve(u"http://a.example/feed"_s, Response::Of("by proxy"));
        Proxy.Serve(u"http://a.example/away"_s, Response::Redirect("http://b.example/feed"));
        Proxy.Serve(u"http://a.example/home"_s, Response::Redirect(Own.Url(u"/feed"_s).toUtf8()));
        Own.Serve(u"/feed"_s, Response::Of("directly"));
        Other.Serve(u"http://b.example/feed"_s, Response::Of("by the other proxy"));
    }
    ~Proxies() override {
        for (const char* name : kVariables) qunsetenv(name);
        SetDesktopProxySource({});
    }

    static HttpProxy At(const tests::LoopbackServer& server) {
        return {HttpProxy::Kind::Http, u"127.0.0.1"_s, QUrl(server.Url({})).port()};
    }
    /// The body, or why there is none.
    static QString Get(const QString& url) {
        try {
            return QString::fromUtf8(HttpGetDocument(url, 0, {}).Body);
        } catch (const HttpError& error) {
            return QString::fromUtf8(error.what());
        }
    }

    static constexpr const char* kVariables[] = {"http_proxy", "HTTP_PROXY", "https_proxy", "HTTPS_PROXY",
                                                 "all_proxy",  "ALL_PROXY",  "no_proxy",    "NO_PROXY"};
    tests::LoopbackServer Proxy, Other, Own;
};

TEST_F(Proxies, TheEnvironmentTakesPrecedenceOverTheDesktop) {
    int asked = 0;
    SetDesktopProxySource([&](const QUrl&) { return ++asked, At(Other); });
    for (const char* name : {"http_proxy", "all_proxy", "ALL_PROXY"}) {
        qputenv(name, Proxy.Url({}).toUtf8());
        EXPECT_EQ(Get(u"http://a.example/feed"_s), u"by proxy"_s) << name;
        Proxy.Serve(Own.Url(u"/feed"_s), Response::Of("by proxy"));
        EXPECT_EQ(Get(Own.Url(u"/feed"_s)), u"by proxy"_s) << "it may name a proxy for this machine, too";
        qunsetenv(name);
    }
    EXPECT_EQ(asked, 0);
    EXPECT_EQ(Get(u"http://b.example/feed"_s), u"by the other proxy"_s);
    qputenv("no_proxy", "b.example");
    EXPECT_EQ(Get(u"http://b.example/feed"_s), u"the server's name could not be resolved"_s);
}

TEST_F(Proxies, TheDesktopIsAskedForEverySchemeAndHostOfAChainExceptThisMachine) {
    QStringList asked;
    SetDesktopProxySource([&](const QUrl& url) {
        asked += url.scheme() + u"://"_s + url.host();
        return At(url.host() == u"b.example" ? Other : Proxy);
    });
    EXPECT_EQ(Get(u"http://a.example/feed"_s), u"by proxy"_s);
    EXPECT_EQ(Get(u"http://a.example/away"_s), u"by the other proxy"_s);
    EXPECT_EQ(Get(u"http://a.example/home"_s), u"directly"_s);
    EXPECT_EQ(Get(Own.Url(u"/feed"_s)), u"directly"_s);
    EXPECT_EQ(asked, QStringList({u"http://a.example"_s, u"http://b.example"_s})) << "answers are remembered";
    Proxy.Serve(u"a.example:443"_s, Response::Failure("403 Forbidden", "Location: http://c.example/\r\n"));
    EXPECT_TRUE(Get(u"https://a.example/feed"_s).contains(u"403")) << Get(u"https://a.example/feed"_s).toStdString();
    EXPECT_EQ(asked.last(), u"https://a.example"_s) << "a proxy's answer to CONNECT redirects nothing";
    EXPECT_TRUE(Proxy.Requests().back().Head.startsWith("CONNECT a.example:443 "));
}

TEST(DesktopProxies, TheFirstUsableOneIsChosen) {
    const auto at = [](QNetworkProxy::ProxyType type, const QString& host) {
        return QNetworkProxy(type, host, 8080, u"me"_s, u"secret"_s);
    };
    const QNetworkProxy http = at(QNetworkProxy::HttpProxy, u"http"_s),
                        socks = at(QNetworkProxy::Socks5Proxy, u"socks"_s),
                        caching = at(QNetworkProxy::HttpCachingProxy, u"caching"_s),
                        ftp = at(QNetworkProxy::FtpCachingProxy, u"ftp"_s), nowhere = at(QNetworkProxy::HttpProxy, {}),
                        none(QNetworkProxy::NoProxy);
    using Kind = HttpProxy::Kind;
    const std::tuple<QList<QNetworkProxy>, Kind, QString> rows[] = {{{http, socks}, Kind::Http, u"http"_s},
                                                                    {{caching}, Kind::Http, u"caching"_s},
                                                                    {{socks, none}, Kind::Socks5, u"socks"_s},
                                                                    {{ftp, nowhere, http}, Kind::Http, u"http"_s},
                                                                    {{none, http}, Kind::None, {}},
                                                                    {QList<QNetworkProxy>(), Kind::None, {}}};
    for (const auto& [proxies, kind, host] : rows) {
        const HttpProxy chosen = FirstUsableProxy(proxies);
        EXPECT_EQ(chosen.What, kind) << host.toStdString();
        EXPECT_EQ(chosen.Host, host);
        EXPECT_EQ(chosen.Port, host.isEmpty() ? 0 : 8080);
        EXPECT_EQ(chosen.User + chosen.Password, host.isEmpty() ? u""_s : u"mesecret"_s);
    }
}

TEST_F(Proxies, TheDesktopIsAskedThroughTheToolkit) {
    // libcurl ignores an upper-case HTTP_PROXY; the toolkit takes it for a setting of the desktop.
    SetDesktopProxySource({});
    qputenv("HTTP_PROXY", Proxy.Url({}).toUtf8());
    EXPECT_EQ(Get(u"http://a.example/feed"_s), u"by proxy"_s);
}

TEST_F(Proxies, ASocksProxyIsLeftToResolveTheName) {
    const tests::LoopbackListener proxy(1);
    QByteArray asked(64, '\0');
    std::thread server([&] {  // speaks SOCKS 5 (RFC 1928) as far as the request
        const int client = accept4(proxy.Socket, nullptr, nullptr, SOCK_CLOEXEC);
        const auto receive = [&] { return recv(client, asked.data(), static_cast<std::size_t>(asked.size()), 0); };
        receive();
        send(client, "\5\0", 2, MSG_NOSIGNAL);
        asked.truncate(std::max<ssize_t>(receive(), 0));
        close(client);
    });
    SetDesktopProxySource([&](const QUrl&) { return HttpProxy{HttpProxy::Kind::Socks5, u"127.0.0.1"_s, proxy.Port}; });
    Get(u"http://a.example/feed"_s);
    shutdown(proxy.Socket, SHUT_RDWR);  // ends the server if nobody has connected
    server.join();
    close(proxy.Socket);
    EXPECT_EQ(asked, QByteArray("\5\1\0\3\11a.example\0P", 16));
}

TEST_F(Proxies, UserNameAndPasswordAreSentToTheProxyOnly) {
    HttpProxy proxy = At(Proxy);
    proxy.User = u"us er"_s;
    proxy.Password = u"p:ss"_s;
    SetDesktopProxySource([&](const QUrl&) { return proxy; });
    Proxy.ServeInTurn(u"http://a.example/feed"_s, {Response::Failure("407 Proxy Authentication Required",
                                                                     "Proxy-Authenticate: Basic realm=\"p\"\r\n"),
                                                   Response::Redirect(Own.Url(u"/feed"_s).toUtf8())});
    EXPECT_EQ(Get(u"http://a.example/feed"_s), u"directly"_s);
    const QByteArray header = "\r\nProxy-Authorization: Basic " + QByteArray("us er:p:ss").toBase64() + "\r\n";
    EXPECT_TRUE(Proxy.Requests().back().Head.contains(header)) << Proxy.Requests().back().Head.constData();
    EXPECT_FALSE(Own.Requests().back().Head.contains("Proxy-Authorization"));
}

TEST_F(Proxies, ADesktopThatDoesNotAnswerDelaysOneRequestAndIsUsedLater) {
    TMutex mutex;
    TLock lock(mutex);
    SetDesktopProxySource([&](const QUrl&) {
        const TLock waiting(mutex);
        return At(Proxy);
    });
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(Get(u"http://a.example/feed"_s), u"the server's name could not be resolved"_s);
    lock.Unlock();
    while (Get(u"http://a.example/feed"_s) != u"by proxy"_s) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

}  // namespace
}  // namespace vexa
