#pragma once
// The short keys by which a person names an episode: the feed's id, ":", and the first eight or more hexadecimal digits
// of the MD5 digest of the GUID's UTF-8 bytes, as many as make it unique in its feed.

#include "Podcasts.Core.DB.h"

#include <QString>

#include <array>
#include <map>
#include <stdexcept>
#include <vector>

namespace podcasts::cli {

/// A key that names no episode, or several.
class KeyError : public std::runtime_error {
public:
    explicit KeyError(const QString& message) : std::runtime_error(message.toStdString()) {}
};

class EpisodeKeys {
public:
    explicit EpisodeKeys(TPodcastsDB& db) : FDB(db) {}

    /// Whether a text has the form of a short key.
    static bool IsShort(const QString& text);
    /// The short key of an episode.
    QString Short(int feedID, const QString& guid);
    /// The engine's key for a short key or for a URI that names exactly one row. Throws KeyError.
    QString Resolve(const QString& text);

private:
    using Digest = std::array<unsigned char, 16>;
    struct Entry {
        Digest Value;
        QString GUID;
    };
    using Entries = std::vector<Entry>;  // sorted by digest

    const Entries& EntriesOf(int feedID);

    TPodcastsDB& FDB;
    std::map<int, Entries> FEntries;  // of the feeds asked for so far
};

}  // namespace podcasts::cli
