#pragma once
// The order of the active playlist's entries, as the playback's order. Main thread.

#include "Playback.h"
#include "Playlists.h"

namespace vexa::host {

/// Is the playback's order from its construction to its destruction, and tells the playback when the current file gets
/// other neighbours in the playlist. The playback and the playlists outlive it.
class PlaylistOrder final : public PlayOrder, private PlaylistListener {
public:
    PlaylistOrder(Playback& playback, PlaylistManager& playlists);
    ~PlaylistOrder();
    PlaylistOrder(const PlaylistOrder&) = delete;
    PlaylistOrder& operator=(const PlaylistOrder&) = delete;

    QString After(const QString& address) override { return NeighbourOf(address, 1); }
    QString Before(const QString& address) override { return NeighbourOf(address, -1); }

private:
    struct Neighbours {
        QString Before, Current, After;
        bool operator==(const Neighbours&) const = default;
    };

    void OnPlaylistsChanged() override { NotifyIfChanged(); }
    void OnPlaylistChanged(Playlist& playlist) override;
    QString NeighbourOf(const QString& address, int step) const;
    void NotifyIfChanged();

    Playback& FPlayback;
    PlaylistManager& FPlaylists;
    Neighbours FLastNeighbours;  // as of the last change of the playlists
};

}  // namespace vexa::host
