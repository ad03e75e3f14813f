// The plain objects that host and plug-ins exchange.

#include "FileInfo.h"
#include "HostFixture.h"
#include "Images.h"
#include "ObjectList.h"
#include "Png.h"
#include "Streams.h"

#include <atomic>
#include <cmath>
#include <limits>
#include <optional>

using namespace vexa::host;

namespace {

constexpr std::int32_t kProperty = IVEXAFileInfo::Title;
using Value = PropertyValue;

}  // namespace

TEST(Objects, APropertyIsConvertedIfNothingIsLost) {
    constexpr auto kBig = (std::int64_t{1} << 53) + 1;
    const auto none = std::nullopt;
    using Case =
        std::tuple<Value, std::optional<std::int32_t>, std::optional<std::int64_t>, std::optional<double>, QString>;
    const Case cases[] = {
        {std::int32_t{-7}, -7, -7, -7.0, "-7"},
        {std::int64_t{1} << 40, none, std::int64_t{1} << 40, 1099511627776.0, "1099511627776"},
        {kBig, none, kBig, none, "9007199254740993"},
        {12.0, 12, 12, 12.0, "12"},
        {0.1, none, none, 0.1, "0.1"},
        {1e19, none, none, 1e19, "1e+19"},
        {std::numeric_limits<double>::quiet_NaN(), none, none, none, "nan"},
        {QString("42"), 42, 42, 42.0, "42"},
        {QString("1.5"), none, none, 1.5, "1.5"},
        {QString("x"), none, none, none, "x"},
        {QString(""), none, none, none, ""},
    };
    for (const auto& [stored, int32, int64, real, text] : cases) {
        SCOPED_TRACE(text.toStdString());
        EXPECT_EQ(Converted<std::int32_t>(stored), int32);
        EXPECT_EQ(Converted<std::int64_t>(stored), int64);
        const auto converted = Converted<double>(stored);
        EXPECT_TRUE(converted == real || (converted && std::isnan(*converted)));
        EXPECT_EQ(Converted<QString>(stored), text);
    }
}

TEST(Objects, AMissingOrUnknownPropertyIsReported) {
    const Ref<FileInfo> info(new FileInfo);
    std::int32_t number = 5;
    Ref<IVEXAString> text;
    EXPECT_EQ(info->GetValueAsInt32(kProperty, &number), E_NOTIMPL);
    EXPECT_EQ(info->GetValueAsObject(kProperty, IVEXAString::IID, text.PutVoid()), E_INVALIDARG);
    EXPECT_EQ(info->SetValueAsInt32(999, 1), E_NOTIMPL);
    EXPECT_EQ(info->SetValueAsObject(kProperty, Ref(new ObjectList).Get()), E_INVALIDARG);

    const Ref<ObjectList> own(new ObjectList);
    Ref<IVEXAObjectList> kept;
    EXPECT_EQ(info->SetValueAsObject(IVEXAPropertyList::kCustomObject, own.Get()), S_OK);
    EXPECT_EQ(info->GetValueAsObject(IVEXAPropertyList::kCustomObject, IVEXAObjectList::IID, kept.PutVoid()), S_OK);
    EXPECT_EQ(kept.Get(), own.Get());

    const Ref<IVEXAString> title = MakeString("a");
    EXPECT_EQ(info->SetValueAsObject(kProperty, title.Get()), S_OK);
    title->SetChars(u"b", 1);  // changes nothing: the property has a copy of the text
    Variant value;
    EXPECT_EQ(Query<IVEXAPropertyList2>(info.Get())->GetValueAsVariant(kProperty, &value), S_OK);
    EXPECT_EQ(ToQString(value.Text.Get()), "a");
    EXPECT_EQ(info->Reset(), S_OK);
    EXPECT_EQ(info->GetValueAsInt32(kProperty, &number), E_NOTIMPL);
}

TEST(Objects, ATextIsReadWholeWhileAnotherThreadWritesIt) {
    const Ref<IVEXAString> text = MakeString("a");
    std::atomic<bool> done = false;
    std::thread writer([&] {
        for (int i = 0; i < 20000; ++i) {
            const QString next(1 + (i * 37) % 400, QChar(u'a' + i % 26));
            text->SetChars(reinterpret_cast<const char16_t*>(next.constData()), static_cast<std::int32_t>(next.size()));
        }
        done = true;
    });
    bool isWhole = true;
    while (!done) {
        const QString seen = ToQString(text.Get());
        isWhole = isWhole && !seen.isEmpty() && seen.count(seen.front()) == seen.size();
    }
    writer.join();
    EXPECT_TRUE(isWhole);
    EXPECT_EQ(text->SetChars(nullptr, -1), E_INVALIDARG);
    EXPECT_EQ(text->SetChars(nullptr, 1), E_POINTER);
}

TEST(Objects, AListKeepsItsOrderAndRefusesIndexesOutOfRange) {
    const Ref<ObjectList> list(new ObjectList);
    list->Add(MakeString("b").Get());
    list->Insert(0, MakeString("a").Get());
    list->Insert(2, MakeString("c").Get());
    EXPECT_EQ(list->Insert(4, MakeString("x").Get()), E_INVALIDARG);
    EXPECT_EQ(list->Add(nullptr), E_INVALIDARG);
    EXPECT_EQ(list->Delete(3), E_INVALIDARG);
    EXPECT_EQ(list->Delete(1), S_OK);
    Ref<IVEXAString> text;
    EXPECT_EQ(list->GetObject(0, IVEXAString::IID, nullptr), E_POINTER);
    EXPECT_EQ(list->GetObject(-1, IVEXAString::IID, text.PutVoid()), E_INVALIDARG);
    EXPECT_EQ(list->GetObject(1, IVEXAString::IID, text.PutVoid()), S_OK);
    EXPECT_EQ(ToQString(text.Get()), "c");
    Ref<IVEXAStream> stream;
    EXPECT_EQ(list->GetObject(0, IVEXAStream::IID, stream.PutVoid()), E_NOINTERFACE);
    EXPECT_EQ(list->GetCount(), 2);
}

TEST(Objects, AStreamRefusesInvalidRequestsAndStaysUnchanged) {
    const Ref<MemoryStream> stream(new MemoryStream);
    std::uint32_t written = 1;
    EXPECT_EQ(stream->GetData(), nullptr);
    EXPECT_EQ(stream->Write("abcdef", 6, &written), S_OK);
    EXPECT_EQ(written, 6u);
    constexpr auto kFar = std::numeric_limits<std::int64_t>::max();
    for (const std::int64_t size : {std::int64_t{-1}, kFar}) EXPECT_EQ(stream->SetSize(size), E_INVALIDARG);
    for (const std::int64_t offset : {std::numeric_limits<std::int64_t>::min(), std::int64_t{-7}, kFar})
        EXPECT_EQ(stream->Seek(offset, IVEXAStream::FromCurrent), E_INVALIDARG);
    EXPECT_EQ(stream->Seek(0, 3), E_INVALIDARG);
    EXPECT_EQ(stream->GetPosition(), 6);
    EXPECT_EQ(stream->Seek(-2, IVEXAStream::FromEnd), S_OK);
    char buffer[8] = {};
    EXPECT_EQ(stream->Read(buffer, 8), 2);
    EXPECT_EQ(stream->Read(buffer, 8), 0);
    EXPECT_STREQ(buffer, "ef");

    EXPECT_EQ(stream->Seek(8, IVEXAStream::FromBeginning), S_OK);
    EXPECT_EQ(stream->Read(buffer, 8), 0);
    EXPECT_EQ(stream->Write("i", 1, nullptr), S_OK);
    EXPECT_EQ(std::string(static_cast<char*>(stream->GetData()), 9), std::string("abcdef\0\0i", 9));
}

TEST(Objects, TheRestOfAStreamIsReplacedCompletelyOrNotAtAll) {
    const Ref<MemoryStream> stream(new MemoryStream);
    stream->Write("abcdef", 6, nullptr);
    stream->Seek(2, IVEXAStream::FromBeginning);
    EXPECT_EQ(ReplaceRest(*stream, "xy"), S_OK);
    EXPECT_EQ(stream->GetSize(), 4);
    stream->Seek(0, IVEXAStream::FromBeginning);
    EXPECT_EQ(ReadRest(*stream), "abxy");
    stream->Seek(0, IVEXAStream::FromBeginning);
    EXPECT_THROW(ReadRest(*stream, 3), std::runtime_error);

    stream->SetSize(1);
    stream->Seek(MemoryStream::kMaxBytes - 1, IVEXAStream::FromBeginning);
    EXPECT_EQ(ReplaceRest(*stream, "zz"), E_INVALIDARG);
    EXPECT_EQ(stream->GetSize(), 1);
}

TEST(Objects, APictureBeyondTheBoundsIsRefused) {
    const QByteArray good = tests::Png(1, 1);
    QByteArray padded = good;
    padded.resize(qsizetype{33} << 20, '\0');
    const std::tuple<const char*, QByteArray, bool, bool> cases[] = {
        // what, its bytes, whether a container takes them, whether they are a picture
        {"a picture", good, true, true},
        {"no picture", "<html>", true, false},
        {"nothing", "", true, false},
        {"a format that is not read", "/* XPM */ static char* x[] = {\"1 1 1 1\", \"a c red\", \"a\"};", true, false},
        {"too many pixels", tests::Png(8192, 8193, Qt::black, QImage::Format_Mono), true, false},
        {"33 MB", padded, false, false},
    };
    for (const auto& [what, bytes, isTaken, isKnown] : cases) {
        SCOPED_TRACE(what);
        const auto container = MakeImageContainer(bytes);
        EXPECT_EQ(static_cast<bool>(container), isTaken);
        std::int32_t width = -1, height = -1, format = -1;
        if (container) {
            EXPECT_EQ(container->GetInfo(&width, &height, &format), isKnown ? S_OK : E_FAIL);
            EXPECT_EQ(format, isKnown ? IVEXAImageContainer::PNG : IVEXAImageContainer::Unknown);
            Ref<IVEXAImage> image;
            EXPECT_EQ(container->CreateImage(image.Put()), isKnown ? S_OK : E_FAIL);
        }
        const Ref<MemoryStream> stream(new MemoryStream);
        stream->Write(bytes.constData(), static_cast<std::uint32_t>(bytes.size()), nullptr);
        stream->Seek(0, IVEXAStream::FromBeginning);
        const Ref<Image> image(new Image);
        EXPECT_EQ(image->LoadFromStream(stream.Get()), isKnown ? S_OK : E_FAIL);
        image->GetSize(&width, &height);
        EXPECT_EQ(width, isKnown ? 1 : 0);
    }
    EXPECT_EQ(Ref(new ImageContainer)->SetDataSize(33u << 20), E_INVALIDARG);
}

TEST_F(HostTest, CoreMakesEveryPlainObjectAndNoOther) {
    Ref<IUnknown> object;
    for (const Guid& iid : {IVEXAString::IID, IVEXAObjectList::IID, IVEXAMemoryStream::IID, IVEXAErrorInfo::IID,
                            IVEXAFileInfo::IID, IVEXAImage::IID, IVEXAImageContainer::IID, IVEXAMLDataFilter::IID})
        EXPECT_EQ(Host.PluginCore().CreateObject(iid, object.PutVoid()), S_OK);
    EXPECT_EQ(Host.PluginCore().CreateObject(IVEXAStream::IID, object.PutVoid()), E_NOINTERFACE);
}
