#pragma once
// How Qt's text shows in a failed expectation.

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <ostream>

QT_BEGIN_NAMESPACE
inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QByteArray& bytes, std::ostream* out) {
    *out << '"' << bytes.left(2000).toStdString() << '"';
}
inline void PrintTo(const QStringList& list, std::ostream* out) {
    *out << '[' << list.join(u'|').toStdString() << ']';
}
QT_END_NAMESPACE
