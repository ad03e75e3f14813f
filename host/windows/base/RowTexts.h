#pragma once
// Values of rows as a person reads them. Any thread, but for the locale, which the main thread sets.

#include <QLocale>
#include <QString>

namespace vexa::host {

/// "1:02:03", or "2:03" below an hour.
QString TimeText(double seconds);
/// The same, rounded; empty when it is unknown.
QString ShownDuration(double seconds);
/// An OLE Automation date in UTC, in the user's zone; empty for none. Short, as a column shows it, or with the time.
QString ShownDate(double date);
QString ShownDateTime(double date);

/// The locale of a language by its English name ("German"): the system's own when that speaks it.
QLocale LocaleOf(const QString& language);

}  // namespace vexa::host
