#include "Preimages.h"

#include "FilterJson.h"

namespace vexa::host {

HResult LibraryPreimage::GetFactoryID(IVEXAString** id) noexcept {
    if (!id) return E_POINTER;
    *id = nullptr;
    return Guarded("giving a preimage's factory", [&] { return PutString(FStorageID, id); });
}

HResult LibraryPreimage::GetFilter(IVEXAMLDataFilter** filter) noexcept {
    if (!filter) return E_POINTER;
    *filter = Ref(FFilter).Detach();
    return S_OK;
}

HResult PreimageFactory::CreatePreimage(IVEXAPlaylistPreimage** preimage) noexcept {
    if (!preimage) return E_POINTER;
    *preimage = nullptr;
    return Guarded("making a preimage", [&] {
        *preimage = Ref<IVEXAPlaylistPreimage>(new LibraryPreimage(FStorageID)).Detach();
        return S_OK;
    });
}

PreimageDescription Describe(IVEXAPlaylistPreimage& preimage) {
    const auto offered = Query<IVEXAMLPlaylistPreimage>(&preimage);
    Ref<IVEXAString> id;
    Ref<IVEXAMLDataFilter> filter;
    if (!offered || Failed(offered->GetFactoryID(id.Put())) || Failed(offered->GetFilter(filter.Put()))) return {};
    return {ToQString(id.Get()), FilterToJson(*filter)};
}

Ref<IVEXAPlaylistPreimage> MakePreimage(const PreimageDescription& description) {
    const Ref<LibraryPreimage> preimage(new LibraryPreimage(description.StorageID));
    Ref<IVEXAMLDataFilter> filter;
    preimage->GetFilter(filter.Put());
    if (!AddJsonToFilter(description.Filter, *filter))
        qCWarning(LogHost).noquote() << "a playlist's filter over" << description.StorageID << "is not whole";
    return preimage;
}

}  // namespace vexa::host
