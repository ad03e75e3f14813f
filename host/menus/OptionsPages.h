#pragma once
// Service: the options dialog's pages, and the way from them to the dialog, which windows/options/OptionsDialog.h
// makes. Main thread.

#include "Extensions.h"
#include "VEXA.Runtime.Classes.h"
#include "VEXA.SDK.Options.h"

#include <vector>

namespace vexa::host {

/// The dialog, as its pages reach it.
class OptionsView {
public:
    /// Something on a page changed; null: on the page that shows.
    virtual void PageModified(IVEXAOptionsDialogFrame* page) = 0;
    /// Shows the dialog at a page, null: at any; an open one also when `isForced` is not set. False when it does not
    /// show.
    virtual bool ShowPage(IVEXAOptionsDialogFrame* page, bool isForced) = 0;
    /// A page goes: its window is to be destroyed first.
    virtual void RemovePage(IVEXAOptionsDialogFrame* page) = 0;

protected:
    ~OptionsView() = default;
};

class OptionsService final : public RefCountedObject<IVEXAServiceOptionsDialog>, public ExtensionTarget {
public:
    /// Null for none. The view takes itself away before it ends.
    void SetView(OptionsView* view) { FView = view; }

    /// In the order registered.
    std::vector<Ref<IVEXAOptionsDialogFrame>> Pages() const { return FPages.Copy(); }

    HResult AddExtension(IUnknown* extension) override { return FPages.Add(extension); }
    void FinalizeExtension(IUnknown* extension) override;
    void RemoveExtension(IUnknown* extension) override;

    /// E_FAIL without a view, also in the next one.
    HResult FrameModified(IVEXAOptionsDialogFrame* page) noexcept override;
    /// E_INVALIDARG for a page that was not registered; E_FAIL when no dialog shows.
    HResult FrameShow(IVEXAOptionsDialogFrame* page, Bool32 forceShow) noexcept override;

private:
    ExtensionList<IVEXAOptionsDialogFrame> FPages;
    OptionsView* FView = nullptr;
};

}  // namespace vexa::host
