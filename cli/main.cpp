// podcasts: the engine's command line.

#include "Commands.h"
#include "VEXA.Runtime.Version.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <thread>

namespace podcasts::cli {
namespace {

// Never destroyed: the thread that waits for signals lives as long as the process.
Terminal& SharedTerminal() {
    static auto* terminal = new Terminal;
    return *terminal;
}

/// Turns the signals that ask a program to stop into a flag and a wake-up. A thread waits for the signals, because a
/// signal handler may call hardly anything.
void HandleSignals() {
    signal(SIGPIPE, SIG_IGN);  // writing to a closed pipe then fails with an error
    signal(SIGXFSZ, SIG_IGN);  // writing beyond a file-size limit, too
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, number);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread([signals] {
        for (int number = 0;;) {
            if (sigwait(&signals, &number) != 0) continue;
            if (SharedTerminal().Interrupted) {
                // At the second signal end at once, whatever the main thread is doing. Stored data survives that.
                signal(number, SIG_DFL);
                pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
                raise(number);
            }
            SharedTerminal().Interrupted = true;
            vexa::WakeMainThread();
        }
    }).detach();
}

int Run(const QStringList& words) {
    Terminal& terminal = SharedTerminal();
    const Invocation invocation = ParseArguments(words);
    if (invocation.WantsVersion) {
        terminal.PrintLine(QStringLiteral("podcasts ") + QString::fromLatin1(vexa::kVersion));
    } else if (invocation.WantsHelp) {
        terminal.Print(HelpText(invocation.Chosen));
    } else if (invocation.Chosen->RunOnFolder) {
        const int status =
            invocation.Chosen->RunOnFolder(ProfileFolder(invocation.Profile), terminal, invocation.Given);
        terminal.Flush();
        return status;
    } else {
        Session session(invocation.Profile, terminal, invocation.IsWithoutBackup);
        const int status = invocation.Chosen->Run(session, invocation.Given);
        terminal.Flush();
        if (!session.IsInterrupted()) return status;
        terminal.PrintError(QStringLiteral("interrupted"));
        return kFailed;
    }
    terminal.Flush();
    return kDone;
}

}  // namespace
}  // namespace podcasts::cli

int main(int argc, char* argv[]) {
    using namespace podcasts::cli;
    HandleSignals();
    QCoreApplication application(argc, argv);
    setlocale(LC_NUMERIC, "C");  // NOLINT(concurrency-mt-unsafe): no other thread runs yet
    vexa::AttachMainThread();
    qSetMessagePattern(QStringLiteral("%{category}: %{message}"));
    // The commands themselves print what could not be fetched.
    if (!qEnvironmentVariableIsSet("QT_LOGGING_RULES"))
        QLoggingCategory::setFilterRules(QStringLiteral("podcasts.*.warning=false"));
    Terminal& terminal = SharedTerminal();
    try {
        return Run(QCoreApplication::arguments().sliced(1));
    } catch (const UsageError& error) {
        terminal.PrintError(QString::fromUtf8(error.what()));
        return kWrongUsage;
    } catch (const OutputEnded&) {
        if (terminal.Interrupted) terminal.PrintError(QStringLiteral("interrupted"));
        return kFailed;
    } catch (const std::exception& error) {
        terminal.PrintError(QString::fromUtf8(error.what()));
        return kFailed;
    }
}
