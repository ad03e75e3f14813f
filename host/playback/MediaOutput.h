#pragma once
// The player's audio output: GStreamer's playbin, which keeps the pitch at every speed. The toolkit's own media player
// is not used, because it changes the pitch at any speed other than 1. Main thread.
//
//     auto output = std::make_unique<MediaOutput>();
//     output->Start(source);      // starts opening the source, and plays as soon as there is something to hear
//     output->Seek(1234.5);       // at any time: a seek before the source is open takes effect when it is
//     output->SetSpeed(1.5);

#include "GstRef.h"
#include "Player.h"
#include "VEXA.Runtime.Reason.h"
#include "VideoFrames.h"

#include <QObject>
#include <QTimer>

#include <atomic>
#include <optional>

using GstBin = struct _GstBin;
using GstMessage = struct _GstMessage;

namespace vexa::host {

class MediaOutput final : public QObject, public AudioOutput {
    Q_OBJECT
public:
    enum class State { Stopped, Loading, Playing, Paused, Failed };
    /// Why playback stopped, or goes on differently from what was asked.
    enum class Problem { None, NoPlayer, NoCodec, NotFound, BrokeOff, Other, NoDevice, NotSeekable };

    static constexpr double kSlowest = 0.5, kFastest = 3;

    /// `sink` is where the sound goes, in the notation of gst-launch. Empty means the desktop's sound device; without
    /// one the sound is discarded in real time.
    explicit MediaOutput(const QString& sink = {});
    ~MediaOutput() override;

    /// Throws ReasonError when the source is neither a regular local file nor a web address, and when the
    /// GStreamer packages needed for playing are not installed; see LastProblem.
    void Start(const QString& source) override;
    /// Position() stays valid until the next Start.
    void Stop() override;

    void Play();
    void Pause();
    void Seek(double seconds);
    void SetSpeed(double speed);
    /// `volume` is from 0 to 1, in proportion to the perceived loudness: 0.5 sounds half as loud.
    void SetVolume(double volume);
    /// The sound has this share, from 0 to 1, of the volume, which Volume() does not show.
    void SetFade(double share);
    /// Whether the pictures of files that are started from now on are shown. By default they are not even decoded.
    void WantVideo(bool isWanted) noexcept { FWantsVideo = isWanted; }
    /// The same for the present file only.
    void ShowVideo(bool isShown);
    bool ShowsVideo() const noexcept { return FShowsVideo; }
    /// Whether the source has pictures. False until it is open.
    bool HasVideo() const noexcept { return FHasVideo; }
    VideoFrames& Video() noexcept { return FVideo; }
    /// Whether long silence is shortened, and quiet and loud voices are made equally loud; both take effect at once.
    /// Positions are those of the file all the same. While pictures are shown, silence keeps its length, so that they
    /// stay with the sound.
    void SetShortening(bool isShortening);
    void SetLevelling(bool isLevelling);
    /// A factor of the volume, from 0.5 to 2; in the same proportion, so that 2 at half the volume is the whole volume.
    void SetGain(double factor);

    State CurrentState() const noexcept { return FState; }
    /// The last problem of the last Start and of the playback that it started.
    Problem LastProblem() const noexcept { return FProblem; }
    void ForgetProblem() noexcept { FProblem = Problem::None; }
    /// Seconds; the target of a seek that has not taken effect yet.
    double Position() const;
    /// Seconds; 0 while the duration is unknown.
    double Duration() const noexcept { return FDuration; }
    double Speed() const noexcept { return FSpeed; }
    double Volume() const noexcept { return FVolume; }

Q_SIGNALS:
    void StateChanged();
    void PositionChanged(double seconds);
    void DurationChanged(double seconds);
    /// The position has moved for the first time since Start. AudioOutput::Moved is called first.
    void Begun();
    /// The source is about to be closed; Position() is still valid.
    void Closing();
    /// The source was played to its end.
    void Ended();
    /// Playback has failed and the state is Failed. `details` may be no reason. Start and then Seek resume it at its
    /// position.
    void Failed(Problem problem, const Reason& details);
    /// HasVideo or ShowsVideo has changed.
    void VideoChanged();
    /// There is a problem, but playback goes on.
    void Warned(Problem problem);

private:
    void Open();
    GstElement* MakeFilter();
    int Flags() const;
    void UpdateShortening();
    void SetHasVideo(bool hasVideo);
    void Close();
    void Drop();
    static void OnElementAdded(GstBin* pipeline, GstBin* bin, GstElement* element, void* self);
    void ReopenThroughFile();
    void ReopenWithoutSeeking();
    void Fail(Problem problem, const Reason& details);
    void Drain();
    void Handle(GstMessage* message);
    void HandleBuffering(GstMessage* message);
    void HandleError(GstMessage* message);
    void HandleEnd();
    void NotifyMoved();
    bool HasReachedEnd();
    void OnPrerolled();
    void AskDuration();
    [[nodiscard]] bool TrySeek(double seconds);
    void SeekNow(double seconds);
    void GiveUpSeeking();
    void UpdatePipeline();
    void ApplyVolume();
    void SetState(State state);
    void Tick();
    bool IsTruncated() const;

    const QString FSink;
    VideoFrames FVideo;
    GstRef<GstElement> FPipeline, FSilence, FLevel;
    QTimer FTicker;
    State FState = State::Stopped;
    Problem FProblem = Problem::None;
    bool FWantsVideo = false, FShowsVideo = false, FHasVideo = false;
    std::atomic<bool> FSkipsVideo{false};  // pictures are dropped before they are decoded
    bool FIsShortening = false, FIsLevelling = false;
    bool FWantsPlaying = false, FIsPrerolled = false, FIsBuffering = false, FIsLocal = false;
    bool FIsThroughFile = false;  // a network stream is read through a temporary file
    bool FCanSeek = true;         // false once a seek has failed
    bool FHasPlayed = false;      // since the last seek
    bool FHasMoved = false;       // since Start
    int FTriesLeft = 0;           // of a seek that the source was not ready for
    QByteArray FUri;
    int FTicksAtEnd = 0;            // ticks at the end of the source without an end-of-stream message
    qint64 FEndPosition = 0;        // position in those ticks, in ns
    std::optional<double> FTarget;  // target of a seek that is pending or under way, in s
    // The number of the newest report of the buffer's level.
    std::optional<quint32> FBufferingNumber;
    double FPosition = 0, FDuration = 0, FSpeed = 1, FVolume = 1, FGain = 1, FFade = 1;
};

}  // namespace vexa::host
