#pragma once
// Runs work on other threads, and calls back to the main thread.
//
// Tasks run on the worker pool. A task calls the main thread only through RunInMainThread: a queue that is drained by
// the event loop and also by a main thread that waits for a task, so that "cancel and wait" on the main thread cannot
// deadlock with a task that waits for the main thread.

#include "VEXA.Runtime.Export.h"
#include "VEXA.SDK.Base.h"

#include <QString>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

namespace vexa {

/// Polled by long operations; true means that the operation has to stop as soon as possible.
using CancelCheck = std::function<bool()>;

/// Declares the calling thread to be the main thread. Call once, before anything below.
VEXA_RUNTIME_API void AttachMainThread();
VEXA_RUNTIME_API bool IsMainThread() noexcept;

/// Runs `procedure` on the main thread. With `wait` the call returns after `procedure` has run, and rethrows its
/// exception; on the main thread itself `procedure` then runs at once. Without `wait`, `procedure` is queued and its
/// exception is logged.
VEXA_RUNTIME_API void RunInMainThread(std::function<void()> procedure, bool wait);

/// Main thread only: whether it is running a procedure that another thread waits for. Waiting for that thread now would
/// be a deadlock.
VEXA_RUNTIME_API bool IsAnyThreadWaiting() noexcept;

/// Main thread only: runs queued procedures until `done` returns true, and sleeps while there are none. `done` is
/// called after every procedure, whenever WakeMainThread is called, and at least every `poll`.
VEXA_RUNTIME_API void DrainMainThreadUntil(const std::function<bool()>& done,
                                           std::chrono::milliseconds poll = std::chrono::hours(1));
VEXA_RUNTIME_API void WakeMainThread();

/// Identifies one task of the pool; 0 identifies none.
using TaskHandle = std::uint64_t;

enum class TaskPriority { Low, Normal, High };

/// A piece of work for the pool, which owns it. Its virtual functions are in slot order: interface query, complete,
/// execute, caption, priority, cancelled flag.
class VEXA_RUNTIME_API Task {
public:
    Task() = default;
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    virtual ~Task() = default;

    virtual HResult QueryInterface(const Guid& iid, void** object) noexcept;
    /// Runs on the worker thread after Execute, even if Execute threw.
    virtual void Complete() {}
    /// Does the work, on a worker thread. An exception is logged.
    virtual void Execute() = 0;
    virtual QString Caption() const { return {}; }
    virtual TaskPriority Priority() const { return TaskPriority::Normal; }
    virtual bool IsCancelled() const noexcept { return FCancelled.load(std::memory_order_relaxed); }

    /// Whether Execute threw. Meant for Complete.
    bool HasFailed() const noexcept { return FFailed; }

private:
    friend class WorkerPool;
    std::atomic<bool> FCancelled{false};
    bool FFailed = false;  // worker thread only
};

/// Creates threads on demand and keeps them for the next task, so that tasks such as a refresh and a download never
/// wait for each other. Any thread may call it.
class VEXA_RUNTIME_API WorkerPool {
public:
    /// Starts `task` and returns its handle at once.
    static TaskHandle Run(std::unique_ptr<Task> task);

    /// Sets the task's cancelled flag; with `wait`, returns when the task has ended (its Complete included) and has
    /// been freed. A handle whose task has ended already, or 0, is no error. Called inside a procedure that this very
    /// task waits for (see RunInMainThread), it only sets the flag and returns at once.
    static void Cancel(TaskHandle handle, bool wait);
};

/// Calls a procedure repeatedly on the main thread's event loop while enabled. Main thread only.
class VEXA_RUNTIME_API Timer {
public:
    Timer(std::chrono::milliseconds interval, std::function<void()> onTimer);
    ~Timer();
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    bool IsEnabled() const;
    void SetEnabled(bool enabled);

private:
    struct Impl;
    std::unique_ptr<Impl> FImpl;
};

/// Milliseconds since the system started, including time asleep, truncated to 32 bits (wraps after 49.7 days).
VEXA_RUNTIME_API std::uint32_t TickCount() noexcept;

}  // namespace vexa
