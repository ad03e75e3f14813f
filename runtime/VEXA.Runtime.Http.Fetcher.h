#pragma once
// Fetches many documents at once, ahead of their use, on one thread that alone owns the connections.
//
// The owner sets the window: the addresses that it will need, in order. SetWindow() replaces the window whenever the
// order changes; an address that is no longer in it is dropped together with its transfer. The thread starts transfers
// in that order, at most 12 at once and 3 to a host. So that a slow server does not hold up the others, a transfer that
// has received nothing for 0.15 s is "silent" and does not count towards the 12. At most 60 silent transfers are kept;
// when there are more, the one that has waited longest is ended as a time-out, provided that other servers answer in a
// fraction of its time. A server that has timed out and has never answered is not asked again: its other addresses fail
// at once. Documents that have arrived stay in memory until they are taken, up to 48 MiB including documents that are
// still arriving. Beyond that no transfer is started, and arriving data is held back, except for the awaited document.
//
// Redirects, the limits of a transfer and messages are those of HttpGet.

#include "VEXA.Runtime.Http.h"

#include <QStringList>

#include <chrono>
#include <functional>
#include <memory>

namespace vexa {

struct HttpFetcherLimits {
    int MaxActive = 12;  // transfers that are not silent
    int MaxPerHost = 3;
    int MaxSilent = 60;
    int MaxTotal = 500;  // transfers of all kinds; each needs a file descriptor
    std::chrono::milliseconds SilentAfter{150};
    std::chrono::milliseconds EvictableAfter{1500};
    qint64 MaxHeldBytes = 48 * 1024 * 1024;  // libcurl may hold more: what it has unpacked of paused transfers
};

/// One document to fetch.
struct HttpFetch {
    qint64 MaxBytes = 0;                   // limit on the document's size, after decompression
    std::chrono::seconds TotalTimeout{0};  // limit on the whole transfer
    QList<QByteArray> Conditions;          // see HttpGet
    bool IsSecondTry = false;              // starts regardless of other transfers, except for the limit of its host
};

/// The result of one fetch.
struct HttpFetched {
    HttpErrorInfo Outcome;
    HttpDocument Document;
};

/// Any thread may call it, but only one thread sets the window. The destructor ends all transfers.
class VEXA_RUNTIME_API HttpFetcher {
public:
    /// `changed` is called on the fetcher's own thread whenever a document has arrived or failed, with no lock held.
    explicit HttpFetcher(std::function<void()> changed, HttpFetcherLimits limits = {});
    ~HttpFetcher();
    HttpFetcher(const HttpFetcher&) = delete;
    HttpFetcher& operator=(const HttpFetcher&) = delete;

    /// Sets the window: all addresses that are wanted, in the order in which they will be taken. `describe` is called,
    /// on the calling thread, for the addresses that were not in the window before.
    void SetWindow(const QStringList& addresses, const std::function<HttpFetch(const QString&)>& describe);
    /// Marks an address as awaited: its transfer starts now and is never held back.
    void Await(const QString& address);

    /// Whether the address is in the window and has not been taken.
    bool IsInWindow(const QString& address) const;
    /// Whether the document has arrived or failed, so that Take does not wait.
    bool IsReady(const QString& address) const;
    /// For how long the address's server has sent nothing since it was asked; 0 when it has not been asked.
    std::chrono::milliseconds SilenceOf(const QString& address) const;

    /// Waits for the document and removes the address, which must be in the window. A cancelled wait ends within 50 ms
    /// with the outcome Cancelled, and drops the transfer.
    HttpFetched Take(const QString& address, const CancelCheck& isCancelled);

private:
    struct Impl;
    std::unique_ptr<Impl> FImpl;
};

}  // namespace vexa
