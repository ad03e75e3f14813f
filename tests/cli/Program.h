#pragma once
// The built programs, as a person runs them: podcasts with a profile of its own, and servers on loopback for it.

#include "PlainSqlite.h"
#include "TempFolder.h"
#include "Texts.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <thread>

using namespace Qt::StringLiterals;

constexpr int kLongest = 120000;  // ms; nothing takes that long but a program that hangs

struct Result {
    int Status = -1;
    QString Out, Error;
};

/// Waits for a program's end.
inline Result Finish(QProcess& program) {
    if (program.state() != QProcess::NotRunning && !program.waitForFinished(kLongest)) {
        program.kill();
        program.waitForFinished(kLongest);
        return {-2, u""_s, u"it did not end"_s};
    }
    const int status = program.exitStatus() == QProcess::NormalExit ? program.exitCode() : -1;
    return {status, QString::fromUtf8(program.readAllStandardOutput()),
            QString::fromUtf8(program.readAllStandardError())};
}

/// Files of a folder served over HTTP.
class FolderServer {
public:
    explicit FolderServer(const QStringList& options = {}) {
        FProgram.start(QStringLiteral(LOOPBACK_SERVER), QStringList(Folder.Path()) + options);
        while (FProgram.bytesAvailable() == 0 && FProgram.waitForReadyRead(kLongest)) {
        }
        Address = QString::fromUtf8(FProgram.readLine()).trimmed();
    }
    ~FolderServer() {
        FProgram.closeWriteChannel();
        FProgram.waitForFinished(kLongest);
    }

    TempFolder Folder;
    QString Address;

private:
    QProcess FProgram;
};

/// Answers one request with the first part of a long audio file, and then keeps the connection open in silence.
class StallingServer {
public:
    StallingServer() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        const auto any = reinterpret_cast<sockaddr*>(&address);
        if (bind(FListener, any, size) != 0 || listen(FListener, 1) != 0 || getsockname(FListener, any, &size) != 0)
            return;
        Address = u"http://127.0.0.1:%1/long.mp3"_s.arg(ntohs(address.sin_port));
        FThread = std::thread([this] {
            const int connection = accept(FListener, nullptr, nullptr);
            char request[4096];
            constexpr std::string_view answer =
                "HTTP/1.1 200 OK\r\nContent-Type: audio/mpeg\r\nContent-Length: 1000000\r\n\r\nthe first bytes";
            if (read(connection, request, sizeof request) > 0 &&
                send(connection, answer.data(), answer.size(), MSG_NOSIGNAL) > 0)
                while (read(connection, request, sizeof request) > 0) {
                }
            close(connection);
        });
    }
    ~StallingServer() {
        shutdown(FListener, SHUT_RDWR);
        if (FThread.joinable()) FThread.join();
        close(FListener);
    }

    QString Address;

private:
    const int FListener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::thread FThread;
};

/// A profile, and the program over it.
class Program : public testing::Test {
protected:
    static Result RunWith(const QStringList& arguments, const QByteArray& input = {}) {
        QProcess program;
        program.start(QStringLiteral(PODCASTS), arguments);
        program.write(input);
        program.closeWriteChannel();
        return Finish(program);
    }
    Result Run(const QStringList& arguments, const QByteArray& input = {}) {
        return RunWith(InProfile(arguments), input);
    }
    QStringList InProfile(const QStringList& arguments) {
        return QStringList({u"--profile"_s, Profile.Path()}) + arguments;
    }
    void Start(QProcess& program, const QStringList& arguments) {
        program.start(QStringLiteral(PODCASTS), InProfile(arguments));
        ASSERT_TRUE(program.waitForStarted(kLongest));
    }
    /// What a command that succeeds prints with --json.
    QJsonDocument Json(const QStringList& arguments) {
        const Result result = Run(arguments + QStringList(u"--json"_s));
        EXPECT_EQ(result.Status, 0) << result.Error.toStdString();
        return QJsonDocument::fromJson(result.Out.toUtf8());
    }
    QJsonArray Episodes(const QStringList& filter = {}) { return Json(QStringList(u"episodes"_s) + filter).array(); }
    QStringList Keys(const QStringList& filter = {}) {
        QStringList keys;
        for (const auto& episode : Episodes(filter)) keys += episode[u"key"].toString();
        return keys;
    }

    /// Writes a feed of `count` episodes to the server's folder, with an audio file for each; gives its address.
    static QString WriteFeed(const FolderServer& server, const QString& name, int count, int audioSize = 100) {
        QString items;
        for (int i = 1; i <= count; ++i) {
            const QString audio = u"%1-%2.mp3"_s.arg(name).arg(i);
            WriteWhole(server.Folder.File(audio), QByteArray(audioSize, static_cast<char>('a' + i % 26)));
            items +=
                u"<item><guid>%1-%2</guid><title>%1 part %2</title><itunes:author>Ann</itunes:author>"
                "<itunes:duration>1:30</itunes:duration><description>&lt;p&gt;Notes &lt;a "
                "href=\"http://h/\"&gt;here&lt;/a&gt;</description>"
                "<pubDate>%3 Jan 2024 10:00:00 GMT</pubDate><enclosure url='%4/%5'/></item>"_s.arg(name)
                    .arg(i)
                    .arg(1 + i % 28)
                    .arg(server.Address, audio);
        }
        WriteWhole(server.Folder.File(name + u".xml"),
                   ("<rss version='2.0'><channel><title>" + name + "</title>" + items + "</channel></rss>").toUtf8());
        return server.Address + u'/' + name + u".xml";
    }
    /// Downloads go to a folder of the test's.
    void SetUp() override {
        ASSERT_EQ(
            Run({u"options"_s, u"CacheFileNameTemplate"_s, Files.File(u"%FeedTitle%\\%EpisodeFileName%"_s)}).Status, 0);
    }
    /// Whether the database is sound and every file that it records is one of `audioSize` equal bytes.
    void ExpectSound(int audioSize) {
        PlainSqlite db(Profile.File(u"Podcasts.db"_s));
        EXPECT_EQ(db.Rows("PRAGMA integrity_check"), QStringList(u"ok"_s));
        for (const QString& file : db.Rows("SELECT URLAudioCached FROM PodcastEpisodes WHERE URLAudioCached <> ''")) {
            const QByteArray bytes = ReadWhole(file);
            EXPECT_TRUE(bytes == QByteArray(audioSize, bytes.isEmpty() ? ' ' : bytes[0])) << file.toStdString();
        }
    }

    TempFolder Profile, Files;
};
