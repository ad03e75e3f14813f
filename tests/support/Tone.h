#pragma once
// Sound to play.

#include <QByteArray>
#include <QDataStream>

#include <cmath>
#include <numbers>

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
