#pragma once
// Texts and files in tests: printing for GoogleTest, reading and writing.

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

/// Writes a file, and creates its folder if necessary.
inline void WriteWhole(const QString& fileName, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(fileName).path());
    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        throw std::runtime_error("cannot write " + fileName.toStdString());
}
