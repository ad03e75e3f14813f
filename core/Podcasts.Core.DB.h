#pragma once
// The podcast database: feeds, episodes and logos in one SQLite file. docs/database.md describes its layout.
//
// Every operation may be called by any thread. A missing row is a false result, an ID <= 0, or nothing done; SQL errors
// are vexa::SqliteError. Operations keep no state between calls. Visitors are called on the calling thread while the
// query is open.

#include "Podcasts.Core.Classes.h"
#include "VEXA.Runtime.SQLite.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace podcasts {

/// The pieces of SQL that several statements share.
class TPodcastsDBQueryBuilder {
public:
    TPodcastsDBQueryBuilder() = delete;

    /// Appends the condition that names one episode by its key.
    static void EpisodeCondition(vexa::SqlBuilder& builder, const QString& episodeKey);
    /// The text of column URI: "podcast" in place of the audio address's scheme. Where the address contains "time" (it
    /// would differ at every refresh), the feed's address + "-/" + GUID stands in for it.
    static QString MakeEpisodeURI(const TPodcastEpisode& episode, const TPodcastFeed& feed);
    /// Appends the length of the cached file's name, 0 for none.
    static void CachedFileLength(vexa::SqlBuilder& builder);
    static void FileExistsCondition(vexa::SqlBuilder& builder, std::string_view column);
    /// Counts the episodes in a state; with `joinFeed` as a sub-query that belongs to a row of PodcastFeeds.
    static std::string StateCountQuery(TPodcastEpisodeState state, bool joinFeed);
};

/// What the database holds of one feed's episodes, read at once for a merge.
class TPodcastStoredEpisodes {
public:
    struct Row {
        std::string_view URI, GUID, Title, Description, Artist, URL, URLAudio, URLAudioCached, Format;
        bool HasNull = false;  // a column that we always write is NULL
        double PublishDate = 0, Duration = 0;
        int State = 0;
        qint64 RowID = 0;
    };

    /// The row of a GUID: of several (an audio address that changed) the one with this URI, else the one written last.
    const Row* Find(std::string_view guid, std::string_view uri) const;
    const Row* FindURI(std::string_view uri) const;

private:
    friend class TPodcastsDB;
    static constexpr std::size_t kChunkSize = 1 << 20;

    std::string_view Keep(std::string_view bytes);
    void BuildIndexes();

    std::vector<std::unique_ptr<char[]>> FChunks;  // hold the rows' texts
    char* FChunkAt = nullptr;
    std::size_t FChunkLeft = 0;
    std::vector<Row> FRows;                             // in the order written
    std::unordered_map<std::string_view, int> FByGUID;  // the row written last
    std::unordered_map<std::string_view, int> FByURI;
};

/// An episode of a parsed feed with the URI that it is stored under.
struct TPodcastEpisodeAndURI {
    TPodcastEpisode* Episode;
    QString URI;
};

/// Which episodes EnumEpisodes visits.
struct TPodcastEpisodeFilter {
    int FeedID = 0;     // 0: of all feeds
    int State = -1;     // −1: in any state
    QString Search;     // in titles, artists and feed names, ignoring letter case; empty: no search
    qint64 Limit = -1;  // −1: all
    qint64 Offset = 0;
};

class TPodcastsDB final : public vexa::SqliteDatabase {
public:
    using FeedVisitor = std::function<void(const QString& urlFeed, const QString& name, int count)>;
    using TextVisitor = std::function<void(const QString&)>;
    using EpisodeVisitor = std::function<void(const TPodcastEpisode& episode, const QString& feedName)>;

    /// Opens or creates the file; upgrades older layouts; refuses a newer one before anything is written.
    explicit TPodcastsDB(const QString& fileName);

    /// Feeds.
    int GetFeedID(const QString& urlFeed);
    std::unique_ptr<TPodcastFeed> GetFeed(int id, bool withEpisodes);
    std::unique_ptr<TPodcastFeed> GetFeed(const QString& urlFeed, bool withEpisodes);
    /// Stores a feed with all its episodes and sets its ID. Rows of the same (URI, FeedID) are replaced as a whole when
    /// any value differs; stored episodes that the record does not hold stay.
    void AddOrUpdate(TPodcastFeed& feed);
    void Remove(int id);
    void Remove(const QString& urlFeed);
    void ChangeFeedURL(const QString& oldURL, const QString& newURL);
    /// By name; only feeds of `category` unless that is empty. The count is 0.
    void EnumFeeds(const QString& category, const FeedVisitor& visitor);
    void EnumFeeds(const FeedVisitor& visitor) { EnumFeeds(QString(), visitor); }
    /// By name, with the number of episodes in that state; only feeds that have one.
    void EnumFeedsWithState(TPodcastEpisodeState state, const FeedVisitor& visitor);

    /// By name, with the numbers of new, postponed and all episodes.
    void EnumFeedSummaries(const std::function<void(int id, const QString& urlFeed, const QString& name, int newCount,
                                                    int postponedCount, int episodeCount)>& visitor);

    /// Episodes.
    std::unique_ptr<TPodcastEpisode> GetEpisode(const QString& episodeKey);
    /// ID 0 counts over all feeds. False when there is no such feed.
    bool GetEpisodeCounts(int feedID, int& newCount, int& postponedCount);
    /// An empty address counts over all feeds.
    bool GetEpisodeCounts(const QString& urlFeed, int& newCount, int& postponedCount);
    int GetEpisodeCount(int feedID);
    /// URIs of new episodes without a cached file, newest first.
    void EnumNewEpisodes(const TextVisitor& visitor);
    /// Newest first.
    void EnumEpisodes(const TPodcastEpisodeFilter& filter, const EpisodeVisitor& visitor);
    void EnumGUIDs(int feedID, const TextVisitor& visitor);
    /// How many rows a key names.
    int CountEpisodes(const QString& episodeKey);
    void UpdateState(const QStringList& episodeKeys, TPodcastEpisodeState state);

    /// Cached files.
    /// One visit a row: a file that several rows record is visited for each.
    void EnumCachedFiles(const QStringList& episodeKeys, const TextVisitor& visitor);
    /// An empty name marks the episode as not cached.
    void SetCachedFile(const QString& episodeKey, const QString& fileName);
    /// Marks episodes as not cached whose file is gone; returns how many.
    int ResetMissingCachedFiles();
    /// Whether the row of another episode records this file: one of another URI and another GUID.
    bool IsFileOfAnother(const QString& fileName, const TPodcastEpisode& episode);
    /// Whether any row records this file.
    bool IsFileRecorded(const QString& fileName);
    /// Marks every episode that records this file as not cached.
    void ForgetFile(const QString& fileName);

    /// Logos: the bytes of an image file as they were downloaded.
    bool GetFeedLogo(int id, QByteArray& data);
    void SetFeedLogo(int id, const void* data, std::size_t size);

    struct Index {
        std::string_view Name, Definition;
    };
    /// The indexes that are created when missing.
    static std::span<const Index> Indexes();

    /// The parts of a merge, for use in one transaction. Of several episodes with one URI the last one counts, since
    /// they share a row.
    static std::vector<TPodcastEpisodeAndURI> DistinctEpisodes(const TPodcastFeed& feed);
    TPodcastStoredEpisodes LoadStoredEpisodes(int feedID);
    void AddOrUpdate(TPodcastFeed& feed, const std::vector<TPodcastEpisodeAndURI>& episodes,
                     const TPodcastStoredEpisodes& stored);

protected:
    void InitializeFunctions() override;
    void VerifyLayout() override;
    void InitializeTables() override;

private:
    bool IsLayoutComplete();
    void CreateEpisodesTable();
    void UpgradeEpisodesTable();
    void StoreFeedRow(TPodcastFeed& feed);
    std::string FastStateCountQuery(TPodcastEpisodeState state, bool joinFeed);
};

}  // namespace podcasts
