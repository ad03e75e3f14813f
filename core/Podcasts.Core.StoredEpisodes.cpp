#include "Podcasts.Core.StoredEpisodes.h"

#include <algorithm>
#include <cstring>

namespace podcasts {

std::string_view TPodcastStoredEpisodes::Keep(std::string_view bytes) {
    if (bytes.empty()) return {};
    if (bytes.size() > FChunkLeft) {
        const std::size_t size = std::max(bytes.size(), kChunkSize);
        FChunks.push_back(std::make_unique_for_overwrite<char[]>(size));
        // A text larger than a chunk gets its own chunk, which it fills; the next text begins a new one.
        FChunkLeft = size;
        FChunkAt = FChunks.back().get();
    }
    char* const place = FChunkAt;
    std::memcpy(place, bytes.data(), bytes.size());
    FChunkAt += bytes.size();
    FChunkLeft -= bytes.size();
    return {place, bytes.size()};
}

void TPodcastStoredEpisodes::Add(const Row& row) {
    FRows.push_back(row);
    for (std::string_view& text : FRows.back().Fields) text = Keep(text);
    FRows.back().Format = Keep(row.Format);
}

void TPodcastStoredEpisodes::BuildIndex() {
    // Sort here, since SQLite would carry all texts of the rows through its sorter.
    std::sort(FRows.begin(), FRows.end(), [](const Row& a, const Row& b) { return a.RowID < b.RowID; });
    FByURI.reserve(FRows.size());
    for (int index = 0; index < static_cast<int>(FRows.size()); ++index)
        FByURI[FRows[static_cast<std::size_t>(index)].Fields[pefURI]] = index;
}

int TPodcastStoredEpisodes::FindURI(std::string_view uri) const {
    const auto found = FByURI.find(uri);
    return found == FByURI.end() ? -1 : found->second;
}

}  // namespace podcasts
