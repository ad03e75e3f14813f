// Playlists, including smart ones.

#include "EpisodeStorage.h"
#include "Radio.h"

using namespace vexa::host;
using tests::EpisodeStorage;

namespace {

class Playlists : public HostTest {
protected:
    Playlists() { Storage->OffersFiles = true; }

    void Register(host::Host& host) {
        ASSERT_EQ(host.PluginCore().RegisterExtension(IVEXAServiceMusicLibrary::IID, Storage->Identity()), S_OK);
    }
    static void Wait(host::Host& host, const Playlist& playlist) {
        ASSERT_TRUE(tests::WaitUntil([&] { return !host.Playlists().IsBusy(playlist); }));
    }
    /// Makes a smart playlist of the episodes in that state, as a plug-in does.
    Ref<Playlist> MakeSmart(const PropertyValue& state) {
        const auto service = Query<IVEXAServicePlaylistManager2>(&Host.PluginCore());
        Ref<IVEXAPlaylistPreimageFactory> factory;
        Ref<IVEXAPlaylistPreimage> preimage;
        Ref<IVEXAMLDataFilter> filter;
        Ref<IVEXAPlaylist> playlist;
        EXPECT_EQ(service->GetPreimageFactoryByID(MakeString("nobody").Get(), factory.Put()), E_FAIL);
        EXPECT_EQ(service->GetPreimageFactoryByID(MakeString("Tests.Episodes").Get(), factory.Put()), S_OK);
        EXPECT_EQ(factory->CreatePreimage(preimage.Put()), S_OK);
        const auto library = Query<IVEXAMLPlaylistPreimage>(preimage.Get());
        EXPECT_EQ(library->GetFilter(filter.Put()), S_OK);
        const Variant value = ToVariant(state);
        filter->Add(MakeString("State").Get(), &value, nullptr, IVEXAMLFieldFilter::Equals, nullptr);
        EXPECT_EQ(service->CreatePlaylist(nullptr, kTrue, playlist.Put()), S_OK);
        EXPECT_EQ(Host.Playlists().Active()->Name(), "Playlist 1");
        EXPECT_EQ(Query<IVEXAPropertyList>(playlist.Get())->SetValueAsObject(IVEXAPlaylist::Preimage, library.Get()),
                  S_OK);
        return Host.Playlists().Active();
    }

    Ref<EpisodeStorage> Storage{new EpisodeStorage};
};

}  // namespace

TEST_F(Playlists, APlaylistReportsSelectionAndFocus) {
    const Ref<Playlist> playlist = Host.Playlists().Create("P", true);
    EXPECT_EQ(playlist->AddFiles(MakeStringList({"a", "b", "c", "d"}).Get(), -1), S_OK);
    EXPECT_EQ(playlist->AddFiles(MakeStringList({"0"}).Get(), 0), S_OK);
    EXPECT_EQ(playlist->AddFiles(MakeStringList({"z"}).Get(), 6), E_INVALIDARG);
    playlist->Describe({{"b", {"B", "album"}}, {"c", {"C", "album"}}});
    playlist->Select({2, 3, 99});
    Ref<IVEXAPlaylistItem> item;
    EXPECT_EQ(playlist->GetValueAsObject(IVEXAPlaylist::FocusObject, IVEXAPlaylistItem::IID, item.PutVoid()), E_FAIL);
    EXPECT_EQ(playlist->SetValueAsInt32(IVEXAPlaylist::FocusIndex, 3), S_OK);
    EXPECT_EQ(playlist->SetValueAsInt32(IVEXAPlaylist::FocusIndex, 5), E_INVALIDARG);
    Ref<IVEXAObjectList> files;
    const QStringList expected[] = {{"0", "a", "b", "c", "d"}, {"b", "c"}, {"c"}};
    for (std::uint32_t flags = 0; flags < 3; ++flags) {
        EXPECT_EQ(playlist->GetFiles(flags, files.Put()), S_OK);
        EXPECT_EQ(ToQStringList(files.Get()), expected[flags]);
    }
    ASSERT_EQ(playlist->GetValueAsObject(IVEXAPlaylist::FocusObject, IVEXAPlaylistItem::IID, item.PutVoid()), S_OK);
    EXPECT_EQ(NumberOf(item.Get(), IVEXAPlaylistItem::Selected), 1);
    EXPECT_EQ(TextOf(item.Get(), IVEXAPlaylistItem::DisplayText), "C");
    item->SetValueAsInt32(IVEXAPlaylistItem::Selected, 0);
    EXPECT_FALSE(playlist->Entries()[3].IsSelected);

    playlist->FocusSectionOf(3);
    EXPECT_EQ(playlist->GetValueAsObject(IVEXAPlaylist::FocusObject, IVEXAPlaylistItem::IID, item.PutVoid()),
              E_NOINTERFACE);
    Ref<IVEXAPlaylistGroup> group;
    ASSERT_EQ(playlist->GetValueAsObject(IVEXAPlaylist::FocusObject, IVEXAPlaylistGroup::IID, group.PutVoid()), S_OK);
    EXPECT_EQ(group->GetItemCount(), 2);
    EXPECT_EQ(group->GetItem(2, IVEXAPlaylistItem::IID, item.PutVoid()), E_INVALIDARG);
    ASSERT_EQ(group->GetItem(0, IVEXAPlaylistItem::IID, item.PutVoid()), S_OK);
    EXPECT_EQ(TextOf(item.Get(), IVEXAPlaylistItem::FileName), "b");
    EXPECT_EQ(playlist->Sections().size(), 3u);
    playlist->Remove({0, 1, 2});
    EXPECT_EQ(Files(*playlist), QStringList({"c", "d"}));
}

TEST_F(Playlists, ASmartPlaylistFollowsItsFilter) {
    Register(Host);
    const Ref<Playlist> playlist = MakeSmart(1);
    EXPECT_EQ(playlist->Name(), "new");  // the state as users see it
    EXPECT_EQ(playlist->AddFiles(MakeStringList({"x"}).Get(), -1), E_FAIL);
    Ref<IVEXAPlaylistPreimage> preimage;
    EXPECT_EQ(playlist->GetValueAsObject(IVEXAPlaylist::Preimage, IVEXAPlaylistPreimage::IID, preimage.PutVoid()),
              S_OK);
    Wait(Host, *playlist);
    EXPECT_EQ(Files(*playlist), QStringList({"episode://e1", "episode://e2"}));
    EXPECT_EQ(playlist->Sections()[1].Caption, "B");
    EXPECT_EQ(playlist->Entries()[1].Shown(), "Bell");
    playlist->Select({1});
    playlist->FocusEntry(1);

    Storage->Hold();
    Storage->Manager->Changed();
    Storage->WaitUntilAsked(2);
    for (int i = 0; i < 5; ++i) Storage->Manager->Changed();  // all of these together cause one more reading
    Storage->Rows[0].State = 0;
    Storage->Rows[3].State = 1;
    Storage->LetThrough();
    Wait(Host, *playlist);
    EXPECT_EQ(Files(*playlist), QStringList({"episode://e4", "episode://e2"}));
    EXPECT_EQ(Storage->Asked().size(), 3);
    EXPECT_TRUE(playlist->Entries()[1].IsSelected);
    EXPECT_EQ(playlist->FocusedEntry(), 1);
    EXPECT_EQ(MakeSmart(1)->Name(), "new (2)");
    const Ref<Playlist> longNamed = MakeSmart(QString(101, u'x'));
    EXPECT_EQ(longNamed->Name(), QString(99, u'x') + u"…");
    Wait(Host, *longNamed);
    Host.Playlists().Remove(*longNamed);

    Storage->Hold();
    Storage->Manager->Changed();
    Storage->WaitUntilAsked(4);
    Storage->LetThrough();
    Host.UnloadPlugins();  // waits for the call of the storage, and does not call it again
    const auto asked = Storage->Asked().size();
    host::Host next(Options(Profile));
    ASSERT_EQ(next.Playlists().All().size(), 2u);
    const Ref<Playlist> restored = next.Playlists().All()[0];
    EXPECT_TRUE(restored->IsSmart() && restored->Name() == "new" && restored->Count() == 0);
    EXPECT_EQ(Storage->Asked().size(), asked);
    Register(next);
    Wait(next, *restored);
    EXPECT_EQ(Files(*restored), QStringList({"episode://e4", "episode://e2"}));
    next.Playlists().Remove(*restored);
    Storage->Manager->Changed();
    EXPECT_EQ(next.Playlists().All().size(), 1u);
}

TEST_F(Playlists, FilesAreKeptBetweenRuns) {
    const Ref<tests::Radio> knowing(new tests::Radio({{"title", "A", "podcast://known", 64}}, IVEXAMLDataField::Title));
    Host.PluginCore().RegisterExtension(IVEXAServiceFileInfo::IID, knowing->Identity());
    const Ref<Playlist> one = Host.Playlists().Create("One \"1\"", false);
    one->Add({"podcast://known", "gone"});
    Host.Playlists().Create("", true)->Add({"x"});
    one->FocusEntry(1);
    Wait(Host, *one);
    EXPECT_EQ(one->Entries()[0].Group, "A");
    EXPECT_NO_THROW(Host.UnloadPlugins());

    host::Host next(Options(Profile));
    ASSERT_EQ(next.Playlists().All().size(), 2u);
    const Ref<Playlist> again = next.Playlists().Find("One \"1\"");
    ASSERT_TRUE(again);
    EXPECT_EQ(Files(*again), QStringList({"podcast://known", "gone"}));
    EXPECT_EQ(again->Entries()[0].Shown(), "title");
    EXPECT_EQ(again->FocusedEntry(), 1);
    EXPECT_EQ(next.Playlists().Active()->Name(), "Playlist 1");
    EXPECT_EQ(next.Playlists().Create("", false)->Name(), "Playlist 2");
    next.Playlists().Remove(*next.Playlists().Active());
    EXPECT_EQ(next.Playlists().Active()->Name(), "Playlist 2");
}

TEST_F(Playlists, ADamagedFileIsRenamed) {
    const QString file = Profile.File("Playlists.json");
    int number = 1;
    for (const QByteArray bytes : {"", "{\"playlists\":[", "[]", "{\"playlists\":{}}", "\xff\xfe"}) {
        SCOPED_TRACE(bytes.toStdString());
        WriteWhole(file, bytes);
        host::Host next(Options(Profile));
        EXPECT_TRUE(next.Playlists().All().empty());
        EXPECT_EQ(ReadWhole(file + ".damaged" + (number == 1 ? u""_s : QString::number(number))), bytes);
        ++number;
        next.Playlists().Create("P", false);
        EXPECT_NO_THROW(next.UnloadPlugins());
        EXPECT_TRUE(ReadWhole(file).contains("\"P\""));
    }
    WriteWhole(file, R"({"playlists":[{"name":"Odd","entries":[{"file":""},7,{"file":"a"}]},7,{}]})");
    host::Host next(Options(Profile));
    ASSERT_EQ(next.Playlists().All().size(), 1u);  // the valid entries are read
    EXPECT_EQ(Files(*next.Playlists().All()[0]), QStringList{"a"});
}
