#pragma once
// The host's stream in memory, and whole bytes from and to anybody's streams. One thread at a time.

#include "VEXA.Runtime.Classes.h"
#include "VEXA.SDK.Objects.h"

#include <QByteArray>

#include <vector>

namespace vexa::host {

/// Grows as it is written to. A position behind the end is allowed; what lies between is zero once something is
/// written there.
class MemoryStream final : public RefCountedObject<IVEXAMemoryStream> {
public:
    /// Nothing that the host keeps in memory is larger; a size or position beyond it is E_INVALIDARG.
    static constexpr std::int64_t kMostBytes = std::int64_t{1} << 30;

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

/// The bytes from the stream's position on. Throws std::runtime_error when it cannot be read, or when there are more
/// than `mostBytes`.
QByteArray ReadRest(IVEXAStream& stream, std::int64_t mostBytes = MemoryStream::kMostBytes);

/// Replaces the bytes from the stream's position on, and stands behind them. On failure the stream is as it was, as
/// far as it lets itself be written to.
[[nodiscard]] HResult ReplaceRest(IVEXAStream& stream, const QByteArray& bytes);

}  // namespace vexa::host
