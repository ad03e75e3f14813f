#pragma once
// What plays, and all that a listener does with it. It gives the host's player its output, and hears of what is started
// through the player by others, plug-ins among them. Main thread; it goes before the host unloads its plug-ins.
//
//     Host host(options);
//     Playback playback(host);
//     playback.SetOrder(&playlistPane);        // what comes after what; may be left out
//     Mpris mpris(playback);                   // the desktop's controls and the media keys
//     PlaybackBar bar(playback, host);
//     playback.Play(QStringLiteral("https://…"));
//
// Everything is called by the name or address that it was started by, never by what that resolved to; when that address
// moves, by the one that it has then.

#include "Chapters.h"
#include "Host.h"
#include "LatestTask.h"
#include "MediaOutput.h"
#include "Positions.h"
#include "SleepTimer.h"

#include <QObject>

#include <vector>

namespace vexa::host {

/// The order in which things play by themselves, such as a playlist's. Main thread.
class PlayOrder {
public:
    /// Empty when nothing comes after it, or when it is none of this order's.
    virtual QString After(const QString& address) = 0;
    virtual QString Before(const QString& address) = 0;

protected:
    ~PlayOrder() = default;
};

/// What plays. All empty while nothing does; but for the address, while it is not known yet.
struct NowPlaying {
    QString Address, Title, Artist, Album;
    QString LocalFile;  // what is read, where that is a file of this machine
    double Duration = 0;
    std::vector<Chapter> Chapters;
};

class Playback final : public QObject, private AddressKeeper {
    Q_OBJECT
public:
    using State = MediaOutput::State;

    /// `sink` as MediaOutput takes it.
    explicit Playback(Host& host, const QString& sink = {});
    /// Stops, and writes where that was.
    ~Playback() override;

    State TheState() const { return FOutput->TheState(); }
    bool IsPlaying() const { return TheState() == State::Playing || TheState() == State::Loading; }
    const NowPlaying& Current() const noexcept { return FCurrent; }
    double Position() const { return FOutput->Position(); }
    /// Seconds; 0 while it is not known.
    double Duration() const;
    double Speed() const { return FOutput->Speed(); }
    double Volume() const { return FOutput->Volume(); }
    /// Seconds that the skips jump by: Player\SkipBack and Player\SkipForward of the settings, 15 and 30 without.
    int SkipBackBy() const;
    int SkipForwardBy() const;
    /// Where each file was left, "continue listening" among it.
    const Positions& Left() const noexcept { return FPositions; }
    SleepTimer& Sleep() noexcept { return FSleep; }
    /// The schemes of the addresses that it plays: the plug-ins' file systems', and its own.
    QStringList Schemes() const;

    /// What was put before the order. Addresses may stand in it more than once.
    const QStringList& UpNext() const { return FPositions.UpNext(); }
    /// Null for none. It is taken away before it ends.
    void SetOrder(PlayOrder* order) noexcept { FOrder = order; }
    bool HasNext() const;

public Q_SLOTS:
    /// From where it was left. What plays already, or failed while it played, goes on.
    void Play(const QString& address);
    /// Goes on with what was paused, or what failed.
    void Resume();
    void Pause();
    void PlayOrPause();
    void Stop();
    void Seek(double seconds);
    void SkipBack();
    void SkipForward();
    /// From MediaOutput::kSlowest to kFastest, remembered for the album that plays.
    void SetSpeed(double speed);
    /// From 0 to 1, kept in the settings (Player\Volume).
    void SetVolume(double volume);
    void Next();
    /// The beginning, when it is more than a moment past; else what comes before.
    void Previous();
    /// Puts them before all that is to come.
    void PlayNext(const QStringList& addresses);
    /// Puts them after what PlayNext and PlayLast have put there, before the order goes on.
    void PlayLast(const QStringList& addresses);
    void SetUpNext(const QStringList& addresses);
    /// The order is to call it when what it answers has changed.
    void OrderChanged() { Q_EMIT UpNextChanged(); }
    /// The file begins anew the next time, such as one that was marked as listened.
    void ForgetPosition(const QString& address);
    /// Writes positions now, such as when the session ends. Throws std::runtime_error when it cannot.
    void Save();

Q_SIGNALS:
    void StateChanged();
    /// Another thing plays, or more is known of it.
    void CurrentChanged();
    /// As it plays, several times a second.
    void PositionChanged(double seconds);
    /// Somebody jumped there.
    void Seeked(double seconds);
    void DurationChanged(double seconds);
    void SpeedChanged(double speed);
    void VolumeChanged(double volume);
    /// It stopped; Resume tries to go on. The text is the user's.
    void Failed(const QString& message);
    /// It plays on. The text is the user's.
    void Warned(const QString& message);
    /// A file was heard to its end.
    void Finished(const QString& address);
    /// Other things come next.
    void UpNextChanged();
    /// Files were begun, left or finished.
    void PositionsChanged();
    /// What plays, was begun or is to come is called by other addresses. What has changed by that is told afterwards.
    void AddressesMoved(const AddressMoves& moves);

private:
    class Hook;

    QStringList KeptAddresses() const override;
    void OnAddressesMoved(const AddressMoves& moves) override;
    void OnStarted();
    void DescribeCurrent();
    void OnDescribed(const NowPlaying& described);
    void OnEnded();
    void OnState();
    void OnProblem(MediaOutput::Problem problem, const QString& details, bool isFatal);
    void Remember();
    void SaveSoon();
    void Start(const QString& address);
    [[nodiscard]] QString TakeNext();
    int Setting(const char* key, int otherwise) const;
    QString Describe(MediaOutput::Problem problem, const QString& details) const;

    Host& FHost;
    Positions FPositions;
    MediaOutput* const FOutput;  // the host's player owns it
    SleepTimer FSleep;
    QTimer FSaver;
    Ref<IVEXAMessageHook> FHook;
    PlayOrder* FOrder = nullptr;
    NowPlaying FCurrent;
    bool FHasEnded = false;  // what plays: where it is left does not count
    LatestTask FDescriber;
};

}  // namespace vexa::host
