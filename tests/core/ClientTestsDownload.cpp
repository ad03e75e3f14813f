#include "ClientTests.h"
#include "Podcasts.Core.TargetFile.h"

#include <QDirIterator>

#include <signal.h>
#include <sys/resource.h>

namespace podcasts {
namespace {

class ClientDownload : public ClientTest {
protected:
    void ServeAudio(const std::string& path, const std::string& body, const std::string& type = "audio/mpeg") {
        Server.Serve(path, Response::Of(body, type));
    }
    /// The names of all audio files, below their folder.
    QStringList Files() const {
        QStringList names;
        const QDir folder(Folder.File(QStringLiteral("audio")));
        for (QDirIterator i(folder.path(), QDir::Files, QDirIterator::Subdirectories); i.hasNext();)
            names += folder.relativeFilePath(i.next());
        names.sort();
        return names;
    }
    QString LastError() const { return Client->DownloadOutcomes().From().at(0).Error; }
};

TEST_F(ClientDownload, TakesTheEpisodeQueuedLastFirstAndRecordsEachFile) {
    Subscribe("a", {{"1", "/1.mp3"}, {"2", "/2.mp3"}, {"3", "/3.mp3", "Third"}});
    const std::string sound(700'000, 's');
    for (const char* path : {"/1.mp3", "/2.mp3", "/3.mp3"}) ServeAudio(path, sound + path);
    Client->DownloadEpisodes({Key("/3.mp3"), Key("/2.mp3"), Key("/1.mp3"), QStringLiteral("podcast://unknown")});
    ASSERT_TRUE(WaitForDownloads());
    EXPECT_EQ(Server.Paths(), (std::vector<std::string>{"/1.mp3", "/2.mp3", "/3.mp3"}));
    EXPECT_EQ(Heard->Events.join(u'|'), QStringLiteral("downloads started|downloads finished|changed"));
    EXPECT_EQ(Heard->LastProgress(), QStringLiteral("700006 of 700006: a - Third"));
    for (const char* path : {"/1.mp3", "/2.mp3", "/3.mp3"}) {
        EXPECT_EQ(CachedFile(path), AudioFile(QStringLiteral("a") + QString::fromUtf8(path)));
        EXPECT_TRUE(tests::ReadFile(CachedFile(path)) == QByteArray::fromStdString(sound + path));
    }
    Server.Forget();
    Download("/1.mp3");
    EXPECT_TRUE(Server.Paths().empty()) << "it is there already";
}

TEST_F(ClientDownload, TakesTheExtensionFromTheResponse) {
    const struct {
        const char *Audio, *Type, *File;
    } rows[] = {
        {"/a.bin", "application/octet-stream", "a.mp3"},
        {"/b.jpeg", "Application/Octet-Stream", "b.mp3"},
        {"/c", "audio/mpeg", "c.mp3"},
        {"/d.xy", "audio/mpeg", "d.xy.mp3"},
        {"/e.audio", "audio/mpeg", "e.audio.mp3"},
        {"/f.MP3?x=1", "audio/mp4; codecs=x", "f.m4a"},
        {"/g.mp3", "application/x-unheard-of", "g.mp3"},
        {"/h.mp3", "", "h.mp3"},
    };
    std::vector<Item> items;
    QStringList keys, files;
    for (const auto& [audio, type, file] : rows) {
        items.push_back({audio, audio});
        ServeAudio(audio, audio, type);
        keys += Key(audio);
        files += QStringLiteral("show/") + QString::fromUtf8(file);
    }
    Subscribe("show", items);
    Client->DownloadEpisodes(keys);
    ASSERT_TRUE(WaitForDownloads());
    EXPECT_EQ(Files(), files);
    for (const auto& [audio, type, file] : rows)
        EXPECT_EQ(CachedFile(audio), AudioFile(QStringLiteral("show/") + QString::fromUtf8(file)));
}

TEST_F(ClientDownload, LeavesNoFileAndNoRecordWhenItFailsAndGoesOn) {
    Subscribe("a", {{"1", "/bad.mp3"}, {"2", "/good.mp3"}});
    ServeAudio("/good.mp3", "sound");
    const Response audio = Response::Of(std::string(100'000, 's'), "audio/mpeg");
    for (const Response& response :
         {Response(audio).With(Fault::Close, 50'000), Response(audio).With(Fault::Reset, 50'000),
          Response(audio).With(Fault::Close), Response::Failure(404, "Not Found"),
          Response::Failure(500, "Internal Server Error"), Response::Redirect("/bad.mp3"),
          Response::Redirect("file:///etc/passwd")}) {
        Server.Serve("/bad.mp3", response);
        Client->DB().SetCachedFile(Key("/good.mp3"), QString());
        Client->DownloadEpisodes({Key("/good.mp3"), Key("/bad.mp3")});
        ASSERT_TRUE(WaitForDownloads());
        EXPECT_FALSE(LastError().isEmpty());
        EXPECT_EQ(CachedFile("/bad.mp3"), QString()) << LastError().toStdString();
        EXPECT_EQ(Files(), QStringList(QStringLiteral("a/good.mp3"))) << LastError().toStdString();
        EXPECT_EQ(CachedFile("/good.mp3"), AudioFile(QStringLiteral("a/good.mp3")));
    }
}

TEST_F(ClientDownload, ReplacesAnExistingFileOfItsNameOnlyOnceASoundArrives) {
    Subscribe("a", {{"1", "/1.mp3"}});
    const QString file = AudioFile(QStringLiteral("a/1.mp3"));
    tests::WriteFile(file, "left from an earlier subscription, longer than the new one");
    Server.Serve("/1.mp3", Response::Failure(404, "Not Found"));
    Download("/1.mp3");
    EXPECT_EQ(tests::ReadFile(file), QByteArray("left from an earlier subscription, longer than the new one"));
    EXPECT_EQ(CachedFile("/1.mp3"), QString());
    ServeAudio("/1.mp3", "new");
    Download("/1.mp3");
    EXPECT_EQ(tests::ReadFile(file), QByteArray("new"));
    EXPECT_EQ(CachedFile("/1.mp3"), file);
}

TEST_F(ClientDownload, GivesEveryEpisodeAFileOfItsOwn) {
    Subscribe("a", {{"1", "/1/audio.mp3"}, {"2", "/2/audio.mp3"}, {"3", "/3/audio.mp3"}});
    for (const char* path : {"/1/audio.mp3", "/2/audio.mp3", "/3/audio.mp3"}) {
        ServeAudio(path, path);
        Download(path);
    }
    const QString second = AudioFile(QStringLiteral("a/audio (2).mp3"));
    EXPECT_EQ(CachedFile("/1/audio.mp3"), AudioFile(QStringLiteral("a/audio.mp3")));
    EXPECT_EQ(CachedFile("/2/audio.mp3"), second);
    EXPECT_EQ(CachedFile("/3/audio.mp3"), AudioFile(QStringLiteral("a/audio (3).mp3")));
    QFile::remove(second);
    Download("/2/audio.mp3");
    EXPECT_EQ(CachedFile("/2/audio.mp3"), second) << "its own name again";
    EXPECT_EQ(tests::ReadFile(second), QByteArray("/2/audio.mp3"));
    EXPECT_EQ(tests::ReadFile(AudioFile(QStringLiteral("a/audio.mp3"))), QByteArray("/1/audio.mp3"));
}

TEST_F(ClientDownload, ForgetsAMissingFileBeforeItIsWrittenAgain) {
    Subscribe("a", {{"1", "/1.mp3"}});
    ServeAudio("/1.mp3", "sound");
    Download("/1.mp3");
    const QString file = CachedFile("/1.mp3");
    QFile::remove(file);
    Server.Serve("/1.mp3", Response::Of("sound", "audio/mpeg").With(Fault::Wait, 3));
    Client->DownloadEpisode(Key("/1.mp3"));
    ASSERT_TRUE(tests::WaitUntil([&] { return QFileInfo(file).size() == 3; }));
    EXPECT_EQ(CachedFile("/1.mp3"), QString());
    Server.Release("/1.mp3");
    ASSERT_TRUE(WaitForDownloads());
    EXPECT_EQ(CachedFile("/1.mp3"), file);
    EXPECT_EQ(tests::ReadFile(file), QByteArray("sound"));
}

TEST_F(ClientDownload, FailsWithAMessageWhenTheDiskTakesNoMore) {
    Subscribe("a", {{"1", "/1.mp3"}});
    ServeAudio("/1.mp3", std::string(6'000'000, 's'));
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    const rlimit small{2'000'000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    Download("/1.mp3");
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, handler);
    EXPECT_TRUE(LastError().startsWith(u"cannot write the file " + AudioFile(QStringLiteral("a/1.mp3"))))
        << LastError().toStdString();
    EXPECT_EQ(Files(), QStringList());
    EXPECT_EQ(CachedFile("/1.mp3"), QString());
}

TEST_F(ClientDownload, LeavesAFileAloneThatAnotherProgramIsWriting) {
    Subscribe("a", {{"1", "/1.mp3"}});
    ServeAudio("/1.mp3", "sound");
    const QString name = AudioFile(QStringLiteral("a/1.mp3"));
    tests::WriteFile(name, {});
    TPodcastTargetFile other;
    other.Open(name);
    other.Write("half", 4);
    Download("/1.mp3");
    EXPECT_TRUE(LastError().startsWith(u"another program is writing the file")) << LastError().toStdString();
    EXPECT_EQ(tests::ReadFile(name), QByteArray("half"));
    EXPECT_EQ(CachedFile("/1.mp3"), QString());
}

TEST_F(ClientDownload, IsCancelledWithEverythingQueued) {
    Subscribe("a", {{"1", "/1.mp3"}, {"2", "/2.mp3"}});
    ServeAudio("/1.mp3", "sound");
    Server.Serve("/2.mp3", Response::Of("sound", "audio/mpeg").With(Fault::Wait, 3));
    Client->DownloadEpisodes({Key("/1.mp3"), Key("/2.mp3")});
    ASSERT_TRUE(tests::WaitUntil([&] { return QFileInfo(AudioFile(QStringLiteral("a/2.mp3"))).size() == 3; }));
    Client->CancelDownloads();
    EXPECT_EQ(Heard->Events.join(u'|'), QStringLiteral("downloads started|downloads finished|changed"));
    EXPECT_EQ(Client->DownloadQueue().Items(), QStringList());
    EXPECT_EQ(Client->DownloadTask(), 0u);
    EXPECT_EQ(Files(), QStringList());
    EXPECT_EQ(Server.Count("/1.mp3"), 0);
    Client->CancelDownloads();
    EXPECT_EQ(Heard->Events.size(), 3) << "nothing was running";
    Download("/1.mp3");
    EXPECT_EQ(Files(), QStringList(QStringLiteral("a/1.mp3")));
}

TEST_F(ClientDownload, EndsQuietlyWithTheClientAndLeavesNothingHalf) {
    Subscribe("a", {{"1", "/1.mp3"}});
    Server.Serve("/1.mp3", Response::Of("sound", "audio/mpeg").With(Fault::Wait, 3));
    Client->DownloadEpisode(Key("/1.mp3"));
    ASSERT_TRUE(tests::WaitUntil([&] { return QFileInfo(AudioFile(QStringLiteral("a/1.mp3"))).size() == 3; }));
    Heard->Events.clear();
    Client.reset();
    EXPECT_EQ(Heard->Events, QStringList());
    EXPECT_EQ(Files(), QStringList());
    Open();
    EXPECT_EQ(CachedFile("/1.mp3"), QString());
}

TEST_F(ClientDownload, TakesNoEpisodeOfAFeedUnsubscribedMeanwhile) {
    Subscribe("a", {{"1", "/1.mp3"}});
    Subscribe("b", {{"2", "/2.mp3"}, {"3", "/3.mp3"}, {"4", "/4.mp3"}});
    for (const char* path : {"/2.mp3", "/3.mp3", "/4.mp3"}) ServeAudio(path, path);
    Download("/2.mp3");
    Server.Serve("/1.mp3", Response::Of("sound", "audio/mpeg").With(Fault::Wait));
    const QString byGuid = MakeEpisodeKey(Episode("/4.mp3").FeedID, QStringLiteral("4"));
    Client->DownloadEpisodes({byGuid, Key("/3.mp3"), Key("/1.mp3")});
    ASSERT_TRUE(WaitForRequest("/1.mp3"));
    EXPECT_EQ(Client->Unsubscribe(Server.Url("/b"), true), QStringList());
    Server.Release("/1.mp3");
    ASSERT_TRUE(WaitForDownloads());
    EXPECT_EQ(Server.Count("/3.mp3") + Server.Count("/4.mp3"), 0);
    EXPECT_EQ(Files(), QStringList(QStringLiteral("a/1.mp3"))) << "the other's file went to the trash";
    EXPECT_EQ(tests::ReadFile(qEnvironmentVariable("XDG_DATA_HOME") + u"/Trash/files/2.mp3"), QByteArray("/2.mp3"));
}

TEST_F(ClientDownload, FollowsARefreshFromTheOldestEpisodeOnWhenAsked) {
    Subscribe("a", {});
    Client->Options().SetDownloadNewEpisodesAutomatically(true);
    Server.Serve("/a", Document("a", {{"1", "/new.mp3", "", "2024-03-01"},
                                      {"2", "/old.mp3", "", "2024-01-01"},
                                      {"3", "/mid.mp3", "", "2024-02-01"}}));
    for (const char* path : {"/new.mp3", "/old.mp3", "/mid.mp3"}) ServeAudio(path, path);
    Refresh("/a");
    ASSERT_TRUE(WaitForDownloads());
    EXPECT_EQ(Server.Paths(), (std::vector<std::string>{"/a", "/old.mp3", "/mid.mp3", "/new.mp3"}));
    EXPECT_EQ(Files().size(), 3);
}

}  // namespace
}  // namespace podcasts
