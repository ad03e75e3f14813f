// The dialogs for subscribing, editing and unsubscribing, used as by a user.

#include "DialogFixture.h"
#include "LoopbackServer.h"
#include "Podcasts.Plugin.Dialogs.DeleteConfirmation.h"
#include "Podcasts.Plugin.Dialogs.Feed.h"
#include "Podcasts.Plugin.ML.h"

#include <QCheckBox>
#include <QClipboard>
#include <QDropEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QTreeWidget>
#include <QUrl>

#include <functional>

namespace podcasts {

using namespace vexa;

namespace {

const QByteArray kFeed = "<rss version='2.0'><channel><title>A show</title></channel></rss>";
const QString kKnown = "warning: You are subscribed to this podcast already.";

class FeedDialogTest : public DialogTest {
protected:
    FeedDialogTest() { QApplication::clipboard()->clear(); }

    static QLineEdit& Edit(QWidget& dialog) { return Find<QLineEdit>(dialog, "edFeedURL"); }
    static QPushButton& OK(QWidget& dialog) { return Find<QPushButton>(dialog, "btnOK"); }
    template <class Act>
    void Subscribing(Act act) {
        WithDialog([&] { TfrmPodcastFeed::Subscribe(0, *Client); }, act);
    }
    QString Store(const QString& path) {
        DialogTest::Subscribe(tests::MakeFeed(Server.Url(path)));
        return Server.Url(path);
    }

    tests::LoopbackServer Server;
};

TEST_F(FeedDialogTest, SubscribesToAFeedOnceItWasRead) {
    Server.Serve("/f", tests::Response::Of(kFeed));
    Subscribing([&](QWidget& dialog) {
        EXPECT_FALSE(OK(dialog).isEnabled());
        EXPECT_EQ(OK(dialog).toolTip(), "The address of a feed is missing.");
        QTest::keyClicks(&Edit(dialog), " ftp://x");
        EXPECT_EQ(OK(dialog).toolTip(), "This is neither a web address nor the name of an .xml file.");
        Edit(dialog).setText(" " + Server.Url("/f") + " ");
        EXPECT_TRUE(OK(dialog).isEnabled());
        QTest::keyClick(&Edit(dialog), Qt::Key_Return);
        EXPECT_FALSE(OK(dialog).isEnabled());
        EXPECT_TRUE(Find<QLabel>(dialog, "lbDownloadHint").isVisible());
        EXPECT_TRUE(tests::WaitUntil([] { return !QApplication::activeModalWidget(); }));
    });
    EXPECT_TRUE(Client->IsSubscribed(Server.Url("/f")));
}

TEST_F(FeedDialogTest, KeepsASubscriptionThatSomebodyElseMadeMeanwhile) {
    Server.Serve("/f", tests::Response::Of(kFeed).With(tests::Fault::Wait));
    const auto subscribe = [&] {
        Subscribing([&](QWidget& dialog) {
            Edit(dialog).setText(Server.Url("/f"));
            OK(dialog).click();
            Store("/f");
            Server.Release("/f");
            EXPECT_TRUE(tests::WaitUntil([&] { return !dialog.isVisible(); }));
        });
    };
    EXPECT_EQ(MessageOf(subscribe), kKnown);
    const auto kept = Client->DB().GetFeed(Server.Url("/f"), false);
    ASSERT_TRUE(kept) << "the subscription is gone";
    EXPECT_EQ(kept->Fields[pffTitle], "F");
}

TEST_F(FeedDialogTest, ShowsAtTheLibrarysAddButtonWhatTheDatabaseRefuses) {
    Server.Serve("/f", tests::Response::Of(kFeed));
    Client->DB().ExecuteSQL("CREATE TRIGGER T BEFORE INSERT ON PodcastFeeds BEGIN SELECT RAISE(ABORT, 'no room'); END");
    const auto library = TVEXAPodcastsMLExtension::Create(*Client);
    HResult result = S_OK;
    const QString message = MessageOf([&] {
        WithDialog([&] { result = library->Execute(0); },
                   [&](QWidget& dialog) {
                       Edit(dialog).setText(Server.Url("/f"));
                       OK(dialog).click();
                       EXPECT_TRUE(tests::WaitUntil([&] { return !dialog.isVisible(); }));
                   });
    });
    EXPECT_TRUE(message.startsWith("warning: ") && message.contains("no room")) << message.toStdString();
    EXPECT_EQ(result, E_UNEXPECTED);
}

TEST_F(FeedDialogTest, SaysWhyThereIsNoFeedAndStaysOpen) {
    Store("/known");
    Server.Serve("/page", tests::Response::Of("<other/>"));
    const QString failed = "error: The feed could not be loaded. Check the address and try again.";
    const std::pair<const char*, QString> cases[] = {
        {"/missing", failed + "\r\n\r\nthe server answered 404 Not Found"},
        {"/page", failed},
        {"/known", kKnown},
    };
    Subscribing([&](QWidget& dialog) {
        for (const auto& [path, message] : cases) {
            Edit(dialog).setText(Server.Url(path));
            EXPECT_EQ(MessageOf([&] { OK(dialog).click(); }), message);
            EXPECT_TRUE(dialog.isVisible()) << path;
            EXPECT_TRUE(OK(dialog).isEnabled()) << path;
            EXPECT_FALSE(Find<QLabel>(dialog, "lbDownloadHint").isVisible()) << path;
        }
    });
    EXPECT_FALSE(Client->IsSubscribed(Server.Url("/page")));
}

TEST_F(FeedDialogTest, CancelsAnUnansweredFetchWhenItCloses) {
    Server.Serve("/never", tests::Response::Of(kFeed).With(tests::Fault::Wait));
    enum class End { ByCancel, WithOwner, WithoutClient };
    for (const End end : {End::ByCancel, End::WithOwner, End::WithoutClient}) {
        SCOPED_TRACE(static_cast<int>(end));
        Server.Forget();
        auto owner = std::make_unique<QWidget>(nullptr, Qt::Window | Qt::WindowStaysOnTopHint);
        const auto open = [&] { TfrmPodcastFeed::Subscribe(owner->winId(), *Client); };
        WithDialog(open, [&](QWidget& dialog) {
            EXPECT_TRUE(dialog.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
            Edit(dialog).setText(Server.Url("/never"));
            OK(dialog).click();
            EXPECT_TRUE(tests::WaitUntil([&] { return Server.Count("/never") == 1; }));
            if (end == End::ByCancel) return Click(Find<QPushButton>(dialog, "btnCancel"));
            if (end == End::WithOwner) return owner.reset();
            Client.reset();
            Server.Release("/never");
            EXPECT_TRUE(tests::WaitUntil([] { return !QApplication::activeModalWidget(); }));
        });
        EXPECT_FALSE(Client && Client->IsSubscribed(Server.Url("/never")));
    }
}

TEST_F(FeedDialogTest, TakesAnAddressFromTheClipboardAndLeavesOtherText) {
    for (const auto& [copied, shown] :
         {std::pair("a.example/f", ""), {"\thttps://a.example/f\n", "https://a.example/f"}}) {
        QApplication::clipboard()->setText(copied);
        Subscribing([&, expected = QString(shown)](QWidget& dialog) {
            EXPECT_EQ(Edit(dialog).text(), expected);
            EXPECT_EQ(OK(dialog).isEnabled(), !expected.isEmpty());
        });
    }
}

TEST_F(FeedDialogTest, AcceptsADropOnlyIfItNamesAFeed) {
    const QString file = Profile.File("a feed.xml");
    WriteWhole(file, kFeed);
    QMimeData words, bare, address, document;
    words.setText("some words");
    bare.setText(" a.example/f\n");
    address.setText("feed:https://a.example/f\n");
    document.setUrls({QUrl::fromLocalFile(file)});
    const std::pair<QMimeData*, QString> cases[] = {
        {&words, QString()}, {&bare, "a.example/f"}, {&address, "https://a.example/f"}, {&document, file}};
    Subscribing([&](QWidget& dialog) {
        for (const auto& [dragged, shown] : cases) {
            Edit(dialog).clear();
            QDragEnterEvent over({5, 5}, Qt::CopyAction, dragged, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(&Edit(dialog), &over);
            EXPECT_EQ(over.isAccepted(), !shown.isEmpty());
            QDropEvent drop({5, 5}, Qt::CopyAction, dragged, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(&Edit(dialog), &drop);
            EXPECT_EQ(Edit(dialog).text(), shown);
        }
    });
}

TEST_F(FeedDialogTest, LetsTheUserChooseAmongTheFeedsOfAPage) {
    const auto link = [](const QByteArray& path, const QByteArray& title) -> QByteArray {
        return "<link rel=alternate type=application/rss+xml href=" + path + " title='" + title + "'>";
    };
    Server.Serve("/page",
                 tests::Response::Of("<html>" + link("/f", "&lt;b>One\xE2\x80\xAE") + link("/g", ""), "text/html"));
    Server.Serve("/g", tests::Response::Of(kFeed));
    const auto choose = [&](QWidget& dialog, const std::function<void(QWidget&)>& act) {
        QTimer chooser;
        int chosen = 0;
        QObject::connect(&chooser, &QTimer::timeout, [&] {
            QWidget* const choices = QApplication::activeModalWidget();
            if (choices && choices->objectName() == "ChoiceDialog" && chosen++ == 0) act(*choices);
        });
        chooser.start(1);
        OK(dialog).click();
        EXPECT_TRUE(tests::WaitUntil([&] { return chosen > 0; }));
    };
    Subscribing([&](QWidget& dialog) {
        Edit(dialog).setText(Server.Url("/page"));
        choose(dialog, [&](QWidget& choices) {
            const auto& list = Find<QTreeWidget>(choices, "Choices");
            ASSERT_EQ(list.topLevelItemCount(), 2);
            EXPECT_EQ(choices.focusWidget(), &list) << "for the arrow keys";
            EXPECT_EQ(list.topLevelItem(0)->text(0), "<b>One");
            EXPECT_EQ(list.topLevelItem(1)->text(0), Server.Url("/g"))
                << "a feed without a title is named by its address";
            choices.close();
        });
        EXPECT_TRUE(dialog.isVisible() && OK(dialog).isEnabled()) << "for another address";
        choose(dialog, [&](QWidget& choices) {
            auto& list = Find<QTreeWidget>(choices, "Choices");
            list.setCurrentItem(list.topLevelItem(1));
            Find<QPushButton>(choices, "Accept").click();
        });
        EXPECT_TRUE(tests::WaitUntil([&] { return !dialog.isVisible(); }));
    });
    EXPECT_TRUE(Client->IsSubscribed(Server.Url("/g")));
    EXPECT_EQ(Server.Count("/f"), 0);
}

TEST_F(FeedDialogTest, ChangesTheAddressOfASubscriptionWithoutFetching) {
    const QString old = Store("/old"), other = Store("/other");
    const auto edit = [&] { TfrmPodcastFeed::Edit(0, *Client, old); };
    WithDialog(edit, [&](QWidget& dialog) {
        EXPECT_EQ(Edit(dialog).text(), old);
        OK(dialog).click();
        EXPECT_FALSE(dialog.isVisible()) << "an unchanged address does not conflict with its own subscription";
    });
    WithDialog(edit, [&](QWidget& dialog) {
        Edit(dialog).setText(other);
        EXPECT_EQ(MessageOf([&] { OK(dialog).click(); }), kKnown);
        Edit(dialog).setText(Server.Url("/new"));
        OK(dialog).click();
    });
    EXPECT_TRUE(Client->IsSubscribed(Server.Url("/new")));
    EXPECT_FALSE(Client->IsSubscribed(old));
    EXPECT_EQ(Server.Paths(), QStringList());
}

TEST_F(FeedDialogTest, SurvivesTheEndOfTheClientWhileADialogOrItsMessageIsOpen) {
    const QString old = Store("/old");
    WithDialog([&] { TfrmPodcastFeed::Edit(0, *Client, old); },
               [&](QWidget& dialog) {
                   Edit(dialog).setText(Server.Url("/new"));
                   Client.reset();
                   OK(dialog).click();
                   EXPECT_FALSE(dialog.isVisible());
               });
    Client = std::make_unique<TPodcastClient>(Profile.File("Test.db"));
    EXPECT_TRUE(Client->IsSubscribed(old));
    Subscribing([&](QWidget& dialog) {
        Edit(dialog).setText(old);
        QTimer::singleShot(0, [&] { Client.reset(); });
        EXPECT_EQ(MessageOf([&] { OK(dialog).click(); }), kKnown);
        OK(dialog).click();
        EXPECT_FALSE(dialog.isVisible());
    });
}

TEST_F(DialogTest, AsksForConfirmationAndSaysWhetherFilesAreDeleted) {
    struct {
        bool Box;
        const char* Button;
        bool Confirmed, Flag;
    } const cases[] = {{false, "btnOK", true, true}, {true, "btnOK", true, false}, {false, "btnCancel", false, false}};
    for (const auto& [box, button, confirmed, expected] : cases) {
        bool result = false, flag = false;
        WithDialog([&] { result = TfrmPodcastDeleteConfirmation::Execute(0, "A show", flag); },
                   [&](QWidget& dialog) {
                       auto& files = Find<QCheckBox>(dialog, "cbDeleteCachedFiles");
                       EXPECT_EQ(files.width(), files.sizeHint().width()) << "a click beside its text would tick it";
                       EXPECT_TRUE(Find<QPushButton>(dialog, "btnOK").isDefault());
                       EXPECT_FALSE(Find<QLabel>(dialog, "imIcon").pixmap().isNull()) << "the glyph is missing";
                       if (box) files.click();
                       Click(Find<QPushButton>(dialog, button));
                   });
        EXPECT_EQ(result, confirmed);
        EXPECT_EQ(flag, expected);
    }
}

TEST_F(DialogTest, ShowsHostileTitlesAsTheyAreAndWithinBounds) {
    const std::pair<QString, QString> cases[] = {
        {"100% %s & <b>bold</b>", "100% %s & <b>bold</b>"},
        {QString("two\nlines ") + u"\u200E\u200F\u202A\u202E\u2066\u2069", "two lines"},
    };
    for (const auto& [title, shown] : cases) {
        TfrmPodcastDeleteConfirmation dialog(0, title);
        const auto& label = Find<QLabel>(dialog, "lbText");
        EXPECT_EQ(label.text(), QString::fromUtf8("Do you really want to unsubscribe from “%1”?").arg(shown));
        EXPECT_EQ(label.textFormat(), Qt::PlainText);
    }
    const QFont usual = QApplication::font();
    const QString wide = QString(2000, 'W'), words = QString("wide ").repeated(400),
                  accents = QString("a\u0301").repeated(1000);
    for (const auto& [title, size, box] : {std::tuple(wide, 0, 0),
                                           {words, 0, 0},
                                           {accents, 0, 0},
                                           {words.left(100), 0, 60},
                                           {words.left(100), 16, 60}}) {
        if (size > 0) QApplication::setFont(QFont(usual.family(), size));
        TfrmPodcastDeleteConfirmation dialog(0, title);
        if (box > 0) Find<QCheckBox>(dialog, "cbDeleteCachedFiles").setText(QString(box, 'x'));
        dialog.show();
        const auto& label = Find<QLabel>(dialog, "lbText");
        EXPECT_GE(label.height(), label.heightForWidth(label.width())) << "something is cut off";
        EXPECT_LE(dialog.height(), 400);
        EXPECT_TRUE(box > 0 || dialog.width() == 447) << dialog.width();
    }
    QApplication::setFont(usual);
}

}  // namespace

}  // namespace podcasts
