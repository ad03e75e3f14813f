#include "VEXA.Runtime.Http.h"

#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Version.h"

#include <QScopeGuard>
#include <QUrl>

#include <curl/curl.h>
#include <pthread.h>
#include <signal.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <memory>
#include <mutex>
#include <vector>

namespace vexa {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMaxRedirects = 10;
constexpr int kPollMilliseconds = 50;
constexpr auto kProgressInterval = std::chrono::milliseconds(50);
constexpr long kReceiveBuffer = 256 * 1024;
// Bytes a second; what is slower stands still. A server that sends a byte now and then would hold up all that is
// queued.
constexpr long kLeastSpeed = 100;

std::atomic<std::int64_t> ConnectSeconds{HttpTimeouts{}.Connect.count()};
std::atomic<std::int64_t> StalledSeconds{HttpTimeouts{}.Stalled.count()};
std::atomic<std::int64_t> DocumentSeconds{HttpTimeouts{}.Document.count()};

/// Names and TLS sessions, shared by all threads. Connections are not: the library calls that unsafe.
class Share {
public:
    static CURLSH* Handle() {
        static auto* share = new Share;  // used by threads that outlive static destruction
        return share->FHandle;
    }

private:
    Share() {
        curl_global_init(CURL_GLOBAL_DEFAULT);
        FHandle = curl_share_init();
        curl_share_setopt(FHandle, CURLSHOPT_USERDATA, this);
        curl_share_setopt(FHandle, CURLSHOPT_LOCKFUNC, Lock);
        curl_share_setopt(FHandle, CURLSHOPT_UNLOCKFUNC, Unlock);
        curl_share_setopt(FHandle, CURLSHOPT_SHARE, CURL_LOCK_DATA_DNS);
        curl_share_setopt(FHandle, CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
    }
    static void Lock(CURL*, curl_lock_data data, curl_lock_access, void* self) {
        static_cast<Share*>(self)->FMutexes[data].lock();
    }
    static void Unlock(CURL*, curl_lock_data data, void* self) { static_cast<Share*>(self)->FMutexes[data].unlock(); }

    CURLSH* FHandle = nullptr;
    std::array<std::mutex, CURL_LOCK_DATA_LAST> FMutexes;
};

/// A thread's transfer handles, kept for their connections.
class ThreadHandles {
public:
    ThreadHandles() : FShare(Share::Handle()), FEasy(curl_easy_init()), FMulti(curl_multi_init()) {
        if (!FEasy || !FMulti) throw std::bad_alloc();
    }
    ~ThreadHandles() {
        curl_easy_cleanup(FEasy);
        curl_multi_cleanup(FMulti);
    }
    ThreadHandles(const ThreadHandles&) = delete;
    ThreadHandles& operator=(const ThreadHandles&) = delete;

    CURL* Easy() const { return FEasy; }
    CURLM* Multi() const { return FMulti; }
    bool InUse = false;

private:
    CURLSH* FShare;  // made before the handles that use it
    CURL* FEasy;
    CURLM* FMulti;
};

/// Keeps a peer that closes its socket from ending the process: TLS libraries write without asking for an error instead
/// of a signal.
class PipeSignalBlocked {
public:
    PipeSignalBlocked() {
        sigset_t pipe;
        sigemptyset(&pipe);
        sigaddset(&pipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipe, &FBefore);
    }
    ~PipeSignalBlocked() {
        if (sigismember(&FBefore, SIGPIPE)) return;
        // One that came meanwhile is taken before it can be delivered.
        sigset_t pipe;
        sigemptyset(&pipe);
        sigaddset(&pipe, SIGPIPE);
        const timespec none{};
        while (sigtimedwait(&pipe, nullptr, &none) > 0) {
        }
        pthread_sigmask(SIG_SETMASK, &FBefore, nullptr);
    }
    PipeSignalBlocked(const PipeSignalBlocked&) = delete;
    PipeSignalBlocked& operator=(const PipeSignalBlocked&) = delete;

private:
    sigset_t FBefore;
};

QString ReasonPhrase(int status) {
    // HTTP/2 and 3 send no phrases; RFC 9110, section 15.
    struct Named {
        int Status;
        const char* Phrase;
    };
    static constexpr Named phrases[] = {
        {204, "No Content"},
        {206, "Partial Content"},
        {300, "Multiple Choices"},
        {301, "Moved Permanently"},
        {302, "Found"},
        {303, "See Other"},
        {304, "Not Modified"},
        {307, "Temporary Redirect"},
        {308, "Permanent Redirect"},
        {400, "Bad Request"},
        {401, "Unauthorized"},
        {402, "Payment Required"},
        {403, "Forbidden"},
        {404, "Not Found"},
        {405, "Method Not Allowed"},
        {406, "Not Acceptable"},
        {408, "Request Timeout"},
        {410, "Gone"},
        {416, "Range Not Satisfiable"},
        {421, "Misdirected Request"},
        {429, "Too Many Requests"},
        {451, "Unavailable For Legal Reasons"},
        {500, "Internal Server Error"},
        {501, "Not Implemented"},
        {502, "Bad Gateway"},
        {503, "Service Unavailable"},
        {504, "Gateway Timeout"},
    };
    for (const auto& [number, phrase] : phrases)
        if (number == status) return QString::fromLatin1(phrase);
    return {};
}

QString CurlReason(CURLcode code, const char* detail) {
    switch (code) {
        case CURLE_COULDNT_RESOLVE_HOST:
            return QStringLiteral("the server's name could not be resolved");
        case CURLE_COULDNT_CONNECT:
            return QStringLiteral("the server could not be reached (connection refused or no route)");
        case CURLE_OPERATION_TIMEDOUT:
            return QStringLiteral("the server did not answer in time");
        case CURLE_PEER_FAILED_VERIFICATION:
            return QStringLiteral("the server's certificate is not trusted: ") + QString::fromUtf8(detail).trimmed();
        case CURLE_TOO_MANY_REDIRECTS:
            return QStringLiteral("the server redirects more than %1 times").arg(kMaxRedirects);
        case CURLE_UNSUPPORTED_PROTOCOL:
            // The library's one code for two things; what does not begin like an answer it takes for HTTP/0.9.
            if (QByteArrayView(detail).contains("HTTP/0.9"))
                return QStringLiteral("the server sent something that is not HTTP");
            return QStringLiteral("the address, or one that it redirects to, is not http or https");
        case CURLE_PARTIAL_FILE:
            return QStringLiteral("the connection ended before the whole body arrived");
        case CURLE_GOT_NOTHING:
            return QStringLiteral("the server closed the connection without an answer");
        case CURLE_BAD_CONTENT_ENCODING:
            return QStringLiteral("the compressed body is damaged");
        default:
            break;
    }
    const QString text = QString::fromUtf8(detail && *detail ? detail : curl_easy_strerror(code)).trimmed();
    return QStringLiteral("the transfer failed: ") + text;
}

/// One running transfer: the meeting point of libcurl's C callbacks and ours.
class Transfer {
public:
    Transfer(const HttpGet& request, CURL* easy, const CancelCheck& isCancelled)
        : FRequest(request), FEasy(easy), FIsCancelled(isCancelled) {}

    HttpErrorInfo Perform(CURLM* multi, const QByteArray& address) {
        curl_easy_reset(FEasy);
        QUrl url = QUrl::fromEncoded(address);
        const QByteArray user = url.userName(QUrl::FullyDecoded).toUtf8();
        const QByteArray password = url.password(QUrl::FullyDecoded).toUtf8();
        url.setUserInfo(QString());
        // As options: the library sends these to the first host, port and scheme only, whatever it is redirected to.
        if (!user.isEmpty() || !password.isEmpty()) {
            Set(CURLOPT_USERNAME, user.constData());
            Set(CURLOPT_PASSWORD, password.constData());
        }
        Set(CURLOPT_URL, url.toEncoded().constData());
        Set(CURLOPT_SHARE, Share::Handle());
        Set(CURLOPT_USERAGENT, kUserAgent);
        Set(CURLOPT_PROTOCOLS_STR, "http,https");
        Set(CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
        Set(CURLOPT_FOLLOWLOCATION, 1L);
        Set(CURLOPT_MAXREDIRS, static_cast<long>(kMaxRedirects));
        Set(CURLOPT_NOSIGNAL, 1L);
        Set(CURLOPT_QUICK_EXIT, 1L);
        Set(CURLOPT_CONNECTTIMEOUT, static_cast<long>(ConnectSeconds.load()));
        Set(CURLOPT_LOW_SPEED_LIMIT, kLeastSpeed);
        Set(CURLOPT_LOW_SPEED_TIME, static_cast<long>(StalledSeconds.load()));
        Set(CURLOPT_TIMEOUT, static_cast<long>(FRequest.Longest.count()));
        Set(CURLOPT_BUFFERSIZE, kReceiveBuffer);
        Set(CURLOPT_ERRORBUFFER, FErrorText);
        if (FRequest.Compressed) Set(CURLOPT_ACCEPT_ENCODING, "");  // all that the library was built with
        Set(CURLOPT_WRITEFUNCTION, &Transfer::WriteCallback);
        Set(CURLOPT_WRITEDATA, this);
        Set(CURLOPT_HEADERFUNCTION, &Transfer::HeaderCallback);
        Set(CURLOPT_HEADERDATA, this);

        const CURLMcode added = curl_multi_add_handle(multi, FEasy);
        if (added != CURLM_OK)
            return Failure(HttpErrorInfo::Kind::Network, QString::fromUtf8(curl_multi_strerror(added)));
        const CURLcode code = Loop(multi);
        long status = 0;
        curl_easy_getinfo(FEasy, CURLINFO_RESPONSE_CODE, &status);
        FStatus = static_cast<int>(status);
        HttpErrorInfo info = Judge(code);
        curl_multi_remove_handle(multi, FEasy);
        curl_easy_reset(FEasy);  // the handle outlives this object, which it points to
        return info;
    }

    /// Where to ask again with the request's user name and password, after a redirect to the same host's https has been
    /// refused for want of them: the library takes that for another host. Empty when there is no such place.
    QString AddressToRepeat() const {
        if (FStatus != 401 || FHops.size() < 2) return {};
        const QString& last = FHops.back().Address;
        const QString repeated = WithCredentialsOf(FRequest.Url, last);
        return repeated != last && QUrl(last).scheme() != QUrl(FRequest.Url).scheme() ? repeated : QString();
    }
    /// Takes over what another transfer came by before this one.
    void ContinueAfter(const Transfer& other) {
        FHops = other.FHops;
        FHops.pop_back();  // asked again
    }

private:
    /// One request of the chain that redirects make, and its answer.
    struct Hop {
        QString Address;  // without user name and password of the request
        int Status;
    };

    template <class Value>
    void Set(CURLoption option, Value value) {
        curl_easy_setopt(FEasy, option, value);
    }

    /// Runs until the transfer has ended or is cancelled.
    CURLcode Loop(CURLM* multi) {
        for (;;) {
            if (IsCancelled()) return CURLE_ABORTED_BY_CALLBACK;
            int running = 0;
            if (curl_multi_perform(multi, &running) != CURLM_OK) return CURLE_FAILED_INIT;
            int left = 0;
            while (const CURLMsg* message = curl_multi_info_read(multi, &left))
                if (message->msg == CURLMSG_DONE && message->easy_handle == FEasy) return message->data.result;
            Progress(false);
            if (curl_multi_poll(multi, nullptr, 0, kPollMilliseconds, nullptr) != CURLM_OK) return CURLE_FAILED_INIT;
        }
    }

    HttpErrorInfo Judge(CURLcode code) {
        using Kind = HttpErrorInfo::Kind;
        if (FCause) {
            HttpErrorInfo info = Failure(Kind::Callback, QStringLiteral("an internal error"));
            info.Cause = FCause;
            try {
                std::rethrow_exception(FCause);
            } catch (const std::exception& error) {
                info.Message = QString::fromUtf8(error.what());
            } catch (...) {
            }
            return info;
        }
        if (FCancelled) return Failure(Kind::Cancelled, QStringLiteral("cancelled"));
        if (FTooLarge)
            return Failure(Kind::TooLarge,
                           QStringLiteral("the document is larger than %1 MiB").arg(FRequest.MaxBytes / (1024 * 1024)));
        if (FRefused) return Failure(Kind::Refused, QStringLiteral("the data could not be taken"));
        // A redirect that leads nowhere, and an announcement of an answer, are not the server's last word: say why
        // nothing followed.
        const bool isLastWord = code == CURLE_OK || code == CURLE_WRITE_ERROR || !(IsRedirect() || FStatus < 200);
        if (IsFailureStatus() && isLastWord) return Failure(Kind::Status, StatusText());
        if (!FHeadEnded && code == CURLE_OK)  // which the library takes for an answer without a body
            return Failure(Kind::Network, QStringLiteral("the connection ended before all headers arrived"));
        if (!FHeadEnded && code == CURLE_OUT_OF_MEMORY)
            return Failure(Kind::Network, QStringLiteral("a header of the server's answer is too long"));
        if (code != CURLE_OK) return Failure(Kind::Network, CurlReason(code, FErrorText));
        // A body without a single byte never reached the write callback.
        if (!FAccepted && !Guarded([this] { return Accept(); })) return Judge(CURLE_OK);
        Progress(true);
        if (FCause) return Judge(CURLE_OK);
        return HttpErrorInfo{Kind::Success, FStatus, {}, nullptr};
    }

    HttpErrorInfo Failure(HttpErrorInfo::Kind kind, const QString& message) const {
        return HttpErrorInfo{kind, FStatus, message, nullptr};
    }

    /// Also an answer without content, and a part of one, which nobody asks for here.
    bool IsFailureStatus() const {
        if (FStatus == 206) return !IsWholePart();
        return FStatus != 0 && (FStatus < 200 || FStatus >= 300 || FStatus == 204 || FStatus == 205);
    }

    /// Some servers call the whole a part.
    bool IsWholePart() const {
        curl_header* range = nullptr;
        if (curl_easy_header(FEasy, "Content-Range", 0, CURLH_HEADER, -1, &range) != CURLHE_OK) return false;
        long long last = 0, size = 0;
        return std::sscanf(range->value, "bytes 0-%lld/%lld", &last, &size) == 2 && last == size - 1;
    }

    bool IsRedirect() const { return FStatus >= 300 && FStatus < 400; }

    QString StatusText() const {
        const QString phrase = FPhrase.isEmpty() ? ReasonPhrase(FStatus) : FPhrase;
        QString text = QStringLiteral("the server answered %1").arg(FStatus);
        if (!phrase.isEmpty()) text += u' ' + phrase;
        curl_off_t seconds = 0;
        curl_easy_getinfo(FEasy, CURLINFO_RETRY_AFTER, &seconds);
        if (seconds > 0) text += QStringLiteral("; it asks to wait %1 seconds").arg(seconds);
        return text;
    }

    /// Runs foreign code; what it throws is kept and ends the transfer.
    template <class Call>
    bool Guarded(Call call) noexcept {
        try {
            return call();
        } catch (...) {
            FCause = std::current_exception();
            return false;
        }
    }

    /// Asks the cancel check; one that throws has cancelled, too.
    bool IsCancelled() noexcept {
        if (FIsCancelled && !Guarded([this] { return !FIsCancelled(); })) FCancelled = true;
        return FCancelled;
    }

    bool Accept() {
        FAccepted = true;
        HttpResponseInfo response;
        response.Size = AnnouncedSize();
        if (!FHops.empty()) response.Address = WithCredentialsOf(FRequest.Url, FHops.back().Address);
        response.MovedTo = MovedTo();
        const char* type = nullptr;
        curl_easy_getinfo(FEasy, CURLINFO_CONTENT_TYPE, &type);
        if (type) {
            const QString whole = QString::fromUtf8(type);
            response.MimeType = whole.section(u';', 0, 0).trimmed().toLower();
            for (const QString& parameter : whole.section(u';', 1).split(u';')) {
                if (!parameter.trimmed().startsWith(u"charset=", Qt::CaseInsensitive)) continue;
                response.Charset = parameter.section(u'=', 1).trimmed().remove(u'"').remove(u'\'');
            }
        }
        if (FRequest.OnAccepted && !FRequest.OnAccepted(response)) {
            FRefused = true;
            return false;
        }
        return true;
    }

    QString MovedTo() const {
        std::size_t permanent = 0;
        while (permanent + 1 < FHops.size() && (FHops[permanent].Status == 301 || FHops[permanent].Status == 308))
            ++permanent;
        if (permanent == 0) return {};
        QUrl address(FHops[permanent].Address);
        address.setFragment(QString());
        const QString moved = QString::fromUtf8(address.toEncoded());
        return IsSameUrl(moved, FRequest.Url) ? QString() : WithCredentialsOf(FRequest.Url, moved);
    }

    void NoteHop(const QString& statusLine) {
        const int status = statusLine.section(u' ', 1, 1).toInt();
        const char* address = nullptr;
        curl_easy_getinfo(FEasy, CURLINFO_EFFECTIVE_URL, &address);
        if (status >= 200 && address) FHops.push_back({QString::fromUtf8(address), status});
    }

    bool Write(const char* data, std::size_t size) {
        long status = 0;
        curl_easy_getinfo(FEasy, CURLINFO_RESPONSE_CODE, &status);
        FStatus = static_cast<int>(status);
        FReceived += static_cast<qint64>(size);
        if (IsFailureStatus()) return FReceived <= kReceiveBuffer;  // an error page: read it for the connection's sake
        if (!FAccepted && !Accept()) return false;
        if (FRequest.MaxBytes > 0 && FReceived > FRequest.MaxBytes) {
            FTooLarge = true;
            return false;
        }
        if (FRequest.OnData && !FRequest.OnData(data, size)) {
            FRefused = true;
            return false;
        }
        return !IsCancelled();
    }

    static std::size_t WriteCallback(char* data, std::size_t size, std::size_t count, void* self) {
        auto& transfer = *static_cast<Transfer*>(self);
        const std::size_t bytes = size * count;
        return transfer.Guarded([&] { return transfer.Write(data, bytes); }) ? bytes : bytes + 1;
    }

    /// Keeps the reason phrase of the last status line ("HTTP/1.1 404 Not Found"), whether its headers ended, and whom
    /// it came from.
    static std::size_t HeaderCallback(char* data, std::size_t size, std::size_t count, void* self) {
        const std::size_t bytes = size * count;
        const QByteArrayView line(data, static_cast<qsizetype>(bytes));
        auto& transfer = *static_cast<Transfer*>(self);
        if (line.trimmed().isEmpty()) transfer.FHeadEnded = true;
        if (line.startsWith("HTTP/")) {
            transfer.FHeadEnded = false;
            transfer.Guarded([&] {
                const QString text = QString::fromUtf8(line).simplified().left(200);
                transfer.FPhrase = text.section(u' ', 2);
                transfer.NoteHop(text);
                return true;
            });
        }
        return bytes;
    }

    /// As transferred; 0 when unknown.
    qint64 AnnouncedSize() const {
        curl_off_t size = 0;
        curl_easy_getinfo(FEasy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &size);
        return std::max<qint64>(size, 0);
    }

    void Progress(bool last) {
        if (!FRequest.OnProgress || !FAccepted || FCause) return;
        const auto now = Clock::now();
        if (!last && now - FLastProgress < kProgressInterval) return;
        FLastProgress = now;
        Guarded([&] {
            FRequest.OnProgress(FReceived, AnnouncedSize());
            return true;
        });
    }

    const HttpGet& FRequest;
    CURL* FEasy;
    const CancelCheck& FIsCancelled;
    char FErrorText[CURL_ERROR_SIZE] = {};
    int FStatus = 0;
    QString FPhrase;
    std::vector<Hop> FHops;
    qint64 FReceived = 0;
    bool FHeadEnded = false, FAccepted = false, FCancelled = false, FTooLarge = false, FRefused = false;
    std::exception_ptr FCause;
    Clock::time_point FLastProgress{};
};

}  // namespace

HttpError::HttpError(HttpErrorInfo::Kind what, const QString& message)
    : std::runtime_error(message.toStdString()), FWhat(what) {}
HttpError::~HttpError() = default;

void HttpErrorInfo::RaiseIfFailed() const {
    if (Succeeded()) return;
    if (Cause) std::rethrow_exception(Cause);
    throw HttpError(What, Message);
}

HttpErrorInfo HttpGet::Run(const CancelCheck& isCancelled) const {
    HttpErrorInfo info;
    if (const QByteArray url = EncodedUrl(Url); url.isEmpty()) {
        info = {HttpErrorInfo::Kind::BadAddress, 0, QStringLiteral("this is not an http or https address"), nullptr};
    } else {
        thread_local ThreadHandles handles;
        // A callback that fetches something itself gets handles of its own.
        std::unique_ptr<ThreadHandles> nested = handles.InUse ? std::make_unique<ThreadHandles>() : nullptr;
        ThreadHandles& used = nested ? *nested : handles;
        const PipeSignalBlocked blocked;
        used.InUse = true;
        const auto free = qScopeGuard([&] { used.InUse = false; });
        Transfer transfer(*this, used.Easy(), isCancelled);
        info = transfer.Perform(used.Multi(), url);
        if (const QString address = transfer.AddressToRepeat(); !address.isEmpty()) {
            Transfer repeated(*this, used.Easy(), isCancelled);
            repeated.ContinueAfter(transfer);
            info = repeated.Perform(used.Multi(), EncodedUrl(address));
        }
    }
    if (info.Succeeded())
        qCDebug(LogHttp).noquote() << "fetched" << MaskedUrl(Url);
    else
        qCDebug(LogHttp).noquote() << "could not fetch" << MaskedUrl(Url) << "-" << info.Message;
    if (OnCompleted) OnCompleted(info);
    return info;
}

HttpDocument HttpGetDocument(const QString& url, qint64 maxBytes, const CancelCheck& isCancelled) {
    HttpDocument document;
    HttpGet request;
    request.Url = url;
    request.Compressed = true;
    request.MaxBytes = maxBytes;
    request.Longest = std::chrono::seconds(DocumentSeconds.load());
    request.OnAccepted = [&](const HttpResponseInfo& info) {
        document.Info = info;
        // Documents pack to a fifth or so. A wrong guess costs a copy, or room that is not used.
        constexpr qint64 kUsualRatio = 6;
        document.Body.reserve(std::min(info.Size, maxBytes / kUsualRatio) * kUsualRatio);
        return true;
    };
    request.OnData = [&](const char* data, std::size_t size) {
        document.Body.append(data, static_cast<qsizetype>(size));
        return true;
    };
    request.Run(isCancelled).RaiseIfFailed();
    return document;
}

void SetHttpTimeouts(HttpTimeouts timeouts) {
    ConnectSeconds = timeouts.Connect.count();
    StalledSeconds = timeouts.Stalled.count();
    DocumentSeconds = timeouts.Document.count();
}

}  // namespace vexa
