#include "SingleInstance.h"

#include "VEXA.Runtime.Files.h"

#include <QCryptographicHash>
#include <QDBusMessage>
#include <QDataStream>
#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QLocalSocket>
#include <QStandardPaths>
#include <QThread>
#include <QTimer>

#include <stdexcept>

namespace vexa::host {

namespace {

constexpr int kMaxAnswerTime = 60000;  // milliseconds: the first one may still be starting
constexpr int kTry = 100;              // milliseconds between two attempts to reach it, or to become the first
constexpr auto kStream = QDataStream::Qt_6_0;
const QString kName = QStringLiteral("org.vexa_podcasts.Vexa");
const QString kPath = QStringLiteral("/org/vexa_podcasts/Vexa");
const QString kInterface = QStringLiteral("org.freedesktop.Application");

/// The canonical name of a folder, so that different names of one folder give the same instance.
QString RealFolder(const QString& folder) {
    QFileInfo known(QDir::cleanPath(QFileInfo(folder).absoluteFilePath()));
    QString missing;  // the part of the path that does not exist yet
    while (!known.exists() && !known.isRoot()) {
        missing = u'/' + known.fileName() + missing;
        known = QFileInfo(known.path());
    }
    return QDir::cleanPath(known.canonicalFilePath() + missing);
}

QString HashOf(const QString& folder) {
    const QByteArray digest = QCryptographicHash::hash(RealFolder(folder).toUtf8(), QCryptographicHash::Sha256);
    return QString::fromLatin1(digest.toHex().first(16));
}

/// The hash has a prefix, because an element of a bus name must not begin with a digit.
QString NameOf(const QString& hash) {
    return kName + u".Profile" + hash;
}

QString SocketOf(const QString& hash) {
    return QDir(QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation)).filePath(u"vexa-" + hash);
}

/// The data that allows a window to come to the front while another program has the focus.
QVariantMap PlatformData() {
    QVariantMap data;
    for (const auto& [key, variable] :
         {std::pair("desktop-startup-id", "DESKTOP_STARTUP_ID"), {"activation-token", "XDG_ACTIVATION_TOKEN"}})
        if (qEnvironmentVariableIsSet(variable)) data.insert(QString::fromLatin1(key), qEnvironmentVariable(variable));
    return data;
}

}  // namespace

SingleInstance::SingleInstance(const QString& profileFolder, const QDBusConnection& bus)
    : FBus(bus),
      FProfileHash(HashOf(profileFolder)),
      FIsDefaultProfile(RealFolder(profileFolder) == RealFolder(DefaultProfileFolder())) {
    new ApplicationAdaptor(*this);
    // Before the name, so that whoever finds the name finds the object, too.
    FBus.registerObject(kPath, this);
    connect(&FServer, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* other = FServer.nextPendingConnection()) {
            connect(other, &QLocalSocket::disconnected, other, &QObject::deleteLater);
            connect(other, &QLocalSocket::readyRead, this, [this, other] { Read(*other); });
            if (other->bytesAvailable() > 0) Read(*other);
        }
    });
    Acquire();
}

SingleInstance::~SingleInstance() {
    for (const QString& name : FNames) FBus.unregisterService(name);
    FBus.unregisterObject(kPath);
}

void SingleInstance::StopListening() {
    FBus.unregisterObject(kPath);
    FServer.close();
}

bool SingleInstance::AcquireNames() {
    if (!FBus.registerService(NameOf(FProfileHash))) return false;
    FNames += NameOf(FProfileHash);
    if (FIsDefaultProfile && FBus.registerService(kName)) FNames += kName;
    return true;
}

bool SingleInstance::AcquireSocket() {
    // The lock decides who is the first: a socket may be left over from an instance that crashed. Listening with an
    // access option replaces it.
    const QString socket = SocketOf(FProfileHash);
    FLock = std::make_unique<QLockFile>(socket + u".lock");
    FLock->setStaleLockTime(0);
    if (!FLock->tryLock(0)) return FLock->error() != QLockFile::LockFailedError;
    FServer.setSocketOptions(QLocalServer::UserAccessOption);
    FServer.listen(socket);
    return true;
}

void SingleInstance::Read(QLocalSocket& socket) {
    QDataStream in(&socket);
    in.setVersion(kStream);
    QStringList addresses;
    QVariantMap platformData;
    in.startTransaction();
    in >> addresses >> platformData;
    if (!in.commitTransaction()) return;
    socket.write("+");
    socket.flush();
    Receive(addresses, platformData);
}

void SingleInstance::Receive(const QStringList& addresses, const QVariantMap& platformData) {
    if (const QString token = platformData.value(QStringLiteral("activation-token")).toString(); !token.isEmpty())
        qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());  // the toolkit looks for it there
    // Deferred, so that the caller gets its answer before dialogs open.
    QTimer::singleShot(0, this, [this, addresses] { Q_EMIT Opened(addresses); });
}

void SingleInstance::HandOver(const QStringList& addresses) {
    const QVariantMap data = PlatformData();
    for (const QDeadlineTimer end(kMaxAnswerTime);;) {
        try {
            return FBus.isConnected() ? HandOverByBus(addresses, data) : HandOverBySocket(addresses, data);
        } catch (const std::exception&) {
            if (Acquire()) return;
            if (end.hasExpired()) throw;
        }
        QThread::msleep(kTry);
    }
}

void SingleInstance::HandOverByBus(const QStringList& addresses, const QVariantMap& platformData) {
    QDBusMessage call =
        QDBusMessage::createMethodCall(NameOf(FProfileHash), kPath, kInterface,
                                       addresses.isEmpty() ? QStringLiteral("Activate") : QStringLiteral("Open"));
    if (!addresses.isEmpty()) call << addresses;
    call << platformData;
    const QDBusMessage answer = FBus.call(call, QDBus::Block, kMaxAnswerTime);
    if (answer.type() == QDBusMessage::ErrorMessage) throw std::runtime_error(answer.errorMessage().toStdString());
}

void SingleInstance::HandOverBySocket(const QStringList& addresses, const QVariantMap& platformData) {
    QLocalSocket socket;
    socket.connectToServer(SocketOf(FProfileHash));
    bool isReached = socket.waitForConnected(kMaxAnswerTime);
    if (isReached) {
        QDataStream out(&socket);
        out.setVersion(kStream);
        out << addresses << platformData;
        socket.flush();
        isReached = socket.waitForReadyRead(kMaxAnswerTime);
    }
    if (!isReached) throw std::runtime_error(socket.errorString().toStdString());
}

}  // namespace vexa::host
