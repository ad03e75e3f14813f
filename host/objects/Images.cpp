#include "Images.h"

#include "Guarded.h"
#include "Streams.h"

#include <QBuffer>
#include <QImageReader>

#include <algorithm>
#include <optional>
#include <utility>

namespace vexa::host {

namespace {

/// Nothing for a format that is not read. The toolkit's plug-ins would read more, some of which are programs to be run:
/// a few lines of SVG can keep a processor busy for years.
std::optional<IVEXAImageContainer::Format> FormatOf(const QByteArray& name) {
    using Container = IVEXAImageContainer;
    static constexpr std::pair<const char*, Container::Format> kNames[] = {
        {"bmp", Container::BMP},    {"jpeg", Container::JPEG},  {"jpg", Container::JPEG},   {"png", Container::PNG},
        {"gif", Container::GIF},    {"webp", Container::WebP},  {"ico", Container::Other},  {"avif", Container::Other},
        {"heif", Container::Other}, {"heic", Container::Other}, {"tiff", Container::Other}, {"tif", Container::Other},
    };
    for (const auto& [text, format] : kNames)
        if (name == text) return format;
    return std::nullopt;
}

/// A reader over bytes that outlive it.
struct Reader {
    explicit Reader(const QByteArray& bytes) {
        Buffer.setData(bytes);
        Buffer.open(QIODevice::ReadOnly);
        Images.setDevice(&Buffer);
        Images.setAutoTransform(true);
    }
    ImageHeader Header() {
        if (Buffer.size() > IVEXAImageContainer::kMaxBytes || !Images.canRead()) return {};
        const auto format = FormatOf(Images.format());
        if (!format) return {};
        QSize size = Images.size();
        if (size.isEmpty() || std::int64_t{size.width()} * size.height() > IVEXAImageContainer::kMaxPixels) return {};
        if (Images.transformation() & QImageIOHandler::TransformationRotate90) size.transpose();
        return {size, *format};
    }

    QBuffer Buffer;
    QImageReader Images;
};

QByteArray View(IVEXAImageContainer& container) {
    return QByteArray::fromRawData(static_cast<const char*>(container.GetData()), container.GetDataSize());
}

}  // namespace

ImageHeader ReadImageHeader(const QByteArray& bytes) {
    return Reader(bytes).Header();
}

QImage DecodeImage(const QByteArray& bytes) {
    Reader reader(bytes);
    return reader.Header().Size.isValid() ? reader.Images.read() : QImage();
}

QImage ToQImage(IVEXAImageContainer* container) {
    return container ? DecodeImage(View(*container)) : QImage();
}

QImage ToQImage(IVEXAImage* image) {
    const auto* own = dynamic_cast<Image*>(image);
    return own ? own->Picture() : QImage();
}

Ref<IVEXAImageContainer> MakeImageContainer(const QByteArray& bytes) {
    Ref<IVEXAImageContainer> container(new ImageContainer);
    if (bytes.size() > IVEXAImageContainer::kMaxBytes) return {};
    if (Failed(container->SetDataSize(static_cast<std::uint32_t>(bytes.size())))) return {};
    std::copy(bytes.cbegin(), bytes.cend(), static_cast<char*>(container->GetData()));
    return container;
}

HResult Image::LoadFromStream(IVEXAStream* stream) noexcept {
    if (!stream) return E_POINTER;
    try {
        QImage picture = DecodeImage(ReadRest(*stream, IVEXAImageContainer::kMaxBytes));
        if (picture.isNull()) return E_FAIL;
        FPicture = std::move(picture);
        return S_OK;
    } catch (...) {
        return E_FAIL;  // unreadable or too large, which is the same to the caller
    }
}

HResult Image::GetSize(std::int32_t* width, std::int32_t* height) noexcept {
    if (!width || !height) return E_POINTER;
    *width = FPicture.width();
    *height = FPicture.height();
    return S_OK;
}

HResult Image::SetDPI(std::int32_t dpi) noexcept {
    if (dpi <= 0) return E_INVALIDARG;
    FDPI = dpi;
    return S_OK;
}

HResult ImageContainer::SetDataSize(std::uint32_t size) noexcept {
    if (size > kMaxBytes) return E_INVALIDARG;
    return Guarded("resizing a picture", [&] {
        FBytes.resize(size);
        return S_OK;
    });
}

HResult ImageContainer::GetInfo(std::int32_t* width, std::int32_t* height, std::int32_t* format) noexcept {
    if (width) *width = 0;
    if (height) *height = 0;
    if (format) *format = Unknown;
    return Guarded("reading a picture's header", [&] {
        const ImageHeader header = ReadImageHeader(View(*this));
        if (!header.Size.isValid()) return E_FAIL;
        if (width) *width = header.Size.width();
        if (height) *height = header.Size.height();
        if (format) *format = header.Format;
        return S_OK;
    });
}

HResult ImageContainer::CreateImage(IVEXAImage** image) noexcept {
    if (!image) return E_POINTER;
    *image = nullptr;
    return Guarded("decoding a picture", [&] {
        QImage picture = ToQImage(this);
        if (picture.isNull()) return E_FAIL;
        *image = Ref<IVEXAImage>(new Image(std::move(picture))).Detach();
        return S_OK;
    });
}

}  // namespace vexa::host
