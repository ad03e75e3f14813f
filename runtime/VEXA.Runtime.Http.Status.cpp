#include "VEXA.Runtime.Http.Status.h"

#include "VEXA.Runtime.Reasons.h"

#include <QByteArray>

namespace vexa {

namespace {

/// The table's text for a status; null when it has none.
const ReasonText* FindStatus(int status) {
    const QByteArray key = "Reasons\\Status" + QByteArray::number(status);
    for (const ReasonText& text : kRuntimeReasons)
        if (key == text.Key) return &text;
    return nullptr;
}

/// The letters of a phrase, since servers write "Not Found", "NOT FOUND" and "Gateway Time-out".
QString Letters(const QString& phrase) {
    QString letters;
    for (const QChar c : phrase)
        if (c.isLetter()) letters += c.toLower();
    return letters;
}

}  // namespace

Reason HttpStatusMeaning(int status, const QString& phrase) {
    const ReasonText* const known = FindStatus(status);
    if (known && (phrase.isEmpty() || Letters(phrase) == Letters(QString::fromLatin1(known->English))))
        return Reason(*known);
    return QString(QString::number(status) + u' ' + phrase).trimmed();
}

}  // namespace vexa
