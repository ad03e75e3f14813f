#pragma once
// A host without a window: the core with its services, and the plug-ins that it has loaded. A player with windows adds
// its own services to the core before it loads a plug-in. Main thread only; create a QCoreApplication and call
// AttachMainThread first.
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
    /// Creates the profile folder if it is missing. Throws std::runtime_error when the folder cannot be created or the
    /// settings in it cannot be read.
    explicit Host(const HostOptions& options);
    /// Unloads the plug-ins.
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    /// Loads and initialises a plug-in. Throws PluginError; every extension that the plug-in has registered by then is
    /// removed again.
    const Plugin& LoadPlugin(const QString& fileName);
    const Plugin& StartPlugin(Plugin plugin);
    const std::vector<Plugin>& Plugins() const noexcept { return FPlugins; }
    /// Writes the playlists, finalises the storages and then the plug-ins, both in reverse order, cancels
    /// transfers, writes the settings, and releases every extension and plug-in. No other thread may call an extension
    /// any more. Throws std::runtime_error at the end when something could not be written.
    void UnloadPlugins();

    /// Switches the language and stores the choice for the next start. False, with nothing changed, when there is no
    /// such language.
    bool ChooseLanguage(const QString& language);

    QString ProfileFolder() const { return FProfileFolder; }
    Core& PluginCore() noexcept { return *FCore; }
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
    // A service is declared, and so constructed, after the services that it uses.
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
