#include "Podcasts.Plugin.FileManager.h"
#include "Podcasts.Plugin.Logos.h"

namespace podcasts {

using namespace vexa;

HResult TVEXAPodcastsAlbumArtProvider::GetAlbumArt(const QString& address, IVEXAImageContainer** image) {
    *image = nullptr;
    const auto resolved = TVEXAPodcastsFileManager::ResolveEpisode(address);
    if (!resolved) return E_FAIL;
    auto logo = FeedLogo(*resolved->Client.Get(), *resolved->Feed);
    if (!logo) return E_FAIL;
    *image = logo.Detach();
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
