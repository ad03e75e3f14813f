#pragma once
// Playlists.json of the profile: the playlists between starts. Main thread.

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

    /// None when there is no file. A damaged one is moved aside, with a warning, as Playlists.json.damaged (or with a
    /// number behind that), so that the next Save does not destroy what a person might still rescue.
    std::vector<SavedPlaylist> Load();
    /// Writes it whole and renames it. Empty, or why it could not.
    QString Save(const std::vector<SavedPlaylist>& playlists);

private:
    void MoveAside(const QString& reason);

    const QString FFileName;
    bool FMayWrite = true;  // not over a damaged file that could not be moved
};

}  // namespace vexa::host
