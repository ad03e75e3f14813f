#pragma once
// Runs the built programs as a user does: podcasts with a profile of its own, and a server on loopback for it.

#include "LoopbackServer.h"
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
using tests::Response;
using tests::Result;

/// A profile, podcasts run with it, and a server of feeds for it.
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

    /// A feed of `count` episodes, whose audio addresses end in `token`.
    QString Document(const QString& name, int count, const QString& token = {}) const {
        const QString item =
            "<item><guid>%1-%2</guid><title>%1, part-%2</title><itunes:author>Ann</itunes:author>"
            "<itunes:duration>1:30</itunes:duration><pubDate>%3 Jan 2024 10:00:00 GMT</pubDate>"
            "<description>&lt;p&gt;Notes &lt;a href=\"http://h/\"&gt;here&lt;/a&gt;</description>"
            "<enclosure url='%4/%1-%2.mp3%5'/></item>";
        QString feed = "<rss version='2.0'><channel><title>" + name + "</title>";
        for (int i = 1; i <= count; ++i)
            feed += item.arg(name, QString::number(i), QString::number(1 + i % 28), Server.Url(""), token);
        return feed + "</channel></rss>";
    }
    /// Serves the feed at "/NAME.xml", and its audio; returns the feed's address.
    QString Publish(const QString& name, int count, int audioSize = 100, const QString& token = {}) {
        for (int i = 1; i <= count; ++i) {
            const QByteArray sound(audioSize, static_cast<char>('a' + i % 26));
            Server.Serve(u"/%1-%2.mp3%3"_s.arg(name).arg(i).arg(token), Response::Of(sound, "audio/mpeg"));
        }
        Server.Serve(u"/%1.xml"_s.arg(name), Response::Of(Document(name, count, token).toUtf8()));
        return Server.Url(u"/%1.xml"_s.arg(name));
    }
    /// Subscribes to a new feed; returns its address.
    QString Subscribe(const QString& name, int count) {
        const QString address = Publish(name, count);
        const Result result = Run("subscribe " + address);
        EXPECT_EQ(result.Status, 0) << result.Error.toStdString();
        return address;
    }

    /// Runs `sql` as another program; returns the rows that the database gives for it.
    QStringList Rows(const QString& sql) { return PlainSqlite(Profile.File("Podcasts.db")).Rows(sql.toUtf8()); }

    /// Sets the download folder to one of the test.
    void SetUp() override {
        ASSERT_EQ(Run("options CacheFileNameTemplate " + Files.File("%FeedTitle%\\%EpisodeFileName%")).Status, 0);
    }
    /// Expects the database to be intact, and every file that it records to consist of `audioSize` equal bytes.
    void ExpectSound(int audioSize) {
        EXPECT_EQ(Rows("PRAGMA integrity_check"), QStringList("ok"));
        for (const QString& file : Rows("SELECT URLAudioCached FROM PodcastEpisodes WHERE URLAudioCached <> ''")) {
            const QByteArray bytes = ReadWhole(file);
            EXPECT_TRUE(bytes == QByteArray(audioSize, bytes.isEmpty() ? ' ' : bytes[0])) << file.toStdString();
        }
    }

    tests::TempFolder Profile, Files;
    tests::LoopbackServer Server;
};
