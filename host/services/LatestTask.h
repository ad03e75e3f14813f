#pragma once
// Work for a worker thread of which only the newest counts: while one piece runs the next one waits, and is replaced by
// a newer one. Main thread.

#include "VEXA.Runtime.Classes.h"
#include "VEXA.Runtime.Threads.h"

#include <functional>

namespace vexa::host {

class LatestTask {
public:
    /// Runs on the worker; what it returns runs on the main thread, unless newer work was given meanwhile. It may ask
    /// whether it is to stop.
    using Work = std::function<std::function<void()>(const CancelCheck& isStopped)>;

    LatestTask() = default;
    /// Waits for what runs.
    ~LatestTask();
    LatestTask(const LatestTask&) = delete;
    LatestTask& operator=(const LatestTask&) = delete;

    void Run(Work work);
    /// Whether something runs, or waits.
    bool IsBusy() const noexcept { return FRunning != 0; }
    /// Drops what waits, and what comes of what runs; waits for that.
    void Stop();

private:
    class Runner;

    void Start();
    void End(std::uint64_t number, const std::function<void()>& then);

    Work FWaiting;
    TaskHandle FRunning = 0;
    std::uint64_t FNumber = 0, FRunningNumber = 0;  // of the newest work, and of what runs
    LinkSource<LatestTask> FLinks{this};
};

}  // namespace vexa::host
