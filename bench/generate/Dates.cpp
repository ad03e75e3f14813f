#include "Dates.h"

#include <array>
#include <cstdio>

std::string Rfc822(std::chrono::sys_seconds time, const Zone& zone) {
    using namespace std::chrono;
    static constexpr std::array kDays{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr std::array kMonths{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

    const year_month_day utcDate{floor<days>(time)};
    const bool isSummer = utcDate.month() >= April && utcDate.month() <= October;
    const sys_seconds local = time + (isSummer ? zone.SummerOffset : zone.WinterOffset);
    const sys_days day = floor<days>(local);
    const year_month_day date{day};
    const hh_mm_ss clock{local - day};
    const std::string_view name = isSummer ? zone.SummerName : zone.WinterName;
    char text[64];
    std::snprintf(text, sizeof text, "%s, %02u %s %d %02d:%02d:%02d %.*s", kDays[weekday{day}.c_encoding()],
                  static_cast<unsigned>(date.day()), kMonths[static_cast<unsigned>(date.month()) - 1],
                  static_cast<int>(date.year()), static_cast<int>(clock.hours().count()),
                  static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()),
                  static_cast<int>(name.size()), name.data());
    return text;
}
