#pragma once
// A host with a profile of its own, a client, and functions that use the windows as a user does.

#include "Feeds.h"
#include "Host.h"
#include "Podcasts.Core.h"
#include "TempFolder.h"
#include "Texts.h"
#include "Waiting.h"
#include "apiWrappers.h"

#include <QApplication>
#include <QMessageBox>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

namespace podcasts {

class DialogTest : public testing::Test {
protected:
    DialogTest() { vexa::TVEXAAPIWrappers::Initialize(&Host.PluginCore()); }
    ~DialogTest() override { vexa::TVEXAAPIWrappers::Finalize(); }

    /// Runs `act` on the dialog that `open` shows and waits for; afterwards closes whatever is still open.
    template <class Open, class Act>
    static void WithDialog(Open open, Act act) {
        QTimer::singleShot(0, [act] {
            ASSERT_TRUE(tests::WaitUntil([] { return QApplication::activeModalWidget() != nullptr; }));
            act(*QApplication::activeModalWidget());
            while (QWidget* const left = QApplication::activeModalWidget()) left->close();
        });
        open();
    }
    /// The text of the message box that `act` shows, at once or soon after. Closes the box.
    template <class Act>
    static QString MessageOf(Act act) {
        QString text;
        QTimer closer;
        QObject::connect(&closer, &QTimer::timeout, [&] {
            auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box) return;
            EXPECT_EQ(box->textFormat(), Qt::PlainText);
            text = (box->icon() == QMessageBox::Warning ? QString("warning: ") : QString("error: ")) + box->text();
            box->close();
        });
        closer.start(1);
        act();
        tests::WaitUntil([&] { return !text.isEmpty(); });
        return text;
    }
    template <class Control>
    static Control& Find(QWidget& form, const char* name) {
        auto* const control = form.findChild<Control*>(QLatin1String(name));
        if (!control) throw std::runtime_error(std::string("no control ") + name);
        return *control;
    }
    static void Click(QWidget& control) { QTest::mouseClick(&control, Qt::LeftButton); }
    void Subscribe(TPodcastFeed feed) const { Client->Subscribe(feed); }

    tests::TempFolder Profile;
    vexa::host::Host Host{{Profile.Path(), QStringLiteral(LANGUAGES), QStringLiteral("English"), {}}};
    std::unique_ptr<TPodcastClient> Client = std::make_unique<TPodcastClient>(Profile.File("Test.db"));
};

}  // namespace podcasts
