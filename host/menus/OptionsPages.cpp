#include "OptionsPages.h"

#include "Guarded.h"

namespace vexa::host {

void OptionsService::FinalizeExtension(IUnknown* extension) {
    // A page's window uses objects that its plug-in is about to destroy.
    const auto page = Query<IVEXAOptionsDialogFrame>(extension);
    if (FView && page) FView->RemovePage(page.Get());
}

void OptionsService::RemoveExtension(IUnknown* extension) {
    FinalizeExtension(extension);
    FPages.Remove(extension);
}

HResult OptionsService::FrameModified(IVEXAOptionsDialogFrame* page) noexcept {
    return Guarded("noting changed options", [&] {
        if (!FView) return E_FAIL;
        FView->PageModified(page);
        return S_OK;
    });
}

HResult OptionsService::FrameShow(IVEXAOptionsDialogFrame* page, Bool32 forceShow) noexcept {
    return Guarded("showing the options", [&] {
        const auto pages = Pages();
        if (page && std::none_of(pages.begin(), pages.end(),
                                 [&](const auto& known) { return IsSameObject(known.Get(), page); }))
            return E_INVALIDARG;
        return FView && FView->ShowPage(page, forceShow != kFalse) ? S_OK : E_FAIL;
    });
}

}  // namespace vexa::host
