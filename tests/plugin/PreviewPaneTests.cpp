// The part of a dialog that shows a podcast before subscribing, used as by a user.

#include "DialogFixture.h"
#include "LoopbackServer.h"
#include "Podcasts.Plugin.Dialogs.Feed.h"
#include "Podcasts.Plugin.Dialogs.Preview.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeView>

namespace podcasts {

using namespace vexa;

namespace {

const QByteArray kFeed = R"(<rss version="2.0" xmlns:itunes="http://www.itunes.com/dtds/podcast-1.0.dtd"><channel>
    <title>Harbour &lt;b&gt;</title><itunes:author>Ada</itunes:author>
    <description>&lt;p&gt;Ships &amp;amp; &lt;i&gt;boats&lt;/i&gt;&lt;img src="file:///dev/zero"&gt;</description>
    <item><title>Old</title><guid>1</guid><pubDate>Sun, 01 Nov 2026 12:00:00 GMT</pubDate>
        <enclosure url="http://127.0.0.1:9/1.mp3" type="audio/mpeg"/><itunes:duration>3725</itunes:duration></item>
    <item><title>Trap</title><guid>2</guid><pubDate>Tue, 03 Nov 2026 12:00:00 GMT</pubDate>
        <enclosure url="file:///etc/passwd" type="audio/mpeg"/></item>
    <item><title>New</title><guid>3</guid><pubDate>Mon, 02 Nov 2026 12:00:00 GMT</pubDate>
        <enclosure url="http://127.0.0.1:9/3.mp3" type="audio/mpeg"/></item>
    </channel></rss>)";

class PreviewPane : public DialogTest {
protected:
    PreviewPane() {
        Pane.SetOnRead([this] { ++Reads; });
        Pane.show();
    }
    QString Label(const char* name) {
        const auto& label = Find<QLabel>(Pane, name);
        EXPECT_EQ(label.textFormat(), Qt::PlainText);
        return label.isVisible() ? label.text() : QString();
    }
    QTreeView& Episodes() { return Find<QTreeView>(Pane, "tvEpisodes"); }
    QString Cell(int row, int column) { return Episodes().model()->index(row, column).data().toString(); }
    bool WasRead(int times = 1) {
        return tests::WaitUntil([&] { return Reads == times; });
    }

    tests::LoopbackServer Server;
    int Reads = 0;
    TfrmPodcastPreview Pane;
};

TEST_F(PreviewPane, ShowsAPodcastAndPlaysItsEpisodesByTheKeyboard) {
    Server.Serve("/f", tests::Response::Of(kFeed));
    Pane.Open(Server.Url("/f"));
    EXPECT_EQ(Label("lbState"), "Please wait, loading…");
    ASSERT_TRUE(WasRead());
    EXPECT_EQ(Label("lbState"), "");
    EXPECT_EQ(Label("lbTitle"), "Harbour <b>");
    EXPECT_EQ(Label("lbAuthor"), "Ada");
    EXPECT_EQ(Label("lbDescription"), "Ships & boats");
    EXPECT_EQ(Label("lbEpisodes"), "Episodes: 3");
    ASSERT_EQ(Episodes().model()->rowCount(), 3);
    EXPECT_EQ(Cell(0, 0) + Cell(1, 0) + Cell(2, 0), "TrapNewOld");
    EXPECT_EQ(Cell(2, 2), "1:02:05");
    EXPECT_EQ(Episodes().currentIndex().row(), 1) << "the newest that can be played";

    QTest::keyClick(&Episodes(), Qt::Key_Space);
    EXPECT_EQ(Host.Player().FileName(), "http://127.0.0.1:9/3.mp3");
    ASSERT_TRUE(Host.Player().Preview()) << "nothing must be kept of it";
    EXPECT_EQ(Host.Player().Preview()->Text(IVEXAFileInfo::Title), "New");
    QTest::keyClick(&Episodes(), Qt::Key_Down);
    QTest::keyClick(&Episodes(), Qt::Key_Return);
    EXPECT_EQ(Host.Player().FileName(), "http://127.0.0.1:9/1.mp3");
    Click(Find<QPushButton>(Pane, "btnStop"));
    EXPECT_EQ(Host.Player().FileName(), "");
    EXPECT_FALSE(Client->DB().GetFeed(Server.Url("/f"), false)) << "nothing is stored";
    EXPECT_EQ(Pane.Feed()->Fields[pffURLFeed], Server.Url("/f"));
}

TEST_F(PreviewPane, ShowsOnlyWhatWasOpenedLast) {
    Server.Serve("/slow", tests::Response::Of(kFeed).With(tests::Fault::Wait));
    Server.Serve("/gone", tests::Response::Failure("410 Gone"));
    Pane.Open(Server.Url("/slow"));
    Pane.Open(Server.Url("/gone"));
    ASSERT_TRUE(WasRead());
    EXPECT_EQ(Label("lbState"), "the server answered 410 Gone");
    EXPECT_FALSE(Find<QPushButton>(Pane, "btnPlay").isEnabled());
    Server.Release("/slow");
    Pane.Open({});
    EXPECT_EQ(Label("lbState"), "");
    EXPECT_EQ(Reads, 1);
}

TEST_F(PreviewPane, TheSubscriptionDialogLeadsToASearchIfThereIsOne) {
    QStringList searched;
    const auto use = [&](const QString& text, bool isThere) {
        WithDialog([&] { TfrmPodcastFeed::Subscribe(0, *Client); },
                   [&](QWidget& dialog) {
                       auto& link = Find<QPushButton>(dialog, "btnSearch");
                       EXPECT_EQ(link.isVisible(), isThere);
                       Find<QLineEdit>(dialog, "edFeedURL").setText(text);
                       if (isThere) link.click();
                   });
    };
    use({}, false);
    TfrmPodcastFeed::SetSearchHook([&](WindowHandle, const QString& text) {
        EXPECT_EQ(QApplication::activeModalWidget(), nullptr) << "the dialog is still there";
        searched += text;
    });
    use("tides", true);
    use("https://h/f", true);
    TfrmPodcastFeed::SetSearchHook({});
    EXPECT_EQ(searched, QStringList({"tides", ""}));
}

}  // namespace
}  // namespace podcasts
