#pragma once
// Dates as they are stored everywhere in the system: OLE Automation dates, days since 1899-12-30 00:00 UTC as a double.

#include "VEXA.Runtime.Export.h"

#include <QString>
#include <QStringView>

class QDateTime;

namespace vexa {

/// Reads an RFC 822 date-time (RFC 2822, 3.3), with the variations found in real feeds: any letter case, missing
/// weekday or seconds, ISO 8601 forms, names of months and days in other languages, AM and PM, more zones
/// (docs/feeds.md lists them). A date without a zone is UTC. Returns 0 for unreadable text.
VEXA_RUNTIME_API double DecodeRfc822Date(const QString& text);

/// Reads an XML date-time (ISO 8601). A date without a zone is UTC. Returns 0 for unreadable text.
VEXA_RUNTIME_API double DecodeIsoDate(const QString& text);

/// The civil date and time (in UTC) of an OLE date, rounded to milliseconds; invalid when out of range.
VEXA_RUNTIME_API QDateTime FromOleDate(double date);
VEXA_RUNTIME_API double ToOleDate(const QDateTime& date);

/// Formats a date by a pattern of yyyy MM dd hh mm ss (24-hour clock); all other characters are literal.
VEXA_RUNTIME_API QString FormatOleDate(double date, QStringView pattern);

}  // namespace vexa
