#pragma once
// The sleep timer: ends playback after a time, or at the end of the current file. It measures elapsed time, whatever
// happens to the clock. Main thread.

#include <QObject>
#include <QTimer>

#include <chrono>

namespace vexa::host {

class SleepTimer final : public QObject {
    Q_OBJECT
public:
    enum class Mode { Off, AfterTime, AtEnd };

    SleepTimer();

    Mode CurrentMode() const noexcept { return FMode; }
    /// The time left; 0 unless the mode is AfterTime.
    std::chrono::milliseconds Remaining() const;

    void SetTime(std::chrono::milliseconds time);
    void SetAtEnd();
    void Cancel();

Q_SIGNALS:
    void Changed();
    /// The time is up.
    void Expired();

private:
    void Set(Mode mode);

    QTimer FTimer;
    Mode FMode = Mode::Off;
};

}  // namespace vexa::host
