#pragma once
// podcast:// addresses for the host: what plays them, what describes them, where their files lie, what they look like.
//
// The host calls these objects on threads of its own. Each call looks the episode and its feed up in the database and
// answers from those records. docs/keys.md describes the addresses.

#include "Podcasts.Core.h"
#include "apiWrappers.h"

#include <memory>
#include <optional>

namespace podcasts {

/// The client as host threads may use it: while a pass is held the client is not taken away.
class TPodcastsClientPass {
public:
    TPodcastsClientPass() = default;
    ~TPodcastsClientPass();
    TPodcastsClientPass(TPodcastsClientPass&& other) noexcept : FClient(std::exchange(other.FClient, nullptr)) {}
    TPodcastsClientPass& operator=(TPodcastsClientPass&& other) noexcept {
        std::swap(FClient, other.FClient);
        return *this;
    }

    /// Without a client when none is registered.
    static TPodcastsClientPass Enter();
    /// From now on there is no pass to be had.
    static void Close();
    /// Whether the client is about to be taken away: what takes long is to end.
    static bool IsClosing() noexcept;

    explicit operator bool() const noexcept { return FClient != nullptr; }
    TPodcastClient* operator->() const noexcept { return FClient; }
    TPodcastClient* Get() const noexcept { return FClient; }

private:
    explicit TPodcastsClientPass(TPodcastClient* client) noexcept : FClient(client) {}
    TPodcastClient* FClient = nullptr;
};

/// An episode and its feed, and the client that knows them.
struct TPodcastsResolvedEpisode {
    TPodcastsClientPass Client;
    std::unique_ptr<TPodcastEpisode> Episode;
    std::unique_ptr<TPodcastFeed> Feed;

    /// Of the existing downloaded copy; empty when there is none.
    QString LocalFileName() const;
};

/// Plays and describes.
class TVEXAPodcastsFileManager
    : public vexa::Implements<vexa::TInterfacedObjectEx, vexa::IVEXAExtensionPlayerHook,
                              vexa::IVEXAExtensionFileInfoProvider, vexa::IVEXAExtensionAudioDecoderOld> {
public:
    /// Registers all extensions of this header with the host. Main thread, as is the next one.
    static void RegisterFileManager(TPodcastClient& client);
    /// Takes the client away: ends the transfers of host threads and waits for the calls that are still inside. The
    /// host keeps the extensions, which find nothing from now on.
    static void UnregisterFileManager();

    /// The key of the episode that an address names; false when it is no episode's address.
    static bool ParseURI(const QString& address, QString& episodeKey);
    /// Nothing when the address names no stored episode, or no client is registered.
    static std::optional<TPodcastsResolvedEpisode> ResolveEpisode(const QString& address);

    void ResolvePlaybackURL(vexa::IVEXAString* address, vexa::Bool32* handled) noexcept override;
    vexa::HResult QueryFileInfo(vexa::IVEXAString* file, vexa::IVEXAFileInfo* info) noexcept override;
    vexa::HResult OpenDecoder(vexa::IVEXAString* file, std::uint32_t flags, vexa::IVEXAErrorInfo* error,
                              vexa::IVEXAAudioDecoder** decoder) noexcept override;
};

/// Claims the scheme "podcast".
class TVEXAPodcastsFileSystem
    : public vexa::Implements<vexa::TVEXAPropertyListAs<vexa::IVEXAExtensionFileSystem>,
                              vexa::IVEXAFileSystemCommandOpenFileFolder, vexa::IVEXAFileSystemCommandPresentAddress> {
public:
    vexa::HResult CanOpenFolder(vexa::IVEXAString* address) noexcept override;
    vexa::HResult OpenFolder(vexa::IVEXAString* address) noexcept override;
    vexa::HResult GetPresentAddress(vexa::IVEXAString* address) noexcept override;
    vexa::HResult GetPresentAddresses(vexa::IVEXAObjectList* addresses, std::int64_t moveCount) noexcept override;
    vexa::HResult GetMoveCount(std::int64_t* count) noexcept override;

protected:
    void DoGetValueAsInt32(std::int32_t propertyID, std::int32_t& value, vexa::HResult& result) override;
    vexa::Ref<vexa::IUnknown> DoGetValueAsObject(std::int32_t propertyID) override;
};

/// Serves the feeds' logos, see FeedLogo.
class TVEXAPodcastsAlbumArtProvider
    : public vexa::Implements<vexa::TInterfacedObjectEx, vexa::IVEXAExtensionAlbumArtProvider> {
public:
    /// E_FAIL when there is no readable picture; `image` is then null.
    static vexa::HResult GetAlbumArt(const QString& address, vexa::IVEXAImageContainer** image);

    vexa::HResult QueryAlbumArt(vexa::IVEXAString* address, vexa::IVEXAString* artist, vexa::IVEXAString* album,
                                vexa::IVEXAPropertyList* options, vexa::IVEXAImageContainer** image) noexcept override;
    std::int32_t QueryProviderCategory() noexcept override;
};

}  // namespace podcasts
