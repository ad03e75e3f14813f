#pragma once
// The signals that ask a program to end: SIGINT, SIGTERM, SIGHUP. The first one is delivered to the main thread's event
// loop, so that the program ends in an orderly way. A second signal ends the program at once; so does a timeout, if the
// orderly end takes too long.
//
//     CatchStopSignals();                    // first thing in main: an early signal waits for StopSignals
//     QApplication application(argc, argv);
//     StopSignals signals([] { … });

#include <QSocketNotifier>

#include <functional>

namespace vexa::host {

/// Also ignores SIGPIPE and SIGXFSZ, so that writing to a closed pipe or beyond the file size limit fails instead of
/// ending the program.
void CatchStopSignals();

class StopSignals {
public:
    /// `stop` is called once, on the main thread.
    explicit StopSignals(std::function<void()> stop);

private:
    QSocketNotifier FNotifier;
};

}  // namespace vexa::host
