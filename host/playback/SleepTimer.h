#pragma once
// Ends playing after a while, or at the end of what plays. It counts the time that passes, not the clock. Main thread.

#include <QObject>
#include <QTimer>

#include <chrono>

namespace vexa::host {

class SleepTimer final : public QObject {
    Q_OBJECT
public:
    enum class Mode { Off, AfterTime, AtEnd };

    SleepTimer();

    Mode TheMode() const noexcept { return FMode; }
    /// 0 unless a time was set.
    std::chrono::milliseconds Remaining() const;

    void SetTime(std::chrono::milliseconds time);
    void SetAtEnd();
    void Cancel();

Q_SIGNALS:
    void Changed();
    /// The time is over.
    void Expired();

private:
    void Set(Mode mode);

    QTimer FTimer;
    Mode FMode = Mode::Off;
};

}  // namespace vexa::host
