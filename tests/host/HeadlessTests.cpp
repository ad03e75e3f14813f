// The built program in headless mode, driven by lines as from a script.

#include "TempFolder.h"
#include "Texts.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int kLongest = 120000;  // ms; only a program that hangs takes longer

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
    if (!program.waitForFinished(kLongest)) return {-2, {}, "it did not end"};
    Outcome outcome{program.exitStatus() == QProcess::NormalExit ? program.exitCode() : -1,
                    {},
                    QString::fromUtf8(program.readAllStandardError())};
    for (const QByteArray& line : program.readAllStandardOutput().split('\n'))
        if (!line.isEmpty()) outcome.Answers += QJsonDocument::fromJson(line).object();
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
    struct {
        bool IsOk;
        QString Key, Value;
    } const expected[] = {
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
        EXPECT_EQ(outcome.Answers[i][u"ok"].toBool(), expected[i].IsOk);
        EXPECT_EQ(outcome.Answers[i][expected[i].Key].toString(), expected[i].Value);
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
    struct {
        QStringList Options;
        int Status;
        const char* Error;
    } const cases[] = {
        {{}, 2, "--headless"},
        {Options({"--without", "nothing"}), 2, "there is no service nothing"},
        {Options({"--plugin", Profile.File("none.so")}), 1, "there is no file"},
        {Options({"stray"}), 2, "stray"},
        {{"--headless", "--profile", "/dev/null/x"}, 1, "cannot make the profile folder"},
    };
    for (const auto& c : cases) {
        const Outcome outcome = RunProgram(c.Options, "help\n");
        EXPECT_EQ(outcome.Status, c.Status) << c.Error;
        EXPECT_TRUE(outcome.Answers.isEmpty());
        EXPECT_TRUE(outcome.Error.contains(c.Error)) << outcome.Error.toStdString();
    }
}

TEST_F(Headless, ASignalEndsThePluginProperly) {
    QProcess program;
    Start(program, Options({"--plugin", TEST_PLUGIN}));
    program.write("help\n");
    while (!program.canReadLine()) ASSERT_TRUE(program.waitForReadyRead(kLongest));
    program.terminate();
    ASSERT_TRUE(program.waitForFinished(kLongest));
    EXPECT_EQ(program.exitCode(), 0);
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
