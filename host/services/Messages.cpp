#include "Messages.h"

#include "Guarded.h"

#include <algorithm>

namespace vexa::host {

bool MessageDispatcher::IsHooked(const Ref<IVEXAMessageHook>& hook) const {
    return std::find(FHooks.begin(), FHooks.end(), hook) != FHooks.end();
}

HResult MessageDispatcher::Send(std::uint32_t message, std::int32_t param1, void* param2) noexcept {
    return Guarded("sending a message", [&] {
        HResult result = E_NOTIMPL;
        for (const auto hooks = FHooks; const auto& hook : hooks)
            if (IsHooked(hook)) hook->OnMessage(message, param1, param2, &result);
        if (result != E_NOTIMPL) return result;
        const auto found = FHandlers.find(message);
        if (found == FHandlers.end()) return result;
        const Handler handler = found->second;  // a copy: the handler may replace itself by Handle
        return handler(param1, param2);
    });
}

HResult MessageDispatcher::Hook(IVEXAMessageHook* hook) noexcept {
    if (!hook) return E_INVALIDARG;
    return Guarded("hooking", [&] {
        const Ref<IVEXAMessageHook> added(hook);
        if (IsHooked(added)) return E_INVALIDARG;
        FHooks.push_back(added);
        return S_OK;
    });
}

HResult MessageDispatcher::Unhook(IVEXAMessageHook* hook) noexcept {
    const auto found = std::find(FHooks.begin(), FHooks.end(), Ref<IVEXAMessageHook>(hook));
    if (found == FHooks.end()) return E_INVALIDARG;
    const Ref<IVEXAMessageHook> removed = *found;
    FHooks.erase(found);
    return S_OK;
}

}  // namespace vexa::host
