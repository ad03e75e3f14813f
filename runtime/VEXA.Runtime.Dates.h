#pragma once
// Dates as the system keeps them: OLE Automation dates, days since 1899-12-30 00:00 as a double, in UTC.

#include "VEXA.Runtime.Export.h"

#include <QString>
#include <QStringView>

class QDateTime;

namespace vexa {

/// An RFC 822 date-time (RFC 2822, 3.3), and the variations that real feeds show: any letter case, missing weekday or
/// seconds, ISO 8601 forms, names of months and days in other languages, AM and PM, more zones (docs/feeds.md lists
/// them). Without a zone it counts as UTC. 0 when unreadable.
VEXA_RUNTIME_API double DecodeRfc822Date(const QString& text);

/// An XML date-time (ISO 8601). Without a zone it counts as UTC. 0 when unreadable.
VEXA_RUNTIME_API double DecodeIsoDate(const QString& text);

/// The civil date and time (in UTC) of an OLE date, rounded to milliseconds; invalid when out of range.
VEXA_RUNTIME_API QDateTime FromOleDate(double date);
VEXA_RUNTIME_API double ToOleDate(const QDateTime& date);

/// Formats with the pattern letters yyyy MM dd hh mm ss (24-hour); everything else is literal.
VEXA_RUNTIME_API QString FormatOleDate(double date, QStringView pattern);

}  // namespace vexa
