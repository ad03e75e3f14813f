// Older names of episodes: the table PodcastEpisodeNames. docs/database.md describes it.

#include "Podcasts.Core.DB.h"
#include "VEXA.Runtime.Text.h"

#include <QCryptographicHash>

#include <algorithm>
#include <numeric>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace podcasts {

using vexa::FromUtf8;
using vexa::SqlBuilder;
using vexa::SqliteStatement;
using Row = TPodcastStoredEpisodes::Row;

qint64 DigestOf(std::string_view utf8) {
    const QByteArray hash = QCryptographicHash::hash(QByteArrayView(utf8.data(), static_cast<qsizetype>(utf8.size())),
                                                     QCryptographicHash::Md5);
    quint64 digest = 0;
    for (int i = 0; i < 8; ++i) digest = digest << 8 | static_cast<unsigned char>(hash[i]);
    return static_cast<qint64>(digest);
}

namespace {

constexpr std::size_t kMaxNames = 8;  // stored for one episode: the newest
constexpr int kDigestDigits = 16;     // hexadecimal

/// A check value for a row's GUID. It reveals a row id that belongs to another episode by now, for instance after the
/// file was restored from a dump.
qint64 CheckOf(std::string_view guid) {
    return DigestOf(guid) & 0xFFFFFFFF;
}

std::string_view WithoutQuery(std::string_view uri) {
    return uri.substr(0, uri.find_first_of("?#"));
}

/// The names by which a feed's rows will be looked up after they have moved.
class URINames {
public:
    URINames(std::span<const Row> rows, const std::vector<TPodcastEpisodeMatch>& matches) {
        std::vector<int> episodes(rows.size());  // the episode of each row; rows to be united are one episode
        std::iota(episodes.begin(), episodes.end(), 0);
        for (const auto& match : matches)
            for (const int twin : match.Twins) episodes[static_cast<std::size_t>(twin)] = match.Row;
        FOwners.reserve(rows.size());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const auto [owner, isNew] = FOwners.try_emplace(WithoutQuery(rows[i].Fields[pefURI]), episodes[i]);
            if (!isNew && owner->second != episodes[i]) owner->second = kShared;
        }
    }
    /// The URI without its query, since queries contain tokens that differ at every refresh; but with the query if only
    /// that distinguishes the feed's episodes, or if the URI is made from a GUID.
    std::string_view Of(const Row& row) const {
        const bool isMadeOfGUID = FromUtf8(row.Fields[pefURI]) != MakeURI(FromUtf8(row.Fields[pefURLAudio]));
        const std::string_view name = WithoutQuery(row.Fields[pefURI]);
        return isMadeOfGUID || FOwners.at(name) == kShared ? row.Fields[pefURI] : name;
    }

private:
    static constexpr int kShared = -1;
    std::unordered_map<std::string_view, int> FOwners;  // the episode with a name, or kShared
};

}  // namespace

void TPodcastsDB::KeepOlderNames(int feedID, const std::vector<TPodcastEpisodeMatch>& matches,
                                 const TPodcastStoredEpisodes& stored) {
    const auto rows = stored.Rows();
    const auto rowAt = [&](int index) -> const Row& { return rows[static_cast<std::size_t>(index)]; };
    struct Name {
        qint64 Digest;
        bool IsTaken = false;  // by another episode of the document
    };
    struct Renamed {
        qint64 RowID;
        std::vector<Name> Names;  // the names it loses, the oldest first
        qint64 Check;             // of its new GUID
        bool HasNewCheck;
    };
    std::vector<Renamed> renamed;
    std::unordered_map<qint64, std::size_t> renamedByRow;  // indexes into `renamed`, also by the row ids of twins
    std::vector<qint64> twins;
    std::optional<URINames> uriNames;
    std::unordered_set<std::string> takenURIs;
    for (const auto& match : matches) {
        if (match.Row < 0) continue;
        const std::string uri = vexa::ToUtf8(match.URI);
        const QString& guid = match.Episode->Fields[pefGUID];
        const Row& row = rowAt(match.Row);
        const bool hasNewGUID = !vexa::EqualsUtf8(guid, row.Fields[pefGUID]);
        if (match.Twins.empty() && uri == row.Fields[pefURI] && !hasNewGUID) continue;
        if (!uriNames) {
            uriNames.emplace(rows, matches);
            for (const auto& each : matches) takenURIs.insert(vexa::ToUtf8(each.URI));
        }
        Renamed& entry = renamed.emplace_back(Renamed{row.RowID, {}, CheckOf(vexa::ToUtf8(guid)), hasNewGUID});
        const auto note = [&](const Row& older) {
            if (!older.Fields[pefURI].empty() && older.Fields[pefURI] != uri)
                entry.Names.push_back(
                    {DigestOf(uriNames->Of(older)), takenURIs.contains(std::string(older.Fields[pefURI]))});
            if (!older.Fields[pefGUID].empty() && !vexa::EqualsUtf8(guid, older.Fields[pefGUID]))
                entry.Names.push_back({DigestOf(older.Fields[pefGUID])});
            renamedByRow.emplace(older.RowID, renamed.size() - 1);
        };
        for (const int twin : match.Twins) {
            note(rowAt(twin));
            twins.push_back(rowAt(twin).RowID);
        }
        note(row);
    }
    if (renamed.empty()) return;

    struct Kept {
        qint64 ID, Name;
    };
    std::vector<std::vector<Kept>> kept(renamed.size());      // names that are stored already, the oldest first
    std::vector<std::vector<Kept>> handedOn(renamed.size());  // stored names of twins
    std::vector<qint64> dropped;
    if (const auto cursor = Query(SqlBuilder("SELECT Episode, Name, ID, GUIDCheck, GUID, PodcastEpisodeNames.FeedID "
                                             "FROM PodcastEpisodes JOIN PodcastEpisodeNames ON Episode = "
                                             "PodcastEpisodes.rowid WHERE PodcastEpisodes.FeedID = ")
                                      .Integer(feedID)
                                      .Raw(" ORDER BY ID")))
        do {
            if (cursor->Integer(5) != feedID || cursor->Integer64(3) != CheckOf(cursor->Utf8(4))) {
                dropped.push_back(cursor->Integer64(2));  // the name of an episode that had this row id before
                continue;
            }
            const auto found = renamedByRow.find(cursor->Integer64(0));
            if (found == renamedByRow.end()) continue;
            const bool isOwn = renamed[found->second].RowID == found->first;
            (isOwn ? kept : handedOn)[found->second].push_back({cursor->Integer64(2), cursor->Integer64(1)});
        } while (cursor->Next());

    SqliteStatement insert(*this,
                           "INSERT INTO PodcastEpisodeNames (Name, Episode, FeedID, GUIDCheck) VALUES (?, ?, ?, ?)");
    SqliteStatement updateCheck(*this, "UPDATE PodcastEpisodeNames SET GUIDCheck = ? WHERE Episode = ?");
    SqliteStatement handOn(*this, "UPDATE PodcastEpisodeNames SET GUIDCheck = ?, Episode = ? WHERE ID = ?");
    bool isAnyNew = false;
    // Stores a name with a new ID. If it was stored before, its old ID is dropped.
    const auto keep = [&](const Renamed& entry, std::vector<Kept>& names, qint64 name) {
        std::erase_if(names, [&](const Kept& earlier) {
            if (earlier.Name == name) dropped.push_back(earlier.ID);
            return earlier.Name == name;
        });
        insert.Integer(name).Integer(entry.RowID).Integer(feedID).Integer(entry.Check).Run();
        isAnyNew = true;
    };
    for (std::size_t i = 0; i < renamed.size(); ++i) {
        const Renamed& entry = renamed[i];
        if (entry.HasNewCheck && !kept[i].empty()) updateCheck.Integer(entry.Check).Integer(entry.RowID).Run();
        std::set<qint64> known;
        for (const Kept& name : kept[i]) known.insert(name.Name);
        for (const Kept& name : handedOn[i]) {
            if (!known.insert(name.Name).second) continue;
            handOn.Integer(entry.Check).Integer(entry.RowID).Integer(name.ID).Run();
            kept[i].push_back(name);
        }
        std::sort(kept[i].begin(), kept[i].end(), [](const Kept& a, const Kept& b) { return a.ID < b.ID; });
        std::vector<qint64> added;
        for (const Name& name : entry.Names) {
            // A known name keeps its ID, unless another episode has that name from now on: its new ID then leads those
            // who have used the name until now to this episode.
            const bool isNew = known.insert(name.Digest).second;
            if (isNew || name.IsTaken) added.push_back(name.Digest);
        }
        if (added.size() > kMaxNames) added.erase(added.begin(), added.end() - kMaxNames);
        for (const qint64 name : added) keep(entry, kept[i], name);
        for (std::size_t old = 0; old < kept[i].size() && kept[i].size() - old + added.size() > kMaxNames; ++old)
            dropped.push_back(kept[i][old].ID);
    }
    // The largest ID is the count of moves, so if all names are known already, store one of them again.
    for (std::size_t i = 0; i < renamed.size() && !isAnyNew; ++i)
        if (!renamed[i].Names.empty()) keep(renamed[i], kept[i], renamed[i].Names.back().Digest);
    ExecuteForRows("DELETE FROM PodcastEpisodeNames WHERE ID IN", dropped);
    ExecuteForRows("DELETE FROM PodcastEpisodeNames WHERE Episode IN", twins);
}

void TPodcastsDB::RemoveOlderNames(int feedID) {
    ExecuteSQL(SqlBuilder("DELETE FROM PodcastEpisodeNames WHERE Episode IN (SELECT rowid FROM PodcastEpisodes "
                          "WHERE FeedID = ")
                   .Integer(feedID)
                   .Raw(")"));
}

bool TPodcastsDB::HasOlderNames() {
    return ReadInteger("SELECT EXISTS(SELECT 1 FROM PodcastEpisodeNames)") == 1;
}

qint64 TPodcastsDB::GetMoveCount() {
    const auto cursor = Read("SELECT ifnull(max(ID), 0) FROM PodcastEpisodeNames");
    return cursor ? cursor->Integer64(0) : 0;
}

qint64 TPodcastsDB::GetFeedsVersion() {
    const auto cursor = Read("SELECT ifnull(sum(FeedID), 0) FROM PodcastFeeds");  // IDs are never used again
    return cursor ? cursor->Integer64(0) : 0;
}

namespace {

/// The statement that finds rows by the digest of an older name; the caller adds conditions.
SqlBuilder SelectByName() {
    return SqlBuilder(
        "SELECT Episode, GUIDCheck, GUID FROM PodcastEpisodeNames JOIN PodcastEpisodes ON PodcastEpisodes.rowid = "
        "Episode AND PodcastEpisodes.FeedID = PodcastEpisodeNames.FeedID WHERE EXISTS (SELECT 1 FROM PodcastFeeds "
        "WHERE PodcastFeeds.FeedID = PodcastEpisodeNames.FeedID) AND ");
}

}  // namespace

qint64 TPodcastsDB::FindByOlderName(const QString& episodeKey) {
    // The row ids of episodes that had the name, at most two.
    const auto find = [this](const SqlBuilder& condition) {
        std::set<qint64> rows;
        if (const auto cursor = Read(SelectByName().Raw(condition.Sql()))) do {
                if (cursor->Integer64(1) == CheckOf(cursor->Utf8(2))) rows.insert(cursor->Integer64(0));
            } while (rows.size() < 2 && cursor->Next());
        return rows;
    };
    std::set<qint64> rows;
    if (const QChar delimiter(kEpisodeKeyDelimiter); episodeKey.startsWith(delimiter)) {
        rows = find(SqlBuilder("Name = ")
                        .Integer(DigestOf(vexa::ToUtf8(episodeKey.section(delimiter, 2))))
                        .Raw(" AND PodcastEpisodeNames.FeedID = ")
                        .Integer(episodeKey.section(delimiter, 1, 1).toInt()));
    } else if (const std::string uri = vexa::ToUtf8(episodeKey); !uri.empty()) {
        rows = find(SqlBuilder("Name = ").Integer(DigestOf(uri)));
        const std::string_view path = WithoutQuery(uri);
        if (rows.empty() && path != uri) rows = find(SqlBuilder("Name = ").Integer(DigestOf(path)));
    }
    return rows.size() == 1 ? *rows.begin() : 0;  // a name that two episodes had is ambiguous
}

qint64 TPodcastsDB::FindMovedSince(const QString& episodeKey, qint64 moveCount) {
    SqlBuilder sql = SelectByName();
    if (const QChar delimiter(kEpisodeKeyDelimiter); episodeKey.startsWith(delimiter)) {
        sql.Raw("Name = ").Integer(DigestOf(vexa::ToUtf8(episodeKey.section(delimiter, 2))));
        sql.Raw(" AND PodcastEpisodeNames.FeedID = ").Integer(episodeKey.section(delimiter, 1, 1).toInt());
    } else {
        const std::string uri = vexa::ToUtf8(episodeKey);
        sql.Raw("Name IN (").Integer(DigestOf(uri)).Raw(", ").Integer(DigestOf(WithoutQuery(uri))).Raw(")");
    }
    // The first episode that has lost the name since then is the one that had it then.
    const auto cursor = Read(sql.Raw(" AND ID > ").Integer(moveCount).Raw(" ORDER BY ID"));
    if (cursor) do
            if (cursor->Integer64(1) == CheckOf(cursor->Utf8(2))) return cursor->Integer64(0);
        while (cursor->Next());
    return 0;
}

qint64 TPodcastsDB::FindRow(TPodcastRowName row) {
    {
        const vexa::TLock lock(FPutBackMutex);
        for (auto feed = FPutBack.find(row.FeedID); feed != FPutBack.end(); feed = FPutBack.find(row.FeedID)) {
            const PutBackRows& rows = feed->second;
            const auto old = std::lower_bound(rows.Old.begin(), rows.Old.end(), row.RowID);
            if (old == rows.Old.end() || *old != row.RowID) return 0;
            row.RowID = rows.First + (old - rows.Old.begin());
            row.FeedID = rows.FeedID;
        }
    }
    // A row keeps its id when it moves. But the id of a deleted row is used again, so the row must have the episode's
    // GUID, or must have had it.
    const SqlBuilder ofRow = SqlBuilder(" = ").Integer(row.RowID).Raw(" AND FeedID = ").Integer(row.FeedID);
    const auto present = Read(SqlBuilder("SELECT GUID FROM PodcastEpisodes WHERE rowid").Raw(ofRow.Sql()));
    if (!present) return 0;
    if (DigestOf(present->Utf8(0)) == row.GUIDDigest) return row.RowID;
    const qint64 check = CheckOf(present->Utf8(0));
    const bool hadGUID = ReadInteger(SqlBuilder("SELECT EXISTS(SELECT 1 FROM PodcastEpisodeNames WHERE Episode")
                                         .Raw(ofRow.Sql())
                                         .Raw(" AND Name = ")
                                         .Integer(row.GUIDDigest)
                                         .Raw(" AND GUIDCheck = ")
                                         .Integer(check)
                                         .Raw(")")) == 1;
    return hadGUID ? row.RowID : 0;
}

qint64 TPodcastsDB::FindRowOf(const TPodcastEpisode& episode) {
    const QString& guid = episode.Fields[pefGUID];
    if (const qint64 row = FindRow({episode.RowID, episode.FeedID, DigestOf(vexa::ToUtf8(guid))}); row != 0) return row;
    // A program of an older version replaces the row by a new one with one of its names. If the row was united with
    // others, look for the row of its GUID, unless that has a file already.
    const auto ofGUID = [&](std::string_view column) {
        return SqlBuilder("(SELECT ")
            .Raw(column)
            .Raw(" FROM PodcastEpisodes WHERE FeedID = ")
            .Integer(episode.FeedID)
            .Raw(" AND GUID = ")
            .Text(guid);
    };
    SqlBuilder sql("SELECT coalesce(");
    sql.Raw(ofGUID("rowid").Raw(" AND URI = ").Text(episode.Fields[pefURI]).Raw("), ").Sql());
    sql.Raw(ofGUID("CASE WHEN Count(*) = 1 AND Count(nullif(URLAudioCached, '')) = 0 THEN max(rowid) END").Sql());
    const auto found = Read(sql.Raw("), 0)"));
    return found ? found->Integer64(0) : 0;
}

QStringList TPodcastsDB::FindByOlderGUID(int feedID, const QString& digits) {
    const QByteArray prefix = digits.left(kDigestDigits).toLatin1();
    // Digests with the same first digits are a contiguous range, also when read as signed numbers.
    const auto bound = [&](char fill) {
        const QByteArray whole = prefix + QByteArray(kDigestDigits - prefix.size(), fill);
        return static_cast<qint64>(whole.toULongLong(nullptr, 16));
    };
    QStringList guids;
    const auto cursor = Read(SelectByName()
                                 .Raw("PodcastEpisodeNames.FeedID = ")
                                 .Integer(feedID)
                                 .Raw(" AND Name BETWEEN ")
                                 .Integer(bound('0'))
                                 .Raw(" AND ")
                                 .Integer(bound('f')));
    if (cursor) do
            if (cursor->Integer64(1) == CheckOf(cursor->Utf8(2))) guids += cursor->Text(2);
        while (cursor->Next());
    guids.removeDuplicates();
    return guids;
}

}  // namespace podcasts
