#pragma once
// Runs work on a worker thread where only the newest piece of work counts: while one piece runs, at most one waits, and
// a newer one replaces it. Main thread.

#include "VEXA.Runtime.Classes.h"
#include "VEXA.Runtime.Threads.h"

#include <functional>

namespace vexa::host {

class LatestTask {
public:
    /// Runs on the worker, and should return soon once `isStopped` says so. The function that it returns then runs on
    /// the main thread, unless newer work was given meanwhile.
    using Work = std::function<std::function<void()>(const CancelCheck& isStopped)>;

    LatestTask() = default;
    /// Waits for the work that is running.
    ~LatestTask();
    LatestTask(const LatestTask&) = delete;
    LatestTask& operator=(const LatestTask&) = delete;

    void Run(Work work);
    /// Whether work is running or waiting.
    bool IsBusy() const noexcept { return FRunning != 0; }
    /// Drops the work that waits and the result of the work that is running, and waits for the latter to end.
    void Stop();

private:
    class Runner;

    void Start();
    void End(std::uint64_t number, const std::function<void()>& then);

    Work FWaiting;
    TaskHandle FRunning = 0;
    std::uint64_t FNumber = 0, FRunningNumber = 0;  // of the newest work, and of the work that is running
    LinkSource<LatestTask> FLinks{this};
};

}  // namespace vexa::host
