#pragma once
// Service: file information. Any thread.

#include "Extensions.h"
#include "VEXA.Runtime.Classes.h"
#include "VEXA.SDK.Files.h"

namespace vexa::host {

class FileInfoService final : public RefCountedObject<IVEXAServiceFileInfo>, public ExtensionTarget {
public:
    HResult AddExtension(IUnknown* extension) override { return FExtensions.Add(extension); }
    void RemoveExtension(IUnknown* extension) override { FExtensions.Remove(extension); }

    /// On success the FileName of `info` is the name in `file`.
    HResult GetFileInfo(IVEXAString* file, std::uint32_t flags, IVEXAFileInfo* info) noexcept override;

private:
    ExtensionList<IVEXAExtensionFileInfoProvider> FExtensions;
};

}  // namespace vexa::host
