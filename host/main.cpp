// vexa: the player, with a window or without.

#include "Installation.h"
#include "MainWindow.h"
#include "Mpris.h"
#include "Notifications.h"
#include "OptionsDialog.h"
#include "PlaylistOrder.h"
#include "Session.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Threads.h"
#include "VEXA.Runtime.Version.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>

#include <pthread.h>
#include <signal.h>

#include <cstdio>
#include <memory>
#include <thread>

namespace {

using namespace vexa;
using namespace vexa::host;

constexpr int kUsage = 2;

/// The signals that ask a program to stop end the event loop, so that the plug-in ends as it should. A thread waits for
/// them, because next to nothing may be done inside a signal handler.
void HandleSignals() {
    signal(SIGPIPE, SIG_IGN);  // a closed pipe shows as an error of the write
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, number);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread([signals] {
        int number = 0;
        while (sigwait(&signals, &number) != 0) {
        }
        RunInMainThread([] { QCoreApplication::quit(); }, false);
        // Asked once more, it ends at once.
        pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    }).detach();
}

bool HasDisplay() {
    for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
        if (!qEnvironmentVariableIsEmpty(name)) return true;
    return false;
}

class UsageError : public std::runtime_error {
public:
    explicit UsageError(const QString& message) : std::runtime_error(message.toStdString()) {}
};

int Complain(const QString& message) {
    std::fprintf(stderr, "vexa: %s\n", qUtf8Printable(message));
    return kUsage;
}

HostOptions OptionsOf(const QCommandLineParser& arguments) {
    const QString profile = arguments.value(QStringLiteral("profile"));
    HostOptions options;
    options.ProfileFolder = QDir(profile.isEmpty() ? DefaultProfileFolder() : profile).absolutePath();
    options.LanguageFolder = LanguageFolder();
    options.Language = arguments.value(QStringLiteral("language"));
    return options;
}

/// Throws std::runtime_error when there is no such service.
void HideServices(Host& host, const QCommandLineParser& arguments) {
    for (const QString& service : arguments.values(QStringLiteral("without")))
        if (!host.TheCore().HideService(service))
            throw UsageError(u"there is no service " + service + u": take one of " +
                             host.TheCore().ServiceNames().join(QStringLiteral(", ")));
}

int RunHeadless(const QCommandLineParser& arguments) {
    Host host(OptionsOf(arguments));
    HideServices(host, arguments);
    PrintNotifications();
    if (const QString plugin = arguments.value(QStringLiteral("plugin")); !plugin.isEmpty()) host.LoadPlugin(plugin);
    const OptionsWindow optionsWindow(host);
    const Session session(host);
    return QApplication::exec();
}

/// A plug-in beside the program is loaded without being asked for. One that cannot be is said, and missed.
int RunWindow(const QCommandLineParser& arguments) {
    Host host(OptionsOf(arguments));
    HideServices(host, arguments);
    Playback playback(host);
    PlaylistOrder order(host.Playlists());
    playback.SetOrder(&order);
    Mpris mpris(playback);
    MainWindow window(host, playback);
    QObject::connect(&mpris, &Mpris::RaiseRequested, &window, [&window] {
        window.showNormal();
        window.raise();
        window.activateWindow();
    });
    QObject::connect(&mpris, &Mpris::QuitRequested, &window, &QWidget::close);
    QString plugin = arguments.value(QStringLiteral("plugin"));
    if (plugin.isEmpty()) plugin = PodcastsPlugin();
    window.show();
    if (!plugin.isEmpty()) window.LoadPlugin(plugin);
    return QApplication::exec();
}

}  // namespace

int main(int argc, char** argv) {
    HandleSignals();
    // The toolkit takes "--plugin" and others for its own: it sees no argument but the program's name.
    QStringList words;
    for (int i = 0; i < argc; ++i) words += QString::fromLocal8Bit(argv[i]);
    int one = 1;
    // Commands of plug-ins open windows, which without a display are drawn in memory. What is only to be told of the
    // program needs no display either.
    const bool isHeadless = words.contains(QStringLiteral("--headless"));
    const bool hasDisplay = HasDisplay();
    if ((isHeadless || !hasDisplay) && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(one, argv);
    if (isHeadless) QApplication::setQuitOnLastWindowClosed(false);
    QCoreApplication::setApplicationName(QStringLiteral("vexa"));
    QGuiApplication::setDesktopFileName(QStringLiteral("org.vexa_podcasts.Vexa"));  // which gives windows their icon
    QCoreApplication::setApplicationVersion(QString::fromLatin1(kVersion));
    AttachMainThread();

    QCommandLineParser arguments;
    arguments.setApplicationDescription(QStringLiteral("A player that plug-ins extend."));
    arguments.addHelpOption();
    arguments.addVersionOption();
    arguments.addOptions({
        {QStringLiteral("headless"), QStringLiteral("Take commands from standard input; help lists them.")},
        {QStringLiteral("profile"), QStringLiteral("The folder of the user's data."), QStringLiteral("DIR")},
        {QStringLiteral("language"), QStringLiteral("The language, by its file's name."), QStringLiteral("NAME")},
        {QStringLiteral("plugin"), QStringLiteral("Load a plug-in at start."), QStringLiteral("FILE")},
        {QStringLiteral("without"), QStringLiteral("Hide a service from plug-ins; may be repeated."),
         QStringLiteral("SERVICE")},
    });
    arguments.process(words);
    if (!arguments.positionalArguments().isEmpty())
        return Complain(u"what is " + arguments.positionalArguments().first() + u"? --help says what there is");
    if (!isHeadless && !hasDisplay)
        return Complain(QStringLiteral("there is no display: start it with --headless, or set DISPLAY"));
    try {
        return isHeadless ? RunHeadless(arguments) : RunWindow(arguments);
    } catch (const UsageError& error) {
        return Complain(QString::fromUtf8(error.what()));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "vexa: %s\n", error.what());
        return 1;
    }
}
