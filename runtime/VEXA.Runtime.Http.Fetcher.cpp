#include "VEXA.Runtime.Http.Fetcher.h"

#include "VEXA.Runtime.Http.Transfer.h"
#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.Runtime.Reasons.h"
#include "VEXA.Runtime.Url.h"

#include <QDateTime>

#include <algorithm>
#include <atomic>
#include <map>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vexa {

namespace {

using Clock = HttpTransfer::Clock;
using std::chrono::milliseconds;

constexpr auto kTick = milliseconds(25);  // between two checks for silent transfers
constexpr auto kIdle = milliseconds(1000);
constexpr auto kCancelPoll = milliseconds(20);

/// What this fetcher knows about a server.
struct Server {
    int Running = 0;  // running transfers, without those that are held back
    bool HasAnswered = false;
    Reason Failure;        // the reason of a transient failure; none when there was none
    QDateTime RestsUntil;  // until when the server asked not to be asked again; null if it did not
};

/// An address of the window.
struct Item {
    enum class Stage { Waiting, Running, Done };

    QString Address;
    HttpFetch Fetch;

    // Guarded by the fetcher's FMutex, as is the Server.
    Server* From = nullptr;
    Stage At = Stage::Waiting;
    Clock::time_point Begun{}, LastArrival{};  // copied from the transfer by the fetcher's thread
    bool IsAnswered = false;
    bool IsPaused = false;
    quint64 Window = 0;  // the number of the last window that contained the address

    std::atomic<bool> IsAwaited{false};

    // Used only by the fetcher's thread until the stage is Done.
    HttpGet Request;
    CancelCheck NoCancelCheck;
    std::unique_ptr<HttpTransfer> Transfer;
    CURL* Easy = nullptr;
    HttpFetched Result;
    qint64 Held = 0;  // bytes
    bool IsHeldBack = false;

    bool IsRunning() const { return At == Stage::Running; }
};

}  // namespace

struct HttpFetcher::Impl {
    Impl(std::function<void()> changed, HttpFetcherLimits limits)
        : FChangedCall(std::move(changed)), FLimits(limits), FShare(HttpShareHandle()), FMulti(curl_multi_init()) {
        if (!FMulti) throw std::bad_alloc();
        // Transfers from one host share a connection where the protocol allows it (HTTP/2). Idle connections are kept.
        curl_multi_setopt(FMulti, CURLMOPT_PIPELINING, CURLPIPE_MULTIPLEX);
        curl_multi_setopt(FMulti, CURLMOPT_MAXCONNECTS, static_cast<long>(2 * (limits.MaxActive + limits.MaxSilent)));
        FThread = std::thread([this] { Work(); });
    }
    ~Impl() {
        {
            const TLock lock(FMutex);
            FIsStopping = true;
        }
        Wake();
        FThread.join();
        for (CURL* easy : FFreeHandles) curl_easy_cleanup(easy);
        curl_multi_cleanup(FMulti);
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    // ---- Any thread ----

    void Wake() { curl_multi_wakeup(FMulti); }
    void RequireSchedule() VEXA_REQUIRES(FMutex) {
        FIsScheduleDue = true;
        Wake();
    }

    Item* Find(const QString& address) const VEXA_REQUIRES(FMutex) {
        const auto found = FItems.find(address);
        return found == FItems.end() ? nullptr : found->second.get();
    }

    /// Removes an item from the window.
    std::unique_ptr<Item> Remove(const QString& address) VEXA_REQUIRES(FMutex) {
        auto node = FItems.extract(address);
        std::erase(FOrder, node.mapped().get());
        if (node.mapped()->At == Item::Stage::Done) FHeld -= node.mapped()->Held;
        return std::move(node.mapped());
    }
    /// Removes an item that is no longer wanted; the fetcher's thread will end its transfer.
    void Drop(const QString& address) VEXA_REQUIRES(FMutex) {
        auto item = Remove(address);
        if (item->IsRunning()) FDropped.push_back(std::move(item));
    }

    milliseconds SilenceOf(const Item& item, Clock::time_point now) const VEXA_REQUIRES(FMutex) {
        const auto since = [&](const Item& candidate) {
            return std::chrono::duration_cast<milliseconds>(now - candidate.LastArrival);
        };
        if (item.At == Item::Stage::Done || item.IsPaused) return {};
        if (item.IsRunning()) return since(item);
        // The item is waiting for its turn: its server is silent if it is silent to all running transfers.
        milliseconds shortest = milliseconds::max();
        for (const Item* other : FOrder)
            if (other->IsRunning() && !other->IsPaused && other->From == item.From)
                shortest = std::min(shortest, since(*other));
        return shortest == milliseconds::max() ? milliseconds(0) : shortest;
    }

    // ---- The fetcher's thread ----

    void Work() {
        const PipeSignalBlocked blocked;
        for (;;) {
            std::vector<std::unique_ptr<Item>> dropped;
            std::vector<Item*> begun;
            bool hasChanged = false;
            {
                const TLock lock(FMutex);
                if (FIsStopping) break;
                const auto now = Clock::now();
                if (std::exchange(FIsScheduleDue, false) || now - FScheduled >= kTick) {
                    dropped.swap(FDropped);
                    for (const auto& item : dropped) RemoveRunning(*item);
                    PublishArrivals();
                    hasChanged = Schedule(begun, now);
                    FScheduled = now;
                }
            }
            for (const auto& item : dropped) {
                Release(*item);
                FHeld -= item->Held;
            }
            for (Item* item : begun) Begin(*item);
            int running = 0;
            curl_multi_perform(FMulti, &running);
            hasChanged = EndTransfers() || hasChanged;
            ResumeHeldBack();
            if (hasChanged) {
                FChanged.NotifyAll();
                if (FChangedCall) FChangedCall();
                continue;  // other transfers may start now
            }
            const auto pause = FRunning.empty() ? kIdle : kTick;
            curl_multi_poll(FMulti, nullptr, 0, static_cast<int>(pause.count()), nullptr);
        }
        for (Item* item : FRunning) {
            curl_multi_remove_handle(FMulti, item->Easy);
            curl_easy_cleanup(item->Easy);
        }
    }

    void PublishArrivals() VEXA_REQUIRES(FMutex) {
        for (Item* item : FRunning) {
            item->LastArrival = item->Transfer->LastArrival();
            item->IsPaused = item->IsHeldBack;
            if (item->IsAnswered || !item->Transfer->HasBegun()) continue;
            item->IsAnswered = true;
            item->From->HasAnswered = true;
            // A moving average, in which the newest response counts most.
            const auto latency = item->LastArrival - item->Begun;
            FLatency = FLatency.count() == 0 ? latency : (7 * FLatency + latency) / 8;
        }
    }

    /// Decides which transfers start, which are ended early, and which addresses fail without being asked. True when
    /// there are any of the last two kinds.
    bool Schedule(std::vector<Item*>& begun, Clock::time_point now) VEXA_REQUIRES(FMutex) {
        bool hasFailed = false;
        for (auto& [name, server] : FServers) server.Running = 0;
        int active = 0;
        std::vector<Item*> silent;
        for (Item* item : FRunning) {
            if (item->IsPaused) continue;
            ++item->From->Running;
            if (now - item->LastArrival < FLimits.SilentAfter)
                ++active;
            else
                silent.push_back(item);
        }
        std::sort(silent.begin(), silent.end(),
                  [](const Item* a, const Item* b) { return a->LastArrival > b->LastArrival; });
        for (Item* item : FOrder) {
            if (item->At != Item::Stage::Waiting) continue;
            Server& server = *item->From;
            const bool isUrgent = item->IsAwaited || item->Fetch.IsSecondTry;
            if (const Reason why = ReasonNotToAsk(*item, server)) {
                item->Result.Outcome.What = HttpErrorInfo::Kind::Network;
                item->Result.Outcome.Why = why;
                item->Result.Outcome.IsTransient = server.RestsUntil.isNull();
                item->At = Item::Stage::Done;
                hasFailed = true;
                continue;
            }
            if (server.Running >= FLimits.MaxPerHost) continue;
            if (static_cast<int>(FRunning.size() + begun.size()) >= FLimits.MaxTotal) break;
            if (!isUrgent) {
                if (active >= FLimits.MaxActive || FHeld >= FLimits.MaxHeldBytes) continue;
                if (static_cast<int>(silent.size()) >= FLimits.MaxSilent) {
                    if (!EvictLongestSilent(silent, now)) continue;
                    hasFailed = true;
                }
            }
            item->At = Item::Stage::Running;
            item->Begun = item->LastArrival = now;
            ++server.Running;
            ++active;
            begun.push_back(item);
        }
        return hasFailed;
    }

    Reason ReasonNotToAsk(const Item& item, const Server& server) const {
        if (!server.RestsUntil.isNull()) {
            return Reason(RuntimeReason("Resting"), {server.RestsUntil.toString(QStringLiteral("yyyy-MM-dd HH:mm"))});
        }
        return server.HasAnswered || item.Fetch.IsSecondTry ? Reason() : server.Failure;
    }

    /// Ends the transfer that has been silent for longest, if other servers answer in a fraction of that time; over a
    /// slow connection all transfers take long.
    bool EvictLongestSilent(std::vector<Item*>& silent, Clock::time_point now) VEXA_REQUIRES(FMutex) {
        const auto patience = std::max<Clock::duration>(FLimits.EvictableAfter, 4 * FLatency);
        const auto found = std::find_if(silent.rbegin(), silent.rend(), [&](const Item* item) {
            return !item->IsAwaited && !item->Fetch.IsSecondTry && now - item->LastArrival >= patience;
        });
        if (found == silent.rend() || FLatency.count() == 0) return false;
        Item* item = *found;
        silent.erase(std::next(found).base());
        item->Transfer->TimeOut();
        RemoveRunning(*item);
        Finish(*item);
        return true;
    }

    void Begin(Item& item) {
        FRunning.push_back(&item);
        item.Request.Url = item.Address;
        item.Request.Compressed = true;
        item.Request.MaxBytes = item.Fetch.MaxBytes;
        item.Request.TotalTimeout = HttpDocumentTimeout();
        if (item.Fetch.TotalTimeout.count() > 0)
            item.Request.TotalTimeout = std::min(item.Request.TotalTimeout, item.Fetch.TotalTimeout);
        item.Request.Conditions = item.Fetch.Conditions;
        item.Request.OnAccepted = [&item](const HttpResponseInfo& info) {
            item.Result.Document.Info = info;
            item.Result.Document.Body.reserve(RoomForDocument(info, item.Fetch.MaxBytes));
            return true;
        };
        item.Request.OnData = [this, &item](const char* data, std::size_t size) {
            item.Result.Document.Body.append(data, static_cast<qsizetype>(size));
            item.Held += static_cast<qint64>(size);
            FHeld += static_cast<qint64>(size);
            return true;
        };
        item.Transfer = std::make_unique<HttpTransfer>(item.Request, item.NoCancelCheck);
        item.Transfer->IsHeld = [this, &item] {
            return item.IsHeldBack = FHeld >= FLimits.MaxHeldBytes && !item.IsAwaited;
        };
        if (FFreeHandles.empty()) FFreeHandles.push_back(curl_easy_init());
        item.Easy = FFreeHandles.back();
        FFreeHandles.pop_back();
        Perform(item);
    }

    /// Starts the transfer in libcurl. A transfer that cannot be started counts as ended.
    void Perform(Item& item) {
        if (item.Transfer->Prepare(item.Easy)) {
            curl_easy_setopt(item.Easy, CURLOPT_PRIVATE, &item);
            const CURLMcode added = curl_multi_add_handle(FMulti, item.Easy);
            if (added == CURLM_OK) return;
            item.Transfer->Fail(added);
        }
        FFailedToStart.push_back(&item);
    }

    /// True when any transfer has ended.
    bool EndTransfers() {
        std::vector<Item*> ended = std::exchange(FFailedToStart, {});
        int left = 0;
        while (const CURLMsg* message = curl_multi_info_read(FMulti, &left)) {
            if (message->msg != CURLMSG_DONE) continue;
            const CURLcode code = message->data.result;
            CURL* easy = message->easy_handle;
            char* pointer = nullptr;
            curl_easy_getinfo(easy, CURLINFO_PRIVATE, &pointer);
            Item& item = *reinterpret_cast<Item*>(pointer);
            const bool again = item.Transfer->End(code);
            curl_multi_remove_handle(FMulti, easy);
            if (again)
                Perform(item);
            else
                ended.push_back(&item);
        }
        if (ended.empty()) return false;
        const TLock lock(FMutex);
        PublishArrivals();
        for (Item* item : ended) {
            RemoveRunning(*item);
            Finish(*item);
        }
        return true;
    }

    /// Removes the transfer from the running ones.
    void RemoveRunning(Item& item) VEXA_REQUIRES(FMutex) { std::erase(FRunning, &item); }

    /// Publishes the result of an ended transfer.
    void Finish(Item& item) VEXA_REQUIRES(FMutex) {
        item.Result.Outcome = item.Transfer->Outcome();
        Server& server = *item.From;
        FIsScheduleDue = true;
        const HttpErrorInfo& outcome = item.Result.Outcome;
        if (outcome.IsTransient) server.Failure = outcome.Why;
        if (outcome.RetryAfter.count() > 0)
            FServers[ServerOf(item.Transfer->AnsweringAddress())].RestsUntil =
                QDateTime::currentDateTime().addSecs(outcome.RetryAfter.count());
        if (!outcome.Succeeded()) {
            FHeld -= std::exchange(item.Held, 0);
            item.Result.Document.Body.clear();
        }
        Release(item);
        item.At = Item::Stage::Done;
    }

    /// Returns the transfer's handle to the free ones. A dropped item may have none any more, because its transfer may
    /// end before this thread learns that it was dropped.
    void Release(Item& item) {
        if (!item.Easy) return;
        curl_multi_remove_handle(FMulti, item.Easy);
        curl_easy_reset(item.Easy);  // the handle outlives the transfer, to which its options point
        FFreeHandles.push_back(std::exchange(item.Easy, nullptr));
        item.Transfer.reset();
    }

    void ResumeHeldBack() {
        for (Item* item : FRunning) {
            if (!item->IsHeldBack || (FHeld >= FLimits.MaxHeldBytes && !item->IsAwaited)) continue;
            item->IsHeldBack = false;
            curl_easy_pause(item->Easy, CURLPAUSE_CONT);
        }
    }

    const std::function<void()> FChangedCall;
    const HttpFetcherLimits FLimits;
    CURLSH* const FShare;  // created before the handles that use it
    CURLM* const FMulti;

    mutable TMutex FMutex;
    TCondition FChanged;
    bool FIsStopping VEXA_GUARDED_BY(FMutex) = false;
    std::unordered_map<QString, std::unique_ptr<Item>> FItems VEXA_GUARDED_BY(FMutex);
    std::vector<Item*> FOrder VEXA_GUARDED_BY(FMutex);  // the window
    quint64 FWindow VEXA_GUARDED_BY(FMutex) = 0;        // counts the windows
    bool FIsScheduleDue VEXA_GUARDED_BY(FMutex) = false;
    std::vector<std::unique_ptr<Item>> FDropped VEXA_GUARDED_BY(FMutex);
    std::map<QString, Server> FServers VEXA_GUARDED_BY(FMutex);  // never removed, since items point to them

    std::atomic<qint64> FHeld{0};  // bytes of all documents, arriving ones included

    // Used only by the fetcher's thread.
    std::vector<Item*> FRunning, FFailedToStart;
    std::vector<CURL*> FFreeHandles;
    Clock::time_point FScheduled{};
    Clock::duration FLatency{};  // from a transfer's start to its first data; 0 while no server has answered

    std::thread FThread;
};

HttpFetcher::HttpFetcher(std::function<void()> changed, HttpFetcherLimits limits)
    : FImpl(std::make_unique<Impl>(std::move(changed), limits)) {}

HttpFetcher::~HttpFetcher() = default;

void HttpFetcher::SetWindow(const QStringList& addresses, const std::function<HttpFetch(const QString&)>& describe) {
    Impl& impl = *FImpl;
    QStringList unknown;
    {
        const TLock lock(impl.FMutex);
        for (const QString& address : addresses)
            if (!impl.Find(address)) unknown += address;
    }
    std::vector<std::unique_ptr<Item>> added;
    for (const QString& address : unknown) {
        added.push_back(std::make_unique<Item>());
        added.back()->Address = address;
        added.back()->Fetch = describe(address);
    }
    const TLock lock(impl.FMutex);
    for (auto& item : added) {
        const QString address = item->Address;
        item->From = &impl.FServers[ServerOf(address)];
        impl.FItems.try_emplace(address, std::move(item));
    }
    ++impl.FWindow;
    std::vector<Item*> order;
    for (const QString& address : addresses) {
        Item* item = impl.Find(address);
        if (std::exchange(item->Window, impl.FWindow) != impl.FWindow) order.push_back(item);
    }
    std::vector<Item*> former = std::exchange(impl.FOrder, std::move(order));
    for (const Item* item : former)
        if (item->Window != impl.FWindow) impl.Drop(item->Address);
    impl.RequireSchedule();
}

void HttpFetcher::Await(const QString& address) {
    const TLock lock(FImpl->FMutex);
    for (Item* item : FImpl->FOrder) item->IsAwaited = item->Address == address;
    FImpl->RequireSchedule();
}

bool HttpFetcher::IsInWindow(const QString& address) const {
    const TLock lock(FImpl->FMutex);
    return FImpl->Find(address) != nullptr;
}

bool HttpFetcher::IsReady(const QString& address) const {
    const TLock lock(FImpl->FMutex);
    const Item* item = FImpl->Find(address);
    return item && item->At == Item::Stage::Done;
}

std::chrono::milliseconds HttpFetcher::SilenceOf(const QString& address) const {
    const TLock lock(FImpl->FMutex);
    const Item* item = FImpl->Find(address);
    return item ? FImpl->SilenceOf(*item, Clock::now()) : milliseconds(0);
}

HttpFetched HttpFetcher::Take(const QString& address, const CancelCheck& isCancelled) {
    if (!IsReady(address)) Await(address);
    TLock lock(FImpl->FMutex);
    const Item* item = FImpl->Find(address);
    HttpFetched fetched;
    bool isGivenUp = !item;
    while (!isGivenUp && item->At != Item::Stage::Done) {
        isGivenUp = isCancelled && isCancelled();
        if (!isGivenUp) FImpl->FChanged.WaitFor(lock, kCancelPoll);
    }
    if (isGivenUp) {
        fetched.Outcome.What = HttpErrorInfo::Kind::Cancelled;
        fetched.Outcome.Why = Reason(RuntimeReason("Cancelled"));
        if (item) FImpl->Drop(address);
        FImpl->RequireSchedule();
    } else {
        fetched = std::move(FImpl->Remove(address)->Result);
    }
    lock.Unlock();
    if (fetched.Outcome.Succeeded())
        qCDebug(LogHttp).noquote() << "fetched" << MaskedUrl(address);
    else
        qCDebug(LogHttp).noquote() << "could not fetch" << MaskedUrl(address) << "-" << fetched.Outcome.Why.English();
    return fetched;
}

}  // namespace vexa
