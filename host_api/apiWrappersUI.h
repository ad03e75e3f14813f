#pragma once
// Method calls as the host's event interfaces, and what the user is told when what they asked for fails.

#include "apiWrappers.h"

#include <functional>

namespace vexa {

/// Logs the exception that is being handled, with `what` failed, and shows its message in front of the host's main
/// window. For whatever the user has asked for. Main thread.
void TellCaughtException(const char* what) noexcept;

/// Lets several adapters stand behind one object: what this one does not offer, its master is asked for.
class TVEXAUICustomEventAdapter : public TInterfacedObjectEx {
public:
    HResult QueryInterface(const Guid& iid, void** object) noexcept override;

protected:
    explicit TVEXAUICustomEventAdapter(Ref<IUnknown> masterAdapter) : FMasterAdapter(std::move(masterAdapter)) {}

private:
    Ref<IUnknown> FMasterAdapter;
};

/// Hears of something; `sender` is what the host passed, and may be null.
using TVEXAUINotifyEvent = std::function<void(IUnknown* sender)>;

/// Calls an event for a change and for an action alike. What the event throws is logged.
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
