// The storage's optional interface for a look at a podcast before subscribing. The feed is read into a database in
// memory, so that its rows are filtered, sorted and paged like the stored ones.

#include "Podcasts.Core.Locating.h"
#include "Podcasts.Core.Reasons.h"
#include "Podcasts.Core.ShowNotes.h"
#include "Podcasts.Plugin.FileManager.h"
#include "Podcasts.Plugin.ML.Found.h"
#include "Podcasts.Plugin.ML.h"
#include "VEXA.Runtime.Threads.h"
#include "VEXA.Runtime.Url.h"

namespace podcasts {

using namespace vexa;

namespace {

constexpr qsizetype kMaxMarkup = 12'000;  // UTF-16 code units that are read of a description

/// Stores a feed in memory. Rows are named by what plays as it is: a web address, with the user name and password of
/// the feed's where they may be sent to it.
std::unique_ptr<TPodcastsDB> StoreInMemory(TPodcastFeed& feed) {
    for (const auto& episode : feed.Episodes()) {
        QString& address = episode->Fields[pefURLAudio];
        if (IsUrl(address)) address = WithCredentialsOf(feed.Fields[pffURLFeed], address);
    }
    auto db = std::make_unique<TPodcastsDB>(SqliteDatabase::NameInMemory());
    db->AddOrUpdate(feed);
    db->ReplaceURIsByAddresses();
    return db;
}

Ref<TPodcastFoundInfo> InfoOf(const TPodcastFeed& feed, const TPodcastFeedNumbers& numbers) {
    auto info = NewObject<TPodcastFoundInfo>();
    info->AddressText = feed.Fields[pffURLFeed];
    info->TitleText = feed.Fields[pffTitle];
    info->AuthorText = feed.Fields[pffAuthor];
    info->DescriptionText = ReadShowNotes(feed.Fields[pffDescription].left(kMaxMarkup)).Text;
    info->PictureText = feed.Fields[pffURLLogo];
    info->Rows = numbers.Episodes;
    info->NewestDate = numbers.Newest;
    return info;
}

}  // namespace

/// The rows of one feed. They last as long as the host holds them, but answer only while there is a client.
class TVEXAPodcastsMLExtension::PreviewRows : public Implements<TInterfacedObjectEx, IVEXAMLDataProvider> {
public:
    explicit PreviewRows(std::unique_ptr<TPodcastsDB> db) : FDB(std::move(db)) {}

    HResult GetData(IVEXAObjectList* fields, IVEXAMLDataFilter* filter, IUnknown** data) noexcept override {
        if (!ClearOut(data)) return E_POINTER;
        return WithRequest("reading a preview", fields, filter,
                           [&](TPodcastsDB&, const auto& request) { *data = ReadData(*FDB, FRows, request).Detach(); });
    }

private:
    const std::unique_ptr<TPodcastsDB> FDB;
    TPodcastsRows FRows;
};

/// Reads a feed on a worker thread and reports on the main thread, while holding a pass for the client. Stops when it
/// is cancelled or the client is about to be destroyed.
class TVEXAPodcastsMLExtension::PreviewTask final : public Task {
public:
    PreviewTask(TPodcastsClientPass client, QString text, Ref<IVEXAMLPreviewEvents> events,
                std::shared_ptr<std::atomic<bool>> isCancelled)
        : FClient(std::move(client)),
          FText(std::move(text)),
          FEvents(std::move(events)),
          FIsCancelled(std::move(isCancelled)) {}

    void Execute() override {
        const auto isStopped = [this] { return IsStopped(); };
        // A podcast is shown also if it is subscribed to already.
        FFound = FindFeed(
            FText, 0, [&](const QString& address) { return LoadFeedDocument(address, isStopped); },
            [](const QString&) { return false; });
        if (!FFound.Feed || IsStopped()) return;
        try {
            FDB = StoreInMemory(*FFound.Feed);
            FInfo = InfoOf(*FFound.Feed, FDB->GetFeedNumbers(FFound.Feed->ID));
            FInfo->IsStored = FClient->IsSubscribed(FFound.Address);
        } catch (...) {
            LogCaughtException(LogPlugin(), "storing a preview");
            FDB.reset();
            FFound.Error = CaughtReason();
        }
    }
    void Complete() override {
        RunInMainThread([this] { Report(); }, true);
        FEvents = nullptr;
        FClient = {};
    }

private:
    bool IsStopped() const { return *FIsCancelled || TPodcastsClientPass::IsClosing(); }
    void Report() {
        const auto tell = [this](HResult result, const QString& text) {
            FEvents->OnOpened(result, nullptr, nullptr, ToHostString(text).Get());
        };
        if (IsStopped()) return tell(E_ABORT, {});
        if (FDB) {
            const auto rows = NewObject<PreviewRows>(std::move(FDB));
            return FEvents->OnOpened(S_OK, rows.Get(), FInfo.Get(), ToHostString({}).Get());
        }
        const auto choices = Query<IVEXAMLSubscriptionChoices>(FEvents.Get());
        if (FFound.Choices.empty())
            return tell(IsFeedLocation(FText) ? E_FAIL : E_INVALIDARG, LocalizedText(FFound.Error));
        if (!choices)
            return tell(E_FAIL,
                        LocalizedText(Reason(CoreReason("SeveralFeeds"), {QString::number(FFound.Choices.size())})));
        TellChoices(*choices, FText, FFound.Choices);
        tell(S_FALSE, {});
    }

    TPodcastsClientPass FClient;
    const QString FText;
    Ref<IVEXAMLPreviewEvents> FEvents;
    const std::shared_ptr<std::atomic<bool>> FIsCancelled;
    TPodcastFoundFeed FFound;
    std::unique_ptr<TPodcastsDB> FDB;  // set if there is a feed
    Ref<TPodcastFoundInfo> FInfo;
};

HResult TVEXAPodcastsMLExtension::Open(IVEXAString* address, IVEXAMLPreviewEvents* events,
                                       std::int64_t* opening) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!AreGiven(address, events, opening)) return E_POINTER;
    *opening = 0;
    return GuardedCall("opening a preview", [&] {
        auto client = TPodcastsClientPass::Enter();
        if (!client) return E_FAIL;
        std::erase_if(FOpenings, [](const auto& one) { return one.second.expired(); });
        const auto isCancelled = std::make_shared<std::atomic<bool>>(false);
        FOpenings.emplace(++FLastOpening, isCancelled);
        *opening = FLastOpening;
        WorkerPool::Run(std::make_unique<PreviewTask>(std::move(client), FromHostString(address),
                                                      Ref<IVEXAMLPreviewEvents>(events), isCancelled));
        return S_OK;
    });
}

HResult TVEXAPodcastsMLExtension::CancelOpening(std::int64_t opening) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    return GuardedCall("cancelling a preview", [&] {
        const auto found = FOpenings.find(opening);
        const auto isCancelled = found == FOpenings.end() ? nullptr : found->second.lock();
        if (!isCancelled) return S_FALSE;
        *isCancelled = true;
        return S_OK;
    });
}

}  // namespace podcasts
