// Stores a feed: reads the stored episodes, decides which rows to write, and writes them in an order that lets rows
// exchange their URIs.

#include "Podcasts.Core.DB.Columns.h"
#include "Podcasts.Core.DB.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Text.h"

#include <QHash>

#include <algorithm>
#include <map>

namespace podcasts {

using vexa::EqualsUtf8;
using vexa::FromUtf8;
using vexa::SqlBuilder;
using vexa::SqliteStatement;
using Row = TPodcastStoredEpisodes::Row;
using Matches = std::vector<TPodcastEpisodeMatch>;

namespace {

constexpr std::size_t kRowsPerStatement = 500;

// A set of columns has one bit for each, in the order of kEpisodeColumns.
static_assert(kEpisodeColumnCount <= 32);
constexpr unsigned BitOf(int column) {
    return 1u << column;
}
constexpr int kFeedIDColumn = EpisodeColumn("FeedID");
constexpr int kPublishDateColumn = EpisodeColumn("PublishDate");
constexpr int kDurationColumn = EpisodeColumn("Duration");
constexpr int kStateColumn = EpisodeColumn("State");
constexpr int kFormatColumn = EpisodeColumn("Format");

/// "URI, FeedID, …", or as many "?".
std::string ListOfColumns(bool asParameters = false) {
    std::string list;
    for (const auto& column : kEpisodeColumns) {
        if (!list.empty()) list += ", ";
        list += asParameters ? "?" : column.Sql.Name;
    }
    return list;
}

/// The new values of a match's row: those of its record, and those derived from them.
struct NewRow {
    const TPodcastEpisodeMatch& Match;
    QString Format = MakeFormat(Match.Episode->Fields[pefURLAudio]);

    /// The set of columns in which the stored row differs.
    unsigned DifferencesFrom(const Row& row) const {
        unsigned bits = row.Nulls;
        for (int column = 0; column < kEpisodeColumnCount; ++column)
            if (!IsSame(row, column)) bits |= BitOf(column);
        return bits;
    }

    SqliteStatement& GiveValue(SqliteStatement& statement, int column) const {
        const TPodcastEpisode& episode = *Match.Episode;
        switch (column) {
            case kFeedIDColumn:
                return statement.Integer(episode.FeedID);
            case kPublishDateColumn:
                return statement.Double(episode.PublishDate);
            case kDurationColumn:
                return statement.Double(static_cast<double>(episode.Duration));
            case kStateColumn:
                return statement.Integer(episode.State);
            case kFormatColumn:
                return statement.Text(Format);
            default:
                return statement.Text(Text(kEpisodeColumns[column].Field));
        }
    }

private:
    bool IsSame(const Row& row, int column) const {
        const TPodcastEpisode& episode = *Match.Episode;
        switch (column) {
            case kFeedIDColumn:
                return true;  // the rows were selected by it
            case kPublishDateColumn:
                return row.PublishDate == episode.PublishDate;
            case kDurationColumn:
                return row.Duration == static_cast<double>(episode.Duration);
            case kStateColumn:
                return row.State == episode.State;
            case kFormatColumn:
                return EqualsUtf8(Format, row.Format);
            default: {
                const int field = kEpisodeColumns[column].Field;
                return EqualsUtf8(Text(field), row.Fields[static_cast<std::size_t>(field)]);
            }
        }
    }
    const QString& Text(int field) const {
        return field == pefURI ? Match.URI : Match.Episode->Fields[static_cast<std::size_t>(field)];
    }
};

/// An update of some columns of a stored row.
struct Change {
    unsigned Columns;  // a set of columns
    qint64 RowID;
    const NewRow* To;
};

/// An UPDATE of these columns. Its parameters are their values, in order, and the row id.
SqliteStatement UpdateOf(TPodcastsDB& db, unsigned columns) {
    std::string sql = "UPDATE PodcastEpisodes SET ";
    const char* separator = "";
    for (int column = 0; column < kEpisodeColumnCount; ++column) {
        if ((columns & BitOf(column)) == 0) continue;
        sql.append(separator).append(kEpisodeColumns[column].Sql.Name).append(" = ?");
        separator = ", ";
    }
    return SqliteStatement(db, sql + " WHERE rowid = ?");
}

// ---- What a united row keeps of its twins ----

using FoundFiles = QHash<QString, bool>;

/// The names of twins' files whose existence has not been checked yet.
QStringList UnknownFiles(const Matches& matches, const TPodcastStoredEpisodes& stored, const FoundFiles& found) {
    QStringList unknown;
    for (const auto& match : matches) {
        for (const int twin : match.Twins) {
            const QString file = FromUtf8(stored.Rows()[static_cast<std::size_t>(twin)].Fields[pefURLAudioCached]);
            if (!file.isEmpty() && !found.contains(file)) unknown += file;
        }
    }
    return unknown;
}

/// The mark of the united row: its own mark unless that is new; else listened if a twin was, else postponed if a twin
/// was.
TPodcastEpisodeState KeptState(const TPodcastEpisodeMatch& match, std::span<const Row> rows) {
    int state = rows[static_cast<std::size_t>(match.Row)].State;
    if (state != pesNew) return static_cast<TPodcastEpisodeState>(state);
    for (const int twin : match.Twins) {
        const int other = rows[static_cast<std::size_t>(twin)].State;
        if (other == pesListened) return pesListened;
        if (other == pesPostponed) state = pesPostponed;
    }
    return static_cast<TPodcastEpisodeState>(state);
}

/// The file of the united row: its own file, else that of the newest twin whose file exists.
QString KeptFile(const TPodcastEpisodeMatch& match, std::span<const Row> rows, const FoundFiles& found) {
    const std::string_view own = rows[static_cast<std::size_t>(match.Row)].Fields[pefURLAudioCached];
    if (!own.empty()) return FromUtf8(own);
    for (auto twin = match.Twins.rbegin(); twin != match.Twins.rend(); ++twin) {
        const QString file = FromUtf8(rows[static_cast<std::size_t>(*twin)].Fields[pefURLAudioCached]);
        if (!file.isEmpty() && found.value(file)) return file;
    }
    return {};
}

}  // namespace

TPodcastStoredEpisodes TPodcastsDB::LoadStoredEpisodes(int feedID) {
    TPodcastStoredEpisodes stored;
    const auto cursor =
        Query(SqlBuilder("SELECT " + ListOfColumns() + ", rowid FROM PodcastEpisodes WHERE FeedID = ").Integer(feedID));
    if (cursor) {
        do {
            Row row;
            for (int column = 0; column < kEpisodeColumnCount; ++column) {
                if (const int field = kEpisodeColumns[column].Field; field >= 0)
                    row.Fields[static_cast<std::size_t>(field)] = cursor->Utf8(column);
                if (cursor->IsNull(column)) row.Nulls |= BitOf(column);
            }
            row.Format = cursor->Utf8(kFormatColumn);
            row.PublishDate = cursor->Double(kPublishDateColumn);
            row.Duration = cursor->Double(kDurationColumn);
            row.State = cursor->Integer(kStateColumn);
            row.RowID = cursor->Integer64(kEpisodeColumnCount);
            stored.Add(row);
        } while (cursor->Next());
    }
    stored.BuildIndex();
    return stored;
}

void TPodcastsDB::AddOrUpdate(TPodcastFeed& feed) {
    // One transaction around looking up the feed and writing its episodes, so that the rows compared are the rows
    // replaced.
    RunInTransaction([&] {
        StoreFeedRow(feed);
        for (const auto& episode : feed.Episodes()) episode->FeedID = feed.ID;
        const TPodcastStoredEpisodes stored = LoadStoredEpisodes(feed.ID);
        const Matches matches = MatchEpisodesByURI(feed, stored);
        KeepOlderNames(feed.ID, matches, stored);
        WriteEpisodes(matches, stored);
        ForgetDocument(feed.ID);
    });
}

TPodcastMergeResult TPodcastsDB::Merge(TPodcastFeed& feed, const QString& newURL, const TPodcastDocumentNote& note) {
    const QString oldURL = feed.Fields[pffURLFeed];
    TPodcastMergeResult result;
    FoundFiles found;
    // Do not wait for the disk while the database is locked: if twins' files have to be checked, the transaction ends
    // without writing anything, and the merge starts again after checking them.
    for (QStringList unknown; !unknown.isEmpty() || !result.IsSubscribed;) {
        for (const QString& file : unknown) found.insert(file, vexa::FileExists(file));
        bool isGone = false;
        // One transaction from checking the subscription to writing the last row: a mark, a finished download or an
        // unsubscription by another thread or process can happen before or after, never in between.
        RunInTransaction([&] {
            const int id = oldURL.isEmpty() ? 0 : GetFeedID(oldURL);
            isGone = id < 1;
            if (isGone) return;
            // Set the address before matching the episodes, because some of their URIs contain it.
            const bool isMoving = !newURL.isEmpty() && newURL != oldURL && GetFeedID(newURL) < 1;
            feed.Fields[pffURLFeed] = isMoving ? newURL : oldURL;
            const TPodcastStoredEpisodes stored = LoadStoredEpisodes(id);
            const Matches matches = MatchEpisodes(feed, stored);
            unknown = UnknownFiles(matches, stored, found);
            if (!unknown.isEmpty()) return;
            result = {true, {}, {}};
            result.IsMoved = isMoving && ChangeFeedURL(oldURL, newURL);
            const auto rows = stored.Rows();
            for (const auto& match : matches) {
                TPodcastEpisode& episode = *match.Episode;
                const bool isPlayable = HasAudio(episode);
                const Row* row = match.Row >= 0 ? &rows[static_cast<std::size_t>(match.Row)] : nullptr;
                if (isPlayable && (!row || row->Fields[pefURLAudio].empty()))
                    result.NewEpisodes += MakeEpisodeKey(id, episode.Fields[pefGUID]);
                if (!row) continue;
                episode.State = KeptState(match, rows);
                episode.Fields[pefURLAudioCached] = KeptFile(match, rows, found);
                if (!isPlayable) episode.Fields[pefURLAudio] = FromUtf8(row->Fields[pefURLAudio]);
                for (const int twin : match.Twins) {
                    const QString file = FromUtf8(rows[static_cast<std::size_t>(twin)].Fields[pefURLAudioCached]);
                    if (found.value(file) && file != episode.Fields[pefURLAudioCached]) result.SpareFiles += file;
                }
            }
            StoreFeedRow(feed);
            for (const auto& episode : feed.Episodes()) episode->FeedID = id;
            KeepOlderNames(id, matches, stored);
            WriteEpisodes(matches, stored);
            NoteDocument(feed, isMoving ? TPodcastDocumentNote() : note);
        });
        if (isGone) return {};
    }
    result.SpareFiles.removeDuplicates();
    result.SpareFiles.removeIf([this](const QString& file) { return IsFileRecorded(file); });
    return result;
}

void TPodcastsDB::ExecuteForRows(std::string_view sql, const std::vector<qint64>& rowIDs) {
    for (std::size_t begin = 0; begin < rowIDs.size(); begin += kRowsPerStatement) {
        SqlBuilder statement(sql);
        const char* separator = " (";
        for (std::size_t i = begin; i < std::min(begin + kRowsPerStatement, rowIDs.size()); ++i) {
            statement.Raw(separator).Integer(rowIDs[i]);
            separator = ", ";
        }
        ExecuteSQL(statement.Raw(")"));
    }
}

void TPodcastsDB::WriteEpisodes(const Matches& matches, const TPodcastStoredEpisodes& stored) {
    const auto rows = stored.Rows();
    std::vector<NewRow> newRows;
    newRows.reserve(matches.size());
    for (const auto& match : matches) newRows.push_back({match});

    std::vector<const NewRow*> added;
    std::vector<Change> changed;
    enum class Fate : char { Stays, Moves, Goes };
    std::vector<Fate> fates(rows.size(), Fate::Stays);
    for (const NewRow& newRow : newRows) {
        const TPodcastEpisodeMatch& match = newRow.Match;
        for (const int twin : match.Twins) fates[static_cast<std::size_t>(twin)] = Fate::Goes;
        if (match.Row < 0) {
            added.push_back(&newRow);
            continue;
        }
        const Row& row = rows[static_cast<std::size_t>(match.Row)];
        const unsigned columns = newRow.DifferencesFrom(row);
        if (columns == 0) continue;
        changed.push_back({columns, row.RowID, &newRow});
        if ((columns & BitOf(EpisodeColumn("URI"))) != 0) fates[static_cast<std::size_t>(match.Row)] = Fate::Moves;
    }
    if (added.empty() && changed.empty() && std::find(fates.begin(), fates.end(), Fate::Goes) == fates.end()) return;

    // If the new URI of a row is taken, its owner must give it up first: the owner gets another URI too, or it matches
    // no episode of the document and is replaced. Otherwise the table's constraint would silently delete the owner.
    std::vector<qint64> leaving, replaced;
    for (const NewRow& newRow : newRows) {
        const int row = newRow.Match.Row;
        if (row >= 0 && fates[static_cast<std::size_t>(row)] != Fate::Moves) continue;
        const int owner = stored.FindURI(vexa::ToUtf8(newRow.Match.URI));
        if (owner < 0 || owner == row) continue;
        Fate& fate = fates[static_cast<std::size_t>(owner)];
        leaving.push_back(rows[static_cast<std::size_t>(owner)].RowID);
        if (fate != Fate::Stays) continue;
        fate = Fate::Goes;
        replaced.push_back(leaving.back());
    }
    ExecuteForRows("UPDATE PodcastEpisodes SET URI = char(1) || rowid WHERE rowid IN", leaving);

    // Update the rows in their order in the file.
    std::sort(changed.begin(), changed.end(), [](const Change& a, const Change& b) { return a.RowID < b.RowID; });
    std::map<unsigned, SqliteStatement> updates;  // by the sets of columns that they write
    for (const auto& [columns, rowID, newRow] : changed) {
        auto update = updates.find(columns);
        if (update == updates.end()) update = updates.emplace(columns, UpdateOf(*this, columns)).first;
        for (int column = 0; column < kEpisodeColumnCount; ++column)
            if ((columns & BitOf(column)) != 0) newRow->GiveValue(update->second, column);
        update->second.Integer(rowID).Run();
    }
    if (!added.empty()) {
        SqliteStatement insert(
            *this, "INSERT INTO PodcastEpisodes (" + ListOfColumns() + ") VALUES (" + ListOfColumns(true) + ")");
        for (const NewRow* newRow : added) {
            for (int column = 0; column < kEpisodeColumnCount; ++column) newRow->GiveValue(insert, column);
            insert.Run();
        }
    }
    // Delete rows last, so that no new row gets the id of an old one.
    std::vector<qint64> going;
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (fates[i] == Fate::Goes) going.push_back(rows[i].RowID);
    ExecuteForRows("DELETE FROM PodcastEpisodes WHERE rowid IN", going);
    ExecuteForRows("DELETE FROM PodcastEpisodeNames WHERE Episode IN", replaced);
}

void TPodcastsDB::StoreFeedRow(TPodcastFeed& feed) {
    // The database assigns the key, and the address is what the row is found by; neither is updated.
    const auto isUpdated = [](const TPodcastColumn& column) { return column.Field >= 0 && column.Field != pffURLFeed; };
    const auto lock = Lock();
    const auto& fields = feed.Fields;
    feed.ID = GetFeedID(fields[pffURLFeed]);
    if (feed.ID > 0) {
        const auto stored = GetFeed(feed.ID, false);
        const bool isStored =
            stored && std::all_of(std::begin(kFeedColumns), std::end(kFeedColumns), [&](const TPodcastColumn& column) {
                return !isUpdated(column) || stored->Fields[column.Field] == fields[column.Field];
            });
        if (isStored) return;
        SqlBuilder sql("UPDATE PodcastFeeds SET ");
        const char* separator = "";
        for (const auto& column : kFeedColumns) {
            if (!isUpdated(column)) continue;
            sql.Raw(separator).Raw(column.Sql.Name).Raw(" = ").Text(fields[column.Field]);
            separator = ", ";
        }
        ExecuteSQL(sql.Raw(" WHERE FeedID = ").Integer(feed.ID));
        return;
    }
    SqlBuilder names("INSERT INTO PodcastFeeds ("), values(") VALUES (");
    const char* separator = "";
    for (const auto& [sql, field] : kFeedColumns) {
        if (sql.Kind == vexa::SqlColumn::Type::Key) continue;
        names.Raw(separator).Raw(sql.Name);
        values.Raw(separator).Text(field >= 0 ? fields[field] : QString());
        separator = ", ";
    }
    ExecuteSQL(names.Raw(values.Sql()).Raw(")"));
    feed.ID = GetFeedID(fields[pffURLFeed]);
}

}  // namespace podcasts
