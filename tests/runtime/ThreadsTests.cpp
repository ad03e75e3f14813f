#include "VEXA.Runtime.Threads.h"
#include "Waiting.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <thread>

namespace vexa {
namespace {

/// A task out of closures.
class Job : public Task {
public:
    explicit Job(std::function<void(Job&)> execute, std::function<void(Job&)> complete = {})
        : FExecute(std::move(execute)), FComplete(std::move(complete)) {}
    void Execute() override { FExecute(*this); }
    void Complete() override {
        if (FComplete) FComplete(*this);
    }

private:
    std::function<void(Job&)> FExecute, FComplete;
};

template <class... Arguments>
TaskHandle Start(Arguments... arguments) {
    return WorkerPool::Run(std::make_unique<Job>(std::move(arguments)...));
}

TEST(WorkerPool, CanBeCancelledFromTheMainThreadWhileTheTaskWaitsForIt) {
    for (int round = 0; round < 500; ++round) {
        int onMain = 0, completed = 0;
        std::atomic<bool> wasCancelled{false};
        const TaskHandle handle = Start(
            [&](Job& job) {
                while (!job.IsCancelled()) RunInMainThread([&] { ++onMain; }, true);
                wasCancelled = true;
            },
            [&](Job&) { RunInMainThread([&] { ++completed; }, true); });
        if (round % 2) {
            ASSERT_TRUE(tests::WaitUntil([&] { return onMain > 0; }));
        }
        WorkerPool::Cancel(handle, true);
        ASSERT_TRUE(wasCancelled);
        ASSERT_EQ(completed, 1) << "the completion belongs to the task";
        WorkerPool::Cancel(handle, true);  // ended already
    }
}

TEST(WorkerPool, CompletesATaskThatAnExceptionLeft) {
    bool hasFailed = false, isDone = false;
    Start([](Job&) { throw std::runtime_error("on purpose"); },
          [&](Job& job) {
              RunInMainThread([&, failed = job.HasFailed()] { hasFailed = failed, isDone = true; }, true);
              throw 1;
          });
    EXPECT_TRUE(tests::WaitUntil([&] { return isDone; }));
    EXPECT_TRUE(hasFailed);
}

TEST(WorkerPool, LetsNoTaskWaitForAnother) {
    constexpr int kTasks = 8;
    std::atomic<int> inside{0};
    std::vector<TaskHandle> handles;
    for (int i = 0; i < kTasks; ++i)
        handles.push_back(Start([&](Job&) {
            ++inside;
            while (inside < kTasks) std::this_thread::yield();
        }));
    for (const TaskHandle handle : handles) WorkerPool::Cancel(handle, true);
    EXPECT_EQ(inside, kTasks);
}

TEST(MainThread, RunsWhatItIsGivenInOrderAndHandsExceptionsBack) {
    std::string order;
    bool isDone = false;
    std::thread other([&] {
        EXPECT_FALSE(IsMainThread());
        RunInMainThread([&] { order += IsMainThread() ? 'a' : '?'; }, false);
        RunInMainThread([] { throw std::runtime_error("logged"); }, false);
        RunInMainThread([&] { order += 'b'; }, false);
        EXPECT_THROW(RunInMainThread([] { throw std::logic_error("handed back"); }, true), std::logic_error);
        RunInMainThread([&] { isDone = true; }, true);
    });
    EXPECT_TRUE(tests::WaitUntil([&] { return isDone; }));
    other.join();
    EXPECT_EQ(order, "ab");
    RunInMainThread([&] { order += 'c'; }, true);
    EXPECT_EQ(order, "abc") << "on the main thread itself, at once";
}

TEST(MainThread, TimerRunsOnItsLoopOnlyWhileEnabled) {
    int calls = 0;
    Timer timer(std::chrono::milliseconds(1), [&] {
        ++calls;
        throw std::runtime_error("logged, and the timer goes on");
    });
    EXPECT_FALSE(timer.IsEnabled());
    timer.SetEnabled(true);
    EXPECT_TRUE(tests::WaitUntil([&] { return calls >= 2; }));
    timer.SetEnabled(false);
    const int before = calls;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    QCoreApplication::processEvents();
    EXPECT_EQ(calls, before);
}

}  // namespace
}  // namespace vexa
