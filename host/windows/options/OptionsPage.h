#pragma once
// A page of the options dialog: the plug-in's page, and the widget inside which the plug-in makes its window. Main
// thread.

#include "OptionsPages.h"

#include <QWidget>

namespace vexa::host {

/// The owner calls Close before the stack of the dialog destroys Container().
class OptionsPage final {
public:
    explicit OptionsPage(const Ref<IVEXAOptionsDialogFrame>& frame);
    ~OptionsPage();
    OptionsPage(const OptionsPage&) = delete;
    OptionsPage& operator=(const OptionsPage&) = delete;

    IVEXAOptionsDialogFrame* Frame() const noexcept { return FFrame.Get(); }
    /// The native window for the page's window, empty until Open. The stack that it is put in owns it.
    QWidget* Container() const noexcept { return FContainer; }
    QString Caption() const;

    /// Has the plug-in make the page's window, once, and load and localise it. If the plug-in makes none, Container()
    /// stays empty and a warning is logged.
    void Open();
    /// Destroys the page's window.
    void Close();
    bool IsOpen() const noexcept { return FIsOpen; }
    /// Notifies the page, if it is open.
    void Notify(IVEXAOptionsDialogFrame::Notification notification);

    bool HasFocus() const;
    /// Focuses the first or the last control. False when there is none.
    bool FocusEnd(bool isFirst);
    /// Focuses the next or the previous control. False at the end of the page.
    bool FocusNext(bool isForward, bool isTabKey);
    /// Offers the page a key that its controls did not handle. True when the page has handled it.
    bool HandleKey(std::uint16_t key);
    bool HandleChar(char16_t character);

private:
    std::vector<QWidget*> Stops() const;

    const Ref<IVEXAOptionsDialogFrame> FFrame;
    const Ref<IVEXAOptionsDialogFrameKeyboardHelper> FKeyboard;    // null: the host handles the keyboard
    const Ref<IVEXAOptionsDialogFrameKeyboardHelper2> FKeyboard2;  // the same
    QWidget* const FContainer;
    bool FIsOpen = false, FHasFailed = false;
};

/// The controls below `root` that Tab stops at, in tab order.
std::vector<QWidget*> TabStops(QWidget* root);

}  // namespace vexa::host
