// The built program in headless mode, driven by lines as from a script.

#include "LoopbackServer.h"
#include "Png.h"
#include "Processes.h"
#include "TempFolder.h"
#include "Texts.h"
#include "Waiting.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

struct Outcome {
    int Status = -1;
    QList<QJsonObject> Answers;
    QString Error;
};

/// Starts the program without a display: with one, or with a platform that needs none, it would open its window when
/// there are no options.
void Start(QProcess& program, const QStringList& options) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
        environment.remove(QString::fromLatin1(name));
    program.setProcessEnvironment(environment);
    program.start(VEXA, options);
}

Outcome RunProgram(const QStringList& options, const QByteArray& input) {
    QProcess program;
    Start(program, options);
    program.write(input);
    program.closeWriteChannel();
    const tests::Result result = tests::Finish(program);
    Outcome outcome{result.Status, {}, result.Error};
    for (const QString& line : result.Out.split('\n', Qt::SkipEmptyParts))
        outcome.Answers += QJsonDocument::fromJson(line.toUtf8()).object();
    return outcome;
}

class Headless : public testing::Test {
protected:
    QStringList Options(const QStringList& more = {}) {
        return QStringList{"--headless", "--language", "English", "--profile", Profile.Path()} + more;
    }
    Outcome RunHere(const QByteArray& input, const QStringList& more = {}) { return RunProgram(Options(more), input); }

    tests::TempFolder Profile;
};

}  // namespace

TEST_F(Headless, EveryLineIsAnsweredInOrder) {
    const Outcome outcome = RunHere(
        "plugin\nload\nload\ntext Podcasts\\New 1\n\nwithout http\nconfig set A\\b \"1  \"\"2\"\n"
        "config get A\\b\nconfig get A\\c\nconfig get A\\c \"\"\nno such\nart\nunload\nplugin");
    EXPECT_EQ(outcome.Status, 0) << outcome.Error.toStdString();
    const std::tuple<bool, QString, QString> expected[] = {
        {false, "error", "no plug-in is loaded: load one first"},
        {true, "name", "Podcasts"},
        {false, "error", "a plug-in is loaded already: unload it first"},
        {true, "text", "New (%s)"},
        {false, "error", "a plug-in is loaded already: hide services before load"},
        {true, "", ""},
        {true, "value", "1  \"2"},
        {false, "code", "0x80004005"},
        {true, "value", ""},
        {false, "code", "0x80070057"},
        {false, "error", "usage: art ADDRESS"},
        {true, "", ""},
        {false, "error", "no plug-in is loaded: load one first"},
    };
    ASSERT_EQ(outcome.Answers.size(), std::ssize(expected));
    for (qsizetype i = 0; i < outcome.Answers.size(); ++i) {
        SCOPED_TRACE(i);
        const auto& [isOk, key, value] = expected[i];
        EXPECT_EQ(outcome.Answers[i][u"ok"].toBool(), isOk);
        EXPECT_EQ(outcome.Answers[i][key].toString(), value);
    }
    const QByteArray settings = ReadWhole(Profile.File("Settings.ini"));
    EXPECT_TRUE(settings.contains("[A]\nb=1  \"2\n") && settings.contains("CheckUpdates=")) << settings.constData();
}

TEST_F(Headless, APodcastIsUsedByLines) {
    tests::LoopbackServer server;
    server.Serve("/logo", tests::Response::Of(tests::Png(3, 2), "image/png"));
    server.Serve("/2.mp3", tests::Response::Of("sounds", "audio/mpeg").With(tests::Fault::Wait, 3));
    server.Serve("/page", tests::Response::Of("<html><link rel=alternate type=application/rss+xml href=/a title=A>"
                                              "<link rel=alternate type=application/rss+xml href=/b>",
                                              "text/html"));
    server.Serve("/g/search.json?q=tide&scale_logo=256",
                 tests::Response::Of(R"([{"url":"http://h/f","title":"Tide"}])"));
    const QString feed = Profile.File("tides.xml"), list = Profile.File("list.opml");
    const QString two = server.Url("/2.mp3").replace("http", "podcast");
    WriteWhole(
        feed,
        "<rss version='2.0'><channel><title>Tides</title><description>&lt;p>Sea</description><itunes:image href='" +
            server.Url("/logo").toUtf8() +
            "'/><item><title>One</title><guid>1</guid><itunes:duration>90</itunes:duration>"
            "<pubDate>Fri, 17 May 2024 11:05:00 GMT</pubDate><enclosure url='http://h/1.mp3'/></item><item>"
            "<title>Two</title><guid>2</guid><enclosure url='" +
            server.Url("/2.mp3").toUtf8() + "'/></item></channel></rss>");
    const std::pair<QString, QString> rows[] = {
        // a line, and part of its answer
        {"config set Podcasts.Find\\StoreAddress " + server.Url("/none"), "{'ok':true}"},
        {"config set Podcasts.Find\\GpodderAddress " + server.Url("/g"), "{'ok':true}"},
        {"load", "'name':'Podcasts'"},
        {"search --limit 5 tide",
         "'source':'gpodder','subscribed':false,'title':'Tide'}],'ok':true,'sources':[{'code':'"},
        {"search --limit all tide", "--limit takes a number of results, such as 20"},
        {"preview " + feed + " --sort Title:desc --range 0,1 --fields Title", "'description':'Sea',"},
        {"preview " + feed + " --sort Title:desc --range 0,1 --fields Title", "'rows':[{'Title':'Two'}]"},
        {"preview " + server.Url("/page"), "{'choices':[{'address':'" + server.Url("/a") + "','title':'A'},"},
        {"preview nothing", "'ok':false"},
        {"subscribe " + feed + " none.xml", "'code':'0x00000000','text':'Tides'},{'address':'none.xml','code':'0x8007"},
        {"subscribe " + server.Url("/page"),
         "'choices':[{'address':'" + server.Url("/a") + "','title':'A'},{'address':'" + server.Url("/b") + "','title'"},
        {"storages",
         "'active':true,'caption':'Podcasts','changes':1,'id':'VEXA.Podcasts.ML.Storage','subscriptions':t"},
        {"fields 11", "['Title','Artist','Duration','State','PublishDate','URLAudioCached']"},
        {"tree", "[{'caption':'New (2)','field':'Node','hasChildren':true,'image':4,'standalone':true,'value':'031'}"},
        {"tree 031", "[{'caption':'(2) Tides','field':'Node','hasChildren':false,'image':3,'standalone':false,"},
        {"tree 01 04" + feed, "{'nodes':[],'ok':true}"},
        {"tree 01 nobody", "the tree has no node 01 > nobody"},
        {"rows --node 031 --sort PublishDate:desc --range 0,1 --fields Title,State,Duration,PublishDate",
         "[{'Duration':90,'PublishDate':'2024-05-17T11:05:00.000Z','State':'1','Title':'One','shown':{'State':'New'}}"
         "]"},
        {"rows --where Duration between 10 100 --fields Title", "[{'Title':'One'}]"},
        {"rows --where Title in Two|One --sort Title --fields Title", "[{'Title':'One'},{'Title':'Two'}]"},
        {"rows --where State = 1 --search two --fields Title", "[{'Title':'Two'}]"},
        {"rows --sort Title:desc --range 1,1 --fields Title", "[{'Title':'One'}]"},
        {"rows --range 1", "a range is OFFSET,COUNT, such as 0,100"},
        {"rows --where Titel = x", "the storage has no field \\'Titel\\'"},
        {"rows --where Title is x",
         "there is no operator is: take one of in = <> between < <= > >= contains begins ends"},
        {"rows --where Title between a", "the second value of between is missing at the end of the line"},
        {"rows --where Node < 1 --fields Title", "the field \\'Node\\' has no column"},
        {"rows Title", "there is no option Title: take --node, --where, --search, --sort, --range or --fields"},
        {"count --where Duration > 60", "'count':1"},
        {"count --node 031 --node nobody", "the tree has no node 031 > nobody"},
        {"find podcast://h/1.mp3", "[{'field':'Node','value':'01'},{'field':'Node','value':'04" + feed},
        {"find podcast://h/9.mp3", "podcast://h/9.mp3 is not in the library"},
        {"play " + two, "{'file':'" + two + "','ok':true,'source':'" + server.Url("/2.mp3")},
        {"info podcast://h/1.mp3", "'Duration':90,'FileName':'podcast://h/1.mp3','Genre':'','Title':'One'"},
        {"resolve podcast://h/1.mp3", "{'decoder':{'code':'0x80004001'},'hook':'http://h/1.mp3','ok':true"},
        {"art podcast://h/1.mp3", "'format':'PNG','height':2,'ok':true,'width':3"},
        {"folder podcast://h/1.mp3", "'canOpen':false"},
        {"folder podcast://h/1.mp3 open", "the folder of podcast://h/1.mp3 cannot be opened"},
        {"present podcast://h/1.mp3", "{'moves':0,'ok':true,'present':'podcast://h/1.mp3'}"},
        {"present podcast://h/9.mp3", "nothing is known of podcast://h/9.mp3"},
        {"present /a.mp3", "no file system knows present addresses of /a.mp3"},
        {"run VEXA.Podcasts.Actions.MarkAs", "the action VEXA.Podcasts.Actions.MarkAs is hidden or disabled now"},
        {"select --node 031 --files podcast://h/1.mp3 --focus podcast://h/1.mp3", "{'ok':true}"},
        {"select a", "what is a? take --node, --files or --focus before it"},
        {"menu 71", "[{'caption':'Mark as','children':[{'caption':'Listened','children':[],'enabled':true,"},
        {"menu 5", "a menu is 32, 51, 71 or 80"},
        {"run VEXA.Podcasts.Actions.MarkAs/1", "{'ok':true}"},
        {"run VEXA.Podcasts.Actions.MarkAs/7", "the action VEXA.Podcasts.Actions.MarkAs has 3 entries"},
        {"run nothing", "there is no action nothing: menu lists them"},
        {"playlist add Mine podcast://h/1.mp3 " + two, "'name':'Mine'"},
        {"playlist select Mine 1", "{'ok':true}"},
        {"playlist select Mine 2", "the playlist has no entry 2"},
        {"playlist rows Mine", "{'focus':1,'ok':true,'rows':[{'file':'podcast://h/1.mp3','group':'Tides','selected':f"},
        {"playlists", "[{'active':true,'name':'Mine','smart':false}]"},
        {"playlist remove Mine", "{'ok':true}"},
        {"playlist rows Mine", "there is no playlist Mine: playlists lists them"},
        {"cancel 99", "there is no task 99: tasks lists them"},
        {"export " + list, "{'ok':true}"},
        {"export /dev/null/x", "cannot write /dev/null/x: Not a directory"},
        {"import " + list, "'code':'0x80004004','text':'Tides'"},
        {"import " + list + u".none", "No such file or directory"},
        {"select --node 01 04" + feed + " --files " + two, "{'ok':true}"},
        {"run VEXA.Podcasts.Actions.RefreshFeed", "{'ok':true}"},  // of the selected one
        {"run VEXA.Podcasts.Actions.CachedFilesControl", "{'ok':true}"},
    };
    QProcess program;
    Start(program, Options());
    const auto answerTo = [&](const QString& line) {
        program.write(line.toUtf8() + '\n');
        while (!program.canReadLine() && program.waitForReadyRead(tests::kLongest)) {
        }
        return QString::fromUtf8(program.readLine()).replace('"', '\'');
    };
    for (const auto& [line, part] : rows) {
        const QString answer = answerTo(line);
        EXPECT_TRUE(answer.contains(part)) << line.toStdString() << ": " << answer.toStdString();
    }
    QString tasks;
    const auto becomes = [&](const QStringList& parts) {
        EXPECT_TRUE(tests::WaitUntil([&] {
            tasks = answerTo("tasks");
            return std::ranges::all_of(parts, [&](const QString& part) { return tasks.contains(part); });
        })) << tasks.toStdString();
    };
    becomes({"'refresh':[{'caption':'Tides','dropped':false,'error':'','file':'','item':'" + feed + "','moved':''",
             "'tasks':[{'canCancel':true,'caption':'Downloading", "'count':1,'id':1,'item':1,'share':0.5}]"});
    EXPECT_EQ(answerTo("cancel 1"), "{'ok':true}\n");
    becomes({"'downloads':[{'caption':'Two','dropped':false,'error':'cancelled'", "'tasks':[]"});
    program.closeWriteChannel();
    EXPECT_EQ(tests::Finish(program).Status, 0);
}

TEST_F(Headless, AHiddenServiceIsMissingForThePlugin) {
    for (const bool atStart : {false, true}) {
        const Outcome outcome =
            RunHere(QByteArray(atStart ? "" : "without nothing\nwithout library\n") + "load\nquit\nhelp\n",
                    atStart ? QStringList{"--without", "library"} : QStringList());
        EXPECT_EQ(outcome.Status, 0);
        ASSERT_EQ(outcome.Answers.size(), atStart ? 2 : 4);
        EXPECT_EQ(outcome.Answers.end()[-2][u"code"].toString(), "0x80004001");
        EXPECT_TRUE(outcome.Answers.last()[u"ok"].toBool());
    }
}

TEST_F(Headless, WrongOptionsAndPluginsAreReported) {
    const std::tuple<QStringList, int, const char*> cases[] = {
        {{}, 2, "--headless"},
        {Options({"--without", "nothing"}), 2, "there is no service nothing"},
        {Options({"--plugin", Profile.File("none.so")}), 1, "there is no file"},
        {Options({"stray"}), 2, "stray"},
        {{"--headless", "--profile", "/dev/null/x"}, 1, "cannot make the profile folder"},
    };
    for (const auto& [options, status, error] : cases) {
        const Outcome outcome = RunProgram(options, "help\n");
        EXPECT_EQ(outcome.Status, status) << error;
        EXPECT_TRUE(outcome.Answers.isEmpty());
        EXPECT_TRUE(outcome.Error.contains(error)) << outcome.Error.toStdString();
    }
}

TEST_F(Headless, ASignalEndsThePluginProperly) {
    QProcess program;
    Start(program, Options());
    program.write("load\n");
    while (!program.canReadLine()) ASSERT_TRUE(program.waitForReadyRead(tests::kLongest));
    program.terminate();
    EXPECT_EQ(tests::Finish(program).Status, 0);
    EXPECT_TRUE(ReadWhole(Profile.File("Settings.ini")).contains("CheckUpdates="));
}

TEST_F(Headless, TheEndOfTheInputClosesDialogsOfCommands) {
    // The first dialog is open when the input ends; the second one opens later, after a command on a worker thread.
    const Outcome outcome =
        RunHere("load\nrun VEXA.Podcasts.Actions.Subscribe\nresolve x\nrun VEXA.Podcasts.Actions.Subscribe\nplugin\n");
    EXPECT_EQ(outcome.Status, 0) << outcome.Error.toStdString();
    ASSERT_EQ(outcome.Answers.size(), 5);
    for (const QJsonObject& answer : outcome.Answers) EXPECT_TRUE(answer[u"ok"].toBool());
    EXPECT_EQ(outcome.Answers[4][u"name"].toString(), "Podcasts");
}
