#include "Streams.h"

#include "Guarded.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace vexa::host {

HResult MemoryStream::SetSize(std::int64_t size) noexcept {
    if (size < 0 || size > kMaxBytes) return E_INVALIDARG;
    return Guarded("resizing a stream", [&] {
        FBytes.resize(static_cast<std::size_t>(size));
        FPosition = std::min(FPosition, size);
        return S_OK;
    });
}

HResult MemoryStream::Seek(std::int64_t offset, std::int32_t mode) noexcept {
    std::int64_t base = 0;
    if (mode == FromCurrent)
        base = FPosition;
    else if (mode == FromEnd)
        base = GetSize();
    else if (mode != FromBeginning)
        return E_INVALIDARG;
    // The base is never negative and never large, so neither difference overflows.
    if (offset < -base || offset > kMaxBytes - base) return E_INVALIDARG;
    FPosition = base + offset;
    return S_OK;
}

std::int32_t MemoryStream::Read(void* buffer, std::uint32_t count) noexcept {
    const std::int64_t left = std::max<std::int64_t>(0, GetSize() - FPosition);
    const auto size = static_cast<std::size_t>(
        std::min({left, std::int64_t{count}, std::int64_t{std::numeric_limits<std::int32_t>::max()}}));
    if (size == 0) return 0;
    if (!buffer) return -1;
    std::memcpy(buffer, FBytes.data() + FPosition, size);
    FPosition += static_cast<std::int64_t>(size);
    return static_cast<std::int32_t>(size);
}

HResult MemoryStream::Write(const void* buffer, std::uint32_t count, std::uint32_t* written) noexcept {
    if (written) *written = 0;
    if (count == 0) return S_OK;
    if (!buffer) return E_POINTER;
    const std::int64_t end = FPosition + std::int64_t{count};
    if (end > kMaxBytes) return E_INVALIDARG;
    return Guarded("writing to a stream", [&] {
        if (end > GetSize()) FBytes.resize(static_cast<std::size_t>(end));
        std::memcpy(FBytes.data() + FPosition, buffer, count);
        FPosition = end;
        if (written) *written = count;
        return S_OK;
    });
}

QByteArray ReadRest(IVEXAStream& stream, std::int64_t maxBytes) {
    QByteArray bytes;
    QByteArray block(1 << 16, Qt::Uninitialized);
    for (;;) {
        const std::int32_t count = stream.Read(block.data(), static_cast<std::uint32_t>(block.size()));
        if (count == 0) return bytes;
        if (count < 0 || count > block.size()) throw std::runtime_error("a stream cannot be read");
        if (bytes.size() + count > maxBytes) throw std::runtime_error("a stream is larger than allowed here");
        bytes.append(block.constData(), count);
    }
}

HResult ReplaceRest(IVEXAStream& stream, const QByteArray& bytes) {
    const std::int64_t position = stream.GetPosition();
    const std::int64_t size = stream.GetSize();
    QByteArray old;
    if (position < size) {
        old = ReadRest(stream);
        stream.Seek(position, IVEXAStream::FromBeginning);
    }
    const auto write = [&](const QByteArray& what) {
        std::uint32_t written = 0;
        const HResult result = stream.Write(what.constData(), static_cast<std::uint32_t>(what.size()), &written);
        if (Failed(result)) return result;
        return written == static_cast<std::uint32_t>(what.size()) ? S_OK : E_FAIL;
    };
    HResult result = bytes.isEmpty() ? S_OK : write(bytes);
    if (Succeeded(result) && stream.GetSize() > position + bytes.size())
        result = stream.SetSize(position + bytes.size());
    if (Failed(result)) {
        stream.Seek(position, IVEXAStream::FromBeginning);
        if (!old.isEmpty()) write(old);
        if (stream.GetSize() != size) stream.SetSize(size);
        stream.Seek(position, IVEXAStream::FromBeginning);
    }
    return result;
}

}  // namespace vexa::host
