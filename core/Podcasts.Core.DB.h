#pragma once
// The podcast database: feeds, episodes and logos in one SQLite file. docs/database.md describes its layout.
//
// Every operation may be called by any thread. A missing row is a false result, an ID <= 0, or nothing done; SQL errors
// are vexa::SqliteError. Operations keep no state between calls. Visitors are called on the calling thread while the
// query is open.
//
// Episodes are named by keys. A key that names no row any more, since the episode's address or GUID changed, still
// names the row of that episode (see docs/database.md, "Older names").

#include "Podcasts.Core.DocumentNotes.h"
#include "Podcasts.Core.Identity.h"
#include "VEXA.Runtime.SQLite.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace podcasts {

/// The pieces of SQL that several statements share.
class TPodcastsDBQueryBuilder {
public:
    TPodcastsDBQueryBuilder() = delete;

    /// Appends the condition that names one episode by its key.
    static void EpisodeCondition(vexa::SqlBuilder& builder, const QString& episodeKey);
    /// The text of column URI.
    static QString MakeEpisodeURI(const TPodcastEpisode& episode, const TPodcastFeed& feed) {
        return EpisodeURI(episode, feed);
    }
    /// Appends the length of the cached file's name, 0 for none.
    static void CachedFileLength(vexa::SqlBuilder& builder);
    static void FileExistsCondition(vexa::SqlBuilder& builder, std::string_view column);
    /// Counts the episodes in a state; with `joinFeed` as a sub-query that belongs to a row of PodcastFeeds.
    static std::string StateCountQuery(TPodcastEpisodeState state, bool joinFeed);
};

/// What a merge brought.
struct TPodcastMergeResult {
    bool IsSubscribed = false;  // false: nothing was stored
    QStringList NewEpisodes;    // keys of those that can be played and could not be before
    QStringList SpareFiles;     // downloaded files of rows that became one with others, and that no row records now
    bool IsMoved = false;       // the feed has its new address
};

/// Which episodes EnumEpisodes visits.
struct TPodcastEpisodeFilter {
    int FeedID = 0;     // 0: of all feeds
    int State = -1;     // −1: in any state
    QString Search;     // in titles, artists and feed names, ignoring letter case; empty: no search
    qint64 Limit = -1;  // −1: all
    qint64 Offset = 0;
};

/// What came when a feed's logo was asked for on the network. The numbers are stored.
enum class TPodcastLogoOutcome {
    NoPicture = 0,
    Picture = 1,
    Failure = 2,  // nothing came
};

/// When a feed's logo was last looked at.
struct TPodcastLogoLook {
    QString URLLogo;  // the feed's at that time
    qint64 Time = 0;  // seconds since 1970-01-01, UTC
    TPodcastLogoOutcome Outcome = TPodcastLogoOutcome::Failure;
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
    /// Stores what a refresh brought of a feed that is still stored. An episode that is stored already, by whatever
    /// address, GUID, title and date it is known (see MatchEpisodes), keeps its row, its mark and its file; in `feed`,
    /// too. All in one transaction, but for the look at the files of rows that become one.
    /// `newURL`: the feed's address from then on, unless another feed has that; empty when it stays. `note`: of the
    /// document that `feed` was made of; a feed that moves gets none, since it is another document's from then on.
    TPodcastMergeResult Merge(TPodcastFeed& feed, const QString& newURL = {}, const TPodcastDocumentNote& note = {});
    /// What was noted of the document from which the feed's rows were last merged; nothing when they may have been
    /// written by anything else since, or the feed has another address.
    std::optional<TPodcastDocumentNote> GetDocumentNote(const QString& feedURL);
    /// Writes other validators into the notes of feeds, where these are of the same document still.
    void UpdateValidators(const std::map<QString, TPodcastDocumentNote>& notes);
    TPodcastStoredEpisodes LoadStoredEpisodes(int feedID);
    void Remove(int id);
    void Remove(const QString& urlFeed);
    /// False, and nothing changes, when there is no feed of the old address, or one of the new address already.
    bool ChangeFeedURL(const QString& oldURL, const QString& newURL);
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
    /// The episode that the key named when GetMoveCount gave `moveCount`: one that has lost the name since goes before
    /// the one that has it now. Below 0: it is not known when; as GetEpisode.
    std::unique_ptr<TPodcastEpisode> GetEpisodeOf(const QString& episodeKey, qint64 moveCount);
    /// ID 0 counts over all feeds. False when there is no such feed.
    bool GetEpisodeCounts(int feedID, int& newCount, int& postponedCount);
    /// An empty address counts over all feeds.
    bool GetEpisodeCounts(const QString& urlFeed, int& newCount, int& postponedCount);
    int GetEpisodeCount(int feedID);
    /// URIs of new episodes without a cached file, newest first.
    void EnumNewEpisodes(const TextVisitor& visitor);
    /// Newest first.
    void EnumEpisodes(const TPodcastEpisodeFilter& filter, const EpisodeVisitor& visitor);
    /// In UTF-8, each as often as there are rows of it.
    void EnumGUIDs(int feedID, const std::function<void(std::string_view guid)>& visitor);
    /// GUIDs of the feed's episodes that once had another one, whose MD5 digest begins with these hexadecimal digits
    /// (8 to 16; further ones are not looked at).
    QStringList FindByOlderGUID(int feedID, const QString& digits);
    /// A number that differs whenever episodes have got other URIs, by this program or another one.
    qint64 GetMoveCount();
    /// How many rows a key names.
    int CountEpisodes(const QString& episodeKey);
    void UpdateState(const QStringList& episodeKeys, TPodcastEpisodeState state);

    /// Cached files.
    /// One visit a row: a file that several rows record is visited for each.
    void EnumCachedFiles(const QStringList& episodeKeys, const TextVisitor& visitor);
    void EnumCachedFilesOfFeed(int feedID, const TextVisitor& visitor);
    /// An empty name marks the episode as not cached.
    void SetCachedFile(const QString& episodeKey, const QString& fileName);
    /// The same for the one row that GetEpisode read, wherever a merge has moved it since. False when it is gone, or
    /// has become one with a row that has a file.
    bool SetCachedFileOfRow(const TPodcastEpisode& episode, const QString& fileName);
    /// The same if the row still records `present`; else false, and nothing changes.
    bool ReplaceCachedFileOfRow(const TPodcastEpisode& episode, const QString& present, const QString& fileName);
    /// Records a file that was found to be the episode's: on its row if that still records what GetEpisode read, else
    /// false; and then on rows of other feeds with the same audio that record none.
    bool SetFoundFileOfRow(const TPodcastEpisode& episode, const QString& fileName);
    /// What the row that GetEpisode read records now; nothing when SetCachedFileOfRow would find no row.
    std::optional<QString> GetCachedFileOfRow(const TPodcastEpisode& episode);
    /// Marks episodes as not cached whose file is gone; returns how many.
    int ResetMissingCachedFiles();
    /// Whether the row of another episode records this file: one of another URI and another GUID.
    bool IsFileOfAnother(const QString& fileName, const TPodcastEpisode& episode);
    /// Whether any row records this file; whether one of another feed does.
    bool IsFileRecorded(const QString& fileName);
    bool IsFileOfAnotherFeed(const QString& fileName, int feedID);
    /// Marks every episode that records this file as not cached, if it is gone.
    void ForgetMissingFile(const QString& fileName);

    /// Logos: the bytes of an image file as they were downloaded.
    bool GetFeedLogo(int id, QByteArray& data);
    void SetFeedLogo(int id, const void* data, std::size_t size);
    std::optional<TPodcastLogoLook> GetLogoLook(int feedID);
    /// Notes a look, unless the feed has been removed meanwhile. With Outcome Picture, `picture` replaces what is
    /// stored where it differs; returns whether it did.
    bool NoteLogoLook(int feedID, const TPodcastLogoLook& look, const QByteArray& picture = {});

    struct Index {
        std::string_view Name, Definition;
    };
    /// The indexes that are created when missing.
    static std::span<const Index> Indexes();

protected:
    void InitializeFunctions() override;
    void VerifyLayout() override;
    void InitializeTables() override;

private:
    bool IsLayoutComplete();
    /// Makes an episodes' table of the first layout, where the identifier was called ID, one of today's.
    void UpgradeFirstLayout();
    void StoreFeedRow(TPodcastFeed& feed);
    /// What a merge notes at its end, in its transaction; and whatever else writes rows takes away.
    void NoteDocument(const TPodcastFeed& feed, const TPodcastDocumentNote& note);
    void ForgetDocument(int feedID);
    void ForgetLogo(int feedID);
    /// Makes the stored rows what the records of the matches say, whose FeedID is set. Call it in a transaction: a
    /// savepoint of its own would copy every page that it changes.
    void WriteEpisodes(const std::vector<TPodcastEpisodeMatch>& matches, const TPodcastStoredEpisodes& stored);
    /// Runs a statement for the rows of these ids, in groups. `sql` ends before the list.
    void ExecuteForRows(std::string_view sql, const std::vector<qint64>& rowIDs);

    bool HasEpisode(const QString& episodeKey);
    /// Runs an UPDATE without its condition for the episodes of a key.
    void UpdateEpisode(const vexa::SqlBuilder& update, const QString& episodeKey) VEXA_REQUIRES(Mutex());

    // Older names (Podcasts.Core.DB.Names.cpp).
    /// Notes the names that stored rows are about to lose, and those of rows that are about to become one with others.
    void KeepOlderNames(int feedID, const std::vector<TPodcastEpisodeMatch>& matches,
                        const TPodcastStoredEpisodes& stored);
    void RemoveOlderNames(int feedID);
    /// The row id of the one episode that the key named once; 0 without one. Ask for a key only when no row has it now:
    /// a present name goes before an older one.
    qint64 FindByOlderName(const QString& episodeKey);
    /// The row id of the first episode that has lost the name since the count of moves was this; 0 without one.
    qint64 FindMovedSince(const QString& episodeKey, qint64 moveCount);
    bool HasOlderNames();
    std::unique_ptr<TPodcastEpisode> GetEpisodeOfRow(qint64 rowID);
    /// The row id of an episode that GetEpisode read before; 0 when it is gone, or has become one with a row that has a
    /// file.
    qint64 FindRowOf(const TPodcastEpisode& episode);

    std::string FastStateCountQuery(TPodcastEpisodeState state, bool joinFeed);
};

}  // namespace podcasts
