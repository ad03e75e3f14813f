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

    /// The body replaces the stream's bytes from its position on; on failure the stream is as it was. The stream is the
    /// transfer's until it has completed.
    HResult Get(IVEXAString* address, std::uint32_t flags, IVEXAStream* body,
                IVEXAHttpClientEvents* events) noexcept override;

    /// Ends the transfers that go on in the background and waits for them; those that begin meanwhile, on any thread,
    /// end too. Main thread.
    void CancelAll();

private:
    class Transfer;
    struct Running;
    const std::shared_ptr<Running> FRunning;  // shared with the transfers, which may outlive the service
};

}  // namespace vexa::host
