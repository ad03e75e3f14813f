#pragma once
// `vexa --headless`: reads one command per line from standard input, and answers each by one line of JSON on standard
// output. Main thread.

#include "Commands.h"
#include "VEXA.Runtime.Threads.h"

#include <QByteArray>
#include <QSocketNotifier>

#include <deque>
#include <memory>

namespace vexa::host {

/// Reads while the event loop runs, and ends the loop at the end of the input or at `quit`. Answers come in the order
/// of the commands: while a command runs on a worker thread, the event loop goes on and later lines wait. After the end
/// of the input no further command can close a dialog that a command has opened, so the session cancels it.
class Session {
public:
    explicit Session(Host& host);
    /// Waits for the command that is running.
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
    QByteArray FUnread;  // the beginning of an incomplete line
    std::deque<QString> FLines;
    bool FIsBusy = false, FHasEnded = false;
    int FStatus = 0;                         // exit status of the program
    std::unique_ptr<QObject> FDialogCloser;  // exists from the end of the input on
    TaskHandle FTask = 0;
    std::shared_ptr<bool> FIsAlive = std::make_shared<bool>(true);  // tells late answers that the session is gone
};

}  // namespace vexa::host
