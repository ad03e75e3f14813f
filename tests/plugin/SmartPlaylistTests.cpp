// Smart playlists of the selected node, also with hosts that refuse.

#include "DialogFixture.h"
#include "Podcasts.Plugin.Menus.h"
#include "Preimages.h"

namespace podcasts {

using namespace vexa;

namespace {

enum class Step { Factory, Preimage, PreimageClass, Filter, Playlist, Properties, Set };

class FilterlessPreimage final : public RefCountedObject<IVEXAMLPlaylistPreimage> {
    HResult GetFactoryID(IVEXAString**) noexcept override { return E_FAIL; }
    HResult GetFilter(IVEXAMLDataFilter**) noexcept override { return E_FAIL; }
};

class OtherPreimage final : public RefCountedObject<IVEXAPlaylistPreimage> {
    HResult GetFactoryID(IVEXAString**) noexcept override { return E_FAIL; }
};

/// A playlist without properties.
class PlainPlaylist final : public RefCountedObject<IVEXAPlaylist> {
    HResult GetFiles(std::uint32_t, IVEXAObjectList**) noexcept override { return E_FAIL; }
    HResult AddFiles(IVEXAObjectList*, std::int32_t) noexcept override { return E_FAIL; }
};

/// A playlist whose properties cannot be set.
class FixedPlaylist final : public Implements<TVEXAPropertyList, IVEXAPlaylist> {
    HResult GetFiles(std::uint32_t, IVEXAObjectList**) noexcept override { return E_FAIL; }
    HResult AddFiles(IVEXAObjectList*, std::int32_t) noexcept override { return E_FAIL; }
};

/// A playlist service, with its factory of preimages, that refuses one step.
class Playlists final : public RefCountedObject<IVEXAServicePlaylistManager2, IVEXAPlaylistPreimageFactory> {
public:
    explicit Playlists(Step refused) : FRefused(refused) {}
    int Created = 0;

    HResult GetActivePlaylist(IVEXAPlaylist**) noexcept override { return E_FAIL; }
    HResult GetPreimageFactoryByID(IVEXAString*, IVEXAPlaylistPreimageFactory** factory) noexcept override {
        if (FRefused == Step::Factory) return E_FAIL;
        *factory = Ref<IVEXAPlaylistPreimageFactory>(this).Detach();
        return S_OK;
    }
    HResult CreatePreimage(IVEXAPlaylistPreimage** preimage) noexcept override {
        if (FRefused == Step::Preimage) return E_FAIL;
        *preimage = FRefused == Step::PreimageClass ? Ref<IVEXAPlaylistPreimage>(new OtherPreimage).Detach()
                    : FRefused == Step::Filter      ? Ref<IVEXAPlaylistPreimage>(new FilterlessPreimage).Detach()
                                               : Ref<IVEXAPlaylistPreimage>(new host::LibraryPreimage("")).Detach();
        return S_OK;
    }
    HResult CreatePlaylist(IVEXAString*, Bool32, IVEXAPlaylist** playlist) noexcept override {
        if (FRefused == Step::Playlist) return E_FAIL;
        ++Created;
        *playlist = FRefused == Step::Properties ? Ref<IVEXAPlaylist>(new PlainPlaylist).Detach()
                                                 : Ref<IVEXAPlaylist>(NewObject<FixedPlaylist>()).Detach();
        return S_OK;
    }

private:
    const Step FRefused;
};

class SmartPlaylistTest : public DialogTest {
protected:
    QString FailureOf(Step refused) {
        Service = Ref<Playlists>(new Playlists(refused));
        Host.PluginCore().AddService<IVEXAServicePlaylistManager2>(QStringLiteral("playlists"), Service);
        return ErrorOf([this] { Command->Execute(nullptr); });
    }

    const Ref<TVEXAPodcastsGroupingTreeMenuItemController> Controller =
        NewObject<TVEXAPodcastsGroupingTreeMenuItemController>();
    TVEXAPodcastsGroupingTreeFileList& Selected =
        dynamic_cast<TVEXAPodcastsGroupingTreeFileList&>(Controller->GetFiles());
    const Ref<TVEXAPodcastsCreateSmartPlaylistMenuItem> Command =
        NewObject<TVEXAPodcastsCreateSmartPlaylistMenuItem>(*Client, Ref<IVEXAUIMenuItemController>(Controller));
    Ref<Playlists> Service;
};

TEST_F(SmartPlaylistTest, ReportsWhatTheHostRefused) {
    Selected.Category = "News";
    const struct {
        Step Refused;
        const char* Message;
        HResult Code;
    } cases[] = {
        {Step::Factory, "Preimage factory is unavalable (%1)", E_FAIL},
        {Step::Preimage, "Unable to create preimage (%1)", E_FAIL},
        {Step::PreimageClass, "Unsupported preimage class (%1)", E_NOINTERFACE},
        {Step::Filter, "Failed to setup preimage filter (%1)", E_FAIL},
        {Step::Playlist, "Unable to create playlist (%1)", E_FAIL},
        {Step::Properties, "Unable to fetch playlist properties (%1)", E_NOINTERFACE},
        {Step::Set, "Failed to set preimage (%1)", E_NOTIMPL},
    };
    for (const auto& [refused, message, code] : cases)
        EXPECT_EQ(FailureOf(refused), QString(message).arg(code)) << message;
}

TEST_F(SmartPlaylistTest, IsMadeOfOneNodeOnly) {
    EXPECT_EQ(FailureOf(Step::Set), "") << "nothing is selected";
    EXPECT_EQ(Service->Created, 0);
    Selected.Add(QStringLiteral("http://h/a"));
    Selected.Add(QStringLiteral("http://h/b"));
    EXPECT_EQ(FailureOf(Step::Set), "Multiple selection not supported");
    EXPECT_EQ(Service->Created, 0);
}

TEST_F(SmartPlaylistTest, CreatingAndUnsubscribingSurviveTheEndOfTheClient) {
    TPodcastFeed feed;
    feed.Fields[pffURLFeed] = "http://h/a";
    Client->Subscribe(feed);
    const auto unsubscribe =
        NewObject<TVEXAPodcastsUnsubcribeMenuItem>(*Client, Ref<IVEXAUIMenuItemController>(Controller));
    Selected.FocusIndex = Selected.Add(QStringLiteral("http://h/a"));
    WithDialog([&] { unsubscribe->Execute(nullptr); },
               [&](QWidget& dialog) {
                   Client.reset();
                   static_cast<QDialog&>(dialog).accept();
               });
    EXPECT_EQ(FailureOf(Step::Factory), "");
    EXPECT_TRUE(TPodcastClient(Profile.File("Test.db")).IsSubscribed("http://h/a"));
}

}  // namespace

}  // namespace podcasts
