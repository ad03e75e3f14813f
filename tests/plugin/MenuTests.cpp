// The commands, with a host that selects what a test wants selected.

#include "EpisodeStorage.h"
#include "MenuHost.h"
#include "Podcasts.Core.DB.h"
#include "VEXA.SDK.Playlists.h"

namespace tests {
namespace {

const QString kFeedURL = "http://h/feed.xml";
const QString kURIs[] = {u"podcast://h/1.mp3"_s, u"podcast://h/2.mp3"_s};

Ref<IVEXAObjectList> ListOf(const QStringList& texts) {
    const Ref<host::ObjectList> list(new host::ObjectList);
    for (const QString& text : texts) list->Add(host::MakeString(text).Get());
    return list;
}

class Selection final : public RefCountedObject<IVEXAServiceMusicLibraryUI> {
public:
    QStringList Selected, Focused;
    Ref<host::DataFilter> Filter;

    HResult GetFiles(std::uint32_t flags, IVEXAObjectList** files) noexcept override {
        return *files = ListOf(flags == kFilesFocused ? Focused : Selected).Detach(), S_OK;
    }
    HResult GetGroupingFilter(IVEXAMLDataFilter** filter) noexcept override {
        *filter = Ref<IVEXAMLDataFilter>(Filter).Detach();
        return *filter ? S_OK : E_FAIL;
    }
};

using Entry = host::PropertyList<IVEXAPlaylistItem>;

class Group final : public RefCountedObject<IVEXAPlaylistGroup> {
public:
    Ref<Entry> First{new Entry};
    HResult GetItem(std::int32_t, const Guid& iid, void** item) noexcept override {
        return First->QueryInterface(iid, item);
    }
    std::int32_t GetItemCount() noexcept override { return 1; }
};

class Playlist final : public host::PropertyList<IVEXAPropertyList2, IVEXAPlaylist> {
public:
    QStringList Selected;
    HResult GetFiles(std::uint32_t, IVEXAObjectList** files) noexcept override {
        return *files = ListOf(Selected).Detach(), S_OK;
    }
    HResult AddFiles(IVEXAObjectList*, std::int32_t) noexcept override { return E_NOTIMPL; }
};

class Preimage final : public RefCountedObject<IVEXAMLPlaylistPreimage> {
public:
    const Ref<host::DataFilter> Filter{new host::DataFilter};
    HResult GetFactoryID(IVEXAString**) noexcept override { return E_NOTIMPL; }
    HResult GetFilter(IVEXAMLDataFilter** filter) noexcept override {
        return *filter = Ref<IVEXAMLDataFilter>(Filter).Detach(), S_OK;
    }
};

class Playlists final : public RefCountedObject<IVEXAServicePlaylistManager2, IVEXAPlaylistPreimageFactory> {
public:
    const Ref<Playlist> Active{new Playlist};
    Ref<Playlist> Created;

    HResult GetActivePlaylist(IVEXAPlaylist** playlist) noexcept override {
        return *playlist = Ref<IVEXAPlaylist>(Active).Detach(), S_OK;
    }
    HResult GetPreimageFactoryByID(IVEXAString* id, IVEXAPlaylistPreimageFactory** factory) noexcept override {
        if (host::ToQString(id) != u"VEXA.Podcasts.ML.Storage") return E_FAIL;
        return *factory = Ref<IVEXAPlaylistPreimageFactory>(this).Detach(), S_OK;
    }
    HResult CreatePreimage(IVEXAPlaylistPreimage** preimage) noexcept override {
        return *preimage = Ref<IVEXAPlaylistPreimage>(new Preimage).Detach(), S_OK;
    }
    HResult CreatePlaylist(IVEXAString*, Bool32, IVEXAPlaylist** playlist) noexcept override {
        Created = Ref<Playlist>(new Playlist);
        return *playlist = Ref<IVEXAPlaylist>(Created).Detach(), S_OK;
    }
};

class MenuCommands : public HostTest {
protected:
    MenuCommands() {
        podcasts::TPodcastFeed feed;
        feed.Fields[podcasts::pffURLFeed] = kFeedURL;
        feed.Fields[podcasts::pffTitle] = "Tides";
        for (const QString& guid : {u"1"_s, u"2"_s}) {
            auto& episode = feed.NewEpisode();
            episode.Fields[podcasts::pefGUID] = guid;
            episode.Fields[podcasts::pefURLAudio] = u"http://h/" + guid + u".mp3";
        }
        DB.AddOrUpdate(feed);
        FeedID = feed.ID;

        host::Core& core = Host.TheCore();
        core.AddService<IVEXAServiceMenuManager>(u"menus"_s, Menus, Menus.Get());
        core.AddFactory<IVEXAMenuItem, MenuItem>();
        core.AddService<IVEXAServiceMusicLibraryUI>(u"libraryui"_s, Library);
        core.AddService<IVEXAServicePlaylistManager, IVEXAServicePlaylistManager2>(u"playlists"_s, Playlists);
        Host.LoadPlugin(QStringLiteral(PLUGIN));
    }

    Ref<MenuItem> Item(const QString& action) { return Menus->Find(u"VEXA.Podcasts.Actions." + action); }
    void Show() {
        for (const QString& first : {u"RefreshFeeds"_s, u"MarkAs"_s, u"CheckCachedFiles"_s, u"MarkAs.PL"_s})
            Item(first)->Run(IVEXAMenuItem::OnShow);
    }
    void SelectNodes(const QStringList& nodes) {
        Library->Filter = Ref<host::DataFilter>(new host::DataFilter);
        for (const QString& node : nodes) {
            Variant value;
            host::ToVariant(node, value);
            Library->Filter->Add(host::MakeString("Node").Get(), &value, nullptr, IVEXAMLFieldFilter::Equals, nullptr);
        }
        Show();
    }
    /// What the playlist follows, as "AND Category=News State=1"; "none" when there is no playlist.
    QString SmartPlaylist() {
        Playlists->Created = nullptr;
        Item("CreateSmartPlaylist")->Run();
        if (!Playlists->Created) return u"none"_s;
        Ref<IVEXAMLPlaylistPreimage> preimage;
        Playlists->Created->GetValueAsObject(IVEXAPlaylist::Preimage, IVEXAMLPlaylistPreimage::IID, preimage.PutVoid());
        host::DataFilter& filter = *static_cast<Preimage&>(*preimage).Filter;
        std::int32_t operation = 0;
        filter.GetValueAsInt32(IVEXAMLGroupFilter::Operation, &operation);
        QStringList parts(operation == IVEXAMLGroupFilter::And ? u"AND"_s : u"OR"_s);
        for (std::int32_t i = 0; i < filter.GetChildCount(); ++i) {
            Ref<IVEXAMLFieldFilter> child;
            filter.GetChild(i, IVEXAMLFieldFilter::IID, child.PutVoid());
            const auto& condition = static_cast<host::FieldFilter&>(*child);
            parts += condition.Text(IVEXAMLFieldFilter::Field) + u'=' + condition.Text(IVEXAMLFieldFilter::Value1);
        }
        return parts.join(u' ');
    }

    podcasts::TPodcastsDB DB{Profile.File("Podcasts.db")};
    int FeedID = 0;
    const Ref<tests::Menus> Menus{new tests::Menus};
    const Ref<Selection> Library{new Selection};
    const Ref<tests::Playlists> Playlists{new tests::Playlists};
};

TEST_F(MenuCommands, TheSelectedNodeSaysWhichFeedAndWhatASmartPlaylistFollows) {
    const struct {
        QStringList Nodes;
        QString FeedCommands, SmartPlaylist;
    } cases[] = {
        {{}, "hidden", "none"},
        {{"01"}, "hidden", "none"},
        {{"02News"}, "hidden", "OR Category=News"},
        {{"0301"}, "hidden", "OR State=1"},
        {{"03x"}, "hidden", "none"},
        {{u"04" + kFeedURL}, "visible", "OR FeedName=Tides"},
        {{"04"}, "hidden", "none"},
        {{"04http://h/gone"}, "visible", "none"},
        {{"02News", u"04" + kFeedURL}, "visible", "AND Category=News FeedName=Tides"},
        {{u"04" + kFeedURL, "04http://h/b"}, "visible", "none"},
    };
    for (const auto& [nodes, feedCommands, smartPlaylist] : cases) {
        SCOPED_TRACE(nodes.join(u' ').toStdString());
        SelectNodes(nodes);
        EXPECT_EQ(Item("Subscribe")->State(), "visible");
        EXPECT_EQ(Item("RefreshFeed")->State(), feedCommands);
        EXPECT_EQ(SmartPlaylist(), smartPlaylist);
    }
    Library->Filter = nullptr;
    Show();
    EXPECT_EQ(Item("RefreshFeed")->State() + Item("Subscribe")->State(), "hiddenvisible");
}

TEST_F(MenuCommands, ShowOnlyWhereTheyApply) {
    Library->Selected = Playlists->Active->Selected = {u"file.mp3"_s, u"http://h/1.mp3"_s};
    SelectNodes({u"04" + kFeedURL});
    for (const QString& action : {u"MarkAs"_s, u"CachedFilesControl"_s, u"MarkAs.PL"_s, u"CachedFilesControl.PL"_s})
        EXPECT_EQ(Item(action)->State(), "hidden");
    EXPECT_EQ(Item("CheckCachedFiles")->State(), "visible");

    Playlists->Active->Selected += kURIs[0];
    const Ref<EpisodeStorage> other(new EpisodeStorage);
    IUnknown* const storage = static_cast<IVEXAMLExtensionDataStorage*>(other.Get());
    Host.TheCore().RegisterExtension(IVEXAServiceMusicLibrary::IID, storage);
    Host.Library().SetActiveStorage(storage);
    Show();
    for (const auto& item : Menus->Items) {
        const QString id = item->Text(IVEXAMenuItem::ID);
        if (id.isEmpty()) continue;
        EXPECT_EQ(item->State(), id.endsWith(u".PL") ? "visible" : "hidden") << id.toStdString();
    }
}

TEST_F(MenuCommands, EpisodesAreMarkedByEitherFormOfTheirAddress) {
    Library->Selected = {u"file.mp3"_s, u"PODCAST://h/1.mp3"_s, u"podcast://h/feed-%1_Mg=="_s.arg(FeedID)};
    Show();
    Show();
    auto entries = Menus->Items;
    std::erase_if(entries, [&](const auto& item) { return !item->IsUnder(Item("MarkAs").Get()); });
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0]->Text(IVEXAMenuItem::Caption), "Listened");
    Library->Selected.clear();  // what was selected when the menu was shown is what counts
    entries[2]->Run();
    EXPECT_EQ(DB.GetEpisode(podcasts::MakeEpisodeKey(FeedID, u"2"_s))->State, podcasts::pesPostponed);
}

TEST_F(MenuCommands, TheFocusedEpisodeSaysWhatBecomesOfLocalCopies) {
    WriteWhole(Profile.File("2.mp3"), "audio");
    DB.SetCachedFile(kURIs[1], Profile.File("2.mp3"));
    const QString oldForm = u"podcast://h/feed-%1_Mg=="_s.arg(FeedID);
    const struct {
        QStringList Selected, Focused;
        QString Caption;
    } cases[] = {
        {{kURIs[0], kURIs[1]}, {}, "Download"},
        {{kURIs[0], kURIs[1]}, {kURIs[0]}, "Download"},
        {{kURIs[0], kURIs[1]}, {kURIs[1].toUpper()}, "Delete local copy"},
        {{kURIs[0], oldForm}, {oldForm}, "Delete local copy"},
        {{kURIs[0]}, {kURIs[1]}, "Download"},
    };
    for (const auto& [selected, focused, caption] : cases) {
        SCOPED_TRACE(focused.join(u' ').toStdString());
        Library->Selected = selected;
        Library->Focused = focused;
        Show();
        EXPECT_EQ(Item("CachedFilesControl")->Text(IVEXAMenuItem::Caption), caption);
    }

    // In a playlist a group's heading may have the focus; what is not selected has none.
    const Ref<Group> group(new Group);
    group->First->SetValueAsObject(IVEXAPlaylistItem::FileName, host::MakeString(kURIs[1]).Get());
    Playlists->Active->Selected = {kURIs[1]};
    Playlists->Active->SetValueAsObject(IVEXAPlaylist::FocusObject, group.Get());
    for (const int isSelected : {0, 1}) {
        group->First->SetValueAsInt32(IVEXAPlaylistItem::Selected, isSelected);
        Show();
        EXPECT_EQ(Item("CachedFilesControl.PL")->Text(IVEXAMenuItem::Caption),
                  isSelected ? "Delete local copy" : "Download");
    }
    Item("CachedFilesControl.PL")->Run();
    EXPECT_FALSE(QFile::exists(Profile.File("2.mp3")));
}

TEST_F(MenuCommands, TheGlyphSuitsTheResolution) {
    for (const auto& [dpi, width] : {std::pair{96, 16}, {120, 16}, {144, 24}, {168, 24}, {192, 32}, {288, 32}}) {
        Item("RefreshFeeds")->DPI = dpi;
        Show();
        std::int32_t shown = 0, height = 0;
        Item("RefreshFeeds")->Object<IVEXAImage>(IVEXAMenuItem::Glyph)->GetSize(&shown, &height);
        EXPECT_EQ(shown, width) << dpi;
    }
    EXPECT_FALSE(Item("CreateSmartPlaylist")->Object<IVEXAImage>(IVEXAMenuItem::Glyph));
}

TEST_F(MenuCommands, DoNothingOnceThePluginHasEnded) {
    Library->Selected = Playlists->Active->Selected = {kURIs[0]};
    SelectNodes({u"04" + kFeedURL});
    const auto items = Menus->Items;  // a host that keeps them too long
    Host.UnloadPlugins();
    for (const auto& item : items) {
        item->Run(IVEXAMenuItem::OnShow);
        item->Run();
    }
    EXPECT_EQ(DB.GetEpisode(kURIs[0])->State, podcasts::pesNew);
}

}  // namespace
}  // namespace tests
