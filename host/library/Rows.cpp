#include "Rows.h"

#include "Guarded.h"
#include "HostReasons.h"
#include "ObjectList.h"
#include "VEXA.Runtime.Reasons.h"
#include "VEXA.Runtime.Threads.h"

#include <utility>

namespace vexa::host {

namespace {

/// The storage's own message, or a general one if there is none.
Reason Refusal(const ErrorInfo& why, HResult result) {
    if (const QString message = why.Message(); !message.isEmpty()) return message;
    const QString code = QString::number(static_cast<std::uint32_t>(result), 16).toUpper();
    return Reason(HostReason("RowsNotRead"), {QString(u"0x" + code)});
}

Reason Cancelled() {
    return Reason(RuntimeReason("Cancelled"));
}

RowValue ReadValue(IVEXAMLDataProviderSelection& rows, std::int32_t column, const LibraryField& field) {
    RowValue value;
    if (field.IsNumber()) {
        value.Number = rows.GetValueAsFloat(column);
        return value;
    }
    std::int32_t length = 0;
    if (const char16_t* chars = rows.GetValueAsString(column, &length); chars && length > 0)
        value.Text = QString(reinterpret_cast<const QChar*>(chars), length);
    return value;
}

/// Fills in the texts that users see. They are asked for on the main thread, once for each different value of a page,
/// because the object that gives them owns the last text it gave, and because they depend on the user's language.
void Show(RowPage& page) {
    for (std::size_t i = 0; i < page.Columns.size(); ++i) {
        const LibraryField& field = *page.Columns[i];
        if (!field.DisplayValues) continue;
        std::map<QString, QString> known;
        for (auto& row : page.Rows) {
            const auto [found, isNew] = known.try_emplace(row[i].Text);
            if (isNew) found->second = field.Shown(row[i].Text);
            row[i].Shown = found->second;
        }
    }
}

}  // namespace

RowReader::RowReader(const LibraryStorage& storage)
    : FStorage(storage),
      FProvider(storage.Rows()),
      FCounter(Query<IVEXAMLSubscriptionStorage>(FProvider.Get())),
      FThread([this] { Run(); }) {}

RowReader::~RowReader() {
    VEXA_ASSERT_MAIN_THREAD();
    FLinks.Invalidate();
    CancelAll();
    {
        const TLock lock(FMutex);
        FIsEnding = true;
    }
    FHasWork.NotifyOne();
    // The storage may be waiting for a function that it has posted to the main thread.
    DrainMainThreadUntil([this] { return FHasEnded.load(); });
    FThread.join();
}

RowReader::Ticket RowReader::Queue(const RowQuery& query, bool isCount, std::function<void(Request&)> then,
                                   Urgency urgency) {
    VEXA_ASSERT_MAIN_THREAD();
    auto request = std::make_shared<Request>();
    request->Number = ++FLastTicket;
    request->IsCount = isCount;
    request->Columns = Columns(FStorage, query);
    request->Filter = BuildFilter(FStorage, query);
    request->Error = Ref<ErrorInfo>(new ErrorInfo);
    request->Filter->SetValueAsObject(IVEXAMLDataFilter::ErrorInfo, request->Error.Get());
    request->Fields = Ref<IVEXAObjectList>(new ObjectList);
    for (const LibraryField* field : request->Columns) request->Fields->Add(MakeString(field->Name).Get());
    request->Page.Columns = request->Columns;
    request->Page.Offset = query.Offset;
    FPending.emplace(request->Number, Pending{request, std::move(then)});
    {
        const TLock lock(FMutex);
        if (urgency == Urgency::InSight)
            FWaiting.push_front(request);
        else
            FWaiting.push_back(request);
    }
    FHasWork.NotifyOne();
    return request->Number;
}

RowReader::Ticket RowReader::Read(const RowQuery& query, std::function<void(RowPage)> then, Urgency urgency) {
    const auto finish = [then = std::move(then)](Request& request) {
        Show(request.Page);
        then(std::move(request.Page));
    };
    return Queue(query, false, finish, urgency);
}

RowReader::Ticket RowReader::Count(const RowQuery& query, std::function<void(RowCount)> then, Urgency urgency) {
    RowQuery all = query;
    all.Offset = all.Limit = 0;
    all.Sort.clear();
    return Queue(
        all, true, [then = std::move(then)](Request& request) { then(std::move(request.Rows)); }, urgency);
}

void RowReader::Cancel(Ticket ticket) {
    VEXA_ASSERT_MAIN_THREAD();
    const auto found = FPending.find(ticket);
    if (found == FPending.end()) return;
    const Pending pending = std::move(found->second);
    const RequestPointer& request = pending.Sent;
    FPending.erase(found);
    request->IsCancelled = true;
    const TLock lock(FMutex);
    std::erase(FWaiting, request);
}

void RowReader::CancelAll() {
    while (!FPending.empty()) Cancel(FPending.begin()->first);
}

void RowReader::Deliver(Ticket ticket) {
    VEXA_ASSERT_MAIN_THREAD();
    const auto found = FPending.find(ticket);
    if (found == FPending.end()) return;  // cancelled
    const Pending pending = std::move(found->second);
    FPending.erase(found);
    pending.Then(*pending.Sent);
}

RowPage RowReader::ReadNow(const RowQuery& query) {
    RowPage answer;
    answer.Error = Cancelled();
    Wait(Read(query, [&](RowPage page) { answer = std::move(page); }));
    return answer;
}

RowCount RowReader::CountNow(const RowQuery& query) {
    RowCount answer{0, Cancelled()};
    Wait(Count(query, [&](RowCount count) { answer = std::move(count); }));
    return answer;
}

void RowReader::Wait(Ticket ticket) {
    // The functions run meanwhile may cancel the request.
    DrainMainThreadUntil([&] { return !FPending.contains(ticket); });
}

void RowReader::Run() {
    for (;;) {
        RequestPointer request;
        {
            TLock lock(FMutex);
            FHasWork.Wait(lock, [this]() VEXA_REQUIRES(FMutex) { return FIsEnding || !FWaiting.empty(); });
            if (FIsEnding) break;
            request = std::move(FWaiting.front());
            FWaiting.pop_front();
        }
        Ask(*request);
        if (request->IsCancelled) continue;
        RunInMainThread(
            [reader = Link<RowReader>(FLinks), ticket = request->Number] {
                if (RowReader* alive = reader.Get()) alive->Deliver(ticket);
            },
            false);
    }
    FHasEnded = true;
    WakeMainThread();
}

void RowReader::Ask(Request& request) {
    const HResult result = Guarded("reading rows", [&] {
        if (!FProvider) return E_NOINTERFACE;
        request.IsCount ? AskCount(request) : AskRows(request);
        return S_OK;
    });
    if (Failed(result)) {
        request.Page.Rows.clear();
        request.Page.Error = request.Rows.Error = Refusal(*request.Error, result);
    }
}

void RowReader::AskRows(Request& request) {
    Ref<IUnknown> data;
    const HResult result = FProvider->GetData(request.Fields.Get(), request.Filter.Get(), data.Put());
    if (Failed(result)) {
        request.Page.Error = Refusal(*request.Error, result);
        return;
    }
    const auto rows = Query<IVEXAMLDataProviderSelection>(data.Get());
    if (!rows) return;
    do {
        auto& row = request.Page.Rows.emplace_back();
        row.reserve(request.Columns.size());
        for (std::size_t i = 0; i < request.Columns.size(); ++i)
            row.push_back(ReadValue(*rows, static_cast<std::int32_t>(i), *request.Columns[i]));
    } while (!request.IsCancelled && rows->NextRow() != kFalse);
}

void RowReader::AskCount(Request& request) {
    if (FCounter) {
        const HResult result = FCounter->GetRowCount(request.Fields.Get(), request.Filter.Get(), &request.Rows.Count);
        if (Failed(result)) request.Rows = {0, Refusal(*request.Error, result)};
        return;
    }
    Ref<IUnknown> data;
    const HResult result = FProvider->GetData(request.Fields.Get(), request.Filter.Get(), data.Put());
    if (Failed(result)) request.Rows.Error = Refusal(*request.Error, result);
    const auto rows = Query<IVEXAMLDataProviderSelection>(data.Get());
    if (!rows) return;
    do ++request.Rows.Count;
    while (!request.IsCancelled && rows->NextRow() != kFalse);
}

}  // namespace vexa::host
