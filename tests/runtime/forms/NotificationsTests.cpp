#include "Png.h"
#include "TempFolder.h"
#include "Texts.h"
#include "VEXA.Runtime.Desktop.h"
#include "VEXA.Runtime.Notifications.h"
#include "Waiting.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QDBusVirtualObject>
#include <QUrl>

#include <gtest/gtest.h>

#include <atomic>
#include <map>

namespace {

using namespace vexa;
using tests::WaitUntil;

/// A notification service on a connection of its own: it answers as told and records the calls.
class Service : public QDBusVirtualObject {
public:
    explicit Service(const char* name = "org.freedesktop.Notifications") : Name(QLatin1String(name)) {
        Bus.registerVirtualObject(Path(), this);
        if (!Bus.registerService(Name)) throw std::runtime_error("this bus is not the tests' own");
    }
    ~Service() override { QDBusConnection::disconnectFromBus(Name); }

    QString Path() const { return QString(u'/' + QString(Name).replace(u'.', u'/')); }
    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& call, const QDBusConnection&) override {
        Calls[call.member().toLatin1()].push_back(call.arguments());
        call.setDelayedReply(true);
        if (call.member().toLatin1() == Held) return Waiting = call, true;
        return Answer(call), true;
    }
    void Answer(const QDBusMessage& call) {
        const QByteArray member = call.member().toLatin1();
        if (member == Failing) return void(Bus.send(call.createErrorReply(QStringLiteral("a.b.C"), QString())));
        QVariantList results;
        if (member == "GetCapabilities") results = {Capabilities};
        if (member == "Notify") results = {call.arguments()[1].toUInt() ? call.arguments()[1] : QVariant(++LastId)};
        Bus.send(call.createReply(results));
    }
    void Signal(const char* name, const QVariantList& arguments) {
        QDBusMessage signal = QDBusMessage::createSignal(Path(), Name, QLatin1String(name));
        signal.setArguments(arguments);
        Bus.send(signal);
    }
    /// The arguments of the n-th call, counted from 1.
    QVariantList Call(const QByteArray& member, std::size_t n = 1) {
        if (WaitUntil([&] { return Calls[member].size() >= n; })) return Calls[member][n - 1];
        throw std::runtime_error(member.toStdString() + " was not called");
    }

    const QString Name;
    QDBusConnection Bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, Name);
    QStringList Capabilities;
    QByteArray Held, Failing;
    QDBusMessage Waiting;
    uint LastId = 0;
    std::map<QByteArray, std::vector<QVariantList>> Calls;
};

std::vector<Notification> Last;  // shown by the last presenter of the chain

struct LastPresenter : NotificationPresenter {
    void Show(const Notification& notification, std::function<void()>) override { Last.push_back(notification); }
    void Hide() override { Last.clear(); }
};

/// Returns when everything that the service has sent so far has arrived.
void Settle(const Service& service) {
    const QString bus = QStringLiteral("org.freedesktop.DBus");
    const auto ask = QDBusMessage::createMethodCall(bus, QStringLiteral("/"), bus, QStringLiteral("GetId"));
    for (const QDBusConnection& each : {service.Bus, QDBusConnection::sessionBus()}) each.call(ask);
    QCoreApplication::processEvents();
}

/// Takes the service off the bus, and returns when that has been noticed.
void GoAway(Service& service) {
    bool isGone = false;
    QDBusServiceWatcher watcher(service.Name, QDBusConnection::sessionBus(),
                                QDBusServiceWatcher::WatchForUnregistration);
    QObject::connect(&watcher, &QDBusServiceWatcher::serviceUnregistered, &watcher, [&] { isGone = true; });
    service.Bus.unregisterService(service.Name);
    EXPECT_TRUE(WaitUntil([&] { return isGone; }));
}

struct Notifications : testing::Test {
    Notifications() {
        std::vector<std::unique_ptr<NotificationPresenter>> ways;
        ways.push_back(MakeServicePresenter());
        ways.push_back(MakeTrayPresenter());  // refuses: the tests have no windows
        ways.push_back(std::make_unique<LastPresenter>());
        SetNotificationPresenters(std::move(ways));
        Icon->SetOnClick([this] { ++Clicks; });
    }
    void Show(const char* text) {
        Icon->ShowBalloon(QStringLiteral("T & <i>t"), QLatin1String(text), BalloonKind::Warning);
    }

    int Clicks = 0;
    std::unique_ptr<NotificationIcon> Icon = std::make_unique<NotificationIcon>();
};

TEST_F(Notifications, TheServiceShowsReplacesReportsClicksAndHides) {
    Service service;
    Icon->SetIcon(tests::Png(3, 2));
    Show("<b>&");
    const QVariantList shown = service.Call("Notify");
    EXPECT_EQ(shown[0].toString(), QStringLiteral("runtime_forms_tests"));
    EXPECT_EQ(shown[2].toString(), QStringLiteral("dialog-warning"));
    EXPECT_EQ(shown[3].toString(), QStringLiteral("T & <i>t"));
    EXPECT_EQ(shown[4].toString(), QStringLiteral("<b>&"));
    const auto hints = qdbus_cast<QVariantMap>(shown[6]);
    const auto image = hints[QStringLiteral("image-data")].value<QDBusArgument>();
    EXPECT_EQ(image.currentSignature(), QStringLiteral("(iiibiiay)"));

    Icon->SetOnClick([this] { throw std::runtime_error(std::to_string(++Clicks)); });
    service.Signal("ActionInvoked", {1u, QStringLiteral("other")});
    service.Signal("ActionInvoked", {2u, QStringLiteral("default")});
    service.Signal("ActionInvoked", {1u, QStringLiteral("default")});
    ASSERT_TRUE(WaitUntil([&] { return Clicks > 0; }));
    Icon->SetButton(QStringLiteral("Play"), [this] { Clicks += 10; });
    Show("two");
    const QVariantList second = service.Call("Notify", 2);
    EXPECT_EQ(second[1].toUInt(), 1u);
    EXPECT_EQ(second[5].toStringList().join(u'|'), QStringLiteral("default|T & <i>t|button|Play"));
    service.Signal("ActionInvoked", {1u, QStringLiteral("button")});
    EXPECT_TRUE(WaitUntil([&] { return Clicks == 11; })) << "the button was not reported";
    Icon->SetOnClick([this] { Icon.reset(); });
    service.Signal("ActionInvoked", {1u, QStringLiteral("default")});
    EXPECT_EQ(service.Call("CloseNotification")[0].toUInt(), 1u);
    EXPECT_EQ(Clicks, 11);
    EXPECT_EQ(service.Calls["GetCapabilities"].size(), 1u);
}

TEST_F(Notifications, AClosedOneOrOneOfAnotherServiceIsNotReplaced) {
    auto service = std::make_unique<Service>();
    Show("one");
    service->Call("Notify");
    service->Signal("NotificationClosed", {1u, 2u});
    service->Signal("ActionInvoked", {1u, QStringLiteral("default")});
    Settle(*service);
    Show("two");
    EXPECT_EQ(service->Call("Notify", 2)[1].toUInt(), 0u);
    GoAway(*service);
    service.reset();
    service = std::make_unique<Service>();
    service->Capabilities = QStringList{QStringLiteral("body-markup")};
    Show("<b>&");
    EXPECT_EQ(service->Call("Notify")[1].toUInt(), 0u);
    EXPECT_EQ(service->Call("Notify")[4].toString(), QStringLiteral("&lt;b&gt;&amp;"));
    EXPECT_EQ(Clicks, 0);
}

TEST_F(Notifications, ARefusedOneIsPassedToTheNextPresenter) {
    for (const char* failing : {"Name", "GetCapabilities", "Notify"}) {
        std::unique_ptr<Service> service;
        if (failing != std::string("Name")) (service = std::make_unique<Service>())->Failing = failing;
        Show("<b>&");
        ASSERT_TRUE(WaitUntil([] { return !Last.empty(); })) << failing;
        EXPECT_EQ(Last[0].Text, QStringLiteral("<b>&"));
        Clicks = 0;
        Last[0].OnClick();
        EXPECT_TRUE(WaitUntil([&] { return Clicks == 1; }));
        Icon->SetVisible(false);
        EXPECT_TRUE(Last.empty());
        if (service) GoAway(*service);
    }
}

TEST_F(Notifications, HidingOrDestroyingTheIconCancelsPendingNotifications) {
    for (const QByteArray held : {"GetCapabilities", "Notify"})
        for (const bool fails : {true, false})
            for (const bool isDestroyed : {true, false}) {
                Service service;
                service.Held = held;
                Show("one");
                service.Call(held);
                if (isDestroyed)
                    Icon = std::make_unique<NotificationIcon>();
                else
                    Icon->SetVisible(false);
                service.Held.clear();
                service.Failing = fails ? held : QByteArray();
                service.Answer(service.Waiting);
                if (held == "Notify" && !fails) {
                    EXPECT_EQ(service.Call("CloseNotification")[0].toUInt(), 1u);
                }
                // That this one comes next shows that nothing came before it.
                service.Failing = "Notify";
                Show("two");
                ASSERT_TRUE(WaitUntil([] { return !Last.empty(); }));
                EXPECT_EQ(Last.front().Text, QStringLiteral("two"));
                EXPECT_EQ(service.Calls["Notify"].size(), held == "Notify" ? 2u : 1u);
                Icon->SetVisible(false);
                GoAway(service);
            }
}

TEST(ShowInFolder, AsksTheFileManager) {
    Service manager("org.freedesktop.FileManager1");
    const tests::TempFolder folder;
    const QString file = folder.File(QStringLiteral("a b#.mp3"));
    EXPECT_FALSE(ShowInFolder(file));
    WriteWhole(file, "x");
    std::atomic<int> result = -1;
    std::thread asking([&] { result = ShowInFolder(file); });
    EXPECT_TRUE(WaitUntil([&] { return result >= 0; }));
    asking.join();
    EXPECT_EQ(result, 1);
    EXPECT_EQ(manager.Call("ShowItems")[0].toStringList().value(0),
              QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded));
}

}  // namespace
