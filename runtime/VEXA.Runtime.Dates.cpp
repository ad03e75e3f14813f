#include "VEXA.Runtime.Dates.h"

#include "VEXA.Runtime.Dates.Lenient.h"

#include <QDateTime>
#include <QTimeZone>

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstring>
#include <optional>
#include <string_view>

namespace vexa {

namespace {

constexpr double kUnixEpoch = 25569;  // 1970-01-01 as an OLE date
constexpr double kSecondsPerDay = 24 * 60 * 60;
constexpr double kMillisecondsPerDay = kSecondsPerDay * 1000;

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Whether a word begins like the name of a month or a weekday.
bool IsCalendarName(const char* word) {
    static constexpr std::string_view names =
        "jan feb mar apr may jun jul aug sep oct nov dec mon tue wed thu fri sat sun";
    const char lower[] = {static_cast<char>(word[0] | 0x20), static_cast<char>(word[1] | 0x20),
                          static_cast<char>(word[2] | 0x20)};
    return names.find(std::string_view(lower, 3)) != std::string_view::npos;
}

/// Shortens the names of months and weekdays ("September", "Sept", "Thurs") to three letters. Returns the new size.
std::size_t ShortenNames(char* text, std::size_t size) {
    std::size_t to = 0;
    for (std::size_t from = 0; from < size;) {
        std::size_t end = from;
        while (end < size && std::isalpha(static_cast<unsigned char>(text[end]))) ++end;
        const std::size_t length = std::max<std::size_t>(end - from, 1);
        const std::size_t kept = length > 3 && IsCalendarName(text + from) ? 3 : length;
        std::memmove(text + to, text + from, kept);
        to += kept;
        from += length;
    }
    return to;
}

/// Converts `text` to a spelling that curl_getdate reads: zone "+02:00" without its colon, names of three letters.
/// False when the text is not ASCII, or longer than a date can be.
bool ToCurlSpelling(QStringView text, std::array<char, 64>& out) {
    if (text.size() >= static_cast<qsizetype>(out.size())) return false;
    std::size_t size = 0;
    for (const QChar c : text) {
        if (c.unicode() >= 0x80 || c.isNull()) return false;
        out[size++] = static_cast<char>(c.unicode());
    }
    if (size > 6) {
        char* zone = out.data() + size - 6;
        if ((*zone == '+' || *zone == '-') && IsDigit(zone[1]) && IsDigit(zone[2]) && zone[3] == ':' &&
            IsDigit(zone[4]) && IsDigit(zone[5])) {
            zone[3] = zone[4];
            zone[4] = zone[5];
            --size;
        }
    }
    out[ShortenNames(out.data(), size)] = '\0';
    return true;
}

/// Reads `digits` decimal digits at `at` and moves past them; −1 when they are not all digits.
int TakeNumber(QStringView text, qsizetype& at, int digits) {
    if (at + digits > text.size()) return -1;
    int number = 0;
    for (int i = 0; i < digits; ++i) {
        const char16_t c = text[at++].unicode();
        if (c < u'0' || c > u'9') return -1;
        number = number * 10 + (c - u'0');
    }
    return number;
}

/// Reads the form in which nearly all feeds write dates: "Tue, 24 Nov 2026 06:00:00 +0100", with or without the
/// weekday, and also with the zone GMT. curl_getdate, which reads most other forms, takes ten times as long.
std::optional<double> FromUsualForm(QStringView text) {
    qsizetype at = text.size() > 5 && text[3] == u',' && text[4] == u' ' ? 5 : 0;
    const bool hasTwoDigits = at + 1 < text.size() && text[at + 1] != u' ';
    const int day = TakeNumber(text, at, hasTwoDigits ? 2 : 1);
    static constexpr QStringView months = u" Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec ";
    const qsizetype month = text.size() >= at + 5 ? months.indexOf(text.sliced(at, 5)) : -1;
    if (day < 0 || month < 0) return std::nullopt;
    at += 5;
    const int year = TakeNumber(text, at, 4);  // below 100 the century is missing: leave that to curl_getdate
    int clock[3];
    for (int i = 0; i < 3; ++i) {
        if (at >= text.size() || text[at++] != (i == 0 ? u' ' : u':')) return std::nullopt;
        clock[i] = TakeNumber(text, at, 2);
    }
    const QDate date(year, static_cast<int>(month / 4) + 1, day);
    if (year < 100 || !date.isValid() || clock[0] < 0 || clock[0] > 23 || clock[1] < 0 || clock[1] > 59 ||
        clock[2] < 0 || clock[2] > 59)
        return std::nullopt;
    const QStringView zone = text.sliced(at);
    int offset = 0;  // minutes east of Greenwich
    if (zone.size() == 6 && zone[0] == u' ' && (zone[1] == u'+' || zone[1] == u'-')) {
        qsizetype in = 2;
        const int hours = TakeNumber(zone, in, 2), minutes = TakeNumber(zone, in, 2);
        if (hours < 0 || hours > 14 || minutes < 0 || minutes > 59) return std::nullopt;
        offset = (zone[1] == u'+' ? 1 : -1) * (hours * 60 + minutes);
    } else if (zone != u" GMT") {
        return std::nullopt;
    }
    constexpr qint64 kUnixEpochJulianDay = 2440588;
    const qint64 seconds = (date.toJulianDay() - kUnixEpochJulianDay) * 24 * 60 * 60 + clock[0] * 60 * 60 +
                           (clock[1] - offset) * 60 + clock[2];
    return kUnixEpoch + static_cast<double>(seconds) / kSecondsPerDay;
}

double FromIso(QStringView text) {
    constexpr qsizetype kDateSize = 10;  // "2026-11-24"
    QString spelling = text.toString();
    // Qt would read a date without a zone as local time, and fail where the local clock skips an hour.
    if (text.size() <= kDateSize) {
        const QDate day = QDate::fromString(spelling, Qt::ISODate);
        return day.isValid() ? ToOleDate(QDateTime(day, QTime(0, 0), Qt::UTC)) : 0;
    }
    static constexpr QStringView zones = u"Zz+-";
    const QStringView time = text.sliced(kDateSize);
    if (std::none_of(time.begin(), time.end(), [](QChar c) { return zones.contains(c); })) spelling += u'Z';
    const QDateTime date = QDateTime::fromString(spelling, Qt::ISODateWithMs);
    return date.isValid() ? ToOleDate(date) : 0;
}

bool LooksIso(QStringView text) {
    return text.size() >= 8 && text[0].isDigit() && text[1].isDigit() && text[2].isDigit() && text[3].isDigit();
}

}  // namespace

double DecodeRfc822Date(const QString& text) {
    const QStringView trimmed = QStringView(text).trimmed();
    if (const auto date = FromUsualForm(trimmed)) return *date;
    if (trimmed.isEmpty()) return 0;
    const auto toDate = [](qint64 seconds) { return kUnixEpoch + static_cast<double>(seconds) / kSecondsPerDay; };
    if (LooksIso(trimmed)) {
        if (const double date = FromIso(trimmed); date != 0) return date;
    } else if (std::array<char, 64> spelling; !IsMisreadByCurl(trimmed) && ToCurlSpelling(trimmed, spelling)) {
        // Before the lenient reader, so that dates which earlier versions could read do not change.
        if (const time_t seconds = curl_getdate(spelling.data(), nullptr); seconds != -1) return toDate(seconds);
    }
    const auto seconds = DecodeLenientDate(trimmed);
    return seconds ? toDate(*seconds) : 0;
}

double DecodeIsoDate(const QString& text) {
    return FromIso(QStringView(text).trimmed());
}

double ToOleDate(const QDateTime& date) {
    return kUnixEpoch + static_cast<double>(date.toMSecsSinceEpoch()) / kMillisecondsPerDay;
}

QDateTime FromOleDate(double date) {
    // A number beyond the years that a calendar shows, or not-a-number, is not a date.
    constexpr double kMaxDays = 3'000'000;  // a little beyond the end of the year 9999
    if (!(std::abs(date) < kMaxDays)) return {};
    return QDateTime::fromMSecsSinceEpoch(std::llround((date - kUnixEpoch) * kMillisecondsPerDay), Qt::UTC);
}

QString FormatOleDate(double date, QStringView pattern) {
    const QDateTime moment = FromOleDate(date);
    if (!moment.isValid()) return FormatOleDate(0, pattern);
    const QDate day = moment.date();
    const QTime time = moment.time();
    struct Field {
        QStringView Letters;
        int Value;
    };
    const Field fields[] = {{u"yyyy", day.year()}, {u"MM", day.month()},   {u"dd", day.day()},
                            {u"hh", time.hour()},  {u"mm", time.minute()}, {u"ss", time.second()}};
    QString text;
    while (!pattern.isEmpty()) {
        qsizetype taken = 0;
        for (const auto& [letters, value] : fields) {
            if (!pattern.startsWith(letters)) continue;
            text += QString::number(value).rightJustified(letters.size(), u'0');
            taken = letters.size();
            break;
        }
        if (taken == 0) {
            text += pattern.front();
            taken = 1;
        }
        pattern = pattern.sliced(taken);
    }
    return text;
}

}  // namespace vexa
