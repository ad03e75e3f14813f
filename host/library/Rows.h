#pragma once
// Reads ranges of rows on a thread of the reader's own, so that no window waits for a storage. Main thread; the rows
// are delivered on the main thread, too.
//
//     RowReader reader(storage);
//     const auto ticket = reader.Read({.Fields = {"Title"}, .Limit = 100}, [](const RowPage& page) { … });
//     reader.Cancel(ticket);                             // the user has scrolled on before the rows came
//     const RowPage page = reader.ReadNow({.Fields = {"Title"}});
//
// Destroy a reader before its storage, and both before the plug-ins are unloaded.

#include "ErrorInfo.h"
#include "RowQuery.h"
#include "VEXA.Runtime.Classes.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.Runtime.Reason.h"

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <thread>
#include <vector>

namespace vexa::host {

/// One value of a row.
struct RowValue {
    double Number = 0;  // for dates (OLE Automation dates in UTC) and durations (seconds)
    QString Text;       // for all other fields: the value as stored
    QString Shown;      // the text that users see for it, if the field has DisplayValues

    bool operator==(const RowValue&) const = default;
};

struct RowPage {
    std::vector<const LibraryField*> Columns;  // fields of the storage
    std::int32_t Offset = 0;
    std::vector<std::vector<RowValue>> Rows;  // each row has one value per column
    Reason Error;                             // why there are no rows; none on success
};

struct RowCount {
    std::int64_t Count = 0;
    Reason Error;  // why the number is not known; none on success
};

class RowReader {
public:
    /// Identifies a request.
    using Ticket = std::uint64_t;
    /// Requests for rows in sight are served first, the newest one before older ones, which the user has already
    /// scrolled past. Requests that read ahead are served after all of those, in order.
    enum class Urgency { InSight, Ahead };

    explicit RowReader(const LibraryStorage& storage);
    /// Drops the waiting requests and waits for the call of the storage that is under way; meanwhile functions that
    /// other threads post to the main thread are run.
    ~RowReader();
    RowReader(const RowReader&) = delete;
    RowReader& operator=(const RowReader&) = delete;

    /// Read and Count throw LibraryError for an invalid query. `then` is called once, after the call has returned,
    /// unless the request is cancelled or the reader is destroyed first.
    Ticket Read(const RowQuery& query, std::function<void(RowPage)> then, Urgency urgency = Urgency::InSight);
    /// How many rows there are, whatever the query's range.
    Ticket Count(const RowQuery& query, std::function<void(RowCount)> then, Urgency urgency = Urgency::InSight);
    /// The request's `then` is not called any more. A request that still waits never reaches the storage.
    void Cancel(Ticket ticket);
    void CancelAll();

    /// The same as Read and Count, but wait for the answer; meanwhile functions that other threads post to the main
    /// thread are run.
    RowPage ReadNow(const RowQuery& query);
    RowCount CountNow(const RowQuery& query);

private:
    /// A request, on its way to the reader's thread and back.
    struct Request {
        Ticket Number = 0;
        bool IsCount = false;
        std::vector<const LibraryField*> Columns;
        Ref<IVEXAObjectList> Fields;
        Ref<IVEXAMLDataFilter> Filter;
        Ref<ErrorInfo> Error;  // the storage says there why it failed
        std::atomic<bool> IsCancelled{false};
        RowPage Page;
        RowCount Rows;
    };
    using RequestPointer = std::shared_ptr<Request>;
    /// A request with its handler. The handler is kept apart from the request, so that it is destroyed on the main
    /// thread, whichever thread releases the request last.
    struct Pending {
        RequestPointer Sent;
        std::function<void(Request&)> Then;
    };

    Ticket Queue(const RowQuery& query, bool isCount, std::function<void(Request&)> then, Urgency urgency);
    void Deliver(Ticket ticket);
    void Wait(Ticket ticket);

    // Run on the reader's thread.
    void Run();
    void Ask(Request& request);
    void AskRows(Request& request);
    void AskCount(Request& request);

    const LibraryStorage& FStorage;
    const Ref<IVEXAMLDataProvider> FProvider;
    const Ref<IVEXAMLSubscriptionStorage> FCounter;  // null: rows are counted one by one
    std::map<Ticket, Pending> FPending;              // main thread; requests neither delivered nor cancelled
    Ticket FLastTicket = 0;                          // main thread
    LinkSource<RowReader> FLinks{this};

    TMutex FMutex;
    TCondition FHasWork;
    std::deque<RequestPointer> FWaiting VEXA_GUARDED_BY(FMutex);
    std::atomic<bool> FIsEnding{false}, FHasEnded{false};
    std::thread FThread;  // the last member, because the thread uses the others
};

}  // namespace vexa::host
