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
        return {-2, "", "it did not end"};
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

    tests::TempFolder Folder;
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
    /// Runs the program as it is; `words` are what a shell would be given.
    static Result RunWith(const QString& words, const QByteArray& input = {}) {
        QProcess program;
        program.start(PODCASTS, words.split(' ', Qt::SkipEmptyParts));
        program.write(input);
        program.closeWriteChannel();
        return Finish(program);
    }
    /// Runs it over the profile.
    Result Run(const QString& words, const QByteArray& input = {}) { return RunWith(InProfile(words), input); }
    QString InProfile(const QString& words) { return "--profile " + Profile.Path() + ' ' + words; }
    void Start(QProcess& program, const QString& words) {
        program.start(PODCASTS, InProfile(words).split(' ', Qt::SkipEmptyParts));
        ASSERT_TRUE(program.waitForStarted(kLongest));
    }
    /// What a command that succeeds prints with --json.
    QJsonDocument Json(const QString& words) {
        const Result result = Run(words + " --json");
        EXPECT_EQ(result.Status, 0) << result.Error.toStdString();
        return QJsonDocument::fromJson(result.Out.toUtf8());
    }
    QJsonArray Episodes(const QString& filter = {}) { return Json("episodes " + filter).array(); }
    QStringList Keys(const QString& filter = {}) {
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
                u"<item><guid>%1-%2</guid><title>%1, part-%2</title><itunes:author>Ann</itunes:author>"
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
        ASSERT_EQ(Run("options CacheFileNameTemplate " + Files.File("%FeedTitle%\\%EpisodeFileName%")).Status, 0);
    }
    /// Whether the database is sound and every file that it records is one of `audioSize` equal bytes.
    void ExpectSound(int audioSize) {
        PlainSqlite db(Profile.File("Podcasts.db"));
        EXPECT_EQ(db.Rows("PRAGMA integrity_check"), QStringList("ok"));
        for (const QString& file : db.Rows("SELECT URLAudioCached FROM PodcastEpisodes WHERE URLAudioCached <> ''")) {
            const QByteArray bytes = ReadWhole(file);
            EXPECT_TRUE(bytes == QByteArray(audioSize, bytes.isEmpty() ? ' ' : bytes[0])) << file.toStdString();
        }
    }

    tests::TempFolder Profile, Files;
};
