#include "Notifications.h"

#include "Commands.Functions.h"
#include "VEXA.Runtime.Notifications.h"

#include <cstdio>
#include <optional>

namespace vexa::host {

namespace {

std::optional<Notification> Shown;

class Printer final : public NotificationPresenter {
public:
    void Show(const Notification& notification, std::function<void()>) override {
        Shown = notification;
        std::fprintf(stderr, "notification: %s: %s\n", qUtf8Printable(notification.Title),
                     qUtf8Printable(notification.Text));
    }
    void Hide() override { Shown.reset(); }
};

}  // namespace

void PrintNotifications() {
    std::vector<std::unique_ptr<NotificationPresenter>> presenters;
    presenters.push_back(std::make_unique<Printer>());
    SetNotificationPresenters(std::move(presenters));
}

namespace commands {

QJsonObject ClickNotification(Host&, const QStringList& arguments) {
    if (!Shown) throw CommandError(QStringLiteral("no notification shows"));
    const Notification clicked = *Shown;
    if (!arguments.isEmpty() && arguments[0] != clicked.Button)
        throw CommandError(u"the notification has no button \"" + arguments[0] + u'"', E_INVALIDARG);
    if (const auto& onClick = arguments.isEmpty() ? clicked.OnClick : clicked.OnButton) onClick();
    return {{QStringLiteral("title"), clicked.Title},
            {QStringLiteral("text"), clicked.Text},
            {QStringLiteral("button"), clicked.Button}};
}

}  // namespace commands

}  // namespace vexa::host
