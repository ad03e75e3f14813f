// podcast:// addresses, used as a host uses them.

#include "Feeds.h"
#include "FileInfo.h"
#include "HostFixture.h"
#include "Library.h"
#include "LoopbackServer.h"
#include "ObjectList.h"
#include "PlainSqlite.h"
#include "Png.h"
#include "Properties.h"
#include "Tone.h"
#include "Waiting.h"

#include <QProcess>

namespace tests {
namespace {

using namespace podcasts;

class RefusingDecoder final : public RefCountedObject<IVEXAExtensionAudioDecoderOld> {
    HResult OpenDecoder(IVEXAString*, std::uint32_t, IVEXAErrorInfo* error, IVEXAAudioDecoder**) noexcept override {
        host::SetError(error, -1, "no sound");
        return E_FAIL;
    }
};

class Addresses : public HostTest {
protected:
    Addresses() {
        TPodcastFeed feed = MakeFeed("http://h/feed");
        feed.Fields[pffTitle] = "Feed";
        feed.Fields[pffAuthor] = "Author";
        feed.Fields[pffCategory] = "Category";
        feed.Fields[pffCopyright] = "(c)";
        feed.Fields[pffDescription] = "About the feed";
        feed.Fields[pffURL] = "http://h/";
        feed.Fields[pffURLLogo] = Server.Url("/logo");
        for (const char* name : {"abc", "cached"}) {
            auto& episode = feed.NewEpisode();
            episode.Fields[pefGUID] = name;
            episode.Fields[pefTitle] = QString("Title of %1").arg(name);
            episode.Fields[pefURLAudio] = QString("https://h/%1.wav").arg(name);
            episode.PublishDate = 45000.5;
            episode.Duration = 90;
        }
        feed.Episodes(1).Fields[pefURLAudioCached] = Profile.File("cached.wav");
        feed.Episodes(1).Fields[pefArtist] = "Artist";
        TPodcastsDB(Profile.File("Podcasts.db")).AddOrUpdate(feed);
        FeedID = feed.ID;
        Host.LoadPlugin(QStringLiteral(PLUGIN));
    }
    void WriteWave() { WriteWhole(Profile.File("cached.wav"), MakeTone(0.1)); }
    HResult Open(const QString& address, QString* source = nullptr, QString* message = nullptr) {
        Ref<IVEXAAudioDecoder> decoder;
        const Ref<host::ErrorInfo> error(new host::ErrorInfo);
        const HResult result =
            Host.Decoders().CreateDecoder(host::MakeString(address).Get(), 0, error.Get(), decoder.Put());
        Ref<IVEXAString> text;
        if (decoder && source && Succeeded(decoder->GetSource(text.Put()))) *source = host::ToQString(text.Get());
        if (message && Succeeded(error->GetInfo(nullptr, text.Put(), nullptr))) *message = host::ToQString(text.Get());
        return result;
    }
    HResult Art(const QString& address = "podcast://h/abc.wav") {
        Ref<IVEXAImageContainer> image;
        return Host.AlbumArt().GetAlbumArt(host::MakeString(address).Get(), nullptr, nullptr, nullptr, image.Put());
    }
    HResult Info(const QString& address, host::FileInfo& info) {
        return Host.FileInfos().GetFileInfo(host::MakeString(address).Get(), 0, &info);
    }

    LoopbackServer Server;
    int FeedID = 0;
};

TEST_F(Addresses, NameAnEpisodeInEitherFormAndInNoOther) {
    const auto old = [&](const QString& id, const QByteArray& guid) {
        return QString(u"podcast://x/feed-" + id + u'_' + QString::fromLatin1(guid.toBase64()));
    };
    const QString id = QString::number(FeedID);
    const struct {
        QString Address;
        HResult Result;
    } cases[] = {
        {"podcast://h/abc.wav", E_NOTIMPL},  // a known episode, which the hook resolves
        {old(id, "abc"), E_NOTIMPL},
        {old(id, " abc\n"), E_NOTIMPL},
        {old(id, "abc").replace("podcast", "PODCAST"), E_NOTIMPL},
        {"http://h/abc.wav", E_NOTIMPL},  // not an address of the plug-in
        {"podcast://h/gone.wav", E_ABORT},
        {"PODCAST://h/gone.wav", E_ABORT},
        {"podcast://", E_ABORT},
        {old("0", "abc"), E_ABORT},
        {old("-1", "abc"), E_ABORT},
        {old("99999999999999999999", "abc"), E_ABORT},
        {old("1x", "abc"), E_ABORT},
        {u"podcast://x/feed-" + id, E_ABORT},
        {u"podcast://x/feed-" + id + u'_', E_ABORT},
        {u"podcast://x/feed-" + id + u"_!!!!", E_ABORT},
        {"podcast://" + QString(1'000'000, u'\''), E_ABORT},
    };
    for (const auto& c : cases) {
        QString message;
        EXPECT_EQ(Open(c.Address, nullptr, &message), c.Result) << c.Address.left(60).toStdString();
        const QString expected = c.Result == E_ABORT ? Host.Language().Text("Podcasts\\MSG12") : message;
        EXPECT_EQ(message, expected);
    }
}

TEST_F(Addresses, ResolveToTheDownloadedCopyOrElseToTheRemoteAudio) {
    const QString cached = "podcast://h/cached.wav";
    const auto resolve = [&](const QString& address) {
        EXPECT_EQ(Host.Player().Play(host::MakeString(address).Get(), nullptr), S_OK);
        Ref<IVEXAFileInfo> info;
        EXPECT_EQ(Host.Player().GetInfo(info.Put()), S_OK);
        EXPECT_EQ(host::TextOf(info.Get(), IVEXAFileInfo::FileName), address) << "the player calls it by its address";
        return Host.Player().Source();
    };
    EXPECT_EQ(resolve(cached), "https://h/cached.wav");
    QString source, message;
    WriteWave();
    EXPECT_EQ(Open(cached, &source), S_OK);
    EXPECT_EQ(source, Profile.File("cached.wav"));
    EXPECT_EQ(resolve(cached), Profile.File("cached.wav"));
    EXPECT_EQ(resolve("http://other/x.mp3"), "http://other/x.mp3");
    Host.PluginCore().RegisterExtension(IVEXAServiceAudioDecoder::IID, Ref<RefusingDecoder>(new RefusingDecoder).Get());
    EXPECT_EQ(Open(cached, nullptr, &message), E_FAIL);
    EXPECT_EQ(message, "no sound") << "why the copy cannot be played";

    Ref<IVEXAFileSystemCommandOpenFileFolder> folder;
    ASSERT_EQ(Host.FileSystems().GetFileSystem(host::MakeString(cached).Get(), folder->IID, folder.PutVoid()), S_OK);
    EXPECT_EQ(folder->CanOpenFolder(host::MakeString(cached).Get()), S_OK);
    EXPECT_EQ(folder->CanOpenFolder(host::MakeString("podcast://h/abc.wav").Get()), E_FAIL);
    EXPECT_EQ(folder->OpenFolder(host::MakeString("podcast://h/abc.wav").Get()), E_FAIL);
}

TEST_F(Addresses, AreDescribedFromTheDatabase) {
    WriteWave();
    const struct {
        const char* Name;
        std::int32_t Property;
        QString Of, OfCached;
    } cases[] = {
        {"album", 1, "Feed", "Feed"},          {"album artist", 3, "Author", "Author"},
        {"artist", 6, "Author", "Artist"},     {"comment", 10, "About the feed", "About the feed"},
        {"copyright", 12, "(c)", "(c)"},       {"date", 14, "2023.03.15", "2023.03.15"},
        {"genre", 20, "Category", "Category"}, {"title", 25, "Title of abc", "Title of cached"},
        {"URL", 30, "http://h/", "http://h/"},
    };
    const Ref<host::FileInfo> plain(new host::FileInfo), cached(new host::FileInfo);
    ASSERT_EQ(Info("podcast://h/abc.wav", *plain), S_OK);
    ASSERT_EQ(Info("podcast://h/cached.wav", *cached), S_OK);
    for (const auto& c : cases) {
        EXPECT_EQ(plain->Text(c.Property), c.Of) << c.Name;
        EXPECT_EQ(cached->Text(c.Property), c.OfCached) << c.Name;
    }
    double duration = 0;
    EXPECT_EQ(plain->GetValueAsFloat(17, &duration), S_OK);
    EXPECT_EQ(duration, 90);
    EXPECT_EQ(Info("podcast://h/gone.wav", *plain), E_FAIL);
}

TEST_F(Addresses, SendTheFeedsUserNameForLogoAndAudioToItsHostOnly) {
    LoopbackServer elsewhere;
    QString with = Server.Url("/feed");
    with.replace("://", "://ann:secret@");
    PlainSqlite database(Profile.File("Podcasts.db"));
    for (LoopbackServer* server : {&Server, &elsewhere}) {
        const bool isOwn = server == &Server;
        SCOPED_TRACE(isOwn ? "the feed's server" : "another one");
        database.Run(
            ("UPDATE PodcastFeeds SET URLFeed = '" + with + "', URLLogo = '" + server->Url("/logo") + "'").toUtf8());
        database.Run(("UPDATE PodcastEpisodes SET URLAudio = '" + server->Url("/1.mp3") + "'").toUtf8());
        database.Run("DELETE FROM PodcastFeedLogos");
        server->Serve("/logo", Response::Of(Png(8, 8), "image/png"));
        for (const char* episode : {"podcast://h/abc.wav", "podcast://h/cached.wav"}) EXPECT_EQ(Art(episode), S_OK);
        EXPECT_EQ(Art("podcast://h/gone.wav"), E_FAIL);
        EXPECT_EQ(server->Count("/logo"), 1);
        EXPECT_EQ(server->Requests().at(0).Head.contains("Authorization: Basic YW5uOnNlY3JldA=="), isOwn);
        const QString audio = Host.Player().Resolve("podcast://h/abc.wav").Source;
        EXPECT_EQ(audio, isOwn ? with.chopped(5) + "/1.mp3" : server->Url("/1.mp3"));
    }
}

/// A feed that another program refreshes, and the plug-in over the same profile.
class MovedEpisodes : public HostTest {
protected:
    using Command = IVEXAFileSystemCommandPresentAddress;

    void SetUp() override {
        Serve({"a.mp3", "b.mp3?token=1", "c.mp3", "d.mp3"});
        Run({"subscribe", Server.Url("/feed")});
        Host.LoadPlugin(QStringLiteral(PLUGIN));
        ASSERT_EQ(Host.FileSystems().GetFileSystem(host::MakeString(Of("a.mp3")).Get(), Command::IID, Files.PutVoid()),
                  S_OK);
    }
    void Serve(const QStringList& audios) {
        QString document = "<rss version='2.0'><channel><title>Feed</title>";
        for (int i = 0; i < audios.size(); ++i)
            document +=
                QString("<item><title>T%1</title><guid>g%1</guid><enclosure url='%2' type='audio/mpeg'/></item>")
                    .arg(QString::number(i), Server.Url('/' + audios[i]));
        Server.Serve("/feed", Response::Of(QString(document + u"</channel></rss>").toUtf8()));
    }
    void Run(const QStringList& words) const {
        EXPECT_EQ(QProcess::execute(QStringLiteral(PODCASTS), QStringList{"--profile", Profile.Path()} + words), 0);
    }
    QString Of(const QString& audio) const { return Server.Url('/' + audio).replace("http", "podcast"); }
    std::int64_t Read(HResult (Command::*what)(std::int64_t*) noexcept) {
        std::int64_t number = -1;
        EXPECT_EQ((Files.Get()->*what)(&number), S_OK);
        return number;
    }
    std::int64_t Count() { return Read(&Command::GetMoveCount); }

    LoopbackServer Server;
    Ref<Command> Files;
};

TEST_F(MovedEpisodes, AreDistinguishedFromThoseThatHaveTheirAddressesNow) {
    const auto present = [&](const QStringList& addresses, std::int64_t since) {
        const auto list = host::MakeStringList(addresses);
        EXPECT_TRUE(Succeeded(Files->GetPresentAddresses(list.Get(), since)));
        return host::ToQStringList(list.Get());
    };
    const QStringList kept{Of("a.mp3"), Of("b.mp3?token=1")};
    // The two episodes swap their addresses, repeatedly.
    const QString token = "b.mp3?token=1";
    for (const QStringList& audios : {QStringList{token, "a.mp3"}, {"a.mp3", token}, {token, "a.mp3"}}) {
        const std::int64_t before = Count();
        Serve(audios + QStringList{"c.mp3", "d.mp3"});
        Run({"refresh"});
        EXPECT_EQ(present(kept, before), QStringList({kept[1], kept[0]})) << "since the last time";
        EXPECT_EQ(present(kept, -1), kept) << "taken as present addresses";
        EXPECT_EQ(present(kept, Count()), kept);
    }
}

TEST_F(MovedEpisodes, AreFoundByOlderAddressesOfEitherForm) {
    EXPECT_EQ(Count(), 0);
    // The last address looks like one of the older form that names the first episode.
    Serve({"a2.mp3", "b.mp3?token=2", "c.mp3", "feed-1_ZzA="});
    Run({"refresh"});
    const struct {
        QString Address;
        HResult Result;
        QString Present;  // of one that fails: what it becomes among many, where an episode that is gone leaves nothing
    } cases[] = {
        {Of("a.mp3"), S_OK, Of("a2.mp3")},
        {Of("a2.mp3"), S_FALSE, {}},
        {"podcast://x/feed-1_" + QString(QByteArray("g0").toBase64()), S_OK, Of("a2.mp3")},
        {Of("b.mp3?token=1"), S_OK, Of("b.mp3?token=2")},
        {Of("c.mp3"), S_FALSE, {}},
        {Of("d.mp3"), S_FALSE, {}},
        {Of("e.mp3"), E_FAIL, {}},
        {"podcast://x/feed-1_" + QString(QByteArray("g9").toBase64()), E_FAIL, {}},
        {"podcast://x/feed-1_", E_FAIL, "podcast://x/feed-1_"},
        {Server.Url("/a.mp3"), E_FAIL, Server.Url("/a.mp3")},
        {{}, E_FAIL, {}},
    };
    QStringList all, present;
    for (const auto& c : cases) {
        const auto text = host::MakeString(c.Address);
        EXPECT_EQ(Files->GetPresentAddress(text.Get()), c.Result) << c.Address.toStdString();
        const QString after = c.Result == S_OK ? c.Present : c.Address;
        EXPECT_EQ(host::ToQString(text.Get()), after);
        all += c.Address;
        present += c.Result == E_FAIL ? c.Present : after;
    }
    const auto list = host::MakeStringList(all);
    list->Insert(0, Ref<IUnknown>(Files.Get()).Get());  // not a text: ignored
    EXPECT_EQ(Files->GetPresentAddresses(list.Get(), -1), S_OK);
    EXPECT_EQ(host::ToQStringList(list.Get()), present);
    EXPECT_EQ(Files->GetPresentAddresses(host::MakeStringList({Of("a2.mp3"), Server.Url("/e.mp3")}).Get(), -1),
              S_FALSE);
    EXPECT_EQ(Files->GetPresentAddresses(Ref<IVEXAObjectList>(new host::ObjectList).Get(), -1), S_FALSE);

    // A change of only the token counts as a move, too.
    const auto count = Count();
    EXPECT_GT(count, 0);
    Run({"refresh"});
    EXPECT_EQ(Count(), count);
    Serve({"a2.mp3", "b.mp3?token=3", "c.mp3", "feed-1_ZzA="});
    Run({"refresh"});
    EXPECT_GT(Count(), count);
    EXPECT_EQ(Host.Addresses().Present(Of("b.mp3?token=1")), Of("b.mp3?token=3"));

    const auto version = Read(&Command::GetContentVersion);
    Run({"unsubscribe", Server.Url("/feed")});
    EXPECT_NE(Read(&Command::GetContentVersion), version);

    Host.UnloadPlugins();
    std::int64_t none = 0;
    EXPECT_EQ(Files->GetMoveCount(&none), E_FAIL);
    EXPECT_EQ(Files->GetPresentAddress(host::MakeString(Of("a.mp3")).Get()), E_FAIL);
    EXPECT_EQ(Files->GetPresentAddresses(list.Get(), -1), E_FAIL);
}

TEST_F(MovedEpisodes, AreFollowedByPlaylistsAfterARefresh) {
    const auto list = Host.Playlists().Create("P", true);
    const QString old = "podcast://x/feed-1_" + QString(QByteArray("g2").toBase64());
    list->Add({Of("a.mp3"), old, Of("gone.mp3")});
    Serve({"a2.mp3", "b.mp3?token=1", "c.mp3", "d.mp3"});
    Host.Menus().Run(*RegisteredItem("VEXA.Podcasts.Actions.RefreshFeeds"));
    const QStringList expected{Of("a2.mp3"), Of("c.mp3")};
    EXPECT_TRUE(WaitUntil([&] { return ::Files(*list) == expected; })) << ::Files(*list).join(' ').toStdString();
}

TEST_F(Addresses, LetNoExceptionReachTheHost) {
    const QString address = "podcast://h/abc.wav";
    const host::LibraryStorage storage(Host.Library());
    const Ref<host::FileInfo> info(new host::FileInfo);
    info->SetValueAsObject(IVEXAFileInfo::FileName, host::MakeString(address).Get());
    const auto find = [&] {
        Ref<IVEXAMLDataFilter> rows;
        Ref<IVEXAMLGroupingTreeSelection> node;
        return storage.Offered<IVEXAMLDataStorageCommandFindInLibrary>()->Find(info.Get(), rows.Put(), node.Put());
    };
    const auto picture = [&] {
        Ref<IVEXAImageContainer> image;
        const Variant value = host::ToVariant(host::PropertyValue(address));
        return storage.Offered<IVEXAMLAlbumArtProvider>()->GetAlbumArt(host::MakeStringList({"filename"}).Get(), &value,
                                                                       nullptr, image.Put());
    };
    Server.Serve("/logo", Response::Of(Png(8, 8), "image/png"));
    EXPECT_EQ(find(), S_OK);
    EXPECT_EQ(picture(), S_OK);
    PlainSqlite(Profile.File("Podcasts.db")).Run("DROP TABLE PodcastFeeds");
    EXPECT_EQ(find(), E_NOINTERFACE);
    EXPECT_EQ(picture(), E_FAIL);
    EXPECT_EQ(Info(address, *info), E_FAIL);
    EXPECT_EQ(Art(), E_FAIL);
    EXPECT_EQ(Open(address), E_UNEXPECTED);
    EXPECT_EQ(Host.Player().Play(host::MakeString(address).Get(), nullptr), E_UNEXPECTED);
}

}  // namespace
}  // namespace tests
