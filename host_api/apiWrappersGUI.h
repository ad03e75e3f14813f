#pragma once
// Turns any widget into a page of the host's options dialog, and sets the texts of widgets from the host's language
// files. Main thread.

#include "apiWrappers.h"

#include <QPointer>
#include <QWidget>

#include <memory>

class QWindow;

namespace vexa {

/// Sets the texts of a form and of everything inside it in the user's language. The form's window title is the text
/// with the key `prefix` + "Caption". For each control, menu and action with an objectName, the text with the key
/// `prefix` + name becomes its caption (`title`, else `text`; for a control whose text is its content, the name that
/// screen readers read), and the text with the key `prefix` + name + ".h" becomes its tool tip. A missing text sets the
/// empty text. Other windows that the form owns, such as a dialog that it has opened, are left unchanged.
void LocalizeForm(QWidget& form, const QString& prefix);

/// A page of the options dialog. Derived classes provide the form and the caption, and handle the notifications. In a
/// program without windows (without a QApplication) no page is created.
class TVEXACustomOptionsFrame
    : public Implements<TInterfacedObjectEx, IVEXAOptionsDialogFrame, IVEXAOptionsDialogFrameKeyboardHelper2> {
public:
    HResult QueryCaption(IVEXAString** caption) noexcept override;
    WindowHandle CreatePage(WindowHandle parentWindow) noexcept override;
    void DestroyPage() noexcept override;
    /// Also called when there is no form.
    void HandleNotification(std::int32_t notification) noexcept override;

    Bool32 HandleDialogChar(std::uint16_t character, std::int32_t flags) noexcept override;
    Bool32 HandleDialogKey(std::uint16_t key, std::int32_t flags) noexcept override;
    Bool32 FocusFirstControl() noexcept override;
    Bool32 FocusNextControl(Bool32 findForward, Bool32 isTabKey) noexcept override;
    Bool32 FocusLastControl() noexcept override;

protected:
    TVEXACustomOptionsFrame();
    ~TVEXACustomOptionsFrame() override;

    /// Creates the form, which this object owns: as a child of `parentControl`; or, if that is null because the parent
    /// window is not a widget of this program, without a parent: the form is then embedded in that window.
    virtual QWidget* CreatePageForm(WindowHandle parentWindow, QWidget* parentControl) = 0;
    virtual QString GetPageCaption();

    /// Null while the page is not shown, and after its parent has destroyed it.
    QWidget* Form() const noexcept { return FForm.data(); }

private:
    bool SelectFirst(bool forward);
    bool Select(QWidget* control, bool forward);
    void FreeForm();

    QPointer<QWidget> FForm;
    std::unique_ptr<QWindow> FForeignParent;  // the window of another toolkit in which the form is embedded
};

}  // namespace vexa
