#pragma once
// The stored episodes of one feed, in the form that a merge needs.

#include "Podcasts.Core.Classes.h"

#include <array>
#include <memory>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace podcasts {

/// All rows of one feed. Owns their texts. One thread at a time.
class TPodcastStoredEpisodes {
public:
    struct Row {
        std::array<std::string_view, kEpisodeFieldCount> Fields;
        std::string_view Format;
        double PublishDate = 0, Duration = 0;
        int State = 0;
        qint64 RowID = 0;
        unsigned Nulls = 0;  // a bit for each column that is NULL, in the order of the table
    };

    /// Appends a row and copies its texts.
    void Add(const Row& row);
    /// Call once after all rows have been added.
    void BuildIndex();

    /// In the order of row ids, so that the row written last is the last one.
    std::span<const Row> Rows() const noexcept { return FRows; }
    /// The index of the row with this URI; −1 when there is none.
    int FindURI(std::string_view uri) const;

private:
    static constexpr std::size_t kChunkSize = 1 << 20;

    std::string_view Keep(std::string_view bytes);

    std::vector<std::unique_ptr<char[]>> FChunks;  // hold the rows' texts
    char* FChunkAt = nullptr;
    std::size_t FChunkLeft = 0;
    std::vector<Row> FRows;
    std::unordered_map<std::string_view, int> FByURI;
};

}  // namespace podcasts
