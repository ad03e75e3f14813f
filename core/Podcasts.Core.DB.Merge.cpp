// Storing a feed: what is stored already, what of the new document counts, and which rows are written.

#include "Podcasts.Core.DB.h"
#include "VEXA.Runtime.Text.h"

#include <QHash>

#include <algorithm>
#include <cstring>

namespace podcasts {

using vexa::EqualsUtf8;
using vexa::SqlBuilder;

std::string_view TPodcastStoredEpisodes::Keep(std::string_view bytes) {
    if (bytes.empty()) return {};
    if (bytes.size() > FChunkLeft) {
        const std::size_t size = std::max(bytes.size(), kChunkSize);
        FChunks.push_back(std::make_unique_for_overwrite<char[]>(size));
        // A text larger than a chunk gets one of its own, filled at once; the next text begins a new one.
        FChunkLeft = size;
        FChunkAt = FChunks.back().get();
    }
    char* const place = FChunkAt;
    std::memcpy(place, bytes.data(), bytes.size());
    FChunkAt += bytes.size();
    FChunkLeft -= bytes.size();
    return {place, bytes.size()};
}

void TPodcastStoredEpisodes::BuildIndexes() {
    // A rowid tells when a row was written last: REPLACE gives it a new one. Sorted here, since SQLite would carry the
    // rows' whole texts through its sorter.
    std::sort(FRows.begin(), FRows.end(), [](const Row& a, const Row& b) { return a.RowID < b.RowID; });
    FByGUID.reserve(FRows.size());
    FByURI.reserve(FRows.size());
    for (int index = 0; index < static_cast<int>(FRows.size()); ++index) {
        const Row& row = FRows[static_cast<std::size_t>(index)];
        FByGUID[row.GUID] = index;
        FByURI[row.URI] = index;
    }
}

const TPodcastStoredEpisodes::Row* TPodcastStoredEpisodes::Find(std::string_view guid, std::string_view uri) const {
    if (const Row* row = FindURI(uri); row && row->GUID == guid) return row;
    const auto found = FByGUID.find(guid);
    return found == FByGUID.end() ? nullptr : &FRows[static_cast<std::size_t>(found->second)];
}

const TPodcastStoredEpisodes::Row* TPodcastStoredEpisodes::FindURI(std::string_view uri) const {
    const auto found = FByURI.find(uri);
    return found == FByURI.end() ? nullptr : &FRows[static_cast<std::size_t>(found->second)];
}

TPodcastStoredEpisodes TPodcastsDB::LoadStoredEpisodes(int feedID) {
    TPodcastStoredEpisodes stored;
    const auto cursor = Query(SqlBuilder("SELECT URI, GUID, Title, Description, Artist, URL, URLAudio, URLAudioCached, "
                                         "Format, PublishDate, Duration, State, rowid FROM PodcastEpisodes "
                                         "WHERE FeedID = ")
                                  .Integer(feedID));
    if (!cursor) return stored;
    using Row = TPodcastStoredEpisodes::Row;
    static constexpr std::string_view Row::*texts[] = {&Row::URI,         &Row::GUID,           &Row::Title,
                                                       &Row::Description, &Row::Artist,         &Row::URL,
                                                       &Row::URLAudio,    &Row::URLAudioCached, &Row::Format};
    do {
        Row row;
        int column = 0;
        for (const auto text : texts) row.*text = stored.Keep(cursor->Utf8(column++));
        for (int i = 0; i < column + 3; ++i) row.HasNull = row.HasNull || cursor->IsNull(i);
        row.PublishDate = cursor->Double(column);
        row.Duration = cursor->Double(column + 1);
        row.State = cursor->Integer(column + 2);
        row.RowID = cursor->Integer64(column + 3);
        stored.FRows.push_back(row);
    } while (cursor->Next());
    stored.BuildIndexes();
    return stored;
}

std::vector<TPodcastEpisodeAndURI> TPodcastsDB::DistinctEpisodes(const TPodcastFeed& feed) {
    std::vector<TPodcastEpisodeAndURI> episodes;
    episodes.reserve(feed.Episodes().size());
    QHash<QString, std::size_t> lastOfURI;
    lastOfURI.reserve(feed.EpisodeCount());
    for (const auto& episode : feed.Episodes()) {
        episodes.push_back({episode.get(), TPodcastsDBQueryBuilder::MakeEpisodeURI(*episode, feed)});
        lastOfURI.insert(episodes.back().URI, episodes.size() - 1);
    }
    if (lastOfURI.size() == static_cast<qsizetype>(episodes.size())) return episodes;
    std::size_t index = 0;
    std::erase_if(episodes, [&](const auto& item) { return lastOfURI.value(item.URI) != index++; });
    return episodes;
}

namespace {

constexpr std::size_t kStatementSize = 64 * 1024;  // bytes; SQLite takes a thousand million

bool IsStoredAlready(const TPodcastStoredEpisodes::Row& row, const TPodcastEpisode& episode, const QString& format) {
    const auto& fields = episode.Fields;
    return !row.HasNull && row.State == episode.State && row.PublishDate == episode.PublishDate &&
           row.Duration == static_cast<double>(episode.Duration) && EqualsUtf8(fields[pefGUID], row.GUID) &&
           EqualsUtf8(fields[pefTitle], row.Title) && EqualsUtf8(fields[pefArtist], row.Artist) &&
           EqualsUtf8(fields[pefURL], row.URL) && EqualsUtf8(fields[pefURLAudio], row.URLAudio) &&
           EqualsUtf8(fields[pefURLAudioCached], row.URLAudioCached) && EqualsUtf8(format, row.Format) &&
           EqualsUtf8(fields[pefDescription], row.Description);
}

}  // namespace

void TPodcastsDB::AddOrUpdate(TPodcastFeed& feed) {
    // One transaction round the lookup of the feed and the writing of its episodes, so that what is compared is what
    // is replaced.
    RunInTransaction([&] {
        const int id = GetFeedID(feed.Fields[pffURLFeed]);
        AddOrUpdate(feed, DistinctEpisodes(feed), id > 0 ? LoadStoredEpisodes(id) : TPodcastStoredEpisodes());
    });
}

void TPodcastsDB::AddOrUpdate(TPodcastFeed& feed, const std::vector<TPodcastEpisodeAndURI>& episodes,
                              const TPodcastStoredEpisodes& stored) {
    StoreFeedRow(feed);
    for (const auto& episode : feed.Episodes()) episode->FeedID = feed.ID;
    if (episodes.empty()) return;
    RunInTransaction([&] {
        // Many rows to a statement: preparing one costs as much as writing several rows.
        SqlBuilder sql;
        for (const auto& [episode, uri] : episodes) {
            const QString format = MakeFormat(episode->Fields[pefURLAudio]);
            const auto* row = stored.FindURI(vexa::ToUtf8(uri));
            if (row && IsStoredAlready(*row, *episode, format)) continue;
            sql.Raw(sql.IsEmpty() ? "REPLACE INTO PodcastEpisodes VALUES (" : ", (").Text(uri);
            sql.Raw(", ").Integer(feed.ID);
            for (const auto field :
                 {pefGUID, pefTitle, pefDescription, pefArtist, pefURL, pefURLAudio, pefURLAudioCached})
                sql.Raw(", ").Text(episode->Fields[field]);
            sql.Raw(", ").Double(episode->PublishDate).Raw(", ").Double(episode->Duration);
            sql.Raw(", ").Integer(episode->State).Raw(", ").Text(format).Raw(")");
            if (sql.Sql().size() < kStatementSize) continue;
            ExecuteSQL(sql);
            sql.Clear();
        }
        if (!sql.IsEmpty()) ExecuteSQL(sql);
    });
}

void TPodcastsDB::StoreFeedRow(TPodcastFeed& feed) {
    struct Column {
        std::string_view Name;
        TPodcastFeedField Field;
    };
    static constexpr Column updated[] = {{"Name", pffTitle},
                                         {"Category", pffCategory},
                                         {"Copyright", pffCopyright},
                                         {"Description", pffDescription},
                                         {"Language", pffLanguage},
                                         {"Author", pffAuthor},
                                         {"URL", pffURL},
                                         {"URLLogo", pffURLLogo}};
    const auto lock = Lock();
    const auto& fields = feed.Fields;
    feed.ID = GetFeedID(fields[pffURLFeed]);
    if (feed.ID > 0) {
        const auto stored = GetFeed(feed.ID, false);
        const bool isStored = stored && std::all_of(std::begin(updated), std::end(updated), [&](const Column& column) {
                                  return stored->Fields[column.Field] == fields[column.Field];
                              });
        if (isStored) return;
        SqlBuilder sql("UPDATE PodcastFeeds SET ");
        const char* separator = "";
        for (const auto& [name, field] : updated) {
            sql.Raw(separator).Raw(name).Raw(" = ").Text(fields[field]);
            separator = ", ";
        }
        ExecuteSQL(sql.Raw(" WHERE FeedID = ").Integer(feed.ID));
        return;
    }
    SqlBuilder sql("INSERT INTO PodcastFeeds VALUES (NULL");
    for (const auto field : {pffTitle, pffCategory, pffCopyright, pffDescription, pffLanguage})
        sql.Raw(", ").Text(fields[field]);
    sql.Raw(", '', ''");  // login and password, which are not ours to keep
    for (const auto field : {pffAuthor, pffURL, pffURLFeed, pffURLLogo}) sql.Raw(", ").Text(fields[field]);
    ExecuteSQL(sql.Raw(")"));
    feed.ID = GetFeedID(fields[pffURLFeed]);
}

}  // namespace podcasts
