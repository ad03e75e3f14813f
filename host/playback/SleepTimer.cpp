#include "SleepTimer.h"

#include "VEXA.Runtime.Threads.h"

#include <algorithm>

namespace vexa::host {

SleepTimer::SleepTimer() {
    FTimer.setSingleShot(true);
    connect(&FTimer, &QTimer::timeout, this, [this] {
        Set(Mode::Off);
        Q_EMIT Expired();
    });
}

std::chrono::milliseconds SleepTimer::Remaining() const {
    return std::max(FTimer.remainingTimeAsDuration(), std::chrono::milliseconds(0));
}

void SleepTimer::SetTime(std::chrono::milliseconds time) {
    FTimer.start(std::clamp(time, std::chrono::milliseconds(1), std::chrono::milliseconds(std::chrono::hours(24))));
    Set(Mode::AfterTime);
}

void SleepTimer::SetAtEnd() {
    FTimer.stop();
    Set(Mode::AtEnd);
}

void SleepTimer::Cancel() {
    FTimer.stop();
    Set(Mode::Off);
}

void SleepTimer::Set(Mode mode) {
    VEXA_ASSERT_MAIN_THREAD();
    FMode = mode;
    Q_EMIT Changed();
}

}  // namespace vexa::host
