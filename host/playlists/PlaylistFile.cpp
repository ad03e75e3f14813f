#include "PlaylistFile.h"

#include "HostReasons.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>

namespace vexa::host {

namespace {

const QString kActive = QStringLiteral("active"), kEntries = QStringLiteral("entries"), kFile = QStringLiteral("file"),
              kFilter = QStringLiteral("filter"), kFocus = QStringLiteral("focus"), kGroup = QStringLiteral("group"),
              kName = QStringLiteral("name"), kPlaylists = QStringLiteral("playlists"),
              kStorage = QStringLiteral("storage"), kText = QStringLiteral("text");

QJsonObject ToJson(const SavedPlaylist& playlist) {
    QJsonObject json{{kName, playlist.Name}};
    if (playlist.IsActive) json.insert(kActive, true);
    if (playlist.Focus >= 0) json.insert(kFocus, playlist.Focus);
    if (playlist.Preimage) {
        json.insert(kStorage, playlist.Preimage->StorageID);
        json.insert(kFilter, playlist.Preimage->Filter);
        return json;
    }
    QJsonArray entries;
    for (const PlaylistEntry& entry : playlist.Entries) {
        QJsonObject item{{kFile, entry.File}};
        if (entry.IsDescribed) item.insert(kText, entry.Text);
        if (!entry.Group.isEmpty()) item.insert(kGroup, entry.Group);
        entries += item;
    }
    json.insert(kEntries, entries);
    return json;
}

SavedPlaylist FromJson(const QJsonObject& json) {
    SavedPlaylist playlist;
    playlist.Name = json[kName].toString();
    playlist.IsActive = json[kActive].toBool();
    playlist.Focus = json[kFocus].toInt(-1);
    if (json.contains(kStorage)) playlist.Preimage = {json[kStorage].toString(), json[kFilter].toObject()};
    for (const QJsonValue value : json[kEntries].toArray()) {
        PlaylistEntry entry;
        entry.File = value[kFile].toString();
        entry.Text = value[kText].toString();
        entry.Group = value[kGroup].toString();
        entry.IsDescribed = value[kText].isString();
        if (!entry.File.isEmpty()) playlist.Entries.push_back(std::move(entry));
    }
    return playlist;
}

}  // namespace

PlaylistFile::PlaylistFile(const QString& profileFolder)
    : FFile(QDir(profileFolder).filePath(QStringLiteral("Playlists.json")), HostReason("KeptPlaylists")) {}

std::vector<SavedPlaylist> PlaylistFile::Load() {
    std::vector<SavedPlaylist> playlists;
    for (const QJsonValue value : FFile.Load(kPlaylists)[kPlaylists].toArray())
        if (SavedPlaylist playlist = FromJson(value.toObject()); !playlist.Name.isEmpty())
            playlists.push_back(std::move(playlist));
    return playlists;
}

void PlaylistFile::Save(const std::vector<SavedPlaylist>& playlists) {
    QJsonArray list;
    for (const SavedPlaylist& playlist : playlists) list += ToJson(playlist);
    FFile.Save(QJsonDocument(QJsonObject{{kPlaylists, list}}).toJson());
}

}  // namespace vexa::host
