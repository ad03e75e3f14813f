#pragma once
// Playback over a host with a profile of its own, and tones to play.

#include "HostFixture.h"
#include "Playback.h"
#include "Waiting.h"

#include <QDataStream>

#include <cmath>
#include <numbers>
#include <optional>

constexpr int kTone = 440;  // Hz
constexpr int kLoudest = 12000;

/// A WAV file of one tone with 16 bits per sample.
inline QByteArray MakeTone(double seconds, int rate = 8000, int channels = 1) {
    const auto frames = static_cast<qsizetype>(seconds * rate);
    const auto size = static_cast<quint32>(frames * channels * 2);
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setByteOrder(QDataStream::LittleEndian);
    out.writeRawData("RIFF", 4);
    out << quint32(36 + size);
    out.writeRawData("WAVEfmt ", 8);
    out << quint32(16) << quint16(1) << quint16(channels) << quint32(rate) << quint32(rate * channels * 2)
        << quint16(channels * 2) << quint16(16);
    out.writeRawData("data", 4);
    out << size;
    for (qsizetype i = 0; i < frames; ++i) {
        const double angle = 2 * std::numbers::pi * kTone * static_cast<double>(i) / rate;
        for (int channel = 0; channel < channels; ++channel) out << static_cast<qint16>(kLoudest * std::sin(angle));
    }
    return bytes;
}

class PlaybackTest : public HostTest {
protected:
    using State = host::Playback::State;

    void SetUp() override {
        Host.Messages().Handle(kMsgPlaybackStarted, [this](std::int32_t, void*) { return ++Started, S_OK; });
        Open();
    }
    /// Makes a new Playback, as a new start of the program does.
    void Open(const QString& sink = u"fakesink sync=true"_s) {
        Player.reset();
        Player.emplace(Host, sink);
        QObject::connect(&*Player, &host::Playback::Failed, [this](const QString& text) { Errors += text; });
        QObject::connect(&*Player, &host::Playback::Warned, [this](const QString& text) { Warnings += text; });
        QObject::connect(&*Player, &host::Playback::Skipped,
                         [this](const QString& name, const QString& why) { Skipped += name + u": " + why; });
        QObject::connect(&*Player, &host::Playback::Finished, [this](const QString& one) { Heard += one; });
    }
    QString Tone(const QString& name, double seconds) {
        const QString file = Profile.File(name);
        WriteWhole(file, MakeTone(seconds));
        return file;
    }
    bool WaitFor(State state) {
        return tests::WaitUntil([&] { return Player->CurrentState() == state; }, std::chrono::seconds(20));
    }

    bool Plays(const QString& address) {
        Player->Play(address);
        return WaitFor(State::Playing);
    }
    bool SeeksTo(double position) {
        Player->Seek(position);
        return tests::WaitUntil([&] { return Player->Position() >= position; });
    }

    std::optional<host::Playback> Player;
    QStringList Errors, Warnings, Heard, Skipped;
    int Started = 0;  // number of messages that a file plays
};
