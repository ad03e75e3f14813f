// The settings of a node: its storage's options, and how its files are played.

#include "MainWindow.h"
#include "NodeOptionsDialog.h"
#include "PlaybackFixture.h"
#include "Radio.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QSpinBox>

using namespace vexa::host;
using tests::WaitUntil;

namespace {

class NodeOptions : public PlaybackTest {
protected:
    void Register(const QStringList& files) {
        std::vector<tests::Station> stations;
        for (const QString& file : files) stations.push_back({"Name", "Music", file, 64});
        Storage = Ref<tests::Radio>(new tests::Radio(std::move(stations), IVEXAMLDataField::Title));
        ASSERT_EQ(Host.PluginCore().RegisterExtension(IVEXAServiceMusicLibrary::IID, Storage->Identity()), S_OK);
        ASSERT_EQ(Host.PluginCore().RegisterExtension(IVEXAServiceFileInfo::IID, Storage->Identity()), S_OK);
    }
    /// Plays the file to its end: where it began, and where it ended.
    std::pair<double, double> Hear(const QString& file) {
        double first = -1, last = 0;
        QObject context;
        QObject::connect(&*Player, &Playback::PositionChanged, &context, [&](double seconds) {
            if (first < 0 && Player->IsPlaying()) first = seconds;
            last = seconds;
        });
        Heard.clear();
        Player->Play(file);
        EXPECT_TRUE(WaitUntil([&] { return Heard.contains(file); }, std::chrono::seconds(20)));
        return {first, last};
    }

    const NodeName Music{u"Tests.Radio"_s, u"Branch"_s, u"Music"_s};
    Ref<tests::Radio> Storage;
};

TEST_F(NodeOptions, BothEndsOfItsFilesAreSkippedIfThereIsSomethingBetweenThem) {
    const QString file = Tone("long.wav", 5), brief = Tone("brief.wav", 1.5), other = Tone("other.wav", 1);
    Register({file, brief});
    Player->Nodes().Set(Music, {1, 2, 1, 1});
    auto [begin, end] = Hear(file);
    EXPECT_GE(begin, 2);
    EXPECT_GE(end, 4);
    EXPECT_LT(end, 4.9);
    EXPECT_EQ(Player->SavedPositions().Find(file), nullptr) << "it counts as heard";
    std::tie(begin, end) = Hear(brief);
    EXPECT_GE(end, 1.2) << "a short file is heard whole";
    EXPECT_LT(Hear(other).first, 1) << "a file of no node";
    // Where a file was left takes precedence, unless that is in the part that is skipped.
    for (const auto& [left, expected] : {std::pair(3.0, 3.0), {1.0, 2.0}}) {
        ASSERT_TRUE(Plays(file));
        ASSERT_TRUE(SeeksTo(left));
        Player->Stop();
        Player->Play(file);
        EXPECT_NEAR(Player->Position(), expected, 0.7) << left;
        Player->Stop();
    }
    // A jump into the part at the end is a wish to hear it.
    ASSERT_TRUE(Plays(file));
    Player->Seek(4.2);
    EXPECT_GE(Hear(file).second, 4.5);
}

TEST_F(NodeOptions, ASpeedKeptByAlbumBecomesTheNodesOnce) {
    Player.reset();
    WriteWhole(Profile.File("Positions.json"), R"({"begun": [], "speeds": {"Music": 1.5, "Other": 2}})");
    Open();
    const QString file = Tone("a.wav", 30);
    Register({file});
    ASSERT_TRUE(Plays(file));
    ASSERT_TRUE(WaitUntil([&] { return Player->Speed() == 1.5; }));
    EXPECT_EQ(Player->Nodes().Get(Music).Speed, 1.5);
    EXPECT_EQ(Player->SavedPositions().Speed("Music"), 1);
    EXPECT_EQ(Player->SavedPositions().Speed("Other"), 2);
    Player->SetSpeed(1);
    Player->Nodes().Set(Music, {1.2, 0, 0, 1});
    EXPECT_EQ(Player->Speed(), 1.2) << "a change takes effect on what plays";
    Open();
    EXPECT_EQ(Player->Nodes().Get(Music).Speed, 1.2) << "kept for the next start";
}

TEST_F(NodeOptions, SettingsFollowANodeWhosePairChanges) {
    Register({});
    Player->Nodes().Set({Music.StorageID, Music.Field, "Tunes"}, {2, 0, 0, 1});
    Storage->Manager->Changed();
    EXPECT_TRUE(WaitUntil([&] { return Player->Nodes().Get(Music).Speed == 2; }));
    Storage->Genre = "Proof";
    Storage->FormerGenre = "Music";
    Open();  // the node has moved while the program did not run
    Storage->Manager->Changed();
    EXPECT_TRUE(WaitUntil([&] { return Player->Nodes().Get({Music.StorageID, "Branch", "Proof"}).Speed == 2; }));
    EXPECT_EQ(Player->Nodes().Get(Music), ListeningSettings());
}

TEST_F(NodeOptions, FilesThatPlayFollowOrWereBegunAreInUse) {
    const QString begun = Tone("begun.wav", 30), plays = Tone("plays.wav", 30);
    const auto used = [&] {
        const Ref<IVEXAObjectList> names(new ObjectList);
        return Host.Messages().Send(kMsgGetFilesInUse, 0, names.Get()) == S_OK ? ToQStringList(names.Get()).join('|')
                                                                               : u"unknown"_s;
    };
    EXPECT_EQ(used(), "");
    ASSERT_TRUE(Plays(begun) && SeeksTo(3));
    ASSERT_TRUE(Plays(plays));
    Player->PlayLast({"next"});
    EXPECT_EQ(used(), QStringList({"next", plays, plays, begun}).join('|'));
    Player.reset();
    EXPECT_EQ(used(), "unknown");
}

TEST_F(NodeOptions, TheDialogShowsWhatTheStorageOffersAndStoresWhatWasChanged) {
    Register({});
    EXPECT_FALSE(NodeOptionsDialog::Has(Host.Library(), {Music.StorageID, "Branch", "Other"}));
    ASSERT_TRUE(NodeOptionsDialog::Has(Host.Library(), Music));
    NodeOptionsDialog dialog(Host.Library(), Player->Nodes(), Host.Language(), Music, "Music", nullptr);
    const auto choices = dialog.findChildren<QComboBox*>();
    const auto numbers = dialog.findChildren<QSpinBox*>();
    ASSERT_EQ(choices.size(), 1);
    ASSERT_EQ(numbers.size(), 4);
    EXPECT_EQ(choices[0]->itemText(0), "as usual (B)");
    EXPECT_EQ(choices[0]->currentText(), "B");
    for (const auto* number : numbers) EXPECT_NE(number->accessibleName(), "");
    choices[0]->setCurrentIndex(1);
    numbers[1]->setValue(30);
    numbers[3]->setValue(150);
    dialog.findChild<QDoubleSpinBox*>()->setValue(1.3);
    Storage->FormerGenre = "Music";
    Storage->Genre = "Proof";  // moved while the dialog is open
    dialog.accept();
    EXPECT_EQ(Storage->Set, QStringList("Branch Proof choice=1")) << "only what was changed";
    EXPECT_EQ(Player->Nodes().Get({Music.StorageID, "Branch", "Proof"}), (ListeningSettings{1.3, 30, 0, 1.5}));
}

}  // namespace
