#pragma once
// Writes a show as an RSS 2.0 document with the tags that podcast directories ask for.

#include "Show.h"

#include <cstdint>
#include <string>
#include <string_view>

struct FeedShape {
    /// Without a slash at its end.
    std::string Base;
    std::int64_t Episodes;
    /// How many newer ones stand above them. They change nothing else in the document.
    std::int64_t Newer;
    int NotesLeast;
    int NotesMost;
};

[[nodiscard]] std::string FeedDocument(const Show& show, const FeedShape& shape);
[[nodiscard]] std::string FeedUrl(const Show& show, std::string_view base);
