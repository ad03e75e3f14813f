#include "Podcasts.Plugin.ML.h"

#include "Podcasts.Plugin.Commands.h"
#include "Podcasts.Plugin.Dialogs.Feed.h"
#include "Podcasts.Plugin.FileManager.h"
#include "Podcasts.Plugin.ML.DataProvider.Tree.h"
#include "VEXA.Runtime.Desktop.h"
#include "VEXA.Runtime.Threads.h"
#include "VEXA.Runtime.Url.h"
#include "apiWrappersUI.h"

#include <QFile>
#include <QLocale>

namespace podcasts {

using namespace vexa;

namespace {

using TaskKind = IVEXAMLSubscriptionStorage::TaskID;

const QString kCaptionKey = QStringLiteral("Podcasts\\Caption");
const QString kRefreshKey = QStringLiteral("Podcasts\\MSG8");
const QString kDownloadKey = QStringLiteral("Podcasts\\MSG9");
const QString kFilterLimitsKey = QStringLiteral("Podcasts\\FilterLimits");
const QString kNewEpisodesKey = QStringLiteral("Podcasts\\MSG10");
const QString kMoreKey = QStringLiteral("Podcasts\\MSG19");
const QString kPlayKey = QStringLiteral("Podcasts\\MSG20");
const QString kWaitingKey = QStringLiteral("Podcasts\\MSG18");

constexpr qsizetype kMaxNamesInBalloon = 3, kMaxNameInBalloon = 120;

QByteArray TrayIconBytes() {
    QFile file(ResourcePath(QStringLiteral("TRAYICON"), QStringLiteral("ICON")));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The message for the user, with the limits of filters if exceeding them may be the reason.
QString TextOf(const SqliteError& error) {
    const QString reason = LocalizedText(error.Why());
    const QString limits = error.IsOfStatement() ? LocalizedText(kFilterLimitsKey) : QString();
    return limits.isEmpty() ? reason : FormatText(limits, reason);
}

struct NewEpisodes {
    QStringList Names;  // "podcast – episode", a few, then how many more there are
    QString First;      // the address by which the player plays the first one; empty when none can be played
};

NewEpisodes NamesOfEpisodes(TPodcastClient& client, const QStringList& keys) {
    NewEpisodes result;
    for (const QString& key : keys) {
        if (result.Names.size() == kMaxNamesInBalloon) break;
        const auto episode = client.DB().GetEpisode(key);
        const auto feed = episode ? client.DB().GetFeed(episode->FeedID, false) : nullptr;
        if (!feed) continue;
        const QString name = feed->Fields[pffTitle] + u" – " + episode->Fields[pefTitle];
        result.Names += name.simplified().left(kMaxNameInBalloon);
        if (result.First.isEmpty()) result.First = episode->Fields[pefURI];
    }
    const qsizetype more = keys.size() - result.Names.size();
    if (more > 0 && !result.Names.isEmpty())
        result.Names += FormatText(LocalizedText(kMoreKey), QLocale().toString(more));
    return result;
}

/// What the player uses now: keys of episodes and names of files.
std::optional<QStringList> FilesInUse() {
    const auto names = CreateHostObject<IVEXAObjectList>();
    const HResult result = SendHostMessage(kMsgGetFilesInUse, 0, names.Get());
    if (Failed(result) && result != E_NOTIMPL) return std::nullopt;
    QStringList keys;
    const std::int32_t count = names->GetCount();
    for (std::int32_t i = 0; i < count; ++i) {
        Ref<IVEXAString> name;
        if (Failed(names->GetObject(i, IVEXAString::IID, name.PutVoid()))) continue;
        const QString text = FromHostString(name.Get());
        QString key;
        keys += TVEXAPodcastsFileManager::ParseURI(text, key) ? key : text;
    }
    return keys;
}

void SetErrorInfo(IVEXAMLDataFilter& filter, const QString& reason) {
    Ref<IVEXAErrorInfo> error;
    if (Succeeded(filter.GetValueAsObject(IVEXAMLDataFilter::ErrorInfo, IVEXAErrorInfo::IID, error.PutVoid())))
        error->SetInfo(-1, ToHostString(reason).Get(), nullptr);
}

}  // namespace

TVEXAPodcastsMLExtension::TVEXAPodcastsMLExtension(TPodcastClient& client, std::function<void()> onLoad,
                                                   std::function<void()> onSave,
                                                   std::shared_ptr<TPodcastFindOptions> find)
    : FClient(client.Links()),
      FOnLoad(std::move(onLoad)),
      FOnSave(std::move(onSave)),
      FFinder(
          std::move(find),
          [this] {
              if (FOnLoad && FClient.Get()) FOnLoad();
          },
          [this] {
              if (FOnSave && FClient.Get()) FOnSave();
          }) {}

Ref<TVEXAPodcastsMLExtension> TVEXAPodcastsMLExtension::Create(TPodcastClient& client, std::function<void()> onLoad,
                                                               std::function<void()> onSave,
                                                               std::shared_ptr<TPodcastFindOptions> find) {
    auto extension = NewObject<TVEXAPodcastsMLExtension>(client, std::move(onLoad), std::move(onSave), std::move(find));
    client.Listeners().Add(Ref<IUnknown>(static_cast<TInterfacedObjectEx*>(extension.Get())));
    client.SetFilesInUse(FilesInUse);
    return extension;
}

Ref<IUnknown> TVEXAPodcastsMLExtension::DoGetValueAsObject(std::int32_t propertyID) {
    switch (propertyID) {
        case IVEXAMLExtensionDataStorage::ID:
            return ToHostString(kStorageID);
        case IVEXAMLExtensionDataStorage::Caption:
            return ToHostString(LocalizedText(kCaptionKey));
        default:
            return Implements::DoGetValueAsObject(propertyID);
    }
}

void TVEXAPodcastsMLExtension::DoGetValueAsInt32(std::int32_t propertyID, std::int32_t& value, HResult& result) {
    if (propertyID == IVEXAMLExtensionDataStorage::Capabilities)
        value = Filtering | Grouping | Searching;
    else
        Implements::DoGetValueAsInt32(propertyID, value, result);
}

// ---- The storage ----

void TVEXAPodcastsMLExtension::Finalize() noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    GuardedCall("leaving the library", [&] {
        if (const auto dispatcher = HostService<IVEXAServiceMessageDispatcher>()) dispatcher->Unhook(this);
        TfrmPodcastFeed::SetSearchHook({});
        FFinder.Close();
        FTasks.Finalize();
        FManager = nullptr;
        FRows.Close();
    });
}

void TVEXAPodcastsMLExtension::Initialize(IVEXAMLDataStorageManager* manager) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    GuardedCall("joining the library", [&] {
        FManager = manager;
        FTasks.Initialize(manager);
        TfrmPodcastFeed::SetSearchHook(
            [this](WindowHandle owner, const QString& text) { ShowSearchWindow(owner, ToHostString(text).Get()); });
        if (const auto dispatcher = HostService<IVEXAServiceMessageDispatcher>()) dispatcher->Hook(this);
    });
}

HResult TVEXAPodcastsMLExtension::LoadConfig(IUnknown*) noexcept {
    return S_OK;
}

HResult TVEXAPodcastsMLExtension::SaveConfig(IUnknown*) noexcept {
    return S_OK;
}

HResult TVEXAPodcastsMLExtension::GetFields(std::int32_t schema, IVEXAObjectList** fields) noexcept {
    if (!ClearOut(fields)) return E_POINTER;
    return GuardedCall("listing the fields",
                       [&] { *fields = TVEXAPodcastsMLDataStorage::BuildFieldList(schema).Detach(); });
}

HResult TVEXAPodcastsMLExtension::GetGroupingPresets(std::int32_t schema, IVEXAMLGroupingPresets* presets) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!AreGiven(presets)) return E_POINTER;
    return GuardedCall("offering the tree", [&] {
        TPodcastClient* const client = FClient.Get();
        if (schema != kSchemaTree || !client) return;
        const auto tree = NewObject<TVEXAPodcastsMLDataProviderGroupingTree>(client->DB());
        presets->Add(ToHostString(kGroupingPresetID).Get(), nullptr, 0, tree.Get());
    });
}

void TVEXAPodcastsMLExtension::FlushCache() noexcept {}

HResult TVEXAPodcastsMLExtension::GetData(IVEXAObjectList* fields, IVEXAMLDataFilter* filter,
                                          IUnknown** data) noexcept {
    if (!ClearOut(data)) return E_POINTER;
    return WithRequest("reading the library", fields, filter,
                       [&](TPodcastsDB& db, const auto& request) { *data = ReadData(db, FRows, request).Detach(); });
}

Ref<IUnknown> TVEXAPodcastsMLExtension::ReadData(TPodcastsDB& db, TPodcastsRows& rows,
                                                 const TPodcastsRowRequest& request) {
    // A page is read into memory, so that no cursor stays open; a request for all rows streams them from its own
    // reader.
    const auto provider = request.Count > 0 ? NewObject<TVEXAMLSQLTableDataProvider>(rows.Read(db, request))
                                            : NewObject<TVEXAMLSQLTableDataProvider>(db, request.Statement);
    return Ref<IUnknown>(static_cast<TInterfacedObjectEx*>(provider.Get()));
}

HResult TVEXAPodcastsMLExtension::WithRequest(const char* what, IVEXAObjectList* fields, IVEXAMLDataFilter* filter,
                                              const RequestUser& use) noexcept {
    if (!AreGiven(fields, filter)) return E_POINTER;
    return GuardedCall(what, [&] {
        const auto client = TPodcastsClientPass::Enter();
        if (!client) return E_FAIL;
        try {
            use(client->DB(), ReadRowRequest(fields, filter));
            return S_OK;
        } catch (const std::invalid_argument& error) {
            LogCaughtException(LogPlugin(), what);
            SetErrorInfo(*filter, QString::fromUtf8(error.what()));
            return E_INVALIDARG;
        } catch (const SqliteError& error) {
            LogCaughtException(LogPlugin(), what);
            SetErrorInfo(*filter, TextOf(error));
            return E_UNEXPECTED;
        }
    });
}

HResult TVEXAPodcastsMLExtension::GetAlbumArt(IVEXAObjectList* fields, const Variant* values, IVEXAPropertyList*,
                                              IVEXAImageContainer** image) noexcept {
    if (!ClearOut(image) || !AreGiven(fields, values)) return E_POINTER;
    const auto lookUp = [&] {
        const std::int32_t count = fields->GetCount();
        for (std::int32_t i = 0; i < count; ++i) {
            Ref<IVEXAString> name;
            if (Failed(fields->GetObject(i, IVEXAString::IID, name.PutVoid()))) continue;
            if (FromHostString(name.Get()).compare(u"FileName", Qt::CaseInsensitive) == 0)
                return TVEXAPodcastsAlbumArtProvider::GetAlbumArt(VariantToText(values[i]), image);
        }
        return E_FAIL;
    };
    return GuardedCall("looking for an episode's picture", lookUp, E_FAIL);
}

HResult TVEXAPodcastsMLExtension::Find(IVEXAFileInfo* info, IVEXAMLDataFilter** filter,
                                       IVEXAMLGroupingTreeSelection** selection) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!ClearOut(filter, selection)) return E_POINTER;
    const auto find = [&] {
        Ref<IVEXAString> fileName;
        if (!info || Failed(info->GetValueAsObject(IVEXAFileInfo::FileName, IVEXAString::IID, fileName.PutVoid())))
            return E_NOINTERFACE;
        const auto resolved = TVEXAPodcastsFileManager::ResolveEpisode(FromHostString(fileName.Get()));
        if (!resolved) return E_NOINTERFACE;
        *selection = TVEXAPodcastsMLGroupingTreeSelection::ForFeed(*resolved->Feed).Detach();
        return S_OK;
    };
    return GuardedCall("finding an episode in the library", find, E_NOINTERFACE);
}

HResult TVEXAPodcastsMLExtension::Execute(WindowHandle owner) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    const Ref<TVEXAPodcastsMLExtension> self(this);  // the library may release the storage while the dialog is open
    TPodcastClient* const client = FClient.Get();
    if (!client) return E_FAIL;
    try {
        TfrmPodcastFeed::Subscribe(owner, *client);
        return S_OK;
    } catch (...) {
        ShowCaughtException("subscribing in a dialog");
        return E_UNEXPECTED;
    }
}

// ---- Notifications of the client ----

void TVEXAPodcastsMLExtension::RefreshFeedsStarted() {
    FAnnouncedFeeds = 0;
    const auto cancel = [link = FClient] {
        if (TPodcastClient* const client = link.Get()) client->CancelRefresh();
    };
    FTasks.StartTask(TaskKind::Refresh, kRefreshKey, cancel, false);
}

void TVEXAPodcastsMLExtension::RefreshFeed(const QString& feedURL) {
    TPodcastClient* const client = FClient.Get();
    if (!client) return;
    ++FAnnouncedFeeds;
    FTasks.UpdateTask(TaskKind::Refresh, MaskedUrl(feedURL),
                      {FAnnouncedFeeds, FAnnouncedFeeds + client->RefreshQueue().Count()});
}

void TVEXAPodcastsMLExtension::RefreshFeedsFinished(bool hasNewEpisodes) {
    TPodcastClient* const client = FClient.Get();
    QStringList announced;
    if (hasNewEpisodes && client)
        GuardedCall("choosing what to announce", [&] { announced = client->EpisodesToAnnounce(); });
    if (client && !announced.isEmpty()) ShowNewEpisodes(*client, announced);
    FTasks.FinishTask(TaskKind::Refresh);
}

void TVEXAPodcastsMLExtension::DownloadsStarted() {
    FWaitingFormat = LocalizedText(kWaitingKey);
    FTasks.StartTask(TaskKind::Downloads, kDownloadKey, [link = FClient] {
        if (TPodcastClient* const client = link.Get()) client->CancelDownloads();
    });
}

void TVEXAPodcastsMLExtension::DownloadsProgress(std::int64_t position, std::int64_t size, const QString& caption) {
    // If the file's size is unknown, show the bytes received in place of the percentage.
    const QString share =
        size > 0 ? QString::number(position * 100 / size) + u'%' : QLocale().formattedDataSize(position);
    const bool isWaiting = caption.startsWith(kWaitingForConnection) && FWaitingFormat.contains(QLatin1String("%s"));
    const QString shown =
        isWaiting ? FormatText(FWaitingFormat, caption.sliced(kWaitingForConnection.size())) : caption;
    TPodcastTaskProgress progress;
    // On the task's own thread, for which the client waits before it is destroyed.
    if (TPodcastClient* const client = FClient.Get()) {
        progress.Item = static_cast<qsizetype>(client->DownloadOutcomes().Count()) + 1;
        progress.Count = progress.Item + client->DownloadQueue().Count();
        if (size > 0) progress.ItemShare = static_cast<double>(position) / static_cast<double>(size);
    }
    FTasks.UpdateTask(TaskKind::Downloads, share + u" - " + shown, progress);
}

void TVEXAPodcastsMLExtension::DownloadsFinished() {
    FTasks.FinishTask(TaskKind::Downloads);
}

void TVEXAPodcastsMLExtension::DataChanged() {
    VEXA_ASSERT_MAIN_THREAD();
    // The library may release the storage during the call.
    if (const auto manager = FManager) manager->Changed();
}

// ---- Notifications ----

/// A click opens the podcasts, whichever episodes have arrived; the button plays the first one named.
void TVEXAPodcastsMLExtension::ShowNewEpisodes(TPodcastClient& client, const QStringList& keys) {
    if (!FTrayIcon) {
        FTrayIcon = std::make_unique<NotificationIcon>();
        FTrayIcon->SetIcon(TrayIconBytes());
    }
    NewEpisodes episodes;
    GuardedCall("naming new episodes", [&] { episodes = NamesOfEpisodes(client, keys); });
    FTrayIcon->SetOnClick([this] { OpenPodcasts(); });
    if (episodes.First.isEmpty())
        FTrayIcon->SetButton({}, {});
    else
        FTrayIcon->SetButton(LocalizedText(kPlayKey), [this, uri = episodes.First] {
            FTrayIcon->SetVisible(false);
            if (const auto player = HostService<IVEXAServicePlayer>()) player->Play(ToHostString(uri).Get(), nullptr);
        });
    FTrayIcon->SetVisible(true);
    FTrayIcon->ShowBalloon(LocalizedText(kCaptionKey),
                           (QStringList(LocalizedText(kNewEpisodesKey)) + episodes.Names).join(u'\n'),
                           BalloonKind::Information);
}

void TVEXAPodcastsMLExtension::OpenPodcasts() {
    const Ref<TVEXAPodcastsMLExtension> self(this);  // the library may release the storage during these calls
    if (const auto library = HostService<IVEXAServiceMusicLibrary>()) {
        Ref<IUnknown> storage;
        if (Succeeded(library->GetStorageByID(ToHostString(kStorageID).Get(), IUnknown::IID, storage.PutVoid())))
            library->SetActiveStorage(storage.Get());
    }
    std::int32_t show = 0;
    SendHostMessage(kMsgShowWindow, kWindowLibrary, &show);
    BringToFront(HostMainWindow());
    FTrayIcon->SetVisible(false);
}

// ---- The host's messages ----

void TVEXAPodcastsMLExtension::OnMessage(std::uint32_t message, std::int32_t, void*, HResult*) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    GuardedCall("following the host's messages", [&] {
        if (message == kMsgPlaybackStarted)
            MarkPlayedEpisode();
        else if (message == kMsgLanguageChanged)
            DataChanged();
    });
}

void TVEXAPodcastsMLExtension::MarkPlayedEpisode() {
    const TPodcastClient* const client = FClient.Get();
    if (!client || !client->Options().MarkEpisodesListenedOnStartPlayback) return;
    const auto player = HostService<IVEXAServicePlayer>();
    Ref<IVEXAFileInfo> info;
    if (!player || Failed(player->GetInfo(info.Put()))) return;
    QString episodeKey;
    if (TVEXAPodcastsFileManager::ParseURI(ReadPropertyString(info.Get(), IVEXAFileInfo::FileName), episodeKey))
        RunCommand([episodeKey](TPodcastClient& present) { MarkListened(present, episodeKey); });
}

}  // namespace podcasts
