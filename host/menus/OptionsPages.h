#pragma once
// Service: the pages of the options dialog, and their access to the dialog, which windows/options/OptionsDialog.h
// implements. Main thread.

#include "Extensions.h"
#include "VEXA.Runtime.Classes.h"
#include "VEXA.SDK.Options.h"

#include <vector>

namespace vexa::host {

/// The options dialog, as the service calls it on behalf of the pages.
class OptionsView {
public:
    /// Something on a page was changed; null means the page shown.
    virtual void PageModified(IVEXAOptionsDialogFrame* page) = 0;
    /// Shows a page in the dialog; null means any page. Opens the dialog only if `isForced` is set. False when the
    /// dialog is not open afterwards.
    virtual bool ShowPage(IVEXAOptionsDialogFrame* page, bool isForced) = 0;
    /// Called before a page is removed: destroy its window.
    virtual void RemovePage(IVEXAOptionsDialogFrame* page) = 0;

protected:
    ~OptionsView() = default;
};

class OptionsService final : public RefCountedObject<IVEXAServiceOptionsDialog>, public ExtensionTarget {
public:
    /// Sets the view; null for none. The view sets null before it is destroyed.
    void SetView(OptionsView* view) { FView = view; }

    /// The pages in the order registered.
    std::vector<Ref<IVEXAOptionsDialogFrame>> Pages() const { return FPages.Copy(); }

    HResult AddExtension(IUnknown* extension) override { return FPages.Add(extension); }
    void FinalizeExtension(IUnknown* extension) override;
    void RemoveExtension(IUnknown* extension) override;

    /// E_FAIL without a view.
    HResult FrameModified(IVEXAOptionsDialogFrame* page) noexcept override;
    /// E_INVALIDARG for a page that is not registered; E_FAIL when there is no view or no dialog is open afterwards.
    HResult FrameShow(IVEXAOptionsDialogFrame* page, Bool32 forceShow) noexcept override;

private:
    ExtensionList<IVEXAOptionsDialogFrame> FPages;
    OptionsView* FView = nullptr;
};

}  // namespace vexa::host
