#pragma once
// What makes the player's sound: GStreamer's playbin, with the pitch kept at every speed. The toolkit's own media
// player is not used, because at another speed than 1 it changes the pitch. Main thread.
//
//     auto output = std::make_unique<MediaOutput>();
//     output->Start(source);      // begins to open it, and plays as soon as there is something to hear
//     output->Seek(1234.5);       // at any time: what comes before the source is open is done when it is
//     output->SetSpeed(1.5);

#include "Player.h"

#include <QObject>
#include <QTimer>

#include <memory>
#include <optional>

using GstElement = struct _GstElement;
using GstMessage = struct _GstMessage;

namespace vexa::host {

struct FreeGstObject {
    void operator()(void* object) const noexcept;
};
/// A reference to an object of GStreamer's.
template <class Object>
using GstRef = std::unique_ptr<Object, FreeGstObject>;

class MediaOutput final : public QObject, public AudioOutput {
    Q_OBJECT
public:
    enum class State { Stopped, Loading, Playing, Paused, Failed };
    /// Why it stopped playing, or plays otherwise than it should.
    enum class Problem { None, NoPlayer, NoCodec, NotFound, BrokeOff, Other, NoDevice, NotSeekable };

    static constexpr double kSlowest = 0.5, kFastest = 3;

    /// `sink` is where the sound goes, in the notation of gst-launch; empty: to the desktop's sound device, or where
    /// there is none, nowhere at the speed of sound.
    explicit MediaOutput(const QString& sink = {});
    ~MediaOutput() override;

    /// Throws std::runtime_error for what is neither a regular local file nor a web address, and when the packages that
    /// play are not installed; see LastProblem.
    void Start(const QString& source) override;
    /// The position stays known until the next Start.
    void Stop() override;

    void Play();
    void Pause();
    void Seek(double seconds);
    void SetSpeed(double speed);
    /// From 0 to 1, as loud as it sounds: a half is half as loud.
    void SetVolume(double volume);

    State TheState() const noexcept { return FState; }
    /// Of the last Start, and of what it started.
    Problem LastProblem() const noexcept { return FProblem; }
    void ForgetProblem() noexcept { FProblem = Problem::None; }
    double Position() const;
    /// Seconds; 0 while it is not known.
    double Duration() const noexcept { return FDuration; }
    double Speed() const noexcept { return FSpeed; }
    double Volume() const noexcept { return FVolume; }

Q_SIGNALS:
    void StateChanged();
    void PositionChanged(double seconds);
    void DurationChanged(double seconds);
    /// What played is being let go of; its position is still right.
    void Closing();
    /// It played to its end.
    void Ended();
    /// The state is Failed. Another Start with a Seek goes on from where it was.
    void Failed(Problem problem, const QString& details);
    /// It plays on.
    void Warned(Problem problem, const QString& details);

private:
    void Open();
    void Close();
    void Drop();
    void ReopenWithoutSeeking();
    void Fail(Problem problem, const QString& details);
    void Drain();
    void Handle(GstMessage* message);
    void HandleError(GstMessage* message);
    void HandleEnd();
    bool StandsAtItsEnd();
    void Prerolled();
    void AskDuration();
    [[nodiscard]] bool TrySeek(double seconds);
    void SeekNow(double seconds);
    void GiveUpSeeking();
    void Apply();
    void SetState(State state);
    void Tick();
    bool IsShortOfItsSize() const;

    const QString FSink;
    GstRef<GstElement> FPipeline;
    QTimer FTicker;
    State FState = State::Stopped;
    Problem FProblem = Problem::None;
    bool FWantsPlaying = false, FIsPrerolled = false, FIsBuffering = false, FIsLocal = false;
    bool FCanSeek = true;     // as far as is known
    bool FHasPlayed = false;  // since it was sought last
    int FTriesLeft = 0;       // of a seek that the source is not ready for
    QByteArray FUri;
    int FTicksAtEnd = 0;            // without a word of the end
    qint64 FEndPosition = 0;        // of the sound in those ticks, in ns
    std::optional<double> FTarget;  // where a seek that is under way, or is to come, leads
    double FPosition = 0, FDuration = 0, FSpeed = 1, FVolume = 1;
};

}  // namespace vexa::host
