#pragma once
// The signals that ask a program to end: SIGINT, SIGTERM, SIGHUP. The first one is told on the main thread's event
// loop, so that all ends as it should; a second one ends the program at once, and so does an end that takes too long.
//
//     CatchStopSignals();                    // first thing in main: one that comes early waits
//     QApplication application(argc, argv);
//     StopSignals signals([] { … });

#include <QSocketNotifier>

#include <functional>

namespace vexa::host {

/// Also lets writes fail that would else end the program: into a closed pipe, and beyond the largest size of a file.
void CatchStopSignals();

class StopSignals {
public:
    /// `stop` is called once, on the main thread.
    explicit StopSignals(std::function<void()> stop);

private:
    QSocketNotifier FNotifier;
};

}  // namespace vexa::host
