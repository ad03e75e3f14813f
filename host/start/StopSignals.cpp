#include "StopSignals.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>

namespace vexa::host {

namespace {

constexpr unsigned kMaxEndTime = 20;  // seconds; less than a desktop session waits for its programs to end
constexpr std::array kStopSignals = {SIGINT, SIGTERM, SIGHUP};

std::array<int, 2> Pipe = {-1, -1};  // read end, write end; set before a handler is installed

void SetHandler(int number, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigaction(number, &action, nullptr);
}

void GiveUp(int) {
    constexpr std::string_view kText = "vexa: what still runs does not end: given up\n";
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, kText.data(), kText.size());
    _exit(1);
}

/// A signal handler may do hardly anything: it leaves the rest to the main thread, which it wakes by a byte in the
/// pipe.
void OnStopSignal(int) {
    const int error = errno;
    for (const int number : kStopSignals) SetHandler(number, SIG_DFL);
    alarm(kMaxEndTime);
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = write(Pipe[1], &byte, 1);
    errno = error;
}

}  // namespace

void CatchStopSignals() {
    for (const int number : {SIGPIPE, SIGXFSZ}) SetHandler(number, SIG_IGN);
    if (pipe2(Pipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;  // then signals end the program by default
    SetHandler(SIGALRM, GiveUp);
    for (const int number : kStopSignals) {
        struct sigaction present = {};
        sigaction(number, nullptr, &present);
        if (present.sa_handler != SIG_IGN) SetHandler(number, OnStopSignal);  // nohup, for one, ignores SIGHUP
    }
}

StopSignals::StopSignals(std::function<void()> stop) : FNotifier(Pipe[0], QSocketNotifier::Read) {
    QObject::connect(&FNotifier, &QSocketNotifier::activated, &FNotifier, [this, stop = std::move(stop)] {
        FNotifier.setEnabled(false);
        stop();
    });
}

}  // namespace vexa::host
