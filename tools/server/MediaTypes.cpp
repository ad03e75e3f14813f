#include "MediaTypes.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

struct Row {
    std::string_view Extension;
    std::string_view Name;
    bool IsText;
};

constexpr std::array kRows{
    Row{".xml", "application/rss+xml", true},
    Row{".rss", "application/rss+xml", true},
    Row{".atom", "application/atom+xml", true},
    Row{".opml", "text/x-opml", true},
    Row{".json", "application/json", true},
    Row{".html", "text/html; charset=utf-8", true},
    Row{".txt", "text/plain; charset=utf-8", true},
    Row{".mp3", "audio/mpeg", false},
    Row{".m4a", "audio/mp4", false},
    Row{".aac", "audio/aac", false},
    Row{".ogg", "audio/ogg", false},
    Row{".oga", "audio/ogg", false},
    Row{".opus", "audio/ogg", false},
    Row{".flac", "audio/flac", false},
    Row{".wav", "audio/wav", false},
    Row{".mp4", "video/mp4", false},
    Row{".m4v", "video/mp4", false},
    Row{".jpg", "image/jpeg", false},
    Row{".jpeg", "image/jpeg", false},
    Row{".png", "image/png", false},
    Row{".svg", "image/svg+xml", true},
};

}  // namespace

MediaType MediaTypeOf(const std::filesystem::path& file) {
    std::string extension = file.extension().string();
    for (char& c : extension)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    const auto row = std::ranges::find(kRows, extension, &Row::Extension);
    if (row == kRows.end()) return {"application/octet-stream", false};
    return {std::string(row->Name), row->IsText};
}
