#pragma once
// One window per profile: a later start of the program hands its addresses to the first instance and ends. Main thread.
//
// On the session bus the first instance owns a name made of a hash of the profile's folder and, for the user's default
// profile, also the application's ID, by which the desktop calls it; org.freedesktop.Application is offered under both.
// Without a bus the first instance listens on a local socket in the user's runtime directory.

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
    /// Hands addresses to the first instance, which opens them and comes to the front. If the first instance is about
    /// to end, waits for its end and becomes the first one. Throws std::runtime_error when the first instance
    /// cannot be reached.
    void HandOver(const QStringList& addresses);
    /// Called when the first instance is about to end: it accepts no more addresses.
    void StopListening();

Q_SIGNALS:
    /// A later start asks to open `addresses`; if they are empty, only to bring the window to the front.
    void Opened(const QStringList& addresses);

private:
    friend class ApplicationAdaptor;

    bool Acquire() { return FIsFirst = FBus.isConnected() ? AcquireNames() : AcquireSocket(); }
    [[nodiscard]] bool AcquireNames();
    [[nodiscard]] bool AcquireSocket();
    void Read(QLocalSocket& socket);
    void Receive(const QStringList& addresses, const QVariantMap& platformData);
    /// Both throw std::runtime_error when handing over fails.
    void HandOverByBus(const QStringList& addresses, const QVariantMap& platformData);
    void HandOverBySocket(const QStringList& addresses, const QVariantMap& platformData);

    QDBusConnection FBus;
    const QString FProfileHash;  // hash of the profile's folder
    const bool FIsDefaultProfile;
    QStringList FNames;  // names owned on the bus
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
    /// The desktop entry has no actions, so this only activates the window.
    void ActivateAction(const QString&, const QVariantList&, const QVariantMap& platformData) {
        FOwner.Receive({}, platformData);
    }

private:
    SingleInstance& FOwner;
};

}  // namespace vexa::host
