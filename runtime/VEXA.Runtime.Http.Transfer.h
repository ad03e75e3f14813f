#pragma once
// One GET performed by libcurl: its options, its callbacks, and how its result is judged. An internal header, included
// by the code that drives libcurl; everything else includes VEXA.Runtime.Http.h.
//
// A driver calls Prepare, adds the handle to a multi handle, runs libcurl until it reports the handle as done, calls
// End and removes the handle. Callbacks run on the driver's thread.

#include "VEXA.Runtime.Http.h"

#include <curl/curl.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <exception>
#include <functional>
#include <vector>

namespace vexa {

/// The time limit for the whole transfer of a document.
std::chrono::seconds HttpDocumentTimeout();

/// The number of bytes to reserve for a document. Documents compress to about a fifth of their size; a wrong guess
/// costs a copy, or some unused memory.
inline qint64 RoomForDocument(const HttpResponseInfo& info, qint64 maxBytes) {
    constexpr qint64 kUsualRatio = 6;
    return std::min(info.Size, maxBytes / kUsualRatio) * kUsualRatio;
}

/// Shares resolved names and TLS sessions between all threads. Connections are not shared: libcurl documents that as
/// unsafe.
CURLSH* HttpShareHandle();

/// Blocks SIGPIPE on the calling thread during its lifetime, so that a peer that closes its socket does not end the
/// process: TLS libraries write to sockets without asking for an error in place of the signal.
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

    /// Both arguments must outlive the transfer.
    HttpTransfer(const HttpGet& request, const CancelCheck& isCancelled)
        : FRequest(request), FIsCancelled(isCancelled) {}
    ~HttpTransfer();
    HttpTransfer(const HttpTransfer&) = delete;
    HttpTransfer& operator=(const HttpTransfer&) = delete;

    /// Sets the handle's options. False when the request's address is invalid; the outcome is then BadAddress.
    [[nodiscard]] bool Prepare(CURL* easy);
    /// Derives the outcome from libcurl's code. Call it while the handle still belongs to the multi handle. True when
    /// the request has to be performed once more: remove the handle, and call Prepare again.
    bool End(CURLcode code);
    /// Sets the outcome when libcurl itself failed before it could report an end.
    void Fail(CURLMcode code);
    /// Sets the outcome when the driver gives up the transfer because the server is silent.
    void TimeOut();
    const HttpErrorInfo& Outcome() const noexcept { return FOutcome; }
    /// The address that sent the last response, after redirects.
    QString AnsweringAddress() const;

    /// Called before each block of the body is accepted; true leaves the block with libcurl, which then pauses the
    /// transfer. May be empty.
    std::function<bool()> IsHeld;

    /// Calls the cancel check; an exception from it cancels the transfer, too.
    bool IsCancelled() noexcept;
    /// Reports the transfer's progress, at most 20 times a second; always if this is the `last` report.
    void Progress(bool last);
    /// When the last data arrived from the server; the time of Prepare when none has.
    Clock::time_point LastArrival() const noexcept { return FLastArrival; }
    /// Whether the server has sent anything at all.
    bool HasBegun() const noexcept { return FHasBegun; }

private:
    /// One request in a chain of redirects, and its response.
    struct Hop {
        QString Address;  // without the request's user name and password
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
    HttpErrorInfo Failure(HttpErrorInfo::Kind kind, const Reason& why) const;
    bool IsFailureStatus() const;
    bool IsWholePart() const;
    bool IsRedirect() const { return FStatus >= 300 && FStatus < 400; }
    Reason StatusReason() const;
    std::chrono::seconds RetryAfter() const;
    /// The value of a header of the final response; empty when it has no such header.
    QByteArray Header(const char* name) const;
    QString AddressToRepeat() const;
    QString MovedTo() const;
    qint64 AnnouncedSize() const;
    bool Accept();
    void NoteHop(const QString& statusLine);
    /// Called before a redirect is followed.
    void NoteRedirect(const QString& location);
    bool Write(const char* data, std::size_t size);
    static std::size_t WriteCallback(char* data, std::size_t size, std::size_t count, void* self);
    static std::size_t HeaderCallback(char* data, std::size_t size, std::size_t count, void* self);

    const HttpGet& FRequest;
    const CancelCheck& FIsCancelled;
    CURL* FEasy = nullptr;
    curl_slist* FHeaders = nullptr;
    QString FRepeatedAddress;  // replaces the request's address when the request is performed again
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
