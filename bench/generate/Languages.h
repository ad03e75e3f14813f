#pragma once
// The words that generated shows are made of, by language.

#include <span>
#include <string_view>

struct Language {
    std::string_view Code;
    /// In lower case where the script has cases.
    std::span<const std::string_view> Words;
    std::span<const std::string_view> Names;
    std::string_view EpisodeWord;
    /// Between words, and at the end of a sentence.
    std::string_view Gap;
    std::string_view Stop;
};

[[nodiscard]] const Language& English() noexcept;
[[nodiscard]] const Language& French() noexcept;
[[nodiscard]] const Language& German() noexcept;
[[nodiscard]] const Language& Russian() noexcept;
[[nodiscard]] const Language& Japanese() noexcept;
