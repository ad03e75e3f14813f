// The controls of playback: the desktop over the session bus, the bar, the menu, and the listening list.

#include "DraggedFiles.h"
#include "ListeningPane.h"
#include "LoopbackServer.h"
#include "MovingFiles.h"
#include "Mpris.h"
#include "PlaybackBar.h"
#include "PlaybackFixture.h"
#include "PlaybackMenu.h"
#include "PlaylistOrder.h"
#include "RowDelegate.h"
#include "Tags.h"

#include <QAbstractButton>
#include <QAbstractItemModelTester>
#include <QAbstractSlider>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QListView>
#include <QMainWindow>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>

#include <atomic>

using namespace vexa::host;
using tests::WaitUntil;

namespace {

/// A desktop's media control, on a bus connection of its own.
class Remote : public QObject {
    Q_OBJECT
public:
    explicit Remote(const QString& service) : FService(service) {
        Bus.connect(service, FPath, FProperties, u"PropertiesChanged"_s, this, SLOT(OnChanged(QString, QVariantMap)));
    }
    ~Remote() override { QDBusConnection::disconnectFromBus(u"remote"_s); }

    QVariantList Call(const QString& method, const QVariantList& arguments = {},
                      const QString& interface = u"org.mpris.MediaPlayer2.Player"_s) {
        QDBusMessage call = QDBusMessage::createMethodCall(FService, FPath, interface, method);
        call.setArguments(arguments);
        const QDBusPendingCall answer = Bus.asyncCall(call);
        EXPECT_TRUE(WaitUntil([&] { return answer.isFinished(); })) << method.toStdString();
        EXPECT_FALSE(answer.isError()) << answer.error().message().toStdString();
        return answer.reply().arguments();
    }
    QVariant Get(const QString& name) {
        const QVariantList answer = Call(u"Get"_s, {u"org.mpris.MediaPlayer2.Player"_s, name}, FProperties);
        return answer.value(0).value<QDBusVariant>().variant();
    }
    void Set(const QString& name, const QVariant& value) {
        const QVariant wrapped = QVariant::fromValue(QDBusVariant(value));
        Call(u"Set"_s, {u"org.mpris.MediaPlayer2.Player"_s, name, wrapped}, FProperties);
    }
    QVariantMap Metadata() { return qdbus_cast<QVariantMap>(Get(u"Metadata"_s).value<QDBusArgument>()); }

    QDBusConnection Bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"remote"_s);
    QVariantMap Changed;

private Q_SLOTS:
    void OnChanged(const QString&, const QVariantMap& properties) { Changed.insert(properties); }

private:
    const QString FService, FPath = u"/org/mpris/MediaPlayer2"_s, FProperties = u"org.freedesktop.DBus.Properties"_s;
};

TEST_F(PlaybackTest, TheDesktopSeesAndControlsIt) {
    Mpris mpris(*Player, Host.AlbumArt());
    ASSERT_EQ(mpris.ServiceName(), u"org.mpris.MediaPlayer2.vexa"_s);
    int raised = 0, quit = 0;
    QObject::connect(&mpris, &Mpris::RaiseRequested, [&] { ++raised; });
    QObject::connect(&mpris, &Mpris::QuitRequested, [&] { ++quit; });
    Remote remote(mpris.ServiceName());
    EXPECT_EQ(remote.Get(u"PlaybackStatus"_s), u"Stopped"_s);
    const QString file = Tone(u"a.wav"_s, 60);
    tests::AddPicture(file, 600, 300, [](auto& tag) { tag.setAlbum("An album"); });
    remote.Call(u"OpenUri"_s, {file});
    ASSERT_TRUE(WaitUntil([&] { return remote.Changed[u"PlaybackStatus"_s] == u"Playing"_s; }));
    ASSERT_TRUE(WaitFor(State::Playing));
    const QVariantMap data = remote.Metadata();
    EXPECT_EQ(data[u"xesam:url"_s], file);
    EXPECT_EQ(data[u"mpris:length"_s].toLongLong(), 60'000'000);
    QString cover;
    EXPECT_TRUE(WaitUntil([&] {
        const auto told = qdbus_cast<QVariantMap>(remote.Changed[u"Metadata"_s].value<QDBusArgument>());
        cover = QUrl(told[u"mpris:artUrl"_s].toString()).toLocalFile();
        return !cover.isEmpty();
    })) << "no file of the cover is announced";
    EXPECT_EQ(QImage(cover).size(), QSize(512, 256));
    EXPECT_EQ(QImage(cover).pixelColor(100, 100), QColor(Qt::red));

    remote.Call(u"PlayPause"_s);
    ASSERT_TRUE(WaitFor(State::Paused));
    remote.Call(u"Seek"_s, {qlonglong(10'000'000)});
    ASSERT_TRUE(WaitUntil([&] { return Player->Position() >= 10; }));
    remote.Call(u"SetPosition"_s, {data[u"mpris:trackid"_s], qlonglong(30'000'000)});
    ASSERT_TRUE(WaitUntil([&] { return Player->Position() >= 30; }));
    remote.Call(u"SetPosition"_s, {QVariant::fromValue(QDBusObjectPath(u"/vexa/track/0"_s)), qlonglong(1)});
    EXPECT_GE(remote.Get(u"Position"_s).toLongLong(), 30'000'000);
    remote.Set(u"Rate"_s, 9.0);
    remote.Set(u"Volume"_s, 0.25);
    EXPECT_EQ(Player->Speed(), 3);
    EXPECT_EQ(Player->Volume(), 0.25);
    for (const char* method : {"Raise", "Quit"}) remote.Call(method, {}, u"org.mpris.MediaPlayer2"_s);
    EXPECT_TRUE(WaitUntil([&] { return raised == 1 && quit == 1; }));
    remote.Call(u"Stop"_s);
    EXPECT_TRUE(WaitUntil([&] { return remote.Changed[u"PlaybackStatus"_s] == u"Stopped"_s; }));
}

TEST_F(PlaybackTest, TheDesktopsAddressesArePlayedOrOpenedByTheirTypes) {
    tests::LoopbackServer server;
    server.Serve(u"/feed"_s, tests::Response::Of("<rss/>"));
    server.Serve(u"/page"_s, tests::Response::Of("<html/>", "text/html"));
    server.Serve(u"/audio"_s, tests::Response::Of(MakeTone(60), "audio/x-wav"));
    Mpris mpris(*Player, Host.AlbumArt());
    QStringList opened;
    QObject::connect(&mpris, &Mpris::OpenRequested, [&](const QString& address) { opened += address; });
    Remote remote(mpris.ServiceName());
    for (const QString& path : {u"/feed"_s, u"/page"_s}) {
        remote.Call(u"OpenUri"_s, {server.Url(path)});
        EXPECT_TRUE(WaitUntil([&] { return opened.value(opened.size() - 1) == server.Url(path); }));
        EXPECT_EQ(Player->Current().Address, QString());
    }
    remote.Call(u"OpenUri"_s, {server.Url(u"/audio"_s)});
    EXPECT_TRUE(WaitFor(State::Playing));
    EXPECT_EQ(opened.size(), 2);
}

TEST_F(PlaybackTest, EveryControlOfTheBarHasANameInTheUsersLanguage) {
    PlaybackBar bar(*Player, Host);
    const QString file = Tone(u"a.wav"_s, 60);
    ASSERT_TRUE(Plays(file));
    for (const QString& language : Host.Language().Languages()) {
        Host.Language().Switch(language);
        QEvent changed(QEvent::LanguageChange);  // as the window sends it
        QCoreApplication::sendEvent(&bar, &changed);
        QStringList names{QString()};  // none may be empty
        for (const QWidget* control : bar.findChildren<QWidget*>())
            if (control->focusPolicy() & Qt::TabFocus) names += control->accessibleName();
        QStringList different = names;
        different.removeDuplicates();
        EXPECT_EQ(names, different) << language.toStdString();
    }
    bar.findChild<QAbstractSlider*>(u"position"_s)->triggerAction(QAbstractSlider::SliderPageStepAdd);
    EXPECT_GE(Player->Position(), 59);
    bar.findChild<QAbstractButton*>(u"back"_s)->click();
    EXPECT_LT(Player->Position(), 50);
    bar.findChild<QAbstractButton*>(u"play"_s)->click();
    EXPECT_TRUE(WaitFor(State::Paused));
}

TEST_F(PlaybackTest, ChangesOfThePlayingPlaylistChangeWhatIsNext) {
    const PlaylistOrder order(*Player, Host.Playlists());
    PlaybackBar bar(*Player, Host);
    Mpris mpris(*Player, Host.AlbumArt());
    Remote remote(mpris.ServiceName());
    const QAbstractButton* next = bar.findChild<QAbstractButton*>(u"next"_s);
    const auto isNext = [&](bool can) {
        return next->isEnabled() == can &&
               WaitUntil([&] { return remote.Changed.value(u"CanGoNext"_s, !can).toBool() == can; });
    };
    const QString a = Tone(u"a.wav"_s, 60), b = Tone(u"b.wav"_s, 60);
    const Ref<Playlist> list = Host.Playlists().Create(u"list"_s, true);
    const Ref<Playlist> other = Host.Playlists().Create(u"other"_s, false);
    list->Add({a});
    ASSERT_TRUE(Plays(a));
    ASSERT_TRUE(isNext(false));
    list->Add({b});
    EXPECT_TRUE(isNext(true)) << "an entry was added after the current one";
    list->Remove({1});
    EXPECT_TRUE(isNext(false)) << "the entry after the current one was removed";
    other->Add({a, b});
    Host.Playlists().Activate(other.Get());
    EXPECT_TRUE(isNext(true)) << "another entry follows it in the playlist that is active now";

    QSignalSpy changes(&*Player, &Playback::UpNextChanged);
    other->Select({0, 1});
    list->Add({b});
    EXPECT_EQ(changes.count(), 0) << "the current file has the same neighbours";
}

TEST_F(PlaybackTest, TheKeysOfTheMenuWorkWhileItIsClosed) {
    QMainWindow window;
    PlaybackMenu menu(Host, *Player, &window);
    window.addActions(menu.actions());
    window.show();
    QApplication::setActiveWindow(&window);
    ASSERT_TRUE(Plays(Tone(u"a.wav"_s, 60)));
    QTest::keyClick(&window, Qt::Key_Space, Qt::ControlModifier);
    ASSERT_TRUE(WaitFor(State::Paused));
    EXPECT_EQ(menu.findChild<QAction*>(u"Play"_s)->text(), Host.Language().Text(u"Player\\Play"_s, 0));
    QTest::keyClick(&window, Qt::Key_Right, Qt::ControlModifier);
    ASSERT_TRUE(WaitUntil([&] { return Player->Position() >= 30; }));
    QTest::keyClick(&window, Qt::Key_Left, Qt::ControlModifier);
    ASSERT_TRUE(WaitUntil([&] { return Player->Position() < 30; }));
}

TEST_F(PlaybackTest, NextAndBegunFilesAreListedUnderTheirHeadings) {
    const QString a = Tone(u"a.wav"_s, 60), b = Tone(u"b.wav"_s, 100);
    ListeningModel model(Host, *Player);
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    EXPECT_EQ(model.rowCount(), 0);
    const auto shown = [&](int role = Qt::DisplayRole) {
        QStringList texts;
        for (int row = 0; row < model.rowCount(); ++row)
            texts += QFileInfo(model.index(row).data(role).toString()).completeBaseName();
        return texts;
    };
    ASSERT_TRUE(Plays(b));
    Player->Pause();
    ASSERT_TRUE(SeeksTo(40));
    Player->Stop();
    ASSERT_TRUE(WaitUntil([&] { return shown() == QStringList({u"Continue listening"_s, u"b"_s}); }));
    EXPECT_NEAR(model.index(1).data(kProgressRole).toDouble(), 0.4, 0.02);
    EXPECT_EQ(shown(kTimeLeftRole)[1], "1:00 left");
    EXPECT_FALSE(model.flags(model.index(0)) & Qt::ItemIsSelectable);
    EXPECT_EQ(model.At(model.index(0)), nullptr);

    Player->PlayNext({a, b, a});
    EXPECT_EQ(shown(), QStringList({u"Up next"_s, u"a"_s, u"b"_s, u"a"_s, u"Continue listening"_s, u"b"_s}));
    EXPECT_EQ(shown(kTimeLeftRole)[2], "");
    // Remove one of two entries of the same address; the heading is ignored.
    model.Remove({model.index(3), model.index(0)});
    EXPECT_EQ(Player->UpNext(), QStringList({a, b}));
    model.Remove({model.index(1), model.index(4)});
    EXPECT_EQ(shown(), QStringList({u"Up next"_s, u"b"_s}));
    EXPECT_EQ(Player->SavedPositions().Find(b), nullptr);
}

TEST_F(PlaybackTest, WhatIsUpNextIsReorderedByKeysAndTakesDroppedFiles) {
    ListeningPane pane(Host, *Player);
    auto* view = pane.findChild<QListView*>(u"Listening"_s);
    const auto drop = [&](QMimeData* data, int row) {
        const std::unique_ptr<QMimeData> dropped(data);
        view->model()->dropMimeData(dropped.get(), Qt::CopyAction, row, 0, {});
    };
    const auto select = [&](int first, int last) {
        view->setCurrentIndex(view->model()->index(first, 0));
        view->selectionModel()->select({view->model()->index(first, 0), view->model()->index(last, 0)},
                                       QItemSelectionModel::ClearAndSelect);
    };
    const auto key = [&](int code, Qt::KeyboardModifiers modifiers = Qt::AltModifier) {
        QTest::keyClick(view, Qt::Key(code), modifiers);
    };
    const auto files = [](const QString& names) {
        auto* data = new QMimeData;
        data->setData(QString::fromLatin1(kFilesMimeType), names.toUtf8());
        return data;
    };
    const QString a = Tone(u"a"_s, 60);
    const QString other = a.chopped(1);
    struct {
        const char* What;
        std::function<void()> Do;
        const char* Order;
    } const cases[] = {
        {"dropped on the empty list", [&] { drop(files(a + u'\n' + other + u"b\n" + other + u'c'), -1); }, "abc"},
        {"dropped above the second", [&] { drop(files(other + u'd'), 2); }, "adbc"},
        {"down", [&] { select(1, 1), key(Qt::Key_Down); }, "dabc"},
        {"down again, as it stays selected", [&] { key(Qt::Key_Down); }, "dbac"},
        {"two at once up", [&] { select(3, 4), key(Qt::Key_Up); }, "dacb"},
        {"to the top", [&] { key(Qt::Key_Home); }, "acdb"},
        {"up at the top", [&] { key(Qt::Key_Up); }, "acdb"},
        {"down at the end", [&] { select(4, 4), key(Qt::Key_Down); }, "acdb"},
        {"dragged to the end", [&] { drop(view->model()->mimeData({view->model()->index(1, 0)}), -1); }, "cdba"},
        {"removed", [&] { select(1, 1), key(Qt::Key_Delete, Qt::NoModifier); }, "dba"},
        {"played", [&] { select(3, 3), key(Qt::Key_Return, Qt::NoModifier); }, "db"},
    };
    QStringList played;
    QObject::connect(&pane, &ListeningPane::Activated, [&](const QString& address) { played += address; });
    for (const auto& c : cases) {
        c.Do();
        QString order;
        for (const QString& address : Player->UpNext()) order += address.back();
        EXPECT_EQ(order, c.Order) << c.What;
    }
    EXPECT_EQ(played, QStringList{a});
}

/// A plug-in's file information, which can be made to block.
class Titles final : public RefCountedObject<IVEXAExtensionFileInfoProvider> {
public:
    HResult QueryFileInfo(IVEXAString* file, IVEXAFileInfo* info) noexcept override {
        while (IsHolding) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const QString title = u"title of " + ToQString(file);
        return info->SetValueAsObject(IVEXAFileInfo::Title, MakeString(title).Get());
    }
    std::atomic<bool> IsHolding{false};
};

TEST_F(PlaybackTest, AMovedFilePlaysOnAndIsRememberedByItsPresentAddress) {
    const QString a = u"episode://a"_s, b = u"episode://b"_s, c = u"episode://c"_s, d = u"episode://d"_s;
    const Ref<tests::MovingFiles> moving(new tests::MovingFiles);
    const Ref<Titles> titles(new Titles);
    moving->Source = Tone(u"a.wav"_s, 60);
    for (const Guid& service : {IVEXAServicePlayer::IID, IVEXAServiceFileSystem::IID})
        ASSERT_EQ(Host.PluginCore().RegisterExtension(service, moving->Identity()), S_OK);
    Host.PluginCore().RegisterExtension(IVEXAServiceFileInfo::IID, titles.Get());
    const auto settle = [this] {
        Host.Addresses().Start();  // as after loading a plug-in: asks about all kept addresses
        return WaitUntil([this] { return !Host.Addresses().IsBusy(); });
    };
    const auto leave = [this](const QString& address, double position) {
        EXPECT_TRUE(Plays(address));
        Player->Pause();
        EXPECT_TRUE(SeeksTo(position));
        Player->Stop();
    };
    leave(d, 10);
    leave(c, 20);
    leave(b, 30);
    ListeningModel model(Host, *Player);
    Player->PlayLast({a, d, a, c});
    ASSERT_TRUE(WaitUntil([&] { return model.index(1).data().toString() == u"title of " + a; }));
    EXPECT_EQ(Begun(), QStringList({b, c, d}));
    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    moving->Move(a, a + u'2');
    ASSERT_TRUE(settle());
    EXPECT_EQ(Player->UpNext(), QStringList({a + u'2', d, a + u'2', c}));
    EXPECT_EQ(model.index(1).data().toString(), u"title of " + a);  // no address is shown meanwhile
    EXPECT_EQ(resets.count(), 0);

    // Of two files that become one, the position of the one heard last is kept.
    moving->Move(d, b);
    moving->Move(c, b);
    ASSERT_TRUE(settle());
    EXPECT_EQ(Begun(), QStringList{b});
    EXPECT_GE(Player->SavedPositions().Find(b)->Position, 30);
    EXPECT_EQ(Player->UpNext(), QStringList({a + u'2', b, a + u'2'}));

    Mpris mpris(*Player, Host.AlbumArt());
    Remote remote(mpris.ServiceName());
    titles->IsHolding = true;
    ASSERT_TRUE(Plays(d));  // an older address; the position is stored by the present one
    EXPECT_GE(Player->Position(), 30);
    EXPECT_EQ(Player->Current().Address, b);
    const QVariantMap before = remote.Metadata();
    QSignalSpy states(&*Player, &Playback::StateChanged);
    moving->Move(b, b + u'2');
    ASSERT_TRUE(settle());
    EXPECT_EQ(states.count(), 0);
    EXPECT_EQ(Player->CurrentState(), State::Playing);
    EXPECT_EQ(Host.Player().FileName(), b + u'2');
    const QVariantMap after = remote.Metadata();
    EXPECT_EQ(after[u"xesam:url"_s].toString(), b + u'2');
    EXPECT_EQ(after[u"mpris:trackid"_s].value<QDBusObjectPath>(), before[u"mpris:trackid"_s].value<QDBusObjectPath>());
    titles->IsHolding = false;  // the file must be described again by its present address
    EXPECT_TRUE(WaitUntil([&] { return Player->Current().Title == u"title of " + b + u'2'; }));
    EXPECT_NO_THROW(Player->Save());
    EXPECT_EQ(Begun(), QStringList{b + u'2'});
    EXPECT_FALSE(ReadWhole(Profile.File(u"Positions.json"_s)).contains("episode://b\""));
}

}  // namespace

#include "PlaybackControlTests.moc"
