// The commands of the loaded plug-in in the host's menus.

#include "EpisodeStorage.h"
#include "Feeds.h"
#include "Preimages.h"

#include <QJsonDocument>

namespace {

const QString kFeedURL = "http://h/feed.xml";
const QString kFeedNode = u"04" + kFeedURL;
const QString kURIs[] = {u"podcast://h/1.mp3"_s, u"podcast://h/2.mp3"_s};

class MenuCommands : public HostTest {
protected:
    using Item = Ref<IVEXAMenuItem>;

    MenuCommands() {
        podcasts::TPodcastFeed feed = tests::MakeFeed(kFeedURL, 3);
        feed.Fields[podcasts::pffTitle] = "Tides";
        feed.Episodes(1).Fields[podcasts::pefTitle] = "One";
        feed.Episodes(2).Fields[podcasts::pefTitle] = "Two";
        DB.AddOrUpdate(feed);
        SecondInOldForm = u"podcast://h/feed-%1_Mg=="_s.arg(feed.ID);
        Host.LoadPlugin(QStringLiteral(PLUGIN));
    }

    Item Find(const QString& action) { return RegisteredItem(u"VEXA.Podcasts.Actions." + action); }
    int StateOf(const QString& key) {
        const auto episode = DB.GetEpisode(key);
        return episode ? episode->State : -1;
    }
    void Show(int dpi = 96) {
        for (const int menu : {kMenuPlaylistItem, kMenuLibrary, kMenuLibraryTable, kMenuLibraryTree})
            Host.Menus().PrepareToShow(*Host.Menus().BuiltIn(menu), dpi);
    }
    bool IsShown(const QString& action) {
        const Item item = Find(action);
        EXPECT_EQ(Host.Menus().IsVisible(*item), Host.Menus().IsEnabled(*item)) << action.toStdString();
        return Host.Menus().IsVisible(*item);
    }
    /// Sets the library's selection, and prepares the menus.
    void Select(const QStringList& nodes, const QStringList& files = {}, const std::optional<QString>& focused = {}) {
        const auto selection = std::make_shared<host::FixedSelection>();
        selection->Provider = host::LibraryStorage(Host.Library()).Presets().at(0).Provider;
        for (const QString& node : nodes) selection->Path.push_back({"Node", node});
        selection->Files = files;
        selection->Focused = focused;
        Host.Selection().SetModel(selection);
        Show();
    }

    podcasts::TPodcastsDB DB{Profile.File("Podcasts.db")};
    QString SecondInOldForm;
};

TEST_F(MenuCommands, TheSelectedNodeDecidesTheFeedAndTheSmartPlaylist) {
    const QString state = uR"({"field":"State","operation":0,"value":{"int32":1}})"_s;
    const QString category = uR"({"field":"Category","operation":0,"value":"News"})"_s;
    const QString feed = uR"({"field":"FeedName","operation":0,"value":"Tides"})"_s;
    const struct {
        QStringList Nodes;
        bool IsFeed;
        QString Conditions;  // empty if no playlist can be made
        int Operation = IVEXAMLGroupFilter::Or;
    } cases[] = {
        {{}, false, ""},
        {{"01"}, false, ""},
        {{"02News"}, false, category},
        {{"031"}, false, state},
        {{"03x"}, false, ""},
        {{"04"}, false, ""},
        {{"01", kFeedNode}, true, feed},
        {{"02News", kFeedNode}, true, category + u',' + feed, IVEXAMLGroupFilter::And},
        {{"04http://h/gone"}, true, ""},
        {{"02News", kFeedNode, "04http://h/b"}, true, ""},
    };
    for (const auto& [nodes, isFeed, conditions, operation] : cases) {
        SCOPED_TRACE(nodes.join(u' ').toStdString());
        Select(nodes);
        EXPECT_TRUE(IsShown("Subscribe"));
        EXPECT_EQ(IsShown("RefreshFeed"), isFeed);
        Host.Menus().Trigger(*Find("CreateSmartPlaylist"));
        const auto playlist = Host.Playlists().Active();
        ASSERT_EQ(bool(playlist), !conditions.isEmpty()) << "whether a playlist was made";
        if (!playlist) continue;
        const QJsonObject filter = host::Describe(*playlist->Preimage()).Filter;
        EXPECT_EQ(filter["operation"].toInt(), operation);
        EXPECT_EQ(QString::fromUtf8(QJsonDocument(filter["children"].toArray()).toJson(QJsonDocument::Compact)),
                  QString(u'[' + conditions + u']'));
        Host.Playlists().Remove(*playlist);
    }
}

TEST_F(MenuCommands, AreShownOnlyWhereTheyApply) {
    const auto playlist = Host.Playlists().Create("P", true);
    playlist->Add({u"file.mp3"_s, u"http://h/1.mp3"_s, kURIs[0]});
    playlist->Select({0, 1});
    const auto shown = [this] {
        QStringList actions;
        for (const char* action : {"RefreshFeeds", "Subscribe", "MarkAs", "CachedFilesControl", "CheckCachedFiles",
                                   "MarkAs.PL", "CachedFilesControl.PL"})
            if (IsShown(action)) actions += action;
        return actions;
    };
    Select({kFeedNode}, {u"file.mp3"_s, u"http://h/1.mp3"_s});
    EXPECT_EQ(shown(), QStringList({"RefreshFeeds", "Subscribe", "CheckCachedFiles"}));

    playlist->Select({0, 2});
    const Ref<tests::EpisodeStorage> other(new tests::EpisodeStorage);
    IUnknown* const storage = static_cast<IVEXAMLExtensionDataStorage*>(other.Get());
    Host.PluginCore().RegisterExtension(IVEXAServiceMusicLibrary::IID, storage);
    Host.Library().SetActiveStorage(storage);
    Show();
    EXPECT_EQ(shown(), QStringList({"MarkAs.PL", "CachedFilesControl.PL"}));
}

TEST_F(MenuCommands, EpisodesAreMarkedByEitherFormOfTheirAddress) {
    Select({}, {u"file.mp3"_s, kURIs[0], SecondInOldForm});
    const auto states = Host.Menus().Children(*Find("MarkAs"));
    ASSERT_EQ(states.size(), 3u);
    EXPECT_EQ(Host.Menus().Caption(*states[0]), "Listened");
    Host.Selection().SetModel(nullptr);  // the selection at the time when the menu was shown counts
    Host.Menus().Trigger(*states[2]);
    for (const QString& uri : kURIs)
        EXPECT_TRUE(tests::WaitUntil([&] { return StateOf(uri) == podcasts::pesPostponed; })) << StateOf(uri);

    // The player is told only about episodes marked as listened, whose positions it forgets.
    QStringList heard;
    Host.Messages().Handle(kMsgFilesHeard, [&](std::int32_t, void* names) {
        return heard = host::ToQStringList(static_cast<IVEXAObjectList*>(names)), S_OK;
    });
    for (const std::size_t state : {1, 0}) {
        EXPECT_EQ(heard, QStringList());
        Select({}, {kURIs[0]});
        Host.Menus().Trigger(*Host.Menus().Children(*Find("MarkAs"))[state]);
    }
    tests::WaitUntil([&] { return !heard.isEmpty(); });
    EXPECT_EQ(heard, QStringList{kURIs[0]});
}

class Undone final : public RefCountedObject<IVEXAMLUndoEvents> {
public:
    QStringList Results;  // "code: text"
    void OnUndone(HResult result, IVEXAString* text) noexcept override {
        Results += QString::number(result) + u": " + host::ToQString(text);
    }
};

TEST_F(MenuCommands, AreDescribedAndUndone) {
    const auto undo = host::LibraryStorage(Host.Library()).Offered<IVEXAMLUndo>();
    ASSERT_TRUE(undo);
    std::int64_t act = 0;
    const auto described = [&] {
        Ref<IVEXAString> text;
        return undo->Describe(&act, text.Put()) == S_OK ? host::ToQString(text.Get()) : u"nothing"_s;
    };
    EXPECT_EQ(described(), "nothing");
    EXPECT_EQ(undo->Undo(1, nullptr), E_FAIL);
    const Ref<Undone> undone(new Undone);
    const auto takeBack = [&] {
        undone->Results.clear();
        EXPECT_NE(described(), "nothing");
        EXPECT_EQ(undo->Undo(act, undone.Get()), S_OK);
        EXPECT_TRUE(tests::WaitUntil([&] { return !undone->Results.isEmpty(); }));
        return undone->Results.join(u'/');
    };
    QStringList unheard;
    Host.Messages().Handle(kMsgFilesUnheard, [&](std::int32_t, void* names) {
        return unheard += host::ToQStringList(static_cast<IVEXAObjectList*>(names)), S_OK;
    });
    const auto run = [&](Qt::Key key, const QStringList& files) {
        Select({}, files, files[0]);
        ASSERT_TRUE(Host.Menus().RunShortcut(QKeySequence(key)));
        ASSERT_TRUE(tests::WaitUntil([&] { return described() != u"nothing"; })) << files[0].toStdString();
    };
    const struct {
        Qt::Key Key;
        const char* File;
        QStringList Files;
        const char *InEnglish, *InGerman;
    } acts[] = {
        {Qt::Key_L, "", {kURIs[0], kURIs[1]}, "Episodes marked as listened: 2", "Als gehört markierte Folgen: 2"},
        {Qt::Key_P, "", {kURIs[0]}, "Marked as postponed: One", "Als zurückgestellt markiert: One"},
        {Qt::Key_D, "2.mp3", {kURIs[1]}, "Local copy deleted: Two", "Lokale Kopie gelöscht: Two"},
    };
    for (const auto& [key, file, files, inEnglish, inGerman] : acts) {
        SCOPED_TRACE(inEnglish);
        if (*file) {
            WriteWhole(Profile.File(file), "audio");
            DB.SetCachedFile(files[0], Profile.File(file));
        }
        ASSERT_NO_FATAL_FAILURE(run(key, files));
        EXPECT_EQ(described(), inEnglish);
        Host.ChooseLanguage(u"German"_s);
        EXPECT_EQ(described(), inGerman);
        Host.ChooseLanguage(u"English"_s);
        EXPECT_EQ(takeBack(), "0: ");
        EXPECT_EQ(described(), "nothing");
        EXPECT_EQ(StateOf(kURIs[0]), podcasts::pesNew);
        EXPECT_TRUE(!*file || QFile::exists(Profile.File(file)));
    }
    EXPECT_EQ(unheard, QStringList({kURIs[0], kURIs[1]})) << "positions are wanted back for these";

    run(Qt::Key_L, {kURIs[0], kURIs[1]});
    DB.UpdateState({kURIs[1]}, podcasts::pesPostponed);  // as by another program
    EXPECT_EQ(takeBack(), "1: 1 of 2 episodes are as before. The others have been changed since then.");
    run(Qt::Key_L, {kURIs[0]});
    Host.UnloadPlugins();
    EXPECT_EQ(described(), "nothing");
    EXPECT_EQ(undo->Undo(6, nullptr), E_FAIL);
}

TEST_F(MenuCommands, TheFocusedEpisodeDecidesWhatHappensToLocalCopies) {
    WriteWhole(Profile.File("2.mp3"), "audio");
    DB.SetCachedFile(kURIs[1], Profile.File("2.mp3"));
    const struct {
        QStringList Files;
        std::optional<QString> Focused;
        bool IsCached;
    } cases[] = {
        {{kURIs[0], kURIs[1]}, {}, false},
        {{kURIs[0], kURIs[1]}, kURIs[0], false},
        {{kURIs[0], kURIs[1]}, kURIs[1].toUpper(), true},
        {{kURIs[0], SecondInOldForm}, SecondInOldForm, true},
        {{kURIs[0]}, kURIs[1], false},
    };
    const auto saysDelete = [&](const QString& action) {
        return Host.Menus().Caption(*Find(action)) == u"Delete local copy";
    };
    for (const auto& [files, focused, isCached] : cases) {
        Select({}, files, focused);
        EXPECT_EQ(saysDelete("CachedFilesControl"), isCached) << files.join(u' ').toStdString();
    }

    // In a playlist the heading of a group may have the focus. Entries that are not selected do not count as focused.
    const auto playlist = Host.Playlists().Create("P", true);
    playlist->Add({kURIs[1], kURIs[0]});
    playlist->Describe({{kURIs[0], {"1", "Tides"}}, {kURIs[1], {"2", "Tides"}}});
    playlist->FocusSectionOf(1);
    for (const int selected : {1, 0}) {
        playlist->Select({selected});
        Show();
        EXPECT_EQ(saysDelete("CachedFilesControl.PL"), selected == 0) << selected;
    }
    Host.Menus().Trigger(*Find("CachedFilesControl.PL"));
    EXPECT_TRUE(tests::WaitUntil([&] { return !QFile::exists(Profile.File("2.mp3")); }));
}

TEST_F(MenuCommands, TheGlyphSuitsTheResolution) {
    for (const auto& [dpi, width] : {std::pair{96, 16}, {120, 16}, {144, 24}, {168, 24}, {192, 32}, {288, 32}}) {
        Show(dpi);
        std::int32_t shown = 0, height = 0;
        Host.Menus().Glyph(*Find("RefreshFeeds"))->GetSize(&shown, &height);
        EXPECT_EQ(std::pair(shown, height), std::pair(width, width)) << dpi;
    }
    EXPECT_FALSE(Host.Menus().Glyph(*Find("CreateSmartPlaylist")));
}

TEST_F(MenuCommands, DoNothingAfterThePluginHasEnded) {
    Select({kFeedNode}, {kURIs[0]});
    std::vector<Ref<IVEXAActionEvent>> events;  // kept longer than the plug-in, as by a careless host
    for (const int menu : {kMenuLibraryTable, kMenuLibraryTree})
        for (const Item& item : Host.Menus().Children(*Host.Menus().BuiltIn(menu)))
            for (const int property : {IVEXAMenuItem::OnShow, IVEXAMenuItem::Event})
                item->GetValueAsObject(property, IVEXAActionEvent::IID, events.emplace_back().PutVoid());
    Host.UnloadPlugins();
    for (const auto& event : events)
        if (event) event->OnExecute(nullptr);
    EXPECT_EQ(StateOf(kURIs[0]), podcasts::pesNew);
}

}  // namespace
