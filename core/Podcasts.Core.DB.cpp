#include "Podcasts.Core.DB.h"

#include "Podcasts.Core.DB.Columns.h"
#include "Podcasts.Core.Reasons.h"
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

constexpr auto kFeedTable = SqlColumns(kFeedColumns);
constexpr auto kEpisodeTable = SqlColumns(kEpisodeColumns);
constexpr SqlColumn kLogoColumns[] = {{"ID", Integer}, {"Data", Blob}};
constexpr SqlColumn kNameColumns[] = {
    {"ID", Key}, {"Name", Integer}, {"Episode", Integer}, {"FeedID", Integer}, {"GUIDCheck", Integer},
};

constexpr SqlColumn kDocumentColumns[] = {
    {"FeedID", Key},    {"URLFeed", Text},         {"Address", Text},    {"Charset", Text},
    {"ETag", Text},     {"LastModified", Text},    {"Digest", Text},     {"WantedAddress", Text},
    {"Rules", Integer}, {"EpisodeCount", Integer}, {"LastRow", Integer},
};
constexpr SqlColumn kLogoLookColumns[] = {
    {"FeedID", Key},
    {"URLLogo", Text},
    {"LookedAt", Integer},
    {"Outcome", Integer},
};
constexpr SqlColumn kQueueColumns[] = {{"Place", Key}, {"EpisodeKey", Text}};
constexpr SqlColumn kFeedOptionColumns[] = {{"FeedID", Integer}, {"Name", Text}, {"Value", Text}};
constexpr SqlColumn kFeedAddressColumns[] = {{"URLFeed", Text}, {"FeedID", Integer}};
constexpr SqlColumn kListenedFileColumns[] = {{"FileName", Text}, {"NotedAt", Integer}};

// docs/database.md says what each index is for and what it costs. No index is on a column with the collation UNICODE:
// its order may change with the version of ICU, and plain sqlite3 could no longer write to the table.
constexpr std::array<TPodcastsDB::Index, 10> kIndexes = {{
    {"PodcastFeedsByURLFeed", "PodcastFeeds (URLFeed)"},
    {"PodcastEpisodesByGUID", "PodcastEpisodes (FeedID, GUID)"},
    {"PodcastEpisodesByDate", "PodcastEpisodes (PublishDate)"},
    {"PodcastEpisodesByStateAndDate", "PodcastEpisodes (State, PublishDate)"},
    {"PodcastEpisodesByFeedAndDate", "PodcastEpisodes (FeedID, PublishDate)"},
    {"PodcastEpisodesByFeedAndState", "PodcastEpisodes (FeedID, State, PublishDate)"},
    {"PodcastEpisodesByFile", "PodcastEpisodes (URLAudioCached) WHERE URLAudioCached IS NOT ''"},
    {"PodcastFeedLogosByID", "PodcastFeedLogos (ID)"},
    {"PodcastEpisodeNamesByName", "PodcastEpisodeNames (Name)"},
    {"PodcastEpisodeNamesByEpisode", "PodcastEpisodeNames (Episode)"},
}};

struct Table {
    std::string_view Name;
    std::span<const SqlColumn> Columns;
    std::string_view Constraint = {};
};
constexpr std::array<Table, 10> kTables = {{
    {"PodcastFeeds", kFeedTable},
    // ON CONFLICT REPLACE, because rows of the first layout whose addresses differ only in their scheme get the same
    // URI; otherwise the upgrade would always fail on them.
    {"PodcastEpisodes", kEpisodeTable, "UNIQUE (URI, FeedID) ON CONFLICT REPLACE"},
    {"PodcastFeedLogos", kLogoColumns},
    {"PodcastEpisodeNames", kNameColumns},
    {"PodcastFeedDocuments", kDocumentColumns},
    {"PodcastFeedLogoLooks", kLogoLookColumns},
    {"PodcastQueue", kQueueColumns, "UNIQUE (EpisodeKey) ON CONFLICT IGNORE"},
    {"PodcastFeedOptions", kFeedOptionColumns, "UNIQUE (FeedID, Name) ON CONFLICT REPLACE"},
    {"PodcastFeedAddresses", kFeedAddressColumns, "UNIQUE (URLFeed) ON CONFLICT REPLACE"},
    {"PodcastListenedFiles", kListenedFileColumns, "UNIQUE (FileName) ON CONFLICT IGNORE"},
}};

constexpr const Table& kEpisodes = kTables[1];

bool Contains(const std::vector<std::string>& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

TPodcastsDB::TPodcastsDB(const QString& fileName, std::function<void()> beforeUpgrade)
    : FBeforeUpgrade(std::move(beforeUpgrade)) {
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
    for (const auto& [table, known, constraint] : kTables) {
        const std::vector<std::string> columns = TableColumns(table);
        // In the first layout the column GUID was called ID.
        const bool isFirstLayout = table == "PodcastEpisodes" && !Contains(columns, "GUID");
        for (const std::string& column : columns) {
            if (isFirstLayout && column == "ID") continue;
            if (std::any_of(known.begin(), known.end(), [&](const SqlColumn& c) { return c.Name == column; })) continue;
            const QString name = QString::fromStdString(std::string(table) + '.' + column);
            throw vexa::SqliteError(vexa::Reason(CoreReason("NewerDatabase"), {FileName(), name}), 0);
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
    return std::all_of(kTables.begin(), kTables.end(), [this](const Table& table) {
        const std::vector<std::string> columns = TableColumns(table.Name);
        return std::all_of(table.Columns.begin(), table.Columns.end(),
                           [&](const SqlColumn& column) { return Contains(columns, column.Name); });
    });
}

void TPodcastsDB::InitializeTables() {
    // If there is nothing to do, write nothing and take no lock, so that the program can start while another one
    // writes.
    if (IsLayoutComplete()) return;
    if (FBeforeUpgrade && !TableColumns(kEpisodes.Name).empty()) FBeforeUpgrade();
    RunInTransaction([this] {
        UpgradeFirstLayout();
        for (const auto& [name, columns, constraint] : kTables) {
            ExecuteSQL(SqlBuilder().CreateTable(name, columns, constraint));
            const std::vector<std::string> present = TableColumns(name);
            for (const SqlColumn& column : columns)
                if (!Contains(present, column.Name)) ExecuteSQL(SqlBuilder().AddColumn(name, column));
        }
        for (const auto& [name, definition] : kIndexes)
            ExecuteSQL(SqlBuilder("CREATE INDEX IF NOT EXISTS ").Raw(name).Raw(" ON ").Raw(definition));
    });
}

void TPodcastsDB::UpgradeFirstLayout() {
    const std::vector<std::string> columns = TableColumns(kEpisodes.Name);
    if (columns.empty() || Contains(columns, "GUID")) return;
    ExecuteSQL("ALTER TABLE PodcastEpisodes RENAME TO PodcastEpisodes_old;");
    ExecuteSQL(SqlBuilder().CreateTable(kEpisodes.Name, kEpisodes.Columns, kEpisodes.Constraint));
    // List the columns by name, since the new table may have more of them.
    ExecuteSQL(
        "INSERT INTO PodcastEpisodes (URI, FeedID, GUID, Title, Description, Artist, URL, URLAudio, "
        "URLAudioCached, PublishDate, Duration, State, Format) "
        "SELECT MakeURI(URLAudio), FeedID, ID, Title, Description, Artist, URL, URLAudio, URLAudioCached, "
        "PublishDate, Duration, State, MakeFormat(URLAudio) FROM PodcastEpisodes_old GROUP BY URLAudio;");
    ExecuteSQL("DROP TABLE PodcastEpisodes_old;");
}

}  // namespace podcasts
