// Everything that the player stores by address follows moved addresses.

#include "EpisodeStorage.h"
#include "LibraryController.h"
#include "ListeningModel.h"
#include "MovingFiles.h"

#include <QScrollBar>
#include <QTableView>

using namespace vexa::host;
using tests::WaitUntil;

namespace {

class MovedAddresses : public HostTest {
protected:
    MovedAddresses() {
        Storage->OffersFiles = Storage->OffersSubscriptions = true;
        Register(Host);
    }
    void Register(host::Host& host) {
        EXPECT_EQ(host.PluginCore().RegisterExtension(IVEXAServiceMusicLibrary::IID, Storage->Identity()), S_OK);
        EXPECT_EQ(host.PluginCore().RegisterExtension(IVEXAServiceFileSystem::IID, Moving->Identity()), S_OK);
        host.Addresses().Start();
    }
    bool Settle() {
        return WaitUntil([&] { return !Host.Addresses().IsBusy(); });
    }
    bool Change() {
        Storage->Manager->Changed();
        return Settle();
    }

    Ref<tests::EpisodeStorage> Storage{new tests::EpisodeStorage};
    Ref<tests::MovingFiles> Moving{new tests::MovingFiles};
    const Ref<Playlist> List = Host.Playlists().Create("P", true);
};

}  // namespace

TEST_F(MovedAddresses, EntriesOfPlaylistsFollow) {
    List->Add({"episode://a", "/music/b.mp3", "episode://c", "episode://gone", "episode://d", "episode://d"});
    EXPECT_EQ(Host.Player().Play(MakeString("episode://playing").Get(), nullptr), S_OK);
    ASSERT_TRUE(Settle());
    List->Select({2, 4});
    List->FocusEntry(2);
    Moving->Move("episode://a", "episode://a2");
    Moving->Move("episode://c", "episode://a2");  // two entries have become the same episode
    Moving->Move("episode://playing", "episode://moved");
    ASSERT_TRUE(Change());
    Ref<IVEXAFileInfo> playing;
    EXPECT_EQ(Host.Player().GetInfo(playing.Put()), S_OK);
    EXPECT_EQ(TextOf(playing.Get(), IVEXAFileInfo::FileName), "episode://moved");
    // A file that was in the list twice is still there twice.
    EXPECT_EQ(Files(*List),
              QStringList({"episode://a2", "/music/b.mp3", "episode://gone", "episode://d", "episode://d"}));
    EXPECT_EQ(List->FocusedEntry(), 0);
    EXPECT_TRUE(List->Entries()[0].IsSelected && List->Entries()[3].IsSelected && !List->Entries()[4].IsSelected);
    EXPECT_NO_THROW(Host.UnloadPlugins());
    EXPECT_TRUE(ReadWhole(Profile.File("Playlists.json")).contains("episode://a2"));

    // Moves that happened while the program was not running are followed at its next start.
    Moving->Move("episode://d", "episode://d2");
    host::Host next(Options(Profile));
    const Ref<Playlist> again = next.Playlists().Find("P");
    ASSERT_TRUE(again);
    Register(next);
    ASSERT_TRUE(WaitUntil([&] { return !next.Playlists().IsBusy(*again); }));
    EXPECT_EQ(Files(*again),
              QStringList({"episode://a2", "/music/b.mp3", "episode://gone", "episode://d2", "episode://d2"}));
    EXPECT_EQ(Moving->AskedSince, 3) << "the count up to which moves were followed";
}

TEST_F(MovedAddresses, WhatIsGoneLeavesListsAndQueueAndItsPositionIsKept) {
    const QStringList all{"episode://a", "episode://b", "/music/c.mp3"};
    List->Add(all + all);
    {
        Positions earlier(Profile.Path());
        earlier.Leave("episode://begun", 30, 100);  // neither in the list nor in the queue
        earlier.Leave("episode://b", 20, 100);
        earlier.Leave("episode://a", 10, 100);
        earlier.Save();
    }
    Playback player(Host, QStringLiteral("fakesink"));
    player.SetUpNext(all + all);
    ListeningModel model(Host, player);
    const auto offered = [&] {
        QStringList files;
        for (int i = 0; i < model.rowCount(); ++i)
            if (const auto* entry = model.At(model.index(i)); entry && entry->Section == ListeningModel::Part::Begun)
                files += entry->Address;
        return files;
    };
    ASSERT_TRUE(Settle());
    EXPECT_EQ(offered(), QStringList({"episode://a", "episode://b", "episode://begun"}));
    Moving->Fails = true;
    for (const char* gone : {"episode://a", "episode://begun"}) Moving->Remove(gone);
    ASSERT_TRUE(Change());
    EXPECT_EQ(Files(*List), all + all) << "nothing is known of it while nobody answers";
    Moving->Fails = false;
    ASSERT_TRUE(Change());
    const QStringList left{"episode://b", "/music/c.mp3", "episode://b", "/music/c.mp3"};
    EXPECT_EQ(Files(*List), left);
    EXPECT_EQ(player.UpNext(), left);
    EXPECT_EQ(offered(), QStringList("episode://b"));
    EXPECT_EQ(player.SavedPositions().LastHeard()->Address, "episode://b");
    Moving->Restore("episode://a");  // subscribed again
    ASSERT_TRUE(Change());
    EXPECT_EQ(offered(), all.first(2));
    EXPECT_EQ(player.SavedPositions().Find("episode://a")->Position, 10);
    EXPECT_EQ(Files(*List), all + all) << "each is at its place again";
    EXPECT_EQ(player.UpNext(), all + all);
    Moving->Remove("episode://a");
    ASSERT_TRUE(Change());
    player.SetUpNext({});
    Moving->Restore("episode://a");
    ASSERT_TRUE(Change());
    EXPECT_EQ(player.UpNext(), QStringList()) << "the user has cleared it";
}

TEST_F(MovedAddresses, APositionComesBackWhenItsFileIsNotHeardAfterAll) {
    const QStringList all{"episode://a", "episode://b", "episode://c"};
    Playback player(Host, QStringLiteral("fakesink"));
    auto& positions = const_cast<Positions&>(player.SavedPositions());
    for (const QString& address : all) positions.Leave(address, 10 + positions.Begun().size(), 100);
    const auto begun = [&] {
        QStringList texts;
        for (const HeardFile& file : positions.Begun()) texts += file.Address.last(1) + QString::number(file.Position);
        return texts.join(u' ');
    };
    ASSERT_EQ(begun(), "c12 b11 a10");
    Host.Messages().Send(kMsgFilesHeard, 0, MakeStringList({all[1], all[2]}).Get());
    EXPECT_EQ(begun(), "a10");
    positions.Leave("episode://d", 5, 100);
    positions.Leave(all[2], 7, 100);
    Host.Messages().Send(kMsgFilesUnheard, 0, MakeStringList(all).Get());
    EXPECT_EQ(begun(), "c7 d5 b11 a10") << "in its old order, and no position that is newer is replaced";
    player.Save();
    EXPECT_EQ(Positions(Profile.Path()).Find(all[1])->Position, 11);
}

TEST_F(MovedAddresses, AreAskedForOnlyWhenSomethingMoved) {
    List->Add({"episode://a", "episode://a", "/music/b.mp3"});
    ASSERT_TRUE(Settle());
    EXPECT_EQ(Moving->TakeAsked(), QStringList("episode://a")) << "at the start each address of this scheme, once";
    EXPECT_EQ(Moving->AskedSince, -1) << "the address is from an unknown time";
    ASSERT_TRUE(Change());
    EXPECT_EQ(Moving->TakeAsked(), QStringList());
    // After a failure the addresses are asked about again with the next change.
    Moving->Move("episode://a", "episode://b");
    Moving->Fails = true;
    ASSERT_TRUE(Change());
    Moving->Fails = false;
    ASSERT_TRUE(Change());
    EXPECT_EQ(Moving->TakeAsked(), QStringList({"episode://a", "episode://a"}));
    EXPECT_EQ(Files(*List), QStringList({"episode://b", "episode://b", "/music/b.mp3"}));
    // While plug-ins are being unloaded they are not asked.
    bool isAnswered = false, isDropped = true;
    Host.Addresses().Ask({"episode://b"}, [&](const AddressMoves&) { isDropped = false; });
    Host.Addresses().Stop();
    Moving->TakeAsked();  // what was asked for the first request before it was dropped
    Moving->Move("episode://b", "episode://c");
    Host.Addresses().Ask({"episode://b"}, [&](const AddressMoves& moves) { isAnswered = moves.isEmpty(); });
    Storage->Manager->Changed();
    ASSERT_TRUE(WaitUntil([&] { return isAnswered && !Host.Addresses().IsBusy(); }));
    EXPECT_EQ(Moving->TakeAsked(), QStringList());
    EXPECT_TRUE(isDropped) << "a request from before was answered";
}

TEST_F(MovedAddresses, ASmartPlaylistKeepsItsSelection) {
    const Ref<IVEXAPlaylistPreimage> all = MakePreimage({"Tests.Episodes", {}});
    List->SetValueAsObject(IVEXAPlaylist::Preimage, all.Get());
    ASSERT_TRUE(WaitUntil([&] { return !Host.Playlists().IsBusy(*List) && List->Count() == 4; }));
    List->Select({1, 3});
    List->FocusEntry(3);
    ASSERT_EQ(Files(*List), QStringList({"episode://e1", "episode://e3", "episode://e4", "episode://e2"}));
    Storage->Rows[2].ID = "moved";
    Storage->Rows[1].ID = "gone";
    // Without counting, the new rows arrive before the playlist is told about the move.
    Moving->Move("episode://e3", "episode://moved", false);
    Storage->Manager->Changed();
    ASSERT_TRUE(WaitUntil([&] { return !Host.Playlists().IsBusy(*List); }));
    EXPECT_EQ(List->Entries()[1].File, "episode://moved");
    EXPECT_TRUE(List->Entries()[1].IsSelected);
    EXPECT_FALSE(List->Entries()[3].IsSelected);
    EXPECT_EQ(List->FocusedEntry(), -1);
}

TEST_F(MovedAddresses, TheTableKeepsItsPlaceWhetherRowsOrMovesComeFirst) {
    Storage->Rows.clear();
    for (int i = 0; i < 300; ++i) Storage->Rows.push_back({"e" + QString::number(i), "T", "A", 1, 60});
    // Without counting, the new rows arrive before the table is told about the moves.
    for (const QString& name : {u"counted"_s, u"uncounted"_s}) {
        SCOPED_TRACE(name.toStdString());
        TreePane tree(Host.Language());
        TablePane table(Host.Language());
        table.resize(600, 400);
        table.show();
        NodePage page(Host.Language());
        CoverGrid grid;
        LibraryController library(Host, tree, table, page, grid);
        ASSERT_TRUE(WaitUntil([&] { return table.Model().rowCount() == int(Storage->Rows.size()); }));
        table.View()->selectRow(50);
        table.View()->selectionModel()->select(QItemSelection(table.Model().index(48, 0), table.Model().index(52, 0)),
                                               QItemSelectionModel::Select | QItemSelectionModel::Rows);
        QScrollBar* bar = table.View()->verticalScrollBar();
        ASSERT_TRUE(WaitUntil([&] { return bar->maximum() > 45 * table.View()->rowHeight(0); }));
        bar->setValue(45 * table.View()->rowHeight(0));
        ASSERT_EQ(table.View()->rowAt(0), 45);

        for (std::size_t i = 40; i < 60; ++i) {
            QString& id = Storage->Rows[i].ID;
            const QString present = name + QString::number(i);
            Moving->Move("episode://" + id, "episode://" + present, name == "counted");
            id = present;
        }
        Storage->Rows.insert(Storage->Rows.begin(), 3, {name, "New", "A", 1, 1});
        Storage->Manager->Changed();
        ASSERT_TRUE(WaitUntil([&] { return table.Model().rowCount() == int(Storage->Rows.size()); }));
        QStringList selected;
        for (int i = 48; i <= 52; ++i) selected += "episode://" + name + QString::number(i);
        // The table first asks about the rows that it misses, so its selection is right only after a while.
        WaitUntil([&] { return table.SelectedFiles() == selected && table.View()->rowAt(0) == 48; });
        EXPECT_EQ(table.CurrentFile(), "episode://" + name + "50");
        EXPECT_EQ(table.SelectedFiles(), selected);
        EXPECT_EQ(table.View()->rowAt(0), 48);
        ASSERT_TRUE(Settle());
    }
}
