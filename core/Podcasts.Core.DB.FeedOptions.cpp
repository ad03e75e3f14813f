// Feeds' own options and what their limits need: the tables PodcastFeedOptions and PodcastListenedFiles.
// docs/database.md describes them.

#include "Podcasts.Core.DB.h"

#include <algorithm>

namespace podcasts {

using vexa::SqlBuilder;
using vexa::SqliteStatement;

std::map<int, TPodcastFeedOptions> TPodcastsDB::GetFeedOptions() {
    std::map<int, TPodcastFeedOptions> all;
    const auto cursor = Read("SELECT FeedID, Name, Value FROM PodcastFeedOptions");
    if (!cursor) return all;
    do {
        // Ignore what another version of the program may have written: an unknown name or value.
        if (const auto* option = FindPodcastFeedOption(cursor->Text(1)))
            static_cast<void>(option->SetValue(all[cursor->Integer(0)], cursor->Text(2)));
    } while (cursor->Next());
    return all;
}

bool TPodcastsDB::SetFeedOption(int feedID, const TPodcastFeedOption& option, const QString& value) {
    TPodcastFeedOptions options;
    if (!option.SetValue(options, value)) return false;
    const QString stored = option.ValueIn(options);
    const bool isDefault = options == TPodcastFeedOptions();
    bool isSet = false;
    RunInTransaction([&] {
        isSet = QueryInteger(SqlBuilder("SELECT Count(*) FROM PodcastFeeds WHERE FeedID = ").Integer(feedID)) > 0;
        if (!isSet) return;
        SqliteStatement(*this, "DELETE FROM PodcastFeedOptions WHERE FeedID = ? AND Name = ?")
            .Integer(feedID)
            .Text(option.Name())
            .Run();
        if (!isDefault)
            SqliteStatement(*this, "INSERT INTO PodcastFeedOptions (FeedID, Name, Value) VALUES (?, ?, ?)")
                .Integer(feedID)
                .Text(option.Name())
                .Text(stored)
                .Run();
        // Without limits nobody brings these notes up to date.
        ExecuteSQL(
            "DELETE FROM PodcastListenedFiles WHERE NOT EXISTS (SELECT 1 FROM PodcastFeedOptions WHERE Name = "
            "'DeleteListenedAfterDays')");
    });
    return isSet;
}

std::vector<TPodcastFileOfFeed> TPodcastsDB::GetFilesOfFeed(int feedID) {
    std::vector<TPodcastFileOfFeed> files;
    const auto cursor = Read(SqlBuilder("SELECT rowid, URI, GUID, State, PublishDate, URLAudioCached FROM "
                                        "PodcastEpisodes WHERE URLAudioCached IS NOT '' AND URLAudioCached IS NOT NULL "
                                        "AND FeedID = ")
                                 .Integer(feedID)
                                 .Raw(" ORDER BY PublishDate DESC, rowid DESC"));
    if (!cursor) return files;
    do {
        TPodcastFileOfFeed& file = files.emplace_back();
        file.RowID = cursor->Integer64(0);
        file.Keys = {cursor->Text(1), MakeEpisodeKey(feedID, cursor->Text(2))};
        file.State = static_cast<TPodcastEpisodeState>(cursor->Integer(3));
        file.PublishDate = cursor->Double(4);
        file.FileName = cursor->Text(5);
    } while (cursor->Next());
    return files;
}

bool TPodcastsDB::IsUnchanged(const TPodcastFileOfFeed& file) {
    const auto cursor =
        Read(SqlBuilder("SELECT State, URLAudioCached FROM PodcastEpisodes WHERE rowid = ").Integer(file.RowID));
    return cursor && cursor->Integer(0) == file.State && cursor->Text(1) == file.FileName;
}

std::map<QString, qint64> TPodcastsDB::NoteListenedFiles(const QStringList& fileNames, qint64 now) {
    std::map<QString, qint64> former, present;
    if (const auto cursor = Read("SELECT FileName, NotedAt FROM PodcastListenedFiles")) {
        do former.emplace(cursor->Text(0), cursor->Integer64(1));
        while (cursor->Next());
    }
    for (const QString& name : fileNames) {
        const auto noted = former.find(name);
        present.emplace(name, noted == former.end() ? now : noted->second);
    }
    if (former == present) return present;
    RunInTransaction([&] {
        SqliteStatement add(*this, "INSERT INTO PodcastListenedFiles (FileName, NotedAt) VALUES (?, ?)");
        SqliteStatement remove(*this, "DELETE FROM PodcastListenedFiles WHERE FileName = ?");
        for (const auto& [name, time] : former)
            if (!present.contains(name)) remove.Text(name).Run();
        for (const auto& [name, time] : present)
            if (!former.contains(name)) add.Text(name).Integer(time).Run();
    });
    return present;
}

}  // namespace podcasts
