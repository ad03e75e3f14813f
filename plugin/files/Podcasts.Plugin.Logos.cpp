#include "Podcasts.Plugin.Logos.h"

#include "Podcasts.Plugin.FileManager.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.Runtime.Threads.h"
#include "VEXA.Runtime.Url.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <map>
#include <optional>

namespace podcasts {

using namespace vexa;

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t kHour = 60 * 60 * 1000;  // ms
constexpr std::uint32_t kWeek = 7 * 24 * kHour;
constexpr std::int64_t kTooManyBytes = std::int64_t{8} << 20;
constexpr auto kLongestTransfer = std::chrono::minutes(2);  // 8 MiB at half a megabit a second
constexpr int kMostOfServer = 3;
constexpr int kMostInBackground = 6;  // so that one slow server leaves room for others

/// Ends a transfer when the client is taken away, or a server takes too long.
class LogoTransferEvents : public Implements<TInterfacedObjectEx, IVEXAHttpClientEvents> {
public:
    Bool32 IsCancelled() noexcept override { return TPodcastsClientPass::IsClosing() || IsTooLate() ? kTrue : kFalse; }
    void OnCompleted(HResult, IVEXAErrorInfo*) noexcept override {}

    bool IsTooLate() const { return Clock::now() >= FEnd; }

private:
    const Clock::time_point FEnd = Clock::now() + kLongestTransfer;
};

/// Which feeds' logos are being looked at, and which wait for a look in the background.
class LogoLooks {
public:
    /// Waits until the server has a place. True: the calling thread is to look, and calls End whatever happens. False:
    /// another thread has looked meanwhile (a table full of one feed's episodes asks for its logo on many threads at
    /// once), or the client is being taken away.
    bool Begin(int feedID, const QString& server) {
        TLock lock(FMutex);
        bool hasOtherLooked = false;
        FChanged.Wait(lock, [&]() VEXA_REQUIRES(FMutex) {
            if (FRunning.contains(feedID)) {
                hasOtherLooked = true;
                return false;
            }
            return hasOtherLooked || TPodcastsClientPass::IsClosing() || HasPlace(server);
        });
        if (hasOtherLooked || TPodcastsClientPass::IsClosing()) return false;
        FRunning.emplace(feedID, server);
        FWaiting.erase(feedID);
        return true;
    }
    void End(int feedID) {
        {
            const TLock lock(FMutex);
            FRunning.erase(feedID);
        }
        FChanged.NotifyAll();
    }

    /// Adds a feed to those that wait. True: the caller is to start one more task, which works them off by Next.
    bool Add(int feedID, const QString& server) {
        const TLock lock(FMutex);
        if (FRunning.contains(feedID) || !FWaiting.emplace(feedID, server).second) return false;
        FChanged.NotifyAll();
        if (FTasks >= kMostInBackground) return false;
        ++FTasks;
        return true;
    }
    /// Waits for a feed whose server has a place: the task is to look, and calls End. Nothing: the task is to end.
    std::optional<int> Next() {
        TLock lock(FMutex);
        auto next = FWaiting.end();
        FChanged.Wait(lock, [&]() VEXA_REQUIRES(FMutex) {
            // They are still due when the client is there again.
            if (TPodcastsClientPass::IsClosing()) FWaiting.clear();
            next = std::find_if(FWaiting.begin(), FWaiting.end(),
                                [&](auto& look) VEXA_REQUIRES(FMutex) { return HasPlace(look.second); });
            return FWaiting.empty() || next != FWaiting.end();
        });
        if (next == FWaiting.end()) {
            --FTasks;
            return std::nullopt;
        }
        const int feedID = next->first;
        FRunning.insert(FWaiting.extract(next));
        return feedID;
    }

private:
    bool HasPlace(const QString& server) const VEXA_REQUIRES(FMutex) {
        return std::count_if(FRunning.begin(), FRunning.end(), [&](auto& look) { return look.second == server; }) <
               kMostOfServer;
    }

    TMutex FMutex;
    TCondition FChanged;
    // By feed, with the server of each. A feed stands in one of them at most.
    std::map<int, QString> FRunning VEXA_GUARDED_BY(FMutex), FWaiting VEXA_GUARDED_BY(FMutex);
    int FTasks VEXA_GUARDED_BY(FMutex) = 0;  // in the background
};
LogoLooks Looks;

/// Ends a look that Looks has given out.
struct LogoLook {
    const int FeedID;
    ~LogoLook() { Looks.End(FeedID); }
};

Ref<IVEXAImageContainer> NewContainer(std::int64_t size) {
    auto container = CreateHostObject<IVEXAImageContainer>();
    if (size < 0 || size > IVEXAImageContainer::kMostBytes) RaiseIfFailed(E_INVALIDARG);
    RaiseIfFailed(container->SetDataSize(static_cast<std::uint32_t>(size)));
    return container;
}

bool IsPicture(IVEXAImageContainer& container) {
    std::int32_t width = 0, height = 0, format = 0;
    return Succeeded(container.GetInfo(&width, &height, &format));
}

/// What is known without the network.
struct StoredLogo {
    Ref<IVEXAImageContainer> Picture;
    bool IsLookDue = false;
};

bool IsLookDue(TPodcastClient& client, const TPodcastFeed& feed, bool hasPicture) {
    const QString& address = feed.Fields[pffURLLogo];
    if (address.isEmpty()) return false;
    const auto look = client.DB().GetLogoLook(feed.ID);
    if (!look || look->URLLogo != address) return true;
    // Another program may have taken the picture away.
    if (look->Outcome == TPodcastLogoOutcome::Picture && !hasPicture) return true;
    const auto interval = look->Outcome == TPodcastLogoOutcome::Failure ? kHour : kWeek;
    return IsRefreshDue(client.Now(), QDateTime::fromSecsSinceEpoch(look->Time, Qt::UTC), interval);
}

StoredLogo ReadLogo(TPodcastClient& client, const TPodcastFeed& feed) {
    StoredLogo logo;
    // Earlier versions stored whatever came.
    if (QByteArray bytes; client.DB().GetFeedLogo(feed.ID, bytes) && bytes.size() <= IVEXAImageContainer::kMostBytes) {
        auto container = NewContainer(bytes.size());
        std::memcpy(container->GetData(), bytes.constData(), static_cast<std::size_t>(bytes.size()));
        if (IsPicture(*container.Get())) logo.Picture = std::move(container);
    }
    logo.IsLookDue = IsLookDue(client, feed, static_cast<bool>(logo.Picture));
    return logo;
}

struct Answer {
    TPodcastLogoOutcome Outcome;
    Ref<IVEXAImageContainer> Picture = nullptr;
};

/// Nothing when the transfer was cancelled, or the host has no HTTP service.
std::optional<Answer> Fetch(const QString& address) {
    const auto http = HostService<IVEXAServiceHttpClient>();
    if (!http) return std::nullopt;
    const auto body = CreateHostObject<IVEXAMemoryStream>();
    const auto events = NewObject<LogoTransferEvents>();
    const HResult result =
        http->Get(ToHostString(address).Get(), IVEXAServiceHttpClient::WaitForCompletion, body.Get(), events.Get());
    if (result == E_ABORT && !events->IsTooLate()) return std::nullopt;
    if (Failed(result)) return Answer{TPodcastLogoOutcome::Failure};
    const std::int64_t size = body->GetSize();
    if (size >= kTooManyBytes) return Answer{TPodcastLogoOutcome::NoPicture};
    auto container = NewContainer(size);
    RaiseIfFailed(body->Seek(0, IVEXAStream::FromBeginning));
    if (body->Read(container->GetData(), static_cast<std::uint32_t>(size)) != size) RaiseIfFailed(E_FAIL);
    if (!IsPicture(*container.Get())) return Answer{TPodcastLogoOutcome::NoPicture};
    return Answer{TPodcastLogoOutcome::Picture, std::move(container)};
}

/// Asks the network, unless a look has become needless meanwhile. Returns whether another picture is stored now.
bool LookAtLogo(TPodcastClient& client, int feedID) {
    const auto feed = client.DB().GetFeed(feedID, false);
    if (!feed || !ReadLogo(client, *feed).IsLookDue) return false;
    const QString& address = feed->Fields[pffURLLogo];
    const auto answer = Fetch(WithCredentialsOf(feed->Fields[pffURLFeed], address));
    if (!answer) return false;
    QByteArray picture;
    if (answer->Picture)
        picture = QByteArray::fromRawData(static_cast<const char*>(answer->Picture->GetData()),
                                          answer->Picture->GetDataSize());
    return client.DB().NoteLogoLook(feedID, {address, client.Now().toSecsSinceEpoch(), answer->Outcome}, picture);
}

/// Looks at the feeds that wait, one after the other. Holds the client all the while.
class LogoTask final : public Task {
public:
    explicit LogoTask(TPodcastsClientPass client) : FClient(std::move(client)) {}

    void Execute() override {
        while (const auto feedID = Looks.Next()) {
            GuardedCall("looking at a podcast's logo", [&] {
                const bool isOther = [&] {
                    const LogoLook look{*feedID};
                    return LookAtLogo(*FClient.Get(), *feedID);
                }();
                if (isOther) FClient->NotifyDataChanged();
            });
        }
    }
    void Complete() override { FClient = {}; }
    TaskPriority Priority() const override { return TaskPriority::Low; }

private:
    TPodcastsClientPass FClient;
};

}  // namespace

Ref<IVEXAImageContainer> FeedLogo(TPodcastClient& client, const TPodcastFeed& feed) {
    StoredLogo logo = ReadLogo(client, feed);
    if (!logo.IsLookDue) return logo.Picture;
    const QString server = ServerOf(feed.Fields[pffURLLogo]);
    if (logo.Picture) {
        auto pass = TPodcastsClientPass::Enter();
        if (pass && Looks.Add(feed.ID, server)) WorkerPool::Run(std::make_unique<LogoTask>(std::move(pass)));
        return logo.Picture;
    }
    if (Looks.Begin(feed.ID, server)) {
        const LogoLook look{feed.ID};
        LookAtLogo(client, feed.ID);
    }
    return ReadLogo(client, feed).Picture;
}

}  // namespace podcasts
