#pragma once
// Service: the playlists, both lists of files and smart playlists that follow a filter of the music library. Main
// thread.
//
//     host.Playlists().AddListener(&window);
//     for (const auto& playlist : host.Playlists().All()) …
//     host.Playlists().Activate(playlist.Get());          // the window shows the active one, and plug-ins act on it
//
// The playlists are stored in the profile's Playlists.json, which is read at the start and written soon after a change
// and when the plug-ins are unloaded.

#include "FileInfoService.h"
#include "Language.h"
#include "LatestTask.h"
#include "Playlist.h"
#include "PlaylistFile.h"
#include "PlaylistFollower.h"
#include "PresentAddresses.h"
#include "VEXA.Runtime.Threads.h"

#include <vector>

namespace vexa::host {

/// Is told about changes of the playlists.
class PlaylistListener {
public:
    /// The playlists themselves, their order or a name changed, or another one became active.
    virtual void OnPlaylistsChanged() = 0;
    /// A playlist's entries or selection changed.
    virtual void OnPlaylistChanged(Playlist& playlist) = 0;

protected:
    ~PlaylistListener() = default;
};

class PlaylistManager final : public RefCountedObject<IVEXAServicePlaylistManager2>,
                              private PlaylistObserver,
                              private MusicLibraryListener,
                              private AddressKeeper {
public:
    PlaylistManager(const QString& profileFolder, Ref<MusicLibraryService> library, Ref<FileInfoService> infos,
                    Ref<LanguageService> language, std::shared_ptr<PresentAddresses> addresses);
    ~PlaylistManager() override;

    const std::vector<Ref<Playlist>>& All() const noexcept { return FPlaylists; }
    /// The first playlist of that name; null when there is none.
    Ref<Playlist> Find(const QString& name) const;
    /// Null when no playlist is active.
    Ref<Playlist> Active() const { return FActive; }
    void Activate(Playlist* playlist);

    /// Creates a playlist at the end. With an empty name one is made up; a smart playlist is renamed after its filter
    /// as soon as it has one.
    Ref<Playlist> Create(const QString& name, bool activate);
    /// Removes a playlist. If it was the active one, the playlist that takes its place in the list becomes active.
    void Remove(Playlist& playlist);

    /// Whether a smart playlist is being read again, files of an ordinary playlist are being described, or files may be
    /// about to be renamed.
    bool IsBusy(const Playlist& playlist) const;
    /// Describes no more files until a storage is registered or entries change, and waits for the file that is being
    /// described.
    void StopDescribing();
    /// Writes the changes. Throws std::runtime_error when that fails; the next call tries again.
    void Save();

    /// A listener may add and remove listeners while it is called. Remove it before destroying it.
    void AddListener(PlaylistListener* listener) { FListeners.push_back(listener); }
    void RemoveListener(PlaylistListener* listener) { std::erase(FListeners, listener); }

    HResult GetActivePlaylist(IVEXAPlaylist** playlist) noexcept override;
    HResult GetPreimageFactoryByID(IVEXAString* id, IVEXAPlaylistPreimageFactory** factory) noexcept override;
    HResult CreatePlaylist(IVEXAString* name, Bool32 activate, IVEXAPlaylist** playlist) noexcept override;

private:
    void OnChanged(Playlist& playlist, Change change) override;
    void OnDataChanged(const QString&) override {}
    void OnTasksChanged(const QString&) override {}
    void OnStorageAdded(const QString&) override;
    QStringList KeptAddresses() const override;
    void OnAddressesMoved(const AddressMoves& moves) override;
    void OnAddressesGone(const QSet<QString>& gone) override;

    void Load();
    QString UniqueName(const QString& wanted) const;
    QString NextName() const;
    void NameAfterFilter(Playlist& playlist);
    void DescribeLater();
    void DescribeNow();
    void MarkChanged();
    template <class Call>
    void Notify(Call call);

    const Ref<MusicLibraryService> FLibrary;
    const Ref<FileInfoService> FInfos;
    const Ref<LanguageService> FLanguage;
    const std::shared_ptr<PresentAddresses> FAddresses;
    PlaylistFile FFile;
    PlaylistFollower FFollower;
    std::vector<Ref<Playlist>> FPlaylists;
    Ref<Playlist> FActive;
    std::vector<const Playlist*> FUnnamed;  // created without a name, and not renamed since
    std::vector<PlaylistListener*> FListeners;
    bool FIsChanged = false;
    bool FIsToDescribe = false;
    QSet<QString> FUnknown;  // files that no provider knows anything about
    LatestTask FDescriber;
    Timer FSaver;
    LinkSource<PlaylistManager> FLinks{this};
};

}  // namespace vexa::host
