// The built program in headless mode, driven by lines as from a script.

#include "Processes.h"
#include "TempFolder.h"
#include "Texts.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

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
    const Outcome outcome =
        RunHere("plugin\nload " TEST_PLUGIN
                "\nload\nresolve test://x\ntext Podcasts\\New 1\n\ninfo \"test://a \"\"b\"\nwithout http\n"
                "config set A\\b \"1  2\"\nconfig get A\\b\nconfig get A\\c\nconfig get A\\c \"\"\nno "
                "such\nart\nunload\nplugin");
    EXPECT_EQ(outcome.Status, 0) << outcome.Error.toStdString();
    const std::tuple<bool, QString, QString> expected[] = {
        {false, "error", "no plug-in is loaded: load one first"},
        {true, "name", "Test"},
        {false, "error", "a plug-in is loaded already: unload it first"},
        {true, "source", "http://127.0.0.1/a.mp3"},
        {true, "text", "New (%s)"},
        {true, "", ""},
        {false, "error", "a plug-in is loaded already: hide services before load"},
        {true, "", ""},
        {true, "value", "1  2"},
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
    EXPECT_EQ(outcome.Answers[5][u"info"][u"FileName"].toString(), "test://a \"b");
    EXPECT_EQ(ReadWhole(Profile.File("Settings.ini")), "[A]\nb=1  2\n\n[Test]\nFinalized=1\nInitialized=1\n");
}

TEST_F(Headless, AHiddenServiceIsMissingForThePlugin) {
    for (const bool atStart : {false, true}) {
        const Outcome outcome = RunHere(
            QByteArray(atStart ? "" : "without nothing\nwithout library\n") + "load " TEST_PLUGIN "\nquit\nhelp\n",
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
    Start(program, Options({"--plugin", TEST_PLUGIN}));
    program.write("help\n");
    while (!program.canReadLine()) ASSERT_TRUE(program.waitForReadyRead(tests::kLongest));
    program.terminate();
    EXPECT_EQ(tests::Finish(program).Status, 0);
    EXPECT_TRUE(ReadWhole(Profile.File("Settings.ini")).contains("Finalized=1"));
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
