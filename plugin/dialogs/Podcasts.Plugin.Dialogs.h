#pragma once
// What the plug-in's dialogs have in common. Main thread.

#include "VEXA.SDK.Objects.h"

#include <QDialog>
#include <QMessageBox>
#include <QPointer>
#include <QString>

#include <utility>

namespace podcasts {

/// Whether this program can show windows. When it cannot, a warning that `what` is impossible is logged.
bool CanShowWindows(const char* what);

/// A text from outside as a wrapping label can show it: without line ends of its own, no more than `letters` of it,
/// with places to break where a word is longer than a line, and without what turns the direction of the text around it.
QString TextForLabel(const QString& text, qsizetype letters);

/// A box without a title that waits for its button. `text` is plain. The owner may be destroyed meanwhile.
void ShowMessageBox(QWidget* owner, QMessageBox::Icon icon, const QString& text);

/// The base of the dialogs: a fixed frame in the middle of the screen, with the plug-in's icon.
class TPodcastsCustomForm : public QDialog {
public:
    /// `owner` may be 0, or a window of another toolkit. A dialog of a window that stays on top stays on top too.
    explicit TPodcastsCustomForm(vexa::WindowHandle owner);

protected:
    void showEvent(QShowEvent* event) override;
};

/// Frees a dialog when its scope ends, unless its owner has done so while it was open.
template <class Dialog>
class TOpenDialog {
public:
    template <class... Arguments>
    explicit TOpenDialog(Arguments&&... arguments) : FDialog(new Dialog(std::forward<Arguments>(arguments)...)) {}
    ~TOpenDialog() { delete FDialog.data(); }
    TOpenDialog(const TOpenDialog&) = delete;
    TOpenDialog& operator=(const TOpenDialog&) = delete;

    /// Null once the owner has taken it away.
    Dialog* Get() const noexcept { return FDialog.data(); }
    Dialog* operator->() const noexcept { return FDialog.data(); }
    /// Whether it was closed with OK and is still there.
    bool ExecuteOK() { return FDialog->exec() == QDialog::Accepted && FDialog; }

private:
    QPointer<Dialog> FDialog;
};

/// Logs the exception that is being handled, and shows it.
void ReportCaughtException(QWidget* owner) noexcept;

/// Runs a control's event: what it throws is logged and shown to the user.
template <class Event>
void RunEvent(QWidget* owner, Event event) noexcept {
    const QPointer<QWidget> guard(owner);
    try {
        event();
    } catch (...) {
        ReportCaughtException(guard);
    }
}

}  // namespace podcasts
