#pragma once
// Which media type the server names for a file, by its extension alone: a podcast's folder holds few kinds.

#include <filesystem>
#include <string>

struct MediaType {
    std::string Name;
    /// Whether packing pays. Audio and pictures are packed already.
    bool IsText;
};

/// Unknown extensions are "application/octet-stream". Capitals in the extension do not matter.
[[nodiscard]] MediaType MediaTypeOf(const std::filesystem::path& file);
