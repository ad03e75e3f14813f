#pragma once
// A message shown in a strip of the window for a while: for notifications where the desktop cannot show them, and for
// the window's own messages. It covers nothing. Main thread.

#include "VEXA.Runtime.Notifications.h"

#include <QFrame>
#include <QPointer>
#include <QTimer>

#include <array>
#include <functional>
#include <vector>

class QLabel;
class QPushButton;
class QToolButton;

namespace vexa::host {

class Banner final : public QFrame {
    Q_OBJECT
public:
    explicit Banner(QWidget* parent = nullptr);

    struct Button {
        QString Text;
        std::function<void()> OnClick;  // called after the banner has been hidden
    };
    static constexpr std::size_t kMaxButtons = 2;

    /// Replaces the current message. Buttons beyond kMaxButtons are left out.
    void Show(const QString& title, const QString& text = {}, const std::vector<Button>& buttons = {});
    /// The same for a message with an offer that may come to nothing, such as to undo what was done.
    void Offer(const QString& title, const Button& button);
    /// Hides the banner if it shows an offer.
    void Withdraw();
    /// The accessible name of the button that hides the banner.
    void SetDismissName(const QString& name);
    void OnThemeChanged();

private:
    QLabel *FTitle, *FText;
    std::array<QPushButton*, kMaxButtons> FButtons;
    QToolButton* FDismiss;
    QTimer FTimer;
    std::array<std::function<void()>, kMaxButtons> FOnClick;
    bool FIsOffer = false;
};

/// A presenter that shows notifications in the banner as long as that exists. `button` gives the label of its button.
std::unique_ptr<NotificationPresenter> MakeBannerPresenter(Banner* banner, std::function<QString()> button);

}  // namespace vexa::host
