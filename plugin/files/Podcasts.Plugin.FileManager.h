#pragma once
// The host's extensions for podcast:// addresses: how they play, their tags, the folders of their files, their
// pictures.
//
// The host calls these objects on threads of its own. Each call looks up the episode and its feed in the database and
// answers from those records. docs/keys.md describes the addresses.

#include "Podcasts.Core.h"
#include "apiWrappers.h"

#include <memory>
#include <optional>

namespace podcasts {

/// Gives host threads access to the client: the client is not destroyed while a pass for it exists.
class TPodcastsClientPass {
public:
    TPodcastsClientPass() = default;
    ~TPodcastsClientPass();
    TPodcastsClientPass(TPodcastsClientPass&& other) noexcept : FClient(std::exchange(other.FClient, nullptr)) {}
    TPodcastsClientPass& operator=(TPodcastsClientPass&& other) noexcept {
        std::swap(FClient, other.FClient);
        return *this;
    }

    /// Returns a pass without a client when no client is registered.
    static TPodcastsClientPass Enter();
    /// From now on Enter returns only passes without a client.
    static void Close();
    /// Whether the client is about to be destroyed. Long operations must then end.
    static bool IsClosing() noexcept;

    explicit operator bool() const noexcept { return FClient != nullptr; }
    TPodcastClient* operator->() const noexcept { return FClient; }
    TPodcastClient* Get() const noexcept { return FClient; }

private:
    explicit TPodcastsClientPass(TPodcastClient* client) noexcept : FClient(client) {}
    TPodcastClient* FClient = nullptr;
};

/// An episode and its feed, with a pass for the client.
struct TPodcastsResolvedEpisode {
    TPodcastsClientPass Client;
    std::unique_ptr<TPodcastEpisode> Episode;
    std::unique_ptr<TPodcastFeed> Feed;

    /// The name of the existing downloaded copy; empty when there is none.
    QString LocalFileName() const;
};

/// Resolves addresses for the player, and describes episodes.
class TVEXAPodcastsFileManager
    : public vexa::Implements<vexa::TInterfacedObjectEx, vexa::IVEXAExtensionPlayerHook,
                              vexa::IVEXAExtensionFileInfoProvider, vexa::IVEXAExtensionAudioDecoderOld> {
public:
    /// Registers all extensions of this header with the host. Main thread.
    static void RegisterFileManager(TPodcastClient& client);
    /// Unregisters the client: ends the transfers of host threads and waits for the calls that still use the client.
    /// The host keeps the extensions, which find nothing from now on. Main thread.
    static void UnregisterFileManager();

    /// Sets the key of the episode that an address names; false when it is not an episode's address.
    static bool ParseURI(const QString& address, QString& episodeKey);
    /// Looks up the episode that an address names; nothing when it is not stored, or no client is registered.
    static std::optional<TPodcastsResolvedEpisode> ResolveEpisode(const QString& address);

    void ResolvePlaybackURL(vexa::IVEXAString* address, vexa::Bool32* handled) noexcept override;
    vexa::HResult QueryFileInfo(vexa::IVEXAString* file, vexa::IVEXAFileInfo* info) noexcept override;
    vexa::HResult OpenDecoder(vexa::IVEXAString* file, std::uint32_t flags, vexa::IVEXAErrorInfo* error,
                              vexa::IVEXAAudioDecoder** decoder) noexcept override;
};

/// Claims the scheme "podcast" and implements its commands.
class TVEXAPodcastsFileSystem
    : public vexa::Implements<vexa::TVEXAPropertyListAs<vexa::IVEXAExtensionFileSystem>,
                              vexa::IVEXAFileSystemCommandOpenFileFolder, vexa::IVEXAFileSystemCommandPresentAddress> {
public:
    vexa::HResult CanOpenFolder(vexa::IVEXAString* address) noexcept override;
    vexa::HResult OpenFolder(vexa::IVEXAString* address) noexcept override;
    vexa::HResult GetPresentAddress(vexa::IVEXAString* address) noexcept override;
    vexa::HResult GetPresentAddresses(vexa::IVEXAObjectList* addresses, std::int64_t moveCount) noexcept override;
    vexa::HResult GetMoveCount(std::int64_t* count) noexcept override;
    vexa::HResult GetContentVersion(std::int64_t* version) noexcept override;

protected:
    void DoGetValueAsInt32(std::int32_t propertyID, std::int32_t& value, vexa::HResult& result) override;
    vexa::Ref<vexa::IUnknown> DoGetValueAsObject(std::int32_t propertyID) override;
};

/// Provides the feeds' logos, see FeedLogo.
class TVEXAPodcastsAlbumArtProvider
    : public vexa::Implements<vexa::TInterfacedObjectEx, vexa::IVEXAExtensionAlbumArtProvider> {
public:
    /// E_FAIL, with `*image` null, when there is no readable picture.
    static vexa::HResult GetAlbumArt(const QString& address, vexa::IVEXAImageContainer** image);

    vexa::HResult QueryAlbumArt(vexa::IVEXAString* address, vexa::IVEXAString* artist, vexa::IVEXAString* album,
                                vexa::IVEXAPropertyList* options, vexa::IVEXAImageContainer** image) noexcept override;
    std::int32_t QueryProviderCategory() noexcept override;
};

}  // namespace podcasts
