// Downloads whose connection breaks.

#include "ClientTests.h"
#include "Podcasts.Core.Resuming.h"

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
    /// Downloads the episode; returns why it failed.
    QString DownloadError() {
        Client->DB().SetCachedFile(Key("/1.mp3"), {});
        Server.Forget();
        Download({Key("/1.mp3")});
        const QString error = LastDownload().Error.English();
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
    QByteArray Received() { return ReadWhole(AudioFile("a/1.mp3")); }
    QStringList Files() const { return QDir(AudioFile("a")).entryList(QDir::Files); }

    inline static const QByteArray First = RandomBytes(1), Second = RandomBytes(2);
};

TEST_F(ClientResuming, ContinuesTheSameFileAndStartsOverWithAnyOther) {
    const QByteArray v1 = "ETag: \"1\"\r\n", v2 = "ETag: \"2\"\r\n", weak = "ETag: W/\"1\"\r\n",
                     old = "Last-Modified: Fri, 30 Aug 2024 10:00:00 GMT\r\nDate: Fri, 30 Aug 2024 10:0",
                     younger = old + "0:59 GMT\r\n", older = old + "1:00 GMT\r\n", later = old + "5:00 GMT\r\n",
                     rest = First.sliced(kBreak), rest2 = Second.sliced(kBreak), range = "100000-299999/300000";
    const Response whole = Audio(First), whole2 = Audio(Second), other = Audio(Second, v2);
    Server.Serve("/moved.mp3", whole);
    struct {
        const char* Name;
        QByteArray Validator;  // of the answer whose connection breaks
        std::vector<Response> Answers;
        QByteArray File;   // empty if the download fails
        QList<int> Asked;  // the first bytes asked for, without the first request
    } const rows[] = {
        {"the rest", v1, {whole}, First, {kBreak}},
        {"elsewhere now", v1, {Response::Redirect("/moved.mp3")}, First, {kBreak, kBreak}},
        {"less", v1, {Part(rest.first(99), "100000-100098/300000"), whole}, First, {kBreak, 100'099}},
        {"changed a minute before", older, {Audio(First, later)}, First, {kBreak}},
        {"changed within a minute", younger, {Audio(First, later)}, First, {0}},
        {"a weak validator", weak + later, {whole}, First, {0}},
        {"no validator", {}, {whole2}, Second, {0}},
        {"no parts", v1, {Response::Of(First, "audio/mpeg")}, First, {kBreak}},
        {"another version", v1, {other}, Second, {kBreak}},
        {"a shorter one", v1, {Audio(Second.first(90'000), v2)}, Second.first(90'000), {kBreak}},
        {"its rest", v1, {Part(rest2, range, v2), whole2}, Second, {kBreak, 0}},
        {"nobody knows whose rest", v1, {Part(rest2, range, {}), whole2}, Second, {kBreak, 0}},
        {"another size", v1, {Part(rest2, "100000-299999/300001"), whole2}, Second, {kBreak, 0}},
        {"another part", v1, {Part(rest.sliced(1), "100001-299999/300000"), whole}, First, {kBreak, 0}},
        {"a part of no place", v1, {Part(rest, "*/300000"), whole}, First, {kBreak, 0}},
        {"the whole as a part", v1, {Part(Second, "0-299999/300000", v2)}, Second, {kBreak}},
        {"too much", v1, {Part(rest + "!", range)}, {}, {kBreak}},
        {"416", v1, {Response::Failure("416 Range Not Satisfiable"), whole2}, Second, {kBreak, 0}},
        {"404", v1, {Response::Failure("404 Not Found")}, {}, {kBreak, 0}},
        {"503", v1, {Response::Failure("503 Service Unavailable"), whole}, First, {kBreak, kBreak}},
        {"429", v1, {Response::Failure("429 Too Many Requests")}, {}, {kBreak}},
        {"a page", v1, {Response::Of("<html>Log in", "text/html")}, {}, {kBreak}},
        {"nothing", v1, {Response::Of("", "audio/mpeg")}, {}, {kBreak}},
        {"a second break", v1, {other.With(Fault::Close, kBreak), other}, Second, {kBreak, kBreak}},
        {"a second break at once", v1, {other.With(Fault::Close, 5), other}, Second, {kBreak, 0}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Name);
        std::vector<Response> answers = row.Answers;
        answers.insert(answers.begin(), Broken(row.Validator));
        Server.ServeInTurn("/1.mp3", answers);
        const QString error = DownloadError();
        EXPECT_EQ(error.isEmpty(), !row.File.isEmpty()) << error.toStdString();
        EXPECT_EQ(Asked(), QList{0} + row.Asked);
        for (const auto& request : Server.Requests())
            EXPECT_EQ(request.Head.contains("\r\nRange: "), request.Head.contains("\r\nIf-Range: "));
        if (row.File.isEmpty()) continue;
        EXPECT_TRUE(Received() == row.File);
        EXPECT_EQ(Heard->Progress(), u"%1 of %1: a - Episode"_s.arg(row.File.size()));
    }
    const QByteArray head = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n" + v1 + "\r\n";
    Server.ServeInTurn("/1.mp3", {Response{head, "493e0\r\n" + First}.With(Fault::Close, 7 + kBreak), whole});
    EXPECT_EQ(DownloadError(), "");
    EXPECT_EQ(Asked(), QList({0, kBreak})) << "for a body of unknown size";
    EXPECT_TRUE(Received() == First);
}

TEST_F(ClientResuming, GoesOnAsLongAsEnoughArrivesBetweenTwoBreaks) {
    const auto breaking = [](int after) { return Audio(First).With(Fault::Close, after); };
    // After a break there are five attempts, with growing pauses; the count restarts when an attempt has brought 64
    // KiB.
    Server.Serve("/1.mp3", breaking(65'536));
    EXPECT_EQ(DownloadError(), "");
    EXPECT_EQ(Asked(), QList({0, 65'536, 2 * 65'536, 3 * 65'536, 4 * 65'536}));
    EXPECT_TRUE(Received() == First);
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
    EXPECT_TRUE(Received() == First);
    // A download that can only start over is started three times in all.
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
    EXPECT_EQ(CachedFile("/1.mp3"), AudioFile("a/1.m4a"));
    EXPECT_TRUE(ReadWhole(CachedFile("/1.mp3")) == Second);
}

TEST_F(ClientResuming, SaysThatItIsWaitingAndCanBeCancelledMeanwhile) {
    SetDownloadPauseUnit(std::chrono::hours(1));
    Server.Serve("/1.mp3", Broken());
    Client->DownloadEpisode(Key("/1.mp3"));
    const QString waiting = "100000 of 300000: waiting for the connection: a - Episode";
    ASSERT_TRUE(tests::WaitUntil([&] { return Heard->Progress() == waiting; }));
    EXPECT_EQ(Received().size(), kBreak);
    Client->CancelDownloads();
    EXPECT_EQ(Files(), QStringList());
    EXPECT_EQ(LastDownload().Error.English(), "cancelled");
}

}  // namespace
}  // namespace podcasts
