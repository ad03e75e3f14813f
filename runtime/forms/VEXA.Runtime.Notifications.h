#pragma once
// An icon in the notification area with a balloon, by whichever means the desktop has. Main thread.

#include "VEXA.Runtime.Export.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace vexa {

/// What a balloon is about; the numbers are the desktop's own kinds.
enum class BalloonKind { None = 0, Information = 1, Warning = 2, Error = 3 };

struct Notification {
    QString Title;
    QString Text;  // plain: nothing in it is markup
    BalloonKind Kind = BalloonKind::None;
    QByteArray Icon;  // a PNG file; may be empty
    std::function<void()> OnClick;
};

/// One way of showing notifications.
class VEXA_RUNTIME_API NotificationPresenter {
public:
    virtual ~NotificationPresenter();
    /// Shows it, in place of what it shows already. Calls `refused` once, at once or later, when it cannot.
    virtual void Show(const Notification& notification, std::function<void()> refused) = 0;
    virtual void Hide() = 0;
};

/// The ways to try, in their order. At first: the desktop's notification service (org.freedesktop.Notifications), then
/// the tray. A host puts its own in.
VEXA_RUNTIME_API void SetNotificationPresenters(std::vector<std::unique_ptr<NotificationPresenter>> presenters);
VEXA_RUNTIME_API std::unique_ptr<NotificationPresenter> MakeServicePresenter();
VEXA_RUNTIME_API std::unique_ptr<NotificationPresenter> MakeTrayPresenter();

/// The icon. Invisible at first; hides when destroyed. When no way works, what it was to show is logged.
class VEXA_RUNTIME_API NotificationIcon {
public:
    NotificationIcon();
    ~NotificationIcon();
    NotificationIcon(const NotificationIcon&) = delete;
    NotificationIcon& operator=(const NotificationIcon&) = delete;

    /// A PNG file.
    void SetIcon(const QByteArray& png);
    /// Runs when the icon, or its balloon, is clicked.
    void SetOnClick(std::function<void()> onClick);
    void SetVisible(bool visible);
    /// Shows a balloon, and the icon with it.
    void ShowBalloon(const QString& title, const QString& text, BalloonKind kind);

private:
    struct Impl;
    std::unique_ptr<Impl> FImpl;
};

}  // namespace vexa
