#pragma once
// An icon in the notification area with a balloon, shown by whichever means the desktop has. Main thread.

#include "VEXA.Runtime.Export.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace vexa {

/// The kind of a balloon; the numbers are the desktop's.
enum class BalloonKind { None = 0, Information = 1, Warning = 2, Error = 3 };

struct Notification {
    QString Title;
    QString Text;  // plain text, without markup
    BalloonKind Kind = BalloonKind::None;
    QByteArray Icon;  // a PNG file; may be empty
    std::function<void()> OnClick;
    // A button beside the text, where the way of showing has buttons; without OnButton there is none.
    QString Button;
    std::function<void()> OnButton;
};

/// One way of showing notifications.
class VEXA_RUNTIME_API NotificationPresenter {
public:
    virtual ~NotificationPresenter();
    /// Shows a notification in place of the current one. If it cannot, it calls `refused` once, immediately or later,
    /// and shows nothing any more. The OnClick and OnButton that an icon passes to a presenter only queue the click
    /// and never throw.
    virtual void Show(const Notification& notification, std::function<void()> refused) = 0;
    virtual void Hide() = 0;
};

/// Sets the presenters to try, in this order. Initially these are the desktop's notification service
/// (org.freedesktop.Notifications) and the tray. A host replaces them by its own.
VEXA_RUNTIME_API void SetNotificationPresenters(std::vector<std::unique_ptr<NotificationPresenter>> presenters);
VEXA_RUNTIME_API std::unique_ptr<NotificationPresenter> MakeServicePresenter();
VEXA_RUNTIME_API std::unique_ptr<NotificationPresenter> MakeTrayPresenter();

/// The icon. Initially invisible; hidden when destroyed. When no presenter works, the balloon's text is logged.
class VEXA_RUNTIME_API NotificationIcon {
public:
    NotificationIcon();
    ~NotificationIcon();
    NotificationIcon(const NotificationIcon&) = delete;
    NotificationIcon& operator=(const NotificationIcon&) = delete;

    /// A PNG file.
    void SetIcon(const QByteArray& png);
    /// `onClick` runs when the icon or its balloon is clicked. It may hide or destroy the icon; its exceptions are
    /// logged.
    void SetOnClick(std::function<void()> onClick);
    /// The same for a button of the next balloons; an empty function removes it.
    void SetButton(const QString& text, std::function<void()> onClick);
    /// False hides the balloon, and drops one that is about to be shown. An icon without a balloon is not shown, so
    /// true has no effect until ShowBalloon.
    void SetVisible(bool visible);
    /// Shows a balloon, and the icon with it, in place of the balloon of any other icon.
    void ShowBalloon(const QString& title, const QString& text, BalloonKind kind);

private:
    struct Impl;
    std::shared_ptr<Impl> FImpl;
};

}  // namespace vexa
