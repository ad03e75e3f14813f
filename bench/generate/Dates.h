#pragma once
// Publishing dates in the form in which feeds write them.

#include <chrono>
#include <string>
#include <string_view>

/// How a publisher writes its time zone, in winter and in summer.
struct Zone {
    std::string_view WinterName;
    std::chrono::hours WinterOffset;
    std::string_view SummerName;
    std::chrono::hours SummerOffset;
};

/// "Mon, 06 Jan 2025 05:00:00 -0500". Summer is April to October.
[[nodiscard]] std::string Rfc822(std::chrono::sys_seconds time, const Zone& zone);
