// Downloads whose connection breaks.

#include "ClientTests.h"
#include "Podcasts.Core.Resuming.h"

using namespace Qt::StringLiterals;

namespace podcasts {
namespace {

constexpr int kSize = 300'000, kBreak = 100'000;

QByteArray RandomBytes(unsigned seed) {
    QByteArray bytes("ID3");
    for (std::uint32_t state = seed; bytes.size() < kSize; state = state * 1664525 + 1013904223)
        bytes += static_cast<char>(state >> 24);
    return bytes;
}

class ClientResuming : public ClientTest {
protected:
    ClientResuming() {
        SetDownloadPauseUnit(std::chrono::milliseconds(1));
        Subscribe("a", {{"1", "/1.mp3"}});
    }
    ~ClientResuming() override { SetDownloadPauseUnit(std::chrono::seconds(1)); }

    static Response Audio(const QByteArray& body, const QByteArray& headers = "ETag: \"1\"\r\n") {
        return Response::Of(body, "audio/mpeg", "200 OK", headers).WithRanges();
    }
    static Response Broken(const QByteArray& headers = "ETag: \"1\"\r\n") {
        return Audio(First, headers).With(Fault::Close, kBreak);
    }
    static Response Part(const QByteArray& body, const QByteArray& range,
                         const QByteArray& headers = "ETag: \"1\"\r\n") {
        return Response::Of(body, "audio/mpeg", "206 Partial Content",
                            "Content-Range: bytes " + range + "\r\n" + headers);
    }
    /// Downloads the episode; gives why it failed.
    QString DownloadError() {
        Client->DB().SetCachedFile(Key("/1.mp3"), {});
        Server.Forget();
        Download({Key("/1.mp3")});
        const QString error = Client->DownloadOutcomes().From().at(0).Error;
        if (!error.isEmpty()) {
            EXPECT_EQ(CachedFile("/1.mp3"), "");
            EXPECT_EQ(Files(), QStringList());
        }
        return error;
    }
    /// The first byte that each request asked for.
    QList<int> Asked() const {
        QList<int> asked;
        for (const auto& request : Server.Requests()) {
            const qsizetype at = request.Head.indexOf("Range: bytes=");
            asked += at < 0 ? 0 : request.Head.sliced(at + 13).split('-')[0].toInt();
        }
        return asked;
    }
    QString AudioFile() const { return Folder.File("audio/a/1.mp3"); }
    QStringList Files() const { return QDir(Folder.File("audio/a")).entryList(QDir::Files); }

    inline static const QByteArray First = RandomBytes(1), Second = RandomBytes(2);
};

TEST_F(ClientResuming, GoesOnWithTheSameFileAndBeginsAnewWithAnyOther) {
    const QByteArray rest = First.sliced(kBreak), old = "Last-Modified: Fri, 30 Aug 2024 10:00:00 GMT\r\n",
                     at = "Date: Fri, 30 Aug 2024 10:0", range = "100000-299999/300000";
    Server.Serve("/moved.mp3", Audio(First));
    struct {
        const char* Name;
        std::vector<Response> Answers;
        QByteArray File;  // empty: the download fails
        QList<int> Asked;
    } const rows[] = {
        {"the rest", {Broken(), Audio(First)}, First, {0, kBreak}},
        {"the rest from where a redirect leads now",
         {Broken(), Response::Redirect("/moved.mp3")},
         First,
         {0, kBreak, kBreak}},
        {"the rest in two parts",
         {Broken(), Part(First.mid(kBreak, kBreak), "100000-199999/300000"), Audio(First)},
         First,
         {0, kBreak, 2 * kBreak}},
        {"the rest of what had no size",
         {Response{"HTTP/1.1 200 OK\r\nContent-Type: audio/mpeg\r\nETag: \"1\"\r\n"
                   "Transfer-Encoding: chunked\r\n\r\n",
                   "493e0\r\n" + First}
              .With(Fault::Close, kBreak + 7),
          Audio(First)},
         First,
         {0, kBreak}},
        {"known by a time of change a minute before",
         {Broken(old + at + "1:00 GMT\r\n"), Audio(First, old + at + "5:00 GMT\r\n")},
         First,
         {0, kBreak}},
        {"a time of change too near", {Broken(old + at + "0:59 GMT\r\n"), Audio(First)}, First, {0, 0}},
        {"a weak validator", {Broken("ETag: W/\"1\"\r\n" + old + at + "5:00 GMT\r\n"), Audio(First)}, First, {0, 0}},
        {"no validator", {Broken({}), Audio(Second)}, Second, {0, 0}},
        {"a server without parts", {Broken(), Response::Of(First, "audio/mpeg")}, First, {0, kBreak}},
        {"another version", {Broken(), Audio(Second, "ETag: \"2\"\r\n")}, Second, {0, kBreak}},
        {"another version, shorter",
         {Broken(), Audio(Second.first(90'000), "ETag: \"2\"\r\n")},
         Second.first(90'000),
         {0, kBreak}},
        {"the rest of another version",
         {Broken(), Part(Second.sliced(kBreak), range, "ETag: \"2\"\r\n"), Audio(Second)},
         Second,
         {0, kBreak, 0}},
        {"the rest of nobody knows what",
         {Broken(), Part(Second.sliced(kBreak), range, {}), Audio(Second)},
         Second,
         {0, kBreak, 0}},
        {"the rest of another size",
         {Broken(), Part(Second.sliced(kBreak), "100000-299999/300001"), Audio(Second)},
         Second,
         {0, kBreak, 0}},
        {"another part",
         {Broken(), Part(First.sliced(kBreak + 1), "100001-299999/300000"), Audio(First)},
         First,
         {0, kBreak, 0}},
        {"a part that is nowhere", {Broken(), Part(rest, "*/300000"), Audio(First)}, First, {0, kBreak, 0}},
        {"the whole as a part", {Broken(), Part(Second, "0-299999/300000", "ETag: \"2\"\r\n")}, Second, {0, kBreak}},
        {"more than the rest", {Broken(), Part(rest + "!", range)}, {}, {0, kBreak}},
        {"no such part",
         {Broken(), Response::Failure("416 Range Not Satisfiable"), Audio(Second)},
         Second,
         {0, kBreak, 0}},
        {"no parts at all", {Broken(), Response::Failure("400 Bad Request"), Audio(First)}, First, {0, kBreak, 0}},
        {"gone", {Broken(), Response::Failure("404 Not Found")}, {}, {0, kBreak, 0}},
        {"a server in trouble", {Broken(), Response::Failure("503 "), Audio(First)}, First, {0, kBreak, kBreak}},
        {"a server that has enough", {Broken(), Response::Failure("429 ")}, {}, {0, kBreak}},
        {"a page to log in", {Broken(), Response::Of("<html>Log in", "text/html")}, {}, {0, kBreak}},
        {"nothing", {Broken(), Response::Of("", "audio/mpeg")}, {}, {0, kBreak}},
        {"another version that breaks off",
         {Broken(), Audio(Second, "ETag: \"2\"\r\n").With(Fault::Close, kBreak), Audio(Second, "ETag: \"2\"\r\n")},
         Second,
         {0, kBreak, kBreak}},
        {"another version that breaks off at once",
         {Broken(), Audio(Second, "ETag: \"2\"\r\n").With(Fault::Close, 5), Audio(Second, "ETag: \"2\"\r\n")},
         Second,
         {0, kBreak, 0}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Name);
        Server.ServeInTurn("/1.mp3", row.Answers);
        const QString error = DownloadError();
        EXPECT_EQ(error.isEmpty(), !row.File.isEmpty()) << error.toStdString();
        EXPECT_EQ(Asked(), row.Asked);
        EXPECT_TRUE(row.File.isEmpty() || ReadWhole(AudioFile()) == row.File);
        if (!row.File.isEmpty()) {
            EXPECT_EQ(Heard->Progress(), u"%1 of %1: a - Episode"_s.arg(row.File.size()));
        }
        for (const auto& request : Server.Requests())
            EXPECT_EQ(request.Head.contains("\r\nRange: "), request.Head.contains("\r\nIf-Range: "));
    }
}

TEST_F(ClientResuming, GoesOnAsLongAsEnoughArrivesBetweenTwoBreaks) {
    const auto breaking = [](int after) { return Audio(First).With(Fault::Close, after); };
    // Five pauses follow a break, and begin again with the first where an attempt has brought 64 KiB.
    Server.Serve("/1.mp3", breaking(65'536));
    EXPECT_EQ(DownloadError(), "");
    EXPECT_EQ(Asked(), QList({0, 65'536, 2 * 65'536, 3 * 65'536, 4 * 65'536}));
    EXPECT_TRUE(ReadWhole(AudioFile()) == First);
    Server.Serve("/1.mp3", breaking(65'535));
    EXPECT_EQ(DownloadError(), "the connection ended before the whole body arrived");
    EXPECT_EQ(Asked(), QList({0}));
    Server.ServeInTurn("/1.mp3", {breaking(kBreak), breaking(10)});
    EXPECT_EQ(DownloadError(), "the connection ended before the whole body arrived");
    EXPECT_EQ(Asked(), QList({0, 100'000, 100'010, 100'020, 100'030, 100'040}));
    const Response nothing = breaking(-1);
    Server.ServeInTurn("/1.mp3", {breaking(kBreak), nothing, nothing, nothing, nothing, breaking(kBreak), nothing,
                                  nothing, nothing, nothing, Audio(First)});
    EXPECT_EQ(DownloadError(), "");
    EXPECT_TRUE(ReadWhole(AudioFile()) == First);
    // What can only be begun anew is begun three times in all.
    Server.Serve("/1.mp3", Response::Of(First, "audio/mpeg").With(Fault::Close, kBreak));
    EXPECT_EQ(DownloadError(), "the connection ended before the whole body arrived");
    EXPECT_EQ(Asked(), QList({0, 0, 0}));
    Server.Serve("/1.mp3", Response::Of(First, "audio/mpeg", "200 OK", "ETag: \"1\"\r\n").With(Fault::Close, kBreak));
    EXPECT_EQ(DownloadError(), "the connection broke, and the server does not go on with the file; try again");
    EXPECT_EQ(Asked(), QList({0, kBreak, kBreak, kBreak}));
}

TEST_F(ClientResuming, TheOtherVersionMayBeOfAnotherType) {
    Server.ServeInTurn("/1.mp3", {Broken(), Response::Of(Second, "audio/mp4")});
    EXPECT_EQ(DownloadError(), "");
    EXPECT_EQ(Files(), QStringList("1.m4a"));
    EXPECT_EQ(CachedFile("/1.mp3"), Folder.File("audio/a/1.m4a"));
    EXPECT_TRUE(ReadWhole(CachedFile("/1.mp3")) == Second);
}

TEST_F(ClientResuming, SaysThatItWaitsAndCanBeCancelledMeanwhile) {
    SetDownloadPauseUnit(std::chrono::hours(1));
    Server.Serve("/1.mp3", Broken());
    Client->DownloadEpisode(Key("/1.mp3"));
    const QString waiting = "100000 of 300000: waiting for the connection: a - Episode";
    ASSERT_TRUE(tests::WaitUntil([&] { return Heard->Progress() == waiting; }));
    EXPECT_EQ(QFileInfo(AudioFile()).size(), kBreak);
    Client->CancelDownloads();
    EXPECT_EQ(Files(), QStringList());
    EXPECT_EQ(Client->DownloadOutcomes().From().at(0).Error, "cancelled");
}

}  // namespace
}  // namespace podcasts
