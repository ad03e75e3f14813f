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
    /// How many newer episodes precede them. The rest of the document does not depend on this number.
    std::int64_t Newer;
    int NotesLeast;
    int NotesMost;
};

[[nodiscard]] std::string FeedDocument(const Show& show, const FeedShape& shape);
[[nodiscard]] std::string FeedUrl(const Show& show, std::string_view base);
