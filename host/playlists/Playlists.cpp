#include "Playlists.h"

#include "FileInfo.h"
#include "Guarded.h"
#include "VEXA.Runtime.Threads.h"

#include <algorithm>

namespace vexa::host {

namespace {

// Long enough that a series of changes is written once.
constexpr std::chrono::seconds kSaveDelay{2};
// Files per step: what is known so far is shown while more are described.
constexpr qsizetype kDescribedAtOnce = 100;

}  // namespace

PlaylistManager::PlaylistManager(const QString& profileFolder, Ref<MusicLibraryService> library,
                                 Ref<FileInfoService> infos, Ref<LanguageService> language,
                                 std::shared_ptr<PresentAddresses> addresses)
    : FLibrary(library),
      FInfos(std::move(infos)),
      FLanguage(std::move(language)),
      FAddresses(std::move(addresses)),
      FFile(profileFolder),
      FFollower(std::move(library), FAddresses),
      FSaver(kSaveDelay, [this] { Save(); }) {
    FSaver.SetEnabled(false);
    FLibrary->AddListener(this);
    FAddresses->AddKeeper(this);
    Load();
}

PlaylistManager::~PlaylistManager() {
    FAddresses->RemoveKeeper(this);
    FLibrary->RemoveListener(this);
    FLinks.Invalidate();
    StopDescribing();
    for (const Ref<Playlist>& playlist : FPlaylists) playlist->DetachObserver();
}

void PlaylistManager::Load() {
    for (const SavedPlaylist& saved : FFile.Load()) {
        const Ref<Playlist> playlist(new Playlist(saved.Name, nullptr));
        if (saved.Preimage)
            playlist->SetValueAsObject(IVEXAPlaylist::Preimage, MakePreimage(*saved.Preimage).Get());
        else
            playlist->SetEntries(saved.Entries);
        playlist->FocusEntry(saved.Focus);
        playlist->Observe(this);
        FPlaylists.push_back(playlist);
        if (saved.IsActive || !FActive) FActive = playlist;
        if (saved.Preimage) FFollower.Follow(playlist);
    }
}

void PlaylistManager::Save() {
    VEXA_ASSERT_MAIN_THREAD();
    FSaver.SetEnabled(false);
    if (!FIsChanged) return;
    std::vector<SavedPlaylist> list;
    for (const Ref<Playlist>& playlist : FPlaylists) {
        SavedPlaylist& saved = list.emplace_back();
        saved.Name = playlist->Name();
        saved.Focus = playlist->FocusedEntry();
        saved.IsActive = playlist == FActive;
        if (const auto preimage = playlist->Preimage())
            saved.Preimage = host::Describe(*preimage);
        else
            saved.Entries = playlist->Entries();
    }
    FFile.Save(list);
    FIsChanged = false;
}

void PlaylistManager::MarkChanged() {
    FIsChanged = true;
    FSaver.SetEnabled(true);
}

template <class Call>
void PlaylistManager::Notify(Call call) {
    for (const auto listeners = FListeners; PlaylistListener * listener : listeners)
        if (std::find(FListeners.begin(), FListeners.end(), listener) != FListeners.end()) call(*listener);
}

Ref<Playlist> PlaylistManager::Find(const QString& name) const {
    for (const Ref<Playlist>& playlist : FPlaylists)
        if (playlist->Name() == name) return playlist;
    return {};
}

void PlaylistManager::Activate(Playlist* playlist) {
    VEXA_ASSERT_MAIN_THREAD();
    if (FActive.Get() == playlist) return;
    FActive = Ref<Playlist>(playlist);
    MarkChanged();
    Notify([](PlaylistListener& listener) { listener.OnPlaylistsChanged(); });
}

QString PlaylistManager::UniqueName(const QString& wanted) const {
    QString name = wanted;
    for (int number = 2; Find(name); ++number) name = wanted + u" (" + QString::number(number) + u')';
    return name;
}

QString PlaylistManager::NextName() const {
    QString pattern = FLanguage->Text(QStringLiteral("Playlists\\New"));
    if (!pattern.contains(u"%s")) pattern = QStringLiteral("Playlist %s");
    for (int number = 1;; ++number) {
        const QString name = QString(pattern).replace(QStringLiteral("%s"), QString::number(number));
        if (!Find(name)) return name;
    }
}

Ref<Playlist> PlaylistManager::Create(const QString& name, bool activate) {
    VEXA_ASSERT_MAIN_THREAD();
    const QString plain = name.simplified();
    const Ref<Playlist> playlist(new Playlist(plain.isEmpty() ? NextName() : plain, this));
    if (plain.isEmpty()) FUnnamed.push_back(playlist.Get());
    FPlaylists.push_back(playlist);
    if (activate || !FActive) FActive = playlist;
    MarkChanged();
    Notify([](PlaylistListener& listener) { listener.OnPlaylistsChanged(); });
    return playlist;
}

void PlaylistManager::Remove(Playlist& playlist) {
    VEXA_ASSERT_MAIN_THREAD();
    const auto found = std::find(FPlaylists.begin(), FPlaylists.end(), Ref<Playlist>(&playlist));
    if (found == FPlaylists.end()) return;
    const Ref<Playlist> removed = *found;
    const auto next = FPlaylists.erase(found);
    removed->DetachObserver();
    FFollower.Leave(*removed);
    std::erase(FUnnamed, removed.Get());
    if (FActive == removed)
        FActive = FPlaylists.empty() ? nullptr : next != FPlaylists.end() ? *next : FPlaylists.back();
    MarkChanged();
    Notify([](PlaylistListener& listener) { listener.OnPlaylistsChanged(); });
}

void PlaylistManager::NameAfterFilter(Playlist& playlist) {
    if (std::erase(FUnnamed, &playlist) == 0) return;
    const auto preimage = playlist.Preimage();
    const QString name = preimage ? FFollower.NameFor(host::Describe(*preimage)) : QString();
    if (!name.isEmpty()) playlist.Rename(UniqueName(name));
}

void PlaylistManager::OnChanged(Playlist& playlist, Change change) {
    if (change == Change::Preimage) {
        NameAfterFilter(playlist);
        if (playlist.IsSmart())
            FFollower.Follow(Ref<Playlist>(&playlist));
        else
            FFollower.Leave(playlist);
    }
    if (change == Change::Name) std::erase(FUnnamed, &playlist);
    if (change == Change::Entries && !playlist.IsSmart()) DescribeLater();
    // The entries of a smart playlist and the selection are not saved.
    if (change != Change::Selection && !(change == Change::Entries && playlist.IsSmart())) MarkChanged();
    if (change == Change::Entries || change == Change::Selection)
        Notify([&](PlaylistListener& listener) { listener.OnPlaylistChanged(playlist); });
    else
        Notify([](PlaylistListener& listener) { listener.OnPlaylistsChanged(); });
}

bool PlaylistManager::IsBusy(const Playlist& playlist) const {
    return FFollower.IsReading(playlist) || FAddresses->IsBusy() ||
           ((FDescriber.IsBusy() || FIsToDescribe) && !playlist.IsSmart());
}

QStringList PlaylistManager::KeptAddresses() const {
    QStringList files;
    for (const Ref<Playlist>& playlist : FPlaylists) {
        for (const PlaylistEntry& entry : playlist->Entries()) files += entry.File;
        for (const auto& [place, entry] : playlist->GoneEntries().Entries()) files += entry.File;
    }
    return files;
}

void PlaylistManager::OnAddressesMoved(const AddressMoves& moves) {
    for (const auto playlists = FPlaylists; const Ref<Playlist>& playlist : playlists) playlist->MoveFiles(moves);
}

void PlaylistManager::OnAddressesGone(const QSet<QString>& gone) {
    for (const auto playlists = FPlaylists; const Ref<Playlist>& playlist : playlists)
        if (!playlist->IsSmart()) playlist->SetGone(gone);
}

void PlaylistManager::OnStorageAdded(const QString&) {
    FUnknown.clear();  // the storage's plug-in may know these files
    DescribeLater();
}

void PlaylistManager::DescribeLater() {
    if (std::exchange(FIsToDescribe, true)) return;
    RunInMainThread(
        [link = Link<PlaylistManager>(FLinks)] {
            if (PlaylistManager* alive = link.Get(); alive && alive->FIsToDescribe && !alive->FDescriber.IsBusy())
                alive->DescribeNow();
        },
        false);
}

void PlaylistManager::DescribeNow() {
    FIsToDescribe = false;
    QSet<QString> files;
    for (const Ref<Playlist>& playlist : FPlaylists)
        for (const PlaylistEntry& entry : playlist->Entries())
            if (files.size() < kDescribedAtOnce && !entry.IsDescribed && !FUnknown.contains(entry.File))
                files.insert(entry.File);
    if (files.isEmpty()) return;
    // On a worker thread, because plug-ins and disks may be slow.
    FDescriber.Run([this, files, infos = FInfos](const CancelCheck& isStopped) {
        QHash<QString, PlaylistDescription> found;
        QSet<QString> unknown;
        for (const QString& file : files) {
            if (isStopped()) break;
            const Ref<FileInfo> info(new FileInfo);
            if (Succeeded(infos->GetFileInfo(MakeString(file).Get(), 0, info.Get())))
                found.insert(file, {info->Text(IVEXAFileInfo::Title), info->Text(IVEXAFileInfo::Album)});
            else
                unknown.insert(file);
        }
        return [this, found, unknown] {
            FUnknown.unite(unknown);
            if (!found.isEmpty())
                for (const auto playlists = FPlaylists; const Ref<Playlist>& playlist : playlists)
                    playlist->Describe(found);
            DescribeNow();
        };
    });
}

void PlaylistManager::StopDescribing() {
    VEXA_ASSERT_MAIN_THREAD();
    FDescriber.Stop();
    FIsToDescribe = false;
}

HResult PlaylistManager::GetActivePlaylist(IVEXAPlaylist** playlist) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!playlist) return E_POINTER;
    *playlist = Ref<IVEXAPlaylist>(FActive).Detach();
    return *playlist ? S_OK : E_FAIL;
}

HResult PlaylistManager::GetPreimageFactoryByID(IVEXAString* id, IVEXAPlaylistPreimageFactory** factory) noexcept {
    if (!factory) return E_POINTER;
    *factory = nullptr;
    return Guarded("giving a preimage factory", [&] {
        const QString storageID = ToQString(id);
        if (!FLibrary->StorageIDs().contains(storageID)) return E_FAIL;
        *factory = Ref<IVEXAPlaylistPreimageFactory>(new PreimageFactory(storageID)).Detach();
        return S_OK;
    });
}

HResult PlaylistManager::CreatePlaylist(IVEXAString* name, Bool32 activate, IVEXAPlaylist** playlist) noexcept {
    if (!playlist) return E_POINTER;
    *playlist = nullptr;
    return Guarded("creating a playlist", [&] {
        *playlist = Ref<IVEXAPlaylist>(Create(ToQString(name), activate != kFalse)).Detach();
        return S_OK;
    });
}

}  // namespace vexa::host
