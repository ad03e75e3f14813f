#pragma once
// The host's list of objects. Any thread may use it.

#include "VEXA.Runtime.Classes.h"
#include "VEXA.SDK.Objects.h"

#include <QStringList>

#include <mutex>
#include <vector>

namespace vexa::host {

class ObjectList final : public RefCountedObject<IVEXAObjectList> {
public:
    HResult Add(IUnknown* object) noexcept override;
    HResult Clear() noexcept override;
    HResult Delete(std::int32_t index) noexcept override;
    HResult Insert(std::int32_t index, IUnknown* object) noexcept override;
    std::int32_t GetCount() noexcept override;
    HResult GetObject(std::int32_t index, const Guid& iid, void** object) noexcept override;
    HResult SetObject(std::int32_t index, IUnknown* object) noexcept override;

private:
    /// The caller holds the lock.
    bool Has(std::int32_t index) const noexcept {
        return index >= 0 && static_cast<std::size_t>(index) < FObjects.size();
    }

    std::mutex FMutex;
    std::vector<Ref<IUnknown>> FObjects;  // guarded by FMutex; objects are released after unlocking it
};

/// A list of `texts` as IVEXAString objects.
Ref<IVEXAObjectList> MakeStringList(const QStringList& texts);
/// The texts of a list of any implementation; objects that are not texts are left out.
QStringList ToQStringList(IVEXAObjectList* list);

}  // namespace vexa::host
