#include "Podcasts.Core.DB.h"

#include "VEXA.Runtime.Files.h"

#include <algorithm>
#include <array>
#include <set>
#include <span>

namespace podcasts {

using vexa::SqlBuilder;
using vexa::SqlColumn;

namespace {

using enum SqlColumn::Type;

constexpr SqlColumn kFeedColumns[] = {
    {"FeedID", Key},
    {"Name", ShownText},
    {"Category", ShownText},
    {"Copyright", ShownText},
    {"Description", ShownText},
    {"Language", ShownText},
    {"AuthLogin", Text},
    {"AuthPassword", Text},
    {"Author", ShownText},
    {"URL", Text},
    {"URLFeed", Text},
    {"URLLogo", Text},
};
constexpr SqlColumn kEpisodeColumns[] = {
    {"URI", Text},           {"FeedID", Integer},        {"GUID", Text},
    {"Title", ShownText},    {"Description", ShownText}, {"Artist", ShownText},
    {"URL", Text},           {"URLAudio", Text},         {"URLAudioCached", Text},
    {"PublishDate", Double}, {"Duration", Double},       {"State", Integer},
    {"Format", ShownText},
};
constexpr SqlColumn kLogoColumns[] = {{"ID", Integer}, {"Data", Blob}};
constexpr SqlColumn kNameColumns[] = {
    {"ID", Key}, {"Name", Integer}, {"Episode", Integer}, {"FeedID", Integer}, {"GUIDCheck", Integer},
};

// What each serves is in docs/database.md, with what it costs. None stands on a column that sorts by UNICODE: its order
// may change with a library's version, and plain sqlite3 could not write to the table any more.
constexpr std::array<TPodcastsDB::Index, 9> kIndexes = {{
    {"PodcastFeedsByURLFeed", "PodcastFeeds (URLFeed)"},
    {"PodcastEpisodesByGUID", "PodcastEpisodes (FeedID, GUID)"},
    {"PodcastEpisodesByDate", "PodcastEpisodes (PublishDate)"},
    {"PodcastEpisodesByStateAndDate", "PodcastEpisodes (State, PublishDate)"},
    {"PodcastEpisodesByFeedAndDate", "PodcastEpisodes (FeedID, PublishDate)"},
    {"PodcastEpisodesByFeedAndState", "PodcastEpisodes (FeedID, State, PublishDate)"},
    {"PodcastEpisodesByFile", "PodcastEpisodes (URLAudioCached) WHERE URLAudioCached IS NOT ''"},
    {"PodcastEpisodeNamesByName", "PodcastEpisodeNames (Name)"},
    {"PodcastEpisodeNamesByEpisode", "PodcastEpisodeNames (Episode)"},
}};

struct Table {
    std::string_view Name;
    std::span<const SqlColumn> Columns;
};
constexpr std::array<Table, 4> kTables = {{
    {"PodcastFeeds", kFeedColumns},
    {"PodcastEpisodes", kEpisodeColumns},
    {"PodcastFeedLogos", kLogoColumns},
    {"PodcastEpisodeNames", kNameColumns},
}};

bool Contains(const std::vector<std::string>& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

TPodcastsDB::TPodcastsDB(const QString& fileName) {
    Open(fileName);
}

std::span<const TPodcastsDB::Index> TPodcastsDB::Indexes() {
    return kIndexes;
}

void TPodcastsDB::InitializeFunctions() {
    RegisterFunction("FileExists", [](const QString& name) -> int { return vexa::FileExists(name) ? 1 : 0; });
    RegisterFunction("MakeFormat", [](const QString& text) { return MakeFormat(text); });
    RegisterFunction("MakeURI", [](const QString& text) { return MakeURI(text); });
}

void TPodcastsDB::VerifyLayout() {
    for (const auto& [table, known] : kTables) {
        const std::vector<std::string> columns = TableColumns(table);
        // The first layout called the episode's identifier ID.
        const bool isFirstLayout = table == "PodcastEpisodes" && !Contains(columns, "GUID");
        for (const std::string& column : columns) {
            if (isFirstLayout && column == "ID") continue;
            if (std::any_of(known.begin(), known.end(), [&](const SqlColumn& c) { return c.Name == column; })) continue;
            throw vexa::SqliteError("cannot open the database " + FileName().toStdString() +
                                        ": a newer version of this program has written it (it holds the column " +
                                        std::string(table) + "." + column + "); update the program",
                                    0);
        }
    }
}

bool TPodcastsDB::IsLayoutComplete() {
    std::set<std::string, std::less<>> names;
    if (const auto cursor = Query("SELECT name FROM sqlite_master")) {
        do names.emplace(cursor->Utf8(0));
        while (cursor->Next());
    }
    const bool hasTables = std::all_of(kTables.begin(), kTables.end(), [&](auto& t) { return names.contains(t.Name); });
    const bool hasIndexes =
        std::all_of(kIndexes.begin(), kIndexes.end(), [&](auto& i) { return names.contains(i.Name); });
    if (!hasTables || !hasIndexes) return false;
    const auto columns = TableColumns("PodcastEpisodes");
    return Contains(columns, "GUID") && Contains(columns, "Format");
}

void TPodcastsDB::InitializeTables() {
    // Nothing is written, and no lock taken, when there is nothing to do: the program starts while another one writes.
    if (IsLayoutComplete()) return;
    RunInTransaction([this] {
        UpgradeEpisodesTable();
        CreateEpisodesTable();
        ExecuteSQL(SqlBuilder().CreateTable("PodcastFeeds", kFeedColumns));
        ExecuteSQL(SqlBuilder().CreateTable("PodcastFeedLogos", kLogoColumns));
        ExecuteSQL(SqlBuilder().CreateTable("PodcastEpisodeNames", kNameColumns));
        for (const auto& [name, definition] : kIndexes)
            ExecuteSQL(SqlBuilder("CREATE INDEX IF NOT EXISTS ").Raw(name).Raw(" ON ").Raw(definition));
    });
}

void TPodcastsDB::CreateEpisodesTable() {
    // ON CONFLICT REPLACE: rows of the first layout whose addresses differ only in their scheme get one URI, and would
    // otherwise stop the upgrade for ever.
    ExecuteSQL(
        SqlBuilder().CreateTable("PodcastEpisodes", kEpisodeColumns, "UNIQUE (URI, FeedID) ON CONFLICT REPLACE"));
}

void TPodcastsDB::UpgradeEpisodesTable() {
    const std::vector<std::string> columns = TableColumns("PodcastEpisodes");
    if (columns.empty()) return;
    if (!Contains(columns, "GUID")) {
        RunInTransaction([this] {
            ExecuteSQL("ALTER TABLE PodcastEpisodes RENAME TO PodcastEpisodes_old;");
            CreateEpisodesTable();
            ExecuteSQL(
                "INSERT INTO PodcastEpisodes SELECT MakeURI(URLAudio), FeedID, ID, Title, Description, Artist, URL, "
                "URLAudio, URLAudioCached, PublishDate, Duration, State, MakeFormat(URLAudio) "
                "FROM PodcastEpisodes_old GROUP BY URLAudio;");
            ExecuteSQL("DROP TABLE PodcastEpisodes_old;");
        });
    } else if (!Contains(columns, "Format")) {
        ExecuteSQL("ALTER TABLE PodcastEpisodes ADD COLUMN Format TEXT COLLATE UNICODE;");
    }
}

}  // namespace podcasts
