// The notes of feeds' documents: the table PodcastFeedDocuments. docs/database.md describes it.

#include "Podcasts.Core.DB.h"

#include <utility>

namespace podcasts {

using vexa::SqlBuilder;
using vexa::SqliteStatement;

std::optional<TPodcastDocumentNote> TPodcastsDB::GetDocumentNote(const QString& feedURL) {
    const auto cursor = Read(SqlBuilder("SELECT Address, Charset, ETag, LastModified, Digest, WantedAddress "
                                        "FROM PodcastFeeds JOIN PodcastFeedDocuments ON PodcastFeeds.FeedID = "
                                        "PodcastFeedDocuments.FeedID WHERE PodcastFeeds.URLFeed = ")
                                 .Text(feedURL)
                                 .Raw(" AND PodcastFeedDocuments.URLFeed = PodcastFeeds.URLFeed AND Rules = ")
                                 .Integer(kDocumentRules)
                                 .Raw(" AND (EpisodeCount, LastRow) = (SELECT Count(*), ifnull(max(rowid), 0) FROM "
                                      "PodcastEpisodes WHERE PodcastEpisodes.FeedID = PodcastFeeds.FeedID) LIMIT 1"));
    if (!cursor) return std::nullopt;
    TPodcastDocumentNote note;
    note.Address = cursor->Text(0);
    note.Charset = cursor->Text(1);
    note.ETag = cursor->Text(2).toLatin1();
    note.LastModified = cursor->Text(3).toLatin1();
    note.Digest = cursor->Text(4).toLatin1();
    note.WantedAddress = cursor->Text(5);
    return note;
}

void TPodcastsDB::NoteDocument(const TPodcastFeed& feed, const TPodcastDocumentNote& note) {
    const QString& feedURL = feed.Fields[pffURLFeed];
    if (note.Digest.isEmpty()) return ForgetDocument(feed.ID);
    if (GetDocumentNote(feedURL) == note) return;
    const auto rows = Query(
        SqlBuilder("SELECT Count(*), ifnull(max(rowid), 0) FROM PodcastEpisodes WHERE FeedID = ").Integer(feed.ID));
    SqliteStatement(*this,
                    "REPLACE INTO PodcastFeedDocuments (FeedID, URLFeed, Address, Charset, ETag, LastModified, Digest, "
                    "WantedAddress, Rules, EpisodeCount, LastRow) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)")
        .Integer(feed.ID)
        .Text(feedURL)
        .Text(note.Address)
        .Text(note.Charset)
        .Text(QString::fromLatin1(note.ETag))
        .Text(QString::fromLatin1(note.LastModified))
        .Text(QString::fromLatin1(note.Digest))
        .Text(note.WantedAddress)
        .Integer(kDocumentRules)
        .Integer(rows->Integer64(0))
        .Integer(rows->Integer64(1))
        .Run();
}

void TPodcastsDB::ForgetDocument(int feedID) {
    ExecuteSQL(SqlBuilder("DELETE FROM PodcastFeedDocuments WHERE FeedID = ").Integer(feedID));
}

void TPodcastsDB::UpdateValidators(const std::map<QString, TPodcastDocumentNote>& notes) {
    if (notes.empty()) return;
    RunInTransaction([&] {
        SqliteStatement update(*this,
                               "UPDATE PodcastFeedDocuments SET ETag = ?, LastModified = ? WHERE URLFeed = ? AND "
                               "Digest = ? AND Address = ?");
        for (const auto& [feedURL, note] : notes)
            update.Text(QString::fromLatin1(note.ETag))
                .Text(QString::fromLatin1(note.LastModified))
                .Text(feedURL)
                .Text(QString::fromLatin1(note.Digest))
                .Text(note.Address)
                .Run();
    });
}

}  // namespace podcasts
