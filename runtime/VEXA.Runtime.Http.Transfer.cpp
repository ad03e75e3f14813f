#include "VEXA.Runtime.Http.Transfer.h"

#include "VEXA.Runtime.Http.Proxy.h"
#include "VEXA.Runtime.Http.Status.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.Runtime.Reasons.h"
#include "VEXA.Runtime.Version.h"

#include <QUrl>

#include <pthread.h>
#include <signal.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace vexa {

namespace {

constexpr int kMaxRedirects = 10;
constexpr auto kProgressInterval = std::chrono::milliseconds(50);
constexpr long kReceiveBuffer = 256 * 1024;
// libcurl decompresses this much at a time, into several times the size, and keeps the result while a transfer is
// paused.
constexpr long kPackedReceiveBuffer = 64 * 1024;
// Bytes per second; a slower transfer counts as stalled. Otherwise a server that sends a byte now and then would hold
// up the whole queue.
constexpr long kMinSpeed = 100;

std::atomic<std::int64_t> ConnectSeconds{HttpTimeouts{}.Connect.count()};
std::atomic<std::int64_t> StalledSeconds{HttpTimeouts{}.Stalled.count()};
std::atomic<std::int64_t> DocumentSeconds{HttpTimeouts{}.Document.count()};

/// The share handle of all threads, and its locks.
class Share {
public:
    static CURLSH* Handle() {
        static auto* share = new Share;  // never destroyed: threads that use it may outlive static destruction
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
    // Not analysed: the library calls these two in pairs.
    static void Lock(CURL*, curl_lock_data data, curl_lock_access, void* self) VEXA_NOT_ANALYSED {
        static_cast<Share*>(self)->FMutexes[data].lock();
    }
    static void Unlock(CURL*, curl_lock_data data, void* self) VEXA_NOT_ANALYSED {
        static_cast<Share*>(self)->FMutexes[data].unlock();
    }

    CURLSH* FHandle = nullptr;
    std::array<TMutex, CURL_LOCK_DATA_LAST> FMutexes;
};

/// Why a certificate is not trusted, by what the TLS library says about it.
Reason CertificateReason(const QString& words) {
    constexpr std::pair<const char16_t*, const ReasonText&> kinds[] = {
        {u"has expired", RuntimeReason("CertificateExpired")},
        {u"in certificate chain", RuntimeReason("CertificateOfUnknown")},
        {u"self-signed", RuntimeReason("CertificateOfItself")},
        {u"local issuer", RuntimeReason("CertificateOfUnknown")},
        {u"subject name", RuntimeReason("CertificateOfAnother")},
    };
    for (const auto& [part, text] : kinds)
        if (words.contains(QStringView(part))) return Reason(text);
    return words;
}

Reason CurlReason(CURLcode code, const char* detail) {
    const QString words = QString::fromUtf8(detail && *detail ? detail : curl_easy_strerror(code)).trimmed();
    switch (code) {
        case CURLE_COULDNT_RESOLVE_HOST:
            return Reason(RuntimeReason("NoSuchHost"));
        case CURLE_COULDNT_RESOLVE_PROXY:
            return Reason(RuntimeReason("NoSuchProxy"));
        case CURLE_COULDNT_CONNECT:
            return Reason(RuntimeReason("NotReached"));
        case CURLE_OPERATION_TIMEDOUT:
            return Reason(RuntimeReason("TimedOut"));
        case CURLE_PEER_FAILED_VERIFICATION:
            return Reason(RuntimeReason("NotTrusted"), {CertificateReason(words)});
        case CURLE_SSL_CONNECT_ERROR:
            return Reason(RuntimeReason("NotSecured"), {words});
        case CURLE_TOO_MANY_REDIRECTS:
            return Reason(RuntimeReason("Redirects"), {QString::number(kMaxRedirects)});
        case CURLE_UNSUPPORTED_PROTOCOL:
            // libcurl has one code for two errors; it takes data that does not begin like a response for HTTP/0.9.
            if (words.contains(u"HTTP/0.9")) return Reason(RuntimeReason("NotHttp"));
            return Reason(RuntimeReason("OtherScheme"));
        case CURLE_PARTIAL_FILE:
            return Reason(RuntimeReason("BodyEnded"));
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
            // The codes also stand for data that libcurl does not understand.
            if (words.startsWith(u"Send failure: ") || words.startsWith(u"Recv failure: "))
                return Reason(RuntimeReason("BrokeOff"));
            return Reason(RuntimeReason("TransferFailed"), {words});
        case CURLE_GOT_NOTHING:
            return Reason(RuntimeReason("NoAnswer"));
        case CURLE_BAD_CONTENT_ENCODING:
            return Reason(RuntimeReason("BodyDamaged"));
        default:
            return Reason(RuntimeReason("TransferFailed"), {words});
    }
}

std::optional<HttpContentRange> ParseContentRange(const QByteArray& value) {
    long long first = 0, last = 0, size = 0;
    if (std::sscanf(value.constData(), "bytes %lld-%lld/%lld", &first, &last, &size) != 3) return std::nullopt;
    return HttpContentRange{first, last, size};
}

}  // namespace

CURLSH* HttpShareHandle() {
    return Share::Handle();
}

PipeSignalBlocked::PipeSignalBlocked() {
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, &FBefore);
}

PipeSignalBlocked::~PipeSignalBlocked() {
    if (sigismember(&FBefore, SIGPIPE)) return;
    // Consume a signal raised meanwhile before it can be delivered.
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    const timespec none{};
    while (sigtimedwait(&pipe, nullptr, &none) > 0) {
    }
    pthread_sigmask(SIG_SETMASK, &FBefore, nullptr);
}

HttpTransfer::~HttpTransfer() {
    curl_slist_free_all(FHeaders);
}

bool HttpTransfer::Prepare(CURL* easy) {
    FEasy = easy;
    FLastArrival = Clock::now();
    const QByteArray address = EncodedUrl(FRepeatedAddress.isEmpty() ? FRequest.Url : FRepeatedAddress);
    if (address.isEmpty()) {
        FOutcome = Failure(HttpErrorInfo::Kind::BadAddress, Reason(RuntimeReason("NoAddress")));
        return false;
    }
    curl_easy_reset(FEasy);
    QUrl url = QUrl::fromEncoded(address);
    const QByteArray user = url.userName(QUrl::FullyDecoded).toUtf8();
    const QByteArray password = url.password(QUrl::FullyDecoded).toUtf8();
    url.setUserInfo(QString());
    // Set as options, because libcurl sends these only to the first host, port and scheme, not after a redirect to
    // others.
    if (!user.isEmpty() || !password.isEmpty()) {
        Set(CURLOPT_USERNAME, user.constData());
        Set(CURLOPT_PASSWORD, password.constData());
    }
    Set(CURLOPT_URL, url.toEncoded().constData());
    SetHttpProxy(FEasy, url);
    Set(CURLOPT_SHARE, Share::Handle());
    Set(CURLOPT_USERAGENT, kUserAgent);
    // The desktop or an administrator may name other authorities; OpenSSL and curl's own tool read the same variable.
    if (const char* authorities = std::getenv("SSL_CERT_FILE")) Set(CURLOPT_CAINFO, authorities);
    Set(CURLOPT_PROTOCOLS_STR, "http,https");
    Set(CURLOPT_FOLLOWLOCATION, 1L);
    Set(CURLOPT_MAXREDIRS, static_cast<long>(kMaxRedirects));
    Set(CURLOPT_NOSIGNAL, 1L);
    Set(CURLOPT_QUICK_EXIT, 1L);
    Set(CURLOPT_CONNECTTIMEOUT, static_cast<long>(ConnectSeconds.load()));
    Set(CURLOPT_LOW_SPEED_LIMIT, kMinSpeed);
    Set(CURLOPT_LOW_SPEED_TIME, static_cast<long>(StalledSeconds.load()));
    Set(CURLOPT_TIMEOUT, static_cast<long>(FRequest.TotalTimeout.count()));
    Set(CURLOPT_BUFFERSIZE, FRequest.Compressed ? kPackedReceiveBuffer : kReceiveBuffer);
    Set(CURLOPT_ERRORBUFFER, FErrorText);
    if (FRequest.Compressed) Set(CURLOPT_ACCEPT_ENCODING, "");  // all encodings that libcurl was built with
    if (FRequest.FirstByte > 0)
        Set(CURLOPT_RANGE, QByteArray(QByteArray::number(FRequest.FirstByte) + "-").constData());
    SetHeaders(true);
    Set(CURLOPT_WRITEFUNCTION, &HttpTransfer::WriteCallback);
    Set(CURLOPT_WRITEDATA, this);
    Set(CURLOPT_HEADERFUNCTION, &HttpTransfer::HeaderCallback);
    Set(CURLOPT_HEADERDATA, this);
    return true;
}

/// libcurl sends custom headers to every host after redirects, so they are set again before each request of a chain.
void HttpTransfer::SetHeaders(bool isOwnHost) {
    curl_slist* headers = nullptr;
    if (!FRequest.IfRange.isEmpty())
        headers = curl_slist_append(headers, QByteArray("If-Range: " + FRequest.IfRange).constData());
    if (isOwnHost)
        for (const auto* lines : {&FRequest.Conditions, &FRequest.Headers})
            for (const QByteArray& line : *lines) headers = curl_slist_append(headers, line.constData());
    Set(CURLOPT_HTTPHEADER, headers);
    curl_slist_free_all(FHeaders);
    FHeaders = headers;
}

bool HttpTransfer::End(CURLcode code) {
    long status = 0;
    curl_easy_getinfo(FEasy, CURLINFO_RESPONSE_CODE, &status);
    FStatus = static_cast<int>(status);
    FOutcome = Judge(code);
    FRepeatedAddress = AddressToRepeat();
    if (FRepeatedAddress.isEmpty()) return false;
    FHops.pop_back();  // the last request will be repeated
    FStatus = 0;
    FReceived = 0;
    FHasBegun = FHeadEnded = FAccepted = false;
    return true;
}

void HttpTransfer::Fail(CURLMcode code) {
    FOutcome = Failure(HttpErrorInfo::Kind::Network,
                       Reason(RuntimeReason("TransferFailed"), {QString::fromUtf8(curl_multi_strerror(code))}));
}

/// The address to request again with the request's user name and password, when a redirect to https on the same host
/// was refused because they were missing: libcurl treats that as another host. Empty when there is no such address.
QString HttpTransfer::AddressToRepeat() const {
    if (FStatus != 401 || FHops.size() < 2 || !FRepeatedAddress.isEmpty()) return {};
    const QString& last = FHops.back().Address;
    const QString repeated = WithCredentialsOf(FRequest.Url, last);
    return repeated != last && QUrl(last).scheme() != QUrl(FRequest.Url).scheme() ? repeated : QString();
}

HttpErrorInfo HttpTransfer::Judge(CURLcode code) {
    using Kind = HttpErrorInfo::Kind;
    if (FCause) {
        HttpErrorInfo info = Failure(Kind::Callback, Reason(RuntimeReason("Internal")));
        info.Cause = FCause;
        try {
            std::rethrow_exception(FCause);
        } catch (const std::exception& error) {
            info.Why = ReasonOf(error);
        } catch (...) {
        }
        return info;
    }
    if (FCancelled) return Failure(Kind::Cancelled, Reason(RuntimeReason("Cancelled")));
    if (FTooLarge)
        return Failure(Kind::TooLarge,
                       Reason(RuntimeReason("TooLarge"), {QString::number(FRequest.MaxBytes / (1024 * 1024))}));
    if (FRefused) return Failure(Kind::Refused, Reason(RuntimeReason("NotTaken")));
    // If the last response is a redirect that could not be followed, or an interim response (1xx), report why the
    // transfer ended rather than the status.
    const bool isLastWord = code == CURLE_OK || code == CURLE_WRITE_ERROR || !(IsRedirect() || FStatus < 200);
    if (IsFailureStatus() && isLastWord) {
        HttpErrorInfo info = Failure(Kind::Status, StatusReason());
        if (FStatus == 429 || FStatus == 503) info.RetryAfter = RetryAfter();
        info.Date = Header("Date");
        return info;
    }
    if (!FHeadEnded && code == CURLE_OK)  // libcurl takes this for a response without a body
        return Failure(Kind::Network, Reason(RuntimeReason("HeadersEnded")));
    if (!FHeadEnded && code == CURLE_OUT_OF_MEMORY)
        return Failure(Kind::Network, Reason(RuntimeReason("HeaderTooLong")));
    if (code != CURLE_OK) {
        HttpErrorInfo info = Failure(Kind::Network, CurlReason(code, FErrorText));
        info.IsTransient = code == CURLE_COULDNT_CONNECT || code == CURLE_OPERATION_TIMEDOUT;
        return info;
    }
    // An empty body never reaches the write callback.
    if (!FAccepted && !Guarded([this] { return Accept(); })) return Judge(CURLE_OK);
    Progress(true);
    if (FCause) return Judge(CURLE_OK);
    return HttpErrorInfo{Kind::Success, FStatus, {}, nullptr, false, {}, {}};
}

HttpErrorInfo HttpTransfer::Failure(HttpErrorInfo::Kind kind, const Reason& why) const {
    return HttpErrorInfo{kind, FStatus, why, nullptr, false, {}, {}};
}

/// Whether the status is a failure. This includes responses without content, and an unrequested part or "not modified".
bool HttpTransfer::IsFailureStatus() const {
    if (FStatus == 206) return FRequest.FirstByte == 0 && !IsWholePart();
    if (FStatus == 304) return FRequest.Conditions.isEmpty();
    return FStatus != 0 && (FStatus < 200 || FStatus >= 300 || FStatus == 204 || FStatus == 205);
}

/// Whether a partial response holds the whole content, as some servers send it.
bool HttpTransfer::IsWholePart() const {
    const auto part = ParseContentRange(Header("Content-Range"));
    return part && part->First == 0 && part->Last == part->Size - 1;
}

QByteArray HttpTransfer::Header(const char* name) const {
    curl_header* header = nullptr;
    const bool isThere = curl_easy_header(FEasy, name, 0, CURLH_HEADER, -1, &header) == CURLHE_OK;
    return isThere ? QByteArray(header->value).trimmed() : QByteArray();
}

Reason HttpTransfer::StatusReason() const {
    const Reason meaning = HttpStatusMeaning(FStatus, FPhrase);
    const auto seconds = RetryAfter().count();
    if (seconds == 0) return Reason(RuntimeReason("Answered"), {meaning});
    return Reason(RuntimeReason("AnsweredWait"), {meaning, QString::number(seconds)});
}

/// RFC 9110, section 10.2.3.
std::chrono::seconds HttpTransfer::RetryAfter() const {
    curl_off_t seconds = 0;
    curl_easy_getinfo(FEasy, CURLINFO_RETRY_AFTER, &seconds);
    return std::chrono::seconds(std::max<curl_off_t>(seconds, 0));
}

QString HttpTransfer::AnsweringAddress() const {
    return FHops.empty() ? FRequest.Url : FHops.back().Address;
}

void HttpTransfer::TimeOut() {
    FOutcome = Failure(HttpErrorInfo::Kind::Network, CurlReason(CURLE_OPERATION_TIMEDOUT, nullptr));
    FOutcome.IsTransient = true;
}

/// Runs a callback of the request; its exception is kept and ends the transfer.
template <class Call>
bool HttpTransfer::Guarded(Call call) noexcept {
    try {
        return call();
    } catch (...) {
        FCause = std::current_exception();
        return false;
    }
}

bool HttpTransfer::IsCancelled() noexcept {
    if (FIsCancelled && !Guarded([this] { return !FIsCancelled(); })) FCancelled = true;
    return FCancelled;
}

bool HttpTransfer::Accept() {
    FAccepted = true;
    HttpResponseInfo response;
    response.Status = FStatus;
    response.Size = AnnouncedSize();
    response.Part = ParseContentRange(Header("Content-Range"));
    response.ETag = Header("ETag");
    response.LastModified = Header("Last-Modified");
    response.Date = Header("Date");
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

QString HttpTransfer::MovedTo() const {
    std::size_t permanent = 0;
    while (permanent + 1 < FHops.size() && (FHops[permanent].Status == 301 || FHops[permanent].Status == 308))
        ++permanent;
    if (permanent == 0) return {};
    QUrl address(FHops[permanent].Address);
    address.setFragment(QString());
    const QString moved = QString::fromUtf8(address.toEncoded());
    return IsSameUrl(moved, FRequest.Url) ? QString() : WithCredentialsOf(FRequest.Url, moved);
}

void HttpTransfer::NoteHop(const QString& statusLine) {
    const int status = statusLine.section(u' ', 1, 1).toInt();
    const char* address = nullptr;
    curl_easy_getinfo(FEasy, CURLINFO_EFFECTIVE_URL, &address);
    if (status >= 200 && address) FHops.push_back({QString::fromUtf8(address), status});
}

void HttpTransfer::NoteRedirect(const QString& location) {
    const char* address = nullptr;
    curl_easy_getinfo(FEasy, CURLINFO_EFFECTIVE_URL, &address);
    const QUrl here(QString::fromUtf8(address)), own(FRequest.Url), next = here.resolved(QUrl(location));
    SetHttpProxy(FEasy, next);
    if (!FRequest.Conditions.isEmpty() || !FRequest.Headers.isEmpty())
        SetHeaders(IsSameOrigin(next, own) && IsSameOrigin(here, own));
}

bool HttpTransfer::Write(const char* data, std::size_t size) {
    long status = 0;
    curl_easy_getinfo(FEasy, CURLINFO_RESPONSE_CODE, &status);
    FStatus = static_cast<int>(status);
    FReceived += static_cast<qint64>(size);
    if (IsFailureStatus()) return FReceived <= kReceiveBuffer;  // read a short error page, to keep the connection
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

std::size_t HttpTransfer::WriteCallback(char* data, std::size_t size, std::size_t count, void* self) {
    auto& transfer = *static_cast<HttpTransfer*>(self);
    transfer.FLastArrival = Clock::now();
    if (transfer.IsHeld && transfer.IsHeld()) return CURL_WRITEFUNC_PAUSE;
    const std::size_t bytes = size * count;
    return transfer.Guarded([&] { return transfer.Write(data, bytes); }) ? bytes : bytes + 1;
}

/// Keeps the reason phrase of the last status line ("HTTP/1.1 404 Not Found"), whether its headers are complete, and
/// the address that sent it.
std::size_t HttpTransfer::HeaderCallback(char* data, std::size_t size, std::size_t count, void* self) {
    const std::size_t bytes = size * count;
    const QByteArrayView line(data, static_cast<qsizetype>(bytes));
    auto& transfer = *static_cast<HttpTransfer*>(self);
    transfer.FHasBegun = true;
    transfer.FLastArrival = Clock::now();
    if (line.trimmed().isEmpty()) transfer.FHeadEnded = true;
    if (line.startsWith("HTTP/")) {
        transfer.FHeadEnded = false;
        transfer.Guarded([&] {
            const QString text = QString::fromUtf8(line).simplified().left(200);
            transfer.FPhrase = text.section(u' ', 2);
            transfer.NoteHop(text);
            return true;
        });
    } else if (line.first(std::min<qsizetype>(line.size(), 9)).compare("location:", Qt::CaseInsensitive) == 0) {
        transfer.Guarded([&] {
            transfer.NoteRedirect(QString::fromUtf8(line.sliced(9)).trimmed());
            return true;
        });
    }
    return bytes;
}

/// The announced size as transferred; 0 when unknown.
qint64 HttpTransfer::AnnouncedSize() const {
    curl_off_t size = 0;
    curl_easy_getinfo(FEasy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &size);
    return std::max<qint64>(size, 0);
}

void HttpTransfer::Progress(bool last) {
    if (!FRequest.OnProgress || !FAccepted || FCause) return;
    const auto now = Clock::now();
    if (!last && now - FLastProgress < kProgressInterval) return;
    FLastProgress = now;
    Guarded([&] {
        FRequest.OnProgress(FReceived, AnnouncedSize());
        return true;
    });
}

HttpError::HttpError(const HttpErrorInfo& info)
    : ReasonError(info.Why), FWhat(info.What), FStatus(info.Status), FIsTransient(info.IsTransient) {}
HttpError::~HttpError() = default;

void HttpErrorInfo::RaiseIfFailed() const {
    if (Succeeded()) return;
    if (Cause) std::rethrow_exception(Cause);
    throw HttpError(*this);
}

void SetHttpTimeouts(HttpTimeouts timeouts) {
    ConnectSeconds = timeouts.Connect.count();
    StalledSeconds = timeouts.Stalled.count();
    DocumentSeconds = timeouts.Document.count();
}

std::chrono::seconds HttpDocumentTimeout() {
    return std::chrono::seconds(DocumentSeconds.load());
}

}  // namespace vexa
