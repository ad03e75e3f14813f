#pragma once
// Pictures: decoded ones, and the bytes of image files. The bounds of IVEXAImageContainer are checked from a file's
// header, before a byte of picture is decoded. One thread at a time.

#include "VEXA.Runtime.Classes.h"
#include "VEXA.SDK.Images.h"

#include <QImage>
#include <QSize>

#include <vector>

namespace vexa::host {

class Image final : public RefCountedObject<IVEXAImage, IVEXADPIAware> {
public:
    Image() = default;
    explicit Image(QImage picture) : FPicture(std::move(picture)) {}

    /// Keeps the picture it had when the stream holds none.
    HResult LoadFromStream(IVEXAStream* stream) noexcept override;
    HResult GetSize(std::int32_t* width, std::int32_t* height) noexcept override;
    std::int32_t GetDPI() noexcept override { return FDPI; }
    HResult SetDPI(std::int32_t dpi) noexcept override;

    const QImage& Picture() const noexcept { return FPicture; }

private:
    QImage FPicture;
    std::int32_t FDPI = 96;
};

class ImageContainer final : public RefCountedObject<IVEXAImageContainer> {
public:
    void* GetData() noexcept override { return FBytes.empty() ? nullptr : FBytes.data(); }
    std::uint32_t GetDataSize() noexcept override { return static_cast<std::uint32_t>(FBytes.size()); }
    HResult SetDataSize(std::uint32_t size) noexcept override;
    HResult GetInfo(std::int32_t* width, std::int32_t* height, std::int32_t* format) noexcept override;
    HResult CreateImage(IVEXAImage** image) noexcept override;

private:
    std::vector<std::uint8_t> FBytes;
};

/// A container of those bytes; null when they are more than a container takes.
Ref<IVEXAImageContainer> MakeImageContainer(const QByteArray& bytes);

/// What an image file's header says. The size is that of the picture as it is shown; invalid when the bytes are no
/// image that can be read, or one beyond the bounds.
struct ImageHeader {
    QSize Size;
    IVEXAImageContainer::Format Format = IVEXAImageContainer::Unknown;
};
ImageHeader ReadImageHeader(const QByteArray& bytes);

/// Null for no image, or one beyond the bounds.
QImage DecodeImage(const QByteArray& bytes);

/// The picture of anybody's container, decoded; null when there is none. Any thread, one at a time.
QImage ToQImage(IVEXAImageContainer* container);
/// The picture of an image that the host made; null for another, and for an empty one.
QImage ToQImage(IVEXAImage* image);

}  // namespace vexa::host
