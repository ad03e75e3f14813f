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

    /// What the host itself does about a message, in place of what it did before. It is left out when a hook has taken
    /// the message over.
    void Handle(std::uint32_t message, Handler handler) { FHandlers[message] = std::move(handler); }

    /// A hook may hook and unhook, itself too, while it is called: one that is unhooked is not called any more, one
    /// that is hooked hears the next message.
    HResult Send(std::uint32_t message, std::int32_t param1, void* param2) noexcept override;
    HResult Hook(IVEXAMessageHook* hook) noexcept override;
    /// E_INVALIDARG when it was not hooked.
    HResult Unhook(IVEXAMessageHook* hook) noexcept override;

private:
    bool IsHooked(const Ref<IVEXAMessageHook>& hook) const;

    std::vector<Ref<IVEXAMessageHook>> FHooks;
    std::map<std::uint32_t, Handler> FHandlers;
};

}  // namespace vexa::host
