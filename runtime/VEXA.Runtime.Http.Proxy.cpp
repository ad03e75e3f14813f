#include "VEXA.Runtime.Http.Proxy.h"

#include "VEXA.Runtime.Log.h"

#include <QFileInfo>
#include <QHash>

#include <arpa/inet.h>
#include <dlfcn.h>
#include <netinet/in.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace vexa {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kKept = std::chrono::seconds(30);     // how long an answer is used
constexpr auto kPatience = std::chrono::seconds(1);  // how long a request waits for the desktop

/// Whether a variable that libcurl reads for a scheme is set. HTTP_PROXY in upper case does not count, because web
/// servers set it from a request's header.
bool IsNamedByEnvironment(const QString& scheme) {
    const auto isSet = [](const char* name) { return !qgetenv(name).isEmpty(); };
    const bool isOfScheme = scheme == u"https" ? isSet("https_proxy") || isSet("HTTPS_PROXY") : isSet("http_proxy");
    return isOfScheme || isSet("all_proxy") || isSet("ALL_PROXY");
}

bool IsThisMachine(const QString& host) {
    if (host == u"localhost" || host.endsWith(u".localhost")) return true;
    in_addr v4{};
    in6_addr v6{};
    const QByteArray text = host.toLatin1();
    if (inet_pton(AF_INET, text.constData(), &v4) == 1) return (ntohl(v4.s_addr) >> 24) == IN_LOOPBACKNET;
    return inet_pton(AF_INET6, text.constData(), &v6) == 1 && IN6_IS_ADDR_LOOPBACK(&v6);
}

/// Asks the library beside this one. Without that library only the environment's proxies are used.
HttpProxy AskDesktop(const QUrl& address) {
    using Find = void (*)(const QUrl&, HttpProxy&);
    static const auto find = []() -> Find {
        Dl_info own{};
        if (dladdr(reinterpret_cast<void*>(&SetDesktopProxySource), &own) == 0) return nullptr;
        const QString library =
            QFileInfo(QString::fromLocal8Bit(own.dli_fname)).path() + QStringLiteral("/libvexa-runtime-proxies.so");
        void* const handle = dlopen(library.toLocal8Bit().constData(), RTLD_NOW | RTLD_LOCAL);
        if (!handle) qCWarning(LogHttp).noquote() << "the desktop's proxies are not used:" << dlerror();
        return handle ? reinterpret_cast<Find>(dlsym(handle, "VexaFindDesktopProxy")) : nullptr;
    }();
    HttpProxy proxy;
    if (find) find(address, proxy);
    return proxy;
}

/// Asks the desktop on separate threads, one question at a time, and remembers the answers by scheme and host. Never
/// destroyed, since an answer may arrive while the program ends.
class Desktop {
public:
    static Desktop& Instance() {
        static auto* instance = new Desktop;
        return *instance;
    }

    void Use(DesktopProxySource source) {
        const std::lock_guard lock(FMutex);
        FSource = source ? std::move(source) : DesktopProxySource(AskDesktop);
        FAnswers.clear();
        FNoWaitUntil = {};
        ++FGeneration;
    }

    HttpProxy ProxyFor(const QUrl& address) {
        const QString key = address.scheme() + u' ' + address.host();
        const auto end = Clock::now() + kPatience;
        std::unique_lock lock(FMutex);
        for (;;) {
            if (const auto answer = FAnswers.constFind(key);
                answer != FAnswers.cend() && Clock::now() < answer->Time + kKept)
                return answer->Proxy;
            if (!FIsAsked) Ask(address, key);
            // After one request has waited in vain, others do not wait for a while.
            if (Clock::now() < FNoWaitUntil) return {};
            if (FChanged.wait_until(lock, end) != std::cv_status::timeout) continue;
            FNoWaitUntil = Clock::now() + kKept;
            qCWarning(LogHttp) << "the desktop does not say in time which proxy to use; none is used for now";
            return {};
        }
    }

private:
    struct Answer {
        HttpProxy Proxy;
        Clock::time_point Time;
    };

    Desktop() : FSource(AskDesktop) {}

    /// Hold the lock.
    void Ask(const QUrl& address, const QString& key) {
        FIsAsked = true;
        std::thread([this, address, key, source = FSource, generation = FGeneration] {
            const HttpProxy proxy = source(address);
            const std::lock_guard lock(FMutex);
            if (generation == FGeneration) FAnswers.insert(key, {proxy, Clock::now()});
            FIsAsked = false;
            FChanged.notify_all();
        }).detach();
    }

    std::mutex FMutex;
    std::condition_variable FChanged;
    // All guarded by FMutex.
    DesktopProxySource FSource;
    int FGeneration = 0;
    QHash<QString, Answer> FAnswers;  // by scheme and host
    bool FIsAsked = false;
    Clock::time_point FNoWaitUntil{};
};

/// The proxy as libcurl writes it; empty for none.
QByteArray CurlProxy(const HttpProxy& proxy) {
    if (proxy.What == HttpProxy::Kind::None) return {};
    QUrl url;
    // socks5h: the proxy resolves names.
    url.setScheme(proxy.What == HttpProxy::Kind::Socks5 ? QStringLiteral("socks5h") : QStringLiteral("http"));
    url.setHost(proxy.Host);
    if (proxy.Port != 0) url.setPort(proxy.Port);
    return url.toEncoded();
}

}  // namespace

void SetDesktopProxySource(DesktopProxySource source) {
    Desktop::Instance().Use(std::move(source));
}

void SetHttpProxy(CURL* easy, const QUrl& address) {
    const QString host = address.host();  // empty for a redirect to an invalid address
    const bool isForDesktop = !host.isEmpty() && !IsNamedByEnvironment(address.scheme()) && !IsThisMachine(host);
    const HttpProxy proxy = isForDesktop ? Desktop::Instance().ProxyFor(address) : HttpProxy();
    const auto set = [&](CURLoption option, const QByteArray& text) {
        curl_easy_setopt(easy, option, text.isEmpty() ? nullptr : text.constData());
    };
    // If this is empty, libcurl uses the environment.
    set(CURLOPT_PROXY, CurlProxy(proxy));
    set(CURLOPT_PROXYUSERNAME, proxy.User.toUtf8());
    set(CURLOPT_PROXYPASSWORD, proxy.Password.toUtf8());
    curl_easy_setopt(easy, CURLOPT_PROXYAUTH, proxy.User.isEmpty() ? CURLAUTH_BASIC : CURLAUTH_ANY);
    // The proxy's response to CONNECT is not a response of the server.
    curl_easy_setopt(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
}

}  // namespace vexa
