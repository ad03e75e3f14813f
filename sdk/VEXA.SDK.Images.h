#pragma once
// Images: the bytes of an image file, and a picture that is ready to be drawn.

#include "VEXA.SDK.Objects.h"

namespace vexa {

/// Has a resolution in dots per inch (96 is 100 %).
struct IVEXADPIAware : IUnknown {
    static constexpr Guid IID = ParseGuid("{D73727C8-4D1A-4CEA-A5DF-0C50B7199434}");

    /// 3
    virtual std::int32_t GetDPI() noexcept = 0;
    /// 4: E_INVALIDARG when not positive.
    virtual HResult SetDPI(std::int32_t dpi) noexcept = 0;

protected:
    ~IVEXADPIAware() = default;
};

/// A decoded picture. The host's pictures also offer IVEXADPIAware. Core creates an empty one.
struct IVEXAImage : IUnknown {
    static constexpr Guid IID = ParseGuid("{F1FAD3B9-FD39-4176-9997-62C5C0F347F8}");

    /// 3: Reads an image file from the stream's position on. E_FAIL when the data is no image, or exceeds the host's
    /// limits.
    virtual HResult LoadFromStream(IVEXAStream* stream) noexcept = 0;
    /// 4: The size in pixels; 0 × 0 while empty. E_POINTER when `width` or `height` is null.
    virtual HResult GetSize(std::int32_t* width, std::int32_t* height) noexcept = 0;

protected:
    ~IVEXAImage() = default;
};

/// The bytes of an image file, not decoded. Core creates an empty one. One thread at a time.
struct IVEXAImageContainer : IUnknown {
    static constexpr Guid IID = ParseGuid("{E17ED24F-97BC-4422-90AF-BA4DA56CDE3D}");

    enum Format : std::int32_t { Unknown = 0, BMP = 1, JPEG = 2, PNG = 3, GIF = 4, WebP = 5, SVG = 6, Other = 100 };
    /// The largest images that the host's container takes; larger ones are refused before anything is decoded.
    static constexpr std::uint32_t kMaxBytes = std::uint32_t{32} << 20;
    static constexpr std::int64_t kMaxPixels = std::int64_t{64} << 20;

    /// 3: Valid until the next change of size; null while empty.
    virtual void* GetData() noexcept = 0;
    /// 4: The number of bytes.
    virtual std::uint32_t GetDataSize() noexcept = 0;
    /// 5: Keeps the bytes that fit; new bytes are 0. E_INVALIDARG above kMaxBytes.
    virtual HResult SetDataSize(std::uint32_t size) noexcept = 0;
    /// 6: The size in pixels and the Format, from the file's header. E_FAIL when the bytes are no image that the host
    /// can read.
    virtual HResult GetInfo(std::int32_t* width, std::int32_t* height, std::int32_t* format) noexcept = 0;
    /// 7: Decodes.
    virtual HResult CreateImage(IVEXAImage** image) noexcept = 0;

protected:
    ~IVEXAImageContainer() = default;
};

}  // namespace vexa
