#pragma once
// The standard mutexes, locks and condition variables with the attributes of clang's thread-safety analysis
// (https://clang.llvm.org/docs/ThreadSafetyAnalysis.html), which the standard ones lack. A member names the mutex that
// guards it, and a function the mutex that its caller must hold; `make thread-safety` reports every use without the
// lock. For other compilers the attributes are empty.
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
// The analysis looks at one function at a time, so a lambda needs an attribute of its own. It identifies a mutex by the
// expression that names it; where a mutex guards members of another object, which cannot name it, a comment says so.

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

#ifdef __clang__
#define VEXA_THREAD_ATTRIBUTE(...) __attribute__((__VA_ARGS__))
#else
#define VEXA_THREAD_ATTRIBUTE(...)
#endif

/// For a member or variable: it is read and written only while this mutex is held.
#define VEXA_GUARDED_BY(mutex) VEXA_THREAD_ATTRIBUTE(guarded_by(mutex))
/// For a function or lambda: the caller holds these mutexes during the call.
#define VEXA_REQUIRES(...) VEXA_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
/// For a function that locks or unlocks these mutexes; without arguments, the object itself.
#define VEXA_ACQUIRE(...) VEXA_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define VEXA_RELEASE(...) VEXA_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
/// For a function that returns a reference to this mutex.
#define VEXA_RETURNS_MUTEX(mutex) VEXA_THREAD_ATTRIBUTE(lock_returned(mutex))
/// For a function whose locking the analysis cannot follow; a comment says why.
#define VEXA_NOT_ANALYSED VEXA_THREAD_ATTRIBUTE(no_thread_safety_analysis)

namespace vexa {

/// A std::mutex. Lock it with a TLock; lock and unlock have the names that standard locks call.
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

/// Holds a mutex until it is destroyed, except between Unlock and Lock.
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

/// A std::condition_variable. Each wait unlocks the mutex that `lock` holds, and locks it again before it returns. A
/// predicate is called with the mutex locked, and may throw. A wait without a predicate may end without a notification.
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
    /// Returns the last result of the predicate.
    template <class Rep, class Period, class Predicate>
    bool WaitFor(TLock<TMutex>& lock, std::chrono::duration<Rep, Period> longest, Predicate predicate) {
        Lent lent(lock);
        return FCondition.wait_for(lent.Lock, longest, std::move(predicate));
    }
    /// False when the time has passed.
    template <class Clock, class Duration>
    bool WaitUntil(TLock<TMutex>& lock, std::chrono::time_point<Clock, Duration> end) {
        Lent lent(lock);
        return FCondition.wait_until(lent.Lock, end) != std::cv_status::timeout;
    }

private:
    /// Lends the mutex that a TLock holds to a standard lock.
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
