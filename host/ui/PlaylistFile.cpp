#include "PlaylistFile.h"

#include "Log.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>

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
        QJsonObject one{{kFile, entry.File}};
        if (entry.IsDescribed) one.insert(kText, entry.Text);
        if (!entry.Group.isEmpty()) one.insert(kGroup, entry.Group);
        entries += one;
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
    : FFileName(QDir(profileFolder).filePath(QStringLiteral("Playlists.json"))) {}

std::vector<SavedPlaylist> PlaylistFile::Load() {
    std::vector<SavedPlaylist> playlists;
    QFile file(FFileName);
    if (!file.exists()) return playlists;
    if (!file.open(QIODevice::ReadOnly)) return MoveAside(file.errorString()), playlists;
    QJsonParseError error;
    const QJsonDocument json = QJsonDocument::fromJson(file.readAll(), &error);
    file.close();
    if (error.error != QJsonParseError::NoError) return MoveAside(error.errorString()), playlists;
    if (!json[kPlaylists].isArray()) return MoveAside(QStringLiteral("it holds no playlists")), playlists;
    for (const QJsonValue value : json[kPlaylists].toArray())
        if (SavedPlaylist playlist = FromJson(value.toObject()); !playlist.Name.isEmpty())
            playlists.push_back(std::move(playlist));
    return playlists;
}

void PlaylistFile::MoveAside(const QString& reason) {
    const QString first = FFileName + u".damaged";
    QString target = first;
    for (int number = 2; QFile::exists(target); ++number) target = first + QString::number(number);
    FMayWrite = QFile::rename(FFileName, target);
    qCWarning(LogHost).noquote() << "the playlists in" << FFileName << "cannot be read:" << reason
                                 << (FMayWrite ? "- the file is now" : "- no playlists will be kept, for it cannot be")
                                 << target;
}

QString PlaylistFile::Save(const std::vector<SavedPlaylist>& playlists) {
    if (!FMayWrite) return {};  // which was told when it was read
    QJsonArray list;
    for (const SavedPlaylist& playlist : playlists) list += ToJson(playlist);
    const QByteArray bytes = QJsonDocument(QJsonObject{{kPlaylists, list}}).toJson();
    QSaveFile file(FFileName);
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit()) return {};
    const QString problem = u"the playlists could not be written to " + FFileName + u": " + file.errorString();
    qCWarning(LogHost).noquote() << problem;
    return problem;
}

}  // namespace vexa::host
