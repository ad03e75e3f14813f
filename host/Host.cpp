#include "Host.h"

#include "ErrorInfo.h"
#include "FileInfo.h"
#include "Filters.h"
#include "Guarded.h"
#include "HostReasons.h"
#include "Images.h"
#include "ObjectList.h"
#include "Steps.h"
#include "Streams.h"
#include "VEXA.Runtime.Threads.h"

#include <QDir>

namespace vexa::host {

namespace {

const QString kLanguageKey = QStringLiteral("Window\\Language");

HostOptions WithProfile(const HostOptions& options) {
    if (!QDir().mkpath(options.ProfileFolder))
        throw ReasonError(Reason(HostReason("NoProfile"), {options.ProfileFolder}));
    return options;
}

}  // namespace

Host::Host(const HostOptions& options)
    : FProfileFolder(options.ProfileFolder),
      FCore(new Core(WithProfile(options))),
      FMessages(new MessageDispatcher),
      FConfig(new ConfigService(options.ProfileFolder)),
      FLanguage(new LanguageService(
          options.LanguageFolder,
          options.Language.isEmpty() ? FConfig->Find(kLanguageKey).value_or(QString()) : options.Language, FMessages)),
      FLibrary(new MusicLibraryService(Ref<IVEXAServiceConfig>(FConfig))),
      FHttp(new HttpClientService),
      FDecoders(new AudioDecoderService(FLanguage)),
      FFileInfos(new FileInfoService),
      FFileSystems(new FileSystemService),
      FAddresses(std::make_shared<PresentAddresses>(options.ProfileFolder, FFileSystems, FLibrary)),
      FAlbumArt(new AlbumArtService),
      FPlayer(
          new PlayerService(FDecoders, FFileInfos, FMessages, FLanguage, FAddresses, std::make_unique<SilentOutput>())),
      FMenus(new MenuManager(*FCore, FLanguage)),
      FOptions(new OptionsService),
      FSelection(new LibrarySelection(FLibrary)),
      FPlaylists(new PlaylistManager(options.ProfileFolder, FLibrary, FFileInfos, FLanguage, FAddresses)) {
    VEXA_ASSERT_MAIN_THREAD();
    FMessages->Handle(kMsgGetMainWindow, [](std::int32_t, void*) { return E_FAIL; });  // until there is one

    FCore->AddFactory<IVEXAString, HostString>();
    FCore->AddFactory<IVEXAObjectList, ObjectList>();
    FCore->AddFactory<IVEXAMemoryStream, MemoryStream>();
    FCore->AddFactory<IVEXAErrorInfo, ErrorInfo>();
    FCore->AddFactory<IVEXAFileInfo, FileInfo>();
    FCore->AddFactory<IVEXAImage, Image>();
    FCore->AddFactory<IVEXAImageContainer, ImageContainer>();
    FCore->AddFactory<IVEXAMenuItem, MenuItem>();
    FCore->AddFactory<IVEXAMLDataField, DataField>();
    FCore->AddFactory<IVEXAMLDataFilter, DataFilter>();

    FCore->AddService<IVEXAServiceConfig>(QStringLiteral("config"), FConfig);
    FCore->AddService<IVEXAServiceLanguage>(QStringLiteral("language"), FLanguage);
    FCore->AddService<IVEXAServiceMessageDispatcher>(QStringLiteral("messages"), FMessages);
    FCore->AddService<IVEXAServiceMusicLibrary>(QStringLiteral("library"), FLibrary, FLibrary.Get());
    FCore->AddService<IVEXAServiceHttpClient>(QStringLiteral("http"), FHttp);
    FCore->AddService<IVEXAServiceAudioDecoder>(QStringLiteral("decoder"), FDecoders, FDecoders.Get());
    FCore->AddService<IVEXAServiceFileInfo>(QStringLiteral("fileinfo"), FFileInfos, FFileInfos.Get());
    FCore->AddService<IVEXAServiceFileSystem>(QStringLiteral("filesystem"), FFileSystems, FFileSystems.Get());
    FCore->AddService<IVEXAServiceAlbumArt>(QStringLiteral("albumart"), FAlbumArt, FAlbumArt.Get());
    FCore->AddService<IVEXAServicePlayer>(QStringLiteral("player"), FPlayer, FPlayer.Get());
    FCore->AddService<IVEXAServiceMenuManager>(QStringLiteral("menus"), FMenus, FMenus.Get());
    FCore->AddService<IVEXAServiceOptionsDialog>(QStringLiteral("options"), FOptions, FOptions.Get());
    FCore->AddService<IVEXAServiceMusicLibraryUI>(QStringLiteral("selection"), FSelection);
    FCore->AddService<IVEXAServicePlaylistManager, IVEXAServicePlaylistManager2>(QStringLiteral("playlists"),
                                                                                 FPlaylists);
}

Host::~Host() {
    Guarded("unloading the plug-ins", [this] { UnloadPlugins(); });
}

bool Host::ChooseLanguage(const QString& language) {
    if (!FLanguage->Switch(language)) return false;
    FConfig->Write(kLanguageKey, FLanguage->Language());
    return true;
}

const Plugin& Host::LoadPlugin(const QString& fileName) {
    return StartPlugin(Plugin(fileName));
}

const Plugin& Host::StartPlugin(Plugin plugin) {
    VEXA_ASSERT_MAIN_THREAD();
    const std::uint64_t before = FCore->Mark();
    try {
        plugin.Initialize(FCore.Get());
    } catch (...) {
        FCore->FinalizeExtensions(before);
        plugin.Finalize();
        FCore->RemoveExtensions(before);
        throw;
    }
    FPlugins.push_back(std::move(plugin));
    FAddresses->Start();
    return FPlugins.back();
}

void Host::UnloadPlugins() {
    VEXA_ASSERT_MAIN_THREAD();
    Steps ending;
    FPlaylists->StopDescribing();
    FAddresses->Stop();
    ending.Take([this] { FPlaylists->Save(); });
    FCore->FinalizeExtensions(0);
    for (auto plugin = FPlugins.rbegin(); plugin != FPlugins.rend(); ++plugin) plugin->Finalize();
    FHttp->CancelAll();
    ending.Take([this] { FConfig->Save(); });
    FCore->RemoveExtensions(0);
    FPlugins.clear();
    ending.ThrowIfFailed();
}

}  // namespace vexa::host
