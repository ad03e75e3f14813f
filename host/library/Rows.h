#pragma once
// Rows by range, read on a thread of the reader's own, so that no window waits for a storage. Main thread; what is read
// is delivered to the main thread, too.
//
//     RowReader reader(storage);
//     const auto ticket = reader.Read({.Fields = {"Title"}, .Limit = 100}, [](const RowPage& page) { … });
//     reader.Cancel(ticket);                             // scrolled past before it came
//     const RowPage page = reader.ReadNow({.Fields = {"Title"}});
//
// A reader goes before its storage, and both before the plug-ins are unloaded.

#include "ErrorInfo.h"
#include "RowQuery.h"
#include "VEXA.Runtime.Classes.h"
#include "VEXA.Runtime.Mutex.h"

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
    double Number = 0;  // of dates (OLE Automation dates in UTC) and durations (seconds)
    QString Text;       // of all other fields, as it is stored
    QString Shown;      // the same as a person is shown it, where the field has words for its values

    bool operator==(const RowValue&) const = default;
};

struct RowPage {
    std::vector<const LibraryField*> Columns;  // of the storage
    std::int32_t Offset = 0;
    std::vector<std::vector<RowValue>> Rows;  // as many values each as there are columns
    QString Error;                            // why there are no rows; empty when nothing failed
};

struct RowCount {
    std::int64_t Count = 0;
    QString Error;  // why it is not known
};

class RowReader {
public:
    /// Names a request.
    using Ticket = std::uint64_t;
    /// What the user looks at comes first, the newest request before older ones: those are of where the user was. What
    /// is read ahead comes after all of these, in order.
    enum class Urgency { InSight, Ahead };

    explicit RowReader(const LibraryStorage& storage);
    /// Drops what is asked for, and waits for what the storage is being asked now; meanwhile it runs what other threads
    /// want run in the main one.
    ~RowReader();
    RowReader(const RowReader&) = delete;
    RowReader& operator=(const RowReader&) = delete;

    /// Both throw LibraryError for a query that cannot be asked. `then` is called once, later, unless the request is
    /// cancelled or the reader ends.
    Ticket Read(const RowQuery& query, std::function<void(RowPage)> then, Urgency urgency = Urgency::InSight);
    /// How many rows there are, whatever the query's range.
    Ticket Count(const RowQuery& query, std::function<void(RowCount)> then, Urgency urgency = Urgency::InSight);
    /// The request's `then` is not called any more. What waits is never asked of the storage.
    void Cancel(Ticket ticket);
    void CancelAll();

    /// The same, waiting for the answer; meanwhile they run what other threads want run in the main one.
    RowPage ReadNow(const RowQuery& query);
    RowCount CountNow(const RowQuery& query);

private:
    /// A request on its way through the reader's thread and back.
    struct Request {
        Ticket Number = 0;
        bool IsCount = false;
        std::vector<const LibraryField*> Columns;
        Ref<IVEXAObjectList> Fields;
        Ref<IVEXAMLDataFilter> Filter;
        Ref<ErrorInfo> Why;  // the storage fills it when it fails
        std::atomic<bool> IsCancelled{false};
        RowPage Page;
        RowCount Rows;
    };
    using RequestPointer = std::shared_ptr<Request>;
    /// What is done with the answer stays on the main thread, whichever thread lets go of the request last.
    struct Asked {
        RequestPointer What;
        std::function<void(Request&)> Then;
    };

    Ticket Queue(const RowQuery& query, bool isCount, std::function<void(Request&)> then, Urgency urgency);
    void Deliver(Ticket ticket);
    void Wait(Ticket ticket);

    // The reader's thread.
    void Run();
    void Ask(Request& request);
    void AskRows(Request& request);
    void AskCount(Request& request);

    const LibraryStorage& FStorage;
    const Ref<IVEXAMLDataProvider> FProvider;
    const Ref<IVEXAMLSubscriptionStorage> FCounter;  // null: rows are counted one by one
    std::map<Ticket, Asked> FAsked;                  // main thread: neither delivered nor cancelled
    Ticket FLastTicket = 0;                          // main thread
    LinkSource<RowReader> FLinks{this};

    TMutex FMutex;
    TCondition FIsWanted;
    std::deque<RequestPointer> FWaiting VEXA_GUARDED_BY(FMutex);
    std::atomic<bool> FIsEnding{false}, FHasEnded{false};
    std::thread FThread;  // the last member: it uses the others
};

}  // namespace vexa::host
