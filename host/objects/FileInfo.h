#pragma once
// What is known of a file: the host's file-information object.

#include "PropertyList.h"
#include "VEXA.SDK.Files.h"

#include <vector>

namespace vexa::host {

class FileInfo final : public PropertyList<IVEXAFileInfo> {
public:
    FileInfo();

    /// Forgets all.
    HResult Reset() noexcept override;

    /// The properties by the names that IVEXAFileInfo gives them, in its order.
    struct Name {
        std::int32_t ID;
        const char* Text;
    };
    static std::span<const Name> Names() noexcept;
};

}  // namespace vexa::host
