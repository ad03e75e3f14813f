#pragma once
// Keeps smart playlists up to date with their filters: reads their files from their storages, on threads of its own,
// and reads them again when a storage's data changed. Main thread.

#include "Playlist.h"
#include "Preimages.h"
#include "PresentAddresses.h"
#include "Rows.h"

#include <QSet>

#include <map>
#include <memory>
#include <vector>

namespace vexa::host {

class PlaylistFollower final : private MusicLibraryListener {
public:
    PlaylistFollower(Ref<MusicLibraryService> library, std::shared_ptr<PresentAddresses> addresses);
    ~PlaylistFollower();

    /// Reads a smart playlist now, and again whenever its storage changes. While the storage is missing the playlist
    /// stays as it is.
    void Follow(const Ref<Playlist>& playlist);
    void Leave(const Playlist& playlist);
    /// Whether the playlist's entries are about to be replaced.
    bool IsReading(const Playlist& playlist) const;

    /// A name for a smart playlist, made of its filter's values as users see them; empty when the filter yields none.
    QString NameFor(const PreimageDescription& preimage) const;

private:
    struct Source {
        Source(MusicLibraryService& library, const QString& id) : Storage(library, id), Reader(Storage) {}
        LibraryStorage Storage;
        RowReader Reader;
    };
    struct Followed {
        Ref<Playlist> List;
        QString StorageID;
        bool IsAwaited = false;  // the storage was registered, but may not be asked yet
        bool IsReading = false;
        bool IsStale = false;  // changed while being read: read again afterwards
    };

    void OnDataChanged(const QString& storageID) override;
    void OnTasksChanged(const QString&) override {}
    void OnStorageAdded(const QString& storageID) override;
    void OnStorageEnding(const QString& storageID) override;

    std::vector<Followed>::iterator Find(const Playlist& playlist);
    Source& Open(const QString& storageID);
    void Read(Followed& followed);
    void OnRead(const Playlist& playlist, const RowPage& page);
    void EndReading(Followed& followed);
    void Replace(const Ref<Playlist>& list, std::vector<PlaylistEntry> entries);

    const Ref<MusicLibraryService> FLibrary;
    const std::shared_ptr<PresentAddresses> FAddresses;
    std::vector<Followed> FFollowed;
    std::map<QString, std::unique_ptr<Source>> FSources;
    QSet<QString> FEnding;  // storages that must not be asked any more
    LinkSource<PlaylistFollower> FLinks{this};
};

}  // namespace vexa::host
