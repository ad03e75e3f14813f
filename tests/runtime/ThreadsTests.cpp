#include "VEXA.Runtime.Threads.h"
#include "Waiting.h"

#include <gtest/gtest.h>

#include <barrier>

namespace vexa {
namespace {

class Job : public Task {
public:
    using Call = std::function<void(Job&)>;
    Job(Call execute, Call complete) : FExecute(std::move(execute)), FComplete(std::move(complete)) {}
    void Execute() override { FExecute(*this); }
    void Complete() override { FComplete(*this); }

private:
    Call FExecute, FComplete;
};

TaskHandle Start(
    Job::Call execute, Job::Call complete = [](Job&) {}) {
    return WorkerPool::Run(std::make_unique<Job>(std::move(execute), std::move(complete)));
}

TEST(WorkerPool, CanBeCancelledFromTheMainThreadWhileTheTaskWaitsForIt) {
    for (int round = 0; round < 200; ++round) {
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
        ASSERT_EQ(completed, 1) << "the completion is part of the task";
        WorkerPool::Cancel(handle, true);  // ended already
    }
}

TEST(WorkerPool, CompletesATaskThatThrew) {
    std::atomic<bool> hasFailed{false};
    Start([](Job&) { throw std::runtime_error("on purpose"); },
          [&](Job& job) {
              hasFailed = job.HasFailed();
              throw 1;
          });
    EXPECT_TRUE(tests::WaitUntil([&] { return hasFailed.load(); }));
}

TEST(WorkerPool, MakesNoTaskWaitForAnother) {
    std::barrier all(8);
    std::vector<TaskHandle> handles;
    for (int i = 0; i < 8; ++i) handles.push_back(Start([&](Job&) { all.arrive_and_wait(); }));
    for (const TaskHandle handle : handles) WorkerPool::Cancel(handle, true);
}

TEST(MainThread, RunsPostedFunctionsInOrderAndPassesExceptionsBack) {
    std::string order;
    std::thread other([&] {
        EXPECT_FALSE(IsMainThread());
        RunInMainThread([&] { order += IsMainThread() ? 'a' : '?'; }, false);
        RunInMainThread([] { throw std::runtime_error("logged"); }, false);
        RunInMainThread([&] { order += 'b'; }, false);
        EXPECT_THROW(RunInMainThread([] { throw std::logic_error("handed back"); }, true), std::logic_error);
        RunInMainThread([&] { order += 'c'; }, true);
    });
    EXPECT_TRUE(tests::WaitUntil([&] { return order.ends_with('c'); }));
    other.join();
    RunInMainThread([&] { order += 'd'; }, true);
    EXPECT_EQ(order, "abcd") << "on the main thread itself, at once";
}

TEST(MainThread, TimerRunsOnItsLoopOnlyWhileEnabled) {
    int calls = 0;
    Timer timer(std::chrono::milliseconds(1), [&] {
        ++calls;
        throw std::runtime_error("logged, and the timer goes on");
    });
    timer.SetEnabled(true);
    EXPECT_TRUE(tests::WaitUntil([&] { return calls >= 2; }));
    timer.SetEnabled(false);
    calls = 0;
    EXPECT_FALSE(tests::WaitUntil([&] { return calls > 0; }, std::chrono::milliseconds(20)));
}

}  // namespace
}  // namespace vexa
