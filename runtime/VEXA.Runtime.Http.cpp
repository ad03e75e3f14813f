#include "VEXA.Runtime.Http.Transfer.h"
#include "VEXA.Runtime.Log.h"

#include <QScopeGuard>

#include <memory>

namespace vexa {

namespace {

constexpr int kPollMilliseconds = 50;

/// A thread's transfer handles, kept for their connections.
class ThreadHandles {
public:
    ThreadHandles() : FShare(HttpShareHandle()), FEasy(curl_easy_init()), FMulti(curl_multi_init()) {
        if (!FEasy || !FMulti) throw std::bad_alloc();
    }
    ~ThreadHandles() {
        curl_easy_cleanup(FEasy);
        curl_multi_cleanup(FMulti);
    }
    ThreadHandles(const ThreadHandles&) = delete;
    ThreadHandles& operator=(const ThreadHandles&) = delete;

    CURL* Easy() const { return FEasy; }
    CURLM* Multi() const { return FMulti; }
    bool InUse = false;

private:
    CURLSH* FShare;  // created before the handles that use it
    CURL* FEasy;
    CURLM* FMulti;
};

/// Runs until the transfer has ended or is cancelled.
CURLcode Perform(HttpTransfer& transfer, CURL* easy, CURLM* multi) {
    for (;;) {
        if (transfer.IsCancelled()) return CURLE_ABORTED_BY_CALLBACK;
        int running = 0;
        if (curl_multi_perform(multi, &running) != CURLM_OK) return CURLE_FAILED_INIT;
        int left = 0;
        while (const CURLMsg* message = curl_multi_info_read(multi, &left))
            if (message->msg == CURLMSG_DONE && message->easy_handle == easy) return message->data.result;
        transfer.Progress(false);
        if (curl_multi_poll(multi, nullptr, 0, kPollMilliseconds, nullptr) != CURLM_OK) return CURLE_FAILED_INIT;
    }
}

}  // namespace

HttpErrorInfo HttpGet::Run(const CancelCheck& isCancelled) const {
    thread_local ThreadHandles handles;
    // A callback that starts another transfer gets its own handles.
    std::unique_ptr<ThreadHandles> nested = handles.InUse ? std::make_unique<ThreadHandles>() : nullptr;
    ThreadHandles& used = nested ? *nested : handles;
    const PipeSignalBlocked blocked;
    HttpErrorInfo info;
    {
        used.InUse = true;
        const auto free = qScopeGuard([&] { used.InUse = false; });
        HttpTransfer transfer(*this, isCancelled);
        for (bool again = transfer.Prepare(used.Easy()); again;) {
            const CURLMcode added = curl_multi_add_handle(used.Multi(), used.Easy());
            if (added != CURLM_OK) {
                transfer.Fail(added);
                break;
            }
            again = transfer.End(Perform(transfer, used.Easy(), used.Multi()));
            curl_multi_remove_handle(used.Multi(), used.Easy());
            again = again && transfer.Prepare(used.Easy());
        }
        curl_easy_reset(used.Easy());  // the handle outlives the transfer, to which its options point
        info = transfer.Outcome();
    }
    if (info.Succeeded())
        qCDebug(LogHttp).noquote() << "fetched" << MaskedUrl(Url);
    else
        qCDebug(LogHttp).noquote() << "could not fetch" << MaskedUrl(Url) << "-" << info.Why.English();
    if (OnCompleted) OnCompleted(info);
    return info;
}

HttpDocument HttpGetDocument(const QString& url, qint64 maxBytes, const CancelCheck& isCancelled) {
    HttpDocument document;
    HttpGet request;
    request.Url = url;
    request.Compressed = true;
    request.MaxBytes = maxBytes;
    request.TotalTimeout = HttpDocumentTimeout();
    request.OnAccepted = [&](const HttpResponseInfo& info) {
        document.Info = info;
        document.Body.reserve(RoomForDocument(info, maxBytes));
        return true;
    };
    request.OnData = [&](const char* data, std::size_t size) {
        document.Body.append(data, static_cast<qsizetype>(size));
        return true;
    };
    request.Run(isCancelled).RaiseIfFailed();
    return document;
}

}  // namespace vexa
