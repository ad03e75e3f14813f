#pragma once
// The words from which shows are generated, by language.

#include <span>
#include <string_view>

struct Language {
    std::string_view Code;
    /// In lower case where the script has cases.
    std::span<const std::string_view> Words;
    std::span<const std::string_view> Names;
    std::string_view EpisodeWord;
    /// Gap separates words, Stop ends a sentence.
    std::string_view Gap;
    std::string_view Stop;
};

[[nodiscard]] const Language& English() noexcept;
[[nodiscard]] const Language& French() noexcept;
[[nodiscard]] const Language& German() noexcept;
[[nodiscard]] const Language& Russian() noexcept;
[[nodiscard]] const Language& Japanese() noexcept;
