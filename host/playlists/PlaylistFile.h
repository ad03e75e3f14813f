#pragma once
// Playlists.json in the profile, which keeps the playlists between runs. Main thread.

#include "JsonFile.h"
#include "Playlist.h"
#include "Preimages.h"

#include <optional>
#include <vector>

namespace vexa::host {

struct SavedPlaylist {
    QString Name;
    std::optional<PreimageDescription> Preimage;  // of a smart playlist, whose entries are not saved
    std::vector<PlaylistEntry> Entries;
    int Focus = -1;
    bool IsActive = false;
};

class PlaylistFile {
public:
    explicit PlaylistFile(const QString& profileFolder);

    /// Empty when there is no file, or a damaged one, which JsonFile renames.
    std::vector<SavedPlaylist> Load();
    /// Writes the file as JsonFile does. Throws std::runtime_error when that fails.
    void Save(const std::vector<SavedPlaylist>& playlists);

private:
    JsonFile FFile;
};

}  // namespace vexa::host
