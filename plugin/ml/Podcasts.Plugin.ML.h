#pragma once
// The podcasts as a storage of the host's music library, in one object with all interfaces that the library uses.

#include "Podcasts.Core.h"
#include "Podcasts.Plugin.ML.Finder.h"
#include "Podcasts.Plugin.ML.Rows.h"
#include "Podcasts.Plugin.ML.Tasks.h"
#include "VEXA.Runtime.Notifications.h"
#include "apiWrappers.h"

#include <atomic>
#include <functional>
#include <map>
#include <memory>

namespace podcasts {

inline const QString kStorageID = QStringLiteral("VEXA.Podcasts.ML.Storage");
inline const QString kGroupingPresetID = QStringLiteral("VEXA.Podcasts.ML.Default");

/// The interface by which the plug-in recognises its own storage.
struct IVEXAPodcastsMLExtension : vexa::IUnknown {
    static constexpr vexa::Guid IID = vexa::ParseGuid("{95B6499A-3FCE-46C4-8EE2-4979131D3B51}");
    /// Null once the client is gone.
    virtual TPodcastClient* GetClient() noexcept = 0;

protected:
    ~IVEXAPodcastsMLExtension() = default;
};

/// Provides fields, rows, tree and pictures to the library, reports the client's tasks to it, and marks episodes that
/// the host plays. Main thread, except for rows, their numbers, pictures, outcomes and the progress of downloads.
class TVEXAPodcastsMLExtension
    : public vexa::Implements<vexa::TVEXAPropertyList, IPodcastClientRefreshFeedsListener,
                              IPodcastClientDownloadsListener, IPodcastClientChangeListener, IVEXAPodcastsMLExtension,
                              vexa::IVEXAMLExtensionDataStorage, vexa::IVEXAMLDataStorageCommandFindInLibrary,
                              vexa::IVEXAMLDataStorageCommandAddFilesDialog, vexa::IVEXAMLDataProvider,
                              vexa::IVEXAMLAlbumArtProvider, vexa::IVEXAMessageHook, vexa::IVEXAMLSubscriptionStorage,
                              vexa::IVEXAMLTaskProgress, vexa::IVEXAMLStartOptions, vexa::IVEXAMLUndo,
                              vexa::IVEXAMLNodeImage, vexa::IVEXAMLNodeInfo, vexa::IVEXAMLNodeOptions,
                              vexa::IVEXAMLPreview, vexa::IVEXAMLFinder> {
public:
    /// Creates the object and adds it to the client's listeners. `onLoad` is called before an option is set, or those
    /// of `find` are used, `onSave` after one was set; neither is called once the client is gone.
    static vexa::Ref<TVEXAPodcastsMLExtension> Create(
        TPodcastClient& client, std::function<void()> onLoad = {}, std::function<void()> onSave = {},
        std::shared_ptr<TPodcastFindOptions> find = std::make_shared<TPodcastFindOptions>());

    // The client's listeners.
    void RefreshFeedsStarted() override;
    void RefreshFeed(const QString& feedURL) override;
    void RefreshFeedsFinished(bool hasNewEpisodes) override;
    void DownloadsStarted() override;
    void DownloadsProgress(std::int64_t position, std::int64_t size, const QString& caption) override;
    void DownloadsFinished() override;
    void DataChanged() override;

    TPodcastClient* GetClient() noexcept override { return FClient.Get(); }

    // The storage.
    void Finalize() noexcept override;
    void Initialize(vexa::IVEXAMLDataStorageManager* manager) noexcept override;
    vexa::HResult LoadConfig(vexa::IUnknown* config) noexcept override;
    vexa::HResult SaveConfig(vexa::IUnknown* config) noexcept override;
    vexa::HResult GetFields(std::int32_t schema, vexa::IVEXAObjectList** fields) noexcept override;
    vexa::HResult GetGroupingPresets(std::int32_t schema, vexa::IVEXAMLGroupingPresets* presets) noexcept override;
    void FlushCache() noexcept override;

    vexa::HResult GetData(vexa::IVEXAObjectList* fields, vexa::IVEXAMLDataFilter* filter,
                          vexa::IUnknown** data) noexcept override;
    vexa::HResult GetAlbumArt(vexa::IVEXAObjectList* fields, const vexa::Variant* values,
                              vexa::IVEXAPropertyList* options, vexa::IVEXAImageContainer** image) noexcept override;
    vexa::HResult Find(vexa::IVEXAFileInfo* info, vexa::IVEXAMLDataFilter** filter,
                       vexa::IVEXAMLGroupingTreeSelection** selection) noexcept override;
    vexa::HResult Execute(vexa::WindowHandle owner) noexcept override;
    void OnMessage(std::uint32_t message, std::int32_t param1, void* param2, vexa::HResult* result) noexcept override;

    // IVEXAMLSubscriptionStorage.
    vexa::HResult GetRowCount(vexa::IVEXAObjectList* fields, vexa::IVEXAMLDataFilter* filter,
                              std::int64_t* count) noexcept override;
    vexa::HResult Subscribe(vexa::IVEXAObjectList* addresses,
                            vexa::IVEXAMLSubscriptionEvents* events) noexcept override;
    vexa::HResult ImportOPML(vexa::IVEXAString* fileName, vexa::IVEXAMLSubscriptionEvents* events,
                             vexa::IVEXAErrorInfo* error) noexcept override;
    vexa::HResult ExportOPML(vexa::IVEXAString* fileName, vexa::IVEXAErrorInfo* error) noexcept override;
    vexa::HResult GetOutcomes(std::int32_t taskID, std::int32_t first,
                              vexa::IVEXAObjectList** outcomes) noexcept override;

    // IVEXAMLTaskProgress.
    vexa::HResult GetProgress(std::int32_t taskID, std::int32_t* item, std::int32_t* count,
                              double* share) noexcept override;
    vexa::HResult Cancel(std::int32_t taskID) noexcept override;

    // IVEXAMLStartOptions.
    vexa::HResult GetOptions(vexa::IVEXAObjectList** options) noexcept override;
    vexa::HResult SetOption(vexa::IVEXAString* id, const vexa::Variant* value) noexcept override;

    // IVEXAMLNodeImage.
    vexa::HResult GetVersion(vexa::IVEXAString* field, const vexa::Variant* value,
                             vexa::IVEXAString** version) noexcept override;
    vexa::HResult GetImage(vexa::IVEXAString* field, const vexa::Variant* value, std::uint32_t flags,
                           vexa::IVEXAImageContainer** image) noexcept override;

    // IVEXAMLNodeInfo.
    vexa::HResult GetInfo(vexa::IVEXAString* field, const vexa::Variant* value,
                          vexa::IVEXAPropertyList* info) noexcept override;

    // IVEXAMLNodeOptions.
    vexa::HResult GetOptions(vexa::IVEXAString* field, const vexa::Variant* value,
                             vexa::IVEXAObjectList** options) noexcept override;
    vexa::HResult SetOption(vexa::IVEXAString* field, const vexa::Variant* value, vexa::IVEXAString* id,
                            const vexa::Variant* optionValue) noexcept override;
    vexa::HResult GetPresentNode(vexa::IVEXAString* field, vexa::Variant* value) noexcept override;

    // IVEXAMLUndo.
    vexa::HResult Describe(std::int64_t* act, vexa::IVEXAString** text) noexcept override;
    vexa::HResult Undo(std::int64_t act, vexa::IVEXAMLUndoEvents* events) noexcept override;

    // IVEXAMLFinder.
    vexa::HResult GetSources(vexa::IVEXAObjectList** sources) noexcept override;
    vexa::HResult Find(vexa::IVEXAString* text, std::int32_t limit, vexa::IVEXAMLFinderEvents* events,
                       std::int64_t* search) noexcept override;
    vexa::HResult CancelSearch(std::int64_t search) noexcept override;
    vexa::HResult ShowSearchWindow(vexa::WindowHandle owner, vexa::IVEXAString* text) noexcept override;

    // IVEXAMLPreview.
    vexa::HResult Open(vexa::IVEXAString* address, vexa::IVEXAMLPreviewEvents* events,
                       std::int64_t* opening) noexcept override;
    vexa::HResult CancelOpening(std::int64_t opening) noexcept override;

protected:
    vexa::Ref<vexa::IUnknown> DoGetValueAsObject(std::int32_t propertyID) override;
    void DoGetValueAsInt32(std::int32_t propertyID, std::int32_t& value, vexa::HResult& result) override;

private:
    template <class T, class... Arguments>
    friend vexa::Ref<T> vexa::NewObject(Arguments&&... arguments);
    TVEXAPodcastsMLExtension(TPodcastClient& client, std::function<void()> onLoad, std::function<void()> onSave,
                             std::shared_ptr<TPodcastFindOptions> find);

    class PreviewRows;
    class PreviewTask;
    using RequestUser = std::function<void(TPodcastsDB& db, const TPodcastsRowRequest& request)>;

    /// Calls `use` with the request of `fields` and `filter`. E_POINTER without fields or filter, E_INVALIDARG for an
    /// invalid filter, E_FAIL once the client is gone. On failure the filter's ErrorInfo gets the reason.
    static vexa::HResult WithRequest(const char* what, vexa::IVEXAObjectList* fields, vexa::IVEXAMLDataFilter* filter,
                                     const RequestUser& use) noexcept;
    static vexa::Ref<vexa::IUnknown> ReadData(TPodcastsDB& db, TPodcastsRows& rows, const TPodcastsRowRequest& request);
    vexa::HResult StartSubscribing(QStringList locations, vexa::IVEXAMLSubscriptionEvents* events);
    void ShowNewEpisodes(TPodcastClient& client, const QStringList& keys);
    void OpenPodcasts();
    void MarkPlayedEpisode();

    vexa::Link<TPodcastClient> FClient;
    const std::function<void()> FOnLoad, FOnSave;
    TPodcastsMLFinder FFinder;
    TVEXAPodcastsMLBackgroundTaskHelper FTasks;
    TPodcastsRows FRows;
    std::map<std::int64_t, std::weak_ptr<std::atomic<bool>>> FOpenings;  // whether each is cancelled; main thread
    std::int64_t FLastOpening = 0;
    qsizetype FAnnouncedFeeds = 0;  // of the present refresh
    QString FWaitingFormat;  // the format of a waiting download's caption; set before a download task begins reading it
    vexa::Ref<vexa::IVEXAMLDataStorageManager> FManager;  // set between Initialize and Finalize
    std::unique_ptr<vexa::NotificationIcon> FTrayIcon;    // created for the first notification
};

}  // namespace podcasts
