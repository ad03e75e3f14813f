#pragma once
// A message shown in a strip of the window for a while: for notifications where the desktop cannot show them, and for
// the window's own messages. It covers nothing. Main thread.

#include "VEXA.Runtime.Notifications.h"

#include <QFrame>
#include <QPointer>
#include <QTimer>

#include <functional>

class QLabel;
class QPushButton;
class QToolButton;

namespace vexa::host {

class Banner final : public QFrame {
    Q_OBJECT
public:
    explicit Banner(QWidget* parent = nullptr);

    /// Replaces the current message. With `onClick` there is a button that calls it, labelled `button`.
    void Show(const QString& title, const QString& text, const QString& button = {},
              std::function<void()> onClick = {});
    /// The accessible name of the button that hides the banner.
    void SetDismissName(const QString& name);
    void OnThemeChanged();

private:
    QLabel *FTitle, *FText;
    QPushButton* FButton;
    QToolButton* FDismiss;
    QTimer FTimer;
    std::function<void()> FOnClick;
};

/// A presenter that shows notifications in the banner as long as that exists. `button` gives the label of its button.
std::unique_ptr<NotificationPresenter> MakeBannerPresenter(Banner* banner, std::function<QString()> button);

}  // namespace vexa::host
