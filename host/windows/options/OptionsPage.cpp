#include "OptionsPage.h"

#include "Log.h"
#include "Strings.h"

#include <QApplication>
#include <QVBoxLayout>

namespace vexa::host {

namespace {

constexpr Bool32 ToBool32(bool value) {
    return value ? kTrue : kFalse;
}

}  // namespace

std::vector<QWidget*> TabStops(QWidget* root) {
    std::vector<QWidget*> stops;
    for (QWidget* widget = root->nextInFocusChain(); widget && widget != root; widget = widget->nextInFocusChain())
        if (root->isAncestorOf(widget) && (widget->focusPolicy() & Qt::TabFocus) && widget->isEnabled() &&
            widget->isVisible() && !widget->focusProxy())
            stops.push_back(widget);
    return stops;
}

OptionsPage::OptionsPage(const Ref<IVEXAOptionsDialogFrame>& frame)
    : FFrame(frame),
      FKeyboard(Query<IVEXAOptionsDialogFrameKeyboardHelper>(frame.Get())),
      FKeyboard2(Query<IVEXAOptionsDialogFrameKeyboardHelper2>(frame.Get())),
      FContainer(new QWidget) {
    // Only this widget needs a native window, not its ancestors.
    FContainer->setAttribute(Qt::WA_DontCreateNativeAncestors);
    FContainer->setAttribute(Qt::WA_NativeWindow);
}

OptionsPage::~OptionsPage() {
    Close();
}

QString OptionsPage::Caption() const {
    Ref<IVEXAString> caption;
    FFrame->QueryCaption(caption.Put());
    return ToQString(caption.Get());
}

void OptionsPage::Open() {
    if (FIsOpen || FHasFailed) return;
    const WindowHandle window = FFrame->CreatePage(FContainer->winId());
    if (window == 0) {
        FHasFailed = true;
        qCWarning(LogHost).noquote() << "the options page" << Caption() << "made no window";
        return;
    }
    FIsOpen = true;
    // A page made with the host's toolkit follows the dialog's size; a page of another toolkit keeps its own size.
    if (QWidget* page = QWidget::find(window); page && page != FContainer && FContainer->isAncestorOf(page)) {
        auto* layout = new QVBoxLayout(FContainer);
        layout->setContentsMargins({});
        layout->addWidget(page);
        page->show();
    }
    Notify(IVEXAOptionsDialogFrame::Load);
    Notify(IVEXAOptionsDialogFrame::Localize);
}

void OptionsPage::Close() {
    if (std::exchange(FIsOpen, false)) FFrame->DestroyPage();
}

void OptionsPage::Notify(IVEXAOptionsDialogFrame::Notification notification) {
    if (FIsOpen) FFrame->HandleNotification(notification);
}

std::vector<QWidget*> OptionsPage::Stops() const {
    return TabStops(FContainer);
}

bool OptionsPage::HasFocus() const {
    const QWidget* focused = QApplication::focusWidget();
    return focused && (focused == FContainer || FContainer->isAncestorOf(focused));
}

bool OptionsPage::FocusEnd(bool isFirst) {
    if (!FIsOpen) return false;
    if (isFirst && FKeyboard) return FKeyboard->FocusFirstControl() != kFalse;
    if (!isFirst && FKeyboard2) return FKeyboard2->FocusLastControl() != kFalse;
    const auto stops = Stops();
    if (stops.empty()) return false;
    (isFirst ? stops.front() : stops.back())->setFocus(isFirst ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    return true;
}

bool OptionsPage::FocusNext(bool isForward, bool isTabKey) {
    if (!FIsOpen) return false;
    if (FKeyboard) return FKeyboard->FocusNextControl(ToBool32(isForward), ToBool32(isTabKey)) != kFalse;
    if (!isTabKey) return false;
    const auto stops = Stops();
    const auto focused = std::find(stops.begin(), stops.end(), QApplication::focusWidget());
    if (focused == stops.end() || (isForward ? focused + 1 == stops.end() : focused == stops.begin())) return false;
    (*(isForward ? focused + 1 : focused - 1))->setFocus(isForward ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    return true;
}

bool OptionsPage::HandleKey(std::uint16_t key) {
    return FIsOpen && FKeyboard && FKeyboard->HandleDialogKey(key, 0) != kFalse;
}

bool OptionsPage::HandleChar(char16_t character) {
    return FIsOpen && FKeyboard && FKeyboard->HandleDialogChar(character, 0) != kFalse;
}

}  // namespace vexa::host
