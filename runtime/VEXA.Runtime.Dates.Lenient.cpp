#include "VEXA.Runtime.Dates.Lenient.h"

#include <QDate>
#include <QString>

#include <unicode/ucal.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace vexa {

namespace {

constexpr qint64 kSecondsPerDay = 24 * 60 * 60;
constexpr qint64 kUnixEpochJulianDay = 2440588;
constexpr qsizetype kMaxDateLength = 100;  // characters; no date is longer

/// The beginnings of the names of months, in small letters and without accents.
constexpr std::pair<QStringView, int> kMonthStems[] = {
    {u"jan", 0},  {u"ene", 0},  {u"gen", 0},  {u"sty", 0},  {u"янв", 0},                             //
    {u"feb", 1},  {u"fev", 1},  {u"lut", 1},  {u"фев", 1},                                           //
    {u"mar", 2},  {u"mrz", 2},  {u"mrt", 2},  {u"maa", 2},  {u"mae", 2},  {u"мар", 2},               //
    {u"apr", 3},  {u"abr", 3},  {u"avr", 3},  {u"kwi", 3},  {u"апр", 3},                             //
    {u"may", 4},  {u"mai", 4},  {u"mag", 4},  {u"mei", 4},  {u"maj", 4},  {u"мая", 4}, {u"маи", 4},  //
    {u"jun", 5},  {u"juin", 5}, {u"giu", 5},  {u"cze", 5},  {u"июн", 5},                             //
    {u"jul", 6},  {u"juil", 6}, {u"lug", 6},  {u"lip", 6},  {u"июл", 6},                             //
    {u"aug", 7},  {u"aou", 7},  {u"ago", 7},  {u"sie", 7},  {u"авг", 7},                             //
    {u"sep", 8},  {u"set", 8},  {u"wrz", 8},  {u"сен", 8},                                           //
    {u"oct", 9},  {u"okt", 9},  {u"ott", 9},  {u"out", 9},  {u"paz", 9},  {u"окт", 9},               //
    {u"nov", 10}, {u"lis", 10}, {u"ноя", 10},                                                        //
    {u"dec", 11}, {u"dez", 11}, {u"dic", 11}, {u"gru", 11}, {u"дек", 11},
};

/// The beginnings of the names of weekdays.
constexpr QStringView kDayStems[] = {
    u"mon", u"tue", u"wed", u"thu", u"fri", u"sat", u"sun",                                      // English
    u"mo",  u"di",  u"mi",  u"do",  u"fr",  u"sa",  u"so",                                       // German
    u"lun", u"mar", u"mer", u"jeu", u"ven", u"sam", u"dim",                                      // French
    u"mie", u"jue", u"vie", u"sab", u"dom",                                                      // Spanish
    u"gio",                                                                                      // Italian
    u"seg", u"ter", u"qua", u"qui", u"sex",                                                      // Portuguese
    u"ma",  u"wo",  u"vr",  u"za",  u"zo",                                                       // Dutch
    u"pon", u"wt",  u"sr",  u"czw", u"pt",  u"pia", u"sob", u"nie", u"nd",                       // Polish
    u"по",  u"пн",  u"вт",  u"ср",  u"че",  u"чт",  u"пя",  u"пт",  u"су", u"сб", u"во", u"вс",  // Russian
};

/// Words between the parts of a date: "24 de noviembre de 2026 a las 06:00", "um 6:00 Uhr".
constexpr QStringView kFillers[] = {u"de",   u"del", u"di",   u"do",   u"of", u"um",   u"uhr", u"at",
                                    u"a",    u"las", u"alle", u"ore",  u"om", u"uur",  u"as",  u"o",
                                    u"godz", u"в",   u"г",    u"года", u"r",  u"roku", u"h"};

struct Zone {
    std::string_view Name;
    int Minutes;
};
/// Zones by abbreviation, in minutes east of Greenwich. If an abbreviation stands for several zones, it is read as the
/// one with the largest population.
constexpr Zone kZones[] = {
    {"ACDT", 630},  {"ACST", 570},  {"ADT", -180}, {"AEDT", 660},  {"AEST", 600}, {"AFT", 270},   {"AKDT", -480},
    {"AKST", -540}, {"ALMT", 300},  {"AMT", -240}, {"ART", -180},  {"AST", -240}, {"AWST", 480},  {"AZOST", 0},
    {"AZOT", -60},  {"AZT", 240},   {"BDT", 360},  {"BNT", 480},   {"BOT", -240}, {"BRST", -120}, {"BRT", -180},
    {"BST", 60},    {"BTT", 360},   {"CAT", 120},  {"CDT", -300},  {"CEST", 120}, {"CET", 60},    {"CHAST", 765},
    {"CHST", 600},  {"CLST", -180}, {"CLT", -240}, {"COT", -300},  {"CST", -360}, {"CVT", -60},   {"EAT", 180},
    {"ECT", -300},  {"EDT", -240},  {"EEST", 180}, {"EET", 120},   {"EST", -300}, {"FJT", 720},   {"FNT", -120},
    {"GALT", -360}, {"GET", 240},   {"GFT", -180}, {"GMT", 0},     {"GST", 240},  {"GYT", -240},  {"HDT", -540},
    {"HKT", 480},   {"HST", -600},  {"ICT", 420},  {"IDT", 180},   {"IRKT", 480}, {"IRST", 210},  {"IST", 330},
    {"JST", 540},   {"KGT", 360},   {"KRAT", 420}, {"KST", 540},   {"MAGT", 660}, {"MDT", -360},  {"MESZ", 120},
    {"MEST", 120},  {"MET", 60},    {"MEZ", 60},   {"MMT", 390},   {"MSD", 240},  {"MSK", 180},   {"MST", -420},
    {"MUT", 240},   {"MVT", 300},   {"MYT", 480},  {"NDT", -150},  {"NOVT", 420}, {"NPT", 345},   {"NST", -210},
    {"NZDT", 780},  {"NZST", 720},  {"OMST", 360}, {"PDT", -420},  {"PET", -300}, {"PETT", 720},  {"PGT", 600},
    {"PHT", 480},   {"PKT", 300},   {"PST", -480}, {"PYST", -180}, {"PYT", -240}, {"RET", 240},   {"SAKT", 660},
    {"SAMT", 240},  {"SAST", 120},  {"SCT", 240},  {"SGT", 480},   {"SLST", 330}, {"SRT", -180},  {"SST", -660},
    {"TJT", 300},   {"TMT", 300},   {"TRT", 180},  {"ULAT", 480},  {"UT", 0},     {"UTC", 0},     {"UYT", -180},
    {"UZT", 300},   {"VET", -240},  {"VLAT", 600}, {"WAST", 120},  {"WAT", 60},   {"WEST", 60},   {"WET", 0},
    {"WIB", 420},   {"WIT", 540},   {"WITA", 480}, {"YAKT", 540},  {"YEKT", 300}, {"Z", 0},
};

template <class Table, class Member>
auto FindStem(const Table& table, QStringView word, Member member) {
    return std::find_if(std::begin(table), std::end(table),
                        [&](const auto& entry) { return word.startsWith(std::invoke(member, entry)); });
}

/// `word` in small letters and without accents: both "März" and "MARZ" become "marz".
QString Folded(QStringView word) {
    QString folded;
    for (const QChar c : word.toString().normalized(QString::NormalizationForm_D))
        if (c.category() != QChar::Mark_NonSpacing) folded += c.toLower();
    return folded;
}

const Zone* FindZone(QStringView word) {
    const auto found = std::find_if(std::begin(kZones), std::end(kZones), [&](const Zone& zone) {
        const QLatin1StringView name(zone.Name.data(), static_cast<qsizetype>(zone.Name.size()));
        return word.compare(name, Qt::CaseInsensitive) == 0;
    });
    return found == std::end(kZones) ? nullptr : found;
}

/// The offset of a zone of the tz database at a local time, in minutes east of Greenwich; nothing when there is no zone
/// of that name.
std::optional<int> OffsetAt(const QString& zone, const QDate& day, int hour, int minute) {
    const auto* id = reinterpret_cast<const UChar*>(zone.utf16());
    const auto length = static_cast<std::int32_t>(zone.size());
    UErrorCode status = U_ZERO_ERROR;
    UChar canonical[128];
    ucal_getCanonicalTimeZoneID(id, length, canonical, std::size(canonical), nullptr, &status);
    if (U_FAILURE(status)) return std::nullopt;
    UCalendar* const calendar = ucal_open(id, length, "en", UCAL_GREGORIAN, &status);
    if (U_FAILURE(status)) return std::nullopt;
    ucal_setDateTime(calendar, day.year(), day.month() - 1, day.day(), hour, minute, 0, &status);
    const int milliseconds =
        ucal_get(calendar, UCAL_ZONE_OFFSET, &status) + ucal_get(calendar, UCAL_DST_OFFSET, &status);
    ucal_close(calendar);
    if (U_FAILURE(status)) return std::nullopt;
    return milliseconds / (60 * 1000);
}

/// Reads a date from left to right; its parts may come in any unambiguous order.
class Reader {
public:
    explicit Reader(QStringView text) : FText(text) {}

    std::optional<qint64> Read() {
        while (FAt < FText.size())
            if (!TakeNext()) return std::nullopt;
        return Moment();
    }

private:
    bool TakeNext() {
        const QChar c = FText[FAt];
        if (IsDigit(c)) return TakeNumber();
        if (c.isLetter()) return TakeWord();
        if ((c == u'+' || c == u'-') && FHour >= 0 && !FHasOffset) return TakeOffset();
        ++FAt;
        return c.isSpace() || QStringView(u",.;-()").contains(c);
    }

    static bool IsDigit(QChar c) { return c >= u'0' && c <= u'9'; }
    bool IsAt(char16_t c) const { return FAt < FText.size() && FText[FAt] == c; }

    /// Reads digits; −1 when there are fewer than `least` or more than `most`.
    int Digits(int least, int most) {
        int number = 0, count = 0;
        for (; FAt < FText.size() && IsDigit(FText[FAt]); ++FAt, ++count) {
            if (count == most) return -1;
            number = number * 10 + (FText[FAt].unicode() - u'0');
        }
        return count < least ? -1 : number;
    }

    bool TakeNumber() {
        const qsizetype begin = FAt;
        const int number = Digits(1, 4);
        const qsizetype digits = FAt - begin;
        if (number < 0) return false;
        if (IsAt(u':')) return digits <= 2 && FHour < 0 && TakeTime(number);
        if (digits == 4 && FYear < 0 && FMonth < 0 && (IsAt(u'-') || IsAt(u'/'))) return TakeYearMonthDay(number);
        if (digits <= 2 && FDay < 0 && IsAt(u'/')) return TakeAmericanDate(number);
        if (digits <= 2 && FDay < 0) {
            FDay = number;
        } else if (FYear < 0 && (digits == 4 || digits == 2)) {
            constexpr int kPivot = 70;  // for years without a century, as in curl_getdate
            FYear = digits == 4 ? number : number + (number < kPivot ? 2000 : 1900);
        } else {
            return false;
        }
        return true;
    }

    bool TakeTime(int hour) {
        ++FAt;
        FHour = hour;
        FMinute = Digits(2, 2);
        if (FMinute < 0 || !IsAt(u':')) return FMinute >= 0;
        ++FAt;
        FSecond = Digits(2, 2);
        if (!IsAt(u'.')) return FSecond >= 0;
        ++FAt;
        return FSecond >= 0 && Digits(0, 9) >= 0;  // skip fractions of a second
    }

    bool TakeYearMonthDay(int year) {
        const QChar delimiter = FText[FAt++];
        FYear = year;
        FMonth = Digits(1, 2) - 1;
        if (FMonth < 0 || !IsAt(delimiter.unicode())) return false;
        ++FAt;
        FDay = Digits(1, 2);
        if (IsAt(u'T')) ++FAt;
        return FDay >= 0;
    }

    bool TakeAmericanDate(int month) {
        ++FAt;
        FMonth = month - 1;
        FDay = Digits(1, 2);
        if (FMonth < 0 || FDay < 0 || !IsAt(u'/')) return false;
        ++FAt;
        FYear = Digits(4, 4);
        FIsAmerican = true;
        return FYear >= 0;
    }

    bool TakeOffset() {
        const int sign = FText[FAt++] == u'-' ? -1 : 1;
        const qsizetype begin = FAt;
        int hours = Digits(1, 4), minutes = 0;
        if (FAt - begin > 2) {
            minutes = hours % 100;
            hours /= 100;
        } else if (IsAt(u':')) {
            ++FAt;
            minutes = Digits(2, 2);
        }
        FHasOffset = true;
        FOffset = sign * (hours * 60 + minutes);
        return hours >= 0 && hours <= 14 && minutes >= 0 && minutes < 60;
    }

    bool TakeWord() {
        if (TakeHalfOfDay()) return true;
        const qsizetype begin = FAt;
        const auto isPart = [](QChar c) { return c.isLetter() || c.isMark(); };
        while (FAt < FText.size() && isPart(FText[FAt])) ++FAt;
        if (IsAt(u'/')) return TakeZoneName(begin);
        const QStringView word = FText.sliced(begin, FAt - begin);
        const QString folded = Folded(word);
        if (const auto month = FindStem(kMonthStems, folded, &std::pair<QStringView, int>::first);
            month != std::end(kMonthStems)) {
            FMonth = month->second;  // the last such word counts: "mar., 24 nov." is a Tuesday in November
            return true;
        }
        if (const Zone* zone = FHour >= 0 ? FindZone(word) : nullptr) {
            FOffset = zone->Minutes;
            return true;
        }
        if (std::find(std::begin(kFillers), std::end(kFillers), folded) != std::end(kFillers)) return true;
        if (FindStem(kDayStems, folded, std::identity()) != std::end(kDayStems)) return true;
        return FHour >= 0 && IsLikeAZone(word);
    }

    /// "AM", "p.m."
    bool TakeHalfOfDay() {
        qsizetype at = FAt;
        const auto take = [&](char16_t letter) {
            const bool isThere = at < FText.size() && FText[at].toLower() == letter;
            if (isThere) ++at;
            if (isThere && at < FText.size() && FText[at] == u'.') ++at;
            return isThere;
        };
        const bool isAfternoon = FText[at].toLower() == u'p';
        if (FHour < 0 || !take(isAfternoon ? u'p' : u'a') || !take(u'm')) return false;
        if (at < FText.size() && FText[at].isLetter()) return false;
        FHalf = isAfternoon ? Half::Afternoon : Half::Morning;
        FAt = at;
        return true;
    }

    bool TakeZoneName(qsizetype begin) {
        const auto isPart = [](QChar c) { return c.isLetter() || QStringView(u"/_-").contains(c); };
        while (FAt < FText.size() && isPart(FText[FAt])) ++FAt;
        FZone = FText.sliced(begin, FAt - begin).toString();
        return true;
    }

    static bool IsLikeAZone(QStringView word) {
        return word.size() >= 3 && word.size() <= 5 &&
               std::all_of(word.begin(), word.end(), [](QChar c) { return c >= u'A' && c <= u'Z'; });
    }

    std::optional<qint64> Moment() const {
        const QDate day(FYear, FMonth + 1, FDay);
        if (FYear < 100 || FMonth < 0 || FDay < 0 || !day.isValid()) return std::nullopt;
        if (FIsAmerican && FHalf == Half::None) return std::nullopt;  // outside America the day comes first
        int hour = std::max(FHour, 0);
        if (FHalf == Half::Afternoon && hour < 12) hour += 12;
        if (FHalf == Half::Morning && hour == 12) hour = 0;
        if (hour > 23 || FMinute > 59 || FSecond > 60) return std::nullopt;
        const auto offset = FZone.isEmpty() ? FOffset : OffsetAt(FZone, day, hour, FMinute);
        if (!offset) return std::nullopt;
        return (day.toJulianDay() - kUnixEpochJulianDay) * kSecondsPerDay + hour * 60 * 60 + (FMinute - *offset) * 60 +
               FSecond;
    }

    enum class Half { None, Morning, Afternoon };

    QStringView FText;
    qsizetype FAt = 0;
    int FYear = -1, FMonth = -1, FDay = -1;  // FMonth counts from 0
    int FHour = -1, FMinute = 0, FSecond = 0;
    Half FHalf = Half::None;
    bool FIsAmerican = false, FHasOffset = false;
    std::optional<int> FOffset = 0;  // minutes
    QString FZone;
};

}  // namespace

std::optional<qint64> DecodeLenientDate(QStringView text) {
    return text.size() <= kMaxDateLength ? Reader(text).Read() : std::nullopt;
}

bool IsMisreadByCurl(QStringView text) {
    static constexpr QStringView misread[] = {u"CAT", u"GST", u"WAT", u"WAST"};
    const QStringView zone = text.sliced(text.lastIndexOf(u' ') + 1);
    if (std::find(std::begin(misread), std::end(misread), zone) != std::end(misread)) return true;
    const bool hasDots = text.contains(u'.');
    if (hasDots && (text.contains(u"a.m", Qt::CaseInsensitive) || text.contains(u"p.m", Qt::CaseInsensitive)))
        return true;
    const auto isOffset = [](QChar c) { return (c >= u'0' && c <= u'9') || c == u':'; };
    while (!text.isEmpty() && isOffset(text.back())) text.chop(1);
    if (!text.endsWith(u'+') && !text.endsWith(u'-')) return false;
    const QStringView before = text.chopped(1).trimmed();
    return before.endsWith(u"GMT") || before.endsWith(u"UTC") || before.endsWith(u"UT");
}

}  // namespace vexa
