#pragma once
// The sleep timer: ends playback after a time, or at the end of the current file. It measures elapsed time, whatever
// happens to the clock. In its last seconds the sound fades. Main thread.

#include <QObject>
#include <QTimer>

#include <chrono>

namespace vexa::host {

class SleepTimer final : public QObject {
    Q_OBJECT
public:
    enum class Mode { Off, AfterTime, AtEnd };

    static constexpr std::chrono::seconds kFade{10};  // or the whole time, if that is shorter

    SleepTimer();

    Mode CurrentMode() const noexcept { return FMode; }
    /// The time left; 0 unless the mode is AfterTime.
    std::chrono::milliseconds Remaining() const;

    void SetTime(std::chrono::milliseconds time);
    void SetAtEnd();
    void Cancel();

Q_SIGNALS:
    void Changed();
    /// The volume to play with, from 1 to 0, as a share of what the listener has chosen. It is 1 again when the timer
    /// is changed, and once Expired was handled.
    void Faded(double share);
    /// The time is up.
    void Expired();

private:
    void Set(Mode mode);
    void Fade();

    QTimer FTimer, FFadeTimer;
    std::chrono::milliseconds FFadeTime{0};
    Mode FMode = Mode::Off;
};

}  // namespace vexa::host
