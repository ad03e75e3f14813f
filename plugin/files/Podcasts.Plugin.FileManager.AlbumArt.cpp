#include "Podcasts.Plugin.FileManager.h"
#include "VEXA.Runtime.Url.h"

#include <condition_variable>
#include <cstring>
#include <mutex>
#include <set>

namespace podcasts {

using namespace vexa;

namespace {

/// Ends a logo's transfer when the client is taken away.
class LogoTransferEvents : public Implements<TInterfacedObjectEx, IVEXAHttpClientEvents> {
public:
    Bool32 IsCancelled() noexcept override { return TPodcastsClientPass::IsClosing() ? kTrue : kFalse; }
    void OnCompleted(HResult, IVEXAErrorInfo*) noexcept override {}
};

/// The feeds whose logo is being fetched. A table full of one feed's episodes asks for its logo on many threads at
/// once; one of them fetches it, the others wait for what comes of that.
class LogoTransfers {
public:
    /// True: the caller fetches, and calls End whatever happens. False: another one has done so meanwhile.
    bool Begin(int feedID) {
        std::unique_lock lock(FMutex);
        if (FRunning.insert(feedID).second) return true;
        FEnded.wait(lock, [&] { return !FRunning.contains(feedID); });
        return false;
    }
    void End(int feedID) {
        {
            const std::lock_guard lock(FMutex);
            FRunning.erase(feedID);
        }
        FEnded.notify_all();
    }

private:
    std::mutex FMutex;
    std::condition_variable FEnded;
    std::set<int> FRunning;  // guarded by FMutex
};
LogoTransfers Transfers;

Ref<IVEXAImageContainer> NewContainer(std::int64_t size) {
    auto container = CreateHostObject<IVEXAImageContainer>();
    if (size < 0 || size > IVEXAImageContainer::kMostBytes) RaiseIfFailed(E_INVALIDARG);
    RaiseIfFailed(container->SetDataSize(static_cast<std::uint32_t>(size)));
    return container;
}

Ref<IVEXAImageContainer> StoredLogo(TPodcastsResolvedEpisode& resolved) {
    QByteArray logo;
    if (!resolved.Client->DB().GetFeedLogo(resolved.Feed->ID, logo)) return nullptr;
    auto container = NewContainer(logo.size());
    if (!logo.isEmpty()) std::memcpy(container->GetData(), logo.constData(), static_cast<std::size_t>(logo.size()));
    return container;
}

Ref<IVEXAImageContainer> FetchLogo(const QString& address) {
    const auto http = address.isEmpty() ? nullptr : HostService<IVEXAServiceHttpClient>();
    if (!http) return nullptr;
    const auto body = CreateHostObject<IVEXAMemoryStream>();
    const auto events = NewObject<LogoTransferEvents>();
    if (Failed(http->Get(ToHostString(address).Get(), IVEXAServiceHttpClient::WaitForCompletion, body.Get(),
                         events.Get())))
        return nullptr;
    const std::int64_t size = body->GetSize();
    auto container = NewContainer(size);
    RaiseIfFailed(body->Seek(0, IVEXAStream::FromBeginning));
    if (body->Read(container->GetData(), static_cast<std::uint32_t>(size)) != size) RaiseIfFailed(E_FAIL);
    return container;
}

Ref<IVEXAImageContainer> FetchAndStoreLogo(TPodcastsResolvedEpisode& resolved) {
    const int feedID = resolved.Feed->ID;
    if (!Transfers.Begin(feedID)) return StoredLogo(resolved);
    struct Ending {
        int FeedID;
        ~Ending() { Transfers.End(FeedID); }
    } const ending{feedID};
    if (auto stored = StoredLogo(resolved)) return stored;  // by one who ended just before
    const auto& fields = resolved.Feed->Fields;
    auto container = FetchLogo(WithCredentialsOf(fields[pffURLFeed], fields[pffURLLogo]));
    // Stored whatever it is: a logo that is no image is not asked for again.
    if (container && !TPodcastsClientPass::IsClosing())
        resolved.Client->DB().SetFeedLogo(feedID, container->GetData(), container->GetDataSize());
    return container;
}

}  // namespace

HResult TVEXAPodcastsAlbumArtProvider::GetAlbumArt(const QString& address, IVEXAImageContainer** image) {
    *image = nullptr;
    auto resolved = TVEXAPodcastsFileManager::ResolveEpisode(address);
    if (!resolved) return E_FAIL;
    auto container = StoredLogo(*resolved);
    if (!container) container = FetchAndStoreLogo(*resolved);
    std::int32_t width = 0, height = 0, format = 0;
    if (!container || Failed(container->GetInfo(&width, &height, &format))) return E_FAIL;
    *image = container.Detach();
    return S_OK;
}

HResult TVEXAPodcastsAlbumArtProvider::QueryAlbumArt(IVEXAString* address, IVEXAString*, IVEXAString*,
                                                     IVEXAPropertyList*, IVEXAImageContainer** image) noexcept {
    if (!ClearOut(image)) return E_POINTER;
    return GuardedCall(
        "looking for a podcast's logo", [&] { return GetAlbumArt(FromHostString(address), image); }, E_FAIL);
}

std::int32_t TVEXAPodcastsAlbumArtProvider::QueryProviderCategory() noexcept {
    return Internet;
}

}  // namespace podcasts
