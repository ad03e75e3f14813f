#pragma once
// Playback: the current file, and everything that a listener does with it. It gives the host's player its output and
// follows what others, such as plug-ins, start through the player. Main thread; destroy it before the host unloads its
// plug-ins.
//
//     Host host(options);
//     Playback playback(host);
//     playback.SetOrder(&order);               // which file follows which; optional
//     Mpris mpris(playback);                   // the desktop's controls and the media keys
//     PlaybackBar bar(playback, host);
//     playback.Play(QStringLiteral("https://…"));
//
// A file is always named by the name or address that it was started by, never by the source that this resolved to; when
// the address moves, by its present address.

#include "Chapters.h"
#include "Host.h"
#include "ListeningChoices.h"
#include "MediaOutput.h"
#include "NodeSettings.h"
#include "Positions.h"
#include "SleepTimer.h"

#include <QObject>

#include <functional>
#include <optional>
#include <vector>

namespace vexa::host {

class ErrorInfo;

/// The order in which files follow each other, such as a playlist's. Main thread.
class PlayOrder {
public:
    /// The file after, or before, `address`; empty when there is none, or `address` does not belong to this order.
    virtual QString After(const QString& address) = 0;
    virtual QString Before(const QString& address) = 0;

protected:
    ~PlayOrder() = default;
};

/// The current file. Everything is empty while nothing plays, and all but the address and the local file until the file
/// has been described.
struct NowPlaying {
    QString Address, Title, Artist, Album;
    QString LocalFile;  // the file that is being played, if it is local
    double Duration = 0;
    std::vector<Chapter> Chapters;
    bool IsPreview = false;  // IVEXAPlayerPreview has started it: nothing of it is kept, and nothing follows it
};

class Playback final : public QObject, private AddressKeeper {
    Q_OBJECT
public:
    using State = MediaOutput::State;

    /// `sink` as MediaOutput takes it.
    explicit Playback(Host& host, const QString& sink = {});
    /// Stops, and saves the position.
    ~Playback() override;

    State CurrentState() const { return FOutput->CurrentState(); }
    bool IsPlaying() const { return CurrentState() == State::Playing || CurrentState() == State::Loading; }
    const NowPlaying& Current() const noexcept { return FCurrent; }
    double Position() const { return FOutput->Position(); }
    /// Seconds; 0 while the duration is unknown.
    double Duration() const;
    double Speed() const { return FOutput->Speed(); }
    double Volume() const { return FOutput->Volume(); }
    /// By how many seconds SkipBack and SkipForward jump: the settings Player\SkipBack and Player\SkipForward, by
    /// default 15 and 30.
    int SkipBackBy() const;
    int SkipForwardBy() const;
    /// Where each file was left, which includes the files to continue listening to.
    const Positions& SavedPositions() const noexcept { return FPositions; }
    /// How the files of nodes are played. A change takes effect on the current file at once, but for the part at its
    /// beginning.
    NodeSettings& Nodes() noexcept { return FNodes; }
    SleepTimer& Sleep() noexcept { return FSleep; }
    /// The pictures of files with video. Only a window that can show them wants them; see MediaOutput.
    VideoFrames& Video() noexcept { return FOutput->Video(); }
    bool HasVideo() const { return FOutput->HasVideo(); }
    bool ShowsVideo() const { return FOutput->ShowsVideo(); }
    void WantVideo(bool isWanted) { FOutput->WantVideo(isWanted); }
    void ShowVideo(bool isShown) { FOutput->ShowVideo(isShown); }
    /// Changes take effect at once.
    ListeningChoices& Choices() noexcept { return FChoices; }
    /// The schemes of the addresses that can be played: those of the plug-ins' file systems, http, https and file.
    QStringList Schemes() const;

    /// The files to play before the order goes on. An address may occur more than once.
    const QStringList& UpNext() const { return FPositions.UpNext(); }
    /// Sets the order, or null for none. Set null before destroying the order.
    void SetOrder(PlayOrder* order) noexcept { FOrder = order; }
    bool HasNext() const;
    bool HasPrevious() const;

public Q_SLOTS:
    /// Plays a file from where it was left. If it is the current file, resumes it.
    void Play(const QString& named);
    /// Resumes the current file after a pause or a failure. While nothing plays, starts the file heard last.
    void Resume();
    void Pause();
    void PlayOrPause();
    void Stop();
    void Seek(double seconds);
    void SkipBack();
    void SkipForward();
    /// `speed` is from MediaOutput::kSlowest to kFastest. It is remembered for the current file's node, else for its
    /// album.
    void SetSpeed(double speed);
    /// `volume` is from 0 to 1. It is stored in the settings (Player\Volume).
    void SetVolume(double volume);
    void Next();
    /// Plays the previous file of the order, if there is one. The current file keeps its position: in a long one it
    /// would be hard to find again.
    void Previous();
    /// Inserts files at the front of UpNext.
    void PlayNext(const QStringList& addresses);
    /// Appends files to UpNext.
    void PlayLast(const QStringList& addresses);
    void SetUpNext(const QStringList& addresses);
    /// Sets the clock by which pauses are measured: ms since 1970. By default it is the system's.
    void SetClock(std::function<qint64()> clock) { FClock = std::move(clock); }
    /// The order calls this when its answers change.
    void OrderChanged() { Q_EMIT UpNextChanged(); }
    /// The file will start from its beginning the next time.
    void ForgetPosition(const QString& address);
    /// The same for files that were marked as heard, or were not after all.
    void SetHeard(const QStringList& addresses, bool areHeard);
    /// Writes the positions now, as at the end of the session. Throws std::runtime_error when that fails.
    void Save();

Q_SIGNALS:
    void StateChanged();
    /// Another file plays, or more is known about the current one.
    void CurrentChanged();
    /// Sent several times a second while a file plays.
    void PositionChanged(double seconds);
    /// The user, or another program, has jumped to this position.
    void Seeked(double seconds);
    void DurationChanged(double seconds);
    void SpeedChanged(double speed);
    /// HasVideo or ShowsVideo has changed.
    void VideoChanged();
    void VolumeChanged(double volume);
    /// Playback has stopped; Resume tries to go on. The message is in the user's language, and names what failed.
    void Failed(const QString& message);
    /// A file that was to follow automatically could not be played, and the next one is tried. Both texts are in the
    /// user's language.
    void Skipped(const QString& name, const QString& reason);
    /// There is a problem, but playback goes on. The message is in the user's language.
    void Warned(const QString& message);
    /// A file was heard to its end.
    void Finished(const QString& address);
    /// Other files come next.
    void UpNextChanged();
    /// Files were begun, left or finished.
    void PositionsChanged();
    /// Addresses of the current file, of begun files or of UpNext have moved. The signals for what has changed by that
    /// follow.
    void AddressesMoved(const AddressMoves& moves);

private:
    class DescribeTask;
    class Hook;

    QStringList KeptAddresses() const override;
    void OnAddressesMoved(const AddressMoves& moves) override;
    void OnAddressesGone(const QSet<QString>& gone) override;
    void OnChoices();
    double ResumePosition(const HeardFile& left) const;
    void OnStarted();
    void DescribeCurrent();
    void OnDescribed(const NowPlaying& described);
    void OnBegun();
    void OnEnded();
    void OnPosition(double seconds);
    void OnDuration(double seconds);
    void OnNodesChanged();
    void ApplyNode();
    void TakeSpeedOfAlbum();
    double SavedSpeed() const { return FNode ? FListening.Speed : FPositions.Speed(FCurrent.Album); }
    HResult ListFilesInUse(IVEXAObjectList* names) const;
    bool Advance();
    bool SkipAhead(const QString& reason);
    void RestoreTaken();
    void WithName(const QString& address, std::function<void(const QString& name)> tell);
    void OnState();
    void OnProblem(MediaOutput::Problem problem, const QString& details);
    void StorePosition();
    void SaveSoon();
    void Start(const QString& address);
    void StartPreviewAgain();
    void OnStartFailed(const ErrorInfo& error);
    [[nodiscard]] QString TakeNext();
    QString BeforeCurrent() const;
    int Setting(const char* key, int otherwise) const;
    QString Describe(MediaOutput::Problem problem, const QString& details) const;

    Host& FHost;
    Positions FPositions;
    NodeSettings FNodes;
    MediaOutput* const FOutput;  // the host's player owns it
    SleepTimer FSleep;
    ListeningChoices FChoices;
    QTimer FSaver;
    Ref<IVEXAMessageHook> FHook;
    std::function<qint64()> FClock;
    PlayOrder* FOrder = nullptr;
    NowPlaying FCurrent;
    std::optional<NodeName> FNode;    // of the current file
    ListeningSettings FListening;     // of that node
    bool FIsAtSkip = false;           // the current file was begun after the part that is skipped
    double FBefore = 0;               // the position reported last; infinite after a jump
    bool FHasEnded = false;           // the current file was heard or is to start over: its position is not saved
    QString FTried;                   // the file that was started last
    bool FIsAdvancing = false;        // FTried was started by Next or automatically, and nothing was heard of it yet
    int FSkips = 0;                   // files skipped since something was heard
    QStringList FTaken;               // taken from UpNext since something was heard
    TaskHandle FDescribing = 0;       // 0 once the current file is described
    std::vector<TaskHandle> FNaming;  // tasks that find names of skipped files; may contain ended ones
};

}  // namespace vexa::host
