// What controls playing from outside: the desktop over its bus, and the bar.

#include "Mpris.h"
#include "PlaybackBar.h"
#include "PlaybackFixture.h"

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QDBusArgument>
#include <QDBusInterface>
#include <QDBusReply>

using namespace vexa::host;
using tests::WaitUntil;

namespace {

/// A remote control, on a connection of its own.
class Remote : public QObject {
    Q_OBJECT
public:
    explicit Remote(const QString& service) : FService(service) {
        Bus.connect(service, FPath, u"org.freedesktop.DBus.Properties"_s, u"PropertiesChanged"_s, this,
                    SLOT(OnChanged(QString, QVariantMap)));
    }
    ~Remote() override { QDBusConnection::disconnectFromBus(u"remote"_s); }

    void Call(const QString& method, const QVariantList& arguments = {}, const QString& interface = u".Player"_s) {
        QDBusMessage call =
            QDBusMessage::createMethodCall(FService, FPath, u"org.mpris.MediaPlayer2"_s + interface, method);
        call.setArguments(arguments);
        Bus.send(call);
    }
    QVariant Get(const QString& name) {
        return Ask(u"Get"_s, {u"org.mpris.MediaPlayer2.Player"_s, name}).value(0).value<QDBusVariant>().variant();
    }
    void Set(const QString& name, const QVariant& value) {
        Ask(u"Set"_s, {u"org.mpris.MediaPlayer2.Player"_s, name, QVariant::fromValue(QDBusVariant(value))});
    }

    QDBusConnection Bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"remote"_s);
    QVariantMap Changed;

private Q_SLOTS:
    void OnChanged(const QString&, const QVariantMap& properties) { Changed.insert(properties); }

private:
    QVariantList Ask(const QString& method, const QVariantList& arguments) {
        QDBusMessage call =
            QDBusMessage::createMethodCall(FService, FPath, u"org.freedesktop.DBus.Properties"_s, method);
        call.setArguments(arguments);
        const QDBusPendingCall answer = Bus.asyncCall(call);
        EXPECT_TRUE(WaitUntil([&] { return answer.isFinished(); }));
        EXPECT_FALSE(answer.isError()) << answer.error().message().toStdString();
        return answer.reply().arguments();
    }

    const QString FService, FPath = u"/org/mpris/MediaPlayer2"_s;
};

TEST_F(PlaybackTest, TheDesktopSeesAndControlsIt) {
    Mpris mpris(*Player);
    ASSERT_EQ(mpris.ServiceName(), u"org.mpris.MediaPlayer2.vexa"_s);
    int raised = 0, quit = 0;
    QObject::connect(&mpris, &Mpris::RaiseRequested, [&] { ++raised; });
    QObject::connect(&mpris, &Mpris::QuitRequested, [&] { ++quit; });
    Remote remote(mpris.ServiceName());
    EXPECT_EQ(remote.Get(u"PlaybackStatus"_s), u"Stopped"_s);
    const QString file = Tone(u"a.wav"_s, 60);
    remote.Call(u"OpenUri"_s, {file});
    ASSERT_TRUE(WaitUntil([&] { return remote.Changed[u"PlaybackStatus"_s] == u"Playing"_s; }));
    ASSERT_TRUE(WaitFor(State::Playing));
    const auto data = qdbus_cast<QVariantMap>(remote.Get(u"Metadata"_s).value<QDBusArgument>());
    EXPECT_EQ(data[u"xesam:url"_s], file);
    EXPECT_EQ(data[u"mpris:length"_s].toLongLong(), 60'000'000);

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
    remote.Call(u"Raise"_s, {}, {});
    remote.Call(u"Quit"_s, {}, {});
    EXPECT_TRUE(WaitUntil([&] { return raised == 1 && quit == 1; }));
    remote.Call(u"Stop"_s);
    EXPECT_TRUE(WaitUntil([&] { return remote.Changed[u"PlaybackStatus"_s] == u"Stopped"_s; }));
}

TEST_F(PlaybackTest, EveryControlOfTheBarHasANameInTheUsersLanguage) {
    PlaybackBar bar(*Player, Host);
    const QString file = Tone(u"a.wav"_s, 60);
    Player->Play(file);
    ASSERT_TRUE(WaitFor(State::Playing));
    for (const QString& language : {u"English"_s, u"German"_s, u"Russian"_s}) {
        Host.Language().Switch(language);
        QSet<QString> names;
        const auto controls = bar.findChildren<QWidget*>();
        int focusable = 0;
        for (const QWidget* control : controls)
            if (control->focusPolicy() & Qt::TabFocus) {
                ++focusable;
                names += control->accessibleName();
                EXPECT_FALSE(control->accessibleName().isEmpty()) << control->objectName().toStdString();
            }
        EXPECT_EQ(names.size(), focusable);
    }
    bar.findChild<QAbstractSlider*>(u"position"_s)->triggerAction(QAbstractSlider::SliderPageStepAdd);
    EXPECT_GE(Player->Position(), 59);
    bar.findChild<QAbstractButton*>(u"back"_s)->click();
    EXPECT_LT(Player->Position(), 50);
    bar.findChild<QAbstractButton*>(u"play"_s)->click();
    EXPECT_TRUE(WaitFor(State::Paused));
}

}  // namespace

#include "PlaybackControlTests.moc"
