#pragma once
// Preimages, which smart playlists follow: filters over a storage of the music library. Main thread.

#include "Filters.h"
#include "VEXA.SDK.Playlists.h"

#include <QJsonObject>

namespace vexa::host {

/// Exists without its storage, so that a playlist keeps its filter while the plug-in is not loaded.
class LibraryPreimage final : public RefCountedObject<IVEXAMLPlaylistPreimage> {
public:
    explicit LibraryPreimage(const QString& storageID) : FStorageID(storageID) {}

    HResult GetFactoryID(IVEXAString** id) noexcept override;
    HResult GetFilter(IVEXAMLDataFilter** filter) noexcept override;

private:
    const QString FStorageID;
    const Ref<IVEXAMLDataFilter> FFilter{new DataFilter};
};

class PreimageFactory final : public RefCountedObject<IVEXAPlaylistPreimageFactory> {
public:
    explicit PreimageFactory(const QString& storageID) : FStorageID(storageID) {}

    HResult CreatePreimage(IVEXAPlaylistPreimage** preimage) noexcept override;

private:
    const QString FStorageID;
};

/// A preimage as a value.
struct PreimageDescription {
    QString StorageID;
    QJsonObject Filter;  // see FilterJson.h
};
/// The current state of a preimage; StorageID is empty when the preimage is not a filter over the library.
PreimageDescription Describe(IVEXAPlaylistPreimage& preimage);
Ref<IVEXAPlaylistPreimage> MakePreimage(const PreimageDescription& description);

}  // namespace vexa::host
