#pragma once
// The podcast database: feeds, episodes and logos in one SQLite file. docs/database.md describes its layout.
//
// Any thread may call every operation. For a missing row an operation returns false, an ID <= 0 or nothing, or does
// nothing; SQL errors are thrown as vexa::SqliteError. Operations keep no state between calls. Visitors are called on
// the calling thread while the query is open.
//
// Episodes are identified by keys. A key still leads to its episode after the episode's address or GUID has changed
// (see docs/database.md, "Older names").

#include "Podcasts.Core.DocumentNotes.h"
#include "Podcasts.Core.FeedOptions.h"
#include "Podcasts.Core.Identity.h"
#include "VEXA.Runtime.Mutex.h"
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

/// Parts of SQL statements that several statements share.
class TPodcastsDBQueryBuilder {
public:
    TPodcastsDBQueryBuilder() = delete;

    /// Appends the condition that selects one episode by its key.
    static void EpisodeCondition(vexa::SqlBuilder& builder, const QString& episodeKey);
    /// The value of the column URI.
    static QString MakeEpisodeURI(const TPodcastEpisode& episode, const TPodcastFeed& feed) {
        return EpisodeURI(episode, feed);
    }
    /// Appends the length of the cached file's name, which is 0 for episodes without one.
    static void CachedFileLength(vexa::SqlBuilder& builder);
    static void FileExistsCondition(vexa::SqlBuilder& builder, std::string_view column);
    /// A query that counts the episodes in a state; with `joinFeed` a sub-query that counts those of one PodcastFeeds
    /// row.
    static std::string StateCountQuery(TPodcastEpisodeState state, bool joinFeed);
};

/// The result of a merge.
struct TPodcastMergeResult {
    bool IsSubscribed = false;  // false: the feed is no longer subscribed, and nothing was stored
    QStringList NewEpisodes;    // keys of the episodes that can be played now and could not be before
    QStringList SpareFiles;     // downloaded files of rows that were united with others, recorded by no row any more
    bool IsMoved = false;       // the feed has got its new address
};

/// Which episodes EnumEpisodes visits.
struct TPodcastEpisodeFilter {
    int FeedID = 0;     // 0: episodes of all feeds
    int State = -1;     // −1: episodes in any state
    QString Search;     // searched for in titles, artists and feed names, ignoring letter case; empty: no search
    qint64 Limit = -1;  // −1: all
    qint64 Offset = 0;
};

/// The outcome of fetching a feed's logo. The numbers are stored.
enum class TPodcastLogoOutcome {
    NoPicture = 0,  // the response was not a usable picture
    Picture = 1,
    Failure = 2,  // there was no response
};

/// A file that a row records.
struct TPodcastStoredFile {
    int FeedID = 0;
    QString FeedTitle, EpisodeKey, FileName;
    TPodcastEpisodeState State = pesNew;
};

/// What a feed's episodes amount to.
struct TPodcastFeedNumbers {
    qint64 Episodes = 0, New = 0;
    double Newest = 0;  // the newest publish date, an OLE Automation date in UTC; 0 without episodes
};

/// The last attempt to fetch a feed's logo.
struct TPodcastLogoLook {
    QString URLLogo;  // the feed's logo address at that time
    qint64 Time = 0;  // seconds since 1970-01-01, UTC
    TPodcastLogoOutcome Outcome = TPodcastLogoOutcome::Failure;
};

/// A change of the kept download queue.
struct TPodcastQueueChange {
    QString EpisodeKey;
    bool IsQueued = false;  // otherwise it is removed
};

/// The first 64 bits of the MD5 digest of the UTF-8 bytes. It is stored, so it must never change. For a GUID it is the
/// beginning of the digest that the command line's short keys show.
qint64 DigestOf(std::string_view utf8);

/// Names a row for as long as it is the same episode's, whatever a merge does to its GUID and address, and also when
/// its feed was removed and put back.
struct TPodcastRowName {
    qint64 RowID = 0;  // used again after the row is deleted
    int FeedID = 0;
    qint64 GUIDDigest = 0;
};

/// What a row was before an act of the user.
struct TPodcastFormerState {
    TPodcastRowName Row;
    TPodcastEpisodeState State;
};
struct TPodcastFormerFile {
    TPodcastRowName Row;
    QString FileName;
};

/// A new episode without a cached file.
struct TPodcastUncachedEpisode {
    qint64 RowID = 0;
    int FeedID = 0;
    double PublishDate = 0;
    QString URI;
};

/// A row that records a file.
struct TPodcastFileOfFeed {
    qint64 RowID = 0;
    QStringList Keys;  // both keys of the episode
    TPodcastEpisodeState State = pesNew;
    double PublishDate = 0;
    QString FileName;
};

class TPodcastsDB;

/// Everything that was stored of a feed that was removed. It is kept outside the file, for as long as the object lives;
/// destroy the object before the database.
class TPodcastRemovedFeed {
public:
    ~TPodcastRemovedFeed();
    TPodcastRemovedFeed(const TPodcastRemovedFeed&) = delete;
    TPodcastRemovedFeed& operator=(const TPodcastRemovedFeed&) = delete;

private:
    friend TPodcastsDB;
    TPodcastRemovedFeed(TPodcastsDB& db, int feedID) : FDB(db), FFeedID(feedID) {}

    TPodcastsDB& FDB;
    const int FFeedID;  // under which it was stored; never used again, so that it identifies the record
};

class TPodcastsDB final : public vexa::SqliteDatabase {
public:
    using FeedVisitor = std::function<void(const QString& urlFeed, const QString& name, int count)>;
    using TextVisitor = std::function<void(const QString&)>;
    using NewEpisodeVisitor = std::function<void(const TPodcastUncachedEpisode& episode)>;
    using EpisodeVisitor = std::function<void(const TPodcastEpisode& episode, const QString& feedName)>;

    /// Opens or creates the file and upgrades older layouts. Throws for a newer layout before anything is written.
    explicit TPodcastsDB(const QString& fileName);

    /// Feeds.
    int GetFeedID(const QString& urlFeed);
    /// The present address of the feed that has this address, or once had it; empty when there is none.
    QString GetPresentFeedURL(const QString& urlFeed);
    std::unique_ptr<TPodcastFeed> GetFeed(int id, bool withEpisodes);
    std::unique_ptr<TPodcastFeed> GetFeed(const QString& urlFeed, bool withEpisodes);
    /// Stores a feed with all its episodes and sets its ID. A row with the same (URI, FeedID) is replaced as a whole
    /// when any value differs; stored episodes that are missing from the record are kept.
    void AddOrUpdate(TPodcastFeed& feed);
    /// Merges the result of a refresh into a feed that is still stored. An episode that is stored already, under
    /// whatever address, GUID, title and date (see MatchEpisodes), keeps its row, its mark and its file, which are also
    /// set in `feed`. Everything happens in one transaction, except for checking whether the files of united rows
    /// exist. `newURL`: the feed's address from now on, unless another feed has that address; empty when the feed has
    /// not moved. `note`: the note of the document that was parsed into `feed`; it is not stored for a feed that moves,
    /// because the feed belongs to another document from then on.
    TPodcastMergeResult Merge(TPodcastFeed& feed, const QString& newURL = {}, const TPodcastDocumentNote& note = {});
    /// The note of the document from which the feed's rows were last merged; nothing when something else may have
    /// written the rows since, or when the feed has another address by now.
    std::optional<TPodcastDocumentNote> GetDocumentNote(const QString& feedURL);
    /// Updates the validators in the notes of these feeds, if a note is still of the same document.
    void UpdateValidators(const std::map<QString, TPodcastDocumentNote>& notes);
    /// Gives every row its audio address in place of its URI, so that a player can play it without knowing podcasts;
    /// no value if that is no web address, since a feed must not make a player open local files. Of rows with the same
    /// address all but one get a fragment, which no server is sent. Afterwards rows can only be read: for databases
    /// that are looked at and thrown away.
    void ReplaceURIsByAddresses();
    TPodcastStoredEpisodes LoadStoredEpisodes(int feedID);
    void Remove(int id);
    void Remove(const QString& urlFeed);
    /// Removes a feed and keeps what was stored of it; null when there is no such feed.
    std::unique_ptr<TPodcastRemovedFeed> SetAside(int id);
    /// Stores the feed again as it was, under a new ID, which is returned; 0 when a feed has its address by now. The
    /// rows of `missingFiles` record no file any more.
    int PutBack(const TPodcastRemovedFeed& removed, const QStringList& missingFiles);
    /// Returns false and changes nothing when no feed has the old address, or when a feed has the new one already.
    bool ChangeFeedURL(const QString& oldURL, const QString& newURL);
    /// Visits the address of every feed, and the addresses that feeds once had.
    void EnumFeedAddresses(const TextVisitor& visitor);
    /// Visits feeds by name; only those of `category` unless that is empty. The visitor's count is 0.
    void EnumFeeds(const QString& category, const FeedVisitor& visitor);
    void EnumFeeds(const FeedVisitor& visitor) { EnumFeeds(QString(), visitor); }
    /// Visits the feeds that have episodes in `state`, by name, with the number of these episodes.
    void EnumFeedsWithState(TPodcastEpisodeState state, const FeedVisitor& visitor);

    /// Visits all feeds by name, with the numbers of new, postponed and all episodes.
    void EnumFeedSummaries(const std::function<void(int id, const QString& urlFeed, const QString& name, int newCount,
                                                    int postponedCount, int episodeCount)>& visitor);

    /// Episodes.
    std::unique_ptr<TPodcastEpisode> GetEpisode(const QString& episodeKey);
    /// The episode that the key named when GetMoveCount returned `moveCount`: an episode that has lost the name since
    /// then takes precedence over the one that has it now. With a negative `moveCount`, the same as GetEpisode.
    std::unique_ptr<TPodcastEpisode> GetEpisodeOf(const QString& episodeKey, qint64 moveCount);
    /// ID 0 stands for all feeds together. False when there is no such feed.
    bool GetEpisodeCounts(int feedID, int& newCount, int& postponedCount);
    /// An empty address stands for all feeds together.
    bool GetEpisodeCounts(const QString& urlFeed, int& newCount, int& postponedCount);
    int GetEpisodeCount(int feedID);
    /// Visits the new episodes without a cached file, newest first.
    void EnumNewEpisodes(const NewEpisodeVisitor& visitor);
    /// Visits the episodes that match the filter, newest first.
    void EnumEpisodes(const TPodcastEpisodeFilter& filter, const EpisodeVisitor& visitor);
    /// Visits the GUIDs of all rows of a feed, in UTF-8; a GUID that several rows have is visited for each.
    void EnumGUIDs(int feedID, const std::function<void(std::string_view guid)>& visitor);
    /// The present GUIDs of those episodes of the feed that once had a GUID whose MD5 digest begins with these
    /// hexadecimal digits (8 to 16; any further digits are ignored).
    QStringList FindByOlderGUID(int feedID, const QString& digits);
    /// A number that grows whenever episodes get other URIs, whichever program has changed them.
    qint64 GetMoveCount();
    /// A number that changes when feeds are added or removed, whichever program has done that.
    qint64 GetFeedsVersion();
    /// The number of rows that a key names.
    int CountEpisodes(const QString& episodeKey);
    /// Returns the rows that were in another state.
    std::vector<TPodcastFormerState> UpdateState(const QStringList& episodeKeys, TPodcastEpisodeState state);
    /// Empty when the row is gone.
    QString TitleOf(const TPodcastRowName& row);
    /// Gives the rows that are still in `state` their former ones, and returns their number.
    qsizetype RestoreStates(const std::vector<TPodcastFormerState>& former, TPodcastEpisodeState state);

    /// Cached files.
    /// Visits the file of each row; a file that several rows record is visited for each of them.
    void EnumCachedFiles(const QStringList& episodeKeys, const TextVisitor& visitor);
    void EnumCachedFilesOfFeed(int feedID, const TextVisitor& visitor);
    /// An empty name marks the episode as not cached.
    void SetCachedFile(const QString& episodeKey, const QString& fileName);
    /// Marks the episodes as not cached. Returns the rows that recorded a file.
    std::vector<TPodcastFormerFile> ForgetFiles(const QStringList& episodeKeys);
    /// Records the file again. False when the row is gone, or records another file by now.
    bool RestoreFile(const TPodcastFormerFile& former);
    /// Does the same as SetCachedFile for the one row that GetEpisode read, even if a merge has changed its names
    /// since. False when the row is gone, or has been united with a row that has a file.
    [[nodiscard]] bool SetCachedFileOfRow(const TPodcastEpisode& episode, const QString& fileName);
    /// Does the same if the row still records the file `present`; otherwise returns false and changes nothing.
    bool ReplaceCachedFileOfRow(const TPodcastEpisode& episode, const QString& present, const QString& fileName);
    /// Records a file that was found on disk to be the episode's. Returns false if the episode's row no longer records
    /// what GetEpisode read; otherwise also records the file on rows of other feeds that have the same audio and no
    /// file.
    [[nodiscard]] bool SetFoundFileOfRow(const TPodcastEpisode& episode, const QString& fileName);
    /// The file that the row read by GetEpisode records now; nothing when SetCachedFileOfRow would find no row.
    std::optional<QString> GetCachedFileOfRow(const TPodcastEpisode& episode);
    /// Marks the episodes whose file is gone as not cached; returns their number.
    int ResetMissingCachedFiles();
    /// Whether the row of another episode, with another URI and another GUID, records this file.
    bool IsFileOfAnother(const QString& fileName, const TPodcastEpisode& episode);
    /// Whether any row, or a row of another feed, records this file.
    bool IsFileRecorded(const QString& fileName);
    bool IsFileOfAnotherFeed(const QString& fileName, int feedID);
    /// Marks every episode that records this file as not cached, if the file is gone.
    void ForgetMissingFile(const QString& fileName);

    /// Feeds' own options.
    /// Those of all feeds that have any, by feed ID.
    std::map<int, TPodcastFeedOptions> GetFeedOptions();
    /// False, with nothing changed, when there is no such feed, or `value` is none of the option's values.
    [[nodiscard]] bool SetFeedOption(int feedID, const TPodcastFeedOption& option, const QString& value);
    /// The rows of a feed that record files, newest first.
    std::vector<TPodcastFileOfFeed> GetFilesOfFeed(int feedID);
    /// Whether the row still has the same state and file.
    bool IsUnchanged(const TPodcastFileOfFeed& file);
    /// Notes since when these files have belonged to listened episodes, which is now unless it was noted before, and
    /// returns that for each of them, in the unit of `now`. Notes of other files are dropped.
    std::map<QString, qint64> NoteListenedFiles(const QStringList& fileNames, qint64 now);

    /// The kept download queue: keys in the order in which they were queued.
    QStringList GetKeptQueue();
    void ChangeKeptQueue(const std::vector<TPodcastQueueChange>& changes);

    TPodcastFeedNumbers GetFeedNumbers(int feedID);
    /// All files that rows record, in the order of the rows.
    std::vector<TPodcastStoredFile> GetStoredFiles();

    /// Logos: the bytes of the image file, unchanged as they were downloaded.
    bool GetFeedLogo(int id, QByteArray& data);
    /// A text that belongs to this logo and no other; empty when none is stored.
    QString GetFeedLogoVersion(int id);
    void SetFeedLogo(int id, const void* data, std::size_t size);
    std::optional<TPodcastLogoLook> GetLogoLook(int feedID);
    /// Stores a look, unless the feed has been removed meanwhile. With Outcome Picture, `picture` replaces the stored
    /// logo if it differs from it. Returns whether the logo was replaced.
    bool NoteLogoLook(int feedID, const TPodcastLogoLook& look, const QByteArray& picture = {});

    struct Index {
        std::string_view Name, Definition;
    };
    /// The indexes that are created when they are missing.
    static std::span<const Index> Indexes();

protected:
    void InitializeFunctions() override;
    void VerifyLayout() override;
    void InitializeTables() override;

private:
    bool IsLayoutComplete();
    /// Upgrades an episode table of the first layout, in which the column GUID was called ID; inside a transaction.
    void UpgradeFirstLayout();
    void StoreFeedRow(TPodcastFeed& feed);
    /// A merge notes its document at its end, in its transaction. Everything else that writes rows forgets the note.
    void NoteDocument(const TPodcastFeed& feed, const TPodcastDocumentNote& note);
    void ForgetDocument(int feedID);
    void ForgetLogo(int feedID);
    /// Writes the records of the matches, whose FeedID must be set, to their rows. Call it in a transaction: a
    /// savepoint of its own would copy every page that it changes.
    void WriteEpisodes(const std::vector<TPodcastEpisodeMatch>& matches, const TPodcastStoredEpisodes& stored);
    /// Runs a statement for the rows with these ids, a group of ids at a time. `sql` ends before the list of ids.
    void ExecuteForRows(std::string_view sql, const std::vector<qint64>& rowIDs);

    bool HasEpisode(const QString& episodeKey);
    /// Visits the rows that a key names, each with its name and one further column. The visitor may write.
    void ForEachRowOf(const QString& episodeKey, std::string_view column,
                      const std::function<void(const TPodcastRowName& name, const QString& value)>& visitor);
    /// The row's present id; 0 when it is gone.
    qint64 FindRow(TPodcastRowName row);
    /// Adds the condition for `episodeKey` to the statement `update` and runs it.
    void UpdateEpisode(const vexa::SqlBuilder& update, const QString& episodeKey) VEXA_REQUIRES(Mutex());

    // Older names (Podcasts.Core.DB.Names.cpp).
    /// Stores the names that rows are about to lose, and the names of rows that are about to be united with others.
    void KeepOlderNames(int feedID, const std::vector<TPodcastEpisodeMatch>& matches,
                        const TPodcastStoredEpisodes& stored);
    void RemoveOlderNames(int feedID);
    /// The row id of the one episode that the key once named; 0 when there is none, or more than one. Call this only
    /// when no row has the name now, because a present name takes precedence over an older one.
    qint64 FindByOlderName(const QString& episodeKey);
    /// The row id of the first episode that has lost the name since GetMoveCount returned `moveCount`; 0 when none has.
    qint64 FindMovedSince(const QString& episodeKey, qint64 moveCount);
    bool HasOlderNames();
    std::unique_ptr<TPodcastEpisode> GetEpisodeOfRow(qint64 rowID);
    /// The row id of an episode that was read by GetEpisode; 0 when the row is gone, or has been united with a row that
    /// has a file.
    qint64 FindRowOf(const TPodcastEpisode& episode);

    std::string FastStateCountQuery(TPodcastEpisodeState state, bool joinFeed);

    /// The rows of a feed that was put back.
    struct PutBackRows {
        int FeedID;               // the new one
        std::vector<qint64> Old;  // their former ids, in ascending order
        qint64 First;             // the new id of the first; the others follow
    };
    vexa::TMutex FPutBackMutex;
    std::map<int, PutBackRows> FPutBack VEXA_GUARDED_BY(FPutBackMutex);  // by the former feed ID
};

}  // namespace podcasts
