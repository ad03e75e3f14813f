#include "Http.h"

#include "ErrorInfo.h"
#include "Guarded.h"
#include "Streams.h"
#include "Strings.h"
#include "VEXA.Runtime.Http.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.Runtime.Threads.h"

#include <atomic>
#include <map>

namespace vexa::host {

/// The background transfers of one service, and whether the service's transfers are to be cancelled.
struct HttpClientService::Running {
    std::atomic<bool> IsCancelled{false};
    TMutex Mutex;
    std::map<const Task*, TaskHandle> Handles VEXA_GUARDED_BY(Mutex);
};

/// One GET. Holds all that it needs, so that it can run on the caller's thread or on a worker.
class HttpClientService::Transfer final : public Task {
public:
    Transfer(QString address, IVEXAStream* body, IVEXAHttpClientEvents* events, std::shared_ptr<Running> running)
        : FAddress(std::move(address)), FBody(body), FEvents(events), FRunning(std::move(running)) {}

    /// Runs in the background. It releases the caller's objects before it ends, so that after CancelAll no transfer
    /// holds any.
    void Execute() override {
        Run();
        FBody = nullptr;
        FEvents = nullptr;
        const TLock lock(FRunning->Mutex);
        FRunning->Handles.erase(this);
    }
    /// Fetches and tells the events the outcome, which it returns: S_OK, E_ABORT or E_FAIL.
    HResult Run() {
        const Ref<ErrorInfo> error(new ErrorInfo);
        const HResult result = Guarded("an HTTP transfer", [&] { return Fetch(error.Get()); });
        const HResult reported = result == E_UNEXPECTED ? E_FAIL : result;
        if (FEvents) FEvents->OnCompleted(reported, error.Get());
        return reported;
    }

private:
    HResult Fetch(IVEXAErrorInfo* error) {
        QByteArray bytes;
        HttpGet get;
        get.Url = FAddress;
        get.Compressed = true;
        get.MaxBytes = kMaxBytes;
        get.OnData = [&bytes](const char* data, std::size_t size) {
            bytes.append(data, static_cast<qsizetype>(size));
            return true;
        };
        const HttpErrorInfo end =
            get.Run([this] { return FRunning->IsCancelled || (FEvents && FEvents->IsCancelled()); });
        if (end.What == HttpErrorInfo::Kind::Cancelled) return E_ABORT;
        if (!end.Succeeded()) return Fail(error, end.Why.English());
        if (Failed(ReplaceRest(*FBody, bytes)))
            return Fail(error, QStringLiteral("what the server sent cannot be written to the stream"));
        return S_OK;
    }
    HResult Fail(IVEXAErrorInfo* error, const QString& reason) {
        SetError(error, E_FAIL, u"cannot fetch " + MaskedUrl(FAddress) + u": " + reason);
        return E_FAIL;
    }

    const QString FAddress;
    Ref<IVEXAStream> FBody;
    Ref<IVEXAHttpClientEvents> FEvents;
    const std::shared_ptr<Running> FRunning;
};

HttpClientService::HttpClientService() : FRunning(std::make_shared<Running>()) {}

HttpClientService::~HttpClientService() {
    FRunning->IsCancelled = true;
}

HResult HttpClientService::Get(IVEXAString* address, std::uint32_t flags, IVEXAStream* body,
                               IVEXAHttpClientEvents* events) noexcept {
    return Guarded("an HTTP request", [&] {
        const QString url = ToQString(address);
        if (url.isEmpty() || !body) return E_INVALIDARG;
        auto transfer = std::make_unique<Transfer>(url, body, events, FRunning);
        if (flags & WaitForCompletion) return transfer->Run();
        const TLock lock(FRunning->Mutex);
        const Task* const started = transfer.get();
        // In time: the task takes the lock before it removes its handle.
        FRunning->Handles[started] = WorkerPool::Run(std::move(transfer));
        return S_OK;
    });
}

void HttpClientService::CancelAll() {
    VEXA_ASSERT_MAIN_THREAD();
    FRunning->IsCancelled = true;
    std::map<const Task*, TaskHandle> handles;
    {
        const TLock lock(FRunning->Mutex);
        handles = FRunning->Handles;
    }
    for (const auto& [transfer, handle] : handles) WorkerPool::Cancel(handle, true);
    FRunning->IsCancelled = false;
}

}  // namespace vexa::host
