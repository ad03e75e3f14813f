#pragma once
// One GET as libcurl performs it: what it is told before, what its callbacks give, and how its end is judged. Not
// installed: whoever drives the library includes this, everybody else VEXA.Runtime.Http.h.
//
// A driver calls Prepare, adds the handle to a multi handle, lets the library work until it reports the handle as done,
// calls End and removes the handle. Callbacks run on the thread that drives.

#include "VEXA.Runtime.Http.h"

#include <curl/curl.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <exception>
#include <functional>
#include <vector>

namespace vexa {

/// The bound on the whole of a document's transfer.
std::chrono::seconds HttpDocumentTimeout();

/// What to reserve for a document, in bytes. Documents pack to a fifth or so; a wrong guess costs a copy, or room that
/// is not used.
inline qint64 RoomForDocument(const HttpResponseInfo& info, qint64 maxBytes) {
    constexpr qint64 kUsualRatio = 6;
    return std::min(info.Size, maxBytes / kUsualRatio) * kUsualRatio;
}

/// Names and TLS sessions, shared by all threads. Connections are not: the library calls that unsafe.
CURLSH* HttpShareHandle();

/// Keeps a peer that closes its socket from ending the process: TLS libraries write without asking for an error instead
/// of a signal. For as long as it lives, on the calling thread.
class PipeSignalBlocked {
public:
    PipeSignalBlocked();
    ~PipeSignalBlocked();
    PipeSignalBlocked(const PipeSignalBlocked&) = delete;
    PipeSignalBlocked& operator=(const PipeSignalBlocked&) = delete;

private:
    sigset_t FBefore;
};

class HttpTransfer {
public:
    using Clock = std::chrono::steady_clock;

    /// Both outlive the transfer.
    HttpTransfer(const HttpGet& request, const CancelCheck& isCancelled)
        : FRequest(request), FIsCancelled(isCancelled) {}
    ~HttpTransfer();
    HttpTransfer(const HttpTransfer&) = delete;
    HttpTransfer& operator=(const HttpTransfer&) = delete;

    /// Sets the handle up. False when the request's address is none; the outcome says so.
    [[nodiscard]] bool Prepare(CURL* easy);
    /// Judges the transfer by the library's code. Call it while the handle still belongs to the multi handle. True when
    /// the request is to be performed once more: remove the handle, and call Prepare again.
    bool End(CURLcode code);
    /// Notes that the library itself failed before it could report an end.
    void Fail(const QString& message);
    /// The driver has given the transfer up, since the server keeps silent.
    void TimeOut();
    const HttpErrorInfo& Outcome() const noexcept { return FOutcome; }
    /// That the last answer came from, after redirects.
    QString AnsweringAddress() const;

    /// Asked before each block of the body is taken; true leaves it with the library, which has paused the transfer
    /// then. May be empty.
    std::function<bool()> IsHeld;

    /// Asks the cancel check; one that throws has cancelled, too.
    bool IsCancelled() noexcept;
    /// Tells how far the transfer has come; not more often than 20 times a second, unless it is the `last` time.
    void Progress(bool last);
    /// When anything last came from the server; the time of Prepare when nothing has.
    Clock::time_point LastArrival() const noexcept { return FLastArrival; }
    /// Whether the server has sent anything at all.
    bool HasBegun() const noexcept { return FHasBegun; }

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
    template <class Call>
    bool Guarded(Call call) noexcept;

    void SetHeaders(bool isOwnHost);
    HttpErrorInfo Judge(CURLcode code);
    HttpErrorInfo Failure(HttpErrorInfo::Kind kind, const QString& message) const;
    bool IsFailureStatus() const;
    bool IsWholePart() const;
    bool IsRedirect() const { return FStatus >= 300 && FStatus < 400; }
    QString StatusText() const;
    std::chrono::seconds RetryAfter() const;
    /// The value of a header of the final response; empty without one.
    QByteArray Header(const char* name) const;
    QString AddressToRepeat() const;
    QString MovedTo() const;
    qint64 AnnouncedSize() const;
    bool Accept();
    void NoteHop(const QString& statusLine);
    /// Before a redirect is followed.
    void NoteRedirect(const QString& location);
    bool Write(const char* data, std::size_t size);
    static std::size_t WriteCallback(char* data, std::size_t size, std::size_t count, void* self);
    static std::size_t HeaderCallback(char* data, std::size_t size, std::size_t count, void* self);

    const HttpGet& FRequest;
    const CancelCheck& FIsCancelled;
    CURL* FEasy = nullptr;
    curl_slist* FHeaders = nullptr;
    QString FRepeatedAddress;  // in place of the request's, for its second performance
    HttpErrorInfo FOutcome;
    char FErrorText[CURL_ERROR_SIZE] = {};
    int FStatus = 0;
    QString FPhrase;
    std::vector<Hop> FHops;
    qint64 FReceived = 0;
    bool FHasBegun = false, FHeadEnded = false, FAccepted = false;
    bool FCancelled = false, FTooLarge = false, FRefused = false;
    std::exception_ptr FCause;
    Clock::time_point FLastProgress{}, FLastArrival{};
};

}  // namespace vexa
