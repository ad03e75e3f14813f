#pragma once
// The standard's mutexes, locks and condition variables, with the attributes of clang's thread-safety analysis
// (https://clang.llvm.org/docs/ThreadSafetyAnalysis.html), which knows nothing of the standard's own. `make
// thread-safety` runs it: a member names the mutex that guards it, a function the mutex that its caller must hold, and
// what uses either without the lock is an error. To other compilers the attributes are empty.
//
//     TMutex FMutex;
//     TCondition FArrived;
//     std::deque<Job> FJobs VEXA_GUARDED_BY(FMutex);
//     Job TakeFirst() VEXA_REQUIRES(FMutex);
//
//     TLock lock(FMutex);
//     FArrived.Wait(lock, [this]() VEXA_REQUIRES(FMutex) { return !FJobs.empty(); });
//     const Job job = TakeFirst();
//
// The analysis looks at one function at a time, so a lambda says itself which locks are held when it is called. It
// knows mutexes by the expressions that name them: state of one object under the mutex of another one keeps a comment.

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

#ifdef __clang__
#define VEXA_THREAD_ATTRIBUTE(...) __attribute__((__VA_ARGS__))
#else
#define VEXA_THREAD_ATTRIBUTE(...)
#endif

/// Of a member or variable: read and written only while this mutex is held.
#define VEXA_GUARDED_BY(mutex) VEXA_THREAD_ATTRIBUTE(guarded_by(mutex))
/// Of a function or lambda: the caller holds these mutexes, before and after.
#define VEXA_REQUIRES(...) VEXA_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
/// Of a function that locks or unlocks these mutexes, or the object itself where none is named.
#define VEXA_ACQUIRE(...) VEXA_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define VEXA_RELEASE(...) VEXA_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
/// Of a function that returns a reference to this mutex.
#define VEXA_RETURNS_MUTEX(mutex) VEXA_THREAD_ATTRIBUTE(lock_returned(mutex))
/// Of a function whose locking the analysis cannot follow; a comment says why.
#define VEXA_NOT_ANALYSED VEXA_THREAD_ATTRIBUTE(no_thread_safety_analysis)

namespace vexa {

/// A std::mutex. lock and unlock are spelled as the standard's locks call them; use a TLock.
class VEXA_THREAD_ATTRIBUTE(capability("mutex")) TMutex {
public:
    void lock() VEXA_ACQUIRE() { FMutex.lock(); }
    void unlock() VEXA_RELEASE() { FMutex.unlock(); }

private:
    friend class TCondition;
    std::mutex FMutex;
};

/// A std::recursive_mutex.
class VEXA_THREAD_ATTRIBUTE(capability("mutex")) TRecursiveMutex {
public:
    void lock() VEXA_ACQUIRE() { FMutex.lock(); }
    void unlock() VEXA_RELEASE() { FMutex.unlock(); }

private:
    std::recursive_mutex FMutex;
};

/// Holds a mutex as long as it lives, but for the time between Unlock and Lock.
template <class Mutex>
class VEXA_THREAD_ATTRIBUTE(scoped_lockable) TLock {
public:
    explicit TLock(Mutex& mutex) VEXA_ACQUIRE(mutex) : FMutex(mutex) { FMutex.lock(); }
    ~TLock() VEXA_RELEASE() {
        if (FIsHeld) FMutex.unlock();
    }
    TLock(const TLock&) = delete;
    TLock& operator=(const TLock&) = delete;

    void Unlock() VEXA_RELEASE() {
        FIsHeld = false;
        FMutex.unlock();
    }
    void Lock() VEXA_ACQUIRE() {
        FMutex.lock();
        FIsHeld = true;
    }

private:
    friend class TCondition;
    Mutex& FMutex;
    bool FIsHeld = true;
};

/// A std::condition_variable. Each wait lets go of the mutex, which `lock` holds, and holds it again at its end, also
/// when the predicate throws. A wait without a predicate may end for no reason.
class TCondition {
public:
    void NotifyOne() noexcept { FCondition.notify_one(); }
    void NotifyAll() noexcept { FCondition.notify_all(); }

    void Wait(TLock<TMutex>& lock) {
        Lent lent(lock);
        FCondition.wait(lent.Lock);
    }
    template <class Predicate>
    void Wait(TLock<TMutex>& lock, Predicate predicate) {
        Lent lent(lock);
        FCondition.wait(lent.Lock, std::move(predicate));
    }
    template <class Rep, class Period>
    void WaitFor(TLock<TMutex>& lock, std::chrono::duration<Rep, Period> longest) {
        Lent lent(lock);
        FCondition.wait_for(lent.Lock, longest);
    }
    /// What the predicate says at the end.
    template <class Rep, class Period, class Predicate>
    bool WaitFor(TLock<TMutex>& lock, std::chrono::duration<Rep, Period> longest, Predicate predicate) {
        Lent lent(lock);
        return FCondition.wait_for(lent.Lock, longest, std::move(predicate));
    }
    /// False when the time has come.
    template <class Clock, class Duration>
    bool WaitUntil(TLock<TMutex>& lock, std::chrono::time_point<Clock, Duration> end) {
        Lent lent(lock);
        return FCondition.wait_until(lent.Lock, end) != std::cv_status::timeout;
    }

private:
    /// The standard's lock over what a TLock holds, which stays the TLock's.
    struct Lent {
        explicit Lent(TLock<TMutex>& lock) : Lock(lock.FMutex.FMutex, std::adopt_lock) {}
        ~Lent() { Lock.release(); }
        Lent(const Lent&) = delete;
        Lent& operator=(const Lent&) = delete;
        std::unique_lock<std::mutex> Lock;
    };

    std::condition_variable FCondition;
};

}  // namespace vexa
