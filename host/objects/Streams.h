#pragma once
// The host's stream in memory; reading and writing whole streams of any implementation. One thread at a time.

#include "VEXA.Runtime.Classes.h"
#include "VEXA.SDK.Objects.h"

#include <QByteArray>

#include <vector>

namespace vexa::host {

/// Grows as it is written to. The position may be beyond the end; writing there fills the gap with zeros.
class MemoryStream final : public RefCountedObject<IVEXAMemoryStream> {
public:
    /// The largest stream that the host keeps in memory; a size or position beyond it is E_INVALIDARG.
    static constexpr std::int64_t kMaxBytes = std::int64_t{1} << 30;

    std::int64_t GetSize() noexcept override { return static_cast<std::int64_t>(FBytes.size()); }
    HResult SetSize(std::int64_t size) noexcept override;
    std::int64_t GetPosition() noexcept override { return FPosition; }
    HResult Seek(std::int64_t offset, std::int32_t mode) noexcept override;
    std::int32_t Read(void* buffer, std::uint32_t count) noexcept override;
    HResult Write(const void* buffer, std::uint32_t count, std::uint32_t* written) noexcept override;
    void* GetData() noexcept override { return FBytes.empty() ? nullptr : FBytes.data(); }

private:
    std::vector<std::uint8_t> FBytes;
    std::int64_t FPosition = 0;
};

/// The bytes from the stream's position to its end. Throws std::runtime_error when the stream cannot be read or there
/// are more than `maxBytes`.
QByteArray ReadRest(IVEXAStream& stream, std::int64_t maxBytes = MemoryStream::kMaxBytes);

/// Replaces everything from the stream's position on by `bytes`, and leaves the position after them. On failure the
/// stream's old contents are restored, as far as it can still be written to.
[[nodiscard]] HResult ReplaceRest(IVEXAStream& stream, const QByteArray& bytes);

}  // namespace vexa::host
