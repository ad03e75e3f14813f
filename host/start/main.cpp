// vexa: the player, with a window or without.

#include "Installation.h"
#include "MainWindow.h"
#include "Mpris.h"
#include "Notifications.h"
#include "OptionsDialog.h"
#include "PlaylistOrder.h"
#include "ProfileFolder.h"
#include "Session.h"
#include "SingleInstance.h"
#include "Steps.h"
#include "StopSignals.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Threads.h"
#include "VEXA.Runtime.Version.h"
#include "WindowIcons.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QMessageBox>
#include <QPushButton>
#include <QSessionManager>

#include <cstdio>
#include <memory>
#include <utility>

namespace {

using namespace vexa;
using namespace vexa::host;

constexpr int kUsage = 2;

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
    const StopSignals signals([] { QCoreApplication::exit(); });
    PrintNotifications();
    if (const QString plugin = arguments.value(QStringLiteral("plugin")); !plugin.isEmpty()) host.LoadPlugin(plugin);
    const OptionsWindow optionsWindow(host);
    const Session session(host);
    return QApplication::exec();
}

/// What a second start of this profile's window would give the first one.
QStringList AddressesOf(const QCommandLineParser& arguments) {
    QStringList addresses;
    try {
        for (const QString& argument : arguments.positionalArguments())
            addresses += AddressFromArgument(argument, QDir::currentPath());
    } catch (const std::runtime_error& error) {
        throw UsageError(QString::fromUtf8(error.what()));
    }
    return addresses;
}

/// What restores this window in the user's next session: what plays is remembered, what was opened is done.
QStringList RestartCommand(const QCommandLineParser& arguments) {
    QStringList command{QCoreApplication::applicationFilePath()};
    for (const QString& option : arguments.optionNames())
        for (const QString& value : arguments.values(option)) command += {u"--" + option, value};
    return command;
}

/// Whether anybody sees a window.
bool IsSeen() {
    return QGuiApplication::platformName() != u"offscreen" && QGuiApplication::platformName() != u"minimal";
}

/// What goes wrong where there is no window yet, or no more.
void Tell(const QString& problem) {
    std::fprintf(stderr, "vexa: %s\n", qUtf8Printable(problem));
}

/// Saves, and asks what to do as long as that fails: space can be made meanwhile. False when it was given up.
template <class Save>
bool SaveOrAsk(Host& host, bool mayAsk, Save save) {
    static QString told;
    const WindowTexts texts(host.Language());
    for (;;) {
        QString problem;
        try {
            return save(), true;
        } catch (const std::exception& error) {
            problem = QString::fromUtf8(error.what());
        }
        if (problem != std::exchange(told, problem)) Tell(problem);
        if (!mayAsk) return false;
        QMessageBox box(QMessageBox::Warning, texts("Title"), texts("NotSaved"));
        box.setInformativeText(problem);
        box.setTextFormat(Qt::PlainText);
        QPushButton* again = box.addButton(texts("TryAgain"), QMessageBox::AcceptRole);
        box.addButton(texts("EndUnsaved"), QMessageBox::RejectRole);
        box.setDefaultButton(again);
        box.exec();
        if (box.clickedButton() != again) return false;
    }
}

/// A plug-in beside the program is loaded without being asked for. One that cannot be is said, and missed.
int RunWindow(const QCommandLineParser& arguments) {
    const QStringList addresses = AddressesOf(arguments);
    const HostOptions options = OptionsOf(arguments);
    SingleInstance instance(options.ProfileFolder);
    if (!instance.IsFirst()) {
        try {
            instance.HandOver(addresses);
        } catch (const std::exception& error) {
            Tell(u"the window that is open already does not answer: " + QString::fromUtf8(error.what()));
            return 1;
        }
        if (!instance.IsFirst()) return 0;
    }
    QGuiApplication::setWindowIcon(ProgramIcon());
    Host host(options);
    HideServices(host, arguments);
    bool isStopped = false, isSaved = true;
    const StopSignals signals([&] {
        isStopped = true;
        QCoreApplication::exit();  // also out of dialogs, which would refuse to close
    });
    {
        Playback playback(host);
        const PlaylistOrder order(playback, host.Playlists());
        Mpris mpris(playback);
        MainWindow window(host, playback);
        const auto save = [&] {
            window.SaveLayout();
            Steps saving;
            saving.Take([&] { playback.Save(); });
            saving.Take([&] { host.Playlists().Save(); });
            saving.Take([&] { host.Config().Save(); });
            saving.ThrowIfFailed();
        };
        QObject::connect(
            qApp, &QGuiApplication::commitDataRequest, &window, [&] { SaveOrAsk(host, false, save); },
            Qt::DirectConnection);
        QObject::connect(
            qApp, &QGuiApplication::saveStateRequest, &window,
            [&](QSessionManager& session) { session.setRestartCommand(RestartCommand(arguments)); },
            Qt::DirectConnection);
        QObject::connect(&mpris, &Mpris::RaiseRequested, &window, &MainWindow::BringToFront);
        QObject::connect(&mpris, &Mpris::QuitRequested, &window, &QWidget::close);
        QObject::connect(&instance, &SingleInstance::Opened, &window, &MainWindow::Open);
        QString plugin = arguments.value(QStringLiteral("plugin"));
        if (plugin.isEmpty()) plugin = PodcastsPlugin();
        window.show();
        try {
            CheckWritable(host.ProfileFolder());
        } catch (const std::exception& error) {
            const QString problem = QString::fromUtf8(error.what());
            Tell(problem);
            window.Warn(WindowTexts(host.Language())("CannotKeep", problem));
        }
        if (!plugin.isEmpty()) window.LoadPlugin(plugin);
        if (host.Language().Text(QStringLiteral("Window\\Title")).isEmpty())
            window.Warn(u"the language files are missing in " + options.LanguageFolder + u": install the program anew");
        if (!addresses.isEmpty()) window.Open(addresses);
        QApplication::exec();
        instance.StopListening();
        playback.Pause();  // it may take a while until the last question is answered
        isSaved = SaveOrAsk(host, !isStopped && IsSeen(), save);
    }
    isSaved = SaveOrAsk(host, isSaved && !isStopped && IsSeen(), [&] { host.UnloadPlugins(); }) && isSaved;
    return isSaved ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    CatchStopSignals();
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
    QGuiApplication::setDesktopFileName(QStringLiteral("org.vexa_podcasts.Vexa"));
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
    arguments.addPositionalArgument(
        QStringLiteral("ADDRESS"),
        QStringLiteral(
            "What to open: an episode (podcast:), a feed or a page that names one (podcast:, feed:, itpc:, pcast:, "
            "http:, https:), or a file of a feed or of subscriptions (OPML). An open window of the same profile opens "
            "it."),
        QStringLiteral("[ADDRESS...]"));
    arguments.process(words);
    if (isHeadless && !arguments.positionalArguments().isEmpty())
        return Complain(u"what is " + arguments.positionalArguments().first() +
                        u"? With --headless nothing is opened; --help says what there is");
    if (!isHeadless && !hasDisplay)
        return Complain(QStringLiteral("there is no display: start it with --headless, or set DISPLAY"));
    try {
        return isHeadless ? RunHeadless(arguments) : RunWindow(arguments);
    } catch (const UsageError& error) {
        return Complain(QString::fromUtf8(error.what()));
    } catch (const std::exception& error) {
        Tell(QString::fromUtf8(error.what()));
        if (isHeadless || !IsSeen()) return 1;
        const StopSignals signals([] { QCoreApplication::exit(); });
        QMessageBox::critical(nullptr, QStringLiteral("VEXA"), QString::fromUtf8(error.what()));
        return 1;
    }
}
