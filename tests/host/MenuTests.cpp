// Menus, filled as by a plug-in, and shown as by a window.

#include "HostFixture.h"
#include "Images.h"
#include "MenuBuilder.h"

using namespace vexa::host;

namespace {

class Menus : public HostTest {
protected:
    using Item = Ref<IVEXAMenuItem>;

    Item MenuOf(std::int32_t number) {
        Item menu;
        EXPECT_EQ(Service()->GetBuiltIn(number, menu.Put()), S_OK);
        return menu;
    }
    Ref<IVEXAServiceMenuManager> Service() { return Query<IVEXAServiceMenuManager>(&Host.PluginCore()); }

    /// Makes an item as a plug-in does, without registering it.
    Item Make(const QString& id, const Item& parent) {
        Item item;
        EXPECT_EQ(Host.PluginCore().CreateObject(IVEXAMenuItem::IID, item.PutVoid()), S_OK);
        if (!id.isEmpty()) item->SetValueAsObject(IVEXAMenuItem::ID, MakeString(id).Get());
        item->SetValueAsObject(IVEXAMenuItem::Parent, parent.Get());
        return item;
    }
    HResult Register(const Item& item) {
        return Host.PluginCore().RegisterExtension(IVEXAServiceMenuManager::IID, item.Get());
    }
    Item Add(const QString& id, const Item& parent, std::function<void()> act = {}) {
        const Item item = Make(id, parent);
        if (act) On(item, IVEXAMenuItem::Event, std::move(act));
        EXPECT_EQ(Register(item), S_OK);
        return item;
    }
    static void On(const Item& item, IVEXAMenuItem::Property property, std::function<void()> act) {
        item->SetValueAsObject(property, Ref<Event>(new Event(std::move(act))).Get());
    }
    static void SetCaption(const Item& item, const QString& caption) {
        item->SetValueAsObject(IVEXAMenuItem::Caption, MakeString(caption).Get());
    }

    QStringList Done;
};

}  // namespace

TEST_F(Menus, ItemsAppearWhereTheyWereRegistered) {
    const Item tree = MenuOf(80);
    Item item;
    EXPECT_EQ(Service()->GetBuiltIn(33, item.Put()), E_INVALIDARG);
    EXPECT_EQ(Service()->GetByID(MakeString("A").Get(), item.Put()), E_FAIL);
    const Item a = Add("A", tree);
    const Item b = Add("B", a);
    const Item c = Add("VEXA.Podcasts.Actions.Subscribe", tree);
    EXPECT_EQ(Register(a), E_INVALIDARG);
    EXPECT_EQ(Register(Make("B", tree)), E_INVALIDARG);
    EXPECT_EQ(Service()->GetByID(MakeString("B").Get(), item.Put()), S_OK);
    EXPECT_EQ(item, b);
    EXPECT_EQ(Host.Menus().Children(*tree), (std::vector<Item>{a, c}));
    EXPECT_EQ(Host.Menus().Children(*a), std::vector<Item>{b});
    EXPECT_TRUE(Host.Menus().Children(*MenuOf(71)).empty());

    EXPECT_EQ(Host.Menus().Caption(*c), "Subscribe…");
    Host.Language().Switch("German");
    EXPECT_EQ(Host.Menus().Caption(*c), "Abonnieren…");
    SetCaption(c, "Own");
    EXPECT_EQ(Host.Menus().Caption(*c), "Own");
    EXPECT_EQ(Host.Menus().Caption(*a), "");

    On(a, IVEXAMenuItem::Event, [this] { Done += "a"; });
    Host.UnloadPlugins();
    EXPECT_TRUE(Host.Menus().Children(*tree).empty());
    EXPECT_EQ(Host.Menus().Trigger(*a), E_NOTIMPL);  // after unloading nothing of the plug-in may run
    EXPECT_EQ(a->DeleteChildren(), S_OK);
}

TEST_F(Menus, OnShowReachesHiddenItemsSubmenusAndCircles) {
    const Item menu = MenuOf(71);
    const Item hidden = Add("hidden", menu), inner = Add("inner", Add("outer", menu)), other = Add("other", MenuOf(51));
    hidden->SetValueAsInt32(IVEXAMenuItem::Visible, 0);
    for (const auto& [item, name] : {std::pair(hidden, u"hidden"_s), {inner, u"inner"_s}, {other, u"other"_s}})
        On(item, IVEXAMenuItem::OnShow, [this, text = name] { Done += text; });
    Host.Menus().PrepareToShow(*menu, 144);
    EXPECT_EQ(Done, QStringList({"hidden", "inner"}));
    EXPECT_EQ(Query<IVEXADPIAware>(other.Get())->GetDPI(), 144);  // an event of another menu may set its glyph

    const Item one = Add("one", nullptr), two = Add("two", one);
    one->SetValueAsObject(IVEXAMenuItem::Parent, two.Get());
    EXPECT_EQ(Host.Menus().Run(*one), E_NOTIMPL);
    one->DeleteChildren();
    EXPECT_FALSE(Host.Menus().Find("two"));
    two->SetValueAsObject(IVEXAMenuItem::Parent, nullptr);
}

TEST_F(Menus, AShortcutActsOnThePresentSelection) {
    const Item menu = MenuOf(71);
    QString selected, collected;
    const Item mark = Add("mark", menu, [&] { Done += collected; });
    mark->SetValueAsObject(IVEXAMenuItem::Shortcut, MakeString("F5; Ctrl+R").Get());
    const Item controller = Add("controller", menu);
    On(controller, IVEXAMenuItem::OnShow, [&] {
        collected = selected;
        mark->SetValueAsInt32(IVEXAMenuItem::Enabled, collected != "refused");
        mark->SetValueAsInt32(IVEXAMenuItem::Visible, !collected.isEmpty());
    });
    const QKeySequence keys(Qt::CTRL | Qt::Key_R);
    for (const auto& [now, runs] : {std::pair("a", true), {"", false}, {"refused", false}, {"b", true}}) {
        selected = now;
        EXPECT_EQ(Host.Menus().RunShortcut(keys), runs) << now;
    }
    EXPECT_EQ(Done, QStringList({"a", "b"}));
    EXPECT_FALSE(Host.Menus().RunShortcut(keys, kMenuLibraryTable)) << "it is of the menu left out";
    EXPECT_TRUE(Host.Menus().RunShortcut(keys, kMenuLibraryTree));
    EXPECT_TRUE(Host.Menus().RunShortcut(QKeySequence(Qt::Key_F5)));
    EXPECT_FALSE(Host.Menus().RunShortcut(QKeySequence(Qt::Key_R)));
    EXPECT_FALSE(Host.Menus().RunShortcut({}));

    // Items in no menu, which share a controller: only the first has its event.
    const Item first = Add("first", {}), second = Add("second", {}, [&] { Done = {collected}; });
    On(first, IVEXAMenuItem::OnShow, [&] { collected = "prepared"; });
    second->SetValueAsObject(IVEXAMenuItem::Shortcut, MakeString("L").Get());
    EXPECT_TRUE(Host.Menus().RunShortcut(QKeySequence(Qt::Key_L)));
    EXPECT_EQ(Done, QStringList("prepared"));

    const Item below = Add("below", mark, [&] { Done += "below"; });
    selected = "refused";
    EXPECT_EQ(Host.Menus().Run(*below), E_ABORT);  // its parent is disabled
}

TEST_F(Menus, NewlyMadeEntriesReplaceTheOldOnes) {
    const Item menu = MenuOf(32), mark = Add("Mark", menu);
    On(mark, IVEXAMenuItem::OnShow, [&] {
        mark->DeleteChildren();
        for (int i = 0; i < 3; ++i) Add({}, mark, [this, i] { Done += QString::number(i); });
    });
    const int before = Event::Alive;
    for (int i = 0; i < 3; ++i) {
        Host.Menus().PrepareToShow(*menu);
        EXPECT_EQ(Host.Menus().Children(*mark).size(), 3u);
    }
    EXPECT_EQ(Event::Alive, before + 3);  // the earlier entries were released

    QMenu* shown = BuildMenu(Host.Menus(), {kMenuPlaylistItem}, nullptr);
    for (int i = 0; i < 2; ++i) Q_EMIT shown->aboutToShow();
    ASSERT_EQ(shown->actions().size(), 1);
    const QList<QAction*> entries = shown->actions()[0]->menu()->actions();
    ASSERT_EQ(entries.size(), 3);
    Host.Menus().PrepareToShow(*menu);  // makes new entries; the shown ones must still work
    entries[1]->trigger();
    EXPECT_EQ(Done, QStringList{"1"});
    delete shown;
}

TEST_F(Menus, CaptionsAreShownLiterally) {
    const Item menu = MenuOf(51);
    const QString captions[] = {"A & B", "<b>bold</b>", "a\tb\nc", QString(5000, u'x'), "hidden"};
    for (const QString& caption : captions) SetCaption(Add({}, menu, [] {}), caption);
    const auto items = Host.Menus().Children(*menu);
    items[1]->SetValueAsInt32(IVEXAMenuItem::Enabled, 0);
    items[4]->SetValueAsInt32(IVEXAMenuItem::Visible, 0);
    items[0]->SetValueAsObject(IVEXAMenuItem::Shortcut, MakeString("F5").Get());

    QImage picture(32, 32, QImage::Format_ARGB32);
    picture.fill(Qt::red);
    items[2]->SetValueAsObject(IVEXAMenuItem::Glyph, Ref<IVEXAImage>(new Image(picture)).Get());

    QMenu shown;
    shown.addAction("the window's own");
    FillMenu(shown, Host.Menus(), *menu);
    const QList<QAction*> actions = shown.actions().mid(1);
    ASSERT_EQ(actions.size(), 4);
    EXPECT_EQ(actions[0]->text(), "A && B");
    EXPECT_EQ(actions[0]->shortcut(), QKeySequence(Qt::Key_F5));
    EXPECT_EQ(actions[1]->text(), "<b>bold</b>");
    EXPECT_FALSE(actions[1]->toolTip().contains("<b>"));
    EXPECT_EQ(actions[2]->text(), "a b c");
    EXPECT_LT(actions[3]->text().size(), 200);
    EXPECT_TRUE(actions[0]->isEnabled() && !actions[1]->isEnabled());
    EXPECT_TRUE(actions[0]->icon().isNull());
    const QPixmap icon = actions[2]->icon().pixmap(QSize(16, 16), 2.0);
    EXPECT_EQ(icon.size(), QSize(32, 32));
    EXPECT_EQ(icon.toImage().pixelColor(16, 16), QColor(Qt::red));
}
