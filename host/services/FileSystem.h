#pragma once
// Service: file systems, by scheme. Any thread.

#include "Extensions.h"
#include "VEXA.Runtime.Classes.h"
#include "VEXA.SDK.Files.h"

#include <QString>

#include <mutex>
#include <vector>

namespace vexa::host {

class FileSystemService final : public RefCountedObject<IVEXAServiceFileSystem>, public ExtensionTarget {
public:
    /// Reads the extension's scheme, once, ignoring letter case. E_INVALIDARG when another extension has the scheme.
    HResult AddExtension(IUnknown* extension) override;
    void RemoveExtension(IUnknown* extension) override;

    struct Entry {
        QString Scheme;  // case-folded
        Ref<IVEXAExtensionFileSystem> Object;
    };
    std::vector<Entry> All() const;
    /// The case-folded scheme of an address; empty for an address without one.
    static QString SchemeOf(const QString& address);
    /// The file system of a case-folded scheme; null when there is none.
    Ref<IVEXAExtensionFileSystem> Find(const QString& scheme) const;

    HResult GetFileSystem(IVEXAString* address, const Guid& iid, void** fileSystem) noexcept override;

private:
    mutable std::mutex FMutex;
    std::vector<Entry> FEntries;  // guarded by FMutex
};

}  // namespace vexa::host
