// The notification service of freedesktop.org. No call waits for its reply, because a service may be slow to start.

#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Notifications.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QImage>

#include <cstdint>
#include <optional>
#include <utility>

namespace vexa {

/// A picture in the form that the service expects; D-Bus signature (iiibiiay).
struct NotificationImage {
    QImage Picture;  // of format RGBA8888
};

QDBusArgument& operator<<(QDBusArgument& out, const NotificationImage& image) {
    const QImage& picture = image.Picture;
    out.beginStructure();
    out << picture.width() << picture.height() << static_cast<int>(picture.bytesPerLine()) << true << 8 << 4
        << QByteArray(reinterpret_cast<const char*>(picture.constBits()), picture.sizeInBytes());
    out.endStructure();
    return out;
}

/// Only needed to register the type: pictures are never received.
const QDBusArgument& operator>>(const QDBusArgument& in, NotificationImage&) {
    return in;
}

}  // namespace vexa

Q_DECLARE_METATYPE(vexa::NotificationImage)

namespace vexa {

namespace {

constexpr int kAnswerTimeoutMs = 5000;
constexpr int kMaxPictureSize = 256;
constexpr char kService[] = "org.freedesktop.Notifications";
constexpr char kDefault[] = "default", kButton[] = "button";  // keys of actions; the first one is a plain click
constexpr char kPath[] = "/org/freedesktop/Notifications";

QDBusMessage CallOf(const char* operation) {
    const QString service = QString::fromLatin1(kService);
    return QDBusMessage::createMethodCall(service, QString::fromLatin1(kPath), service, QString::fromLatin1(operation));
}

QString ThemeIconOf(BalloonKind kind) {
    switch (kind) {
        case BalloonKind::None:
            break;
        case BalloonKind::Information:
            return QStringLiteral("dialog-information");
        case BalloonKind::Warning:
            return QStringLiteral("dialog-warning");
        case BalloonKind::Error:
            return QStringLiteral("dialog-error");
    }
    return {};
}

QVariantMap HintsOf(const Notification& notification) {
    QVariantMap hints{{QStringLiteral("urgency"), QVariant::fromValue(uchar(1))}};  // normal
    QImage picture = QImage::fromData(notification.Icon).convertToFormat(QImage::Format_RGBA8888);
    if (picture.isNull()) return hints;
    if (picture.width() > kMaxPictureSize || picture.height() > kMaxPictureSize)
        picture = picture.scaled(kMaxPictureSize, kMaxPictureSize, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    hints[QStringLiteral("image-data")] =
        QVariant::fromValue(NotificationImage{picture.convertToFormat(QImage::Format_RGBA8888)});
    return hints;
}

class ServicePresenter : public QObject, public NotificationPresenter {
    Q_OBJECT

public:
    void Show(const Notification& notification, std::function<void()> refused) override {
        ++FTurn;
        FWanted = notification;
        FRefused = std::move(refused);
        Connect();
        if (!FBus.isConnected()) return Refuse(QStringLiteral("there is no session bus"));
        if (FTakesMarkup) return Send();
        Call(CallOf("GetCapabilities"), [this, turn = FTurn](QDBusPendingCall& call) {
            const QDBusPendingReply<QStringList> answer = call;
            if (turn != FTurn) return;
            if (answer.isError()) return Refuse(answer.error().message());
            FTakesMarkup = answer.value().contains(QStringLiteral("body-markup"));
            Send();
        });
    }

    void Hide() override {
        ++FTurn;
        FWanted = {};
        FRefused = nullptr;
        if (FShownId) Close(std::exchange(FShownId, 0));
    }

private Q_SLOTS:
    void ActionInvoked(uint id, const QString& action) {
        if (!id || id != FShownId) return;
        if (const auto onClick = action == QLatin1String(kButton) ? FWanted.OnButton : nullptr) onClick();
        if (const auto onClick = action == QLatin1String(kDefault) ? FWanted.OnClick : nullptr) onClick();
    }

    void NotificationClosed(uint id, uint /*reason*/) {
        if (id == FShownId) FShownId = 0;
    }

private:
    void Connect() {
        if (FIsListening) return;
        FBus = QDBusConnection::sessionBus();
        if (!FBus.isConnected()) return;
        FIsListening = true;
        qDBusRegisterMetaType<NotificationImage>();
        // From any sender: if the service were named, Qt would wait for the bus to resolve the name.
        const QString path = QString::fromLatin1(kPath), name = QString::fromLatin1(kService);
        FBus.connect({}, path, name, QStringLiteral("ActionInvoked"), this, SLOT(ActionInvoked(uint, QString)));
        FBus.connect({}, path, name, QStringLiteral("NotificationClosed"), this, SLOT(NotificationClosed(uint, uint)));
        // When another service takes over, its ids mean other notifications, and it may have other capabilities.
        auto* watcher = new QDBusServiceWatcher(name, FBus, QDBusServiceWatcher::WatchForUnregistration, this);
        connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this, [this] {
            FShownId = 0;
            FTakesMarkup.reset();
        });
    }

    template <class Answered>
    void Call(const QDBusMessage& message, Answered answered) {
        auto* watcher = new QDBusPendingCallWatcher(FBus.asyncCall(message, kAnswerTimeoutMs), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [answered, watcher] {
            watcher->deleteLater();
            answered(*watcher);
        });
    }

    void Send() {
        const QString& text = FWanted.Text;
        QStringList actions;
        if (FWanted.OnClick) actions += {QLatin1String(kDefault), FWanted.Title};
        if (FWanted.OnButton) actions += {QLatin1String(kButton), FWanted.Button};
        QDBusMessage message = CallOf("Notify");
        message << QCoreApplication::applicationName() << FShownId << ThemeIconOf(FWanted.Kind) << FWanted.Title
                << (*FTakesMarkup ? text.toHtmlEscaped() : text) << actions << HintsOf(FWanted) << -1;
        Call(message, [this, turn = FTurn](QDBusPendingCall& call) {
            const QDBusPendingReply<uint> answer = call;
            if (turn == FTurn) {
                if (answer.isError()) return Refuse(answer.error().message());
                FShownId = answer.value();
            } else if (!answer.isError() && answer.value() != FShownId) {
                Close(answer.value());  // it was hidden or replaced before its id was known
            }
        });
    }

    void Close(uint id) {
        QDBusMessage message = CallOf("CloseNotification");
        message << id;
        message.setAutoStartService(false);
        FBus.send(message);
    }

    /// Must be the caller's last action, because FRefused may destroy this object.
    void Refuse(const QString& reason) {
        qCInfo(LogRuntime) << "the notification service shows nothing:" << reason;
        const auto refused = std::exchange(FRefused, nullptr);
        Hide();
        if (refused) refused();
    }

    QDBusConnection FBus{QString()};  // the session bus, set at the first notification
    bool FIsListening = false;
    std::optional<bool> FTakesMarkup;  // empty until the service has said so
    Notification FWanted;
    std::function<void()> FRefused;
    uint FShownId = 0;        // 0 is never a notification's id
    std::uint64_t FTurn = 0;  // distinguishes the replies for this notification from those for earlier ones
};

}  // namespace

std::unique_ptr<NotificationPresenter> MakeServicePresenter() {
    return std::make_unique<ServicePresenter>();
}

}  // namespace vexa

#include "VEXA.Runtime.Notifications.Service.moc"
