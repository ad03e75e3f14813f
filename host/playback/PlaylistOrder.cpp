#include "PlaylistOrder.h"

#include <algorithm>
#include <utility>

namespace vexa::host {

PlaylistOrder::PlaylistOrder(Playback& playback, PlaylistManager& playlists)
    : FPlayback(playback), FPlaylists(playlists) {
    FPlaylists.AddListener(this);
    FPlayback.SetOrder(this);
}

PlaylistOrder::~PlaylistOrder() {
    FPlayback.SetOrder(nullptr);
    FPlaylists.RemoveListener(this);
}

QString PlaylistOrder::NeighbourOf(const QString& address, int step) const {
    const Ref<Playlist> playlist = FPlaylists.Active();
    if (!playlist) return {};
    const auto& entries = playlist->Entries();
    const auto found =
        std::find_if(entries.begin(), entries.end(), [&](const PlaylistEntry& entry) { return entry.File == address; });
    if (found == entries.end()) return {};
    const auto index = (found - entries.begin()) + step;
    return index < 0 || index >= static_cast<std::ptrdiff_t>(entries.size())
               ? QString()
               : entries[static_cast<std::size_t>(index)].File;
}

void PlaylistOrder::OnPlaylistChanged(Playlist& playlist) {
    if (FPlaylists.Active().Get() == &playlist) NotifyIfChanged();
}

void PlaylistOrder::NotifyIfChanged() {
    // Listeners are told about every change of the selection, too; most changes do not affect the neighbours.
    const QString& current = FPlayback.Current().Address;
    Neighbours now{Before(current), current, After(current)};
    if (std::exchange(FLastNeighbours, now) != now) FPlayback.OrderChanged();
}

}  // namespace vexa::host
