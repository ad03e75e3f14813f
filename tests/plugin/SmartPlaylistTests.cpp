// Smart playlists of the selected node, also with hosts that refuse.

#include "DialogFixture.h"
#include "Filters.h"
#include "Podcasts.Plugin.Menus.h"

namespace podcasts {

using namespace vexa;

namespace {

enum class Step { Factory, Preimage, PreimageClass, Filter, Playlist, Properties, Set };

/// A playlist service, its factory of preimages, a preimage and a playlist in one object, which refuses one step.
/// Nothing can be set in it.
class Playlists final : public Implements<TVEXAPropertyList, IVEXAServicePlaylistManager2, IVEXAPlaylistPreimageFactory,
                                          IVEXAMLPlaylistPreimage, IVEXAPlaylist> {
public:
    explicit Playlists(Step refused) : FRefused(refused) {}

    HResult QueryInterface(const Guid& iid, void** object) noexcept override {
        if (FRefused == Step::PreimageClass && iid == IVEXAMLPlaylistPreimage::IID) return E_NOINTERFACE;
        if (FRefused == Step::Properties && iid == IVEXAPropertyList::IID) return E_NOINTERFACE;
        return Implements::QueryInterface(iid, object);
    }
    HResult GetActivePlaylist(IVEXAPlaylist**) noexcept override { return E_FAIL; }
    HResult GetPreimageFactoryByID(IVEXAString*, IVEXAPlaylistPreimageFactory** factory) noexcept override {
        return Give(Step::Factory, factory);
    }
    HResult CreatePreimage(IVEXAPlaylistPreimage** preimage) noexcept override {
        return Give(Step::Preimage, preimage);
    }
    HResult GetFactoryID(IVEXAString**) noexcept override { return E_FAIL; }
    HResult GetFilter(IVEXAMLDataFilter** filter) noexcept override {
        if (FRefused == Step::Filter) return E_FAIL;
        *filter = Ref<IVEXAMLDataFilter>(new host::DataFilter).Detach();
        return S_OK;
    }
    HResult CreatePlaylist(IVEXAString*, Bool32, IVEXAPlaylist** playlist) noexcept override {
        return Give(Step::Playlist, playlist);
    }
    HResult GetFiles(std::uint32_t, IVEXAObjectList**) noexcept override { return E_FAIL; }
    HResult AddFiles(IVEXAObjectList*, std::int32_t) noexcept override { return E_FAIL; }

private:
    template <class Interface>
    HResult Give(Step step, Interface** object) {
        return FRefused == step ? E_FAIL : QueryInterface(Interface::IID, reinterpret_cast<void**>(object));
    }

    const Step FRefused;
};

class SmartPlaylistTest : public DialogTest {
protected:
    QString FailureOf(Step refused) {
        Host.PluginCore().AddService<IVEXAServicePlaylistManager2>(QStringLiteral("playlists"),
                                                                   NewObject<Playlists>(refused));
        return ErrorOf([this] { Command->Execute(nullptr); });
    }

    const Ref<TVEXAPodcastsGroupingTreeMenuItemController> Controller =
        NewObject<TVEXAPodcastsGroupingTreeMenuItemController>();
    TVEXAPodcastsGroupingTreeFileList& Selected =
        dynamic_cast<TVEXAPodcastsGroupingTreeFileList&>(Controller->GetFiles());
    const Ref<TVEXAPodcastsCreateSmartPlaylistMenuItem> Command =
        NewObject<TVEXAPodcastsCreateSmartPlaylistMenuItem>(*Client, Ref<IVEXAUIMenuItemController>(Controller));
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

TEST_F(SmartPlaylistTest, CreatingAndUnsubscribingSurviveTheEndOfTheClient) {
    Subscribe(tests::MakeFeed("http://h/a"));
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
