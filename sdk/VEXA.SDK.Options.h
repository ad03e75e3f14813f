#pragma once
// The host's options dialog, to which plug-ins can add pages. Main thread.

#include "VEXA.SDK.Objects.h"

namespace vexa {

/// A page of the options dialog. Its window exists between CreatePage and DestroyPage, and the page receives
/// notifications during that time.
struct IVEXAOptionsDialogFrame : IUnknown {
    static constexpr Guid IID = ParseGuid("{088232E5-E4E1-40ED-8B25-D3B9740019AA}");

    enum Notification : std::int32_t {
        Load = 1,      // show the current settings
        Localize = 2,  // set the captions; also after a change of language
        Save = 3,      // apply the settings shown
        CanSave = 4,   // Save is about to follow
        Reset = 5,     // show the default settings
    };

    /// 3: The page's name in the dialog's list.
    virtual HResult QueryCaption(IVEXAString** caption) noexcept = 0;
    /// 4: Creates the page's window as a child that fills `parentWindow`; 0 on failure.
    virtual WindowHandle CreatePage(WindowHandle parentWindow) noexcept = 0;
    /// 5
    virtual void DestroyPage() noexcept = 0;
    /// 6
    virtual void HandleNotification(std::int32_t notification) noexcept = 0;

protected:
    ~IVEXAOptionsDialogFrame() = default;
};

/// Keyboard navigation between the dialog and a page. kFalse means that the page has not handled the key, or has no
/// control to focus; the dialog then proceeds itself.
struct IVEXAOptionsDialogFrameKeyboardHelper : IUnknown {
    static constexpr Guid IID = ParseGuid("{3EA6DC51-0C23-4B56-A415-ADDB0C9A79FC}");

    /// 3: A character that may be a mnemonic. `flags` come from the window system and are reserved.
    virtual Bool32 HandleDialogChar(std::uint16_t character, std::int32_t flags) noexcept = 0;
    /// 4: A key such as Return or Escape, as a Unicode code (13, 27).
    virtual Bool32 HandleDialogKey(std::uint16_t key, std::int32_t flags) noexcept = 0;
    /// 5
    virtual Bool32 FocusFirstControl() noexcept = 0;
    /// 6: `isTabKey`: kTrue for the Tab key, kFalse for an arrow key.
    virtual Bool32 FocusNextControl(Bool32 findForward, Bool32 isTabKey) noexcept = 0;

protected:
    ~IVEXAOptionsDialogFrameKeyboardHelper() = default;
};

/// The second version of the keyboard helper.
struct IVEXAOptionsDialogFrameKeyboardHelper2 : IVEXAOptionsDialogFrameKeyboardHelper {
    using Base = IVEXAOptionsDialogFrameKeyboardHelper;
    static constexpr Guid IID = ParseGuid("{3D9D0A00-FA03-4805-9874-EB2BD5D17823}");

    /// 7
    virtual Bool32 FocusLastControl() noexcept = 0;

protected:
    ~IVEXAOptionsDialogFrameKeyboardHelper2() = default;
};

/// Service: the options dialog. Its extensions are IVEXAOptionsDialogFrame objects.
struct IVEXAServiceOptionsDialog : IUnknown {
    static constexpr Guid IID = ParseGuid("{BD777A78-167B-4A16-B5AF-908B4AE90A55}");

    /// 3: A page has changes that the dialog can apply. `frame` null: the page that is shown.
    virtual HResult FrameModified(IVEXAOptionsDialogFrame* frame) noexcept = 0;
    /// 4: Opens the dialog at the page `frame`. With `forceShow` kFalse, only switches a dialog that is open already.
    virtual HResult FrameShow(IVEXAOptionsDialogFrame* frame, Bool32 forceShow) noexcept = 0;

protected:
    ~IVEXAServiceOptionsDialog() = default;
};

}  // namespace vexa
