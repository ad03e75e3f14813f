#include "Banner.h"

#include "WindowIcons.h"

#include <QAccessible>
#include <QApplication>
#include <QBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>

namespace vexa::host {

namespace {

constexpr int kTime = 12000;  // milliseconds

class BannerPresenter final : public NotificationPresenter {
public:
    BannerPresenter(Banner* banner, std::function<QString()> button) : FBanner(banner), FButton(std::move(button)) {}

    void Show(const Notification& notification, std::function<void()> refused) override {
        if (!FBanner || !FBanner->window()->isVisible()) return refused();
        std::vector<Banner::Button> buttons;
        if (notification.OnButton) buttons.push_back({notification.Button, notification.OnButton});
        if (notification.OnClick) buttons.push_back({FButton(), notification.OnClick});
        FBanner->Show(notification.Title, notification.Text, buttons);
    }
    void Hide() override {
        if (FBanner) FBanner->hide();
    }

private:
    const QPointer<Banner> FBanner;
    const std::function<QString()> FButton;
};

}  // namespace

Banner::Banner(QWidget* parent)
    : QFrame(parent),
      FTitle(new QLabel),
      FText(new QLabel),
      FButtons{new QPushButton, new QPushButton},
      FDismiss(new QToolButton) {
    setObjectName(QStringLiteral("Banner"));
    setAutoFillBackground(true);
    for (QLabel* label : {FTitle, FText}) {
        label->setTextFormat(Qt::PlainText);
        label->setWordWrap(true);
    }
    QFont bold = FTitle->font();
    bold.setBold(true);
    FTitle->setFont(bold);
    FDismiss->setAutoRaise(true);
    FDismiss->setFocusPolicy(Qt::StrongFocus);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(FTitle);
    texts->addWidget(FText);
    auto* whole = new QHBoxLayout(this);
    whole->setContentsMargins(14, 6, 8, 6);
    whole->addLayout(texts, 1);
    for (QPushButton* button : FButtons) whole->addWidget(button);
    whole->addWidget(FDismiss);
    connect(FDismiss, &QToolButton::clicked, this, &QWidget::hide);
    for (std::size_t i = 0; i < kMaxButtons; ++i)
        connect(FButtons[i], &QPushButton::clicked, this, [this, i] {
            const auto onClick = FOnClick[i];
            hide();
            if (onClick) onClick();
        });
    FTimer.setSingleShot(true);
    FTimer.setInterval(kTime);
    connect(&FTimer, &QTimer::timeout, this, [this] {
        // Do not hide it while the mouse is over it or a button of it has the focus.
        const bool isInUse = underMouse() || (QApplication::focusWidget() && isAncestorOf(QApplication::focusWidget()));
        isInUse ? FTimer.start() : hide();
    });
    OnThemeChanged();
    hide();
}

void Banner::Show(const QString& title, const QString& text, const std::vector<Button>& buttons) {
    FIsOffer = false;
    FTitle->setText(title);
    FText->setText(text);
    FText->setVisible(!text.isEmpty());
    for (std::size_t i = 0; i < kMaxButtons; ++i) {
        const Button button = i < buttons.size() ? buttons[i] : Button{};
        FButtons[i]->setText(QString(button.Text).replace(u'&', QStringLiteral("&&")));
        FButtons[i]->setVisible(static_cast<bool>(button.OnClick));
        FOnClick[i] = button.OnClick;
    }
    setAccessibleName(title);
    setAccessibleDescription(text);
    show();
    FTimer.start();
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

void Banner::Offer(const QString& title, const Button& button) {
    Show(title, {}, {button});
    FIsOffer = true;
}

void Banner::Withdraw() {
    if (FIsOffer) hide();
}

void Banner::SetDismissName(const QString& name) {
    FDismiss->setAccessibleName(name);
    FDismiss->setToolTip(name);
}

void Banner::OnThemeChanged() {
    FDismiss->setIcon(WindowIcon(QStringLiteral("remove")));
}

std::unique_ptr<NotificationPresenter> MakeBannerPresenter(Banner* banner, std::function<QString()> button) {
    return std::make_unique<BannerPresenter>(banner, std::move(button));
}

}  // namespace vexa::host
