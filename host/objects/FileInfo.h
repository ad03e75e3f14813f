#pragma once
// What is known about a file: the host's file-information object.

#include "PropertyList.h"
#include "VEXA.SDK.Files.h"

#include <vector>

namespace vexa::host {

class FileInfo final : public PropertyList<IVEXAFileInfo> {
public:
    FileInfo();

    /// Removes all properties.
    HResult Reset() noexcept override;

    /// The properties with the names that IVEXAFileInfo gives them, in the order of that interface.
    struct Name {
        std::int32_t ID;
        const char* Text;
    };
    static std::span<const Name> Names() noexcept;
};

}  // namespace vexa::host
