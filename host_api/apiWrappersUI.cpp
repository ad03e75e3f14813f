#include "apiWrappersUI.h"

#include "VEXA.Runtime.MessageBox.h"

namespace vexa {

void ShowCaughtException(const char* what) noexcept {
    LogCaughtException(LogPlugin(), what);
    GuardedCall("showing an error", [] { ShowErrorBox(HostMainWindow(), QString(), LocalizedText(CaughtReason())); });
}

HResult TVEXAUICustomEventAdapter::QueryInterface(const Guid& iid, void** object) noexcept {
    const HResult result = TInterfacedObjectEx::QueryInterface(iid, object);
    return result == E_NOINTERFACE && FMasterAdapter ? FMasterAdapter->QueryInterface(iid, object) : result;
}

TVEXAUINotifyEventAdapter::TVEXAUINotifyEventAdapter(TVEXAUINotifyEvent event, Ref<IUnknown> masterAdapter)
    : Implements(std::move(masterAdapter)), FEvent(std::move(event)) {}

void TVEXAUINotifyEventAdapter::OnChanged(IUnknown* sender) noexcept {
    Call(sender);
}

void TVEXAUINotifyEventAdapter::OnExecute(IUnknown* data) noexcept {
    Call(data);
}

void TVEXAUINotifyEventAdapter::Call(IUnknown* sender) noexcept {
    GuardedCall("an event", [&] {
        if (FEvent) FEvent(sender);
    });
}

}  // namespace vexa
