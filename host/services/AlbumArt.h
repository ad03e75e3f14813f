#pragma once
// Service: album art. Any thread.

#include "Extensions.h"
#include "VEXA.Runtime.Classes.h"
#include "VEXA.SDK.Files.h"

#include <mutex>
#include <vector>

namespace vexa::host {

/// Asks its own provider of the pictures embedded in local files first, then the extensions in the order of their
/// categories and, within a category, in the order registered.
class AlbumArtService final : public RefCountedObject<IVEXAServiceAlbumArt>, public ExtensionTarget {
public:
    AlbumArtService();

    HResult AddExtension(IUnknown* extension) override;
    void RemoveExtension(IUnknown* extension) override;

    HResult GetAlbumArt(IVEXAString* address, IVEXAString* artist, IVEXAString* album, IVEXAPropertyList* options,
                        IVEXAImageContainer** image) noexcept override;

private:
    struct Provider {
        std::int32_t Category;
        Ref<IVEXAExtensionAlbumArtProvider> Object;
    };
    mutable std::mutex FMutex;
    std::vector<Provider> FProviders;  // guarded by FMutex; in the order in which they are asked
};

}  // namespace vexa::host
