#pragma once
// Playlists.json of the profile: the playlists between starts. Main thread.

#include "JsonFile.h"
#include "Playlist.h"
#include "Preimages.h"

#include <optional>
#include <vector>

namespace vexa::host {

struct SavedPlaylist {
    QString Name;
    std::optional<PreimageDescription> Preimage;  // a smart one's, whose entries are not kept
    std::vector<PlaylistEntry> Entries;
    int Focus = -1;
    bool IsActive = false;
};

class PlaylistFile {
public:
    explicit PlaylistFile(const QString& profileFolder);

    /// None when there is no file, or a damaged one, which is moved aside as JsonFile says.
    std::vector<SavedPlaylist> Load();
    /// Writes it whole and renames it. Throws std::runtime_error when it cannot.
    void Save(const std::vector<SavedPlaylist>& playlists);

private:
    JsonFile FFile;
};

}  // namespace vexa::host
