#include "SleepTimer.h"

#include "VEXA.Runtime.Threads.h"

#include <algorithm>

namespace vexa::host {

namespace {

constexpr std::chrono::milliseconds kFadeStep{50};

}  // namespace

SleepTimer::SleepTimer() {
    FTimer.setSingleShot(true);
    FFadeTimer.setSingleShot(true);
    connect(&FFadeTimer, &QTimer::timeout, this, &SleepTimer::Fade);
    connect(&FTimer, &QTimer::timeout, this, [this] {
        FFadeTimer.stop();
        Q_EMIT Expired();  // while nothing is heard
        Set(Mode::Off);
    });
}

void SleepTimer::Fade() {
    Q_EMIT Faded(std::chrono::duration<double>(Remaining()) / FFadeTime);
    FFadeTimer.start(kFadeStep);
}

std::chrono::milliseconds SleepTimer::Remaining() const {
    return std::max(FTimer.remainingTimeAsDuration(), std::chrono::milliseconds(0));
}

void SleepTimer::SetTime(std::chrono::milliseconds time) {
    time = std::clamp(time, std::chrono::milliseconds(1), std::chrono::milliseconds(std::chrono::hours(24)));
    FFadeTime = std::min<std::chrono::milliseconds>(time, kFade);
    FTimer.start(time);
    Set(Mode::AfterTime);
    FFadeTimer.start(time - FFadeTime);
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
    FFadeTimer.stop();
    Q_EMIT Faded(1);
    Q_EMIT Changed();
}

}  // namespace vexa::host
