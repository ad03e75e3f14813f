// The options dialog with pages such as a plug-in registers.

#include "HostFixture.h"
#include "OptionsDialog.h"

#include <QApplication>
#include <QBoxLayout>
#include <QDialogButtonBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>

using namespace vexa::host;

namespace {

/// A page with two line edits, "first" and "last". With `MovesFocus` it moves the focus through them itself, in reverse
/// order to distinguish it from the toolkit.
class Page final : public RefCountedObject<IVEXAOptionsDialogFrame, IVEXAOptionsDialogFrameKeyboardHelper2> {
public:
    Page(Host& host, const QString& caption) : FHost(host), FCaption(caption) {}

    HResult QueryInterface(const Guid& iid, void** object) noexcept override {
        const bool isOfKeyboard = iid != IUnknown::IID && iid != IVEXAOptionsDialogFrame::IID;
        return isOfKeyboard && !MovesFocus ? E_NOINTERFACE : RefCountedObject::QueryInterface(iid, object);
    }
    HResult QueryCaption(IVEXAString** caption) noexcept override {
        return PutString(FCaption + FHost.Language().Language(), caption);
    }
    WindowHandle CreatePage(WindowHandle parent) noexcept override {
        Log += "create";
        if (Fails) return 0;
        Form = new QWidget(QWidget::find(parent));
        auto* layout = new QVBoxLayout(Form);
        for (const QString& name : {u"first"_s, u"last"_s}) {
            auto* edit = new QLineEdit;
            edit->setObjectName(name);
            QObject::connect(edit, &QLineEdit::textChanged, Form, [this] { FHost.Options().FrameModified(nullptr); });
            layout->addWidget(edit);
        }
        return Form->winId();
    }
    void DestroyPage() noexcept override {
        Log += "destroy";
        delete Form;
        Form = nullptr;
    }
    void HandleNotification(std::int32_t notification) noexcept override {
        Log += QString::number(notification);
        if (notification == Load || notification == Reset) Edit("first")->setText(Log.join(u','));
    }
    Bool32 HandleDialogChar(std::uint16_t, std::int32_t) noexcept override { return kFalse; }
    Bool32 HandleDialogKey(std::uint16_t key, std::int32_t) noexcept override {
        Log += "key " + QString::number(key);
        return key == 27 ? kTrue : kFalse;
    }
    Bool32 FocusFirstControl() noexcept override { return Focus("last"); }
    Bool32 FocusLastControl() noexcept override { return Focus("first"); }
    Bool32 FocusNextControl(Bool32 findForward, Bool32) noexcept override {
        const QString wanted = findForward ? u"first"_s : u"last"_s;
        return Edit(wanted)->hasFocus() ? kFalse : Focus(wanted);
    }
    QLineEdit* Edit(const QString& name) const { return Form->findChild<QLineEdit*>(name); }

    QWidget* Form = nullptr;
    QStringList Log;
    bool Fails = false, MovesFocus = false;

private:
    Bool32 Focus(const QString& name) {
        Edit(name)->setFocus();
        return kTrue;
    }
    Host& FHost;
    const QString FCaption;
};

class Options : public HostTest {
protected:
    void Register(const Ref<Page>& page) {
        const Ref<IVEXAOptionsDialogFrame> frame(page);
        ASSERT_EQ(Host.PluginCore().RegisterExtension(IVEXAServiceOptionsDialog::IID, frame.Get()), S_OK);
    }
    QPushButton* Button(QDialogButtonBox::StandardButton button) {
        return Window.Dialog()->findChild<QDialogButtonBox*>()->button(button);
    }
    void Press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QKeyEvent press(QEvent::KeyPress, key, modifiers);
        QApplication::sendEvent(QApplication::focusWidget(), &press);
    }
    /// The control that has the focus: a button's text, or else the object's name.
    static QString Focused() {
        const QWidget* focused = QApplication::focusWidget();
        const auto* button = qobject_cast<const QPushButton*>(focused);
        return button ? button->text() : focused ? focused->objectName() : QString();
    }

    OptionsWindow Window{Host};
    Ref<Page> First{new Page(Host, "one ")}, Second{new Page(Host, "two ")};
};

}  // namespace

TEST_F(Options, APageExistsWhileTheDialogIsOpen) {
    Register(First);
    Register(Second);
    EXPECT_EQ(Host.Options().FrameShow(First.Get(), kFalse), E_FAIL);
    const Ref<Page> stranger(new Page(Host, ""));
    EXPECT_EQ(Host.Options().FrameShow(stranger.Get(), kTrue), E_INVALIDARG);
    EXPECT_EQ(Host.Options().FrameShow(Second.Get(), kTrue), S_OK);
    ASSERT_TRUE(Window.Dialog());
    EXPECT_TRUE(First->Log.isEmpty());
    EXPECT_EQ(Second->Log, QStringList({"create", "1", "2"}));
    QPushButton* apply = Button(QDialogButtonBox::Apply);
    EXPECT_FALSE(apply->isEnabled());  // loading is not a change by the user
    const auto* list = Window.Dialog()->findChild<QListWidget*>();
    EXPECT_EQ(list->item(1)->text(), "two English");
    EXPECT_TRUE(Second->Form->isVisible());

    Second->Edit("last")->setText("x");
    EXPECT_TRUE(apply->isEnabled());
    apply->click();
    EXPECT_FALSE(apply->isEnabled());
    Button(QDialogButtonBox::Reset)->click();
    EXPECT_TRUE(apply->isEnabled());
    EXPECT_EQ(Host.Options().FrameShow(First.Get(), kFalse), S_OK);
    EXPECT_EQ(First->Log, QStringList({"create", "1", "2"}));
    Host.Language().Switch("German");
    EXPECT_EQ(list->item(1)->text(), "two German");
    EXPECT_EQ(apply->text(), "Übernehmen");
    Button(QDialogButtonBox::Ok)->click();
    EXPECT_FALSE(Window.Dialog());
    EXPECT_EQ(First->Log, QStringList({"create", "1", "2", "2", "4", "3", "destroy"}));
    EXPECT_EQ(Second->Log, QStringList({"create", "1", "2", "4", "3", "5", "2", "4", "3", "destroy"}));

    First->Log.clear();
    Host.Options().FrameShow(First.Get(), kTrue);
    Button(QDialogButtonBox::Cancel)->click();
    EXPECT_EQ(First->Log, QStringList({"create", "1", "2", "destroy"}));
}

TEST_F(Options, APageThatFailsOrIsRemovedDoesNotAffectTheOthers) {
    First->Fails = true;
    Register(First);
    Host.Options().FrameShow(nullptr, kTrue);
    Button(QDialogButtonBox::Reset)->click();
    Window.Dialog()->Apply();
    EXPECT_EQ(First->Log, QStringList{"create"});  // a page without a window gets no notifications
    Button(QDialogButtonBox::Cancel)->click();

    Register(Second);
    Host.Options().FrameShow(Second.Get(), kTrue);
    Host.UnloadPlugins();
    EXPECT_EQ(Second->Log, QStringList({"create", "1", "2", "destroy"}));
    ASSERT_TRUE(Window.Dialog());
    EXPECT_EQ(Window.Dialog()->findChild<QListWidget*>()->count(), 0);
}

TEST_F(Options, TheKeyboardMovesTheFocusThroughThePageAndOutOfIt) {
    Second->MovesFocus = true;
    Register(First);
    Register(Second);
    const std::pair<Page*, QStringList> cases[] = {{First.Get(), {"Pages", "first", "last"}},
                                                   {Second.Get(), {"Pages", "last", "first"}}};
    for (const auto& [page, order] : cases) {
        SCOPED_TRACE(order.join(u' ').toStdString());
        Host.Options().FrameShow(page, kTrue);
        ASSERT_TRUE(tests::WaitUntil([&] { return QApplication::activeWindow() == Window.Dialog(); }));
        Window.Dialog()->findChild<QListWidget*>()->setFocus();
        QStringList forth{Focused()}, back;
        for (int i = 0; i < 2; ++i) {
            Press(Qt::Key_Tab);
            forth += Focused();
        }
        EXPECT_EQ(forth, order);
        Press(Qt::Key_Tab);
        EXPECT_TRUE(qobject_cast<QPushButton*>(QApplication::focusWidget())) << Focused().toStdString();
        for (int i = 0; i < 3; ++i) {
            Press(Qt::Key_Backtab, Qt::ShiftModifier);
            back.prepend(Focused());
        }
        EXPECT_EQ(back, order);
    }
    Second->Edit("last")->setFocus();
    Press(Qt::Key_Escape);
    EXPECT_EQ(Second->Log.last(), "key 27");
    EXPECT_TRUE(Window.Dialog());  // the page has handled the key
    Host.Options().FrameShow(First.Get(), kTrue);
    First->Edit("last")->setFocus();
    Press(Qt::Key_Escape);
    EXPECT_FALSE(Window.Dialog());
}
