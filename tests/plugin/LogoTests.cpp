// The feeds' logos, with a clock that the test sets.

#include "Feeds.h"
#include "HostFixture.h"
#include "LoopbackServer.h"
#include "PlainSqlite.h"
#include "Png.h"
#include "Podcasts.Plugin.FileManager.h"
#include "Waiting.h"

#include <atomic>

namespace podcasts {
namespace {

using tests::Fault;
using tests::Response;

constexpr qint64 kHour = 60 * 60, kWeek = 7 * 24 * kHour;  // s

class ChangeCounter : public Implements<TInterfacedObjectEx, IPodcastClientChangeListener> {
public:
    void DataChanged() override { ++Count; }
    int Count = 0;
};

/// Numbered feeds, whose logos are at "/" + number.
class Logos : public HostTest {
protected:
    Logos() {
        TVEXAAPIWrappers::Initialize(&Host.PluginCore());
        Client->Listeners().Add(static_cast<TInterfacedObjectEx*>(Changes.Get()));
        TVEXAPodcastsFileManager::RegisterFileManager(*Client);
    }
    ~Logos() override {
        TVEXAPodcastsFileManager::UnregisterFileManager();
        Client.reset();
        TVEXAAPIWrappers::Finalize();
    }
    void Subscribe(int number, const tests::LoopbackServer& server) {
        const QString address = QString("http://h/%1").arg(number);
        TPodcastFeed feed = tests::MakeFeed(address, 1, address + u'/');
        feed.Fields[pffURLLogo] = server.Url(QString("/%1").arg(number));
        Client->DB().AddOrUpdate(feed);
    }
    void Subscribe(int number, const Response& logo) {
        Subscribe(number, Server);
        Serve(number, logo);
    }
    void Serve(int number, const Response& logo) { Server.Serve(QString("/%1").arg(number), logo); }
    int Asked(int number = 1) const { return Server.Count(QString("/%1").arg(number)); }
    /// The bytes of the picture; empty when there is none.
    static QByteArray Cover(int number = 1) {
        Ref<IVEXAImageContainer> image;
        const QString address = QString("podcast://h/%1/0.mp3").arg(number);
        if (Failed(TVEXAPodcastsAlbumArtProvider::GetAlbumArt(address, image.Put()))) return {};
        return {static_cast<const char*>(image->GetData()), static_cast<qsizetype>(image->GetDataSize())};
    }
    qint64 LookedAt() { return Client->DB().GetLogoLook(1).value().Time; }
    /// Waits until the logo of feed 1 was checked at the clock's present time. Asks for it again and again, because
    /// asking begins no check while the thread of the one before is still about to end.
    bool WaitForLook() {
        return tests::WaitUntil([this] { return !Cover().isEmpty() && LookedAt() == Seconds; });
    }

    tests::LoopbackServer Server;
    const Ref<ChangeCounter> Changes = NewObject<ChangeCounter>();
    std::atomic<qint64> Seconds{1'700'000'000};
    std::unique_ptr<TPodcastClient> Client = std::make_unique<TPodcastClient>(
        Profile.File("Test.db"),
        TPodcastClocks{TickCount, [this] { return QDateTime::fromSecsSinceEpoch(Seconds, Qt::UTC); }});

    const QByteArray Red = tests::Png(8, 8), Blue = tests::Png(8, 8, Qt::blue);
    const Response IsRed = Response::Of(Red, "image/png"), IsBlue = Response::Of(Blue, "image/png");
};

struct Worthless {
    const char* Name;
    Response Answer;
    qint64 AskedAgainAfter;  // s
};

std::vector<Worthless> WorthlessAnswers() {
    const QByteArray png = tests::Png(8, 8);
    return {
        {"a web page", Response::Of("<html>", "text/html"), kWeek},
        {"nothing", Response::Of("", "image/png"), kWeek},
        {"a picture of 8 MiB", Response::Of(png + QByteArray((8 << 20) - png.size(), '\0'), "image/png"), kWeek},
        {"more than the host takes", Response::Of(QByteArray(50 << 20, 'x'), "image/png"), kHour},
        {"a failure", Response::Failure("404 Not Found"), kHour},
        {"half of a picture", Response::Of(png, "image/png").With(Fault::Close, 20), kHour},
    };
}

TEST_F(Logos, AreNotFetchedAgainTooSoonIfTheAnswerIsNoPicture) {
    int number = 0;
    for (const auto& [name, answer, after] : WorthlessAnswers()) {
        SCOPED_TRACE(name);
        Subscribe(++number, answer);
        EXPECT_EQ(Cover(number), "");
        Seconds += after;
        EXPECT_EQ(Cover(number), "");
        EXPECT_EQ(Asked(number), 1);
        Serve(number, IsRed);
        ++Seconds;
        EXPECT_EQ(Cover(number), Red);
        EXPECT_EQ(Asked(number), 2);
    }
}

TEST_F(Logos, AreCheckedWeeklyInTheBackgroundAndReplacedWhenTheyHaveChanged) {
    Subscribe(1, IsRed);
    EXPECT_EQ(Cover(), Red);
    Serve(1, IsBlue);
    Seconds += kWeek;
    EXPECT_EQ(Cover(), Red);
    EXPECT_EQ(Asked(), 1);

    ++Seconds;
    EXPECT_EQ(Cover(), Red);
    ASSERT_TRUE(WaitForLook());
    EXPECT_EQ(Cover(), Blue);
    EXPECT_TRUE(tests::WaitUntil([this] { return Changes->Count == 1; }));
    EXPECT_EQ(PlainSqlite(Client->DB().FileName()).Rows("SELECT Count(*) FROM PodcastFeedLogos"), QStringList("1"));

    Seconds -= 1000;  // the clock is set back, and the picture is the same
    EXPECT_EQ(Cover(), Blue);
    ASSERT_TRUE(WaitForLook());
    EXPECT_EQ(Cover(), Blue);
    EXPECT_EQ(Asked(), 3);
    TVEXAPodcastsFileManager::UnregisterFileManager();
    EXPECT_EQ(Changes->Count, 1);
}

TEST_F(Logos, StayWhenNoUsablePictureArrives) {
    Subscribe(1, IsRed);
    EXPECT_EQ(Cover(), Red);
    Seconds += kWeek + 1;
    for (const auto& [name, answer, after] : WorthlessAnswers()) {
        SCOPED_TRACE(name);
        Serve(1, answer);
        Server.Forget();
        EXPECT_EQ(Cover(), Red);
        ASSERT_TRUE(WaitForLook());
        Seconds += after;
        EXPECT_EQ(Cover(), Red);
        EXPECT_EQ(Asked(), 1);
        ++Seconds;
    }
    EXPECT_EQ(Changes->Count, 0);
}

TEST_F(Logos, AreCheckedAtOnceWhenTheirAddressHasChanged) {
    Subscribe(1, IsRed);
    EXPECT_EQ(Cover(), Red);
    Serve(2, IsBlue);
    PlainSqlite(Client->DB().FileName()).Run("UPDATE PodcastFeeds SET URLLogo = '" + Server.Url("/2").toUtf8() + "'");
    EXPECT_EQ(Cover(), Red);
    EXPECT_TRUE(tests::WaitUntil([this] { return Cover() == Blue; }));
    EXPECT_EQ(Asked(2), 1);
}

TEST_F(Logos, AreCheckedIfStoredByEarlierVersionsWhateverTheyAre) {
    Subscribe(1, IsRed);
    Client->DB().SetFeedLogo(1, "<html>", 6);
    EXPECT_EQ(Cover(), Red);
    Subscribe(2, IsRed);
    Client->DB().SetFeedLogo(2, Blue.constData(), static_cast<std::size_t>(Blue.size()));
    EXPECT_EQ(Cover(2), Blue);
    EXPECT_TRUE(tests::WaitUntil([this] { return Cover(2) == Red; }));
}

TEST_F(Logos, AreFetchedThreeAtATimePerServerAndDelayNoOther) {
    constexpr int kOfServer = 5, kOther = kOfServer + 1;
    tests::LoopbackServer other;
    for (int i = 1; i <= kOfServer; ++i) Subscribe(i, IsRed);
    Subscribe(kOther, other);
    other.ServeInTurn(QString("/%1").arg(kOther), {IsRed, IsBlue});
    for (int i = 1; i <= kOther; ++i) EXPECT_EQ(Cover(i), Red);
    for (int i = 1; i <= kOfServer; ++i) Serve(i, IsBlue.With(Fault::Wait));
    Server.Forget();
    Seconds += kWeek + 1;
    for (int i = 1; i <= kOther; ++i) EXPECT_EQ(Cover(i), Red);
    EXPECT_TRUE(tests::WaitUntil([&] { return Server.Paths().size() >= 3 && Cover(kOther) == Blue; }))
        << Server.Paths().size() << " requests";
    for (int i = 1; i <= kOfServer; ++i) EXPECT_EQ(Cover(i), Red);  // must not ask for any of them again
    EXPECT_EQ(Server.Paths().size(), 3);
    for (int i = 1; i <= kOfServer; ++i) Server.Release(QString("/%1").arg(i));
    for (int i = 1; i <= kOfServer; ++i) EXPECT_TRUE(tests::WaitUntil([&] { return Cover(i) == Blue; })) << i;
    EXPECT_EQ(Server.Paths().size(), kOfServer);
}

TEST_F(Logos, StayWhenTheClientEndsDuringACheck) {
    Subscribe(1, IsRed);
    EXPECT_EQ(Cover(), Red);
    const qint64 before = LookedAt();
    Serve(1, IsBlue.With(Fault::Wait, 20));
    Seconds += kWeek + 1;
    EXPECT_EQ(Cover(), Red);
    ASSERT_TRUE(tests::WaitUntil([this] { return Asked() == 2; }));
    TVEXAPodcastsFileManager::UnregisterFileManager();
    EXPECT_EQ(Cover(), "");
    EXPECT_EQ(LookedAt(), before);

    TVEXAPodcastsFileManager::RegisterFileManager(*Client);
    Serve(1, IsBlue);
    EXPECT_EQ(Cover(), Red);
    EXPECT_TRUE(tests::WaitUntil([this] { return Cover() == Blue; }));
}

}  // namespace
}  // namespace podcasts
