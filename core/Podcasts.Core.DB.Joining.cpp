// Joins feeds that were taken along with those that are stored. What is stored stays: rows are added, and get the marks
// and files that they lack.

#include "Podcasts.Core.DB.h"
#include "VEXA.Runtime.Text.h"

#include <QHash>
#include <QSet>

#include <algorithm>

namespace podcasts {

using vexa::SqlBuilder;
using vexa::SqliteStatement;
using Row = TPodcastStoredEpisodes::Row;

namespace {

constexpr int kNoRow = -1;

/// The URI under which to store an episode: the one under which it was stored, if that can be one.
QString URIOf(const TPodcastEpisode& episode, const TPodcastFeed& feed) {
    const QString& uri = episode.Fields[pefURI];
    const bool isPossible = !uri.isEmpty() && uri == MakeURI(uri) && !uri.contains(QChar(kEpisodeKeyDelimiter));
    return isPossible ? uri : EpisodeURI(episode, feed);
}

/// For each episode, in the order of the feed, the index of its stored row, or kNoRow. URIs and GUIDs decide as long as
/// both are the same, else the rules by which a document's episodes are recognised.
std::vector<int> RowsOf(const TPodcastFeed& feed, const TPodcastStoredEpisodes& stored) {
    const auto rows = stored.Rows();
    std::vector<int> found(feed.Episodes().size(), kNoRow);
    if (rows.empty()) return found;
    std::vector<bool> isTaken(rows.size(), false);
    QHash<const TPodcastEpisode*, std::size_t> indexes;
    for (std::size_t i = 0; i < found.size(); ++i) {
        const TPodcastEpisode& episode = *feed.Episodes()[i];
        indexes.insert(&episode, i);
        const int row = stored.FindURI(vexa::ToUtf8(episode.Fields[pefURI]));
        if (row < 0 || isTaken[static_cast<std::size_t>(row)]) continue;
        if (!vexa::EqualsUtf8(episode.Fields[pefGUID], rows[static_cast<std::size_t>(row)].Fields[pefGUID])) continue;
        found[i] = row;
        isTaken[static_cast<std::size_t>(row)] = true;
    }
    if (std::find(found.begin(), found.end(), kNoRow) == found.end()) return found;
    for (const auto& match : MatchEpisodes(feed, stored)) {
        int& row = found[indexes.value(match.Episode)];
        if (row >= 0 || match.Row < 0 || isTaken[static_cast<std::size_t>(match.Row)]) continue;
        row = match.Row;
        isTaken[static_cast<std::size_t>(row)] = true;
    }
    return found;
}

}  // namespace

std::vector<int> TPodcastsDB::GetFeedIDs() {
    std::vector<int> ids;
    const auto cursor = Read("SELECT FeedID FROM PodcastFeeds ORDER BY FeedID");
    if (!cursor) return ids;
    do ids.push_back(cursor->Integer(0));
    while (cursor->Next());
    return ids;
}

QStringList TPodcastsDB::GetFormerFeedURLs(int feedID) {
    QStringList urls;
    const auto cursor = Read(
        SqlBuilder("SELECT URLFeed FROM PodcastFeedAddresses WHERE FeedID = ").Integer(feedID).Raw(" ORDER BY rowid"));
    if (!cursor) return urls;
    do urls += cursor->Text(0);
    while (cursor->Next());
    return urls;
}

std::vector<TPodcastJoined> TPodcastsDB::Join(std::span<TPodcastTakenFeed> feeds) {
    std::vector<TPodcastJoined> joined;
    RunInTransaction([&] {
        for (TPodcastTakenFeed& feed : feeds) joined.push_back(JoinFeed(feed));
    });
    return joined;
}

TPodcastJoined TPodcastsDB::JoinFeed(TPodcastTakenFeed& taken) {
    TPodcastJoined joined;
    TPodcastFeed& feed = taken.Feed;
    QString present = GetPresentFeedURL(feed.Fields[pffURLFeed]);
    for (const QString& former : taken.FormerAddresses)
        if (present.isEmpty()) present = GetPresentFeedURL(former);
    joined.IsNew = present.isEmpty();
    if (joined.IsNew) {
        StoreFeedRow(feed);
    } else {
        // Under this address, because some URIs contain it.
        feed.Fields[pffURLFeed] = present;
        feed.ID = GetFeedID(present);
    }
    SqliteStatement addAddress(*this,
                               "INSERT INTO PodcastFeedAddresses (URLFeed, FeedID) SELECT ?1, ?2 WHERE NOT EXISTS "
                               "(SELECT 1 FROM PodcastFeedAddresses WHERE URLFeed = ?1) AND NOT EXISTS (SELECT 1 FROM "
                               "PodcastFeeds WHERE URLFeed = ?1)");
    for (const QString& former : taken.FormerAddresses) addAddress.Text(former).Integer(feed.ID).Run();
    JoinEpisodes(feed, joined);
    JoinOptions(feed.ID, taken.Options, joined);
    return joined;
}

void TPodcastsDB::JoinEpisodes(TPodcastFeed& feed, TPodcastJoined& joined) {
    for (const auto& episode : feed.Episodes()) {
        episode->FeedID = feed.ID;
        episode->Fields[pefURI] = URIOf(*episode, feed);
    }
    const TPodcastStoredEpisodes stored = LoadStoredEpisodes(feed.ID);
    const std::vector<int> rowOf = RowsOf(feed, stored);
    QHash<QString, QString> newFiles;  // the files recorded here, with the GUIDs of their episodes
    const auto mayRecord = [&](const TPodcastEpisode& episode) {
        const QString& file = episode.Fields[pefURLAudioCached];
        if (file.isEmpty() || IsFileOfAnother(file, episode)) return false;
        if (!newFiles.contains(file)) newFiles.insert(file, episode.Fields[pefGUID]);
        return newFiles.value(file) == episode.Fields[pefGUID];
    };
    SqliteStatement mark(*this, "UPDATE PodcastEpisodes SET State = ? WHERE rowid = ?");
    SqliteStatement record(*this, "UPDATE PodcastEpisodes SET URLAudioCached = ? WHERE rowid = ?");
    std::vector<TPodcastEpisodeMatch> added;
    QSet<QString> addedURIs;
    for (std::size_t i = 0; i < rowOf.size(); ++i) {
        TPodcastEpisode& episode = *feed.Episodes()[i];
        if (rowOf[i] != kNoRow) {
            const Row& row = stored.Rows()[static_cast<std::size_t>(rowOf[i])];
            if (row.State == pesNew && episode.State != pesNew) {
                mark.Integer(episode.State).Integer(row.RowID).Run();
                ++joined.Marks;
            }
            if (row.Fields[pefURLAudioCached].empty() && mayRecord(episode)) {
                record.Text(episode.Fields[pefURLAudioCached]).Integer(row.RowID).Run();
                ++joined.Files;
            }
            continue;
        }
        // A publisher may put every episode at one address. The row that has it now is another episode, and stays.
        const QString& uri = episode.Fields[pefURI];
        if (stored.FindURI(vexa::ToUtf8(uri)) >= 0 || addedURIs.contains(uri)) continue;
        addedURIs.insert(uri);
        if (mayRecord(episode))
            ++joined.Files;
        else
            episode.Fields[pefURLAudioCached].clear();
        added.push_back({&episode, uri, kNoRow, {}});
    }
    if (added.empty()) return;
    WriteEpisodes(added, stored);
    ForgetDocument(feed.ID);
    joined.Episodes = static_cast<int>(added.size());
}

void TPodcastsDB::JoinOptions(int feedID, const TPodcastFeedOptions& taken, TPodcastJoined& joined) {
    const TPodcastFeedOptions defaults;
    if (taken == defaults) return;
    const auto all = GetFeedOptions();
    const auto own = all.find(feedID);
    const TPodcastFeedOptions& present = own == all.end() ? defaults : own->second;
    for (const TPodcastFeedOption& option : PodcastFeedOptions()) {
        const QString value = option.ValueIn(taken), unset = option.ValueIn(defaults);
        if (value == unset || option.ValueIn(present) != unset) continue;
        if (SetFeedOption(feedID, option, value) && !joined.IsNew) ++joined.Options;
    }
}

}  // namespace podcasts
