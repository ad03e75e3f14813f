#pragma once
// The options dialog, which shows the pages that plug-ins registered. Main thread.
//
//     OptionsWindow options(host);            // from now on plug-ins can open the dialog, too
//     options.SetParent(&mainWindow);
//     options.ShowPage(nullptr, true);        // returns at once; the dialog is application-modal

#include "Host.h"
#include "WindowTexts.h"

#include <QDialog>
#include <QPointer>

#include <memory>
#include <vector>

class QDialogButtonBox;
class QListWidget;
class QStackedWidget;

namespace vexa::host {

class OptionsPage;

/// The dialog, from its opening to its closing. A page's window is made when the page is first shown, and destroyed
/// when the dialog closes.
class OptionsDialog final : public QDialog {
    Q_OBJECT
public:
    OptionsDialog(OptionsService& service, LanguageService& language, QWidget* parent);
    /// Destroys the pages' windows.
    ~OptionsDialog() override;

    void ShowPage(IVEXAOptionsDialogFrame* page);
    /// A page was changed; null means the page shown.
    void SetModified(IVEXAOptionsDialogFrame* page);
    void RemovePage(IVEXAOptionsDialogFrame* page);
    void Localize();

    /// Saves all pages that have been opened.
    void Apply();
    /// Shows the defaults on the current page.
    void Reset();

    void done(int result) override;

protected:
    bool focusNextPrevChild(bool next) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    OptionsPage* Current() const;
    OptionsPage* FocusedPage() const;
    void ShowRow(int row);
    void SaveAll();
    void ClosePages();
    std::vector<QWidget*> Stops() const;

    LanguageService& FLanguage;
    std::vector<std::unique_ptr<OptionsPage>> FPages;  // as the list shows them
    QListWidget* FList;
    QStackedWidget* FStack;
    QDialogButtonBox* FButtons;
    bool FIsLoading = false;  // pages are loading: changes now are not the user's
};

/// Opens the options dialog, one at a time, when the user or a plug-in asks for it.
class OptionsWindow final : public OptionsView {
public:
    explicit OptionsWindow(Host& host);
    /// Closes the dialog.
    ~OptionsWindow();
    OptionsWindow(const OptionsWindow&) = delete;
    OptionsWindow& operator=(const OptionsWindow&) = delete;

    /// Sets the dialog's parent window; null for none.
    void SetParent(QWidget* parent) { FParent = parent; }
    /// Null while the dialog is closed.
    OptionsDialog* Dialog() const { return FDialog; }

    void PageModified(IVEXAOptionsDialogFrame* page) override;
    bool ShowPage(IVEXAOptionsDialogFrame* page, bool isForced) override;
    void RemovePage(IVEXAOptionsDialogFrame* page) override;

private:
    Host& FHost;
    QPointer<QWidget> FParent;
    QPointer<OptionsDialog> FDialog;
    MessageListener FLanguage;
};

}  // namespace vexa::host
