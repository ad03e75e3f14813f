// The window over a storage that has nothing to do with podcasts.

#include "FirstStartPage.h"
#include "LoopbackServer.h"
#include "MainWindow.h"
#include "PlaybackFixture.h"
#include "Radio.h"
#include "Shown.h"

#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>
#include <QTreeView>

using namespace vexa::host;
using tests::WaitUntil;

namespace {

class RadioWindow : public PlaybackTest {
protected:
    void Start(IVEXAMLDataField::Roles title, bool offersSearch = false) {
        Server.Serve("/harbour", tests::Response::Of(MakeTone(30), "audio/x-wav"));
        std::vector<tests::Station> stations{{"Quay", "Talk", Server.Url("/quay"), 64},
                                             {"Harbour", "Music", Server.Url("/harbour"), 128},
                                             {"Lighthouse", "Music", Server.Url("/lighthouse"), 192}};
        Radio = Ref<tests::Radio>(new tests::Radio(std::move(stations), title));
        Radio->OffersSearch = offersSearch;
        PlayerWindow.emplace(Host, *Player);
        PlayerWindow->show();
        ASSERT_EQ(Host.PluginCore().RegisterExtension(IVEXAServiceMusicLibrary::IID, Radio->Identity()), S_OK);
        ASSERT_EQ(Host.PluginCore().RegisterExtension(IVEXAServiceFileInfo::IID, Radio->Identity()), S_OK);
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
    bool ShowsText(const QString& text) { return ShownTexts(*PlayerWindow).contains(text); }

    tests::LoopbackServer Server;
    Ref<tests::Radio> Radio;
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
    EXPECT_FALSE(Find<QAction>("FindNew")->isVisible()) << "this radio does not search";
    EXPECT_EQ(Find<QToolButton>("Add")->defaultAction(), Find<QAction>("Subscribe"));

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

TEST_F(RadioWindow, AStorageThatSearchesIsAskedByTheAddButton) {
    Start(IVEXAMLDataField::Title, true);
    auto* add = Find<QToolButton>("Add");
    add->click();
    EXPECT_EQ(Radio->Windows, QStringList(""));
    EXPECT_TRUE(add->actions().contains(Find<QAction>("Subscribe"))) << "in the button's menu";
}

TEST_F(HostTest, TheFirstPageTakesAddressesAndWords) {
    const Ref<tests::Radio> radio(new tests::Radio({}, IVEXAMLDataField::Title));
    radio->OffersSearch = true;
    Host.PluginCore().RegisterExtension(IVEXAServiceMusicLibrary::IID, radio->Identity());
    Subscriber subscriber(Host);
    FirstStartPage page(Host, subscriber);
    QString searched;
    QObject::connect(&page, &FirstStartPage::SearchWanted, [&](const QString& text) { searched = text; });
    auto* subscribe = page.findChild<QPushButton*>("Subscribe");
    auto* search = page.findChild<QPushButton*>("Search");
    EXPECT_TRUE(search->isVisibleTo(&page));
    const std::pair<const char*, const char*> cases[] = {
        {" ", "search"},
        {"https://h/f", "subscribe"},
        {"feed:h.org/f", "subscribe"},
        {"example.org/feed", "subscribe"},
        {"example.org:8080", "subscribe"},
        {"127.0.0.1", "subscribe"},
        {"/home/ada/my feeds.xml", "subscribe"},
        {"serial.com", "subscribe search"},
        {"AC/DC", "subscribe search"},
        {"serial", "search"},
        {"mr. robot.com", "search"},
    };
    for (const auto& [text, offered] : cases) {
        page.Address()->setText(text);
        QStringList enabled;
        if (subscribe->isEnabled()) enabled += "subscribe";
        if (search->isEnabled()) enabled += "search";
        EXPECT_EQ(enabled.join(u' '), offered) << '"' << text << '"';
        searched = "none";
        Q_EMIT page.Address()->returnPressed();
        const bool isForWords = enabled == QStringList("search") && page.Address()->text().trimmed() != "";
        EXPECT_EQ(searched, isForWords ? QString(text) : QString("none")) << '"' << text << '"';
    }
}
