#pragma once
// Adapts functions to the host's event interfaces, and tells the user when a requested action fails.

#include "apiWrappers.h"

#include <functional>

namespace vexa {

/// Logs that `what` failed, with the exception that is being handled, and shows its message in front of the host's main
/// window. For actions that the user has requested. Main thread.
void ShowCaughtException(const char* what) noexcept;

/// Lets several adapters act as one object: queries for interfaces that this adapter does not offer go to its master.
class TVEXAUICustomEventAdapter : public TInterfacedObjectEx {
public:
    HResult QueryInterface(const Guid& iid, void** object) noexcept override;

protected:
    explicit TVEXAUICustomEventAdapter(Ref<IUnknown> masterAdapter) : FMasterAdapter(std::move(masterAdapter)) {}

private:
    Ref<IUnknown> FMasterAdapter;
};

/// An event handler; `sender` comes from the host and may be null.
using TVEXAUINotifyEvent = std::function<void(IUnknown* sender)>;

/// Calls the same event handler for changes and for actions. Its exceptions are logged.
class TVEXAUINotifyEventAdapter : public Implements<TVEXAUICustomEventAdapter, IVEXAUIChangeEvents, IVEXAActionEvent> {
public:
    explicit TVEXAUINotifyEventAdapter(TVEXAUINotifyEvent event, Ref<IUnknown> masterAdapter = nullptr);

    void OnChanged(IUnknown* sender) noexcept override;
    void OnExecute(IUnknown* data) noexcept override;

private:
    void Call(IUnknown* sender) noexcept;

    TVEXAUINotifyEvent FEvent;
};

}  // namespace vexa
