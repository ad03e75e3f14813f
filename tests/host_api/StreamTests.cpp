#include "Texts.h"
#include "apiWrappers.h"

#include <QBuffer>

#include <gtest/gtest.h>

namespace vexa {
namespace {

TEST(Streams, ADeviceIsReadWrittenAndResizedThroughItsStream) {
    QBuffer device;
    ASSERT_TRUE(device.open(QIODevice::ReadWrite));
    const auto stream = TVEXAStreamAdapter::Create(&device, TVEXAStreamAdapter::Ownership::Borrowed);
    EXPECT_EQ(stream->QueryInterface(IVEXAStream::IID, nullptr), E_POINTER);
    std::uint32_t written = 0;
    EXPECT_EQ(stream->Write("0123456789", 10, &written), S_OK);
    EXPECT_EQ(written, 10u);
    EXPECT_EQ(stream->GetSize(), 10);
    EXPECT_EQ(stream->GetPosition(), 10);
    char read[4] = {};
    EXPECT_EQ(stream->Seek(2, IVEXAStream::FromBeginning), S_OK);
    EXPECT_EQ(stream->Read(read, 3), 3);
    EXPECT_STREQ(read, "234");
    const std::tuple<int, std::int64_t, std::int64_t> seeks[] = {
        {IVEXAStream::FromCurrent, -4, 1}, {IVEXAStream::FromEnd, -3, 7}, {3, 0, 7}};
    for (const auto& [mode, offset, position] : seeks) {
        stream->Seek(offset, mode);
        EXPECT_EQ(stream->GetPosition(), position) << mode;
    }
    EXPECT_EQ(stream->Seek(std::numeric_limits<std::int64_t>::max(), IVEXAStream::FromCurrent), E_UNEXPECTED);
    EXPECT_EQ(stream->SetSize(8), S_OK);
    EXPECT_EQ(stream->Read(read, 3), 1) << "up to the new end";
    EXPECT_EQ(stream->SetSize(-1), E_UNEXPECTED);
    device.close();
    EXPECT_EQ(stream->Read(read, 3), -1);
    EXPECT_EQ(stream->Write("0", 1, &written), E_UNEXPECTED);
    EXPECT_EQ(written, 0u);
}

}  // namespace
}  // namespace vexa
