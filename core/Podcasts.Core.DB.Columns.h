#pragma once
// The columns of feeds and episodes, one list for each table. The lists define how the tables are created and upgraded,
// how records are read, and what is compared and written. Only for the database's own sources.

#include "Podcasts.Core.Classes.h"
#include "VEXA.Runtime.SQLite.Builder.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

namespace podcasts {

struct TPodcastColumn {
    vexa::SqlColumn Sql;
    int Field = -1;  // index of the record's text field stored in the column; −1: none
};

// Each list is in the order of its table. Add a new column at the end, which is where the upgrade of an older file adds
// it, too.

inline constexpr TPodcastColumn kFeedColumns[] = {
    {{"FeedID", vexa::SqlColumn::Type::Key}},
    {{"Name", vexa::SqlColumn::Type::ShownText}, pffTitle},
    {{"Category", vexa::SqlColumn::Type::ShownText}, pffCategory},
    {{"Copyright", vexa::SqlColumn::Type::ShownText}, pffCopyright},
    {{"Description", vexa::SqlColumn::Type::ShownText}, pffDescription},
    {{"Language", vexa::SqlColumn::Type::ShownText}, pffLanguage},
    {{"AuthLogin", vexa::SqlColumn::Type::Text}},  // this program never fills these two
    {{"AuthPassword", vexa::SqlColumn::Type::Text}},
    {{"Author", vexa::SqlColumn::Type::ShownText}, pffAuthor},
    {{"URL", vexa::SqlColumn::Type::Text}, pffURL},
    {{"URLFeed", vexa::SqlColumn::Type::Text}, pffURLFeed},
    {{"URLLogo", vexa::SqlColumn::Type::Text}, pffURLLogo},
};

inline constexpr TPodcastColumn kEpisodeColumns[] = {
    {{"URI", vexa::SqlColumn::Type::Text}, pefURI},
    {{"FeedID", vexa::SqlColumn::Type::Integer}},
    {{"GUID", vexa::SqlColumn::Type::Text}, pefGUID},
    {{"Title", vexa::SqlColumn::Type::ShownText}, pefTitle},
    {{"Description", vexa::SqlColumn::Type::ShownText}, pefDescription},
    {{"Artist", vexa::SqlColumn::Type::ShownText}, pefArtist},
    {{"URL", vexa::SqlColumn::Type::Text}, pefURL},
    {{"URLAudio", vexa::SqlColumn::Type::Text}, pefURLAudio},
    {{"URLAudioCached", vexa::SqlColumn::Type::Text}, pefURLAudioCached},
    {{"PublishDate", vexa::SqlColumn::Type::Double}},
    {{"Duration", vexa::SqlColumn::Type::Double}},
    {{"State", vexa::SqlColumn::Type::Integer}},
    {{"Format", vexa::SqlColumn::Type::ShownText}},  // derived from the audio address
};
inline constexpr int kEpisodeColumnCount = static_cast<int>(std::size(kEpisodeColumns));

/// The index of the column of this name in kEpisodeColumns.
consteval int EpisodeColumn(std::string_view name) {
    const auto* const found = std::find_if(std::begin(kEpisodeColumns), std::end(kEpisodeColumns),
                                           [&](const TPodcastColumn& column) { return column.Sql.Name == name; });
    if (found == std::end(kEpisodeColumns)) throw "there is no such column";
    return static_cast<int>(found - std::begin(kEpisodeColumns));
}

/// The columns as SqlBuilder::CreateTable takes them.
template <std::size_t N>
constexpr std::array<vexa::SqlColumn, N> SqlColumns(const TPodcastColumn (&columns)[N]) {
    std::array<vexa::SqlColumn, N> result{};
    std::transform(std::begin(columns), std::end(columns), result.begin(),
                   [](const TPodcastColumn& column) { return column.Sql; });
    return result;
}

}  // namespace podcasts
