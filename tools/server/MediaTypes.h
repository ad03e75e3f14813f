#pragma once
// The media type that the server sends for a file. It depends only on the extension, since a podcast's folder has few
// kinds of files.

#include <filesystem>
#include <string>

struct MediaType {
    std::string Name;
    /// Whether compression pays off. Audio and pictures are compressed already.
    bool IsText;
};

/// "application/octet-stream" for unknown extensions. Ignores the letter case of the extension.
[[nodiscard]] MediaType MediaTypeOf(const std::filesystem::path& file);
