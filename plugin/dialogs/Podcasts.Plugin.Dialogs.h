#pragma once
// Code shared by the plug-in's dialogs. Main thread.

#include "VEXA.SDK.Objects.h"

#include <QDialog>
#include <QMessageBox>
#include <QPointer>
#include <QString>

#include <utility>

namespace podcasts {

/// Whether this program can show windows. If not, logs a warning that `what` is impossible.
bool CanShowWindows(const char* what);

/// An untrusted text in a form that is safe in a wrapping label: without line breaks, cut to `letters` letters, with
/// break opportunities in words longer than a line, and without characters that change the direction of other text.
QString TextForLabel(const QString& text, qsizetype letters);

/// Shows a box without a title and returns when the user has closed it. `text` is plain text. The owner may be
/// destroyed meanwhile.
void ShowMessageBox(QWidget* owner, QMessageBox::Icon icon, const QString& text);

/// The base of the dialogs: a fixed frame in the middle of the screen, with the plug-in's icon.
class TPodcastsCustomForm : public QDialog {
public:
    /// `owner` may be 0, or a window of another toolkit. If the owner stays on top, so does the dialog.
    explicit TPodcastsCustomForm(vexa::WindowHandle owner);

protected:
    void showEvent(QShowEvent* event) override;
};

/// Destroys a dialog at the end of a scope, unless the dialog's owner has destroyed it before.
template <class Dialog>
class TOpenDialog {
public:
    template <class... Arguments>
    explicit TOpenDialog(Arguments&&... arguments) : FDialog(new Dialog(std::forward<Arguments>(arguments)...)) {}
    ~TOpenDialog() { delete FDialog.data(); }
    TOpenDialog(const TOpenDialog&) = delete;
    TOpenDialog& operator=(const TOpenDialog&) = delete;

    /// Null once the owner has destroyed the dialog.
    Dialog* Get() const noexcept { return FDialog.data(); }
    Dialog* operator->() const noexcept { return FDialog.data(); }
    /// Destroys the dialog now.
    void Close() { delete FDialog.data(); }
    /// Runs the dialog. True when the user has closed it with OK and it still exists.
    bool ExecuteOK() { return FDialog->exec() == QDialog::Accepted && FDialog; }

private:
    QPointer<Dialog> FDialog;
};

/// Logs the exception that is being handled, and shows its message.
void ReportCaughtException(QWidget* owner) noexcept;

/// Runs a control's event handler; its exceptions are logged and shown to the user.
template <class Event>
void RunEvent(QWidget& owner, Event event) noexcept {
    const QPointer<QWidget> guard(&owner);
    try {
        event();
    } catch (...) {
        ReportCaughtException(guard);
    }
}

}  // namespace podcasts
