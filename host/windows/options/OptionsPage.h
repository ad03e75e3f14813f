#pragma once
// A page of the options dialog: the place in which a plug-in makes its window, and the plug-in's page itself. Main
// thread.

#include "OptionsPages.h"

#include <QWidget>

namespace vexa::host {

/// Belongs to the dialog's stack; whoever has it calls Close before it ends.
class OptionsPage final {
public:
    explicit OptionsPage(const Ref<IVEXAOptionsDialogFrame>& frame);
    ~OptionsPage();
    OptionsPage(const OptionsPage&) = delete;
    OptionsPage& operator=(const OptionsPage&) = delete;

    IVEXAOptionsDialogFrame* Frame() const noexcept { return FFrame.Get(); }
    /// A native window, empty until Open. The stack that it is put in owns it.
    QWidget* Place() const noexcept { return FPlace; }
    QString Caption() const;

    /// Makes the page's window, once, and has it load and localise itself. When the plug-in makes none the place stays
    /// empty, and a warning is logged.
    void Open();
    /// Destroys the page's window.
    void Close();
    bool IsOpen() const noexcept { return FIsOpen; }
    /// While it is open; a closed page hears nothing.
    void Notify(IVEXAOptionsDialogFrame::Notification notification);

    bool HasFocus() const;
    /// The first control, or the last one. False when there is none.
    bool FocusEnd(bool isFirst);
    /// The next control, or the one before. False at the end of the page.
    bool FocusNext(bool isForward, bool isTabKey);
    /// What the page makes of keys that its controls did not take.
    bool HandleKey(std::uint16_t key);
    bool HandleChar(char16_t character);

private:
    std::vector<QWidget*> Stops() const;

    const Ref<IVEXAOptionsDialogFrame> FFrame;
    const Ref<IVEXAOptionsDialogFrameKeyboardHelper> FKeyboard;    // null: the page leaves it to the host
    const Ref<IVEXAOptionsDialogFrameKeyboardHelper2> FKeyboard2;  // the same
    QWidget* const FPlace;
    bool FIsOpen = false, FHasFailed = false;
};

/// The controls below `root` that Tab stops at, in order.
std::vector<QWidget*> TabStops(QWidget* root);

}  // namespace vexa::host
