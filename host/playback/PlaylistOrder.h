#pragma once
// What comes after what: the entries of the playlist that shows. Main thread.

#include "Playback.h"
#include "Playlists.h"

namespace vexa::host {

class PlaylistOrder final : public PlayOrder {
public:
    explicit PlaylistOrder(PlaylistManager& playlists) : FPlaylists(playlists) {}

    QString After(const QString& address) override { return Beside(address, 1); }
    QString Before(const QString& address) override { return Beside(address, -1); }

private:
    QString Beside(const QString& address, int step) const;

    PlaylistManager& FPlaylists;
};

}  // namespace vexa::host
