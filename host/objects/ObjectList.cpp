#include "ObjectList.h"

#include "Guarded.h"
#include "Strings.h"

#include <utility>

namespace vexa::host {

HResult ObjectList::Add(IUnknown* object) noexcept {
    if (!object) return E_INVALIDARG;
    return Guarded("adding to a list", [&] {
        const TLock lock(FMutex);
        FObjects.emplace_back(object);
        return S_OK;
    });
}

HResult ObjectList::Clear() noexcept {
    std::vector<Ref<IUnknown>> old;
    const TLock lock(FMutex);
    old.swap(FObjects);
    return S_OK;
}

HResult ObjectList::Delete(std::int32_t index) noexcept {
    Ref<IUnknown> old;
    const TLock lock(FMutex);
    if (!Has(index)) return E_INVALIDARG;
    std::swap(old, FObjects[static_cast<std::size_t>(index)]);
    FObjects.erase(FObjects.begin() + index);
    return S_OK;
}

HResult ObjectList::Insert(std::int32_t index, IUnknown* object) noexcept {
    if (!object) return E_INVALIDARG;
    return Guarded("inserting into a list", [&] {
        const TLock lock(FMutex);
        if (index < 0 || static_cast<std::size_t>(index) > FObjects.size()) return E_INVALIDARG;
        FObjects.emplace(FObjects.begin() + index, object);
        return S_OK;
    });
}

std::int32_t ObjectList::GetCount() noexcept {
    const TLock lock(FMutex);
    return static_cast<std::int32_t>(FObjects.size());
}

HResult ObjectList::GetObject(std::int32_t index, const Guid& iid, void** object) noexcept {
    if (!object) return E_POINTER;
    *object = nullptr;
    Ref<IUnknown> found;
    {
        const TLock lock(FMutex);
        if (!Has(index)) return E_INVALIDARG;
        found = FObjects[static_cast<std::size_t>(index)];
    }
    return found->QueryInterface(iid, object);
}

HResult ObjectList::SetObject(std::int32_t index, IUnknown* object) noexcept {
    if (!object) return E_INVALIDARG;
    Ref<IUnknown> replaced(object);
    const TLock lock(FMutex);
    if (!Has(index)) return E_INVALIDARG;
    std::swap(replaced, FObjects[static_cast<std::size_t>(index)]);
    return S_OK;
}

Ref<IVEXAObjectList> MakeStringList(const QStringList& texts) {
    Ref<IVEXAObjectList> list(new ObjectList);
    for (const QString& text : texts) list->Add(MakeString(text).Get());
    return list;
}

QStringList ToQStringList(IVEXAObjectList* list) {
    QStringList texts;
    const std::int32_t count = list ? list->GetCount() : 0;
    for (std::int32_t i = 0; i < count; ++i) {
        Ref<IVEXAString> text;
        if (Succeeded(list->GetObject(i, IVEXAString::IID, text.PutVoid()))) texts += ToQString(text.Get());
    }
    return texts;
}

}  // namespace vexa::host
