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

constexpr int kLongestAnswer = 60000;  // milliseconds: the first one may still be starting
constexpr int kTry = 100;              // milliseconds between two attempts to reach it, or to become the first
constexpr auto kStream = QDataStream::Qt_6_0;
const QString kName = QStringLiteral("org.vexa_podcasts.Vexa");
const QString kPath = QStringLiteral("/org/vexa_podcasts/Vexa");
const QString kInterface = QStringLiteral("org.freedesktop.Application");

/// One folder is one, by whatever way it is named.
QString RealFolder(const QString& folder) {
    QFileInfo known(QDir::cleanPath(QFileInfo(folder).absoluteFilePath()));
    QString missing;  // below the last folder that is there
    while (!known.exists() && !known.isRoot()) {
        missing = u'/' + known.fileName() + missing;
        known = QFileInfo(known.path());
    }
    return QDir::cleanPath(known.canonicalFilePath() + missing);
}

QString MarkOf(const QString& folder) {
    const QByteArray digest = QCryptographicHash::hash(RealFolder(folder).toUtf8(), QCryptographicHash::Sha256);
    return QString::fromLatin1(digest.toHex().first(16));
}

/// An element of a name on the bus does not begin with a digit.
QString NameOf(const QString& mark) {
    return kName + u".Profile" + mark;
}

QString SocketOf(const QString& mark) {
    return QDir(QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation)).filePath(u"vexa-" + mark);
}

/// What lets a window come to the front although another program has the focus.
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
      FMark(MarkOf(profileFolder)),
      FIsUsersOwn(RealFolder(profileFolder) == RealFolder(DefaultProfileFolder())) {
    new ApplicationAdaptor(*this);
    // Who finds the name finds the object too.
    FBus.registerObject(kPath, this);
    connect(&FServer, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* other = FServer.nextPendingConnection()) {
            connect(other, &QLocalSocket::disconnected, other, &QObject::deleteLater);
            connect(other, &QLocalSocket::readyRead, this, [this, other] { Read(*other); });
            if (other->bytesAvailable() > 0) Read(*other);
        }
    });
    Take();
}

SingleInstance::~SingleInstance() {
    for (const QString& name : FNames) FBus.unregisterService(name);
    FBus.unregisterObject(kPath);
}

void SingleInstance::StopListening() {
    FBus.unregisterObject(kPath);
    FServer.close();
}

bool SingleInstance::TakeNames() {
    if (!FBus.registerService(NameOf(FMark))) return false;
    FNames += NameOf(FMark);
    if (FIsUsersOwn && FBus.registerService(kName)) FNames += kName;
    return true;
}

bool SingleInstance::TakeSocket() {
    // The lock says who is the first, for a socket may be left over from one that crashed.
    const QString socket = SocketOf(FMark);
    FLock = std::make_unique<QLockFile>(socket + u".lock");
    FLock->setStaleLockTime(0);
    if (!FLock->tryLock(0)) return FLock->error() != QLockFile::LockFailedError;
    QLocalServer::removeServer(socket);
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
        qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());  // where the toolkit looks for it
    // Whoever called gets its answer before dialogs open.
    QTimer::singleShot(0, this, [this, addresses] { Q_EMIT Opened(addresses); });
}

void SingleInstance::HandOver(const QStringList& addresses) {
    const QVariantMap data = PlatformData();
    for (const QDeadlineTimer end(kLongestAnswer);;) {
        try {
            return FBus.isConnected() ? HandOverByBus(addresses, data) : HandOverBySocket(addresses, data);
        } catch (const std::exception&) {
            if (Take()) return;
            if (end.hasExpired()) throw;
        }
        QThread::msleep(kTry);
    }
}

void SingleInstance::HandOverByBus(const QStringList& addresses, const QVariantMap& platformData) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        NameOf(FMark), kPath, kInterface, addresses.isEmpty() ? QStringLiteral("Activate") : QStringLiteral("Open"));
    if (!addresses.isEmpty()) call << addresses;
    call << platformData;
    const QDBusMessage answer = FBus.call(call, QDBus::Block, kLongestAnswer);
    if (answer.type() == QDBusMessage::ErrorMessage) throw std::runtime_error(answer.errorMessage().toStdString());
}

void SingleInstance::HandOverBySocket(const QStringList& addresses, const QVariantMap& platformData) {
    QLocalSocket socket;
    socket.connectToServer(SocketOf(FMark));
    bool isTold = socket.waitForConnected(kLongestAnswer);
    if (isTold) {
        QDataStream out(&socket);
        out.setVersion(kStream);
        out << addresses << platformData;
        socket.flush();
        isTold = socket.waitForReadyRead(kLongestAnswer);
    }
    if (!isTold) throw std::runtime_error(socket.errorString().toStdString());
}

}  // namespace vexa::host
