#pragma once
// `vexa --headless`: commands by line from standard input, one line of JSON for each on standard output. Main thread.

#include "Commands.h"
#include "VEXA.Runtime.Threads.h"

#include <QByteArray>
#include <QSocketNotifier>

#include <deque>
#include <memory>

namespace vexa::host {

/// Reads while the event loop runs, and ends the loop at the end of the input or at `quit`. Answers keep the order of
/// the commands: while one runs on a worker thread, the event loop goes on and later lines wait. Once the input has
/// ended nobody can close the dialog of a command any more, so that the session closes it as cancelled.
class Session {
public:
    explicit Session(Host& host);
    /// Waits for the command that runs.
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

private:
    void Read();
    void Proceed();
    void Begin(const QString& line);
    void End(const Command& command, const QJsonObject& answer);
    void Write(const QJsonObject& answer);
    void Quit();

    Host& FHost;
    QSocketNotifier FInput;
    QByteArray FUnread;  // the beginning of a line
    std::deque<QString> FLines;
    bool FIsBusy = false, FHasEnded = false;
    int FStatus = 0;                         // of the program
    std::unique_ptr<QObject> FDialogCloser;  // from the end of the input on
    TaskHandle FTask = 0;
    std::shared_ptr<bool> FIsAlive = std::make_shared<bool>(true);  // for answers that come too late
};

}  // namespace vexa::host
