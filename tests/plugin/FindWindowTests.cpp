// Finding podcasts in the plug-in: the storage's interface, and the window, used as by a user with a keyboard.

#include "DialogFixture.h"
#include "LoopbackServer.h"
#include "Podcasts.Plugin.Dialogs.Find.h"
#include "Podcasts.Plugin.FileManager.h"
#include "Podcasts.Plugin.ML.h"

#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>

namespace podcasts {

using namespace vexa;
using namespace Qt::StringLiterals;
using tests::Fault;
using tests::Response;

namespace {

/// Notes what a search tells.
class Events : public Implements<TInterfacedObjectEx, IVEXAMLFinderEvents> {
public:
    void OnFound(IVEXAMLFound* found) noexcept override {
        Told += ReadPropertyString(found, IVEXAMLFound::Address) + u' ' +
                ReadPropertyString(found, IVEXAMLFound::Title) + u' ' +
                ReadPropertyString(found, IVEXAMLFound::Source) + u' ' +
                QString::number(ReadPropertyInt32(found, IVEXAMLFound::IsSubscribed)) + u' ' +
                QString::number(ReadPropertyInt32(found, IVEXAMLFound::RowCount));
    }
    void OnSourceDone(IVEXAString* source, HResult result, IVEXAString* text) noexcept override {
        Told += FromHostString(source) +
                (result == S_OK      ? u" done "_s
                 : result == S_FALSE ? u" rests "_s
                                     : u" failed "_s) +
                FromHostString(text);
    }
    void OnCompleted() noexcept override { Told += u"completed"_s; }

    QStringList Told;
};

class FindWindowTest : public DialogTest {
protected:
    FindWindowTest() {
        TVEXAPodcastsFileManager::RegisterFileManager(*Client);
        Finding->Directories[0].Base = Server.Url("/store");
        Finding->Directories[1].Base = Server.Url("/gpodder");
        Library = TVEXAPodcastsMLExtension::Create(
            *Client, [] {}, [this] { ++Saved; }, Finding);
    }
    ~FindWindowTest() override {
        Library->Finalize();
        Library = nullptr;
        TVEXAPodcastsFileManager::UnregisterFileManager();
    }

    static QString StorePath(const QString& words) {
        return "/store/search?media=podcast&term=" + words +
               "&limit=50&country=" + TPodcastFindOptions().CountryOrDefault();
    }
    static QString GpodderPath(const QString& words) { return "/gpodder/search.json?q=" + words + "&scale_logo=256"; }
    void ServePodcasts(const QString& words, const QStringList& titles) {
        QStringList rows;
        for (const QString& title : titles)
            rows += u"{\"feedUrl\":\"%1\",\"collectionName\":\"%2\",\"artworkUrl100\":\"%3\",\"trackCount\":7}"_s.arg(
                Server.Url("/" + title), title, Server.Url("/cover"));
        Server.Serve(StorePath(words), Response::Of("{\"results\":[" + rows.join(',').toUtf8() + "]}"));
        Server.Serve(GpodderPath(words), Response::Of("[]"));
        for (const QString& title : titles)
            Server.Serve("/" + title, Response::Of("<rss version='2.0'><channel><title>" + title.toUtf8() +
                                                   "</title></channel></rss>"));
    }
    /// Opens the window with a text in its field.
    QWidget& Open(const QString& text = {}) {
        EXPECT_EQ(Library->ShowSearchWindow(0, ToHostString(text).Get()), S_OK);
        for (QWidget* const window : QApplication::topLevelWidgets())
            if (dynamic_cast<TfrmPodcastFind*>(window)) return *window;
        throw std::runtime_error("no window");
    }
    static QListView& List(QWidget& window) { return Find<QListView>(window, "lvFound"); }
    static QString Status(QWidget& window) { return Find<QLabel>(window, "lbStatus").text().remove(QChar(0x200B)); }
    static QString Place(QWidget& window) {
        const auto& label = Find<QLabel>(window, "lbPlace");
        return label.isVisible() ? label.text().remove(QChar(0x200B)) : QString();
    }
    /// Waits for the rows' titles.
    static void ExpectRows(QWidget& window, const QStringList& titles) {
        QStringList rows;
        EXPECT_TRUE(tests::WaitUntil([&] {
            rows.clear();
            for (int row = 0; row < List(window).model()->rowCount(); ++row)
                rows += List(window).model()->index(row, 0).data().toString();
            return rows == titles;
        })) << rows.join(' ').toStdString();
    }

    tests::LoopbackServer Server;
    std::shared_ptr<TPodcastFindOptions> Finding = std::make_shared<TPodcastFindOptions>();
    Ref<TVEXAPodcastsMLExtension> Library;
    int Saved = 0;
};

TEST_F(FindWindowTest, TheStorageTellsWhatItsDirectoriesKnowAndWhichOfThemFail) {
    Subscribe(tests::MakeFeed(Server.Url("/A")));
    ServePodcasts("a", {"A", "B"});
    Server.Serve(GpodderPath("a"), Response::Failure("429 Slow"));
    const auto events = NewObject<Events>();
    std::int64_t search = 0;
    const auto find = [&] {
        events->Told.clear();
        EXPECT_EQ(Library->Find(ToHostString("a").Get(), 0, events.Get(), &search), S_OK);
        EXPECT_EQ(events->Told, QStringList()) << "nothing before Find has returned";
    };
    const auto waitForEnd = [&] {
        EXPECT_TRUE(tests::WaitUntil([&] { return events->Told.contains("completed"); }));
        EXPECT_EQ(events->Told.last(), "completed");
    };
    find();
    waitForEnd();
    EXPECT_TRUE(events->Told.contains(Server.Url("/A") + " A itunes 1 7"));
    EXPECT_TRUE(events->Told.contains(Server.Url("/B") + " B itunes 0 7"));
    EXPECT_EQ(events->Told.filter("gpodder failed the server answered 429 Slow; ").size(), 1)
        << events->Told.join('\n').toStdString();
    EXPECT_EQ(Saved, 1) << "the profile keeps until when it is not asked";
    find();
    waitForEnd();
    EXPECT_EQ(events->Told.filter("gpodder rests it has refused to answer").size(), 1);

    Server.Serve(StorePath("a"), Response::Of("{}").With(Fault::Wait, -1));
    find();
    EXPECT_EQ(Library->CancelSearch(search), S_OK);
    waitForEnd();
    EXPECT_EQ(events->Told.size(), 1);
    EXPECT_EQ(Library->CancelSearch(search), S_FALSE);
    find();
    Library->Finalize();
    waitForEnd();
}

TEST_F(FindWindowTest, SearchesWhenTheUserPausesAndSubscribesByTheKeyboardAlone) {
    ServePodcasts("tea", {"One", "Two", "Three"});
    QWidget& window = Open();
    EXPECT_EQ(window.windowTitle(), Host.Language().Text("Podcasts.Find\\Caption"));
    EXPECT_TRUE(Place(window).contains("iTunes Store: learns your words, your country and your IP address"));
    EXPECT_FALSE(Place(window).contains("Podcast Index")) << "it is not asked without a key";
    auto& edit = Find<QLineEdit>(window, "edWords");
    EXPECT_TRUE(tests::WaitUntil([&] { return edit.hasFocus(); }));
    QTest::keyClicks(&edit, "tea");
    EXPECT_EQ(Server.Requests().size(), 0u);
    ExpectRows(window, {"One", "Two", "Three"});
    EXPECT_EQ(Server.Count(StorePath("tea")), 1);
    EXPECT_TRUE(tests::WaitUntil([&] { return Server.Count(GpodderPath("tea")) == 1; }));  // nobody waited for it
    EXPECT_EQ(Server.Requests().size(), 2u) << "the word, not its letters, and no picture without https";

    auto& list = List(window);
    QTest::keyClick(&edit, Qt::Key_Down);
    EXPECT_TRUE(list.hasFocus());
    EXPECT_TRUE(Find<QPushButton>(window, "btnSubscribe").isEnabled()) << "the first row is selected";
    QTest::keyClick(&list, Qt::Key_Up);
    EXPECT_TRUE(edit.hasFocus());
    QTest::keyClick(&edit, Qt::Key_Return);
    EXPECT_TRUE(list.hasFocus());
    QTest::keyClick(&list, Qt::Key_Down, Qt::ShiftModifier);
    QTest::keyClick(&list, Qt::Key_Return);
    EXPECT_TRUE(tests::WaitUntil([&] { return Status(window).startsWith("Subscribed to: "); }));
    for (const char* title : {"/One", "/Two"}) EXPECT_TRUE(Client->IsSubscribed(Server.Url(title))) << title;
    EXPECT_FALSE(Client->IsSubscribed(Server.Url("/Three")));
    EXPECT_FALSE(Find<QPushButton>(window, "btnSubscribe").isEnabled()) << "both are subscribed now";
    const QString spoken = list.model()->index(0, 0).data(Qt::AccessibleTextRole).toString();
    EXPECT_EQ(spoken, "One. subscribed. Episodes: 7");

    Find<QPushButton>(window, "btnPreview").click();
    EXPECT_TRUE(tests::WaitUntil([&] { return Find<QLabel>(window, "lbTitle").text() == "Two"; }));
    // Space shows the episodes, and the next one leads to them.
    Server.Serve("/Three", Response::Of("<rss version='2.0'><channel><title>Third show</title></channel></rss>"));
    list.setCurrentIndex(list.model()->index(2, 0));
    QTest::keyClick(&list, Qt::Key_Space);
    EXPECT_TRUE(tests::WaitUntil([&] { return Find<QLabel>(window, "lbTitle").text() == "Third show"; }));
    QTest::keyClick(&list, Qt::Key_Space);
    EXPECT_FALSE(list.hasFocus());
    QTest::keyClick(window.focusWidget(), Qt::Key_Escape);
    EXPECT_TRUE(list.hasFocus());
    QPointer<QWidget> closed(&window);
    QTest::keyClick(&list, Qt::Key_Escape);
    EXPECT_TRUE(tests::WaitUntil([&] { return !closed; }));
}

TEST_F(FindWindowTest, ShowsFailuresInOneLineAndTextsOfServersAsTheyAre) {
    Subscribe(tests::MakeFeed("http://h/f"));
    Server.Serve(StorePath("x"), Response::Failure("500 <b>Oops</b>"));
    Server.Serve(GpodderPath("x"), Response::Of("[]"));
    QWidget& window = Open("x");
    const QString failure = "iTunes Store: the server answered 500 <b>Oops</b>";
    EXPECT_TRUE(tests::WaitUntil([&] { return Place(window) == failure; })) << Place(window).toStdString();
    Server.Serve(GpodderPath("x"), Response::Of("[{\"url\":\"http://h/f\",\"title\":\"<i>G\"}]"));
    EXPECT_EQ(&Open("x"), &window) << "one window";
    ExpectRows(window, {"<i>G"});
    EXPECT_EQ(List(window).model()->index(0, 0).data(Qt::AccessibleTextRole).toString(), "<i>G. subscribed");
    EXPECT_TRUE(tests::WaitUntil([&] { return Status(window) == "Podcasts: 1 · " + failure; }))
        << Status(window).toStdString();
    for (const QLabel* const label : window.findChildren<QLabel*>()) EXPECT_EQ(label->textFormat(), Qt::PlainText);

    // Nothing is asked for an empty field, and what was found is gone.
    Server.Forget();
    auto& edit = Find<QLineEdit>(window, "edWords");
    edit.selectAll();
    QTest::keyClick(&edit, Qt::Key_Backspace);
    ExpectRows(window, {});
    EXPECT_TRUE(Place(window).contains("gpodder.net: learns"));
    QTest::keyClick(&edit, Qt::Key_Return);
    EXPECT_EQ(Server.Requests().size(), 0u);
    Server.Serve("/gpodder/toplist/50.json?scale_logo=256", Response::Of("[{\"url\":\"http://h/p\",\"title\":\"P\"}]"));
    Find<QPushButton>(window, "btnPopular").click();
    ExpectRows(window, {"P"});
    const QPointer<QWidget> closed(&window);
    Library->Finalize();
    EXPECT_FALSE(closed) << "the window does not outlive the storage";
}

TEST(FoundPodcasts, AreOneRowEachHoweverOftenTheyAreTold) {
    TPodcastFindModel model;
    const auto put = [&](const QString& address, const QString& title, const QString& picture) {
        TPodcastFindEntry entry;
        entry.Address = address;
        entry.Title = title;
        entry.Picture = picture;
        model.Put(entry);
    };
    for (const QString& address : {u"1"_s, u"2"_s, u"3"_s}) put(address, address, {});
    int changes = 0;
    QObject::connect(&model, &QAbstractItemModel::dataChanged, [&] { ++changes; });
    put(u"2"_s, u"Two"_s, u"https://h/p"_s);
    EXPECT_EQ(model.rowCount(), 3);
    EXPECT_EQ(model.index(1).data().toString(), "Two") << "a later object replaces the earlier one";
    model.PictureArrived(u"https://h/p"_s);
    model.MarkSubscribed(u"3"_s);
    EXPECT_EQ(changes, 3);
    EXPECT_TRUE(model.At(2).IsSubscribed);
    model.Clear();
    model.PictureArrived(u"https://h/p"_s);
    model.MarkSubscribed(u"3"_s);
    EXPECT_EQ(changes, 3);
}

}  // namespace
}  // namespace podcasts
