#pragma once
// A message that lies over the window for a while: for notifications where the desktop has no better way, and for what
// the window itself has to say. Main thread.

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
    /// Lies at the top right of `place`.
    explicit Banner(QWidget* place);

    /// In place of what shows. With `onClick` there is a button for it, named `button`.
    void Show(const QString& title, const QString& text, const QString& button = {},
              std::function<void()> onClick = {});
    /// What screen readers call the button that takes it away.
    void SetDismissName(const QString& name);
    void OnThemeChanged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Place();

    QLabel *FTitle, *FText;
    QPushButton* FButton;
    QToolButton* FDismiss;
    QTimer FTimer;
    std::function<void()> FOnClick;
};

/// Shows notifications in a banner, as long as there is one. `button` names its button.
std::unique_ptr<NotificationPresenter> MakeBannerPresenter(Banner* banner, std::function<QString()> button);

}  // namespace vexa::host
