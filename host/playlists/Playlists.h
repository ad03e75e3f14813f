#pragma once
// Service: the playlists, those of files and those that follow a filter of the music library. Main thread.
//
//     host.Playlists().AddListener(&window);
//     for (const auto& playlist : host.Playlists().All()) …
//     host.Playlists().Activate(playlist.Get());          // the one that shows, which plug-ins act on
//
// They live in the profile's Playlists.json, read at the start, written soon after a change and when the plug-ins are
// unloaded.

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

/// Hears what happens to the playlists.
class PlaylistListener {
public:
    /// There are others, in another order or under other names, or another one is active.
    virtual void OnPlaylistsChanged() = 0;
    /// A playlist's entries, or what is selected of them.
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
    /// The first of that name; null when there is none.
    Ref<Playlist> Find(const QString& name) const;
    /// Null when there is none.
    Ref<Playlist> Active() const { return FActive; }
    void Activate(Playlist* playlist);

    /// At the end; an empty name: one is found, for a smart playlist from its filter, as soon as it has one.
    Ref<Playlist> Create(const QString& name, bool activate);
    /// When it was the active one, that in its place becomes active.
    void Remove(Playlist& playlist);

    /// Whether a smart playlist's entries are about to be replaced, or files of another one are being looked at, or may
    /// be about to get other names.
    bool IsBusy(const Playlist& playlist) const;
    /// Looks at no more files until a storage comes, and waits for the one that is being looked at.
    void StopDescribing();
    /// Writes what was changed. Throws std::runtime_error when it cannot; it is tried again the next time.
    void Save();

    /// A listener may add and remove listeners while it is called. It is removed before it ends.
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

    void Load();
    QString FreeName(const QString& wanted) const;
    QString NextName() const;
    void NameAfterFilter(Playlist& playlist);
    void DescribeLater();
    void DescribeNow();
    void MarkChanged();
    template <class Call>
    void Tell(Call call);

    const Ref<MusicLibraryService> FLibrary;
    const Ref<FileInfoService> FInfos;
    const Ref<LanguageService> FLanguage;
    const std::shared_ptr<PresentAddresses> FAddresses;
    PlaylistFile FFile;
    PlaylistFollower FFollower;
    std::vector<Ref<Playlist>> FPlaylists;
    Ref<Playlist> FActive;
    std::vector<const Playlist*> FUnnamed;  // created without a name, and without a filter so far
    std::vector<PlaylistListener*> FListeners;
    bool FIsChanged = false;
    bool FIsToDescribe = false;
    QSet<QString> FUnknown;  // files of which nothing is known
    LatestTask FDescriber;
    Timer FSaver;
    LinkSource<PlaylistManager> FLinks{this};
};

}  // namespace vexa::host
