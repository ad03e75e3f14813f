// The services that ask extensions and the network.

#include "FileInfo.h"
#include "HostFixture.h"
#include "Images.h"
#include "LoopbackServer.h"
#include "Properties.h"
#include "Streams.h"
#include "Tags.h"
#include "Tone.h"

#include <QUrl>

#include <atomic>
#include <cstring>

using namespace vexa::host;

namespace {

/// Cancels when told, and keeps the outcome.
class Events final : public RefCountedObject<IVEXAHttpClientEvents> {
public:
    Bool32 IsCancelled() noexcept override { return Cancels ? kTrue : kFalse; }
    void OnCompleted(HResult result, IVEXAErrorInfo* error) noexcept override {
        Ref<IVEXAString> text;
        error->GetInfo(nullptr, text.Put(), nullptr);
        Message = ToQString(text.Get());
        Result = result;
        ++Count;
    }
    std::atomic<bool> Cancels = false;
    std::atomic<HResult> Result = 1;
    std::atomic<int> Count = 0;
    QString Message;  // may be read once Count is not 0
};

/// An extension of every kind, for addresses that begin with its name.
class Extension final : public RefCountedObject<IVEXAExtensionAudioDecoderOld, IVEXAExtensionPlayerHook,
                                                IVEXAExtensionFileInfoProvider, IVEXAExtensionAlbumArtProvider> {
public:
    Extension(const QString& name, HResult opens, std::int32_t category, QStringList* asked)
        : FName(name), FOpens(opens), FCategory(category), FAsked(asked) {}

    HResult OpenDecoder(IVEXAString* file, std::uint32_t, IVEXAErrorInfo* error,
                        IVEXAAudioDecoder**) noexcept override {
        if (!Knows("decoder", file)) return E_NOTIMPL;
        SetError(error, -1, FName + " says no");
        return FOpens;
    }
    void ResolvePlaybackURL(IVEXAString* address, Bool32* handled) noexcept override {
        if (!Knows("hook", address)) return;
        address->SetChars(u"http://hooked", 13);
        *handled = kTrue;
    }
    HResult QueryFileInfo(IVEXAString* file, IVEXAFileInfo* info) noexcept override {
        if (!Knows("info", file)) return E_FAIL;
        return info->SetValueAsObject(IVEXAFileInfo::Title, MakeString(FName).Get());
    }
    HResult QueryAlbumArt(IVEXAString* address, IVEXAString*, IVEXAString*, IVEXAPropertyList*,
                          IVEXAImageContainer** image) noexcept override {
        if (!Knows("art", address)) return E_FAIL;
        *image = MakeImageContainer(FName.toUtf8()).Detach();
        return S_OK;
    }
    std::int32_t QueryProviderCategory() noexcept override { return FCategory; }

private:
    bool Knows(const char* what, IVEXAString* address) {
        *FAsked += what + (u' ' + FName);
        return ToQString(address).startsWith(FName + u':');
    }
    QString FName;
    HResult FOpens;
    std::int32_t FCategory;
    QStringList* FAsked;
};

class ServiceTest : public HostTest {
protected:
    void Register(const QString& name, HResult opens, std::int32_t category) {
        const Ref<IVEXAExtensionPlayerHook> object(new Extension(name, opens, category, &Asked));
        for (const Guid& service : {IVEXAServiceAudioDecoder::IID, IVEXAServicePlayer::IID, IVEXAServiceFileInfo::IID,
                                    IVEXAServiceAlbumArt::IID})
            EXPECT_EQ(Host.PluginCore().RegisterExtension(service, object.Get()), S_OK);
    }
    HResult Describe(const QString& address, std::uint32_t flags, FileInfo& info) {
        return Host.FileInfos().GetFileInfo(MakeString(address).Get(), flags, &info);
    }
    HResult FindPicture(const QString& address, Ref<IVEXAImageContainer>* image) {
        return Host.AlbumArt().GetAlbumArt(MakeString(address).Get(), nullptr, nullptr, nullptr, image->Put());
    }
    HResult Fetch(const QString& url, std::uint32_t flags, const Ref<Events>& events) {
        return Host.Http().Get(MakeString(url).Get(), flags, Body.Get(), events.Get());
    }

    tests::LoopbackServer Server;
    QStringList Asked;
    Ref<MemoryStream> Body{new MemoryStream};
};

}  // namespace

TEST_F(ServiceTest, AFailedTransferLeavesTheStreamAsItWas) {
    Server.Serve("/good", tests::Response::Of("body", "image/png"));
    Server.Serve("/large", tests::Response::Of(QByteArray(qsizetype{33} << 20, 'x'), "image/png"));
    const std::tuple<QString, HResult, const char*> cases[] = {
        {Server.Url("/large"), E_FAIL, "large"},
        {Server.Url("/none"), E_FAIL, "404"},
        {"ftp://127.0.0.1/x", E_FAIL, "ftp://127.0.0.1/x"},
        {Server.Url("/good"), S_OK, ""},
    };
    Body->Write("abcdef", 6, nullptr);
    Body->Seek(2, IVEXAStream::FromBeginning);
    for (const auto& [url, result, reason] : cases) {
        SCOPED_TRACE(url.toStdString());
        const Ref<Events> events(new Events);
        EXPECT_EQ(Fetch(url, IVEXAServiceHttpClient::WaitForCompletion, events), result);
        EXPECT_EQ(events->Result, result);
        EXPECT_EQ(events->Count, 1);
        EXPECT_TRUE(events->Message.contains(reason)) << events->Message.toStdString();
        EXPECT_EQ(QByteArray(static_cast<char*>(Body->GetData()), Body->GetSize()),
                  Failed(result) ? "abcdef" : "abbody");
    }
    EXPECT_EQ(Fetch("", 0, {}), E_INVALIDARG);
}

TEST_F(ServiceTest, ATransferIsCancelledByItsEventsAndAtTheHostsEnd) {
    Server.Serve("/slow", tests::Response::Of("body", "image/png").With(tests::Fault::Wait, 2));
    for (const bool isHostsEnd : {false, true}) {
        const Ref<Events> events(new Events);
        EXPECT_EQ(Fetch(Server.Url("/slow"), 0, events), S_OK);
        EXPECT_EQ(events->Count, 0);
        if (isHostsEnd)
            Host.UnloadPlugins();
        else
            events->Cancels = true;
        EXPECT_TRUE(tests::WaitUntil([&] { return events->Count == 1; }));
        EXPECT_EQ(events->Result, E_ABORT);
    }
    EXPECT_EQ(Body->GetSize(), 0);
}

TEST_F(ServiceTest, DecodersAreAskedBeforeHooksAndHooksBeforeTheFileItself) {
    Register("a", E_ABORT, IVEXAExtensionAlbumArtProvider::Internet);
    Register("b", E_NOTIMPL, IVEXAExtensionAlbumArtProvider::Files);
    int started = 0;
    Host.Messages().Handle(kMsgPlaybackStarted, [&](std::int32_t, void*) { return ++started, S_OK; });
    struct {
        QString File, Source, Message;
        QStringList Asked;
    } const cases[] = {
        {"a:1", "", "a says no", {"decoder a"}},
        {"b:1", "http://hooked", "", {"decoder a", "decoder b", "hook a", "hook b"}},
        {"c:1", "c:1", "", {"decoder a", "decoder b", "hook a", "hook b"}},
        {Profile.File("none.wav"), "", "there is no file " + Profile.File("none.wav"), {"decoder a", "decoder b"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.File.toStdString());
        Host.Player().Stop();
        Asked.clear();
        const int before = started;
        const Ref<ErrorInfo> error(new ErrorInfo);
        EXPECT_EQ(Succeeded(Host.Player().Play(MakeString(c.File).Get(), error.Get())), c.Message.isEmpty());
        EXPECT_EQ(error->Message(), c.Message);
        EXPECT_EQ(Asked, c.Asked);
        EXPECT_EQ(Host.Player().Source(), c.Source);
        EXPECT_EQ(started - before, c.Message.isEmpty() ? 1 : 0);
        Ref<IVEXAFileInfo> info;
        EXPECT_EQ(Host.Player().GetInfo(info.Put()), c.Message.isEmpty() ? S_OK : E_FAIL);
        if (!info) continue;
        // Not the address that a hook has replaced it by.
        EXPECT_EQ(TextOf(info.Get(), IVEXAFileInfo::FileName), c.File);
    }
}

TEST_F(ServiceTest, PictureProvidersAreAskedInTheOrderOfTheirCategories) {
    Register("net", E_FAIL, IVEXAExtensionAlbumArtProvider::Internet);
    Register("file", E_FAIL, IVEXAExtensionAlbumArtProvider::Files);
    Ref<IVEXAImageContainer> image;
    EXPECT_EQ(FindPicture("x", &image), E_FAIL);
    EXPECT_EQ(Asked, QStringList({"art file", "art net"}));
    EXPECT_EQ(FindPicture("net:1", &image), S_OK);
    EXPECT_EQ(image->GetDataSize(), 3u);
    Host.UnloadPlugins();
    Asked.clear();
    FindPicture("net:1", &image);
    EXPECT_TRUE(Asked.isEmpty());  // every service has released its extensions
}

TEST_F(ServiceTest, ALocalFileIsDescribedByItsTags) {
    Register("a", E_FAIL, IVEXAExtensionAlbumArtProvider::Tags);
    const QString wave = Profile.File("a b.wav");
    WriteWhole(wave, MakeTone(1));
    const QByteArray picture = tests::AddPicture(wave, 3, 2, [](TagLib::ID3v2::Tag& tag) {
        tag.setTitle(L"Тишина");
        tag.setYear(2024);
    });
    const QString address = QUrl::fromLocalFile(wave).toString(QUrl::FullyEncoded);
    for (const QString& name : {wave, address}) {
        SCOPED_TRACE(name.toStdString());
        const Ref<FileInfo> info(new FileInfo);
        Asked.clear();
        EXPECT_EQ(Describe(name, IVEXAServiceFileInfo::FromFileOnly, *info), S_OK);
        EXPECT_TRUE(Asked.isEmpty());
        EXPECT_EQ(info->Text(IVEXAFileInfo::Title), QStringLiteral("Тишина"));
        EXPECT_EQ(info->Text(IVEXAFileInfo::Date), "2024");
        EXPECT_EQ(info->Text(IVEXAFileInfo::Duration), "1");
        EXPECT_EQ(info->Text(IVEXAFileInfo::FileName), name);
        const AudioDecoderService::Answer answer = Host.Decoders().Ask(name);
        ASSERT_EQ(answer.Result, S_OK);
        Ref<IVEXAString> source;
        std::int32_t sampleRate = 0, channels = 0;
        answer.Decoder->GetSource(source.Put());
        answer.Decoder->GetStreamInfo(&sampleRate, &channels, nullptr);
        EXPECT_EQ(ToQString(source.Get()), wave);
        EXPECT_EQ(sampleRate, 8000);
        EXPECT_EQ(channels, 1);
        Ref<IVEXAImageContainer> image;
        EXPECT_EQ(FindPicture(name, &image), S_OK);
        EXPECT_EQ(QByteArray(static_cast<char*>(image->GetData()), image->GetDataSize()), picture);
    }
    const Ref<FileInfo> info(new FileInfo);
    for (const QString& nobodys : {QString("a:1"), Profile.Path(), Profile.File("Settings.ini")})
        EXPECT_EQ(Describe(nobodys, IVEXAServiceFileInfo::FromFileOnly, *info), E_FAIL) << nobodys.toStdString();
    Register("b", E_FAIL, IVEXAExtensionAlbumArtProvider::Tags);
    for (const char* known : {"a:1", "b:1"}) EXPECT_EQ(Describe(known, 0, *info), S_OK) << known;
}

TEST_F(ServiceTest, AFileSystemIsFoundByItsSchemeInAnyLetterCase) {
    for (const auto& [scheme, result] : {std::pair("Abc", S_OK), {"aBC", E_INVALIDARG}}) {
        const Ref<IVEXAExtensionFileSystem> system(new PropertyList<IVEXAExtensionFileSystem>);
        system->SetValueAsObject(IVEXAExtensionFileSystem::Scheme, MakeString(scheme).Get());
        EXPECT_EQ(Host.PluginCore().RegisterExtension(IVEXAServiceFileSystem::IID, system.Get()), result) << scheme;
    }
    using Command = IVEXAFileSystemCommandOpenFileFolder;
    const std::tuple<const char*, Guid, HResult> cases[] = {
        {"aBC://x", IVEXAExtensionFileSystem::IID, S_OK},
        {"abc://x", Command::IID, E_NOINTERFACE},
        {"abcd://x", Command::IID, E_FAIL},
        {"abc:/x", Command::IID, E_FAIL},
        {"://x", Command::IID, E_FAIL},
        {"", Command::IID, E_FAIL},
    };
    for (const auto& [address, wanted, result] : cases) {
        Ref<IUnknown> found;
        EXPECT_EQ(Host.FileSystems().GetFileSystem(MakeString(address).Get(), wanted, found.PutVoid()), result)
            << address;
    }
}
