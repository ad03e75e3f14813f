// The tray's icon and its balloon.

#include "VEXA.Runtime.Notifications.h"

#include <QApplication>
#include <QPixmap>
#include <QStyle>
#include <QSystemTrayIcon>

#include <utility>

namespace vexa {

namespace {

QIcon IconOf(const Notification& notification) {
    QPixmap picture;
    if (picture.loadFromData(notification.Icon)) return picture;
    // The tray shows nothing at all for an icon without an image.
    if (const QIcon own = QApplication::windowIcon(); !own.isNull()) return own;
    return QApplication::style()->standardIcon(QStyle::SP_MessageBoxInformation);
}

class TrayPresenter : public NotificationPresenter {
public:
    void Show(const Notification& notification, std::function<void()> refused) override {
        // Without a tray Qt accepts a message and drops it.
        if (!qobject_cast<QApplication*>(QCoreApplication::instance()) || !QSystemTrayIcon::isSystemTrayAvailable()) {
            Hide();
            return refused();
        }
        if (!FIcon) MakeIcon();
        FOnClick = notification.OnClick;
        FIcon->setIcon(IconOf(notification));
        FIcon->setToolTip(notification.Title);
        FIcon->show();
        static_assert(int(QSystemTrayIcon::Critical) == int(BalloonKind::Error));
        FIcon->showMessage(notification.Title, notification.Text,
                           static_cast<QSystemTrayIcon::MessageIcon>(notification.Kind));
    }

    void Hide() override {
        FOnClick = nullptr;
        if (FIcon) FIcon->hide();
    }

private:
    void MakeIcon() {
        FIcon = std::make_unique<QSystemTrayIcon>();
        QObject::connect(FIcon.get(), &QSystemTrayIcon::messageClicked, FIcon.get(), [this] { Click(); });
        QObject::connect(FIcon.get(), &QSystemTrayIcon::activated, FIcon.get(),
                         [this](QSystemTrayIcon::ActivationReason reason) {
                             if (reason == QSystemTrayIcon::Trigger) Click();
                         });
    }

    void Click() const {
        if (const auto onClick = FOnClick) onClick();
    }

    std::unique_ptr<QSystemTrayIcon> FIcon;
    std::function<void()> FOnClick;
};

}  // namespace

std::unique_ptr<NotificationPresenter> MakeTrayPresenter() {
    return std::make_unique<TrayPresenter>();
}

}  // namespace vexa
