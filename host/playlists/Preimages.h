#pragma once
// What smart playlists follow: filters over a storage of the music library. Main thread.

#include "Filters.h"
#include "VEXA.SDK.Playlists.h"

#include <QJsonObject>

namespace vexa::host {

/// Needs no storage to exist: a playlist keeps what it follows while its plug-in is away.
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
/// As it is now; an empty storage's ID for one that is no filter over the library.
PreimageDescription Describe(IVEXAPlaylistPreimage& preimage);
Ref<IVEXAPlaylistPreimage> MakePreimage(const PreimageDescription& description);

}  // namespace vexa::host
