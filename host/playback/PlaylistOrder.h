#pragma once
// What comes after what: the entries of the playlist that shows. Main thread.

#include "Playback.h"
#include "Playlists.h"

namespace vexa::host {

/// Is the playback's order from its construction to its end, and tells it when what plays gets another neighbour in the
/// playlist. Playback and playlists outlive it.
class PlaylistOrder final : public PlayOrder, private PlaylistListener {
public:
    PlaylistOrder(Playback& playback, PlaylistManager& playlists);
    ~PlaylistOrder();
    PlaylistOrder(const PlaylistOrder&) = delete;
    PlaylistOrder& operator=(const PlaylistOrder&) = delete;

    QString After(const QString& address) override { return Beside(address, 1); }
    QString Before(const QString& address) override { return Beside(address, -1); }

private:
    struct Neighbours {
        QString Before, Current, After;
        bool operator==(const Neighbours&) const = default;
    };

    void OnPlaylistsChanged() override { TellIfChanged(); }
    void OnPlaylistChanged(Playlist& playlist) override;
    QString Beside(const QString& address, int step) const;
    void TellIfChanged();

    Playback& FPlayback;
    PlaylistManager& FPlaylists;
    Neighbours FTold;  // as they were when the playlists changed last
};

}  // namespace vexa::host
