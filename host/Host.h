#pragma once
// A host without a window: the core with its services, and the plug-ins that it loaded. A player with windows adds its
// own services to the core before it loads a plug-in. Main thread, with a QCoreApplication and AttachMainThread before.
//
//     Host host({.ProfileFolder = folder, .LanguageFolder = languages});
//     host.LoadPlugin(fileName);

#include "AlbumArt.h"
#include "AudioDecoder.h"
#include "Config.h"
#include "Core.h"
#include "FileInfoService.h"
#include "FileSystem.h"
#include "Http.h"
#include "Language.h"
#include "LibrarySelection.h"
#include "Menus.h"
#include "Messages.h"
#include "MusicLibrary.h"
#include "OptionsPages.h"
#include "Player.h"
#include "Playlists.h"
#include "PluginLoader.h"
#include "PresentAddresses.h"

#include <vector>

namespace vexa::host {

class Host {
public:
    /// Makes the profile folder. Throws std::runtime_error when it cannot be made, or its settings cannot be read.
    explicit Host(const HostOptions& options);
    /// Unloads what is loaded.
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    /// Throws PluginError, with nothing of the plug-in left behind.
    const Plugin& LoadPlugin(const QString& fileName);
    const Plugin& StartPlugin(Plugin plugin);
    const std::vector<Plugin>& Plugins() const noexcept { return FPlugins; }
    /// Finalises the storages, then the plug-ins, the last one first; writes the playlists and the settings; lets go of
    /// all. No other thread calls an extension any more. Throws std::runtime_error at the end when something could not
    /// be written; it is tried again the next time.
    void UnloadPlugins();

    QString ProfileFolder() const { return FProfileFolder; }
    Core& TheCore() noexcept { return *FCore; }
    MessageDispatcher& Messages() noexcept { return *FMessages; }
    ConfigService& Config() noexcept { return *FConfig; }
    LanguageService& Language() noexcept { return *FLanguage; }
    MusicLibraryService& Library() noexcept { return *FLibrary; }
    HttpClientService& Http() noexcept { return *FHttp; }
    AudioDecoderService& Decoders() noexcept { return *FDecoders; }
    FileInfoService& FileInfos() noexcept { return *FFileInfos; }
    FileSystemService& FileSystems() noexcept { return *FFileSystems; }
    PresentAddresses& Addresses() noexcept { return *FAddresses; }
    AlbumArtService& AlbumArt() noexcept { return *FAlbumArt; }
    PlayerService& Player() noexcept { return *FPlayer; }
    MenuManager& Menus() noexcept { return *FMenus; }
    OptionsService& Options() noexcept { return *FOptions; }
    LibrarySelection& Selection() noexcept { return *FSelection; }
    PlaylistManager& Playlists() noexcept { return *FPlaylists; }

private:
    const QString FProfileFolder;
    // Services are made after those that they use.
    Ref<Core> FCore;
    Ref<MessageDispatcher> FMessages;
    Ref<ConfigService> FConfig;
    Ref<LanguageService> FLanguage;
    Ref<MusicLibraryService> FLibrary;
    Ref<HttpClientService> FHttp;
    Ref<AudioDecoderService> FDecoders;
    Ref<FileInfoService> FFileInfos;
    Ref<FileSystemService> FFileSystems;
    std::shared_ptr<PresentAddresses> FAddresses;
    Ref<AlbumArtService> FAlbumArt;
    Ref<PlayerService> FPlayer;
    Ref<MenuManager> FMenus;
    Ref<OptionsService> FOptions;
    Ref<LibrarySelection> FSelection;
    Ref<PlaylistManager> FPlaylists;
    std::vector<Plugin> FPlugins;
};

}  // namespace vexa::host
