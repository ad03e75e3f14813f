// The library as the host's own code uses it, over a storage such as a plug-in registers.

#include "Commands.h"
#include "EpisodeStorage.h"
#include "Rows.h"

using namespace vexa::host;
using tests::EpisodeStorage;

namespace {

class LibraryTest : public HostTest {
protected:
    LibraryTest() { EXPECT_EQ(Register(*Plain), S_OK); }

    HResult Register(EpisodeStorage& storage) {
        return Host.PluginCore().RegisterExtension(IVEXAServiceMusicLibrary::IID, storage.Identity());
    }
    LibraryStorage Open() { return LibraryStorage(Host.Library()); }
    static Tree TreeOf(const LibraryStorage& storage) { return Tree(storage.Presets().at(0).Provider); }
    static QStringList Texts(const RowPage& page) {
        EXPECT_FALSE(page.Error);
        QStringList texts;
        for (const auto& row : page.Rows) texts += row.at(0).Text;
        return texts;
    }

    Ref<EpisodeStorage> Plain{new EpisodeStorage};
};

class Listener final : public MusicLibraryListener {
public:
    void OnDataChanged(const QString& id) override { Heard += "data " + id; }
    void OnTasksChanged(const QString& id) override { Heard += "tasks " + id; }
    void OnActiveStorageChanged(const QString& id) override { Heard += "active " + id; }
    void OnStorageEnding(const QString& id) override { Heard += "ending " + id; }
    QStringList Heard;
};

}  // namespace

TEST_F(LibraryTest, ALineThatThePluginCannotServeIsAnsweredWithTheReason) {
    Ref<IVEXAMenuItem> idle;
    Host.PluginCore().CreateObject(IVEXAMenuItem::IID, idle.PutVoid());
    idle->SetValueAsObject(IVEXAMenuItem::ID, MakeString("Idle").Get());
    Host.PluginCore().RegisterExtension(IVEXAServiceMenuManager::IID, idle.Get());
    EXPECT_EQ(Answer(*FindCommand("run"), Host, {"Idle"})[u"error"], "the action Idle has nothing to run");
    EXPECT_EQ(Answer(*FindCommand("subscribe"), Host, {"x"})[u"error"], "the storage is none of subscriptions");
}

TEST_F(LibraryTest, OnlyAStorageIsRegisteredAndOnlyOnce) {
    Core& core = Host.PluginCore();
    EXPECT_EQ(core.RegisterExtension(IVEXAServiceMusicLibrary::IID, MakeString("x").Get()), E_INVALIDARG);
    EXPECT_EQ(core.RegisterExtension(IVEXAMenuItem::IID, Plain->Identity()), E_NOINTERFACE);
    EXPECT_EQ(Register(*Plain), E_INVALIDARG);
    EXPECT_THROW(LibraryStorage(Host.Library(), "nobody"), LibraryError);
}

TEST_F(LibraryTest, ListenersAreToldOfDataTasksAndTheActiveStorage) {
    Listener listener;
    Host.Library().AddListener(&listener);
    const Ref<IVEXAString> caption = MakeString("Working");
    int cancelled = 0;
    const Ref<Event> cancel(new Event([&] { ++cancelled; }));
    const auto manager = Plain->Manager;
    manager->Changed();
    EXPECT_EQ(Host.Library().ChangeCount("Tests.Episodes"), 1);
    manager->BackgroundTaskStarted(2, MakeString("earlier").Get(), nullptr);
    manager->BackgroundTaskStarted(2, caption.Get(), cancel.Get());
    caption->SetChars(u"Half", 4);
    const auto tasks = Host.Library().Tasks("Tests.Episodes");
    ASSERT_EQ(tasks.size(), 1u);
    EXPECT_EQ(ToQString(tasks[0].Caption.Get()), "Half");  // the present text, not that of the start
    tasks[0].Cancel();
    EXPECT_EQ(cancelled, 1);
    for (int i = 0; i < 2; ++i) manager->BackgroundTaskFinished(2);
    EXPECT_TRUE(Host.Library().Tasks("Tests.Episodes").empty());

    const Ref<EpisodeStorage> other(new EpisodeStorage("Other"));
    EXPECT_EQ(Register(*other), S_OK);
    EXPECT_EQ(Open().ID(), "Tests.Episodes");
    for (int i = 0; i < 2; ++i) EXPECT_EQ(Host.Library().SetActiveStorage(other->Identity()), S_OK);
    EXPECT_EQ(Open().ID(), "Other");
    EXPECT_EQ(listener.Heard, QStringList({"data Tests.Episodes", "tasks Tests.Episodes", "tasks Tests.Episodes",
                                           "tasks Tests.Episodes", "active Other"}));
    const auto release = [&](FixedSelection* model) {
        listener.Heard += "released";
        delete model;
    };
    listener.Heard.clear();
    Host.Selection().SetModel(std::shared_ptr<FixedSelection>(new FixedSelection, release));
    Host.UnloadPlugins();
    EXPECT_EQ(listener.Heard.value(0), QString("released")) << "it may keep objects of the storage";
    listener.Heard.clear();
    manager->Changed();
    EXPECT_EQ(listener.Heard, QStringList()) << "the storage is finalized";
    Host.Library().RemoveListener(&listener);
}

TEST_F(LibraryTest, RowsHaveTheTypesOfTheirFields) {
    const LibraryStorage storage = Open();
    RowReader reader(storage);
    const RowPage page = reader.ReadNow({.Fields = {"State", "Duration", "Title"},
                                         .Tree = storage.Presets()[0].Provider,
                                         .Node = PairsOf(*TreeOf(storage).FindByValues({"shows", "show A"})),
                                         .Sort = {{"State", IVEXAMLSortDirection::Descending}},
                                         .Offset = 1,
                                         .Limit = 2});
    const RowValue words[] = {{0, "1", "new"}, {60, "", ""}, {0, "Tide", ""}};
    ASSERT_EQ(page.Rows.size(), 2u);
    EXPECT_TRUE(std::equal(page.Rows[0].begin(), page.Rows[0].end(), words, words + 3));
    EXPECT_EQ(page.Rows[1][0].Shown, "heard");
    EXPECT_EQ(storage.Field("State")->Shown("no number"), "no number");
    EXPECT_EQ(page.Offset, 1);
    EXPECT_EQ(Plain->Asked().last(), "State Duration Title;Node=shows Node=show A;State:2;1,2");

    EXPECT_TRUE(Texts(reader.ReadNow({.Fields = {"Title"}, .Where = {{.Field = "ID", .Value1 = u"e9"_s}}})).isEmpty());
    EXPECT_EQ(reader.CountNow({.Fields = {"Title"}, .Where = {{.Field = "State", .Value1 = 1}}, .Limit = 1}).Count, 2);
    const RowQuery refused[] = {
        {.Fields = {}},
        {.Fields = {"Node"}},
        {.Fields = {"title"}},
        {.Fields = {"Title"}, .Where = {{.Field = "1=1; --"}}},
        {.Fields = {"Title"}, .Sort = {{"Unlisted"}}},
        {.Fields = {"Title"}, .Sort = {{"Node"}}},
    };
    for (const RowQuery& query : refused) EXPECT_THROW(reader.ReadNow(query), LibraryError);
    const RowQuery array{.Fields = {"Title"}, .Where = {{.Field = "ID", .OneOf = {u"e1"_s, u"e2"_s}}}};
    EXPECT_TRUE(reader.ReadNow(array).Error);  // this storage does not support arrays
    EXPECT_TRUE(reader.CountNow(array).Error);

    Plain->OffersSubscriptions = true;
    const qsizetype before = Plain->Asked().size();
    const LibraryStorage counting = Open();
    EXPECT_EQ(RowReader(counting).CountNow({.Fields = {"Title"}, .Limit = 1}).Count, 4);
    EXPECT_EQ(Plain->Asked().size(), before);  // the storage itself has counted
}

TEST_F(LibraryTest, TheNewestPageInSightIsReadFirstAndCancelledOnesNever) {
    const LibraryStorage storage = Open();
    QStringList delivered;
    const auto deliver = [&](const RowPage& page) {
        EXPECT_TRUE(IsMainThread());
        delivered += QString::number(page.Offset);
    };
    const auto query = [](std::int32_t offset) { return RowQuery{.Fields = {"ID"}, .Offset = offset, .Limit = 1}; };
    {
        RowReader reader(storage);
        Plain->Hold();
        const auto running = reader.Read(query(0), deliver);
        Plain->WaitUntilAsked(1);
        reader.Read(query(1), deliver, RowReader::Urgency::Ahead);
        reader.Read(query(2), deliver);
        const auto dropped = reader.Read(query(3), deliver);
        reader.Read(query(4), deliver, RowReader::Urgency::Ahead);
        reader.Read(query(5), deliver);
        reader.Cancel(dropped);
        reader.Cancel(running);  // the storage is being asked already, but nothing may be delivered
        EXPECT_TRUE(delivered.isEmpty());
        Plain->LetThrough();
        DrainMainThreadUntil([&] { return delivered.size() == 4; });
        EXPECT_EQ(delivered, QStringList({"5", "2", "1", "4"}));
        EXPECT_EQ(Plain->Asked().size(), 5);

        Plain->Hold();
        reader.Read(query(6), deliver);
        Plain->WaitUntilAsked(6);
        reader.Read(query(7), deliver);
        Plain->LetThrough();
    }  // a reader delivers nothing after its end
    bool isDrained = false;
    RunInMainThread([&] { isDrained = true; }, false);
    DrainMainThreadUntil([&] { return isDrained; });
    EXPECT_EQ(delivered.size(), 4);
}
