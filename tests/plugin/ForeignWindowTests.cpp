// The options page and the dialogs in and over windows of another program, on an X server that the test starts.

#include "DialogFixture.h"
#include "Podcasts.Plugin.Dialogs.Feed.h"
#include "Podcasts.Plugin.Dialogs.Settings.h"
#include "TestMain.h"

#include <QProcess>
#include <QRasterWindow>
#include <QScreen>
#include <QScrollArea>
#include <QWindow>

#include <unistd.h>

#include <iostream>

namespace podcasts {

using namespace vexa;

namespace {

constexpr QSize kWindowSize(500, 400);  // device pixels
const char kOtherProgram[] = "--other-program";

/// The other program: shows a window, prints the window's ID, and ends when its input ends.
int ShowWindow(int argc, char** argv) {
    qunsetenv("QT_SCALE_FACTOR");
    QGuiApplication application(argc, argv);
    QRasterWindow window;
    window.resize(kWindowSize);
    window.show();
    QGuiApplication::processEvents();
    std::cout << window.winId() << std::endl;
    char end = 0;
    return static_cast<int>(read(STDIN_FILENO, &end, 1));
}

class ForeignWindowTest : public DialogTest {
protected:
    void SetUp() override {
        if (QGuiApplication::platformName() != "xcb") GTEST_SKIP() << "there is no Xvfb: xvfb is to be installed";
        Other.start(QCoreApplication::applicationFilePath(), {kOtherProgram});
        QByteArray line;
        while (!line.endsWith('\n') && Other.waitForReadyRead()) line += Other.readLine();
        Foreign = static_cast<WindowHandle>(line.trimmed().toULongLong());
        ASSERT_NE(Foreign, 0u);
    }
    void EndOther() {
        Other.closeWriteChannel();
        EXPECT_TRUE(Other.state() == QProcess::NotRunning || Other.waitForFinished());
    }
    ~ForeignWindowTest() override { EndOther(); }

    QProcess Other;
    WindowHandle Foreign = 0;
};

TEST_F(ForeignWindowTest, ThePageIsShownInItAtAnyScaleAndOutlivesIt) {
    const auto frame = NewObject<TVEXAPodcastsOptionsFrame>(*Client);
    const WindowHandle handle = frame->CreatePage(Foreign);
    ASSERT_NE(handle, 0u);
    QWidget* const page = QWidget::find(static_cast<WId>(handle));
    ASSERT_TRUE(page) << "no widget has the handle";
    ASSERT_TRUE(page->windowHandle()->parent()) << "it is a window of its own";
    EXPECT_EQ(page->windowHandle()->parent()->winId(), Foreign);
    EXPECT_TRUE(page->isVisible());
    EXPECT_EQ(page->pos(), QPoint(0, 0));
    EXPECT_FALSE(page->size().isEmpty());
    EXPECT_EQ(page->devicePixelRatioF(), std::max(1, qEnvironmentVariableIntValue("QT_SCALE_FACTOR")));
    for (const int notification : {IVEXAOptionsDialogFrame::Localize, IVEXAOptionsDialogFrame::Load})
        frame->HandleNotification(notification);
    EXPECT_EQ(frame->FocusFirstControl(), kTrue);
    EXPECT_EQ(page->focusWidget()->objectName(), "cbUpdates");
    EndOther();
    QApplication::processEvents();
    frame->HandleNotification(IVEXAOptionsDialogFrame::Save);
    frame->DestroyPage();
}

TEST_F(ForeignWindowTest, ADialogIsTransientForItAndOnItsScreen) {
    WithDialog([&] { TfrmPodcastFeed::Subscribe(Foreign, *Client); },
               [&](QWidget& dialog) {
                   const QWindow* const owner = dialog.windowHandle()->transientParent();
                   ASSERT_TRUE(owner);
                   EXPECT_EQ(owner->winId(), Foreign);
                   const QPoint off = dialog.geometry().center() - dialog.screen()->geometry().center();
                   EXPECT_LT(off.manhattanLength(), 40);
                   EndOther();
                   QApplication::processEvents();
                   EXPECT_TRUE(dialog.isVisible());
               });
}

}  // namespace

/// Starts an X server on a free display. False when no X server is installed.
bool StartServer(QProcess& server) {
    server.start("Xvfb", {"-displayfd", "1", "-screen", "0", "1280x1024x24", "-nolisten", "tcp"});
    QByteArray display;
    while (!display.endsWith('\n') && server.waitForReadyRead()) display += server.readAll();
    if (display.trimmed().isEmpty()) return false;
    qputenv("DISPLAY", ':' + display.trimmed());
    qputenv("QT_QPA_PLATFORM", "xcb");
    return true;
}

}  // namespace podcasts

int main(int argc, char** argv) {
    if (argc > 1 && std::string_view(argv[1]) == podcasts::kOtherProgram) return podcasts::ShowWindow(argc, argv);
    QProcess server;
    const bool isList = argc > 1 && std::string_view(argv[1]) == "--gtest_list_tests";
    if (isList || !podcasts::StartServer(server)) qputenv("QT_QPA_PLATFORM", "offscreen");
    const int result = tests::RunAll<QApplication>(argc, argv);
    server.terminate();
    server.waitForFinished();
    return result;
}
