#pragma once
// Documents fetched ahead, many at once, by one thread that alone owns their connections.
//
// The owner says which addresses it will want, in order: the window. Want() names them anew whenever the order changes;
// an address that is named no more is dropped, with its transfer. The thread begins transfers in that order, at most 12
// at once and 3 to a host. A server that keeps silent must not hold up the others: a transfer to which nothing has come
// for 0.15 s is "silent" and does not count among the 12; 60 silent ones are kept, and where there are
// more, the one that has waited longest gives way, which counts as a time-out, if others are answered in a fraction of
// its time. Of a server that has timed out and never answered, nothing more is asked: its other addresses fail at once.
// Documents that have arrived wait in memory until they are taken: 48 MiB, arriving parts included. Beyond that nothing
// is begun, and what arrives is held back, but for the document that is awaited.
//
// Redirects, limits of a transfer and messages are those of HttpGet.

#include "VEXA.Runtime.Http.h"

#include <QStringList>

#include <chrono>
#include <functional>
#include <memory>

namespace vexa {

struct HttpFetcherLimits {
    int AtOnce = 12;  // transfers whose servers are not silent
    int ToHost = 3;
    int Silent = 60;
    int AllTogether = 500;  // of all kinds; each needs a file descriptor
    std::chrono::milliseconds SilentAfter{150};
    std::chrono::milliseconds GivesWayAfter{1500};
    qint64 HeldBytes = 48 * 1024 * 1024;  // and what the library has unpacked of transfers that are held back
};

/// One document to fetch.
struct HttpFetch {
    qint64 MaxBytes = 0;              // bound on the document, after decompression
    std::chrono::seconds Longest{0};  // bound on the whole transfer
    QList<QByteArray> Conditions;     // see HttpGet
    bool IsSecondTry = false;         // begins whatever else is on its way, but for its host's limit
};

/// What became of one.
struct HttpFetched {
    HttpErrorInfo Outcome;
    HttpDocument Document;
};

/// Any thread may call it; one thread sets the window. The destructor ends all transfers.
class VEXA_RUNTIME_API HttpFetcher {
public:
    /// `changed` is called on the fetcher's own thread whenever a document has arrived or failed, with no lock held.
    explicit HttpFetcher(std::function<void()> changed, HttpFetcherLimits limits = {});
    ~HttpFetcher();
    HttpFetcher(const HttpFetcher&) = delete;
    HttpFetcher& operator=(const HttpFetcher&) = delete;

    /// The window: all addresses that are wanted, the first one next. `describe` is asked, on the calling thread, for
    /// those that were not in it before.
    void Want(const QStringList& addresses, const std::function<HttpFetch(const QString&)>& describe);
    /// This address is waited for: its document is begun now and never held back.
    void Await(const QString& address);

    /// Whether the address is in the window, and has not been taken.
    bool IsWanted(const QString& address) const;
    /// Whether the document has arrived or failed, so that Take does not wait.
    bool IsReady(const QString& address) const;
    /// For how long the address's server has sent nothing although it was asked; 0 when it has not been asked.
    std::chrono::milliseconds SilenceOf(const QString& address) const;

    /// Awaits the document and forgets the address, which has to be in the window. A cancelled wait ends within 50 ms,
    /// with an outcome that says so, and drops the transfer.
    HttpFetched Take(const QString& address, const CancelCheck& isCancelled);

private:
    struct Impl;
    std::unique_ptr<Impl> FImpl;
};

}  // namespace vexa
