// Video: the pictures, the window that shows them, and files without any.

#include "Pipelines.h"
#include "PlaybackFixture.h"
#include "PlaybackMenu.h"
#include "Tags.h"
#include "VideoWindow.h"

#include <QTest>

using namespace vexa::host;
using tests::WaitUntil;

namespace {

/// 20 seconds of a picture of one colour, whose pixels are twice as wide as high, and a tone.
void MakeVideo(const QString& file) {
    tests::RunPipeline(
        "videotestsrc num-buffers=100 pattern=red ! "
        "video/x-raw,width=64,height=64,framerate=5/1,pixel-aspect-ratio=2/1 ! vp8enc deadline=1 ! "
        "webmmux name=mux ! filesink location=" +
        QFile::encodeName(file) + " audiotestsrc num-buffers=862 ! audioconvert ! vorbisenc ! mux.");
}

bool IsRed(const QColor& colour) {
    return colour.red() > 200 && colour.green() < 50 && colour.blue() < 50;
}

}  // namespace

TEST_F(PlaybackTest, AVideoIsShownInAWindowOfItsOwnUntilThatIsClosed) {
    const QString file = Profile.File(u"a.webm"_s);
    MakeVideo(file);
    Player->Choices().Set(ListeningChoices::ShortenSilence, true);
    PlaybackMenu menu(Host, *Player);
    QAction* item = menu.findChild<QAction*>(u"Video"_s);
    EXPECT_FALSE(item->isEnabled());
    VideoWindow window(*Player, Host);
    auto* view = window.findChild<VideoView*>();
    ASSERT_TRUE(Plays(file));
    ASSERT_TRUE(WaitUntil([&] { return window.isVisible(); }));
    EXPECT_TRUE(item->isChecked());
    window.resize(600, 500);
    const auto pixel = [&](double across, double down) {
        const QImage shown = view->grab().toImage();
        return shown.pixelColor(int(shown.width() * across), int(shown.height() * down));
    };
    ASSERT_TRUE(WaitUntil([&] { return IsRed(pixel(0.5, 0.5)); }));
    EXPECT_TRUE(IsRed(pixel(0.02, 0.5))) << "the pixels are not square";
    EXPECT_EQ(pixel(0.5, 0.05), QColor(Qt::black)) << "the picture is twice as wide as high";

    for (const auto& [key, isFull] : {std::pair(Qt::Key_F11, true), {Qt::Key_Escape, false}}) {
        QTest::keyClick(view, key);
        EXPECT_EQ(window.isFullScreen(), isFull);
        EXPECT_EQ(window.findChild<PlaybackBar*>()->isHidden(), isFull);
    }
    QTest::mouseDClick(view, Qt::LeftButton);
    EXPECT_TRUE(window.isFullScreen());
    QTest::keyClick(view, Qt::Key_Space);
    EXPECT_TRUE(WaitFor(State::Paused));
    QTest::keyClick(view, Qt::Key_Right);
    EXPECT_GT(Player->Position(), 15);
    QTest::keyClick(view, Qt::Key_Left);
    EXPECT_LT(Player->Position(), 10);
    Player->Resume();
    ASSERT_TRUE(WaitFor(State::Playing));

    window.close();
    const double closed = Player->Position();
    EXPECT_TRUE(WaitUntil([&] { return Player->Position() > closed + 0.5; })) << "the sound has stopped";
    EXPECT_FALSE(window.isVisible());
    EXPECT_TRUE(Player->Video().Newest().Picture.isNull());
    EXPECT_FALSE(item->isChecked());
    item->trigger();
    ASSERT_TRUE(WaitUntil([&] { return window.isVisible() && IsRed(pixel(0.5, 0.5)); }));
    EXPECT_FALSE(window.isFullScreen());
    EXPECT_GT(Player->Position(), closed) << "it has begun again";

    ASSERT_TRUE(Plays(Tone(u"a.wav"_s, 30)));
    EXPECT_FALSE(window.isVisible()) << "the next file has no video";
    EXPECT_TRUE(Errors.isEmpty());
}

TEST_F(PlaybackTest, ACoverIsNoVideoAndWithoutAWindowNothingIsShown) {
    const QString covered = Tone(u"covered.wav"_s, 30), video = Profile.File(u"a.webm"_s);
    tests::AddPicture(covered, 8, 8);
    {
        VideoWindow window(*Player, Host);
        ASSERT_TRUE(Plays(covered) && SeeksTo(1));
        EXPECT_FALSE(Player->HasVideo() || window.isVisible());
        Player->Stop();
    }
    MakeVideo(video);
    ASSERT_TRUE(Plays(video) && SeeksTo(2));
    EXPECT_TRUE(Player->HasVideo());
    EXPECT_TRUE(Player->Video().Newest().Picture.isNull());
}
