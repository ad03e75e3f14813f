#pragma once
// Pictures: decoded pictures, and image files as bytes. The bounds of IVEXAImageContainer are checked against a file's
// header before any of the picture is decoded. One thread at a time.

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

    /// When the stream holds no picture, the previous picture is kept.
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

/// A container of `bytes`; null when they are more than a container accepts.
Ref<IVEXAImageContainer> MakeImageContainer(const QByteArray& bytes);

/// What an image file's header says. The size is that of the picture as it is shown; it is invalid when the bytes are
/// not a readable image or the image exceeds the bounds.
struct ImageHeader {
    QSize Size;
    IVEXAImageContainer::Format Format = IVEXAImageContainer::Unknown;
};
ImageHeader ReadImageHeader(const QByteArray& bytes);

/// Null when the bytes are not a readable image or the image exceeds the bounds.
QImage DecodeImage(const QByteArray& bytes);

/// The decoded picture of a container of any implementation; null when it holds none. Any thread, one at a time.
QImage ToQImage(IVEXAImageContainer* container);
/// The picture of an image object that the host made; null for an empty image and for any other implementation.
QImage ToQImage(IVEXAImage* image);

}  // namespace vexa::host
