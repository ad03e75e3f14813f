#include "MediaOutput.h"

#include "AudioTags.h"
#include "HostReasons.h"
#include "Log.h"
#include "SoundElements.h"
#include "VEXA.Runtime.Http.Status.h"
#include "VEXA.Runtime.Reasons.h"
#include "VEXA.Runtime.Threads.h"
#include "VEXA.Runtime.Version.h"

#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <gst/gst.h>

#include <algorithm>
#include <chrono>
#include <cmath>

namespace vexa::host {

namespace {

constexpr std::chrono::milliseconds kTick{200};
constexpr int kSeekTries = 25;  // one per tick: some formats have to be read for a while before a seek works
constexpr int kTicksAtEnd = 5;
constexpr double kEndTolerance = 0.25;  // s; time-stretched sound ends a little before its duration
constexpr double kSecond = GST_SECOND;
// Flags of playbin.
constexpr int kVideo = 0x01, kAudioWithVolume = 0x02 | 0x10;  // no subtitles
constexpr int kThroughFile = 0x80;  // the stream is downloaded to a temporary file and read from there

struct FreeMessage {
    void operator()(GstMessage* message) const noexcept { gst_message_unref(message); }
};
using Message = std::unique_ptr<GstMessage, FreeMessage>;

struct FreeMemory {
    void operator()(void* memory) const noexcept { g_free(memory); }
};

struct FreeError {
    void operator()(GError* error) const noexcept { g_error_free(error); }
};
using Error = std::unique_ptr<GError, FreeError>;

QString Text(const Error& error) {
    return error ? QString::fromUtf8(error->message) : QString();
}

/// Why GStreamer cannot play; no reason when it can.
Reason StartGStreamer() {
    GError* failed = nullptr;
    const bool isStarted = gst_init_check(nullptr, nullptr, &failed);
    const Error error(failed);
    if (!isStarted) return error ? Reason(Text(error)) : Reason(HostReason("NoStart"));
    for (const char* needed : {"playbin", "autoaudiosink", "scaletempo"})
        if (!GstRef<GstElementFactory>(gst_element_factory_find(needed)))
            return Reason(HostReason("NoElement"), {QString::fromLatin1(needed)});
    RegisterSoundElements();
    return {};
}

/// Throws ReasonError when GStreamer cannot play.
void Initialize() {
    static const Reason problem = StartGStreamer();
    if (problem) throw ReasonError(problem);
}

GstRef<GstBus> BusOf(const GstRef<GstElement>& pipeline) {
    return GstRef<GstBus>(gst_element_get_bus(pipeline.get()));
}

QByteArray ToUri(const QString& source) {
    if (const QString file = LocalFileName(source); !file.isEmpty()) {
        // Regular files only: a pipe or a device would be read for ever.
        if (!QFileInfo(file).isFile()) throw ReasonError(Reason(HostReason("NoSuchFile"), {file}));
        return QUrl::fromLocalFile(file).toEncoded();
    }
    const QUrl url(source);
    if (url.scheme() != u"http" && url.scheme() != u"https")
        throw ReasonError(Reason(HostReason("NoSource"), {source}));
    return url.toEncoded();
}

/// What a server answered, or why it did not, according to an error message of a source; no reason when the message
/// does not say. GStreamer's own words are in the language of the session, not in the window's.
Reason AnswerOf(GstMessage* message) {
    // Statuses below 100 are the HTTP library's, for failed connections.
    constexpr guint kNoSuchHost = 2, kNoSuchProxy = 3, kNoConnection = 4, kNoProxyConnection = 5, kFirstFailure = 300;
    const GstStructure* details = nullptr;
    gst_message_parse_error_details(message, &details);
    guint status = 0;
    if (!details || !gst_structure_get_uint(details, "http-status-code", &status)) return {};
    switch (status) {
        case kNoSuchHost:
            return Reason(RuntimeReason("NoSuchHost"));
        case kNoSuchProxy:
            return Reason(RuntimeReason("NoSuchProxy"));
        case kNoConnection:
        case kNoProxyConnection:
            return Reason(RuntimeReason("NotReached"));
        default:
            if (status < kFirstFailure) return {};
            return Reason(RuntimeReason("Answered"), {HttpStatusMeaning(static_cast<int>(status))});
    }
}

void SetUpSource(GstElement*, GstElement* source, void*) {
    GObjectClass* type = G_OBJECT_GET_CLASS(source);
    if (g_object_class_find_property(type, "user-agent")) g_object_set(source, "user-agent", kUserAgent, nullptr);
}

bool IsMadeBy(const char* factoryName, GstObject* object) {
    GstElementFactory* factory = GST_IS_ELEMENT(object) ? gst_element_get_factory(GST_ELEMENT(object)) : nullptr;
    return factory && g_str_equal(gst_plugin_feature_get_name(GST_PLUGIN_FEATURE(factory)), factoryName);
}

}  // namespace

MediaOutput::MediaOutput(const QString& sink) : FSink(sink) {
    FTicker.setInterval(kTick);
    connect(&FTicker, &QTimer::timeout, this, &MediaOutput::Tick);
}

MediaOutput::~MediaOutput() {
    Close();
}

void MediaOutput::Start(const QString& source) {
    VEXA_ASSERT_MAIN_THREAD();
    Close();
    FPosition = FDuration = 0;
    FTarget.reset();
    FWantsPlaying = true;
    FHasMoved = false;
    FProblem = Problem::None;
    FIsLocal = !LocalFileName(source).isEmpty();
    FIsThroughFile = false;
    FCanSeek = true;
    FShowsVideo = FWantsVideo;
    FVideo.SetWanted(FShowsVideo);
    try {
        FProblem = Problem::NoPlayer;
        Initialize();
        FProblem = Problem::NotFound;
        FUri = ToUri(source);
        FProblem = Problem::None;
        Open();
    } catch (...) {
        SetState(State::Stopped);
        throw;
    }
    SetState(State::Loading);
}

void MediaOutput::Open() {
    GstElement* pipeline = gst_element_factory_make("playbin", nullptr);
    if (!pipeline) throw ReasonError(Reason(HostReason("NoElement"), {QStringLiteral("playbin")}));
    FPipeline.reset(GST_ELEMENT(gst_object_ref_sink(pipeline)));
    FSkipsVideo = false;
    g_object_set(FPipeline.get(), "uri", FUri.constData(), "flags", Flags(), "audio-filter", MakeFilter(), "video-sink",
                 FVideo.MakeSink(), nullptr);
    g_signal_connect(FPipeline.get(), "deep-element-added", G_CALLBACK(&MediaOutput::OnElementAdded), this);
    if (!FSink.isEmpty()) {
        GError* failed = nullptr;
        GstElement* sink = gst_parse_bin_from_description(FSink.toUtf8().constData(), TRUE, &failed);
        const Error error(failed);
        if (sink) g_object_set(FPipeline.get(), "audio-sink", sink, nullptr);
        if (error) qCWarning(LogHost).noquote() << "the sound's way out:" << Text(error);
    }
    g_signal_connect(FPipeline.get(), "source-setup", G_CALLBACK(SetUpSource), nullptr);
    ApplyVolume();

    // The handler is called on GStreamer's threads, which are joined before this object is destroyed.
    const GstBusSyncHandler handler = [](GstBus*, GstMessage*, void* self) {
        auto* output = static_cast<MediaOutput*>(self);
        QMetaObject::invokeMethod(output, &MediaOutput::Drain, Qt::QueuedConnection);
        return GST_BUS_PASS;
    };
    gst_bus_set_sync_handler(BusOf(FPipeline).get(), handler, this, nullptr);
    gst_element_set_state(FPipeline.get(), GST_STATE_PAUSED);  // a failure is reported as a message, too
}

/// What the sound passes on its way from the decoder to the volume. The caller owns it.
GstElement* MediaOutput::MakeFilter() {
    FSilence = MakeSoundElement("vexasilence");
    FLevel = MakeSoundElement("vexalevel");
    UpdateShortening();
    SetLevelling(FIsLevelling);
    GstElement* tempo = gst_element_factory_make("scaletempo", nullptr);
    GstElement* filter = gst_bin_new(nullptr);
    gst_bin_add_many(GST_BIN(filter), FSilence.get(), FLevel.get(), tempo, nullptr);
    gst_element_link_many(FSilence.get(), FLevel.get(), tempo, nullptr);
    const GstRef<GstPad> first(gst_element_get_static_pad(FSilence.get(), "sink"));
    const GstRef<GstPad> last(gst_element_get_static_pad(tempo, "src"));
    gst_element_add_pad(filter, gst_ghost_pad_new("sink", first.get()));
    gst_element_add_pad(filter, gst_ghost_pad_new("src", last.get()));
    return filter;
}

void MediaOutput::Close() {
    FTicker.stop();
    if (!FPipeline) return;
    FPosition = Position();
    Q_EMIT Closing();
    if (!FPipeline) return;  // a slot of Closing has closed it
    Drop();
}

void MediaOutput::Drop() {
    const GstRef<GstElement> pipeline = std::move(FPipeline);
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    gst_bus_set_sync_handler(BusOf(pipeline).get(), nullptr, nullptr, nullptr);
    FVideo.Clear();
    SetHasVideo(false);
    FIsPrerolled = FIsBuffering = FHasPlayed = false;
    FTriesLeft = FTicksAtEnd = 0;
    FBufferingNumber.reset();
}

/// Drops pictures that nobody sees before they are decoded. The first one is decoded all the same, since the source is
/// not open before its format is known. Of network streams also: GStreamer's Ogg demultiplexer (Vorbis, Opus) is
/// unreliable when it seeks in a network stream: playback hangs, or the end of the stream is reported at once. Seeks in
/// a file work. Called on GStreamer's threads, which are joined before this object is destroyed.
void MediaOutput::OnElementAdded(GstBin* pipeline, GstBin*, GstElement* element, void* self) {
    auto* output = static_cast<MediaOutput*>(self);
    GstElementFactory* factory = gst_element_get_factory(element);
    constexpr auto kVideoDecoder = GST_ELEMENT_FACTORY_TYPE_DECODER | GST_ELEMENT_FACTORY_TYPE_MEDIA_VIDEO;
    const GstRef<GstPad> input(gst_element_get_static_pad(element, "sink"));
    if (input && factory && gst_element_factory_list_is_type(factory, kVideoDecoder)) {
        const GstPadProbeCallback skip = [](GstPad*, GstPadProbeInfo*, void* owner) {
            return static_cast<MediaOutput*>(owner)->FSkipsVideo ? GST_PAD_PROBE_DROP : GST_PAD_PROBE_OK;
        };
        gst_pad_add_probe(input.get(), GST_PAD_PROBE_TYPE_BUFFER, skip, output, nullptr);
    }
    if (output->FIsLocal || output->FIsThroughFile || !IsMadeBy("oggdemux", GST_OBJECT(element))) return;
    const auto reopen = [output, pipeline = GST_ELEMENT(pipeline)] {
        if (output->FPipeline.get() == pipeline) output->ReopenThroughFile();
    };
    QMetaObject::invokeMethod(output, reopen, Qt::QueuedConnection);
}

void MediaOutput::ReopenThroughFile() {
    const bool wasPrerolled = FIsPrerolled;
    const double position = Position();
    Drop();
    if (wasPrerolled && !FTarget) FTarget = position;
    FIsThroughFile = true;
    Open();
    UpdatePipeline();
}

/// Whether a server can send parts of a file shows only when a part is asked for, and if it cannot, the stream is lost.
/// So the source is opened again, from its beginning.
void MediaOutput::ReopenWithoutSeeking() {
    Drop();
    FCanSeek = false;
    FTarget.reset();
    FPosition = 0;
    Open();
    UpdatePipeline();
    Q_EMIT Warned(Problem::NotSeekable);
}

void MediaOutput::Stop() {
    VEXA_ASSERT_MAIN_THREAD();
    Close();
    FTarget.reset();
    FWantsPlaying = false;
    SetState(State::Stopped);
}

void MediaOutput::Play() {
    VEXA_ASSERT_MAIN_THREAD();
    FWantsPlaying = true;
    UpdatePipeline();
}

void MediaOutput::Pause() {
    VEXA_ASSERT_MAIN_THREAD();
    FWantsPlaying = false;
    UpdatePipeline();
}

void MediaOutput::Seek(double seconds) {
    VEXA_ASSERT_MAIN_THREAD();
    if (!FPipeline || !std::isfinite(seconds)) return;
    if (!FCanSeek) return void(Q_EMIT Warned(Problem::NotSeekable));
    FTarget = std::max(0.0, FDuration > 0 ? std::min(seconds, FDuration) : seconds);
    if (FIsPrerolled) SeekNow(*FTarget);
    Q_EMIT PositionChanged(*FTarget);
}

void MediaOutput::SetSpeed(double speed) {
    speed = std::clamp(speed, kSlowest, kFastest);
    if (!std::isfinite(speed) || speed == FSpeed) return;
    FSpeed = speed;
    if (FPipeline && FIsPrerolled) SeekNow(Position());  // the speed takes effect only with a seek
}

void MediaOutput::SetVolume(double volume) {
    FVolume = std::isfinite(volume) ? std::clamp(volume, 0.0, 1.0) : 1;
    ApplyVolume();
}

void MediaOutput::SetGain(double factor) {
    FGain = std::isfinite(factor) ? std::clamp(factor, 0.5, 2.0) : 1;
    ApplyVolume();
}

void MediaOutput::ApplyVolume() {
    const double perceived = FVolume * FGain * FFade;
    if (FPipeline) g_object_set(FPipeline.get(), "volume", perceived * perceived * perceived, nullptr);
}

void MediaOutput::SetFade(double share) {
    if (std::exchange(FFade, std::clamp(share, 0.0, 1.0)) != share) ApplyVolume();
}

void MediaOutput::SetShortening(bool isShortening) {
    FIsShortening = isShortening;
    UpdateShortening();
}

void MediaOutput::UpdateShortening() {
    // What passes before the source is open would be missing from the sound of a video.
    const bool mayHaveVideo = FHasVideo || !FIsPrerolled;
    const bool isActive = FIsShortening && !(FShowsVideo && mayHaveVideo);
    if (FSilence) g_object_set(FSilence.get(), "active", isActive ? TRUE : FALSE, nullptr);
}

int MediaOutput::Flags() const {
    return kAudioWithVolume | (FShowsVideo ? kVideo : 0) | (FIsThroughFile ? kThroughFile : 0);
}

void MediaOutput::SetHasVideo(bool hasVideo) {
    if (std::exchange(FHasVideo, hasVideo) == hasVideo) return;
    UpdateShortening();
    Q_EMIT VideoChanged();
}

/// Playbin could switch its pictures on and off while it plays, but it locks up now and then when it does. So the
/// source is opened again.
void MediaOutput::ShowVideo(bool isShown) {
    VEXA_ASSERT_MAIN_THREAD();
    if (isShown && FHasVideo && !FCanSeek) return void(Q_EMIT Warned(Problem::NotSeekable));
    if (std::exchange(FShowsVideo, isShown) == isShown || !FPipeline) return;
    FVideo.SetWanted(isShown);
    const bool wasPrerolled = FIsPrerolled;
    if (FCanSeek && (FHasVideo || !wasPrerolled)) {
        const double position = Position();
        Drop();
        if (wasPrerolled && !FTarget) FTarget = position;
        Open();
        UpdatePipeline();
    }
    Q_EMIT VideoChanged();
}

void MediaOutput::SetLevelling(bool isLevelling) {
    FIsLevelling = isLevelling;
    if (FLevel) g_object_set(FLevel.get(), "active", isLevelling ? TRUE : FALSE, nullptr);
}

double MediaOutput::Position() const {
    if (!FPipeline) return FPosition;
    if (FTarget) return *FTarget;
    gint64 position = 0;
    if (!FIsPrerolled || !gst_element_query_position(FPipeline.get(), GST_FORMAT_TIME, &position)) return FPosition;
    const double seconds = static_cast<double>(FileTime(FSilence.get(), position)) / kSecond;
    return FDuration > 0 ? std::min(seconds, FDuration) : seconds;
}

void MediaOutput::Drain() {
    VEXA_ASSERT_MAIN_THREAD();
    while (FPipeline) {
        const Message message(gst_bus_pop(BusOf(FPipeline).get()));
        if (!message) return;
        Handle(message.get());
    }
}

void MediaOutput::Handle(GstMessage* message) {
    switch (GST_MESSAGE_TYPE(message)) {
        case GST_MESSAGE_ERROR:
            return HandleError(message);
        case GST_MESSAGE_EOS:
            return HandleEnd();
        case GST_MESSAGE_ASYNC_DONE:
            return OnPrerolled();
        case GST_MESSAGE_DURATION_CHANGED:
            return AskDuration();
        case GST_MESSAGE_WARNING: {
            GError* warning = nullptr;
            gst_message_parse_warning(message, &warning, nullptr);
            const QString text = Text(Error(warning));
            const bool isDevice = IsMadeBy("autoaudiosink", GST_MESSAGE_SRC(message));
            qCInfo(LogHost).noquote() << "playing:" << text;
            if (isDevice) Q_EMIT Warned(Problem::NoDevice);
            return;
        }
        case GST_MESSAGE_BUFFERING:
            return HandleBuffering(message);
        case GST_MESSAGE_CLOCK_LOST:
            gst_element_set_state(FPipeline.get(), GST_STATE_PAUSED);
            return UpdatePipeline();
        default:
            return;
    }
}

/// Two of GStreamer's threads report the fill level of one buffer, and the older report sometimes arrives last. Taken
/// for the present level, a "5 %" after the "100 %" would keep playback waiting for ever.
void MediaOutput::HandleBuffering(GstMessage* message) {
    const guint32 number = gst_message_get_seqnum(message);
    if (FBufferingNumber && gst_util_seqnum_compare(number, *FBufferingNumber) < 0) return;
    FBufferingNumber = number;
    gint percent = 100;
    gst_message_parse_buffering(message, &percent);
    FIsBuffering = percent < 100;
    UpdatePipeline();
}

void MediaOutput::HandleError(GstMessage* message) {
    GError* failed = nullptr;
    gchar* details = nullptr;
    gst_message_parse_error(message, &failed, &details);
    const Error error(failed);
    const std::unique_ptr<gchar, FreeMemory> debug(details);
    const QString text = Text(error);
    qCInfo(LogHost).noquote() << "playing:" << text << (debug ? debug.get() : "");
    Problem problem = Problem::Other;
    if (g_error_matches(error.get(), GST_CORE_ERROR, GST_CORE_ERROR_MISSING_PLUGIN) ||
        g_error_matches(error.get(), GST_STREAM_ERROR, GST_STREAM_ERROR_CODEC_NOT_FOUND) ||
        g_error_matches(error.get(), GST_STREAM_ERROR, GST_STREAM_ERROR_TYPE_NOT_FOUND) ||
        g_error_matches(error.get(), GST_STREAM_ERROR, GST_STREAM_ERROR_WRONG_TYPE))
        problem = Problem::NoCodec;
    else if (FIsPrerolled)
        problem = FIsLocal ? Problem::Other : Problem::BrokeOff;
    else if (error && error->domain == GST_RESOURCE_ERROR)
        problem = Problem::NotFound;
    const bool isSeek = FTarget && g_error_matches(error.get(), GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_SEEK);
    if (isSeek)
        ReopenWithoutSeeking();
    else
        Fail(problem, AnswerOf(message));
}

void MediaOutput::HandleEnd() {
    if (IsTruncated()) return Fail(Problem::BrokeOff, {});
    // In a stream of unknown duration a seek may have gone beyond the end.
    if (!FHasPlayed && FTarget.value_or(FPosition) > 0 && FDuration <= 0) return ReopenWithoutSeeking();
    FTarget.reset();
    if (FDuration > 0) FPosition = FDuration;
    FTicker.stop();
    if (FHasPlayed || FDuration > 0) NotifyMoved();  // for sources shorter than a tick
    Q_EMIT Ended();
}

void MediaOutput::NotifyMoved() {
    if (std::exchange(FHasMoved, true)) return;
    if (Moved) Moved();
    Q_EMIT Begun();
}

/// After two seeks in quick succession GStreamer occasionally loses its end-of-stream message, and a source played to
/// its last sample would seem to play for ever.
bool MediaOutput::HasReachedEnd() {
    const bool isAtEnd =
        FState == State::Playing && !FTarget && FDuration > 0 && FPosition >= FDuration - kEndTolerance;
    gint64 position = 0;  // not limited by the duration, which may be an estimate that is too short
    if (!isAtEnd || !gst_element_query_position(FPipeline.get(), GST_FORMAT_TIME, &position)) {
        FTicksAtEnd = 0;
        return false;
    }
    if (std::exchange(FEndPosition, position) != position) FTicksAtEnd = 0;
    return ++FTicksAtEnd > kTicksAtEnd;
}

/// A connection that ends too early looks like the end of the file, unless the bytes are counted.
bool MediaOutput::IsTruncated() const {
    if (FIsLocal) return false;
    GstElement* held = nullptr;
    g_object_get(FPipeline.get(), "source", &held, nullptr);
    const GstRef<GstElement> source(held);
    gint64 size = 0, read = 0;
    return source && gst_element_query_duration(source.get(), GST_FORMAT_BYTES, &size) &&
           gst_element_query_position(source.get(), GST_FORMAT_BYTES, &read) && size > 0 && read < size;
}

void MediaOutput::Fail(Problem problem, const Reason& details) {
    FPosition = Position();
    FTarget.reset();
    Close();
    FProblem = problem;
    SetState(State::Failed);
    Q_EMIT Failed(problem, details);
}

void MediaOutput::OnPrerolled() {
    AskDuration();
    const bool isFirst = !std::exchange(FIsPrerolled, true);
    if (isFirst) {
        gint videos = 0;
        g_object_get(FPipeline.get(), "n-video", &videos, nullptr);
        FSkipsVideo = !FShowsVideo;
        SetHasVideo(videos > 0);
        UpdateShortening();
    }
    if (isFirst && FCanSeek && (FTarget || FSpeed != 1)) {
        const double target = FTarget.value_or(0);
        if (TrySeek(target)) return;
        FTarget = target;
        FTriesLeft = kSeekTries;
        g_object_set(FPipeline.get(), "mute", TRUE, nullptr);
        return UpdatePipeline();
    }
    if (FTriesLeft > 0) return;
    if (FTarget) FPosition = *FTarget;
    FTarget.reset();
    UpdatePipeline();
    Tick();
}

void MediaOutput::AskDuration() {
    gint64 duration = 0;
    if (!gst_element_query_duration(FPipeline.get(), GST_FORMAT_TIME, &duration) || duration <= 0) return;
    const double seconds = static_cast<double>(duration) / kSecond;
    if (seconds == FDuration) return;
    FDuration = seconds;
    Q_EMIT DurationChanged(FDuration);
}

bool MediaOutput::TrySeek(double seconds) {
    // Seek exactly in local files; over the network that might mean reading everything before the target.
    const auto flags = static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | (FIsLocal ? GST_SEEK_FLAG_ACCURATE : 0));
    FTarget = seconds;
    FHasPlayed = false;
    const auto position = static_cast<gint64>(std::llround(seconds * kSecond));
    return gst_element_seek(FPipeline.get(), FSpeed, GST_FORMAT_TIME, flags, GST_SEEK_TYPE_SET, position,
                            GST_SEEK_TYPE_NONE, 0);
}

void MediaOutput::SeekNow(double seconds) {
    if (!TrySeek(seconds) && FTriesLeft == 0) GiveUpSeeking();
}

void MediaOutput::GiveUpSeeking() {
    FTarget.reset();
    g_object_set(FPipeline.get(), "mute", FALSE, nullptr);
    UpdatePipeline();
    Q_EMIT Warned(Problem::NotSeekable);
}

void MediaOutput::UpdatePipeline() {
    if (!FPipeline) return;
    const bool canPlay = FIsPrerolled && !FIsBuffering;
    gst_element_set_state(FPipeline.get(), canPlay && FWantsPlaying ? GST_STATE_PLAYING : GST_STATE_PAUSED);
    if (!FWantsPlaying)
        SetState(State::Paused);
    else
        SetState(canPlay ? State::Playing : State::Loading);
}

void MediaOutput::SetState(State state) {
    if (state == State::Playing)
        FTicker.start();
    else
        FTicker.stop();
    if (std::exchange(FState, state) != state) Q_EMIT StateChanged();
}

void MediaOutput::Tick() {
    if (FTriesLeft > 0) {
        --FTriesLeft;
        if (TrySeek(*FTarget)) {
            FTriesLeft = 0;
            g_object_set(FPipeline.get(), "mute", FALSE, nullptr);
        } else if (FTriesLeft == 0) {
            GiveUpSeeking();
        }
        return;
    }
    const double before = std::exchange(FPosition, Position());
    if (FHasPlayed && FPosition > before) NotifyMoved();
    FHasPlayed = FHasPlayed || (FIsPrerolled && !FTarget);
    if (HasReachedEnd()) return HandleEnd();
    Q_EMIT PositionChanged(FPosition);
}

}  // namespace vexa::host
