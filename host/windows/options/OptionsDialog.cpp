#include "OptionsDialog.h"

#include "OptionsPage.h"
#include "RowDelegate.h"

#include <QApplication>
#include <QBoxLayout>
#include <QDialogButtonBox>
#include <QKeyEvent>
#include <QListWidget>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QScreen>
#include <QStackedWidget>

#include <algorithm>

namespace vexa::host {

namespace {

constexpr int kListWidth = 160;
constexpr QSize kFirstSize(660, 560);
constexpr char16_t kReturn = 13, kEscape = 27;

/// Escapes mnemonics, which texts of plug-ins do not have.
QString Plain(QString text) {
    return text.replace(u'&', QStringLiteral("&&"));
}

}  // namespace

OptionsDialog::OptionsDialog(OptionsService& service, LanguageService& language, QWidget* parent)
    : QDialog(parent),
      FLanguage(language),
      FList(new QListWidget),
      FStack(new QStackedWidget),
      FButtons(new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Apply |
                                    QDialogButtonBox::Reset)) {
    setModal(true);
    resize(kFirstSize.boundedTo(screen()->availableSize()));
    FList->setObjectName(QStringLiteral("Pages"));
    FList->setMaximumWidth(kListWidth);
    auto* upper = new QHBoxLayout;
    upper->addWidget(FList);
    upper->addWidget(FStack, 1);
    auto* whole = new QVBoxLayout(this);
    whole->addLayout(upper, 1);
    whole->addWidget(FButtons);
    for (const auto& frame : service.Pages()) {
        FPages.push_back(std::make_unique<OptionsPage>(frame));
        FStack->addWidget(FPages.back()->Container());
        FList->addItem(QString());
        FList->item(FList->count() - 1)->setSizeHint({0, RowDelegate::kHeight});
    }
    connect(FList, &QListWidget::currentRowChanged, this, &OptionsDialog::ShowRow);
    connect(FButtons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(FButtons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(FButtons->button(QDialogButtonBox::Apply), &QPushButton::clicked, this, &OptionsDialog::Apply);
    connect(FButtons->button(QDialogButtonBox::Reset), &QPushButton::clicked, this, &OptionsDialog::Reset);
    FButtons->button(QDialogButtonBox::Apply)->setEnabled(false);
    Localize();
}

OptionsDialog::~OptionsDialog() {
    ClosePages();
}

void OptionsDialog::ClosePages() {
    for (const auto& page : FPages) page->Close();
}

void OptionsDialog::Localize() {
    const auto text = [this](const char* key) { return Plain(FLanguage.Text(QString::fromLatin1(key))); };
    setWindowTitle(FLanguage.Text(QStringLiteral("Options\\Caption")));
    FList->setAccessibleName(windowTitle());
    FButtons->button(QDialogButtonBox::Ok)->setText(text("CommonDialogs\\B1"));
    FButtons->button(QDialogButtonBox::Cancel)->setText(text("CommonDialogs\\B2"));
    FButtons->button(QDialogButtonBox::Apply)->setText(text("Options\\Apply"));
    FButtons->button(QDialogButtonBox::Reset)->setText(text("Options\\Reset"));
    const QScopedValueRollback loading(FIsLoading, true);
    for (std::size_t i = 0; i < FPages.size(); ++i) {
        const QString caption = FPages[i]->Caption();
        FList->item(static_cast<int>(i))->setText(caption);
        FPages[i]->Container()->setAccessibleName(caption);
        FPages[i]->Notify(IVEXAOptionsDialogFrame::Localize);
    }
}

OptionsPage* OptionsDialog::Current() const {
    const int row = FList->currentRow();
    return row >= 0 && row < static_cast<int>(FPages.size()) ? FPages[static_cast<std::size_t>(row)].get() : nullptr;
}

void OptionsDialog::ShowRow(int row) {
    OptionsPage* page = Current();
    FButtons->button(QDialogButtonBox::Reset)->setEnabled(page != nullptr);
    if (!page) return;
    FStack->setCurrentIndex(row);
    const QScopedValueRollback loading(FIsLoading, true);
    page->Open();
}

void OptionsDialog::ShowPage(IVEXAOptionsDialogFrame* page) {
    const auto found = std::find_if(FPages.begin(), FPages.end(),
                                    [&](const auto& known) { return page && IsSameObject(known->Frame(), page); });
    if (found != FPages.end())
        FList->setCurrentRow(static_cast<int>(found - FPages.begin()));
    else if (FList->currentRow() < 0)
        FList->setCurrentRow(0);
}

void OptionsDialog::SetModified(IVEXAOptionsDialogFrame*) {
    if (!FIsLoading) FButtons->button(QDialogButtonBox::Apply)->setEnabled(true);
}

void OptionsDialog::RemovePage(IVEXAOptionsDialogFrame* page) {
    const auto found = std::find_if(FPages.begin(), FPages.end(),
                                    [&](const auto& known) { return IsSameObject(known->Frame(), page); });
    if (found == FPages.end()) return;
    const std::unique_ptr<OptionsPage> removed = std::move(*found);
    const int row = static_cast<int>(found - FPages.begin());
    FPages.erase(found);
    removed->Close();
    FStack->removeWidget(removed->Container());
    delete removed->Container();
    delete FList->takeItem(row);
}

void OptionsDialog::SaveAll() {
    // All pages are asked before the first one saves. A page that was never shown has nothing to save.
    for (const auto& page : FPages) page->Notify(IVEXAOptionsDialogFrame::CanSave);
    for (const auto& page : FPages) page->Notify(IVEXAOptionsDialogFrame::Save);
}

void OptionsDialog::Apply() {
    SaveAll();
    FButtons->button(QDialogButtonBox::Apply)->setEnabled(false);
    if (!FButtons->isAncestorOf(focusWidget())) return;
    FButtons->button(QDialogButtonBox::Ok)->setFocus();
}

void OptionsDialog::Reset() {
    OptionsPage* page = Current();
    if (!page || !page->IsOpen()) return;
    page->Notify(IVEXAOptionsDialogFrame::Reset);
    SetModified(page->Frame());
}

void OptionsDialog::done(int result) {
    if (result == Accepted) SaveAll();
    ClosePages();
    QDialog::done(result);
}

OptionsPage* OptionsDialog::FocusedPage() const {
    OptionsPage* page = Current();
    return page && page->HasFocus() ? page : nullptr;
}

std::vector<QWidget*> OptionsDialog::Stops() const {
    return TabStops(FButtons);
}

bool OptionsDialog::focusNextPrevChild(bool next) {
    const auto reason = next ? Qt::TabFocusReason : Qt::BacktabFocusReason;
    const auto focusList = [&] { FList->setFocus(reason); };
    const auto buttons = Stops();
    const auto focusButton = [&](bool first) {
        if (buttons.empty()) return focusList();
        (first ? buttons.front() : buttons.back())->setFocus(reason);
    };
    OptionsPage* page = Current();
    const auto button = std::find(buttons.begin(), buttons.end(), QApplication::focusWidget());
    if (OptionsPage* focused = FocusedPage()) {
        if (!focused->FocusNext(next, true)) next ? focusButton(true) : focusList();
    } else if (button == buttons.end()) {
        // From the list, forwards into the page and backwards to the buttons.
        if (!next || !page || !page->FocusEnd(true)) focusButton(next);
    } else if (next) {
        if (button + 1 == buttons.end())
            focusList();
        else
            (*(button + 1))->setFocus(reason);
    } else if (button != buttons.begin()) {
        (*(button - 1))->setFocus(reason);
    } else if (!page || !page->FocusEnd(false)) {
        focusList();
    }
    return true;
}

void OptionsDialog::keyPressEvent(QKeyEvent* event) {
    // The focused control has not handled this key.
    if (OptionsPage* page = FocusedPage()) {
        const int key = event->key();
        const bool isForward = key == Qt::Key_Right || key == Qt::Key_Down;
        bool isTaken = false;
        if (key == Qt::Key_Return || key == Qt::Key_Enter)
            isTaken = page->HandleKey(kReturn);
        else if (key == Qt::Key_Escape)
            isTaken = page->HandleKey(kEscape);
        else if (isForward || key == Qt::Key_Left || key == Qt::Key_Up)
            isTaken = page->FocusNext(isForward, false);
        else if ((event->modifiers() & Qt::AltModifier) && event->text().size() == 1)
            isTaken = page->HandleChar(event->text()[0].unicode());
        if (isTaken) return event->accept();
    }
    QDialog::keyPressEvent(event);
}

OptionsWindow::OptionsWindow(Host& host)
    : FHost(host), FLanguage(host.Messages(), kMsgLanguageChanged, [this] {
          if (FDialog) FDialog->Localize();
      }) {
    FHost.Options().SetView(this);
}

OptionsWindow::~OptionsWindow() {
    FHost.Options().SetView(nullptr);
    delete FDialog;
}

void OptionsWindow::PageModified(IVEXAOptionsDialogFrame* page) {
    if (FDialog) FDialog->SetModified(page);
}

bool OptionsWindow::ShowPage(IVEXAOptionsDialogFrame* page, bool isForced) {
    if (!FDialog && !isForced) return false;
    if (!FDialog) {
        FHost.Config().Reload();  // the command line may have changed options
        FDialog = new OptionsDialog(FHost.Options(), FHost.Language(), FParent);
        // Deleted later, because code of a plug-in on the stack may still use the dialog.
        QObject::connect(FDialog, &QDialog::finished, FDialog, [this, closed = FDialog] {
            FDialog = nullptr;
            closed->deleteLater();
        });
    }
    FDialog->ShowPage(page);
    FDialog->show();
    FDialog->raise();
    FDialog->activateWindow();
    return true;
}

void OptionsWindow::RemovePage(IVEXAOptionsDialogFrame* page) {
    if (FDialog) FDialog->RemovePage(page);
}

}  // namespace vexa::host
