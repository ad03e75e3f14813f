#pragma once
// A show: what its episodes have in common, and how its publisher writes them. Number N is the same show in every run.

#include "Dates.h"
#include "Languages.h"

#include <cstdint>
#include <string>
#include <string_view>

struct Category {
    std::string_view Name;
    /// The subcategory; empty where the category has none.
    std::string_view Inner;
};

struct AudioType {
    std::string_view Name;
    std::string_view Extension;
};

enum class DurationForm { Seconds, Clock, MinutesAndSeconds };
enum class GuidForm { Opaque, Page, Audio };
enum class NotesForm { CData, Escaped };

struct Show {
    std::uint64_t Number;
    /// "feed-0001": the document's name without its extension, and the folder of the show's audio files.
    std::string Name;
    std::string Title;
    std::string Author;
    const Language* Tongue;
    Category Subject;
    Zone PublishedIn;
    AudioType Audio;
    DurationForm Durations;
    GuidForm Guids;
    NotesForm NotesAre;
    std::string_view Explicit;
    std::chrono::seconds Spacing;
    std::chrono::sys_seconds NewestAt;
};

[[nodiscard]] Show ShowNumber(std::uint64_t number);
