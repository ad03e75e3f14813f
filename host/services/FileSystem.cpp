#include "FileSystem.h"

#include "Guarded.h"
#include "Properties.h"
#include "Strings.h"
#include "VEXA.Runtime.Text.h"

namespace vexa::host {

auto FileSystemService::All() const -> std::vector<Entry> {
    const std::lock_guard lock(FMutex);
    return FEntries;
}

QString FileSystemService::SchemeOf(const QString& address) {
    const qsizetype end = address.indexOf(u"://");
    return end > 0 ? FoldCase(address.first(end)) : QString();
}

Ref<IVEXAExtensionFileSystem> FileSystemService::Find(const QString& scheme) const {
    const std::lock_guard lock(FMutex);
    for (const Entry& entry : FEntries)
        if (entry.Scheme == scheme) return entry.Object;
    return {};
}

HResult FileSystemService::AddExtension(IUnknown* extension) {
    const auto object = Query<IVEXAExtensionFileSystem>(extension);
    if (!object) return E_INVALIDARG;
    const QString scheme = FoldCase(TextOf(object.Get(), IVEXAExtensionFileSystem::Scheme));
    if (scheme.isEmpty() || Find(scheme)) return E_INVALIDARG;
    const std::lock_guard lock(FMutex);
    FEntries.push_back({scheme, object});
    return S_OK;
}

void FileSystemService::RemoveExtension(IUnknown* extension) {
    std::vector<Entry> removed;  // released after the lock
    const auto object = Query<IVEXAExtensionFileSystem>(extension);
    const std::lock_guard lock(FMutex);
    const auto from = std::stable_partition(FEntries.begin(), FEntries.end(),
                                            [&](const Entry& entry) { return !(entry.Object == object); });
    removed.assign(from, FEntries.end());
    FEntries.erase(from, FEntries.end());
}

HResult FileSystemService::GetFileSystem(IVEXAString* address, const Guid& iid, void** fileSystem) noexcept {
    if (!fileSystem) return E_POINTER;
    *fileSystem = nullptr;
    return Guarded("looking for a file system", [&] {
        const QString scheme = SchemeOf(ToQString(address));
        const auto found = scheme.isEmpty() ? nullptr : Find(scheme);
        return found ? found->QueryInterface(iid, fileSystem) : E_FAIL;
    });
}

}  // namespace vexa::host
