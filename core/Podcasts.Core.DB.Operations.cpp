// All other reads and writes of podcast data. Each statement is here once.

#include "Podcasts.Core.DB.Columns.h"
#include "Podcasts.Core.DB.h"
#include "VEXA.Runtime.Files.h"

#include <array>
#include <set>

namespace podcasts {

using vexa::SqlBuilder;
using vexa::SqliteCursor;
using vexa::SqliteStatement;

namespace {

// SQLite allows fewer than 1,000 terms joined by AND or OR.
constexpr qsizetype kKeysPerStatement = 500;

/// The indexes of an episode's columns, looked up once for all rows of a cursor.
struct EpisodeColumns {
    explicit EpisodeColumns(const SqliteCursor& cursor) {
        for (const auto& [sql, field] : kEpisodeColumns)
            if (field >= 0) Texts[static_cast<std::size_t>(field)] = cursor.ColumnIndex(sql.Name);
        FeedID = cursor.ColumnIndex("FeedID");
        PublishDate = cursor.ColumnIndex("PublishDate");
        Duration = cursor.ColumnIndex("Duration");
        State = cursor.ColumnIndex("State");
    }

    void Read(const SqliteCursor& cursor, TPodcastEpisode& episode) const {
        for (std::size_t field = 0; field < Texts.size(); ++field) episode.Fields[field] = cursor.Text(Texts[field]);
        episode.FeedID = cursor.Integer(FeedID);
        episode.PublishDate = cursor.Double(PublishDate);
        episode.Duration = static_cast<float>(cursor.Double(Duration));
        episode.State = static_cast<TPodcastEpisodeState>(cursor.Integer(State));
    }

private:
    std::array<int, kEpisodeFieldCount> Texts;  // by field
    int FeedID, PublishDate, Duration, State;
};

template <class Visit>
void ForEachRow(const std::unique_ptr<SqliteCursor>& cursor, Visit visit) {
    if (!cursor) return;
    do visit(*cursor);
    while (cursor->Next());
}

/// A LIKE pattern that finds `text` anywhere, with "\" as its escape character.
QString ContainsPattern(const QString& text) {
    QString pattern = text.toUpper();
    for (const QChar special : {u'\\', u'%', u'_'}) pattern.replace(special, QString(u'\\') + special);
    return u'%' + pattern + u'%';
}

}  // namespace

void TPodcastsDBQueryBuilder::EpisodeCondition(SqlBuilder& builder, const QString& episodeKey) {
    if (!episodeKey.startsWith(QChar(kEpisodeKeyDelimiter))) {
        builder.Raw("URI = ").Text(episodeKey);
        return;
    }
    // Everything after the second delimiter is the GUID, which may itself contain a delimiter.
    const QChar delimiter(kEpisodeKeyDelimiter);
    builder.Raw("(FeedID = ").Text(episodeKey.section(delimiter, 1, 1));
    builder.Raw(") AND (GUID = ").Text(episodeKey.section(delimiter, 2)).Raw(")");
}

void TPodcastsDBQueryBuilder::CachedFileLength(SqlBuilder& builder) {
    builder.Raw("ifnull(length(URLAudioCached), 0)");
}

void TPodcastsDBQueryBuilder::FileExistsCondition(SqlBuilder& builder, std::string_view column) {
    builder.Raw(" FileExists(").Raw(column).Raw(")");
}

std::string TPodcastsDBQueryBuilder::StateCountQuery(TPodcastEpisodeState state, bool joinFeed) {
    std::string sql = "SELECT Count(PodcastEpisodes.URI) FROM PodcastEpisodes WHERE (PodcastEpisodes.State = " +
                      std::to_string(state) + ")";
    if (joinFeed) sql += " AND (PodcastFeeds.FeedID = PodcastEpisodes.FeedID)";
    return sql;
}

std::string TPodcastsDB::FastStateCountQuery(TPodcastEpisodeState state, bool joinFeed) {
    // Count(URI) reads every row; Count(*) reads only the index, and returns the same as long as no URI is NULL. The
    // index of the UNIQUE constraint tells that at once; only another program can have written a NULL.
    static constexpr std::string_view counted = "Count(PodcastEpisodes.URI)";
    std::string sql = TPodcastsDBQueryBuilder::StateCountQuery(state, joinFeed);
    if (ReadInteger("SELECT EXISTS(SELECT 1 FROM PodcastEpisodes WHERE URI IS NULL)") == 0)
        sql.replace(sql.find(counted), counted.size(), "Count(*)");
    return sql;
}

int TPodcastsDB::GetFeedID(const QString& urlFeed) {
    return ReadInteger(SqlBuilder("SELECT FeedID FROM PodcastFeeds WHERE URLFeed = ").Text(urlFeed).Raw(" LIMIT 1"));
}

QString TPodcastsDB::GetPresentFeedURL(const QString& urlFeed) {
    if (GetFeedID(urlFeed) >= 1) return urlFeed;
    const auto cursor = Read(SqlBuilder("SELECT PodcastFeeds.URLFeed FROM PodcastFeedAddresses JOIN PodcastFeeds ON "
                                        "PodcastFeeds.FeedID = PodcastFeedAddresses.FeedID WHERE "
                                        "PodcastFeedAddresses.URLFeed = ")
                                 .Text(urlFeed));
    return cursor ? cursor->Text(0) : QString();
}

std::unique_ptr<TPodcastFeed> TPodcastsDB::GetFeed(int id, bool withEpisodes) {
    if (id < 0) return nullptr;
    std::unique_ptr<TPodcastFeed> feed;
    {
        const auto cursor = Read(SqlBuilder("SELECT * FROM PodcastFeeds WHERE FeedID = ").Integer(id).Raw(" LIMIT 1"));
        if (!cursor) return nullptr;
        feed = std::make_unique<TPodcastFeed>();
        feed->ID = id;
        for (const auto& [sql, field] : kFeedColumns)
            if (field >= 0) feed->Fields[static_cast<std::size_t>(field)] = cursor->Text(sql.Name);
    }
    if (!withEpisodes) return feed;
    const auto cursor = Read(SqlBuilder("SELECT * FROM PodcastEpisodes WHERE FeedID = ").Integer(id));
    if (!cursor) return feed;
    const EpisodeColumns columns(*cursor);
    ForEachRow(cursor, [&](const SqliteCursor& row) { columns.Read(row, feed->NewEpisode()); });
    return feed;
}

std::unique_ptr<TPodcastFeed> TPodcastsDB::GetFeed(const QString& urlFeed, bool withEpisodes) {
    return GetFeed(GetFeedID(urlFeed), withEpisodes);
}

void TPodcastsDB::Remove(int id) {
    if (id <= 0) return;
    RunInTransaction([&] {
        RemoveOlderNames(id);
        ExecuteSQL(SqlBuilder("DELETE FROM PodcastEpisodes WHERE FeedID = ").Integer(id));
        ExecuteSQL(SqlBuilder("DELETE FROM PodcastFeeds WHERE FeedID = ").Integer(id));
        ExecuteSQL(SqlBuilder("DELETE FROM PodcastFeedOptions WHERE FeedID = ").Integer(id));
        ExecuteSQL(SqlBuilder("DELETE FROM PodcastFeedAddresses WHERE FeedID = ").Integer(id));
        ForgetLogo(id);
        ForgetDocument(id);
    });
}

void TPodcastsDB::Remove(const QString& urlFeed) {
    Remove(GetFeedID(urlFeed));
}

bool TPodcastsDB::ChangeFeedURL(const QString& oldURL, const QString& newURL) {
    if (newURL.isEmpty() || newURL == oldURL) return false;
    bool isChanged = false;
    RunInTransaction([&] {
        const int id = GetFeedID(oldURL);
        if (id <= 0 || GetFeedID(newURL) >= 1) return;
        ExecuteSQL(SqlBuilder("UPDATE PodcastFeeds SET URLFeed = ").Text(newURL).Raw(" WHERE FeedID = ").Integer(id));
        SqliteStatement(*this, "INSERT INTO PodcastFeedAddresses (URLFeed, FeedID) VALUES (?, ?)")
            .Text(oldURL)
            .Integer(id)
            .Run();
        isChanged = true;
    });
    return isChanged;
}

void TPodcastsDB::EnumFeeds(const QString& category, const FeedVisitor& visitor) {
    SqlBuilder sql("SELECT URLFeed, Name FROM PodcastFeeds");
    if (!category.isEmpty()) sql.Raw(" WHERE Category = ").Text(category);
    ForEachRow(Read(sql.Raw(" ORDER BY Name")), [&](const SqliteCursor& row) { visitor(row.Text(0), row.Text(1), 0); });
}

void TPodcastsDB::EnumFeedAddresses(const TextVisitor& visitor) {
    const SqlBuilder sql(
        "SELECT URLFeed FROM PodcastFeeds UNION SELECT URLFeed FROM PodcastFeedAddresses WHERE FeedID IN "
        "(SELECT FeedID FROM PodcastFeeds)");
    ForEachRow(Read(sql), [&](const SqliteCursor& row) { visitor(row.Text(0)); });
}

void TPodcastsDB::EnumFeedsWithState(TPodcastEpisodeState state, const FeedVisitor& visitor) {
    const SqlBuilder sql = SqlBuilder("SELECT URLFeed, Name, (")
                               .Raw(FastStateCountQuery(state, true))
                               .Raw(") AS Count FROM PodcastFeeds WHERE Count > 0 ORDER BY Name");
    ForEachRow(Read(sql), [&](const SqliteCursor& row) { visitor(row.Text(0), row.Text(1), row.Integer(2)); });
}

void TPodcastsDB::EnumFeedSummaries(
    const std::function<void(int, const QString&, const QString&, int, int, int)>& visitor) {
    const SqlBuilder sql = SqlBuilder("SELECT FeedID, URLFeed, Name, (")
                               .Raw(FastStateCountQuery(pesNew, true))
                               .Raw("), (")
                               .Raw(FastStateCountQuery(pesPostponed, true))
                               .Raw(
                                   "), (SELECT Count(*) FROM PodcastEpisodes WHERE PodcastEpisodes.FeedID = "
                                   "PodcastFeeds.FeedID) FROM PodcastFeeds ORDER BY Name");
    ForEachRow(Read(sql), [&](const SqliteCursor& row) {
        visitor(row.Integer(0), row.Text(1), row.Text(2), row.Integer(3), row.Integer(4), row.Integer(5));
    });
}

namespace {

constexpr std::string_view kSelectEpisode = "SELECT *, rowid AS RowID FROM PodcastEpisodes WHERE ";

std::unique_ptr<TPodcastEpisode> EpisodeAt(const std::unique_ptr<SqliteCursor>& cursor) {
    if (!cursor) return nullptr;
    auto episode = std::make_unique<TPodcastEpisode>();
    EpisodeColumns(*cursor).Read(*cursor, *episode);
    episode->RowID = cursor->Integer64(cursor->ColumnIndex("RowID"));
    return episode;
}

}  // namespace

std::unique_ptr<TPodcastEpisode> TPodcastsDB::GetEpisodeOfRow(qint64 rowID) {
    return rowID == 0 ? nullptr : EpisodeAt(Read(SqlBuilder(kSelectEpisode).Raw("rowid = ").Integer(rowID)));
}

std::unique_ptr<TPodcastEpisode> TPodcastsDB::GetEpisode(const QString& episodeKey) {
    SqlBuilder sql(kSelectEpisode);
    TPodcastsDBQueryBuilder::EpisodeCondition(sql, episodeKey);
    // If several rows have one GUID, the one written last has the currently valid audio address.
    if (episodeKey.startsWith(QChar(kEpisodeKeyDelimiter))) sql.Raw(" ORDER BY rowid DESC");
    if (auto episode = EpisodeAt(Read(sql))) return episode;
    return GetEpisodeOfRow(FindByOlderName(episodeKey));
}

std::unique_ptr<TPodcastEpisode> TPodcastsDB::GetEpisodeOf(const QString& episodeKey, qint64 moveCount) {
    auto moved = moveCount >= 0 ? GetEpisodeOfRow(FindMovedSince(episodeKey, moveCount)) : nullptr;
    return moved ? std::move(moved) : GetEpisode(episodeKey);
}

bool TPodcastsDB::GetEpisodeCounts(int feedID, int& newCount, int& postponedCount) {
    if (feedID < 0) return false;
    if (feedID == 0) {
        newCount = ReadInteger(FastStateCountQuery(pesNew, false));
        postponedCount = ReadInteger(FastStateCountQuery(pesPostponed, false));
        return newCount >= 0 && postponedCount >= 0;
    }
    const auto cursor = Read(SqlBuilder("SELECT (")
                                 .Raw(FastStateCountQuery(pesNew, true))
                                 .Raw("), (")
                                 .Raw(FastStateCountQuery(pesPostponed, true))
                                 .Raw(") FROM PodcastFeeds WHERE FeedID = ")
                                 .Integer(feedID)
                                 .Raw(" LIMIT 1"));
    if (!cursor) return false;
    newCount = cursor->Integer(0);
    postponedCount = cursor->Integer(1);
    return true;
}

bool TPodcastsDB::GetEpisodeCounts(const QString& urlFeed, int& newCount, int& postponedCount) {
    return GetEpisodeCounts(urlFeed.isEmpty() ? 0 : GetFeedID(urlFeed), newCount, postponedCount);
}

int TPodcastsDB::GetEpisodeCount(int feedID) {
    return ReadInteger(SqlBuilder("SELECT Count(*) FROM PodcastEpisodes WHERE FeedID = ").Integer(feedID));
}

void TPodcastsDB::EnumNewEpisodes(const NewEpisodeVisitor& visitor) {
    SqlBuilder sql("SELECT rowid, FeedID, PublishDate, URI FROM PodcastEpisodes WHERE (");
    TPodcastsDBQueryBuilder::CachedFileLength(sql);
    sql.Raw(" = 0) AND (State = ").Integer(pesNew).Raw(") ORDER BY PublishDate DESC, rowid DESC");
    ForEachRow(Read(sql), [&](const SqliteCursor& row) {
        visitor({row.Integer64(0), row.Integer(1), row.Double(2), row.Text(3)});
    });
}

void TPodcastsDB::EnumEpisodes(const TPodcastEpisodeFilter& filter, const EpisodeVisitor& visitor) {
    SqlBuilder condition(" WHERE 1");
    if (filter.FeedID > 0) condition.Raw(" AND PodcastEpisodes.FeedID = ").Integer(filter.FeedID);
    if (filter.State >= 0) condition.Raw(" AND PodcastEpisodes.State = ").Integer(filter.State);
    static constexpr std::string_view newestFirst =
        " ORDER BY PodcastEpisodes.PublishDate DESC, PodcastEpisodes.rowid DESC";
    const std::string range = " LIMIT " + std::to_string(filter.Limit) + " OFFSET " + std::to_string(filter.Offset);

    SqlBuilder sql(
        "SELECT PodcastEpisodes.*, PodcastFeeds.Name AS FeedName FROM PodcastEpisodes "
        "LEFT JOIN PodcastFeeds ON PodcastFeeds.FeedID = PodcastEpisodes.FeedID");
    if (!filter.Search.isEmpty()) {
        const QString pattern = ContainsPattern(filter.Search);
        sql.Raw(condition.Sql());
        const char* separator = " AND (";
        for (const char* column : {"Title", "Artist", "FeedName"}) {
            sql.Raw(separator).Raw("UPPER(").Raw(column).Raw(") LIKE ").Text(pattern).Raw(" ESCAPE '\\'");
            separator = " OR ";
        }
        sql.Raw(")").Raw(newestFirst).Raw(range);
    } else if (filter.Offset > 0 && filter.Limit >= 0) {
        // Skip rows by reading only the index.
        sql.Raw(" WHERE PodcastEpisodes.rowid IN (SELECT rowid FROM PodcastEpisodes").Raw(condition.Sql());
        sql.Raw(newestFirst).Raw(range).Raw(")").Raw(newestFirst);
    } else {
        sql.Raw(condition.Sql()).Raw(newestFirst).Raw(range);
    }
    const auto cursor = Read(sql);
    if (!cursor) return;
    const EpisodeColumns columns(*cursor);
    const int feedName = cursor->ColumnIndex("FeedName");
    TPodcastEpisode episode;
    ForEachRow(cursor, [&](const SqliteCursor& row) {
        columns.Read(row, episode);
        visitor(episode, row.Text(feedName));
    });
}

void TPodcastsDB::EnumGUIDs(int feedID, const std::function<void(std::string_view guid)>& visitor) {
    ForEachRow(Read(SqlBuilder("SELECT GUID FROM PodcastEpisodes WHERE FeedID = ").Integer(feedID)),
               [&](const SqliteCursor& row) { visitor(row.Utf8(0)); });
}

bool TPodcastsDB::HasEpisode(const QString& episodeKey) {
    SqlBuilder sql("SELECT EXISTS(SELECT 1 FROM PodcastEpisodes WHERE ");
    TPodcastsDBQueryBuilder::EpisodeCondition(sql, episodeKey);
    return ReadInteger(sql.Raw(")")) == 1;
}

int TPodcastsDB::CountEpisodes(const QString& episodeKey) {
    SqlBuilder sql("SELECT Count(*) FROM PodcastEpisodes WHERE ");
    TPodcastsDBQueryBuilder::EpisodeCondition(sql, episodeKey);
    const int count = ReadInteger(sql);
    return count == 0 && FindByOlderName(episodeKey) != 0 ? 1 : count;
}

void TPodcastsDB::UpdateEpisode(const SqlBuilder& update, const QString& episodeKey) {
    SqlBuilder sql(update.Sql());
    TPodcastsDBQueryBuilder::EpisodeCondition(sql.Raw(" WHERE "), episodeKey);
    ExecuteSQL(sql);
    if (ChangedRows() > 0) return;
    if (const qint64 row = FindByOlderName(episodeKey); row != 0)
        ExecuteSQL(SqlBuilder(update.Sql()).Raw(" WHERE rowid = ").Integer(row));
}

void TPodcastsDB::ForEachRowOf(const QString& episodeKey, std::string_view column,
                               const std::function<void(const TPodcastRowName&, const QString&)>& visitor) {
    std::vector<std::pair<TPodcastRowName, QString>> rows;
    const auto find = [&](const SqlBuilder& condition) {
        ForEachRow(Read(SqlBuilder("SELECT rowid, FeedID, GUID, ")
                            .Raw(column)
                            .Raw(" FROM PodcastEpisodes WHERE ")
                            .Raw(condition.Sql())),
                   [&](const SqliteCursor& row) {
                       rows.push_back({{row.Integer64(0), row.Integer(1), DigestOf(row.Utf8(2))}, row.Text(3)});
                   });
    };
    SqlBuilder named;
    TPodcastsDBQueryBuilder::EpisodeCondition(named, episodeKey);
    find(named);
    if (const qint64 older = rows.empty() ? FindByOlderName(episodeKey) : 0; older != 0)
        find(SqlBuilder("rowid = ").Integer(older));
    for (const auto& [name, value] : rows) visitor(name, value);
}

std::vector<TPodcastFormerState> TPodcastsDB::UpdateState(const QStringList& episodeKeys, TPodcastEpisodeState state) {
    std::vector<TPodcastFormerState> former;
    if (episodeKeys.isEmpty()) return former;
    RunInTransaction([&] {
        SqliteStatement update(*this, "UPDATE PodcastEpisodes SET State = ? WHERE rowid = ?");
        const QString wanted = QString::number(state);
        for (const QString& key : episodeKeys)
            ForEachRowOf(key, "State", [&](const TPodcastRowName& row, const QString& present) {
                if (present == wanted) return;
                update.Integer(state).Integer(row.RowID).Run();
                former.push_back({row, static_cast<TPodcastEpisodeState>(present.toInt())});
            });
    });
    return former;
}

QString TPodcastsDB::TitleOf(const TPodcastRowName& row) {
    const auto episode = GetEpisodeOfRow(FindRow(row));
    return episode ? episode->Fields[pefTitle] : QString();
}

qsizetype TPodcastsDB::RestoreStates(const std::vector<TPodcastFormerState>& former, TPodcastEpisodeState state) {
    qsizetype restored = 0;
    RunInTransaction([&]() VEXA_REQUIRES(Mutex()) {
        SqliteStatement update(*this, "UPDATE PodcastEpisodes SET State = ? WHERE rowid = ? AND State = ?");
        for (const auto& [row, before] : former) {
            update.Integer(before).Integer(FindRow(row)).Integer(state).Run();
            restored += ChangedRows();
        }
    });
    return restored;
}

void TPodcastsDB::EnumCachedFiles(const QStringList& episodeKeys, const TextVisitor& visitor) {
    const bool hasOlderNames = HasOlderNames();
    std::set<qint64> visited;  // a row named by keys of two groups is still one row
    for (qsizetype begin = 0; begin < episodeKeys.size(); begin += kKeysPerStatement) {
        SqlBuilder sql("SELECT URLAudioCached, rowid FROM PodcastEpisodes WHERE (");
        TPodcastsDBQueryBuilder::CachedFileLength(sql);
        const char* separator = " > 0) AND ((";
        for (const QString& key : episodeKeys.mid(begin, kKeysPerStatement)) {
            sql.Raw(separator);
            separator = ") OR (";
            if (const qint64 row = hasOlderNames && !HasEpisode(key) ? FindByOlderName(key) : 0; row != 0)
                sql.Raw("rowid = ").Integer(row);
            else
                TPodcastsDBQueryBuilder::EpisodeCondition(sql, key);
        }
        ForEachRow(Read(sql.Raw("))")), [&](const SqliteCursor& row) {
            if (visited.insert(row.Integer64(1)).second) visitor(row.Text(0));
        });
    }
}

void TPodcastsDB::SetCachedFile(const QString& episodeKey, const QString& fileName) {
    const vexa::TLock lock(Mutex());
    UpdateEpisode(SqlBuilder("UPDATE PodcastEpisodes SET URLAudioCached = ").Text(fileName), episodeKey);
}

std::vector<TPodcastFormerFile> TPodcastsDB::ForgetFiles(const QStringList& episodeKeys) {
    std::vector<TPodcastFormerFile> former;
    RunInTransaction([&] {
        SqliteStatement update(*this, "UPDATE PodcastEpisodes SET URLAudioCached = '' WHERE rowid = ?");
        for (const QString& key : episodeKeys)
            ForEachRowOf(key, "URLAudioCached", [&](const TPodcastRowName& row, const QString& fileName) {
                if (fileName.isEmpty()) return;
                update.Integer(row.RowID).Run();
                former.push_back({row, fileName});
            });
    });
    return former;
}

bool TPodcastsDB::RestoreFile(const TPodcastFormerFile& former) {
    bool isSet = false;
    RunInTransaction([&]() VEXA_REQUIRES(Mutex()) {
        SqliteStatement(*this,
                        "UPDATE PodcastEpisodes SET URLAudioCached = ? WHERE rowid = ? AND ifnull(URLAudioCached, '') "
                        "= ''")
            .Text(former.FileName)
            .Integer(FindRow(former.Row))
            .Run();
        isSet = ChangedRows() > 0;
    });
    return isSet;
}

bool TPodcastsDB::SetCachedFileOfRow(const TPodcastEpisode& episode, const QString& fileName) {
    bool isSet = false;
    RunInTransaction([&] {
        const qint64 row = FindRowOf(episode);
        isSet = row != 0;
        if (isSet)
            ExecuteSQL(SqlBuilder("UPDATE PodcastEpisodes SET URLAudioCached = ")
                           .Text(fileName)
                           .Raw(" WHERE rowid = ")
                           .Integer(row));
    });
    return isSet;
}

bool TPodcastsDB::ReplaceCachedFileOfRow(const TPodcastEpisode& episode, const QString& present,
                                         const QString& fileName) {
    bool isSet = false;
    RunInTransaction([&] { isSet = GetCachedFileOfRow(episode) == present && SetCachedFileOfRow(episode, fileName); });
    return isSet;
}

bool TPodcastsDB::SetFoundFileOfRow(const TPodcastEpisode& episode, const QString& fileName) {
    bool isSet = false;
    RunInTransaction([&] {
        isSet = ReplaceCachedFileOfRow(episode, episode.Fields[pefURLAudioCached], fileName);
        if (!isSet) return;
        // Rows with the same URI have the same audio only as long as this row has the URI: a merge may have given the
        // URI to another episode.
        const QString& uri = episode.Fields[pefURI];
        ExecuteSQL(SqlBuilder("UPDATE PodcastEpisodes SET URLAudioCached = ")
                       .Text(fileName)
                       .Raw(" WHERE URI = ")
                       .Text(uri)
                       .Raw(" AND ifnull(URLAudioCached, '') = '' AND EXISTS (SELECT 1 FROM PodcastEpisodes WHERE "
                            "rowid = ")
                       .Integer(FindRowOf(episode))
                       .Raw(" AND URI = ")
                       .Text(uri)
                       .Raw(")"));
    });
    return isSet;
}

std::optional<QString> TPodcastsDB::GetCachedFileOfRow(const TPodcastEpisode& episode) {
    const qint64 row = FindRowOf(episode);
    if (row == 0) return std::nullopt;
    const auto cursor =
        Read(SqlBuilder("SELECT ifnull(URLAudioCached, '') FROM PodcastEpisodes WHERE rowid = ").Integer(row));
    return cursor ? std::optional(cursor->Text(0)) : std::nullopt;
}

void TPodcastsDB::EnumCachedFilesOfFeed(int feedID, const TextVisitor& visitor) {
    ForEachRow(Read(SqlBuilder("SELECT URLAudioCached FROM PodcastEpisodes WHERE URLAudioCached IS NOT '' AND "
                               "URLAudioCached IS NOT NULL AND FeedID = ")
                        .Integer(feedID)),
               [&](const SqliteCursor& row) { visitor(row.Text(0)); });
}

void TPodcastsDB::ReplaceURIsByAddresses() {
    // Rows without a value do not conflict with each other.
    ExecuteSQL(
        "UPDATE PodcastEpisodes SET URI = CASE WHEN URLAudio LIKE 'http://_%' OR URLAudio LIKE 'https://_%' "
        "THEN URLAudio || iif(Nth = 1, '', '#' || Nth) END "
        "FROM (SELECT rowid AS Named, row_number() OVER (PARTITION BY URLAudio ORDER BY rowid) AS Nth "
        "FROM PodcastEpisodes) WHERE PodcastEpisodes.rowid = Named");
}

TPodcastFeedNumbers TPodcastsDB::GetFeedNumbers(int feedID) {
    const auto cursor = Read(SqlBuilder("SELECT Count(*), Sum(State = ")
                                 .Integer(pesNew)
                                 .Raw("), Max(PublishDate) FROM PodcastEpisodes WHERE FeedID = ")
                                 .Integer(feedID));
    if (!cursor) return {};
    return {.Episodes = cursor->Integer64(0), .New = cursor->Integer64(1), .Newest = cursor->Double(2)};
}

std::vector<TPodcastStoredFile> TPodcastsDB::GetStoredFiles() {
    std::vector<TPodcastStoredFile> files;
    ForEachRow(
        Read("SELECT FeedID, PodcastFeeds.Name, URI, URLAudioCached, State FROM PodcastEpisodes "
             "LEFT JOIN PodcastFeeds USING (FeedID) WHERE URLAudioCached IS NOT '' AND URLAudioCached IS NOT NULL "
             "ORDER BY PodcastEpisodes.rowid"),
        [&](const SqliteCursor& row) {
            files.push_back({.FeedID = row.Integer(0),
                             .FeedTitle = row.Text(1),
                             .EpisodeKey = row.Text(2),
                             .FileName = row.Text(3),
                             .State = static_cast<TPodcastEpisodeState>(row.Integer(4))});
        });
    return files;
}

int TPodcastsDB::ResetMissingCachedFiles() {
    // Check the files before locking the database, so that a sleeping disk does not make other writers wait.
    QStringList missing;
    bool hasNull = false;
    ForEachRow(Read("SELECT DISTINCT URLAudioCached FROM PodcastEpisodes WHERE URLAudioCached IS NOT ''"),
               [&](const SqliteCursor& row) {
                   if (row.IsNull(0))
                       hasNull = true;
                   else if (const QString name = row.Text(0); !vexa::FileExists(name))
                       missing += name;
               });
    int reset = 0;
    if (hasNull) ExecuteSQL("UPDATE PodcastEpisodes SET URLAudioCached = '' WHERE URLAudioCached IS NULL");
    for (qsizetype begin = 0; begin < missing.size(); begin += kKeysPerStatement) {
        SqlBuilder sql("UPDATE PodcastEpisodes SET URLAudioCached = '' WHERE NOT");
        TPodcastsDBQueryBuilder::FileExistsCondition(sql, "URLAudioCached");
        const char* separator = " AND URLAudioCached IS NOT '' AND URLAudioCached IN (";
        for (const QString& name : missing.mid(begin, kKeysPerStatement)) {
            sql.Raw(separator).Text(name);
            separator = ", ";
        }
        const vexa::TLock lock(Mutex());
        ExecuteSQL(sql.Raw(")"));
        reset += ChangedRows();
    }
    return reset;
}

bool TPodcastsDB::IsFileOfAnother(const QString& fileName, const TPodcastEpisode& episode) {
    // Rows with the same URI are the same audio file in several feeds; rows of one feed with the same GUID are the same
    // episode under several addresses.
    return ReadInteger(SqlBuilder("SELECT EXISTS(SELECT 1 FROM PodcastEpisodes WHERE URLAudioCached IS NOT '' AND "
                                  "URLAudioCached = ")
                           .Text(fileName)
                           .Raw(" AND URI IS NOT ")
                           .Text(episode.Fields[pefURI])
                           .Raw(" AND NOT (FeedID = ")
                           .Integer(episode.FeedID)
                           .Raw(" AND GUID = ")
                           .Text(episode.Fields[pefGUID])
                           .Raw("))")) == 1;
}

bool TPodcastsDB::IsFileRecorded(const QString& fileName) {
    return ReadInteger(SqlBuilder("SELECT EXISTS(SELECT 1 FROM PodcastEpisodes WHERE URLAudioCached IS NOT '' AND "
                                  "URLAudioCached = ")
                           .Text(fileName)
                           .Raw(")")) == 1;
}

bool TPodcastsDB::IsFileOfAnotherFeed(const QString& fileName, int feedID) {
    return ReadInteger(SqlBuilder("SELECT EXISTS(SELECT 1 FROM PodcastEpisodes WHERE URLAudioCached IS NOT '' AND "
                                  "URLAudioCached = ")
                           .Text(fileName)
                           .Raw(" AND FeedID <> ")
                           .Integer(feedID)
                           .Raw(")")) == 1;
}

void TPodcastsDB::ForgetMissingFile(const QString& fileName) {
    SqlBuilder sql(
        "UPDATE PodcastEpisodes SET URLAudioCached = '' WHERE URLAudioCached IS NOT '' AND URLAudioCached = ");
    sql.Text(fileName).Raw(" AND NOT");
    TPodcastsDBQueryBuilder::FileExistsCondition(sql, "URLAudioCached");
    ExecuteSQL(sql);
}

}  // namespace podcasts
