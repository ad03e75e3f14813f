#pragma once
// The short keys by which users name episodes: the feed's id, ":", and the first hexadecimal digits of the MD5 digest
// of the GUID's UTF-8 bytes: eight, or as many more as make the key unique in its feed.

#include "Podcasts.Core.DB.h"

#include <QCryptographicHash>
#include <QString>

#include <array>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace podcasts::cli {

/// Thrown for a key that names no episode, or several.
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
    /// The engine's key for a short key, or for a URI that names exactly one row. Throws KeyError.
    QString Resolve(const QString& text);

private:
    using Digest = std::array<unsigned char, 16>;
    // One page of episodes may come from a hundred feeds with a thousand episodes each, so nothing is allocated per
    // episode.
    struct Entries {
        std::vector<Digest> Digests;
        std::string GUIDs;                // in UTF-8, one after another
        std::vector<std::size_t> Begins;  // where each digest's GUID begins in GUIDs, and the end of the last one

        QString GUID(std::size_t index) const;
    };

    Digest DigestOf(std::string_view guid);
    const Entries& EntriesOf(int feedID);

    TPodcastsDB& FDB;
    QCryptographicHash FHash{QCryptographicHash::Md5};
    std::map<int, Entries> FEntries;  // of the feeds asked for so far
};

}  // namespace podcasts::cli
