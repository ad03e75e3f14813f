#pragma once
// HTTP GET, blocking, with callbacks: the transfers of feeds, logos and audio files.
//
// Addresses are http or https, also after redirects (at most 10). A user name and a password in an address are sent
// only to its own host (see WithCredentialsOf), also after a redirect. Certificates are checked. Connecting may take 15
// s, and a transfer may stall for 30 s; only documents have a limit on the whole transfer. A cancel check is polled at
// least every 50 ms, also while a name is resolved or no data arrives. Each thread keeps its own connections for reuse;
// resolved names and TLS sessions are shared between threads.

#include "VEXA.Runtime.Export.h"
#include "VEXA.Runtime.Reason.h"
#include "VEXA.Runtime.Threads.h"
#include "VEXA.Runtime.Url.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <chrono>
#include <exception>
#include <functional>
#include <optional>

namespace vexa {

/// How a transfer ended.
struct VEXA_RUNTIME_API HttpErrorInfo {
    enum class Kind { Success, Cancelled, BadAddress, Network, Status, TooLarge, Refused, Callback };

    Kind What = Kind::Success;
    int Status = 0;                      // HTTP status of the last response; 0 when there was none
    Reason Why;                          // none on success
    std::exception_ptr Cause;            // the exception that a callback threw (Kind::Callback)
    bool IsTransient = false;            // a refused connection or a time-out: worth a second try later
    std::chrono::seconds RetryAfter{0};  // with status 429 or 503: for how long the server asks not to be asked again
    QByteArray Date{};                   // with a status: the response's Date header, unparsed; empty when not given

    bool Succeeded() const noexcept { return What == Kind::Success; }
    /// Unless the transfer succeeded, throws the callback's own exception, or an HttpError with the reason.
    void RaiseIfFailed() const;
};

/// Why a transfer failed ("the server answered 404 Not Found"). The reason does not name the address.
class VEXA_RUNTIME_API HttpError : public ReasonError {
public:
    explicit HttpError(const HttpErrorInfo& info);
    HttpError(const HttpError&) = default;
    ~HttpError() override;

    HttpErrorInfo::Kind What() const noexcept { return FWhat; }
    int Status() const noexcept { return FStatus; }
    bool IsTransient() const noexcept { return FIsTransient; }

private:
    HttpErrorInfo::Kind FWhat;
    int FStatus;
    bool FIsTransient;
};

/// Which bytes of the complete content a partial response holds (RFC 9110, section 14.4).
struct HttpContentRange {
    qint64 First, Last, Size;
};

/// The headers of the final response.
struct HttpResponseInfo {
    int Status = 0;    // 2xx; 304 where conditions were sent
    QString MimeType;  // lower case, without parameters; empty when not given
    QString Charset;   // the charset parameter; empty when not given
    qint64 Size = 0;   // announced size as transferred (compressed, if it is); 0 when unknown
    std::optional<HttpContentRange> Part;
    QByteArray ETag, LastModified, Date;  // unparsed; empty when not given
    QString Address;                      // the address that answered, after all redirects
    /// The address to which permanent redirects (301, 308) led before any temporary one; empty when there was none.
    QString MovedTo;
};

/// One GET. Set the callbacks that are needed, then call Run. All callbacks are called on the calling thread; an
/// exception from a callback ends the transfer as a failure and is kept in the error information.
struct VEXA_RUNTIME_API HttpGet {
    QString Url;
    bool Compressed = false;               // ask for (and undo) content encodings: for documents, not for audio
    qint64 MaxBytes = 0;                   // limit on the body's size after decompression; 0: none
    std::chrono::seconds TotalTimeout{0};  // limit on the whole transfer; 0: none
    /// Header lines such as "If-None-Match: …". They are not sent to another host after a redirect. If there are any,
    /// status 304 is not a failure.
    QList<QByteArray> Conditions;
    /// Further header lines. They are not sent to another host after a redirect, because they may hold a secret.
    QList<QByteArray> Headers;
    /// If not 0, asks for the rest of the content from this byte on. Status 206 is then accepted, whatever part the
    /// response holds: check HttpResponseInfo::Part.
    qint64 FirstByte = 0;
    QByteArray IfRange;  // a validator; also sent to other hosts after a redirect, which is where files usually are

    /// The status is not a failure, and all headers have arrived; false ends the transfer. Called once, before any
    /// data.
    std::function<bool(const HttpResponseInfo&)> OnAccepted;
    /// A block of the body; false ends the transfer.
    std::function<bool(const char* data, std::size_t size)> OnData;
    /// The bytes received so far and the announced total (0 when unknown); about 20 times a second and at the end.
    std::function<void(qint64 position, qint64 size)> OnProgress;
    /// Called once, whatever the outcome. An exception from this callback leaves Run.
    std::function<void(const HttpErrorInfo&)> OnCompleted;

    HttpErrorInfo Run(const CancelCheck& isCancelled) const;
};

struct HttpDocument {
    QByteArray Body;
    HttpResponseInfo Info;
};

/// Fetches a whole document into memory, compressed where the server can. Throws HttpError.
VEXA_RUNTIME_API HttpDocument HttpGetDocument(const QString& url, qint64 maxBytes, const CancelCheck& isCancelled);

struct HttpTimeouts {
    std::chrono::seconds Connect{15};
    std::chrono::seconds Stalled{30};
    std::chrono::seconds Document{15 * 60};  // for the whole transfer of a document
};
/// Sets the time-outs of all transfers that start afterwards.
VEXA_RUNTIME_API void SetHttpTimeouts(HttpTimeouts timeouts);

}  // namespace vexa
