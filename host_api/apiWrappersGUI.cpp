#include "apiWrappersGUI.h"

#include "VEXA.Runtime.Log.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QGroupBox>
#include <QKeyEvent>
#include <QKeySequence>
#include <QLabel>
#include <QMenu>
#include <QScrollArea>
#include <QWindow>

#include <algorithm>
#include <vector>

namespace vexa {

namespace {

constexpr char16_t kReturn = 13;
constexpr char16_t kEscape = 27;

// ---- Tab order ----

/// The controls inside `container` in tab order.
std::vector<QWidget*> ControlsOf(QWidget& container) {
    std::vector<QWidget*> controls;
    for (QWidget* next = container.nextInFocusChain(); next && next != &container; next = next->nextInFocusChain())
        if (container.isAncestorOf(next)) controls.push_back(next);
    return controls;
}

bool CanFocus(const QWidget& control) {
    return control.focusPolicy() != Qt::NoFocus && control.isEnabled() && control.isVisible();
}

enum class Accept { Focusable, TabStops, DirectChildren };

/// The control of `container` after or before `start`, which may be null; null when there is no such control.
QWidget* FindNextControl(QWidget& container, QWidget* start, bool forward, Accept accept) {
    const std::vector<QWidget*> controls = ControlsOf(container);
    const auto count = static_cast<std::ptrdiff_t>(controls.size());
    const auto found = std::find(controls.begin(), controls.end(), start);
    std::ptrdiff_t i = found != controls.end() ? found - controls.begin() : forward ? -1 : count;
    const std::ptrdiff_t step = forward ? 1 : -1;
    for (i += step; i >= 0 && i < count; i += step) {
        QWidget* const control = controls[static_cast<std::size_t>(i)];
        // A control with a focus proxy, such as the edit inside a spin box, passes the focus on to another control,
        // which has its own place in the order.
        if (!CanFocus(*control) || control->focusProxy()) continue;
        if (accept == Accept::TabStops && !(control->focusPolicy() & Qt::TabFocus)) continue;
        if (accept == Accept::DirectChildren && control->parentWidget() != &container) continue;
        return control;
    }
    return nullptr;
}

void ScrollTo(QWidget& control) {
    for (QWidget* parent = control.parentWidget(); parent; parent = parent->parentWidget())
        if (auto* const area = qobject_cast<QScrollArea*>(parent)) area->ensureWidgetVisible(&control);
}

// ---- Mnemonics ----

bool IsMnemonicOf(const QString& caption, QChar character) {
    const QKeySequence mnemonic = QKeySequence::mnemonic(caption);
    return !mnemonic.isEmpty() && mnemonic == QKeySequence::mnemonic(QString(u'&') + character);
}

/// Activates a control by its mnemonic; false when it has none, or another one.
bool TypeMnemonic(QWidget& control, QChar character) {
    if (!control.isVisible() || !control.isEnabled()) return false;
    if (auto* const button = qobject_cast<QAbstractButton*>(&control)) {
        if (!IsMnemonicOf(button->text(), character)) return false;
        if (CanFocus(*button)) button->setFocus(Qt::ShortcutFocusReason);
        button->click();
        return true;
    }
    QWidget* target = nullptr;
    if (auto* const label = qobject_cast<QLabel*>(&control)) {
        if (label->buddy() && IsMnemonicOf(label->text(), character)) target = label->buddy();
    } else if (auto* const group = qobject_cast<QGroupBox*>(&control)) {
        if (IsMnemonicOf(group->title(), character)) target = FindNextControl(*group, nullptr, true, Accept::Focusable);
    }
    if (!target || !CanFocus(*target)) return false;
    target->setFocus(Qt::ShortcutFocusReason);
    return true;
}

// ---- Windows ----

/// Keeps a page as large as its parent window, unless a layout does so.
class PageFiller final : public QObject {
public:
    PageFiller(QWidget& page, QWidget& parent) : QObject(&page), FPage(page) { parent.installEventFilter(this); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Resize && FPage.parentWidget() == watched && !FPage.parentWidget()->layout())
            FPage.setGeometry(FPage.parentWidget()->rect());
        return false;
    }

private:
    QWidget& FPage;
};

// ---- Captions ----

bool HasProperty(const QObject& object, const char* name) {
    return object.metaObject()->indexOfProperty(name) >= 0;
}

void Localize(QObject& component, const QString& key) {
    const QString caption = LocalizedText(key);
    if (HasProperty(component, "title"))
        component.setProperty("title", caption);
    else if (HasProperty(component, "text") && !HasProperty(component, "readOnly"))
        component.setProperty("text", caption);
    else if (HasProperty(component, "accessibleName"))
        component.setProperty("accessibleName", caption);
    if (HasProperty(component, "toolTip")) component.setProperty("toolTip", LocalizedText(key + u".h"));
}

/// Whether the toolkit has created the object of this name for its own purposes, as a part of another control.
bool IsInternal(const QString& name) {
    return name.isEmpty() || name.startsWith(QLatin1String("qt_")) || name.startsWith(QLatin1String("_q_"));
}

/// Whether a component is a separate window, such as a dialog that the form has opened. Menus are parts of the form.
bool IsOtherWindow(const QObject& component) {
    const auto* const widget = qobject_cast<const QWidget*>(&component);
    return widget && widget->isWindow() && !qobject_cast<const QMenu*>(widget);
}

void LocalizeInside(QObject& container, const QString& prefix) {
    for (QObject* const component : container.children()) {
        if (IsOtherWindow(*component)) continue;
        const auto* const action = qobject_cast<QAction*>(component);
        if (!IsInternal(component->objectName()) && !(action && action->isSeparator()))
            Localize(*component, prefix + component->objectName());
        LocalizeInside(*component, prefix);
    }
}

}  // namespace

void LocalizeForm(QWidget& form, const QString& prefix) {
    form.setWindowTitle(LocalizedText(prefix + u"Caption"));
    LocalizeInside(form, prefix);
}

TVEXACustomOptionsFrame::TVEXACustomOptionsFrame() = default;

TVEXACustomOptionsFrame::~TVEXACustomOptionsFrame() {
    FreeForm();
}

QString TVEXACustomOptionsFrame::GetPageCaption() {
    return QStringLiteral("-");
}

HResult TVEXACustomOptionsFrame::QueryCaption(IVEXAString** caption) noexcept {
    if (!ClearOut(caption)) return E_POINTER;
    return GuardedCall("naming an options page", [&] { *caption = ToHostString(GetPageCaption()).Detach(); });
}

WindowHandle TVEXACustomOptionsFrame::CreatePage(WindowHandle parentWindow) noexcept {
    WindowHandle result = 0;
    GuardedCall("making an options page", [&] {
        if (!qobject_cast<QApplication*>(QCoreApplication::instance()))
            throw EHostError(QStringLiteral("this program shows no windows"));
        FreeForm();
        QWidget* const parent = QWidget::find(static_cast<WId>(parentWindow));
        if (!parent) {
            FForeignParent.reset(parentWindow != 0 ? QWindow::fromWinId(static_cast<WId>(parentWindow)) : nullptr);
            if (!FForeignParent) throw EHostError(QStringLiteral("the parent window is none"));
        }
        FForm = CreatePageForm(parentWindow, parent);
        if (!FForm) throw EHostError(QStringLiteral("there is no form"));
        if (parent) {
            new PageFiller(*FForm, *parent);
        } else {
            FForm->setWindowFlag(Qt::FramelessWindowHint);
            FForm->winId();
            FForm->windowHandle()->setParent(FForeignParent.get());
        }
        // Not every platform knows the size of another program's window; the form then keeps its own size.
        const QSize room = parent ? parent->size() : FForeignParent->size();
        FForm->setGeometry(QRect(QPoint(0, 0), parent || !room.isEmpty() ? room : FForm->size()));
        FForm->setVisible(true);
        result = FForm->winId();
    });
    if (result == 0) DestroyPage();
    return result;
}

void TVEXACustomOptionsFrame::DestroyPage() noexcept {
    GuardedCall("removing an options page", [this] { FreeForm(); });
}

void TVEXACustomOptionsFrame::FreeForm() {
    delete FForm.data();
    FForeignParent.reset();
}

void TVEXACustomOptionsFrame::HandleNotification(std::int32_t) noexcept {}

Bool32 TVEXACustomOptionsFrame::HandleDialogChar(std::uint16_t character, std::int32_t) noexcept {
    bool isHandled = false;
    GuardedCall("handling a dialog's character", [&] {
        if (!FForm) return S_OK;
        for (QWidget* const control : ControlsOf(*FForm)) {
            isHandled = TypeMnemonic(*control, QChar(character));
            if (isHandled) break;
        }
        return S_OK;
    });
    return isHandled ? kTrue : kFalse;
}

Bool32 TVEXACustomOptionsFrame::HandleDialogKey(std::uint16_t key, std::int32_t) noexcept {
    bool isHandled = false;
    GuardedCall("handling a dialog's key", [&] {
        if (!FForm) return S_OK;
        const int code = key == kReturn ? int(Qt::Key_Return) : key == kEscape ? int(Qt::Key_Escape) : int(key);
        QKeyEvent event(QEvent::KeyPress, code, Qt::NoModifier);
        event.ignore();
        // Call the form directly: an event sent in the usual way would go on to the host's dialog.
        static_cast<QObject*>(FForm.data())->event(&event);
        isHandled = event.isAccepted();
        return S_OK;
    });
    return isHandled ? kTrue : kFalse;
}

bool TVEXACustomOptionsFrame::Select(QWidget* control, bool forward) {
    if (!control) {
        QWidget* const active = FForm && !FForm->parentWidget() ? FForm->focusWidget() : nullptr;
        if (active) active->clearFocus();
        return false;
    }
    control->setFocus(forward ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    ScrollTo(*control);
    return true;
}

bool TVEXACustomOptionsFrame::SelectFirst(bool forward) {
    if (!FForm) return false;
    QWidget* control = FindNextControl(*FForm, nullptr, forward, Accept::TabStops);
    if (!control) control = FindNextControl(*FForm, nullptr, forward, Accept::Focusable);
    return Select(control, forward);
}

Bool32 TVEXACustomOptionsFrame::FocusFirstControl() noexcept {
    bool isFocused = false;
    GuardedCall("focusing an options page", [&] { isFocused = SelectFirst(true); });
    return isFocused ? kTrue : kFalse;
}

Bool32 TVEXACustomOptionsFrame::FocusLastControl() noexcept {
    bool isFocused = false;
    GuardedCall("focusing an options page", [&] { isFocused = SelectFirst(false); });
    return isFocused ? kTrue : kFalse;
}

Bool32 TVEXACustomOptionsFrame::FocusNextControl(Bool32 findForward, Bool32 isTabKey) noexcept {
    bool isFocused = false;
    GuardedCall("moving the focus on an options page", [&] {
        if (!FForm) return S_OK;
        const bool forward = findForward != kFalse;
        QWidget* const current = FForm->window()->focusWidget();
        QWidget* next = nullptr;
        if (isTabKey != kFalse)
            next = FindNextControl(*FForm, current, forward, Accept::TabStops);
        else if (current && current->parentWidget())
            next = FindNextControl(*current->parentWidget(), current, forward, Accept::DirectChildren);
        isFocused = Select(next != current ? next : nullptr, forward);
        return S_OK;
    });
    return isFocused ? kTrue : kFalse;
}

}  // namespace vexa
