#pragma once
// Service: messages between plug-ins and host. Main thread.

#include "VEXA.Runtime.Classes.h"
#include "VEXA.SDK.Core.h"

#include <functional>
#include <map>
#include <vector>

namespace vexa::host {

class MessageDispatcher final : public RefCountedObject<IVEXAServiceMessageDispatcher> {
public:
    using Handler = std::function<HResult(std::int32_t param1, void* param2)>;

    /// Sets the host's own handler of a message, in place of an earlier one. The handler is not called when a hook has
    /// handled the message.
    void Handle(std::uint32_t message, Handler handler) { FHandlers[message] = std::move(handler); }

    /// While it is called, a hook may hook and unhook hooks, itself included: an unhooked one is not called any more, a
    /// newly hooked one is called from the next message on.
    HResult Send(std::uint32_t message, std::int32_t param1, void* param2) noexcept override;
    HResult Hook(IVEXAMessageHook* hook) noexcept override;
    /// E_INVALIDARG when `hook` is not hooked.
    HResult Unhook(IVEXAMessageHook* hook) noexcept override;

private:
    bool IsHooked(const Ref<IVEXAMessageHook>& hook) const;

    std::vector<Ref<IVEXAMessageHook>> FHooks;
    std::map<std::uint32_t, Handler> FHandlers;
};

}  // namespace vexa::host
