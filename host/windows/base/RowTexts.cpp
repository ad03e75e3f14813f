#include "RowTexts.h"

#include "VEXA.Runtime.Dates.h"

#include <QDateTime>
#include <QRegularExpression>

#include <cmath>

namespace vexa::host {

namespace {

constexpr qint64 kDaysWithoutYear = 300;  // a day and a month name no other day so soon
constexpr double kLongest = 1e9;          // seconds; a longer duration is an error of the feed

QDateTime Local(double date) {
    const QDateTime utc = date != 0 ? FromOleDate(date) : QDateTime();
    return utc.isValid() ? utc.toLocalTime() : utc;
}

}  // namespace

QString TimeText(double seconds) {
    const auto whole = static_cast<qint64>(std::isfinite(seconds) && seconds > 0 ? seconds : 0);
    const auto two = [](qint64 number) { return QString(QString::number(number).rightJustified(2, u'0')); };
    if (whole < 3600) return QString::number(whole / 60) + u':' + two(whole % 60);
    return QString::number(whole / 3600) + u':' + two(whole / 60 % 60) + u':' + two(whole % 60);
}

QString ShownDuration(double seconds) {
    if (!(seconds >= 0.5) || seconds > kLongest) return {};
    return TimeText(std::round(seconds));
}

QString ShownDate(double date) {
    const QDateTime local = Local(date);
    if (!local.isValid()) return {};
    // Four digits for the year, because rows can be old.
    QString format = QLocale().dateFormat(QLocale::ShortFormat);
    if (!format.contains(u"yyyy")) format.replace(QStringLiteral("yy"), QStringLiteral("yyyy"));
    return QLocale().toString(local.date(), format);
}

QString DayText(double date, const QString& today, const QString& yesterday) {
    const QDateTime local = Local(date);
    const qint64 days = local.isValid() ? local.date().daysTo(QDate::currentDate()) : -1;
    if (days == 0) return today;
    if (days == 1) return yesterday;
    // Day and month stand together in the locale's long format, which names the weekday and the year around them.
    static const QRegularExpression dayAndMonth(QStringLiteral("(?<!d)d{1,2}[^dMy']*MMMM|MMMM[^dMy']*d{1,2}(?!d)"));
    const auto found = dayAndMonth.match(QLocale().dateFormat(QLocale::LongFormat));
    if (days < 0 || days > kDaysWithoutYear || !found.hasMatch()) return ShownDate(date);
    return QLocale().toString(local.date(), found.captured().replace(QStringLiteral("MMMM"), QStringLiteral("MMM")));
}

QString ShownDateTime(double date) {
    const QDateTime local = Local(date);
    if (!local.isValid()) return {};
    return QString(QLocale().toString(local.date(), QLocale::LongFormat) + u", " +
                   QLocale().toString(local.time(), QLocale::ShortFormat));
}

namespace {

/// AnyLanguage when there is no language of that English name.
QLocale::Language LanguageNamed(const QString& name) {
    for (int i = QLocale::AnyLanguage + 1; i <= QLocale::LastLanguage; ++i)
        if (const auto known = static_cast<QLocale::Language>(i); QLocale::languageToString(known) == name)
            return known;
    return QLocale::AnyLanguage;
}

}  // namespace

QLocale LocaleOf(const QString& language) {
    const QLocale system = QLocale::system();
    const QLocale::Language known = LanguageNamed(language);
    return known == QLocale::AnyLanguage || known == system.language() ? system : QLocale(known);
}

QString OwnNameOf(const QString& language) {
    const QLocale::Language known = LanguageNamed(language);
    // Of the world, since a language's name may be that of a country's variant: "American English".
    const QLocale locale(known, QLocale::World);
    QString name = known == QLocale::AnyLanguage ? QString() : locale.nativeLanguageName();
    if (name.isEmpty()) return language;
    return locale.toUpper(name.left(1)) + name.mid(1);
}

}  // namespace vexa::host
