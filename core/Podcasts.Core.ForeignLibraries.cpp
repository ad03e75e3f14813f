#include "Podcasts.Core.ForeignLibraries.h"

#include "Podcasts.Core.LibraryDocument.h"
#include "VEXA.Runtime.Dates.h"
#include "VEXA.Runtime.FileReason.h"
#include "VEXA.Runtime.SQLite.h"
#include "VEXA.Runtime.Url.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QTemporaryDir>
#include <QUrl>

#include <algorithm>
#include <map>

namespace podcasts {

using vexa::SqliteCursor;
using vexa::SqliteReader;

namespace {

constexpr qint64 kMostBytes = 1 << 30;

// ---- The database ----

/// A copy of a database file in a folder of its own, and of the file with what was not yet written back to it.
class Copy {
public:
    explicit Copy(const QString& fileName) {
        QFile file(fileName);
        if (!file.open(QIODevice::ReadOnly)) throw TPodcastLibraryError(vexa::FileReason(file).English());
        static constexpr QByteArrayView kMagic = "SQLite format 3";
        if (!file.peek(kMagic.size()).startsWith(kMagic))
            throw TPodcastLibraryError(QStringLiteral("it is not a database of SQLite"));
        if (file.size() > kMostBytes) throw TPodcastLibraryError(QStringLiteral("it has more than 1 GiB"));
        for (const char16_t* part : {u"", u"-wal", u"-journal"}) {
            const QString source = fileName + QString::fromUtf16(part), target = FileName() + QString::fromUtf16(part);
            if (!QFile::exists(source) || QFileInfo(source).size() > kMostBytes) continue;
            if (!FFolder.isValid() || !QFile::copy(source, target) ||
                !QFile::setPermissions(target, QFile::ReadOwner | QFile::WriteOwner))
                throw TPodcastLibraryError(QStringLiteral("it cannot be copied to %1").arg(FFolder.path()));
        }
    }
    QString FileName() const { return FFolder.filePath(QStringLiteral("Database")); }

private:
    QTemporaryDir FFolder;
};

/// The database of another program. Its schema is as foreign as its contents: only plain tables are read, after a check
/// that no page is part of two of them.
class ForeignDatabase {
public:
    explicit ForeignDatabase(const Copy& copy) : FReader(copy.FileName()) {
        FReader.ExecuteSQL("PRAGMA trusted_schema=OFF");
        FReader.ExecuteSQL("PRAGMA cell_size_check=ON");
        if (const auto cursor = FReader.Query("PRAGMA quick_check(1)"); !cursor || cursor->Text(0) != u"ok")
            throw TPodcastLibraryError(QStringLiteral("the database is damaged"));
    }

    qint64 Integer(std::string_view sql) { return FReader.QueryInteger(sql); }
    /// The names of a plain table's columns; empty when there is no such table.
    QStringList Columns(std::string_view table) {
        QStringList names;
        const std::string name(table);
        const auto cursor = FReader.Query("SELECT Columns.name FROM sqlite_master Tables JOIN pragma_table_info('" +
                                          name + "') Columns WHERE Tables.type = 'table' AND Tables.name = '" + name +
                                          "' AND Tables.sql LIKE 'CREATE TABLE%'");
        if (!cursor) return names;
        do names += cursor->Text(0);
        while (cursor->Next());
        return names;
    }
    /// Requires the columns that make a database that of a program.
    void Require(std::string_view table, const QStringList& columns) {
        const QStringList present = Columns(table);
        for (const QString& column : columns)
            if (!present.contains(column))
                throw TPodcastLibraryError(QStringLiteral("it is the database of another program: it has no column "
                                                          "%1.%2")
                                               .arg(QString::fromStdString(std::string(table)), column));
    }
    /// Visits the rows of a table in the order of their ids. A column that the table lacks reads as NULL.
    template <class Visit>
    void ForEach(std::string_view table, const std::vector<const char*>& columns, Visit visit) {
        const QStringList present = Columns(table);
        if (present.isEmpty()) return;
        std::string sql = "SELECT ";
        const char* separator = "";
        for (const char* column : columns) {
            sql.append(separator).append(present.contains(QLatin1String(column)) ? column : "NULL");
            separator = ", ";
        }
        const auto cursor = FReader.Query(sql.append(" FROM ").append(table).append(" ORDER BY rowid"));
        if (!cursor) return;
        do visit(*cursor);
        while (cursor->Next());
    }
    /// The number of rows of a table that is there.
    qint64 Count(std::string_view table) {
        return Columns(table).isEmpty() ? 0 : Integer("SELECT Count(*) FROM " + std::string(table));
    }

private:
    SqliteReader FReader;
};

// ---- What both programs have ----

/// Where an episode was left.
struct Position {
    QString Address;
    double Seconds, Duration;
    qint64 When;  // ms since 1970-01-01, UTC
};

/// Not those of episodes that were heard to their end.
void AddPosition(std::vector<Position>& positions, const TPodcastFeed& feed, const TPodcastEpisode& episode,
                 double seconds, qint64 when) {
    constexpr double kHeard = 0.99;
    const auto duration = static_cast<double>(episode.Duration);
    if (seconds > 0 && (duration == 0 || seconds < kHeard * duration))
        positions.push_back({EpisodeURI(episode, feed), seconds, duration, when});
}

QJsonObject ProfileFilesOf(std::vector<Position> positions, const QStringList& next) {
    // The player's list begins with what was heard last.
    std::stable_sort(positions.begin(), positions.end(), [](auto& a, auto& b) { return a.When > b.When; });
    QJsonArray begun;
    for (const Position& position : positions)
        begun += QJsonObject{{QStringLiteral("address"), position.Address},
                             {QStringLiteral("position"), position.Seconds},
                             {QStringLiteral("duration"), position.Duration},
                             {QStringLiteral("when"), static_cast<double>(position.When)}};
    if (begun.isEmpty() && next.isEmpty()) return {};
    return {
        {QStringLiteral("Positions.json"),
         QJsonObject{{QStringLiteral("begun"), begun}, {QStringLiteral("next"), QJsonArray::fromStringList(next)}}}};
}

/// The address with the user name and password that the program keeps apart from it.
QString WithCredentials(const QString& address, const QString& userName, const QString& password) {
    QUrl url(address);
    if (userName.isEmpty() || !vexa::IsUrl(address) || !url.userInfo().isEmpty()) return address;
    url.setUserName(userName);
    url.setPassword(password);
    return url.toString(QUrl::FullyEncoded);
}

double DateOf(qint64 milliseconds) {
    return milliseconds <= 0 ? 0 : vexa::ToOleDate(QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC));
}

void SetDuration(TPodcastEpisode& episode, double seconds) {
    if (seconds > 0) episode.Duration = static_cast<float>(seconds);
}

/// The first of two texts that is not empty.
QString FirstOf(const QString& a, const QString& b) {
    return a.isEmpty() ? b : a;
}

/// Adds a line for something that is not taken, if there is any.
void Note(QStringList& notTaken, qint64 count, const char* what) {
    if (count > 0) notTaken += QString::fromLatin1(what) + u": " + QString::number(count);
}

// ---- gPodder ----

TPodcastForeignLibrary ReadGpodder(ForeignDatabase& database, const QString& fileName) {
    constexpr qint64 kSecond = 1000;  // dates and times are in seconds
    enum { kDeleted = 2 };            // of the column state
    database.Require("podcast", {QStringLiteral("id"), QStringLiteral("url")});
    database.Require("episode", {QStringLiteral("podcast_id"), QStringLiteral("url")});
    TPodcastForeignLibrary library;
    if (!database.Columns("version").isEmpty()) library.Schema = database.Integer("SELECT version FROM version");
    const QDir downloads(QFileInfo(fileName).absoluteDir().filePath(QStringLiteral("Downloads")));

    std::map<qint64, std::size_t> feeds;  // indexes by the ids of rows
    QStringList folders;
    qint64 paused = 0, locked = 0;
    database.ForEach("podcast",
                     {"id", "url", "title", "link", "description", "cover_url", "section", "auth_username",
                      "auth_password", "download_folder", "pause_subscription"},
                     [&](const SqliteCursor& row) {
                         feeds.emplace(row.Integer64(0), library.Feeds.size());
                         auto& fields = library.Feeds.emplace_back().Feed.Fields;
                         fields[pffURLFeed] = WithCredentials(row.Text(1), row.Text(7), row.Text(8));
                         fields[pffTitle] = row.Text(2);
                         fields[pffURL] = row.Text(3);
                         fields[pffDescription] = row.Text(4);
                         fields[pffURLLogo] = row.Text(5);
                         fields[pffCategory] = row.Text(6);
                         folders += row.Text(9);
                         paused += row.Integer(10) != 0;
                     });
    std::vector<Position> positions;
    database.ForEach(
        "episode",
        {"podcast_id", "url", "title", "guid", "link", "description_html", "description", "published", "total_time",
         "state", "is_new", "download_filename", "current_position", "current_position_updated", "archive"},
        [&](const SqliteCursor& row) {
            const auto owner = feeds.find(row.Integer64(0));
            if (owner == feeds.end()) return;
            TPodcastFeed& feed = library.Feeds[owner->second].Feed;
            TPodcastEpisode& episode = feed.NewEpisode();
            episode.Fields[pefURLAudio] = row.Text(1);
            episode.Fields[pefTitle] = row.Text(2);
            episode.Fields[pefGUID] = row.Text(3);
            episode.Fields[pefURL] = row.Text(4);
            episode.Fields[pefDescription] = FirstOf(row.Text(5), row.Text(6));
            episode.PublishDate = DateOf(row.Integer64(7) * kSecond);
            SetDuration(episode, row.Double(8));
            // What was deleted is not offered any more, whether it was heard or not.
            const bool isDeleted = row.Integer(9) == kDeleted;
            episode.State = isDeleted || row.Integer(10) == 0 ? pesListened : pesNew;
            const QString folder = folders[static_cast<qsizetype>(owner->second)], file = row.Text(11);
            if (!isDeleted && !folder.isEmpty() && !file.isEmpty())
                episode.Fields[pefURLAudioCached] = downloads.filePath(folder + u'/' + file);
            AddPosition(positions, feed, episode, row.Double(12), row.Integer64(13) * kSecond);
            locked += row.Integer(14) != 0;
        });
    library.ProfileFiles = ProfileFilesOf(std::move(positions), {});
    Note(library.NotTaken, paused, "pauses of feeds, which are refreshed here");
    Note(library.NotTaken, locked, "locks of episodes against deletion");
    return library;
}

// ---- AntennaPod ----

TPodcastForeignLibrary ReadAntennaPod(ForeignDatabase& database, const QString&) {
    constexpr double kPerSecond = 1000;  // dates and times are in milliseconds
    enum { kPlayed = 1 };                // of the column read; 0 is unplayed, −1 is new
    database.Require("Feeds", {QStringLiteral("id"), QStringLiteral("download_url")});
    database.Require("FeedItems", {QStringLiteral("id"), QStringLiteral("feed")});
    database.Require("FeedMedia", {QStringLiteral("feeditem"), QStringLiteral("download_url")});
    TPodcastForeignLibrary library;
    library.Schema = database.Integer("PRAGMA user_version");

    std::map<qint64, std::size_t> feeds;  // indexes by the ids of rows
    qint64 previews = 0, speeds = 0;
    database.ForEach("Feeds",
                     {"id", "download_url", "custom_title", "title", "link", "description", "language", "author",
                      "image_url", "username", "password", "state", "feed_playback_speed"},
                     [&](const SqliteCursor& row) {
                         // Feeds that were only looked at, or that are kept without being subscribed.
                         if (row.Integer(11) != 0) return static_cast<void>(++previews);
                         feeds.emplace(row.Integer64(0), library.Feeds.size());
                         auto& fields = library.Feeds.emplace_back().Feed.Fields;
                         fields[pffURLFeed] = WithCredentials(row.Text(1), row.Text(9), row.Text(10));
                         fields[pffTitle] = FirstOf(row.Text(2), row.Text(3));
                         fields[pffURL] = row.Text(4);
                         fields[pffDescription] = row.Text(5);
                         fields[pffLanguage] = row.Text(6);
                         fields[pffAuthor] = row.Text(7);
                         fields[pffURLLogo] = row.Text(8);
                         speeds += row.Double(12) > 0;
                     });

    struct Item {
        TPodcastFeed* Feed;
        TPodcastEpisode* Episode;
    };
    std::map<qint64, Item> items;  // by the ids of rows
    database.ForEach("FeedItems", {"id", "feed", "title", "item_identifier", "link", "description", "pubDate", "read"},
                     [&](const SqliteCursor& row) {
                         const auto owner = feeds.find(row.Integer64(1));
                         if (owner == feeds.end()) return;
                         TPodcastFeed& feed = library.Feeds[owner->second].Feed;
                         TPodcastEpisode& episode = feed.NewEpisode();
                         items.insert({row.Integer64(0), {&feed, &episode}});
                         episode.Fields[pefTitle] = row.Text(2);
                         episode.Fields[pefGUID] = row.Text(3);
                         episode.Fields[pefURL] = row.Text(4);
                         episode.Fields[pefDescription] = row.Text(5);
                         episode.PublishDate = DateOf(row.Integer64(6));
                         episode.State = row.Integer(7) == kPlayed ? pesListened : pesNew;
                     });
    std::vector<Position> positions;
    database.ForEach("FeedMedia",
                     {"feeditem", "download_url", "file_url", "downloaded", "duration", "position", "last_played_time",
                      "last_played_time_statistics"},
                     [&](const SqliteCursor& row) {
                         const auto item = items.find(row.Integer64(0));
                         if (item == items.end()) return;
                         auto& [feed, episode] = item->second;
                         episode->Fields[pefURLAudio] = row.Text(1);
                         if (row.Integer64(3) != 0) episode->Fields[pefURLAudioCached] = row.Text(2);
                         SetDuration(*episode, row.Double(4) / kPerSecond);
                         AddPosition(positions, *feed, *episode, row.Double(5) / kPerSecond,
                                     std::max(row.Integer64(6), row.Integer64(7)));
                     });
    QStringList next;
    database.ForEach("Queue", {"feeditem"}, [&](const SqliteCursor& row) {
        if (const auto item = items.find(row.Integer64(0)); item != items.end())
            next += EpisodeURI(*item->second.Episode, *item->second.Feed);
    });
    next.removeAll(QString());
    library.ProfileFiles = ProfileFilesOf(std::move(positions), next);
    Note(library.NotTaken, previews, "feeds that are not subscribed there");
    Note(library.NotTaken, speeds, "feeds' own speeds");
    Note(library.NotTaken, database.Count("Favorites"), "favourites");
    return library;
}

struct Program {
    const char16_t* Name;
    TPodcastForeignLibrary (*Read)(ForeignDatabase& database, const QString& fileName);
};
constexpr Program kPrograms[] = {{u"gpodder", ReadGpodder}, {u"antennapod", ReadAntennaPod}};

}  // namespace

QStringList ForeignPrograms() {
    QStringList names;
    for (const Program& program : kPrograms) names += QString::fromUtf16(program.Name);
    return names;
}

TPodcastForeignLibrary ReadForeignLibrary(const QString& program, const QString& fileName) {
    const Program& chosen = *std::find_if(std::begin(kPrograms), std::end(kPrograms) - 1,
                                          [&](const Program& each) { return program == QStringView(each.Name); });
    const Copy copy(fileName);
    try {
        ForeignDatabase database(copy);
        return chosen.Read(database, fileName);
    } catch (const vexa::SqliteError&) {
        // Its advice is about the profile's own database.
        throw TPodcastLibraryError(QStringLiteral("SQLite cannot read the database, which may be damaged"));
    }
}

}  // namespace podcasts
