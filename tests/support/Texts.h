#pragma once
// Texts and files in tests: how GoogleTest shows them, and how they are read and written.

#include <QByteArray>
#include <QFile>
#include <QString>

#include <ostream>
#include <stdexcept>

inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"';
    for (const QChar c : text) {
        if (c.isPrint() && c < u'\u0080')
            *out << static_cast<char>(c.unicode());
        else
            *out << "\\u" << std::hex << int(c.unicode()) << std::dec << ' ';
    }
    *out << '"';
}

inline QByteArray ReadWhole(const QString& fileName) {
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) throw std::runtime_error("cannot read " + fileName.toStdString());
    return file.readAll();
}

inline void WriteWhole(const QString& fileName, const QByteArray& bytes) {
    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        throw std::runtime_error("cannot write " + fileName.toStdString());
}
