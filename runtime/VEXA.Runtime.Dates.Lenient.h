#pragma once
// Dates written with the words of many languages. Part of VEXA.Runtime.Dates.

#include <QStringView>

#include <optional>

namespace vexa {

/// Reads a date as people and programs write it when they do not follow RFC 822, and returns it as seconds since 1970.
/// Accepts the names of months and days in English, German, French, Spanish, Italian, Portuguese, Dutch, Polish and
/// Russian, whole or shortened; AM and PM; zones by abbreviation, as an offset ("+02:00", "GMT+2"), or by name
/// ("America/New_York"); the orders "24 Nov 2026", "Nov 24 2026", "2026-11-24", and "11/24/2026" where AM or PM shows
/// that the date is American. A date without a zone, or with an unknown zone (RFC 2822, 4.3), is read as UTC. Returns
/// nothing when `text` is not a date.
std::optional<qint64> DecodeLenientDate(QStringView text);

/// Whether curl_getdate would read this date, but with the wrong result: it skips the number of "GMT+2", and takes
/// "a.m." and some abbreviations for zones that no author means by them.
bool IsMisreadByCurl(QStringView text);

}  // namespace vexa
