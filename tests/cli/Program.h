#pragma once
// Runs the built programs as a user does: podcasts with a profile of its own, and servers on loopback for it.

#include "PlainSqlite.h"
#include "Processes.h"
#include "TempFolder.h"
#include "Texts.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

using tests::Finish;
using tests::kLongest;
using tests::Result;

/// Serves the files of a folder over HTTP.
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

/// A profile, and podcasts run with it.
class Program : public testing::Test {
protected:
    /// Runs the program without the profile; `words` are its command line.
    static Result RunWith(const QString& words, const QByteArray& input = {}) {
        QProcess program;
        program.start(PODCASTS, words.split(' ', Qt::SkipEmptyParts));
        program.write(input);
        program.closeWriteChannel();
        return Finish(program);
    }
    /// Runs the program with the profile.
    Result Run(const QString& words, const QByteArray& input = {}) { return RunWith(InProfile(words), input); }
    QString InProfile(const QString& words) { return "--profile " + Profile.Path() + ' ' + words; }
    void Start(QProcess& program, const QString& words) {
        program.start(PODCASTS, InProfile(words).split(' ', Qt::SkipEmptyParts));
        ASSERT_TRUE(program.waitForStarted(kLongest));
    }
    /// Runs a command that must fail with an error message that contains all of `texts`; returns its standard output.
    QString ExpectFailure(const QString& words, const QStringList& texts) {
        const Result result = Run(words);
        EXPECT_EQ(result.Status, 1) << words.toStdString();
        for (const QString& text : texts) EXPECT_TRUE(result.Error.contains(text)) << result.Error.toStdString();
        return result.Out;
    }
    /// Runs a command with --json, which must succeed; returns what it prints.
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

    /// The rows that the database returns for `sql`.
    QStringList Rows(const QString& sql) { return PlainSqlite(Profile.File("Podcasts.db")).Rows(sql.toUtf8()); }

    /// Writes a feed of `count` episodes to the server's folder, with an audio file for each; returns the feed's
    /// address. Audio addresses end in `token`.
    static QString WriteFeed(const FolderServer& server, const QString& name, int count, int audioSize = 100,
                             const QString& token = {}) {
        const QString item =
            "<item><guid>%1-%2</guid><title>%1, part-%2</title><itunes:author>Ann</itunes:author>"
            "<itunes:duration>1:30</itunes:duration><pubDate>%3 Jan 2024 10:00:00 GMT</pubDate>"
            "<description>&lt;p&gt;Notes &lt;a href=\"http://h/\"&gt;here&lt;/a&gt;</description>"
            "<enclosure url='%4/%1-%2.mp3%5'/></item>";
        QString feed = "<rss version='2.0'><channel><title>" + name + "</title>";
        for (int i = 1; i <= count; ++i) {
            const QString audio = server.Folder.File(u"%1-%2.mp3"_s.arg(name).arg(i));
            if (QFileInfo(audio).size() != audioSize)
                WriteWhole(audio, QByteArray(audioSize, static_cast<char>('a' + i % 26)));
            feed += item.arg(name, QString::number(i), QString::number(1 + i % 28), server.Address, token);
        }
        WriteWhole(server.Folder.File(name + u".xml"), feed.toUtf8() + "</channel></rss>");
        return server.Address + u'/' + name + u".xml";
    }
    /// Sets the download folder to one of the test.
    void SetUp() override {
        ASSERT_EQ(Run("options CacheFileNameTemplate " + Files.File("%FeedTitle%\\%EpisodeFileName%")).Status, 0);
    }
    /// Expects the database to be intact, and every file that it records to consist of `audioSize` equal bytes.
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
