#pragma once
// The short keys by which a person names an episode: the feed's id, ":", and the first eight or more hexadecimal digits
// of the MD5 digest of the GUID's UTF-8 bytes, as many as make it unique in its feed.

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
    // One page of episodes may name a hundred feeds, of a thousand episodes each: nothing is allocated for each of
    // them.
    struct Entries {
        std::vector<Digest> Digests;
        std::string GUIDs;                // in UTF-8, one after the other
        std::vector<std::size_t> Begins;  // of the GUIDs, by digest, and the end of the last one

        QString GUID(std::size_t index) const;
    };

    Digest DigestOf(std::string_view guid);
    const Entries& EntriesOf(int feedID);

    TPodcastsDB& FDB;
    QCryptographicHash FHash{QCryptographicHash::Md5};
    std::map<int, Entries> FEntries;  // of the feeds asked for so far
};

}  // namespace podcasts::cli
