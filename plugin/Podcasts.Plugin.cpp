#include "Podcasts.Plugin.h"

#include "Podcasts.Core.Backups.h"
#include "Podcasts.Core.Config.h"
#include "Podcasts.Core.Reasons.h"
#include "Podcasts.Core.Repair.h"
#include "Podcasts.Plugin.Commands.h"
#include "Podcasts.Plugin.FileManager.h"
#include "Podcasts.Plugin.ML.h"
#include "Podcasts.Plugin.Menus.h"
#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.MessageBox.h"
#include "VEXA.Runtime.Threads.h"

#include <QCoreApplication>
#include <QLocale>
#include <QScopedValueRollback>
#include <QTimerEvent>

#include <chrono>
#include <utility>

namespace podcasts {

using namespace vexa;

namespace {

bool IsAnyRunning = false;  // main thread only

QString ProfileFolder() {
    Ref<IVEXAString> path;
    RaiseIfFailed(HostCore()->GetPath(IVEXACore::PathProfile, path.Put()));
    return FromHostString(path.Get());
}

/// Lets the engine read and write the host's configuration.
class HostConfig final : public IPodcastConfig {
public:
    explicit HostConfig(TVEXAServiceConfig service) : FService(std::move(service)) {}
    int ReadInteger(const QString& keyPath, int defaultValue) override {
        return FService.ReadInteger(keyPath, defaultValue);
    }
    bool ReadBool(const QString& keyPath, bool defaultValue) override {
        return FService.ReadBool(keyPath, defaultValue);
    }
    QString ReadString(const QString& keyPath, const QString& defaultValue) override {
        return FService.ReadString(keyPath, defaultValue);
    }
    void WriteInteger(const QString& keyPath, int value) override { FService.WriteInteger(keyPath, value); }
    void WriteBool(const QString& keyPath, bool value) override { FService.WriteBool(keyPath, value); }
    void WriteString(const QString& keyPath, const QString& value) override { FService.WriteString(keyPath, value); }

private:
    TVEXAServiceConfig FService;
};

/// Does not wait for the user.
void ShowProblem(const Reason& problem) {
    QString text = LocalizedText(problem);
    if (!text.isEmpty()) text[0] = text[0].toUpper();  // reasons are written for the middle of a sentence
    ShowErrorBox(HostMainWindow(), LocalizedText(QStringLiteral("Podcasts.Settings\\Caption")), text);
}

std::unique_ptr<TPodcastClient> NewClient(const QString& profile) {
    return std::make_unique<TPodcastClient>(DatabaseFileName(profile), TPodcastClocks(), AskToGoOnWithoutBackup);
}

/// Opens the client; if its database is damaged, with the newest backup in its place. Throws if it cannot be replaced,
/// after it has told the user.
std::unique_ptr<TPodcastClient> OpenClient() {
    const QString profile = ProfileFolder();
    try {
        return NewClient(profile);
    } catch (const SqliteError& error) {
        if (!error.IsOfDamage()) throw;
    }
    try {
        if (FindDatabaseDamage(profile).isEmpty()) {  // another program has repaired it
            ForgetDamage(profile);
            return NewClient(profile);
        }
        const TPodcastRepair repair = ReplaceDamagedDatabase(profile, QDateTime::currentDateTimeUtc());
        const QString date = QLocale().toString(repair.BackupDate.toLocalTime(), QLocale::LongFormat);
        ShowProblem(repair.BackupDate.isValid() ? Reason(CoreReason("DamageReplaced"), {repair.Aside, date})
                                                : Reason(CoreReason("DamageWithoutBackup"), {repair.Aside}));
        return NewClient(profile);
    } catch (const std::exception& error) {
        ShowProblem(ReasonOf(error));
        throw;
    }
}

}  // namespace

/// Keeps a plug-in alive that was finalised too early, and stops it as soon as possible: in a later turn of the event
/// loop, at the loop's end, or when the application is destroyed.
class TVEXAPodcastsPlugin::LateEnd final : public QObject {
public:
    explicit LateEnd(TVEXAPodcastsPlugin& plugin) : QObject(QCoreApplication::instance()), FPlugin(&plugin) {
        startTimer(kPatience);
        if (parent())
            connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, [this] { TryToEnd(); });
    }
    ~LateEnd() override {
        // If the application is destroyed inside the operation, nothing more can be awaited, and the process ends.
        if (!TryToEnd()) (void)FPlugin.Detach();
    }

protected:
    void timerEvent(QTimerEvent*) override {
        if (TryToEnd()) deleteLater();
    }

private:
    static constexpr auto kPatience = std::chrono::milliseconds(10);

    bool TryToEnd() {
        if (!FPlugin) return true;
        if (FPlugin->IsClientInUse()) return false;
        FPlugin->Stop();
        FPlugin = nullptr;
        return true;
    }

    Ref<TVEXAPodcastsPlugin> FPlugin;  // null once the plug-in has been stopped
};

TVEXAPodcastsPlugin::~TVEXAPodcastsPlugin() {
    Stop();
}

const char16_t* TVEXAPodcastsPlugin::GetInformation(std::int32_t index) noexcept {
    switch (index) {
        case Name:
            return u"Podcasts";
        case Author:
            return u"VEXA Podcasts authors";
        case ShortDescription:
            return u"Provides support for Podcasts feeds";
        default:
            return u"";
    }
}

std::uint32_t TVEXAPodcastsPlugin::GetCategories() noexcept {
    return CategoryAddon;
}

HResult TVEXAPodcastsPlugin::Initialize(IVEXACore* core) noexcept {
    const Ref<TVEXAPodcastsPlugin> self(this);  // the host may release this object during the call
    if (!HasThisSdk(core)) {
        qCWarning(LogPlugin) << "the host was built with another version of the interfaces than" << kSdkMajor;
        return E_NOTIMPL;
    }
    if (!Query<IVEXAServiceMusicLibrary>(core)) return E_NOTIMPL;
    if (IsAnyRunning) return E_UNEXPECTED;
    AttachMainThread();  // a host need not know the runtime library, so do not rely on its call
    TVEXACustomPlugin::Initialize(core);
    IsAnyRunning = FIsRunning = true;
    FIsStarting = true;
    HResult result = GuardedCall("starting the podcasts", [this] { Start(); });
    FIsStarting = false;
    if (FIsEnding && Succeeded(result)) result = E_ABORT;
    if (Failed(result)) Stop();
    return result;
}

void TVEXAPodcastsPlugin::Start() {
    FClient = OpenClient();
    FOptionsFrame = NewObject<TVEXAPodcastsOptionsFrame>(
        *FClient, [this] { ReloadOptions(); }, [this] { SaveSettings(); }, FFindOptions);
    const auto library = TVEXAPodcastsMLExtension::Create(
        *FClient, [this] { ReloadOptions(); }, [this] { SaveSettings(); }, FFindOptions);
    HostCore()->RegisterExtension(IVEXAServiceMusicLibrary::IID, static_cast<TInterfacedObjectEx*>(library.Get()));
    HostCore()->RegisterExtension(IVEXAServiceOptionsDialog::IID,
                                  static_cast<TInterfacedObjectEx*>(FOptionsFrame.Get()));
    FStorageFrame =
        NewObject<TVEXAPodcastsStorageFrame>(TPodcastsStorageWork{.Run = RunCommand, .Delete = DeleteCachedEpisodes});
    HostCore()->RegisterExtension(IVEXAServiceOptionsDialog::IID,
                                  static_cast<TInterfacedObjectEx*>(FStorageFrame.Get()));
    FBackupsFrame = NewObject<TVEXAPodcastsBackupsFrame>(
        *FClient, TPodcastsBackupsWork{.Run = RunCommand, .OnSave = [this] { SaveSettings(); }});
    HostCore()->RegisterExtension(IVEXAServiceOptionsDialog::IID,
                                  static_cast<TInterfacedObjectEx*>(FBackupsFrame.Get()));
    TVEXAPodcastsFileManager::RegisterFileManager(*FClient);
    RegisterMenuCommands(*FClient);
    LoadSettings();
    FClient->ResumeDownloads();
    FClient->RefreshFeedsOnStartup();
    FClient->DeleteFilesBeyondLimitsInBackground();
    FClient->StartBackups(ShowProblem);
}

bool TVEXAPodcastsPlugin::IsClientInUse() const {
    return FIsWithSettings || IsAnyThreadWaiting() || (FClient && FClient->Listeners().IsNotifying());
}

void TVEXAPodcastsPlugin::Finalize() noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    const Ref<TVEXAPodcastsPlugin> self(this);  // as in Initialize
    if (!FIsRunning || std::exchange(FIsEnding, true)) return;
    if (FAreSettingsLoaded) {
        GuardedCall("saving the podcasts' options", [this] {
            ReloadOptions();
            SaveSettings();
        });
    }
    if (FIsStarting) return;  // Initialize will do the rest
    if (!IsClientInUse()) return Stop();
    GuardedCall("closing the podcasts", [this] {
        FClient->Listeners().Clear();
        TPodcastsClientPass::Close();
        new LateEnd(*this);  // owned by the application object
    });
}

void TVEXAPodcastsPlugin::Stop() noexcept {
    if (!FIsRunning) return;
    FAreSettingsLoaded = false;
    GuardedCall("letting go of the options page", [this] {
        FOptionsFrame = nullptr;
        FStorageFrame = nullptr;
        FBackupsFrame = nullptr;
    });
    GuardedCall("taking the podcast addresses back", [] { TVEXAPodcastsFileManager::UnregisterFileManager(); });
    GuardedCall("closing the podcasts", [this] { FClient.reset(); });
    TVEXACustomPlugin::Finalize();
    IsAnyRunning = FIsRunning = FIsEnding = false;
}

void TVEXAPodcastsPlugin::Show(WindowHandle) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    const auto dialog = HostService<IVEXAServiceOptionsDialog>();
    if (dialog && FOptionsFrame) dialog->FrameShow(FOptionsFrame.Get(), kTrue);
}

void TVEXAPodcastsPlugin::LoadSettings() {
    const QScopedValueRollback inUse(FIsWithSettings, true);
    HostConfig config(ServiceGetConfig());
    ReadPodcastConfig(config, *FClient);
    *FFindOptions = ReadPodcastFindOptions(config);
    FAreSettingsLoaded = true;
}

void TVEXAPodcastsPlugin::ReloadOptions() {
    const QScopedValueRollback inUse(FIsWithSettings, true);
    HostConfig config(ServiceGetConfig());
    ReadPodcastOptions(config, FClient->Options());
    *FFindOptions = ReadPodcastFindOptions(config);
}

void TVEXAPodcastsPlugin::SaveSettings() {
    const QScopedValueRollback inUse(FIsWithSettings, true);
    HostConfig config(ServiceGetConfig());
    WritePodcastConfig(config, *FClient);
    WritePodcastFindOptions(config, *FFindOptions);
}

}  // namespace podcasts

/// The library's only exported function.
extern "C" __attribute__((visibility("default"))) vexa::HResult VEXAPluginGetHeader(
    vexa::IVEXAPlugin** header) noexcept {
    if (!vexa::ClearOut(header)) return vexa::E_POINTER;
    return vexa::GuardedCall("making the plug-in", [header] {
        *header = vexa::NewObject<podcasts::TVEXAPodcastsPlugin>().Detach();
        return vexa::S_OK;
    });
}
