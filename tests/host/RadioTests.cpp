// The window over a storage that has nothing to do with podcasts.

#include "ClampedLabel.h"
#include "FirstStartPage.h"
#include "LoopbackServer.h"
#include "MainWindow.h"
#include "PlaybackFixture.h"
#include "Radio.h"
#include "ShownColumns.h"

#include <QLabel>
#include <QLineEdit>
#include <QTreeView>

using namespace vexa::host;
using tests::WaitUntil;

namespace {

class RadioWindow : public PlaybackTest {
protected:
    void Start(IVEXAMLDataField::Roles title) {
        Server.Serve("/harbour", tests::Response::Of(MakeTone(30), "audio/x-wav"));
        std::vector<tests::Station> stations{{"Quay", "Talk", Server.Url("/quay"), 64},
                                             {"Harbour", "Music", Server.Url("/harbour"), 128},
                                             {"Lighthouse", "Music", Server.Url("/lighthouse"), 192}};
        const Ref<tests::Radio> radio(new tests::Radio(std::move(stations), title));
        PlayerWindow.emplace(Host, *Player);
        PlayerWindow->show();
        ASSERT_EQ(Host.PluginCore().RegisterExtension(IVEXAServiceMusicLibrary::IID, radio->Identity()), S_OK);
        ASSERT_EQ(Host.PluginCore().RegisterExtension(IVEXAServiceFileInfo::IID, radio->Identity()), S_OK);
        ASSERT_TRUE(WaitUntil([&] { return Rows()->rowCount() == 3 && IsShown("Harbour"); }));
    }
    template <class Widget>
    Widget* Find(const char* name) {
        return PlayerWindow->findChild<Widget*>(QString::fromLatin1(name));
    }
    QTableView* View() { return Find<QTableView>("Rows"); }
    QAbstractItemModel* Rows() { return View()->model(); }
    bool IsShown(const QString& text) { return RowOf(text) >= 0; }
    int RowOf(const QString& text) {
        const QModelIndexList found = Rows()->match(Rows()->index(0, 0), Qt::DisplayRole, text);
        return found.isEmpty() ? -1 : found.first().row();
    }
    bool ShowsText(const QString& text) {
        for (const QLabel* label : PlayerWindow->findChildren<QLabel*>())
            if (label->isVisible() && label->text() == text) return true;
        for (const ClampedLabel* label : PlayerWindow->findChildren<ClampedLabel*>())
            if (label->isVisible() && label->Text() == text) return true;
        return false;
    }

    tests::LoopbackServer Server;
    std::optional<MainWindow> PlayerWindow;
};

}  // namespace

TEST_F(RadioWindow, ItsStationsAreListedNarrowedFoundAndPlayed) {
    Start(IVEXAMLDataField::Title);
    EXPECT_FALSE(PlayerWindow->findChild<FirstStartPage*>()->isVisible());
    PlayerWindow->resize(1200, 700);  // the number of entries has no room in a narrow window
    Find<QAction>("Compact")->trigger();
    EXPECT_EQ(ShownColumns(*View()), QStringList({"Station", "Genre", "Kilobits"}));
    EXPECT_EQ(View()->horizontalHeader()->sectionResizeMode(0), QHeaderView::Stretch) << "the title";
    // The texts about podcasts are not used for other storages.
    EXPECT_EQ(Find<QLineEdit>("Search")->placeholderText(), "Search in Stations");
    EXPECT_TRUE(ShowsText("Sources: 2")) << "a folder of sources is shown as a grid first";
    Find<QAction>("Grid")->trigger();
    EXPECT_TRUE(ShowsText("Entries: 3"));
    EXPECT_TRUE(ShowsText("Select an entry to read about it."));
    for (const char* name : {"Subscribe", "Import", "Export"})
        EXPECT_FALSE(Find<QAction>(name)->isEnabled()) << name << " is not offered by a radio";

    auto* tree = Find<QTreeView>("Tree");
    const QModelIndex stations = tree->model()->index(0, 0);
    ASSERT_EQ(tree->model()->rowCount(stations), 2);
    EXPECT_EQ(tree->model()->index(1, 0, stations).data().toString(), "Talk");
    tree->setCurrentIndex(tree->model()->index(0, 0, stations));
    EXPECT_TRUE(WaitUntil([&] { return Rows()->rowCount() == 2 && !IsShown("Quay"); }));
    Find<QLineEdit>("Search")->setText("Harb");
    ASSERT_TRUE(WaitUntil([&] { return Rows()->rowCount() == 1 && IsShown("Harbour"); }));

    View()->selectRow(0);
    EXPECT_TRUE(WaitUntil([&] { return ShowsText("Harbour"); })) << "in the details";
    Q_EMIT View()->doubleClicked(Rows()->index(0, 0));
    EXPECT_EQ(Host.Player().FileName(), Server.Url("/harbour"));
    EXPECT_TRUE(WaitFor(State::Playing)) << Errors.join('\n').toStdString();
    EXPECT_TRUE(WaitUntil([&] { return Player->Current().Title == "Harbour"; }));
}

TEST_F(RadioWindow, FieldsWithoutRolesArePlainColumns) {
    Start(IVEXAMLDataField::None);
    EXPECT_EQ(ShownColumns(*View()), QStringList({"Station", "Genre", "Kilobits"}));
    EXPECT_TRUE(View()->horizontalHeader()->stretchLastSection());
    View()->sortByColumn(0, Qt::AscendingOrder);
    EXPECT_TRUE(WaitUntil([&] { return RowOf("Harbour") == 0 && RowOf("Quay") == 2; }));
    Q_EMIT View()->doubleClicked(Rows()->index(0, 0));
    EXPECT_EQ(Host.Player().FileName(), Server.Url("/harbour"));
}
