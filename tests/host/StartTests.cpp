// The player program from outside: its arguments, and its end. Each test starts the built program, whose windows are
// drawn in memory.

#include "FileSizeLimit.h"
#include "Processes.h"
#include "TempFolder.h"
#include "Texts.h"
#include "Tone.h"
#include "Waiting.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using tests::WaitUntil;

namespace {

constexpr auto kPlayer = "org.mpris.MediaPlayer2.vexa";

/// A start of the program.
class Start {
public:
    Start(const QProcessEnvironment& environment, const QStringList& words, const QString& folder = {},
          const QString& program = QStringLiteral(VEXA)) {
        Process.setProcessEnvironment(environment);
        Process.setWorkingDirectory(folder);
        QObject::connect(&Process, &QProcess::readyReadStandardError,
                         [this] { Error += QString::fromUtf8(Process.readAllStandardError()); });
        Process.start(program, words);
        Process.waitForStarted(tests::kLongest);  // without this QProcess goes on reporting that it is starting
    }
    ~Start() {
        Process.kill();
        Process.waitForFinished(tests::kLongest);
    }
    /// The exit status.
    int Finish() {
        const tests::Result result = tests::Finish(Process);
        Error += result.Error;
        return result.Status;
    }
    int Terminate() {
        Process.terminate();
        return Finish();
    }

    QProcess Process;
    QString Error;
};

class Window : public testing::Test {
protected:
    void SetUp() override {
        Environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
        Environment.insert(u"XDG_RUNTIME_DIR"_s, Home.Path());
        WriteWhole(Home.File("tides.xml"),
                   "<rss version='2.0'><channel><title>Tides</title><item><title>One</title><guid>g</guid>"
                   "<enclosure url='http://127.0.0.1:9/1.mp3' type='audio/mpeg'/></item></channel></rss>");
    }
    QStringList Words(const QStringList& more = {}, const QString& profile = u"profile"_s) {
        return QStringList{"--language", "English", "--profile", Home.File(profile)} + more;
    }
    static QStringList Names() { return QDBusConnection::sessionBus().interface()->registeredServiceNames(); }
    static qsizetype Windows() { return Names().filter(u"org.vexa_podcasts.Vexa.Profile"_s).size(); }
    /// Has the player play a file over the bus. That this works shows that the program has started completely.
    static bool Plays(const QString& file) {
        QDBusMessage call = QDBusMessage::createMethodCall(kPlayer, u"/org/mpris/MediaPlayer2"_s,
                                                           u"org.mpris.MediaPlayer2.Player"_s, u"OpenUri"_s);
        call << file;
        return QDBusConnection::sessionBus().call(call).type() == QDBusMessage::ReplyMessage;
    }
    static qlonglong Position() {
        QDBusMessage call = QDBusMessage::createMethodCall(kPlayer, u"/org/mpris/MediaPlayer2"_s,
                                                           u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
        call << u"org.mpris.MediaPlayer2.Player"_s << u"Position"_s;
        const QVariantList answer = QDBusConnection::sessionBus().call(call).arguments();
        return answer.isEmpty() ? 0 : answer[0].value<QDBusVariant>().variant().toLongLong();
    }
    QByteArray Settings() { return ReadWhole(Home.File("profile/Settings.ini")); }

    tests::TempFolder Home;
    QProcessEnvironment Environment = QProcessEnvironment::systemEnvironment();
};

}  // namespace

TEST_F(Window, ALaterStartOfAProfileHandsItsAddressesOver) {
    for (const bool hasBus : {true, false}) {
        SCOPED_TRACE(hasBus);
        if (!hasBus) Environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, "unix:path=" + Home.File("no bus"));
        const QString profile = hasBus ? u"profile"_s : u"other"_s;
        const auto sockets = [&] { return QDir(Home.Path()).entryList({"vexa-*"}, QDir::System).size(); };
        const auto count = [&] { return hasBus ? Windows() : sockets(); };
        {
            Start crashed(Environment, Words({}, profile));  // leaves its socket behind
            ASSERT_TRUE(WaitUntil([&] { return count() == 1; })) << crashed.Error.toStdString();
        }
        Start first(Environment, Words({}, profile));
        const auto isFirst = [&] {
            QFile lock(Home.File(QDir(Home.Path()).entryList({"vexa-*.lock"}).value(0)));
            return hasBus ? count() == 1
                          : lock.open(QIODevice::ReadOnly) &&
                                lock.readLine().trimmed() == QByteArray::number(first.Process.processId());
        };
        ASSERT_TRUE(WaitUntil(isFirst)) << first.Error.toStdString();
        // With another name of the folder, and a file name relative to the second program's working directory.
        Start second(Environment, Words({"tides.xml"}, "./" + profile), Home.Path());
        EXPECT_EQ(second.Finish(), 0) << second.Error.toStdString();
        const auto subscribed = [&](const QString& folder) {
            const QString database = Home.File(folder + "/Podcasts.db-wal");
            return WaitUntil([&] { return QFile::exists(database) && ReadWhole(database).contains("Tides"); });
        };
        EXPECT_TRUE(subscribed(profile)) << first.Error.toStdString();
        EXPECT_EQ(first.Process.state(), QProcess::Running);
        Start another(Environment, Words({"tides.xml"}, "third" + profile), Home.Path());
        EXPECT_TRUE(WaitUntil([&] { return count() == 2; }));
        EXPECT_TRUE(subscribed("third" + profile)) << "a first start opens its addresses itself";
        EXPECT_EQ(first.Terminate(), 0) << first.Error.toStdString();
        EXPECT_EQ(another.Terminate(), 0) << another.Error.toStdString();
        // The first instance has ended.
        Start next(Environment, Words({}, profile));
        EXPECT_TRUE(WaitUntil([&] { return count() == 1; }));
        EXPECT_EQ(next.Terminate(), 0);
    }
}

TEST_F(Window, WrongArgumentsAreReported) {
    const std::pair<QString, const char*> cases[] = {
        {u"none.xml"_s, "there is no file"},  {u"file:///none.xml"_s, "there is no file /none.xml"},
        {Home.Path(), "is no file"},          {u"ftp://127.0.0.1/feed.xml"_s, "cannot be opened"},
        {u"feed:"_s, "names no server"},      {u"itpc:feed:"_s, "names no server"},
        {u"none.opml"_s, "there is no file"}, {u"two words.org"_s, "there is no file"},
    };
    for (const auto& [argument, error] : cases) {
        Start program(Environment, Words({argument}));
        EXPECT_EQ(program.Finish(), 2) << error;
        EXPECT_TRUE(program.Error.contains(error)) << program.Error.toStdString();
    }
    EXPECT_FALSE(QFile::exists(Home.File("profile")));
}

TEST_F(Window, ASignalSavesPositionsAndLayout) {
    const QString file = Home.File("a.wav");
    WriteWhole(file, MakeTone(60));
    for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
        SCOPED_TRACE(signalNumber);
        QFile::remove(Home.File("profile/Positions.json"));
        Start program(Environment, Words());
        ASSERT_TRUE(WaitUntil([] { return Names().contains(kPlayer); })) << program.Error.toStdString();
        ASSERT_TRUE(Plays(file));
        ASSERT_TRUE(WaitUntil([] { return Position() > 500000; })) << program.Error.toStdString();
        kill(static_cast<pid_t>(program.Process.processId()), signalNumber);
        EXPECT_EQ(program.Finish(), 0) << program.Error.toStdString();
        const auto begun = QJsonDocument::fromJson(ReadWhole(Home.File("profile/Positions.json")))["begun"].toArray();
        ASSERT_EQ(begun.size(), 1);
        EXPECT_EQ(begun[0]["address"].toString(), file);
        EXPECT_GT(begun[0]["position"].toDouble(), 0.4);
        EXPECT_TRUE(Settings().contains("Geometry=") && Settings().contains("CheckUpdates=2"));
    }
}

TEST_F(Window, AProfileThatCannotBeWrittenIsReportedAndNotChanged) {
    WriteWhole(Home.File("profile/Settings.ini"), "[A]\nb=1\n");
    // The shell's command runs its arguments, the program's command line.
    const std::pair<QString, QString> cases[] = {
        {u"exec \"$@\""_s, u"/proc"_s},                         // no file can be created there
        {u"ulimit -f 0; exec \"$@\""_s, Home.File("profile")},  // no byte can be added, as on a full disk
    };
    for (const auto& [shell, profile] : cases) {
        SCOPED_TRACE(profile.toStdString());
        if (!tests::kCanLimitFileSize && shell.startsWith(u"ulimit")) continue;
        Start program(Environment, {"-c", shell, "sh", VEXA, "--language", "English", "--profile", profile}, {}, "sh");
        ASSERT_TRUE(WaitUntil([&] { return program.Error.contains("no files can be written in " + profile); }))
            << program.Error.toStdString();
        EXPECT_TRUE(WaitUntil([&] { return program.Error.contains("starting the podcasts failed"); }));
        EXPECT_EQ(program.Terminate(), 1);
        EXPECT_TRUE(program.Error.contains("cannot write the settings")) << program.Error.toStdString();
    }
    EXPECT_EQ(Settings(), "[A]\nb=1\n");
}
