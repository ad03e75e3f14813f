#include "LatestTask.h"

#include <utility>

namespace vexa::host {

class LatestTask::Runner final : public Task {
public:
    Runner(Work work, std::uint64_t number, Link<LatestTask> owner)
        : FWork(std::move(work)), FNumber(number), FOwner(std::move(owner)) {}

    void Execute() override {
        FThen = FWork([this] { return IsCancelled(); });
    }
    /// Called also when the work threw, so that waiting work is started.
    void Complete() override {
        FWork = nullptr;
        RunInMainThread(
            [owner = FOwner, number = FNumber, then = std::move(FThen)] {
                if (LatestTask* alive = owner.Get()) alive->End(number, then);
            },
            false);
    }

private:
    Work FWork;
    const std::uint64_t FNumber;
    const Link<LatestTask> FOwner;
    std::function<void()> FThen;
};

LatestTask::~LatestTask() {
    FLinks.Invalidate();
    WorkerPool::Cancel(FRunning, true);
}

void LatestTask::Run(Work work) {
    FWaiting = std::move(work);
    ++FNumber;
    if (FRunning == 0) Start();
}

void LatestTask::Stop() {
    FWaiting = nullptr;
    ++FNumber;
    WorkerPool::Cancel(std::exchange(FRunning, 0), true);
}

void LatestTask::Start() {
    FRunningNumber = FNumber;
    FRunning =
        WorkerPool::Run(std::make_unique<Runner>(std::exchange(FWaiting, nullptr), FNumber, Link<LatestTask>(FLinks)));
}

void LatestTask::End(std::uint64_t number, const std::function<void()>& then) {
    if (FRunning == 0 || number != FRunningNumber) return;  // Stop was called meanwhile
    FRunning = 0;
    if (FWaiting)
        Start();
    else if (number == FNumber && then)
        then();
}

}  // namespace vexa::host
