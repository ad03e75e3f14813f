// The storage's optional interfaces: subscriptions, and the options for new users.

#include "Podcasts.Core.Reasons.h"
#include "Podcasts.Core.Subscribing.h"
#include "Podcasts.Plugin.FileManager.h"
#include "Podcasts.Plugin.ML.Found.h"
#include "Podcasts.Plugin.ML.h"
#include "VEXA.Runtime.Threads.h"
#include "VEXA.Runtime.Url.h"

#include <atomic>
#include <memory>

namespace podcasts {

using namespace vexa;

namespace {

/// One outcome of a task, as a property list.
class TaskOutcome : public TVEXAPropertyListAs<IVEXAMLTaskOutcome> {
public:
    QString ItemText, CaptionText, File, ErrorText, NewAddress;
    std::int32_t NewEpisodes = 0;
    bool IsDropped = false, IsMoveRefused = false;

protected:
    void DoGetValueAsVariant(std::int32_t propertyID, Variant& value, HResult& result) override {
        switch (propertyID) {
            case Item:
                value = ToVariant(ItemText);
                break;
            case Caption:
                value = ToVariant(CaptionText.isEmpty() ? MaskedUrl(ItemText) : CaptionText);
                break;
            case NewCount:
                value = ToVariant(NewEpisodes);
                break;
            case FileName:
                value = ToVariant(File);
                break;
            case Error:
                value = ToVariant(ErrorText);
                break;
            case Dropped:
                value = ToVariant(IsDropped ? 1 : 0);
                break;
            case MovedTo:
                value = ToVariant(NewAddress);
                break;
            case Refused:
                value = ToVariant(IsMoveRefused ? 1 : 0);
                break;
            default:
                TVEXAPropertyListAs::DoGetValueAsVariant(propertyID, value, result);
        }
    }
};

const QString kRefreshAtStart = QStringLiteral("RefreshAtStart");

/// The option to refresh feeds when the player starts, as it is offered to a new user. It is off by default, but
/// proposed to users who subscribe in the player.
class RefreshAtStartOption : public TVEXAPropertyListAs<IVEXAMLOption> {
protected:
    void DoGetValueAsVariant(std::int32_t propertyID, Variant& value, HResult& result) override {
        switch (propertyID) {
            case ID:
                value = ToVariant(kRefreshAtStart);
                break;
            case Caption:
                value = ToVariant(LocalizedText(QStringLiteral("Podcasts.Settings\\CB1")));
                break;
            case Kind:
                value = ToVariant(Check);
                break;
            case Value:
                value = ToVariant(1);
                break;
            default:
                TVEXAPropertyListAs::DoGetValueAsVariant(propertyID, value, result);
        }
    }
};

Ref<TaskOutcome> ToOutcome(TPodcastsDB& db, const TPodcastRefreshOutcome& from) {
    auto outcome = NewObject<TaskOutcome>();
    outcome->ItemText = from.FeedURL;
    const QString& present = from.MovedTo.isEmpty() || from.IsMoveRefused ? from.FeedURL : from.MovedTo;
    if (const auto feed = db.GetFeed(present, false)) outcome->CaptionText = feed->Fields[pffTitle];
    outcome->NewAddress = from.MovedTo;
    outcome->IsMoveRefused = from.IsMoveRefused;
    outcome->NewEpisodes = static_cast<std::int32_t>(from.NewEpisodes.size());
    outcome->ErrorText = LocalizedText(from.Error);
    outcome->IsDropped = from.IsDropped || from.IsUnsubscribed;
    return outcome;
}

Ref<TaskOutcome> ToOutcome(TPodcastsDB& db, const TPodcastDownloadOutcome& from) {
    auto outcome = NewObject<TaskOutcome>();
    outcome->ItemText = from.EpisodeKey;
    if (const auto episode = db.GetEpisode(from.EpisodeKey)) outcome->CaptionText = episode->Fields[pefTitle];
    outcome->File = from.FileName;
    outcome->ErrorText = LocalizedText(from.Error);
    outcome->IsDropped = from.IsDropped;
    return outcome;
}

template <class Outcomes>
Ref<IVEXAObjectList> ToList(TPodcastsDB& db, const Outcomes& outcomes, std::int32_t first) {
    auto list = CreateHostObject<IVEXAObjectList>();
    for (const auto& outcome : outcomes.From(static_cast<std::size_t>(std::max(first, 0)))) {
        const auto object = ToOutcome(db, outcome);
        RaiseIfFailed(list->Add(static_cast<TInterfacedObjectEx*>(object.Get())));
    }
    return list;
}

HResult ResultOf(const TPodcastSubscription& subscription) {
    if (subscription.IsDropped) return S_FALSE;
    switch (subscription.What) {
        case TPodcastSubscription::Result::Subscribed:
            return S_OK;
        case TPodcastSubscription::Result::AlreadySubscribed:
            return E_ABORT;
        case TPodcastSubscription::Result::SeveralFeeds:
        case TPodcastSubscription::Result::Failed:
            break;
    }
    return IsFeedLocation(subscription.Location) ? E_FAIL : E_INVALIDARG;
}

/// Shows the progress of subscribing to a list as a background task of the library.
class SubscribingProgress {
public:
    /// Main thread, like the destructor. Keeps the storage alive, because `tasks` is a member of it.
    SubscribingProgress(Ref<IUnknown> storage, TVEXAPodcastsMLBackgroundTaskHelper& tasks, const QStringList& locations)
        : FStorage(std::move(storage)), FTasks(tasks), FCount(locations.size()), FTask(NextTask()) {
        FTasks.StartTask(FTask, QStringLiteral("Podcasts\\MSG17"), [cancelled = FIsCancelled] { *cancelled = true; });
        Update(0, locations.first());
    }
    ~SubscribingProgress() { FTasks.FinishTask(FTask); }
    SubscribingProgress(const SubscribingProgress&) = delete;
    SubscribingProgress& operator=(const SubscribingProgress&) = delete;

    // Any thread.
    void Update(qsizetype done, const QString& location) {
        FTasks.UpdateTask(FTask, MaskedUrl(location), {std::min(done + 1, FCount), FCount, done < FCount ? 0.0 : 1.0});
    }
    bool IsCancelled() const { return *FIsCancelled; }

private:
    /// A number beyond those of IVEXAMLSubscriptionStorage::TaskID, since several lists may be subscribed to at a time.
    static std::int32_t NextTask() {
        static std::int32_t number = 100;
        return number++;
    }

    const Ref<IUnknown> FStorage;
    TVEXAPodcastsMLBackgroundTaskHelper& FTasks;
    const qsizetype FCount;
    const std::shared_ptr<std::atomic<bool>> FIsCancelled = std::make_shared<std::atomic<bool>>(false);
    const std::int32_t FTask;
};

/// Subscribes on a worker thread and reports on the main thread, while holding a pass for the client. Stops when the
/// client is about to be destroyed.
class SubscribeTask final : public Task {
public:
    /// `progress` may be null.
    SubscribeTask(TPodcastsClientPass client, QStringList locations, Ref<IVEXAMLSubscriptionEvents> events,
                  std::unique_ptr<SubscribingProgress> progress)
        : FClient(std::move(client)),
          FLocations(std::move(locations)),
          FEvents(std::move(events)),
          FProgress(std::move(progress)) {}

    void Execute() override {
        const auto isCancelled = [this] {
            return TPodcastsClientPass::IsClosing() || (FProgress && FProgress->IsCancelled());
        };
        SubscribeByAddress(*FClient.Get(), FLocations, 0, isCancelled,
                           [this](const TPodcastSubscription& subscription) { Finished(subscription); });
    }
    void Complete() override {
        RunInMainThread(
            [this] {
                FProgress.reset();
                if (FEvents) FEvents->OnCompleted();
            },
            true);
        FEvents = nullptr;
        FClient = {};
    }

private:
    void Finished(const TPodcastSubscription& subscription) {
        ++FFinished;
        if (FProgress) FProgress->Update(FFinished, subscription.Location);
        if (!FEvents) return;
        // If one call fails, the others are still made.
        GuardedCall("telling what became of an address",
                    [&] { RunInMainThread([&] { ReportResult(subscription); }, true); });
    }
    void ReportResult(const TPodcastSubscription& subscription) {
        const auto choices = Query<IVEXAMLSubscriptionChoices>(FEvents.Get());
        if (choices && !subscription.Choices.empty())
            return TellChoices(*choices, subscription.Location, subscription.Choices);
        const bool isStored = subscription.What == TPodcastSubscription::Result::Subscribed ||
                              subscription.What == TPodcastSubscription::Result::AlreadySubscribed;
        Reason why = subscription.Error;
        if (!subscription.Choices.empty())
            why = Reason(CoreReason("SeveralFeeds"), {QString::number(subscription.Choices.size())});
        const QString text = isStored ? subscription.FeedTitle : LocalizedText(why);
        FEvents->OnSubscribed(ToHostString(subscription.Location).Get(), ResultOf(subscription),
                              ToHostString(text).Get());
    }

    TPodcastsClientPass FClient;
    QStringList FLocations;
    qsizetype FFinished = 0;
    Ref<IVEXAMLSubscriptionEvents> FEvents;
    std::unique_ptr<SubscribingProgress> FProgress;
};

/// Runs a function that reads or writes a file; an exception becomes E_FAIL with its message in `error`.
template <class Body>
HResult WithFile(IVEXAErrorInfo* error, Body body) noexcept {
    return GuardedCall("working on a list of subscriptions", [&] {
        try {
            return body();
        } catch (const std::runtime_error& failure) {
            if (error) error->SetInfo(-1, ToHostString(LocalizedText(ReasonOf(failure))).Get(), nullptr);
            return E_FAIL;
        }
    });
}

}  // namespace

HResult TVEXAPodcastsMLExtension::GetRowCount(IVEXAObjectList* fields, IVEXAMLDataFilter* filter,
                                              std::int64_t* count) noexcept {
    if (!AreGiven(count)) return E_POINTER;
    *count = 0;
    return WithRequest("counting rows", fields, filter,
                       [&](TPodcastsDB& db, const auto& request) { *count = FRows.Count(db, request); });
}

HResult TVEXAPodcastsMLExtension::Subscribe(IVEXAObjectList* addresses, IVEXAMLSubscriptionEvents* events) noexcept {
    if (!AreGiven(addresses)) return E_POINTER;
    return GuardedCall("subscribing", [&] { return StartSubscribing(StringsOf(addresses), events); });
}

HResult TVEXAPodcastsMLExtension::StartSubscribing(QStringList locations, IVEXAMLSubscriptionEvents* events) {
    VEXA_ASSERT_MAIN_THREAD();
    auto client = TPodcastsClientPass::Enter();
    if (!client) return E_FAIL;
    std::unique_ptr<SubscribingProgress> progress;
    if (locations.size() > 1)
        progress = std::make_unique<SubscribingProgress>(Ref<IUnknown>(static_cast<TInterfacedObjectEx*>(this)), FTasks,
                                                         locations);
    WorkerPool::Run(
        std::make_unique<SubscribeTask>(std::move(client), std::move(locations), events, std::move(progress)));
    return S_OK;
}

HResult TVEXAPodcastsMLExtension::ImportOPML(IVEXAString* fileName, IVEXAMLSubscriptionEvents* events,
                                             IVEXAErrorInfo* error) noexcept {
    return WithFile(error, [&] { return StartSubscribing(ReadOpmlFile(FromHostString(fileName)), events); });
}

HResult TVEXAPodcastsMLExtension::ExportOPML(IVEXAString* fileName, IVEXAErrorInfo* error) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    return WithFile(error, [&] {
        const auto client = TPodcastsClientPass::Enter();
        if (!client) return E_FAIL;
        WriteOpmlFile(*client.Get(), FromHostString(fileName));
        return S_OK;
    });
}

HResult TVEXAPodcastsMLExtension::GetOutcomes(std::int32_t taskID, std::int32_t first,
                                              IVEXAObjectList** outcomes) noexcept {
    if (!ClearOut(outcomes)) return E_POINTER;
    return GuardedCall("reading what became of a task", [&] {
        const auto client = TPodcastsClientPass::Enter();
        if (!client) return E_FAIL;
        switch (taskID) {
            case Downloads:
                *outcomes = ToList(client->DB(), client->DownloadOutcomes(), first).Detach();
                return S_OK;
            case Refresh:
                *outcomes = ToList(client->DB(), client->RefreshOutcomes(), first).Detach();
                return S_OK;
            default:
                return E_INVALIDARG;
        }
    });
}

HResult TVEXAPodcastsMLExtension::GetProgress(std::int32_t taskID, std::int32_t* item, std::int32_t* count,
                                              double* share) noexcept {
    if (!AreGiven(item, count, share)) return E_POINTER;
    *item = *count = 0;
    *share = 0;
    return GuardedCall("telling how far a task is", [&] {
        const auto progress = FTasks.Progress(taskID);
        if (!progress || progress->Count == 0) return S_FALSE;
        *item = static_cast<std::int32_t>(progress->Item);
        *count = static_cast<std::int32_t>(progress->Count);
        *share = progress->Share();
        return S_OK;
    });
}

HResult TVEXAPodcastsMLExtension::Cancel(std::int32_t taskID) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    return GuardedCall("cancelling a task", [&] { return FTasks.Cancel(taskID) ? S_OK : S_FALSE; });
}

HResult TVEXAPodcastsMLExtension::GetOptions(IVEXAObjectList** options) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!ClearOut(options)) return E_POINTER;
    return GuardedCall("listing the options of the start", [&] {
        auto list = CreateHostObject<IVEXAObjectList>();
        RaiseIfFailed(list->Add(static_cast<TInterfacedObjectEx*>(NewObject<RefreshAtStartOption>().Get())));
        *options = list.Detach();
    });
}

HResult TVEXAPodcastsMLExtension::SetOption(IVEXAString* id, const Variant* value) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!AreGiven(id, value)) return E_POINTER;
    return GuardedCall("setting an option", [&] {
        TPodcastClient* const client = FClient.Get();
        if (!client) return E_FAIL;
        if (FromHostString(id) != kRefreshAtStart) return E_INVALIDARG;
        if (FOnLoad) FOnLoad();
        client->Options().SetCheckUpdatesOnStartup(VariantToInt32(*value) != 0);
        if (FOnSave) FOnSave();
        return S_OK;
    });
}

}  // namespace podcasts
