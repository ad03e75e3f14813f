// Parses an address into an episode's key, and looks keys up in the database. Parts: the address, then an episode's
// GUID, audio address and feed address.

#include "Fuzzing.h"
#include "Podcasts.Core.DB.h"
#include "Podcasts.Plugin.FileManager.h"
#include "TempFolder.h"
#include "VEXA.Runtime.Text.h"

using namespace podcasts;
using fuzzing::Require;
using Files = TVEXAPodcastsFileManager;

namespace {

/// Thrown to roll back what an input has written.
struct Undo {};

/// An accepted address of the older form must parse to the same key after it was formatted again.
void CheckKey(const QString& address, const QString& key) {
    if (!key.startsWith(QChar(kEpisodeKeyDelimiter))) {
        Require(key == address, "the key of an address is the address", address);
        return;
    }
    const QString id = key.section(QChar(kEpisodeKeyDelimiter), 1, 1);
    const QString guid = key.section(QChar(kEpisodeKeyDelimiter), 2);
    Require(MakeEpisodeKey(id.toInt(), guid) == key && id.toInt() > 0, "a key names a feed and an episode", key);
    if (guid.isEmpty()) return;
    const QByteArray base64 = QByteArray::fromStdString(vexa::ToUtf8(guid)).toBase64();
    QString again;
    Require(Files::ParseURI(u"podcast://x/feed-" + id + u'_' + QString::fromLatin1(base64), again) && again == key,
            "an address of a key is read as the key", key);
}

void CheckStored(TPodcastsDB& db, const QString& guid, const QString& audio, const QString& location) {
    TPodcastFeed feed;
    feed.Fields[pffURLFeed] = location;
    TPodcastEpisode& episode = feed.NewEpisode();
    episode.Fields[pefGUID] = guid;
    episode.Fields[pefURLAudio] = audio;
    db.AddOrUpdate(feed);
    Require(db.GetFeedID(location) == feed.ID, "a feed is found by its address", location);
    Require(db.CountEpisodes(MakeEpisodeKey(feed.ID, guid)) == 1, "an episode is found by feed and GUID", guid);
    if (!HasAudio(episode)) return;  // it has no address
    const QString uri = TPodcastsDBQueryBuilder::MakeEpisodeURI(episode, feed);
    QString key = uri;
    // Addresses that look like the older form are parsed as such; texts without a scheme are not addresses.
    if (uri.startsWith(u"podcast://") && !uri.contains(u"/feed-"))
        Require(Files::ParseURI(uri, key) && key == uri, "a stored address is its key", uri);
    if (uri.startsWith(QChar(kEpisodeKeyDelimiter))) return;
    const auto found = db.GetEpisode(uri);
    Require(found && found->Fields[pefURLAudio] == audio && found->Fields[pefURI] == uri,
            "an episode is found by its address", uri);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const tests::TempFolder folder;
    static TPodcastsDB db(folder.File(QStringLiteral("Podcasts.db")));
    QStringList texts;
    for (const QByteArray& part : fuzzing::Parts(data, size, 4)) texts += vexa::FromUtf8(part.toStdString());
    QString key;
    if (Files::ParseURI(texts[0], key)) {
        CheckKey(texts[0], key);
        Require(db.CountEpisodes(key) == 0 && !db.GetEpisode(key), "nothing is found in an empty database", key);
    }
    try {
        db.RunInTransaction([&] {
            CheckStored(db, texts[1], texts[2], texts[3]);
            throw Undo();
        });
    } catch (const Undo&) {
    }
    return 0;
}
