#include "Session.h"

#include "VEXA.Runtime.Threads.h"

#include <QApplication>
#include <QDialog>
#include <QEvent>
#include <QJsonDocument>
#include <QPointer>

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>

namespace vexa::host {

namespace {

class CommandTask final : public Task {
public:
    explicit CommandTask(std::function<void()> work) : FWork(std::move(work)) {}
    void Execute() override { FWork(); }

private:
    std::function<void()> FWork;
};

/// Closes all open modal windows, and those opened during its lifetime.
class DialogCloser final : public QObject {
public:
    DialogCloser() {
        qApp->installEventFilter(this);
        CloseLater();
    }
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Show && watched->isWidgetType() && static_cast<QWidget*>(watched)->isModal())
            CloseLater();
        return false;
    }

private:
    /// Deferred, because a dialog is shown before it enters its event loop, and only a running loop can be ended.
    void CloseLater() { QMetaObject::invokeMethod(this, &DialogCloser::Close, Qt::QueuedConnection); }
    void Close() {
        const QPointer<QWidget> window = QApplication::activeModalWidget();
        if (!window) return;
        if (auto* dialog = qobject_cast<QDialog*>(window))
            dialog->reject();
        else
            window->close();
        if (window) window->hide();  // in case the window refuses to close
        CloseLater();                // for the dialog from which this one was opened
    }
};

}  // namespace

Session::Session(Host& host) : FHost(host), FInput(STDIN_FILENO, QSocketNotifier::Read) {
    QObject::connect(&FInput, &QSocketNotifier::activated, &FInput, [this] { Read(); });
}

Session::~Session() {
    WorkerPool::Cancel(FTask, true);
}

void Session::Read() {
    char buffer[4096];
    const ssize_t count = read(STDIN_FILENO, buffer, sizeof buffer);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) return;
    if (count > 0) {
        FUnread.append(buffer, count);
        if (!std::memchr(buffer, '\n', static_cast<std::size_t>(count))) return;  // scan a long line only once
    } else {
        FInput.setEnabled(false);
        FHasEnded = true;
        FDialogCloser = std::make_unique<DialogCloser>();
        if (!FUnread.isEmpty()) FUnread.append('\n');
    }
    for (qsizetype end = FUnread.indexOf('\n'); end >= 0; end = FUnread.indexOf('\n')) {
        FLines.push_back(QString::fromUtf8(FUnread.first(end)));
        FUnread.remove(0, end + 1);
    }
    Proceed();
}

void Session::Proceed() {
    while (!FIsBusy && !FLines.empty()) {
        const QString line = FLines.front();
        FLines.pop_front();
        Begin(line);
    }
    if (!FIsBusy && FHasEnded) Quit();
}

void Session::Begin(const QString& line) {
    QStringList words = SplitLine(line);
    if (words.isEmpty()) return;
    const QString name = words.takeFirst();
    const Command* command = FindCommand(name);
    if (!command) return Write(Failure(u"there is no command " + name + u": help lists them", E_INVALIDARG));
    FIsBusy = true;  // makes later lines wait, even if the command runs an event loop
    if (command->RunsOn == Command::Thread::Main) return End(*command, Answer(*command, FHost, words));
    FTask = WorkerPool::Run(std::make_unique<CommandTask>([this, command, words, alive = std::weak_ptr(FIsAlive)] {
        const QJsonObject answer = Answer(*command, FHost, words);
        RunInMainThread(
            [this, command, answer, alive] {
                if (!alive.lock()) return;
                End(*command, answer);
                Proceed();
            },
            false);
    }));
}

void Session::End(const Command& command, const QJsonObject& answer) {
    FIsBusy = false;
    Write(answer);
    if (!command.EndsSession) return;
    FInput.setEnabled(false);
    FLines.clear();
    Quit();
}

/// Ends the event loop even while a dialog is open: unlike quit(), exit() does not ask windows, which may refuse.
void Session::Quit() {
    QCoreApplication::exit(FStatus);
}

void Session::Write(const QJsonObject& answer) {
    const QByteArray line = QJsonDocument(answer).toJson(QJsonDocument::Compact) + '\n';
    if (std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stdout) !=
            static_cast<std::size_t>(line.size()) ||
        std::fflush(stdout) != 0) {
        FStatus = 1;  // nobody reads the answers any more
        Quit();
    }
}

}  // namespace vexa::host
