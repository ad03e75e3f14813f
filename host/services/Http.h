#pragma once
// Service: HTTP. Any thread.

#include "VEXA.Runtime.Classes.h"
#include "VEXA.SDK.Core.h"

#include <memory>

namespace vexa::host {

class HttpClientService final : public RefCountedObject<IVEXAServiceHttpClient> {
public:
    HttpClientService();
    ~HttpClientService() override;

    /// The received body replaces the stream's bytes from its position on; on failure the stream is as it was. Nobody
    /// else may use the stream until the transfer has completed.
    HResult Get(IVEXAString* address, std::uint32_t flags, IVEXAStream* body,
                IVEXAHttpClientEvents* events) noexcept override;

    /// Cancels the background transfers and waits for their end; transfers that begin during the call, on any thread,
    /// are cancelled, too. Main thread.
    void CancelAll();

private:
    class Transfer;
    struct Running;
    const std::shared_ptr<Running> FRunning;  // shared with the transfers, which may outlive the service
};

}  // namespace vexa::host
