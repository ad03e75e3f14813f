// The commands about the library, menus and playlists of a host without a window.

#include "Commands.h"
#include "EpisodeStorage.h"
#include "MovingFiles.h"
#include "Radio.h"

#include <QJsonArray>
#include <QJsonDocument>

using namespace vexa::host;

namespace {

/// A line, and what AnswerTo gives for it.
struct Case {
    const char *Line, *Key, *Answer;
};

class LibraryCommands : public HostTest {
protected:
    LibraryCommands() {
        Storage->OffersSubscriptions = true;
        Host.PluginCore().RegisterExtension(IVEXAServiceMusicLibrary::IID, Storage->Identity());
    }

    /// The member `key` of the answer to a line, or the error.
    std::string AnswerTo(const QString& line, const QString& key) {
        QStringList words = SplitLine(line);
        const Command* command = FindCommand(words.takeFirst());
        if (!command) return "no such command";
        const QJsonObject answer = Answer(*command, Host, words);
        if (!answer[u"ok"].toBool()) return answer[u"error"].toString().toStdString();
        return QJsonDocument(QJsonObject{{u"_"_s, answer[key]}})
            .toJson(QJsonDocument::Compact)
            .mid(5)
            .chopped(1)
            .toStdString();
    }

    Ref<tests::EpisodeStorage> Storage{new tests::EpisodeStorage};
};

}  // namespace

TEST_F(LibraryCommands, RowsAreReadAsTheOptionsSay) {
    const Case cases[] = {
        {"rows --where ID = e2", "rows",
         R"([{"Duration":90.5,"ID":"e2","State":"1","Title":"Bell","shown":{"State":"new"}}])"},
        {"rows --node shows --node \"show A\" --sort Title:desc --range 1,1 --fields Title", "rows",
         R"([{"Title":"Storm"}])"},
        {"count --node \"state 1\" --node \"show A\" --range 0,1", "count", "1"},
        {"count --where Node = \"state 2\"", "count", "1"},
        {"count", "count", "4"},
        {"count --node shows --node nobody", "count", "the tree has no node shows > nobody"},
        {"count --node shows --node \"show A\" --node more", "count", "the tree has no node shows > show A > more"},
        {"rows --where Titel = x", "rows", "the storage has no field \"Titel\""},
        {"rows --where Title is x", "rows",
         "there is no operator is: take one of in = <> between < <= > >= contains begins ends"},
        {"rows --where Title between a", "rows", "the second value of between is missing at the end of the line"},
        {"rows --range 5", "rows", "a range is OFFSET,COUNT, such as 0,100"},
        {"rows Title", "rows", "there is no option Title: take --node, --where, --search, --sort, --range or --fields"},
        {"fields 10", "fields", R"(["Title","State"])"},
        {"tree", "nodes",
         R"-([{"caption":"new (2)","field":"Node","hasChildren":true,"image":4,"standalone":true,"value":"state 1"},)-"
         R"({"caption":"shows","field":"Node","hasChildren":true,"image":0,"standalone":false,"value":"shows"}])"},
        {"tree shows", "nodes",
         R"([{"caption":"A","field":"Node","hasChildren":false,"image":3,"standalone":true,"value":"show A"},)"
         R"({"caption":"B","field":"Node","hasChildren":false,"image":3,"standalone":true,"value":"show B"}])"},
        {"tree shows \"show A\"", "nodes", "[]"},
        {"find episode://e1", "node", R"([{"field":"Node","value":"shows"},{"field":"Node","value":"show A"}])"},
        {"find episode://e9", "node", "episode://e9 is not in the library"},
        {"rows --where ID in e1|e2", "", "the storage could not read its rows (0x80004005)"},  // no arrays
    };
    for (const auto& c : cases) EXPECT_EQ(AnswerTo(c.Line, c.Key), c.Answer) << c.Line;
}

TEST_F(LibraryCommands, TasksAndSubscriptionsAreAwaitedAndReported) {
    const Ref<IVEXAString> caption = MakeString("Refreshing");
    Storage->Manager->BackgroundTaskStarted(2, caption.Get(), nullptr);
    EXPECT_EQ(AnswerTo("tasks", "tasks"), R"([{"canCancel":true,"caption":"Refreshing","id":2}])");
    Storage->Progress = {1, 2, 0.5};
    const Case cases[] = {
        {"tasks", "tasks", R"([{"canCancel":true,"caption":"Refreshing","count":2,"id":2,"item":1,"share":0.5}])"},
        {"tasks", "downloads", "[]"},
        {"tasks", "refresh",
         R"([{"caption":"","dropped":false,"error":"","file":"","item":"http://feed","moved":"","new":3,)"
         R"("refused":false}])"},
        {"cancel 2", "ok", "true"},
        {"cancel 1", "", "there is no task 1: tasks lists them"},
        {"subscribe http://a no http://known", "results",
         R"([{"address":"http://a","code":"0x00000000","text":"said"},)"
         R"({"address":"no","code":"0x80070057","text":"said"},)"
         R"({"address":"http://known","code":"0x80004004","text":"said"}])"},
        {"subscribe http://several", "results",
         R"([{"address":"http://several","choices":[{"address":"http://x","title":"X"},)"
         R"({"address":"http://y","title":""}]}])"},
        {"import empty.opml", "results", "[]"},
        {"import none.opml", "results", "no such file"},
        {"export out.opml", "", "out.opml cannot be written"},
    };
    for (const auto& c : cases) EXPECT_EQ(AnswerTo(c.Line, c.Key), c.Answer) << c.Line;
    EXPECT_EQ(Storage->CancelledTasks, std::vector<std::int32_t>{2});
    Storage->OffersSubscriptions = false;
    EXPECT_EQ(AnswerTo("subscribe http://a", ""), "the storage is none of subscriptions");
}

TEST_F(LibraryCommands, MenusSelectionsAndPlaylistsWork) {
    // A submenu whose entries, the selected files, are made just before it is shown.
    const auto library = Query<IVEXAServiceMusicLibraryUI>(&Host.PluginCore());
    QStringList done;
    const auto add = [&](const QString& id, const Ref<IVEXAMenuItem>& parent, int event, std::function<void()> act) {
        const Ref<IVEXAMenuItem> item(new MenuItem);
        item->SetValueAsObject(IVEXAMenuItem::ID, MakeString(id).Get());
        item->SetValueAsObject(IVEXAMenuItem::Caption, MakeString(id).Get());
        item->SetValueAsObject(IVEXAMenuItem::Parent, parent.Get());
        item->SetValueAsObject(event, Ref<Event>(new Event(std::move(act))).Get());
        Host.PluginCore().RegisterExtension(IVEXAServiceMenuManager::IID, item.Get());
        return item;
    };
    Ref<IVEXAMenuItem> menu;
    menu = add("Files", Host.Menus().BuiltIn(71), IVEXAMenuItem::OnShow, [&] {
        menu->DeleteChildren();
        Ref<IVEXAObjectList> files;
        library->GetFiles(kFilesSelected, files.Put());
        menu->SetValueAsInt32(IVEXAMenuItem::Visible, files->GetCount() > 0);
        for (const QString& file : ToQStringList(files.Get()))
            add(file, menu, IVEXAMenuItem::Event, [&done, file] { done += file; });
    });
    const Case cases[] = {
        {"menu 71", "items",
         R"([{"caption":"Files","children":[],"enabled":true,"glyph":false,"id":"Files","visible":false}])"},
        {"run Files/0", "", "the action Files has 0 entries"},
        {"run Files", "", "the action Files is hidden or disabled now"},
        {"run none", "", "there is no action none: menu lists them"},
        {"menu 5", "", "a menu is 32, 51, 71 or 80"},
        {"select a", "", "what is a? take --node, --files or --focus before it"},
        {"select --node nobody", "", "the tree has no node nobody"},
        {"select --node shows \"show A\" --files a b --focus b", "", ""},
        {"run Files/1", "", ""},
        {"run Files", "", "the action Files has nothing to run"},
        {"playlist rows P", "", "there is no playlist P: playlists lists them"},
        {"playlist add P a b", "name", R"("P")"},
        {"playlist add Q", "name", R"("Q")"},
        {"playlist select P 1", "", ""},
        {"playlist select P 2", "", "the playlist has no entry 2"},
        {"playlist rows P", "rows",
         R"([{"file":"a","group":"","selected":false,"text":"a"},{"file":"b","group":"","selected":true,"text":"b"}])"},
        {"playlist rows P", "focus", "1"},
        {"playlist remove Q", "", ""},
        {"playlists", "playlists", R"([{"active":true,"name":"P","smart":false}])"},
    };
    for (const auto& c : cases) EXPECT_EQ(AnswerTo(c.Line, c.Key), c.Answer) << c.Line;
    EXPECT_EQ(done, QStringList{"b"});
}

TEST_F(LibraryCommands, AnAddressIsResolvedToItsPresentOne) {
    const Ref<tests::MovingFiles> moving(new tests::MovingFiles);
    Host.PluginCore().RegisterExtension(IVEXAServiceFileSystem::IID, moving->Identity());
    moving->Move("episode://a", "episode://b");
    EXPECT_EQ(AnswerTo("present episode://a", "present"), "\"episode://b\"");
    EXPECT_EQ(AnswerTo("present episode://a", "moves"), "1");
    EXPECT_EQ(AnswerTo("present episode://z", "present"), "nothing is known of episode://z");
    EXPECT_EQ(AnswerTo("present /music/a.mp3", "present"), "no file system knows present addresses of /music/a.mp3");
}

TEST_F(LibraryCommands, WhatCanBeAddedIsFoundAndLookedAt) {
    const std::string cannot = "the storage cannot search";
    EXPECT_EQ(AnswerTo("search x", "found"), cannot);
    std::vector<tests::Station> stations{{"Quay", "Talk", "http://h/quay", 64},
                                         {"Harbour", "Music", "http://h/b", 128}};
    const Ref<tests::FindingRadio> radio(new tests::FindingRadio(stations, IVEXAMLDataField::Title));
    Host.PluginCore().RegisterExtension(IVEXAServiceMusicLibrary::IID, radio->Identity());
    Host.Library().SetActiveStorage(radio->Identity());
    const auto found = [](const char* address, const char* title) {
        return std::string(R"({"address":")") + address +
               R"(","author":"","description":"","newest":null,"picture":"","rows":0,"source":"","subscribed":false,)" +
               R"("title":")" + title + R"("})";
    };
    const std::pair<const char*, std::string> cases[] = {
        {"search Quay", '[' + found("http://h/quay", "Quay") + ']'},
        {"search --limit 1", '[' + found("http://h/quay", "Quay") + ']'},
        {"search", '[' + found("http://h/quay", "Quay") + ',' + found("http://h/b", "Harbour") + ']'},
        {"search --limit none", "--limit takes a number of results, such as 20"},
    };
    for (const auto& [line, answer] : cases) EXPECT_EQ(AnswerTo(line, "found"), answer) << line;
    EXPECT_EQ(
        AnswerTo("search x", "sources"),
        R"([{"code":"0x00000000","id":"guide","text":""},{"code":"0x80004005","id":"almanac","text":"it is silent"}])");
    EXPECT_EQ(AnswerTo("preview http://h/b", "info"), found("http://h/b", "Harbour"));
    EXPECT_EQ(AnswerTo("preview http://h/b --sort Station --fields Station", "rows"),
              R"([{"Station":"Harbour"},{"Station":"Quay"}])");
    EXPECT_EQ(AnswerTo("preview http://h/c", "rows"), "no such station");
}
