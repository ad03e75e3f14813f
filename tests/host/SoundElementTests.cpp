// The sound's filters in pipelines of GStreamer, and what they mean for positions.

#include "PlaybackFixture.h"
#include "PlaybackMenu.h"
#include "SoundElements.h"

#include <gst/gst.h>

#include <algorithm>
#include <span>

using namespace vexa::host;
using tests::WaitUntil;

namespace {

constexpr int kRate = 8000;

/// The bytes of samples, in the order of a WAV file.
QByteArray Bytes(const std::vector<float>& samples) {
    return QByteArray(reinterpret_cast<const char*>(samples.data()), qsizetype(samples.size() * sizeof(float)));
}

/// Sound that tells the time in the file by its level: the sample at t seconds is t / 100 + 0.1. Silence falls evenly
/// from 0.003 to -0.003.
QByteArray MakeClock(const std::vector<std::pair<double, double>>& silences, double seconds, int rate = kRate) {
    std::vector<float> samples;
    for (int i = 0; i < static_cast<int>(seconds * rate); ++i) {
        const double time = static_cast<double>(i) / rate;
        double sample = time / 100 + 0.1;
        for (const auto& [begin, end] : silences)
            if (time >= begin && time < end) sample = 0.003 - 0.006 * (time - begin) / (end - begin);
        samples.push_back(static_cast<float>(sample));
    }
    return Bytes(samples);
}

/// What comes out of a pipeline.
struct Heard {
    std::vector<float> Samples;
    std::vector<std::pair<double, double>> Times;  // s: what the sample tells, and what the element says
    double End = 0;                                // running time, in s
    bool HasGap = false;                           // the running time has jumped
};

class SoundElements : public testing::Test {
protected:
    void SetUp() override {
        gst_init(nullptr, nullptr);
        RegisterSoundElements();
    }
    /// Opens the pipeline and reads it to its end. `element` is the part under test, with the name "it".
    void Open(const QByteArray& raw, const QString& element, int channels = 1) {
        const QString file = Folder.File(u"raw"_s);
        WriteWhole(file, raw);
        const QString line =
            u"filesrc blocksize=1000 location=%1 ! rawaudioparse format=pcm pcm-format=f32le "
            "sample-rate=%2 num-channels=%3 ! %4 ! audioconvert ! "
            "appsink name=sink sync=false caps=audio/x-raw,format=F32LE"_s;
        Launch(line.arg(file, QString::number(kRate), QString::number(channels), element));
    }
    void Launch(const QString& line) {
        Pipeline.reset(gst_parse_launch(line.toUtf8().constData(), nullptr));
        Sink = Part("sink");
        It = Part("it");
    }
    GstRef<GstElement> Part(const char* name) {
        return GstRef<GstElement>(gst_bin_get_by_name(GST_BIN(Pipeline.get()), name));
    }
    Heard Read() {
        Heard heard;
        gst_element_set_state(Pipeline.get(), GST_STATE_PLAYING);
        for (;;) {
            GstSample* sample = nullptr;
            g_signal_emit_by_name(Sink.get(), "pull-sample", &sample);
            if (!sample) break;
            const GstSegment* segment = gst_sample_get_segment(sample);
            GstBuffer* buffer = gst_sample_get_buffer(sample);
            const auto running = gst_segment_to_running_time(segment, GST_FORMAT_TIME, GST_BUFFER_PTS(buffer));
            const double begin = static_cast<double>(running) / GST_SECOND;
            heard.HasGap |= std::abs(begin - heard.End) > 0.025;
            heard.End = begin + static_cast<double>(GST_BUFFER_DURATION(buffer)) / GST_SECOND;
            GstMapInfo map;
            gst_buffer_map(buffer, &map, GST_MAP_READ);
            const auto* samples = reinterpret_cast<const float*>(map.data);
            const std::size_t count = map.size / sizeof(float);
            heard.Samples.insert(heard.Samples.end(), samples, samples + count);
            gint rate = 1;
            gst_structure_get_int(gst_caps_get_structure(gst_sample_get_caps(sample), 0), "rate", &rate);
            for (std::size_t i = 0; It && i < count; i += 200) {
                if (samples[i] < 0.09) continue;
                const GstClockTime time = GST_BUFFER_PTS(buffer) + i * GST_SECOND / std::size_t(rate);
                const auto position = gst_segment_to_stream_time(segment, GST_FORMAT_TIME, time);
                heard.Times.emplace_back((samples[i] - 0.1) * 100,
                                         static_cast<double>(FileTime(It.get(), gint64(position))) / GST_SECOND);
            }
            gst_buffer_unmap(buffer, &map);
            gst_sample_unref(sample);
        }
        return heard;
    }
    void TearDown() override {
        if (Pipeline) gst_element_set_state(Pipeline.get(), GST_STATE_NULL);
    }
    void Seek(double seconds, double speed) {
        gst_element_set_state(Pipeline.get(), GST_STATE_PAUSED);
        gst_element_get_state(Pipeline.get(), nullptr, nullptr, 10 * GST_SECOND);
        constexpr auto kFlags = GstSeekFlags(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_ACCURATE);
        ASSERT_TRUE(gst_element_seek(Pipeline.get(), speed, GST_FORMAT_TIME, kFlags, GST_SEEK_TYPE_SET,
                                     static_cast<gint64>(seconds * GST_SECOND), GST_SEEK_TYPE_NONE, 0));
    }

    tests::TempFolder Folder;
    GstRef<GstElement> Pipeline, Sink, It;
};

double Rms(std::span<const float> samples) {
    double sum = 0;
    for (const float sample : samples) sum += static_cast<double>(sample) * sample;
    return 10 * std::log10(sum / static_cast<double>(samples.size()));
}

TEST_F(SoundElements, SilenceGetsShorterAndPositionsStayThoseOfTheFile) {
    const QByteArray clock = MakeClock({{1, 4}, {5, 5.3}, {6, 8.5}}, 10);
    const struct {
        const char* About;
        double From, Speed, Length;
    } cases[] = {
        {"from the beginning", 0, 1, 10 - 2.75 - 2.25},
        {"after a jump into silence", 2, 1, 8 - 1.75 - 2.25},
        {"at another speed", 0, 2, (10 - 2.75 - 2.25) / 2},
        {"after a jump at another speed", 4.5, 0.5, (5.5 - 2.25) * 2},
    };
    for (const auto& [about, from, speed, length] : cases) {
        SCOPED_TRACE(about);
        Open(clock, u"vexasilence name=it active=true ! vexalevel ! scaletempo"_s);
        Seek(from, speed);
        const Heard heard = Read();
        EXPECT_NEAR(heard.End, length, 0.1);
        EXPECT_FALSE(heard.HasGap) << "the sink would wait";
        ASSERT_GT(heard.Times.size(), 20u);
        for (const auto& [told, said] : heard.Times) ASSERT_NEAR(told, said, 0.05);
        EXPECT_NEAR(heard.Times.back().first, 10, 0.2);
        if (speed != 1) continue;
        float steepest = 0;  // in silence
        for (std::size_t i = 1; i < heard.Samples.size(); ++i)
            if (std::abs(heard.Samples[i]) < 0.01 && std::abs(heard.Samples[i - 1]) < 0.01)
                steepest = std::max(steepest, std::abs(heard.Samples[i] - heard.Samples[i - 1]));
        EXPECT_LT(steepest, 0.0002) << "the seam clicks";
    }
}

TEST_F(SoundElements, WhatFollowsShortenedSilenceInAnotherFormatOrSegmentIsHeardWithoutAWait) {
    Launch(
        "appsrc name=source format=time handle-segment-change=true ! vexasilence name=it active=true ! audioconvert ! "
        "appsink name=sink sync=false");
    const auto source = Part("source");
    const auto push = [&](int rate, const QByteArray& sound, const GstSegment& segment, double at) {
        GstBuffer* buffer = gst_buffer_new_memdup(sound.constData(), gsize(sound.size()));
        GST_BUFFER_PTS(buffer) = static_cast<GstClockTime>(at * GST_SECOND);
        const QByteArray format =
            "audio/x-raw,format=F32LE,layout=interleaved,channels=1,rate=" + QByteArray::number(rate);
        GstCaps* caps = gst_caps_from_string(format.constData());
        GstSample* sample = gst_sample_new(buffer, caps, &segment, nullptr);
        GstFlowReturn result = GST_FLOW_ERROR;
        g_signal_emit_by_name(source.get(), "push-sample", sample, &result);
        EXPECT_EQ(result, GST_FLOW_OK);
        gst_sample_unref(sample);
        gst_caps_unref(caps);
        gst_buffer_unref(buffer);
    };
    GstSegment first;
    gst_segment_init(&first, GST_FORMAT_TIME);
    GstSegment second = first;  // its time stamps begin again, but it is the file's fifth second and later
    second.base = second.time = 4 * GST_SECOND;
    const QByteArray whole = MakeClock({{1, 3}, {5, 7}}, 8, 16000), part = MakeClock({{1, 3}}, 4);
    push(kRate, part.first(part.size() / 4), first, 0);
    push(kRate, part.sliced(part.size() / 4), first, 1);
    push(16000, whole.sliced(whole.size() / 2), second, 0);
    GstFlowReturn result = GST_FLOW_ERROR;
    g_signal_emit_by_name(source.get(), "end-of-stream", &result);
    const Heard heard = Read();
    EXPECT_NEAR(heard.End, 8 - 2 * 1.75, 0.05);
    EXPECT_FALSE(heard.HasGap);
    ASSERT_GE(heard.Times.size(), 4u);
    for (const auto& [told, said] : heard.Times) EXPECT_NEAR(told, said, 0.05);
}

TEST_F(SoundElements, QuietAndLoudVoicesBecomeEquallyLoudAndNothingIsClipped) {
    // Syllables of noise in both channels, four a second, a second of pauses with faint noise in between.
    std::vector<float> samples;
    unsigned random = 1;
    for (const double loudness : {0.02, 0.8, 0.12})
        for (int i = 0; i < 12 * kRate; ++i) {
            const double time = static_cast<double>(i) / kRate;
            const double syllable = time > 11 ? 0.001 : loudness * std::pow(std::sin(std::numbers::pi * 4 * time), 2);
            random = random * 1664525 + 1013904223;
            for (int channel = 0; channel < 2; ++channel)
                samples.push_back(static_cast<float>(syllable * (random / 2147483648.0 - 1)));
        }
    Open(Bytes(samples), u"vexalevel name=it active=true"_s, 2);
    const Heard heard = Read();
    ASSERT_EQ(heard.Samples.size(), samples.size());
    const double ceiling = std::pow(10.0, -1 / 20.0);
    for (const float sample : heard.Samples) ASSERT_LE(std::abs(sample), ceiling + 1e-6);
    EXPECT_LT(std::ranges::count_if(heard.Samples, [&](float sample) { return std::abs(sample) > ceiling - 1e-6; }), 10)
        << "it is clipped";
    const auto second = [&](const std::vector<float>& sound, int begin, int end) {
        return Rms(std::span(sound).subspan(std::size_t(begin) * kRate * 2, std::size_t(end - begin) * kRate * 2));
    };
    EXPECT_NEAR(second(heard.Samples, 8, 11), second(samples, 8, 11) + 12, 1) << "no more than 12 dB";
    EXPECT_NEAR(second(heard.Samples, 13, 23), -18, 2) << "a loud voice gets quieter quickly";
    EXPECT_NEAR(second(heard.Samples, 32, 35), -18, 2) << "a quiet voice gets louder";
    EXPECT_NEAR(second(heard.Samples, 35, 36) - second(samples, 35, 36),
                second(heard.Samples, 34, 35) - second(samples, 34, 35), 2)
        << "a pause changes the gain";
}

TEST_F(PlaybackTest, ShortenedSilenceIsChosenInTheMenuAndThePositionGoesOnInTheFile) {
    const QString file = Profile.File(u"a.wav"_s);
    QByteArray wav = MakeTone(14, kRate);
    std::fill_n(wav.begin() + 44 + 2 * kRate, 2 * 10 * kRate, '\0');  // from the first second to the eleventh
    WriteWhole(file, wav);
    {
        PlaybackMenu menu(Host, *Player);
        QAction* item = menu.findChild<QAction*>(u"ShortenSilence"_s);
        ASSERT_FALSE(item->isChecked());
        item->trigger();
    }
    Open();
    PlaybackMenu menu(Host, *Player);
    EXPECT_TRUE(menu.findChild<QAction*>(u"ShortenSilence"_s)->isChecked()) << "the choice is not remembered";
    double furthest = 0;
    int changes = 0;
    QObject::connect(&*Player, &Playback::PositionChanged, [&](double position) {
        if (Player->CurrentState() != State::Playing) return;
        ++changes;
        furthest = std::max(furthest, position);
    });
    Player->Play(file);
    ASSERT_TRUE(WaitUntil([&] { return !PlaybackTest::Heard.isEmpty(); }));
    EXPECT_GT(furthest, 11);
    EXPECT_LT(changes, 30) << "the silence was played";
}

}  // namespace
