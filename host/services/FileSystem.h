#pragma once
// Service: file systems, by scheme. Any thread.

#include "Extensions.h"
#include "VEXA.Runtime.Classes.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.SDK.Files.h"

#include <QString>

#include <vector>

namespace vexa::host {

class FileSystemService final : public RefCountedObject<IVEXAServiceFileSystem>, public ExtensionTarget {
public:
    /// The extension's scheme is read once, here; letter case is ignored. A scheme that is another's is E_INVALIDARG.
    HResult AddExtension(IUnknown* extension) override;
    void RemoveExtension(IUnknown* extension) override;

    struct Entry {
        QString Scheme;  // case-folded
        Ref<IVEXAExtensionFileSystem> Object;
    };
    std::vector<Entry> All() const;
    /// Case-folded; empty for an address without one.
    static QString SchemeOf(const QString& address);
    /// Null when the scheme, case-folded, is nobody's.
    Ref<IVEXAExtensionFileSystem> Find(const QString& scheme) const;

    HResult GetFileSystem(IVEXAString* address, const Guid& iid, void** fileSystem) noexcept override;

private:
    mutable TMutex FMutex;
    std::vector<Entry> FEntries VEXA_GUARDED_BY(FMutex);
};

}  // namespace vexa::host
