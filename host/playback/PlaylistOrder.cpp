#include "PlaylistOrder.h"

#include <algorithm>

namespace vexa::host {

QString PlaylistOrder::Beside(const QString& address, int step) const {
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

}  // namespace vexa::host
