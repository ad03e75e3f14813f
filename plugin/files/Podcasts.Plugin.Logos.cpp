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
constexpr std::int64_t kMaxPixels = (std::int64_t{128} << 20) / 4;  // decoded, a pixel takes four bytes
constexpr auto kMaxTransferTime = std::chrono::minutes(2);          // 8 MiB at half a megabit per second
constexpr int kMaxPerServer = 3;
constexpr int kMaxInBackground = 6;  // so that one slow server does not block the others

/// Ends a transfer when the client is about to be destroyed, or when the server takes too long.
class LogoTransferEvents : public Implements<TInterfacedObjectEx, IVEXAHttpClientEvents> {
public:
    Bool32 IsCancelled() noexcept override { return TPodcastsClientPass::IsClosing() || IsTooLate() ? kTrue : kFalse; }
    void OnCompleted(HResult, IVEXAErrorInfo*) noexcept override {}

    bool IsTooLate() const { return Clock::now() >= FEnd; }

private:
    const Clock::time_point FEnd = Clock::now() + kMaxTransferTime;
};

/// The feeds whose logos are being fetched, and those that wait to be fetched in the background.
class LogoLooks {
public:
    /// Waits until the server may be asked. True: the calling thread must fetch the logo, and then call End in any
    /// case. False: another thread has fetched it meanwhile (a table full of one feed's episodes asks for the logo on
    /// many threads at once), or the client is about to be destroyed.
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

    /// Adds a feed to those that wait. True: the caller must start one more task, which calls Next for its feeds.
    bool Add(int feedID, const QString& server) {
        const TLock lock(FMutex);
        if (FRunning.contains(feedID) || !FWaiting.emplace(feedID, server).second) return false;
        FChanged.NotifyAll();
        if (FTasks >= kMaxInBackground) return false;
        ++FTasks;
        return true;
    }
    /// Waits for a feed whose server may be asked; the task must fetch its logo and then call End. Nothing: the task
    /// must end.
    std::optional<int> Next() {
        TLock lock(FMutex);
        auto next = FWaiting.end();
        FChanged.Wait(lock, [&]() VEXA_REQUIRES(FMutex) {
            // These feeds will still be due when there is a client again.
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
               kMaxPerServer;
    }

    TMutex FMutex;
    TCondition FChanged;
    // The server of each feed, by feed. A feed is in at most one of the two.
    std::map<int, QString> FRunning VEXA_GUARDED_BY(FMutex), FWaiting VEXA_GUARDED_BY(FMutex);
    int FTasks VEXA_GUARDED_BY(FMutex) = 0;  // number of background tasks
};
LogoLooks Looks;

/// Calls End for a look that Looks has assigned.
struct LogoLook {
    const int FeedID;
    ~LogoLook() { Looks.End(FeedID); }
};

Ref<IVEXAImageContainer> NewContainer(std::int64_t size) {
    auto container = CreateHostObject<IVEXAImageContainer>();
    if (size < 0 || size > IVEXAImageContainer::kMaxBytes) RaiseIfFailed(E_INVALIDARG);
    RaiseIfFailed(container->SetDataSize(static_cast<std::uint32_t>(size)));
    return container;
}

bool IsPicture(IVEXAImageContainer& container) {
    std::int32_t width = 0, height = 0, format = 0;
    return Succeeded(container.GetInfo(&width, &height, &format)) && std::int64_t{width} * height <= kMaxPixels;
}

/// The stored logo, and whether it is due to be fetched again.
struct StoredLogo {
    Ref<IVEXAImageContainer> Picture;
    bool IsLookDue = false;
};

bool IsLookDue(TPodcastClient& client, const TPodcastFeed& feed, bool hasPicture) {
    const QString& address = feed.Fields[pffURLLogo];
    if (address.isEmpty()) return false;
    const auto look = client.DB().GetLogoLook(feed.ID);
    if (!look || look->URLLogo != address) return true;
    // Another program may have deleted the picture.
    if (look->Outcome == TPodcastLogoOutcome::Picture && !hasPicture) return true;
    const auto interval = look->Outcome == TPodcastLogoOutcome::Failure ? kHour : kWeek;
    return IsRefreshDue(client.Now(), QDateTime::fromSecsSinceEpoch(look->Time, Qt::UTC), interval);
}

StoredLogo ReadLogo(TPodcastClient& client, const TPodcastFeed& feed) {
    StoredLogo logo;
    // Earlier versions stored any response, so check the stored bytes.
    if (QByteArray bytes; client.DB().GetFeedLogo(feed.ID, bytes) && bytes.size() <= IVEXAImageContainer::kMaxBytes) {
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

/// Fetches a logo. Nothing when the transfer was cancelled, or the host has no HTTP service.
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

/// Fetches a feed's logo, unless that is no longer necessary. Returns whether another picture is stored now.
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

/// Fetches the logos of the waiting feeds, one after another, while holding a pass for the client.
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

Ref<IVEXAImageContainer> StoredFeedLogo(TPodcastClient& client, const TPodcastFeed& feed) {
    return ReadLogo(client, feed).Picture;
}

}  // namespace podcasts
