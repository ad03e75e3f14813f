#pragma once
// Dates in the words of many languages. Part of VEXA.Runtime.Dates.

#include <QStringView>

#include <optional>

namespace vexa {

/// Seconds since 1970 of a date as people and programs write it when they do not keep to RFC 822: the names of months
/// and days in English, German, French, Spanish, Italian, Portuguese, Dutch, Polish and Russian, whole or shortened; AM
/// and PM; zones by abbreviation, as an offset ("+02:00", "GMT+2"), or by name ("America/New_York"); the orders
/// "24 Nov 2026", "Nov 24 2026", "2026-11-24", and "11/24/2026" where AM or PM shows that it is American. Without a
/// zone it counts as UTC, and so it does with a zone that nobody knows (RFC 2822, 4.3). Nothing when it is no date.
std::optional<qint64> DecodeLenientDate(QStringView text);

/// Whether curl_getdate would read this date, but as another moment: it skips the number of "GMT+2", and takes "a.m."
/// and some abbreviations for zones that nobody means by them.
bool IsMisreadByCurl(QStringView text);

}  // namespace vexa
