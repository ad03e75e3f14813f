#pragma once
// Texts, files and messages in tests: printing for GoogleTest, reading and writing.

#include <QByteArray>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>

#include <ostream>
#include <stdexcept>

inline void PrintTo(const QString& text, std::ostream* out) {
    *out << QDebug::toString(text).toStdString();
}

inline QByteArray ReadWhole(const QString& fileName) {
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) throw std::runtime_error("cannot read " + fileName.toStdString());
    return file.readAll();
}

/// The message of what `work` throws; empty when it throws nothing.
template <class Work>
QString ErrorOf(Work work) {
    try {
        work();
    } catch (const std::exception& error) {
        return QString::fromUtf8(error.what());
    }
    return {};
}

/// Writes a file, and creates its folder if necessary.
inline void WriteWhole(const QString& fileName, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(fileName).path());
    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        throw std::runtime_error("cannot write " + fileName.toStdString());
}
