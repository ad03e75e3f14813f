#pragma once
// One window for a profile: a later start hands its addresses to the first one and ends. Main thread.
//
// On the session bus the first one owns a name that is made of the profile's folder, and for the user's own profile the
// application's id too, by which the desktop calls it; both offer org.freedesktop.Application. Without a bus it is a
// local socket in the user's folder of such.

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QLocalServer>
#include <QLockFile>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <memory>

namespace vexa::host {

class SingleInstance final : public QObject {
    Q_OBJECT
public:
    explicit SingleInstance(const QString& profileFolder, const QDBusConnection& bus = QDBusConnection::sessionBus());
    ~SingleInstance() override;

    bool IsFirst() const noexcept { return FIsFirst; }
    /// To the first one: it opens them, and comes to the front. Where that is about to end, its end is waited for, and
    /// this one is the first. Throws std::runtime_error when it cannot be told.
    void HandOver(const QStringList& addresses);
    /// The first one is about to end: it takes no more addresses.
    void StopListening();

Q_SIGNALS:
    /// Another start wants them opened; none: only that the window comes to the front.
    void Opened(const QStringList& addresses);

private:
    friend class ApplicationAdaptor;

    bool Take() { return FIsFirst = FBus.isConnected() ? TakeNames() : TakeSocket(); }
    [[nodiscard]] bool TakeNames();
    [[nodiscard]] bool TakeSocket();
    void Read(QLocalSocket& socket);
    void Receive(const QStringList& addresses, const QVariantMap& platformData);
    void HandOverByBus(const QStringList& addresses, const QVariantMap& platformData);
    void HandOverBySocket(const QStringList& addresses, const QVariantMap& platformData);

    QDBusConnection FBus;
    const QString FMark;  // of the profile's folder
    const bool FIsUsersOwn;
    QStringList FNames;  // owned on the bus
    std::unique_ptr<QLockFile> FLock;
    QLocalServer FServer;
    bool FIsFirst = false;
};

class ApplicationAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")
public:
    explicit ApplicationAdaptor(SingleInstance& owner) : QDBusAbstractAdaptor(&owner), FOwner(owner) {}

public Q_SLOTS:
    void Activate(const QVariantMap& platformData) { FOwner.Receive({}, platformData); }
    void Open(const QStringList& addresses, const QVariantMap& platformData) {
        FOwner.Receive(addresses, platformData);
    }
    /// There is none.
    void ActivateAction(const QString&, const QVariantList&, const QVariantMap& platformData) {
        FOwner.Receive({}, platformData);
    }

private:
    SingleInstance& FOwner;
};

}  // namespace vexa::host
