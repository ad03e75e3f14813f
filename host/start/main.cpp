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

/// Throws UsageError when there is no such service.
void HideServices(Host& host, const QCommandLineParser& arguments) {
    for (const QString& service : arguments.values(QStringLiteral("without")))
        if (!host.PluginCore().HideService(service))
            throw UsageError(u"there is no service " + service + u": take one of " +
                             host.PluginCore().ServiceNames().join(QStringLiteral(", ")));
}

int RunHeadless(const QCommandLineParser& arguments) {
    const HostOptions options = OptionsOf(arguments);
    FinishRestoring(options.ProfileFolder);
    Host host(options);
    HideServices(host, arguments);
    const StopSignals signals([] { QCoreApplication::exit(); });
    PrintNotifications();
    if (const QString plugin = arguments.value(QStringLiteral("plugin")); !plugin.isEmpty()) host.LoadPlugin(plugin);
    const OptionsWindow optionsWindow(host);
    const Session session(host);
    return QApplication::exec();
}

/// The addresses to open, which a second start with this profile hands to the first one.
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

/// The command that restores this window in the user's next session. It has no addresses: they were opened already, and
/// the current file is remembered in the profile.
QStringList RestartCommand(const QCommandLineParser& arguments) {
    QStringList command{QCoreApplication::applicationFilePath()};
    for (const QString& option : arguments.optionNames())
        for (const QString& value : arguments.values(option)) command += {u"--" + option, value};
    return command;
}

/// Whether windows are visible.
bool HasVisibleWindows() {
    return QGuiApplication::platformName() != u"offscreen" && QGuiApplication::platformName() != u"minimal";
}

/// Reports a problem while there is no window yet, or none any more.
void PrintProblem(const QString& problem) {
    std::fprintf(stderr, "vexa: %s\n", qUtf8Printable(problem));
}

/// Saves, and while that fails, asks the user what to do, who may make space meanwhile. False when it was given up.
template <class Save>
bool SaveOrAsk(Host& host, bool mayAsk, Save save) {
    static QString printed;
    const WindowTexts texts(host.Language());
    for (;;) {
        Reason problem;
        try {
            return save(), true;
        } catch (const std::exception& error) {
            problem = ReasonOf(error);
        }
        if (problem.English() != std::exchange(printed, problem.English())) PrintProblem(problem.English());
        if (!mayAsk) return false;
        QMessageBox box(QMessageBox::Warning, texts("Title"), texts("NotSaved"));
        box.setInformativeText(host.Language().Text(problem));
        box.setTextFormat(Qt::PlainText);
        QPushButton* again = box.addButton(texts("TryAgain"), QMessageBox::AcceptRole);
        box.addButton(texts("EndUnsaved"), QMessageBox::RejectRole);
        box.setDefaultButton(again);
        box.exec();
        if (box.clickedButton() != again) return false;
    }
}

/// Without --plugin the podcasts plug-in that comes with the program is loaded. If a plug-in cannot be loaded, the
/// window says so and runs without it.
int RunWindow(const QCommandLineParser& arguments) {
    const QStringList addresses = AddressesOf(arguments);
    const HostOptions options = OptionsOf(arguments);
    SingleInstance instance(options.ProfileFolder);
    if (!instance.IsFirst()) {
        try {
            instance.HandOver(addresses);
        } catch (const std::exception& error) {
            PrintProblem(u"the window that is open already does not answer: " + QString::fromUtf8(error.what()));
            return 1;
        }
        if (!instance.IsFirst()) return 0;
    }
    QGuiApplication::setWindowIcon(ProgramIcon());
    FinishRestoring(options.ProfileFolder);
    Host host(options);
    HideServices(host, arguments);
    bool isStopped = false, isSaved = true;
    const StopSignals signals([&] {
        isStopped = true;
        QCoreApplication::exit();  // not quit(), which dialogs could refuse
    });
    {
        Playback playback(host);
        const PlaylistOrder order(playback, host.Playlists());
        Mpris mpris(playback, host.AlbumArt());
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
            qApp, &QGuiApplication::commitDataRequest, &window,
            [&] {
                SaveOrAsk(host, false, save);
                window.ExpectEnd();
            },
            Qt::DirectConnection);
        QObject::connect(
            qApp, &QGuiApplication::saveStateRequest, &window,
            [&](QSessionManager& session) { session.setRestartCommand(RestartCommand(arguments)); },
            Qt::DirectConnection);
        QObject::connect(&mpris, &Mpris::RaiseRequested, &window, &MainWindow::BringToFront);
        QObject::connect(&mpris, &Mpris::QuitRequested, &window, &MainWindow::End);
        QObject::connect(&mpris, &Mpris::OpenRequested, &window,
                         [&window](const QString& address) { window.Open({address}); });
        QObject::connect(&instance, &SingleInstance::Opened, &window, &MainWindow::Open);
        QString plugin = arguments.value(QStringLiteral("plugin"));
        if (plugin.isEmpty()) plugin = PodcastsPlugin();
        window.show();
        try {
            CheckWritable(host.ProfileFolder());
        } catch (const std::exception& error) {
            PrintProblem(QString::fromUtf8(error.what()));
            window.Warn(WindowTexts(host.Language())("CannotKeep", host.Language().Text(ReasonOf(error))));
        }
        if (!plugin.isEmpty()) window.LoadPlugin(plugin);
        if (host.Language().Text(QStringLiteral("Window\\Title")).isEmpty())
            window.Warn(u"the language files are missing in " + options.LanguageFolder + u": install the program anew");
        if (!addresses.isEmpty()) window.Open(addresses);
        QApplication::exec();
        instance.StopListening();
        playback.Pause();  // the user may take a while to answer the last question
        isSaved = SaveOrAsk(host, !isStopped && HasVisibleWindows(), save);
    }
    isSaved = SaveOrAsk(host, isSaved && !isStopped && HasVisibleWindows(), [&] { host.UnloadPlugins(); }) && isSaved;
    return isSaved ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    CatchStopSignals();
    // The toolkit gets only the program's name, because it would take "--plugin" and other options for its own.
    QStringList words;
    for (int i = 0; i < argc; ++i) words += QString::fromLocal8Bit(argv[i]);
    int argumentCount = 1;
    // Commands of plug-ins open windows, which are drawn in memory when there is no display. Printing help or the
    // version needs no display, either.
    const bool isHeadless = words.contains(QStringLiteral("--headless"));
    const bool hasDisplay = HasDisplay();
    if ((isHeadless || !hasDisplay) && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argumentCount, argv);
    // The window ends the program itself; while it is hidden in the tray, a dialog that closes must not.
    QApplication::setQuitOnLastWindowClosed(false);
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
        PrintProblem(QString::fromUtf8(error.what()));
        if (isHeadless || !HasVisibleWindows()) return 1;
        const StopSignals signals([] { QCoreApplication::exit(); });
        // There is no host, whose settings may name the language.
        const HostOptions options = OptionsOf(arguments);
        const Ref<LanguageService> language(new LanguageService(options.LanguageFolder, options.Language, {}));
        QMessageBox::critical(nullptr, QStringLiteral("VEXA"), language->Text(ReasonOf(error)));
        return 1;
    }
}
