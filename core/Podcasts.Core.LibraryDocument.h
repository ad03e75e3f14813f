#pragma once
// A whole library in one JSON document, by which it is taken from one profile to another: subscriptions with their
// episodes, marks and files, the kept download queue, settings, and the player's files of the profile. docs/library.md
// describes the format.

#include "Podcasts.Core.DB.h"
#include "Podcasts.Core.TakenFeed.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QJsonObject>
#include <QString>

#include <functional>
#include <map>
#include <stdexcept>
#include <vector>

namespace podcasts {

/// Thrown for a document that cannot be read. The message says what is wrong, and where.
class TPodcastLibraryError : public std::runtime_error {
public:
    explicit TPodcastLibraryError(const QString& message) : std::runtime_error(message.toStdString()) {}
};

/// An episode that waits for its download.
struct TPodcastTakenDownload {
    QString FeedURL, URI, GUID;
};

using TPodcastSettings = std::map<QString, QString>;  // values by the paths of their keys

/// A document that was read. Any thread, one at a time.
class TPodcastLibraryDocument {
public:
    /// Whether a file that begins with these bytes can be such a document: it begins like a JSON object.
    static bool BeginsLikeOne(QByteArrayView bytes);

    /// Reads the whole document, so that nothing has to be stored of one that is damaged further down. Throws
    /// TPodcastLibraryError.
    explicit TPodcastLibraryDocument(QByteArray bytes);

    std::size_t FeedCount() const noexcept { return FFeeds.size(); }
    /// Reads a feed again: a library may be too large to keep all of them in memory.
    TPodcastTakenFeed Feed(std::size_t index) const;
    /// In the order in which they were queued.
    const std::vector<TPodcastTakenDownload>& Queue() const noexcept { return FQueue; }
    const TPodcastSettings& Settings() const noexcept { return FSettings; }
    /// Files of the profile by their names, as the document has them.
    const QJsonObject& ProfileFiles() const noexcept { return FProfileFiles; }

private:
    void CheckHeader(const QJsonObject& members) const;

    QByteArray FBytes;
    std::vector<QByteArrayView> FFeeds;  // the feeds' texts in FBytes
    std::vector<TPodcastTakenDownload> FQueue;
    TPodcastSettings FSettings;
    QJsonObject FProfileFiles;
};

/// Writes the document of everything that is stored, feed by feed; `write` takes its bytes, part by part.
void WriteLibraryDocument(TPodcastsDB& db, const TPodcastSettings& settings, const QJsonObject& profileFiles,
                          const std::function<void(const QByteArray& bytes)>& write);

/// What JoinLibrary has changed.
struct TPodcastJoinedLibrary {
    qint64 NewFeeds = 0, Feeds = 0;  // those that were not subscribed before, and all that were changed
    qint64 Episodes = 0, Marks = 0, Files = 0, Options = 0;
    qint64 MissingFiles = 0;  // not recorded: there is no such audio or video file
    QStringList Refused;      // addresses that no feed can have
    bool IsCancelled = false;
};

/// Joins feeds with the stored ones (see TPodcastsDB::Join), many in one transaction. `feedAt` returns one of `count`
/// feeds. Records only files that exist and have the extension of audio or video. What is stored when it is cancelled
/// stays.
TPodcastJoinedLibrary JoinLibrary(TPodcastsDB& db, std::size_t count,
                                  const std::function<TPodcastTakenFeed(std::size_t index)>& feedAt,
                                  const std::function<bool()>& isCancelled);

/// Adds the downloads whose episodes are stored and not queued to the kept queue; returns their number.
qsizetype JoinKeptQueue(TPodcastsDB& db, const std::vector<TPodcastTakenDownload>& downloads);

}  // namespace podcasts
