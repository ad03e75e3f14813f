#include "VEXA.Runtime.Threads.h"

#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Mutex.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QThread>
#include <QTimer>

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <exception>
#include <thread>
#include <unordered_map>
#include <vector>

namespace vexa {

namespace {

// Logs an exception that nothing else has caught.
void LogEscaped(const char* where) noexcept {
    try {
        throw;
    } catch (const std::exception& error) {
        qCWarning(LogRuntime).noquote() << where << "ended by an error:" << error.what();
    } catch (...) {
        qCWarning(LogRuntime) << where << "ended by an unknown error";
    }
}

thread_local TaskHandle CurrentTask = 0;  // the task that this thread of the pool runs

struct QueuedProcedure {
    std::function<void()> Procedure;
    TaskHandle Task = 0;  // the task that waits for the procedure
    bool Waited = false;
    bool Done = false;  // guarded by the queue's FMutex
    std::exception_ptr Error;
};

/// The queue of RunInMainThread. The procedures are handed over by the standard library's means alone; the posted event
/// only wakes up the event loop.
class MainThreadQueue {
public:
    static MainThreadQueue& Instance() {
        static auto* queue = new MainThreadQueue;  // never destroyed: it has to outlive every thread
        return *queue;
    }

    void Attach() {
        FEventThread = QThread::currentThread();
        FMainThread.store(std::this_thread::get_id());
    }

    bool IsMain() const noexcept { return FMainThread.load() == std::this_thread::get_id(); }

    bool IsAttached() const noexcept { return FMainThread.load() != std::thread::id(); }

    void Post(const std::shared_ptr<QueuedProcedure>& item) {
        {
            const TLock lock(FMutex);
            FItems.push_back(item);
        }
        Wake();
    }

    void Wait(const std::shared_ptr<QueuedProcedure>& item) {
        TLock lock(FMutex);
        FDone.Wait(lock, [&] { return item->Done; });
    }

    void Wake() {
        {
            const TLock lock(FMutex);
            ++FWakeUps;
        }
        FArrived.NotifyAll();
        WakeEventLoop();
    }

    /// Main thread: whether it is running a procedure that any thread waits for.
    bool IsRunningForAny() const noexcept { return FWaitedFor > 0; }

    /// Main thread: whether it is running a procedure that this task waits for.
    bool IsRunningFor(TaskHandle task) const {
        return std::find(FRunningFor.begin(), FRunningFor.end(), task) != FRunningFor.end();
    }

    void DrainUntil(const std::function<bool()>& done, std::chrono::milliseconds poll) {
        for (;;) {
            std::uint64_t seen;
            {
                const TLock lock(FMutex);
                seen = FWakeUps;
            }
            if (done()) return;
            if (RunOne()) continue;
            TLock lock(FMutex);
            FArrived.WaitFor(lock, poll, [&]() VEXA_REQUIRES(FMutex) { return FWakeUps != seen || !FItems.empty(); });
        }
    }

    void DrainAll() {
        while (RunOne()) {
        }
    }

private:
    class Waker : public QObject {
    public:
        bool event(QEvent* e) override {
            if (e->type() != QEvent::User) return QObject::event(e);
            auto& queue = Instance();
            queue.FEventPosted.store(false);
            queue.DrainAll();
            return true;
        }
    };

    bool RunOne() {
        std::shared_ptr<QueuedProcedure> item;
        {
            const TLock lock(FMutex);
            if (FItems.empty()) return false;
            item = std::move(FItems.front());
            FItems.pop_front();
        }
        FRunningFor.push_back(item->Task);
        FWaitedFor += item->Waited ? 1 : 0;
        try {
            item->Procedure();
        } catch (...) {
            if (item->Waited)
                item->Error = std::current_exception();
            else
                LogEscaped("a procedure of the main thread");
        }
        FWaitedFor -= item->Waited ? 1 : 0;
        FRunningFor.pop_back();
        item->Procedure = nullptr;  // destroys the captured objects here, on the main thread
        {
            const TLock lock(FMutex);
            item->Done = true;
        }
        FDone.NotifyAll();
        return true;
    }

    void WakeEventLoop() {
        if (!QCoreApplication::instance() || !FEventThread.load() || FEventPosted.exchange(true)) return;
        // Created by the first thread that posts, then moved to the main thread, whose event loop it wakes up.
        // The application may end meanwhile, which its thread does not.
        static Waker* waker = [this] {
            auto* created = new Waker;
            created->moveToThread(FEventThread);
            return created;
        }();
        QCoreApplication::postEvent(waker, new QEvent(QEvent::User));
    }

    TMutex FMutex;
    TCondition FArrived, FDone;
    std::deque<std::shared_ptr<QueuedProcedure>> FItems VEXA_GUARDED_BY(FMutex);
    std::uint64_t FWakeUps VEXA_GUARDED_BY(FMutex) = 0;
    std::vector<TaskHandle> FRunningFor;  // main thread only
    int FWaitedFor = 0;                   // running procedures that are waited for; main thread only
    std::atomic<std::thread::id> FMainThread{};
    std::atomic<QThread*> FEventThread{nullptr};  // the same thread, for the toolkit
    std::atomic<bool> FEventPosted{false};
};

}  // namespace

void AttachMainThread() {
    MainThreadQueue::Instance().Attach();
}

bool IsMainThread() noexcept {
    return MainThreadQueue::Instance().IsMain();
}

#ifdef VEXA_THREAD_ASSERTIONS
void AssertMainThread(const char* file, int line, const char* function) noexcept {
    if (IsMainThread() || !MainThreadQueue::Instance().IsAttached()) return;
    std::fprintf(stderr, "%s:%d: %s was called on another thread than the main one\n", file, line, function);
    std::abort();
}
#endif

void RunInMainThread(std::function<void()> procedure, bool wait) {
    auto& queue = MainThreadQueue::Instance();
    if (wait && queue.IsMain()) return procedure();
    auto item = std::make_shared<QueuedProcedure>();
    item->Procedure = std::move(procedure);
    item->Waited = wait;
    item->Task = wait ? CurrentTask : 0;
    queue.Post(item);
    if (!wait) return;
    queue.Wait(item);
    if (item->Error) std::rethrow_exception(item->Error);
}

bool IsAnyThreadWaiting() noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    return MainThreadQueue::Instance().IsRunningForAny();
}

void DrainMainThreadUntil(const std::function<bool()>& done, std::chrono::milliseconds poll) {
    VEXA_ASSERT_MAIN_THREAD();
    MainThreadQueue::Instance().DrainUntil(done, poll);
}

void WakeMainThread() {
    MainThreadQueue::Instance().Wake();
}

HResult Task::QueryInterface(const Guid&, void** object) noexcept {
    if (object) *object = nullptr;
    return E_NOINTERFACE;
}

namespace {

class Pool {
public:
    static Pool& Instance() {
        // Never destroyed: idle threads sleep until the process ends, and a task may outlive static destruction.
        static auto* pool = new Pool;
        return *pool;
    }

    struct Job {
        TaskHandle Handle;
        std::unique_ptr<Task> Work;
    };

    template <class RunTask>
    TaskHandle Start(std::unique_ptr<Task> task, RunTask runTask) {
        const TLock lock(FMutex);
        const TaskHandle handle = ++FLastHandle;
        FRunning.emplace(handle, task.get());
        FJobs.push_back({handle, std::move(task)});
        if (FIdle >= FJobs.size()) {
            FJobArrived.NotifyOne();
        } else {
            try {
                std::thread([this, runTask] { Work(runTask); }).detach();
            } catch (...) {
                FRunning.erase(handle);
                FJobs.pop_back();
                throw;
            }
        }
        return handle;
    }

    template <class SetCancelled>
    void Cancel(TaskHandle handle, bool wait, SetCancelled setCancelled) {
        {
            const TLock lock(FMutex);
            const auto found = FRunning.find(handle);
            if (found == FRunning.end()) return;
            if (found->second) setCancelled(*found->second);
        }
        if (!wait) return;
        if (IsMainThread()) {
            if (MainThreadQueue::Instance().IsRunningFor(handle)) return;
            DrainMainThreadUntil([&] {
                const TLock lock(FMutex);
                return !FRunning.contains(handle);
            });
        } else {
            TLock lock(FMutex);
            FEnded.Wait(lock, [&]() VEXA_REQUIRES(FMutex) { return !FRunning.contains(handle); });
        }
    }

private:
    template <class RunTask>
    void Work(RunTask runTask) {
        for (;;) {
            Job job;
            {
                TLock lock(FMutex);
                ++FIdle;
                const bool arrived = FJobArrived.WaitFor(lock, std::chrono::seconds(30),
                                                         [&]() VEXA_REQUIRES(FMutex) { return !FJobs.empty(); });
                --FIdle;
                if (!arrived) return;
                job = std::move(FJobs.front());
                FJobs.pop_front();
            }
            CurrentTask = job.Handle;
            runTask(*job.Work);
            CurrentTask = 0;
            {
                const TLock lock(FMutex);
                FRunning[job.Handle] = nullptr;  // from here on no thread sets the task's flag
            }
            job.Work.reset();
            {
                const TLock lock(FMutex);
                FRunning.erase(job.Handle);  // only now may a waiting owner destroy what the task used
                // Under the lock, so that this thread does not use the main thread's queue any more once the owner has
                // seen the task's end.
                WakeMainThread();
            }
            FEnded.NotifyAll();
        }
    }

    TMutex FMutex;
    TCondition FJobArrived, FEnded;
    std::deque<Job> FJobs VEXA_GUARDED_BY(FMutex);
    std::unordered_map<TaskHandle, Task*> FRunning VEXA_GUARDED_BY(FMutex);
    std::size_t FIdle VEXA_GUARDED_BY(FMutex) = 0;
    TaskHandle FLastHandle VEXA_GUARDED_BY(FMutex) = 0;
};

}  // namespace

TaskHandle WorkerPool::Run(std::unique_ptr<Task> task) {
    return Pool::Instance().Start(std::move(task), [](Task& work) {
        try {
            work.Execute();
        } catch (...) {
            work.FFailed = true;
            LogEscaped("a task");
        }
        try {
            work.Complete();
        } catch (...) {
            LogEscaped("a task's completion");
        }
    });
}

void WorkerPool::Cancel(TaskHandle handle, bool wait) {
    if (handle == 0) return;
    Pool::Instance().Cancel(handle, wait, [](Task& work) { work.FCancelled.store(true, std::memory_order_relaxed); });
}

struct Timer::Impl {
    QTimer Clock;
};

Timer::Timer(std::chrono::milliseconds interval, std::function<void()> onTimer) : FImpl(std::make_unique<Impl>()) {
    VEXA_ASSERT_MAIN_THREAD();
    FImpl->Clock.setInterval(interval);
    FImpl->Clock.setTimerType(Qt::VeryCoarseTimer);
    QObject::connect(&FImpl->Clock, &QTimer::timeout, &FImpl->Clock, [call = std::move(onTimer)] {
        try {
            call();
        } catch (...) {
            LogEscaped("a timer");
        }
    });
}

Timer::~Timer() = default;

bool Timer::IsEnabled() const {
    return FImpl->Clock.isActive();
}

void Timer::SetEnabled(bool enabled) {
    VEXA_ASSERT_MAIN_THREAD();
    if (enabled == IsEnabled()) return;
    if (enabled)
        FImpl->Clock.start();
    else
        FImpl->Clock.stop();
}

std::uint32_t TickCount() noexcept {
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(now.tv_sec) * 1000 +
                                      static_cast<std::uint64_t>(now.tv_nsec) / 1000000);
}

}  // namespace vexa
