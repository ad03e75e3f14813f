#pragma once
// A page of the host's options dialog on top of any widget, and the texts of widgets from the host's language files.
// Main thread.

#include "apiWrappers.h"

#include <QPointer>
#include <QWidget>

#include <memory>

class QWindow;

namespace vexa {

/// Gives a form and what is inside it the texts of the user's language. The form's window title is the text of `prefix`
/// + "Caption". Each control, menu and action with an objectName gets the text of `prefix` + name as its caption
/// (`title`, else `text`; a control whose text is its content shows no caption, so there it is the name that screen
/// readers tell), and that of `prefix` + name + ".h" as its tool tip. What has no text becomes empty. Other windows
/// that the form owns, such as a dialog that it has opened, are left as they are.
void LocalizeForm(QWidget& form, const QString& prefix);

/// Derived classes supply the form, the caption and what the notifications mean. Without windows (the program is no
/// QApplication) no page is made.
class TVEXACustomOptionsFrame
    : public Implements<TInterfacedObjectEx, IVEXAOptionsDialogFrame, IVEXAOptionsDialogFrameKeyboardHelper2> {
public:
    HResult QueryCaption(IVEXAString** caption) noexcept override;
    WindowHandle CreatePage(WindowHandle parentWindow) noexcept override;
    void DestroyPage() noexcept override;
    /// Notifications also come when there is no form.
    void HandleNotification(std::int32_t notification) noexcept override;

    Bool32 HandleDialogChar(std::uint16_t character, std::int32_t flags) noexcept override;
    Bool32 HandleDialogKey(std::uint16_t key, std::int32_t flags) noexcept override;
    Bool32 FocusFirstControl() noexcept override;
    Bool32 FocusNextControl(Bool32 findForward, Bool32 isTabKey) noexcept override;
    Bool32 FocusLastControl() noexcept override;

protected:
    TVEXACustomOptionsFrame();
    ~TVEXACustomOptionsFrame() override;

    /// Makes the form, which this object owns: inside `parentControl`, or, when the parent window belongs to no widget
    /// of this program, without a parent: it is put into that window afterwards.
    virtual QWidget* CreatePageForm(WindowHandle parentWindow, QWidget* parentControl) = 0;
    virtual QString GetPageCaption();

    /// Null while the page is not shown, and when its parent has taken it away.
    QWidget* Form() const noexcept { return FForm.data(); }

private:
    bool SelectFirst(bool forward);
    bool Select(QWidget* control, bool forward);
    void FreeForm();

    QPointer<QWidget> FForm;
    std::unique_ptr<QWindow> FForeignParent;  // a window of another toolkit that the form is in
};

}  // namespace vexa
