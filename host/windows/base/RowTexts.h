#pragma once
// Values of rows as text for users. Any thread; the locale used is QLocale's default, which the main thread sets.

#include <QLocale>
#include <QString>

namespace vexa::host {

/// "1:02:03", or "2:03" below an hour.
QString TimeText(double seconds);
/// The same, rounded; empty when the duration is unknown.
QString ShownDuration(double seconds);
/// An OLE Automation date in UTC as text in the user's time zone, as the short date of a column, or with the time.
/// Empty for 0 and for invalid dates.
QString ShownDate(double date);
QString ShownDateTime(double date);
/// The same as ShownDate, but with the given words for today and yesterday, and "19 Nov" for a day of the last months.
QString DayText(double date, const QString& today, const QString& yesterday);

/// The locale of a language, given by its English name ("German"): the system's locale if it has that language.
QLocale LocaleOf(const QString& language);
/// The language's name in the language itself ("Deutsch"), for those who read no other; the given name if it is not
/// known.
QString OwnNameOf(const QString& language);

}  // namespace vexa::host
