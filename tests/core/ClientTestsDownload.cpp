#include "ClientTests.h"
#include "Podcasts.Core.TargetFile.h"

#include <sys/syscall.h>
#include <unistd.h>

/// The file that another program removes before the next lock is taken.
static std::atomic<const char*> RemovedBeforeLock{nullptr};

/// In place of the C library's function, which it calls.
extern "C" int flock(int descriptor, int operation) noexcept {
    if (const char* const file = RemovedBeforeLock.exchange(nullptr)) unlink(file);
    return static_cast<int>(syscall(SYS_flock, descriptor, operation));
}

namespace podcasts {
namespace {

class ClientDownload : public ClientTest {
protected:
    /// Starts a download that stalls after the first three bytes were written to the file.
    void StartAndStall(const QStringList& keys, const QString& path, const QString& file) {
        Server.Serve(path, Response::Of("sound", "audio/mpeg").With(Fault::Wait, 3));
        Client->DownloadEpisodes(keys);
        ASSERT_TRUE(WaitForSize(file, 3)) << file.toStdString();
    }
    static bool WaitForSize(const QString& file, qint64 size) {
        return tests::WaitUntil([&] { return QFileInfo(file).size() == size; });
    }
    /// The names of all audio files of the feed "a".
    QStringList Files() const { return QDir(AudioFile("a")).entryList(QDir::Files, QDir::Name); }
    std::string LastError() const { return LastDownload().Error.English().toStdString(); }
};

TEST_F(ClientDownload, StartsWithTheEpisodeQueuedLastAndRecordsEachFile) {
    Subscribe("a", {{"1", "/1.mp3"}, {"2", "/2.mp3"}, {"3", "/3.mp3", "Third"}, {"4", "/late.mp3"}});
    const QStringList paths = {"/1.mp3", "/2.mp3", "/3.mp3"};
    const QByteArray sound(700'000, 's');
    for (const QString& path : paths) Server.Serve(path, Response::Of(sound + path.toUtf8(), "audio/mpeg"));
    Download({Key("/3.mp3"), Key("/2.mp3"), Key("/1.mp3"), "podcast://unknown"});
    EXPECT_EQ(Server.Paths(), paths);
    EXPECT_EQ(Heard->Events.join('|'), "downloads started|downloads finished|changed");
    EXPECT_EQ(Heard->Progress(), "700006 of 700006: a - Third");
    for (const QString& path : paths) {
        EXPECT_EQ(CachedFile(path), AudioFile("a" + path));
        EXPECT_TRUE(ReadWhole(CachedFile(path)) == sound + path.toUtf8());
    }
    Heard->OnEvent = [&](const QString& event) {
        if (event != "downloads finished") return;
        EXPECT_EQ(Client->DownloadTask(), 0u) << "has ended";
        if (Server.Count("/late.mp3") == 0) Client->DownloadEpisode(Key("/late.mp3"));
    };
    Download({Key("/1.mp3")});
    EXPECT_EQ(Server.Paths(), paths + QStringList("/late.mp3")) << "the first is there already";
}

TEST_F(ClientDownload, TakesTheExtensionFromTheResponse) {
    const QString rows[][3] = {{"/a.bin", "application/octet-stream", "a.mp3"},
                               {"/c", "audio/mpeg", "c.mp3"},
                               {"/d.xy", "audio/mpeg", "d.xy.mp3"},
                               {"/f.MP3?x=1", "audio/mp4; codecs=x", "f.m4a"},
                               {"/g.mp3", "application/x-unheard-of", "g.mp3"},
                               {"/h.mp3", "", "h.mp3"},
                               {"/i.MP4", "application/octet-stream", "i.MP4"},
                               {"/k.php", "audio/x-m4a", "k.m4a"}};
    std::vector<Item> items;
    QStringList keys, files;
    for (const auto& [audio, type, file] : rows) {
        items.push_back({audio, audio});
        Server.Serve(audio, Response::Of("sound", type.toUtf8()));
        keys += Key(audio);
        files += file;
    }
    Subscribe("a", items);
    Download(keys);
    EXPECT_EQ(Files(), files);
    for (const auto& [audio, type, file] : rows) EXPECT_EQ(CachedFile(audio), AudioFile("a/" + file));
}

TEST_F(ClientDownload, ReplacesAnExistingFileOfItsNameOnlyOnceAudioArrives) {
    Subscribe("a", {{"1", "/1.mp3"}});
    const QString file = AudioFile("a/1.mp3");
    WriteWhole(file, "left from an earlier subscription, longer than the new one");
    Download({Key("/1.mp3")});
    EXPECT_EQ(ReadWhole(file), "left from an earlier subscription, longer than the new one");
    EXPECT_EQ(CachedFile("/1.mp3"), "");
    ServeAudio({"/1.mp3"});
    Download({Key("/1.mp3")});
    EXPECT_EQ(ReadWhole(file), "/1.mp3");
    EXPECT_EQ(CachedFile("/1.mp3"), file);
    Client->DB().SetCachedFile(Key("/1.mp3"), AudioFile("a/gone.mp3"));
    Server.Forget();
    Download({Key("/1.mp3")});
    EXPECT_EQ(CachedFile("/1.mp3"), file) << "the complete file that the template names is used again";
    EXPECT_EQ(Server.Paths(), QStringList());
    Client->DB().SetCachedFile(Key("/1.mp3"), {});
    Client->Options().SetCacheFileNameTemplate("audio/%EpisodeFileName%");
    Download({Key("/1.mp3")});
    EXPECT_EQ(LastError(), "the file-name template gives no full file name, but \"audio/1.mp3\"");
    EXPECT_EQ(Server.Paths(), QStringList());
}

TEST_F(ClientDownload, RejectsAWebPageAndTouchesNoFileForIt) {
    Subscribe("a", {{"1", "/1.mp3"}, {"2", "/2.mp3"}, {"3", "/3.mp3"}});
    const QString file = AudioFile("a/1.mp3");
    WriteWhole(file, "left from an earlier subscription");
    Client->DB().SetCachedFile(Key("/3.mp3"), AudioFile("a/gone.mp3"));
    const QByteArray blanks(3000, ' ');
    const std::pair<QByteArray, QByteArray> pages[] = {{"Please log in", "text/html; charset=utf-8"},
                                                       {"{\"error\": 1}", "application/json"},
                                                       {"", "text/html"},
                                                       {"<!DOCTYPE html><title>Log in", "audio/mpeg"},
                                                       {blanks + "<html>", ""},
                                                       {"\xEF\xBB\xBF<!-- " + blanks + " --><HEAD>", "audio/mpeg"}};
    for (const auto& [body, type] : pages) {
        const Response page = Response::Of(body, type);
        for (const char* path : {"/1.mp3", "/3.mp3"}) {
            Server.Serve(path, body.size() < 40 ? page.With(Fault::Drip, 0) : page);
            Download({Key(path)});
            EXPECT_EQ(LastError(), "the server sent a web page in place of the audio") << body.constData();
        }
        EXPECT_EQ(ReadWhole(file), "left from an earlier subscription");
        EXPECT_EQ(CachedFile("/1.mp3"), "");
        EXPECT_EQ(CachedFile("/3.mp3"), AudioFile("a/gone.mp3")) << "the record is cleared only when audio arrives";
        EXPECT_EQ(Files(), QStringList("1.mp3"));
    }
    const std::pair<QByteArray, QByteArray> sounds[] = {{"ID3 sound", "text/html"},
                                                        {"\1\2\3\4ftypM4A", "application/json"},
                                                        {"<sound> that is no page", "audio/mpeg"},
                                                        {"  ", "audio/mpeg"}};
    for (const auto& [body, type] : sounds) {
        Server.Serve("/2.mp3", Response::Of(body, type));
        Client->DB().SetCachedFile(Key("/2.mp3"), {});
        Download({Key("/2.mp3")});
        EXPECT_EQ(CachedFile("/2.mp3"), AudioFile("a/2.mp3")) << LastError();
        EXPECT_EQ(ReadWhole(AudioFile("a/2.mp3")), body);
    }
}

TEST_F(ClientDownload, GivesEveryEpisodeAFileOfItsOwnAndForgetsAMissingOneFirst) {
    Subscribe("a", {{"1", "/1/audio.mp3"}, {"2", "/2/audio.mp3"}, {"3", "/3/audio.mp3"}});
    ServeAudio({"/1/audio.mp3", "/2/audio.mp3", "/3/audio.mp3"});
    for (const char* path : {"/1/audio.mp3", "/2/audio.mp3", "/3/audio.mp3"}) Download({Key(path)});
    const QString second = AudioFile("a/audio (2).mp3");
    EXPECT_EQ(CachedFile("/1/audio.mp3"), AudioFile("a/audio.mp3"));
    EXPECT_EQ(CachedFile("/2/audio.mp3"), second);
    EXPECT_EQ(CachedFile("/3/audio.mp3"), AudioFile("a/audio (3).mp3"));
    QFile::remove(second);
    StartAndStall({Key("/2/audio.mp3")}, "/2/audio.mp3", second);
    EXPECT_EQ(CachedFile("/2/audio.mp3"), "");
    Server.Release("/2/audio.mp3");
    ASSERT_TRUE(WaitForTasks());
    EXPECT_EQ(CachedFile("/2/audio.mp3"), second) << "its own name again";
    EXPECT_EQ(ReadWhole(second), "sound");
    EXPECT_EQ(ReadWhole(AudioFile("a/audio.mp3")), "/1/audio.mp3");
}

TEST_F(ClientDownload, RestoresOnFailureTheRecordOfAFileThatNobodyIsWriting) {
    Subscribe("a", {{"1", "/1.mp3"}});
    Server.Serve("/1.mp3", Response::Of("sound", "audio/mpeg").With(Fault::Close, 3));
    const QString unmounted = Folder.File("unmounted.mp3"), own = AudioFile("a/1.mp3");
    const auto recordAfter = [&](const QString& recorded) {
        Client->DB().SetCachedFile(Key("/1.mp3"), recorded);
        Download({Key("/1.mp3")});
        EXPECT_EQ(Files(), QStringList());
        return CachedFile("/1.mp3");
    };
    EXPECT_EQ(recordAfter(unmounted), unmounted);
    EXPECT_EQ(recordAfter(own), "") << "a part of it had been written";
    // Another program begins to write the recorded file while this one fetches it under another name.
    Client->DB().SetCachedFile(Key("/1.mp3"), unmounted);
    StartAndStall({Key("/1.mp3")}, "/1.mp3", own);
    TPodcastTargetFile other;
    other.Open(unmounted);
    Client->CancelDownloads();
    EXPECT_EQ(CachedFile("/1.mp3"), "");
}

TEST_F(ClientDownload, IsCancelledWithEverythingQueuedAndEndsQuietlyWithTheClient) {
    Subscribe("a", {{"1", "/1.mp3"}, {"2", "/2.mp3"}});
    ServeAudio({"/1.mp3"});
    // It goes on slowly, and so ends with its file unless it is cancelled.
    const auto start = [&](const QStringList& keys) {
        Server.Serve("/2.mp3", Response::Of(QByteArray(5000, 's'), "audio/mpeg").With(Fault::Drip, 3));
        Client->DownloadEpisodes(keys);
        ASSERT_TRUE(tests::WaitUntil([&] { return QFileInfo(AudioFile("a/2.mp3")).size() > 0; }));
    };
    start({Key("/1.mp3"), Key("/2.mp3")});
    Heard->OnEvent = [&](const QString& event) {
        if (event == "downloads finished") Client->DownloadEpisode(Key("/1.mp3"));  // dropped with the rest
    };
    Client->CancelDownloads();
    Heard->OnEvent = nullptr;
    EXPECT_EQ(Client->DownloadQueue().Items(), QStringList());
    EXPECT_EQ(Client->DownloadOutcomes().From().size(), 2u) << "one for each episode";
    EXPECT_EQ(Files(), QStringList());
    EXPECT_EQ(Server.Count("/1.mp3"), 0);
    Client->CancelDownloads();  // nothing is running
    EXPECT_EQ(Heard->Events.join('|'), "downloads started|downloads finished|changed");
    Download({Key("/1.mp3")});
    start({Key("/2.mp3")});
    Heard->Events.clear();
    Client.reset();
    EXPECT_EQ(Heard->Events, QStringList());
    EXPECT_EQ(Files(), QStringList("1.mp3"));
    Open();
    EXPECT_EQ(CachedFile("/2.mp3"), "");
}

TEST_F(ClientDownload, WhatHasNotEndedGoesOnAtTheNextStart) {
    const auto keptAfterTheEnd = [&] {
        Client.reset();
        Open();
        return Client->DB().GetKeptQueue();
    };
    Subscribe("a", {{"1", "/1.mp3"}, {"2", "/2.mp3"}, {"3", "/3.mp3"}, {"4", "/missing.mp3"}});
    Subscribe("b", {{"5", "/5.mp3"}});
    ServeAudio({"/1.mp3", "/3.mp3"});
    const QStringList keys{Key("/3.mp3"), Key("/5.mp3"), Key("/2.mp3"), Key("/missing.mp3"), Key("/1.mp3")};
    StartAndStall(keys, "/2.mp3", AudioFile("a/2.mp3"));
    EXPECT_EQ(keptAfterTheEnd(), QStringList()) << "nobody asked for it";

    Client->ResumeDownloads();
    StartAndStall(keys, "/2.mp3", AudioFile("a/2.mp3"));
    EXPECT_EQ(keptAfterTheEnd(), keys.first(3)) << "the last two have ended, one with an error";

    EXPECT_EQ(Client->Unsubscribe(Server.Url("/b"), true), QStringList());  // as by another program
    ServeAudio({"/2.mp3"});
    Server.Forget();
    Client->ResumeDownloads();
    ASSERT_TRUE(WaitForTasks());
    EXPECT_EQ(Server.Paths(), QStringList({"/2.mp3", "/3.mp3"}));
    EXPECT_EQ(keptAfterTheEnd(), QStringList());

    for (const bool isCancelled : {true, false}) {
        Subscribe("c", {{"6", "/6.mp3"}, {"7", "/7.mp3"}});
        Client->ResumeDownloads();
        StartAndStall({Key("/6.mp3"), Key("/7.mp3")}, "/7.mp3", AudioFile("c/7.mp3"));
        Heard->OnEvent = [&](const QString& event) {
            if (isCancelled && event == "downloads finished") Client->DownloadEpisode(Key("/6.mp3"));
        };
        if (isCancelled)
            Client->CancelDownloads();
        else
            Client->Unsubscribe(Server.Url("/c"), true);
        EXPECT_EQ(keptAfterTheEnd(), QStringList()) << "cancelled: " << isCancelled;
    }
}

TEST_F(ClientDownload, SkipsEpisodesOfAFeedThatIsBeingUnsubscribed) {
    Subscribe("a", {{"z", "/1.mp3"}});
    std::vector<Item> items;
    for (int i = 0; i < 300; ++i) items.push_back({QString::number(i), QString("/b%1.mp3").arg(i)});
    items.insert(items.end(), {{"x", "/x.mp3"}, {"y", "/y.mp3"}});
    Subscribe("b", items);
    Rows("UPDATE PodcastEpisodes SET URLAudioCached = '" + AudioFile("b/") + "' || GUID WHERE GUID < 'a'");
    for (int i = 0; i < 300; ++i) WriteWhole(AudioFile(QString("b/%1").arg(i)), "sound");
    const QString byGuid = MakeEpisodeKey(Episode("/y.mp3").FeedID, "y");
    StartAndStall({byGuid, Key("/x.mp3"), Key("/1.mp3")}, "/1.mp3", AudioFile("a/1.mp3"));
    // The task looks for its next episode while the files of the others are moved to the trash.
    std::thread release([&] {
        while (QDir(AudioFile("b")).count() == 302) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        Server.Release("/1.mp3");
    });
    EXPECT_EQ(Client->Unsubscribe(Server.Url("/b"), true), QStringList());
    release.join();
    ASSERT_TRUE(WaitForTasks());
    EXPECT_EQ(Server.Paths(), QStringList("/1.mp3"));
    EXPECT_EQ(QDir(AudioFile("b")).entryList(QDir::Files), QStringList());
}

TEST_F(ClientDownload, LeavesNothingBehindWhenItsFeedIsUnsubscribedWithItsFiles) {
    const std::tuple<bool, bool, QStringList> rows[] = {
        {true, true, {}}, {false, true, {}}, {false, false, {}}, {true, false, {"1.mp3"}}};
    for (const auto& [byThisClient, withFiles, files] : rows) {
        Subscribe("a", {{"1", "/1.mp3"}});
        StartAndStall({Key("/1.mp3")}, "/1.mp3", AudioFile("a/1.mp3"));
        const auto other = MakeClient();
        EXPECT_EQ((byThisClient ? Client : other)->Unsubscribe(Server.Url("/a"), withFiles), QStringList());
        // A transfer whose file is not wanted any more ends by itself; one whose file is to stay goes on.
        if (!files.isEmpty()) Server.Release("/1.mp3");
        ASSERT_TRUE(WaitForTasks());
        EXPECT_EQ(Files(), files);
        EXPECT_EQ(LastError(), files.isEmpty() ? "the episode is not stored any more" : "");
    }
}

TEST_F(ClientDownload, AFileRecordedWhileItsFeedIsUnsubscribedIsDeletedWithTheOthers) {
    Subscribe("a", {{"1", "/1.mp3"}, {"2", "/2.mp3"}});
    const QString first = AudioFile("a/1.mp3"), second = AudioFile("a/2.mp3");
    for (const QString& file : {first, second}) WriteWhole(file, "sound");
    Client->DB().SetCachedFile(Key("/1.mp3"), first);
    // A download by another program records the second file after the first one has been moved to the trash.
    std::thread download([&] {
        PlainSqlite db(Folder.File("Podcasts.db"));
        db.Run("BEGIN IMMEDIATE");
        WriteWhole(Folder.File("locked"), {});
        while (QFile::exists(first)) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        db.Run(("UPDATE PodcastEpisodes SET URLAudioCached = '" + second + "' WHERE GUID GLOB '2'; COMMIT").toUtf8());
    });
    while (!QFile::exists(Folder.File("locked"))) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    Client->Unsubscribe(Server.Url("/a"), true);
    download.join();
    EXPECT_EQ(Files(), QStringList());
}

TEST_F(ClientDownload, TwoForOneEpisodeWhoseFileIsMissingNeverRecordHalfAFile) {
    Subscribe("a", {{"1", "/1.mp3"}});
    const QString file = AudioFile("a/1.mp3");
    Client->DB().SetCachedFile(Key("/1.mp3"), file);
    // Both programs have seen that the file is missing. The one that fetches "/late" gets its answer when the other one
    // has already begun to write the file.
    Server.ServeInTurn("/1.mp3", {Response::Redirect("/late"), Response::Redirect("/early")});
    Server.Serve("/late", Response::Of("sound", "audio/mpeg").With(Fault::Wait));
    Server.Serve("/early", Response::Of("sound", "audio/mpeg").With(Fault::Wait, 3));
    const auto late = MakeClient();
    const auto expectRefused = [&] {
        EXPECT_TRUE(tests::WaitUntil([&] { return late->DownloadTask() == 0; }));
        const std::string error = late->DownloadOutcomes().From().at(0).Error.English().toStdString();
        EXPECT_TRUE(error.starts_with("another program is writing the file")) << error;
        EXPECT_EQ(CachedFile("/1.mp3"), "");
    };
    late->DownloadEpisode(Key("/1.mp3"));
    ASSERT_TRUE(WaitForRequest("/late"));
    Client->DownloadEpisode(Key("/1.mp3"));
    ASSERT_TRUE(WaitForSize(file, 3));
    Server.Release("/late");
    expectRefused();
    // Nor is the incomplete file taken for a complete one by a download that begins now or has just read the row.
    late->DownloadEpisode(Key("/1.mp3"));
    expectRefused();
    TPodcastEpisode before = Episode("/1.mp3");
    before.Fields[pefURLAudioCached] = file;
    EXPECT_FALSE(Client->DB().SetFoundFileOfRow(before, file));
    EXPECT_EQ(CachedFile("/1.mp3"), "");
    Server.Release("/early");
    ASSERT_TRUE(WaitForTasks());
    EXPECT_EQ(CachedFile("/1.mp3"), file);
    EXPECT_EQ(ReadWhole(file), "sound");
}

TEST_F(ClientDownload, NoticesThatItsFileIsRemovedWhileItIsOpenedOrWritten) {
    Subscribe("a", {{"1", "/1.mp3"}});
    ServeAudio({"/1.mp3"});
    const QByteArray file = QFile::encodeName(AudioFile("a/1.mp3"));
    RemovedBeforeLock = file.constData();
    Download({Key("/1.mp3")});
    EXPECT_EQ(RemovedBeforeLock, nullptr) << "no file was locked";
    EXPECT_EQ(LastError(), "");
    EXPECT_EQ(CachedFile("/1.mp3"), AudioFile("a/1.mp3"));
    QFile::remove(AudioFile("a/1.mp3"));
    StartAndStall({Key("/1.mp3")}, "/1.mp3", AudioFile("a/1.mp3"));
    QFile::remove(AudioFile("a/1.mp3"));
    Server.Release("/1.mp3");
    ASSERT_TRUE(WaitForTasks());
    EXPECT_TRUE(LastError().ends_with("was taken away while it was downloaded")) << LastError();
}

TEST_F(ClientDownload, UsesNoFileThatAnotherProgramIsWriting) {
    Subscribe("a", {{"1", "/1.mp3"}});
    ServeAudio({"/1.mp3"});
    WriteWhole(AudioFile("a/1.mp3"), {});
    TPodcastTargetFile other;
    const QString error = ErrorOf([&] { other.Open("/dev/null/1.mp3"); });
    EXPECT_TRUE(error.endsWith("Not a directory")) << error.toStdString();
    other.Open(AudioFile("a/1.mp3"));
    other.Write("half", 4);
    for (const QString& recorded : {QString(), AudioFile("a/gone.mp3")}) {
        Client->DB().SetCachedFile(Key("/1.mp3"), recorded);
        Download({Key("/1.mp3")});
        EXPECT_TRUE(LastError().starts_with("another program is writing the file")) << LastError();
        EXPECT_EQ(ReadWhole(AudioFile("a/1.mp3")), "half");
        EXPECT_EQ(CachedFile("/1.mp3"), recorded);
    }
    other.Open(AudioFile("a/2.mp3"));
    EXPECT_FALSE(TPodcastTargetFile::IsBeingWritten(AudioFile("a/1.mp3"))) << "it writes another one now";
}

TEST_F(ClientDownload, TheSecondOfTwoForOneEpisodeUsesTheFileOfTheFirst) {
    Subscribe("a", {{"1", "/1.mp3"}});
    const QString file = AudioFile("a/1.mp3");
    const auto other = MakeClient();
    for (const QString& recorded : {QString(), file, AudioFile("a/gone.mp3")}) {
        QFile::remove(file);
        Client->DB().SetCachedFile(Key("/1.mp3"), recorded);
        Server.ServeInTurn("/1.mp3", {Response::Redirect("/late"), Response::Of("sound", "audio/mpeg")});
        Server.Serve("/late", Response::Of("other", "audio/mpeg").With(Fault::Wait));
        Server.Forget();
        Client->DownloadEpisode(Key("/1.mp3"));
        ASSERT_TRUE(WaitForRequest("/late"));
        other->DownloadEpisode(Key("/1.mp3"));
        ASSERT_TRUE(tests::WaitUntil([&] { return other->DownloadTask() == 0; }));
        Server.Release("/late");
        ASSERT_TRUE(WaitForTasks());
        EXPECT_EQ(LastError(), "");
        EXPECT_EQ(LastDownload().FileName, file);
        EXPECT_EQ(Files(), QStringList("1.mp3"));
        EXPECT_EQ(ReadWhole(CachedFile("/1.mp3")), "sound");
    }
}

TEST_F(ClientDownload, IsRecordedOnItsRowEvenIfARefreshMovesOrJoinsTheRow) {
    for (const bool isJoined : {false, true}) {
        SCOPED_TRACE(isJoined ? "joined" : "moved");
        Subscribe("a", {{"1", "/latest.mp3", "First"}});
        StartAndStall({Key("/latest.mp3")}, "/latest.mp3", AudioFile("a/latest.mp3"));
        std::vector<Item> items{{"1", "/1.mp3", "First"}};
        if (isJoined)
            StoreAgain("/latest.mp3", "/1.mp3");
        else
            items.push_back({"2", "/latest.mp3", "Second"});  // the newest episode always gets this address
        Server.Serve("/a", Document("a", items));
        Client->RefreshFeeds({Server.Url("/a")});
        ASSERT_TRUE(tests::WaitUntil([&] { return Client->RefreshTask() == 0; }));
        ASSERT_EQ(EpisodeCount("/a"), static_cast<int>(items.size()));
        Server.Release("/latest.mp3");
        ASSERT_TRUE(WaitForTasks());
        EXPECT_EQ(CachedFile("/1.mp3"), AudioFile("a/latest.mp3"));
        if (!isJoined) {
            EXPECT_EQ(CachedFile("/latest.mp3"), "");
            EXPECT_EQ(Episode("/latest.mp3").Fields[pefTitle], "Second");
        }
        Client->Unsubscribe(Server.Url("/a"), true);
    }
}

TEST_F(ClientDownload, AFileThatAnotherFeedRecordsStaysWhenItsFeedIsUnsubscribedWithFiles) {
    Subscribe("a", {{"1", "/1.mp3"}, {"2", "/2.mp3"}});
    Subscribe("b", {{"1", "/1.mp3"}});
    ServeAudio({"/1.mp3", "/2.mp3"});
    Download({Key("/1.mp3"), Key("/2.mp3")});
    Download(Client->NewEpisodesToDownload());  // files that exist already are recorded for the other feed, too
    const QString shared = CachedFile("/1.mp3"), own = CachedFile("/2.mp3");
    EXPECT_EQ(Feed("/b").Episodes(0).Fields[pefURLAudioCached], shared);
    Client->Unsubscribe(Server.Url("/a"), true);
    EXPECT_TRUE(QFile::exists(shared));
    EXPECT_FALSE(QFile::exists(own));
    Client->Unsubscribe(Server.Url("/b"), true);
    EXPECT_FALSE(QFile::exists(shared));
}

}  // namespace
}  // namespace podcasts
