#include "AlbumArt.h"

#include "AudioTags.h"
#include "Guarded.h"
#include "Images.h"
#include "Strings.h"

namespace vexa::host {

namespace {

/// The picture that is embedded in a local file.
class EmbeddedPictures final : public RefCountedObject<IVEXAExtensionAlbumArtProvider> {
public:
    HResult QueryAlbumArt(IVEXAString* address, IVEXAString*, IVEXAString*, IVEXAPropertyList*,
                          IVEXAImageContainer** image) noexcept override {
        if (!image) return E_POINTER;
        *image = nullptr;
        return Guarded("reading an embedded picture", [&] {
            const QString fileName = LocalFileName(ToQString(address));
            if (fileName.isEmpty()) return E_FAIL;
            const QByteArray bytes = ReadEmbeddedPicture(fileName);
            if (!ReadImageHeader(bytes).Size.isValid()) return E_FAIL;
            *image = MakeImageContainer(bytes).Detach();
            return *image ? S_OK : E_FAIL;
        });
    }
    std::int32_t QueryProviderCategory() noexcept override { return Tags; }
};

}  // namespace

AlbumArtService::AlbumArtService() {
    AddExtension(Ref<IVEXAExtensionAlbumArtProvider>(new EmbeddedPictures).Get());
}

HResult AlbumArtService::AddExtension(IUnknown* extension) {
    const auto object = Query<IVEXAExtensionAlbumArtProvider>(extension);
    if (!object) return E_INVALIDARG;
    const std::int32_t category = object->QueryProviderCategory();
    const std::lock_guard lock(FMutex);
    const auto at = std::upper_bound(FProviders.begin(), FProviders.end(), category,
                                     [](std::int32_t c, const Provider& provider) { return c < provider.Category; });
    FProviders.insert(at, {category, object});
    return S_OK;
}

void AlbumArtService::RemoveExtension(IUnknown* extension) {
    std::vector<Provider> removed;  // released after the lock
    const auto object = Query<IVEXAExtensionAlbumArtProvider>(extension);
    const std::lock_guard lock(FMutex);
    const auto from = std::stable_partition(FProviders.begin(), FProviders.end(),
                                            [&](const Provider& provider) { return !(provider.Object == object); });
    removed.assign(from, FProviders.end());
    FProviders.erase(from, FProviders.end());
}

HResult AlbumArtService::GetAlbumArt(IVEXAString* address, IVEXAString* artist, IVEXAString* album,
                                     IVEXAPropertyList* options, IVEXAImageContainer** image) noexcept {
    if (!image) return E_POINTER;
    *image = nullptr;
    return Guarded("looking for album art", [&] {
        std::vector<Provider> providers;
        {
            const std::lock_guard lock(FMutex);
            providers = FProviders;
        }
        for (const Provider& provider : providers) {
            Ref<IVEXAImageContainer> found;
            const HResult result = provider.Object->QueryAlbumArt(address, artist, album, options, found.Put());
            if (Failed(result) || !found) continue;
            *image = found.Detach();
            return S_OK;
        }
        return E_FAIL;
    });
}

}  // namespace vexa::host
