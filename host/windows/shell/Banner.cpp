#include "Banner.h"

#include "WindowIcons.h"

#include <QAccessible>
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
        FBanner->Show(notification.Title, notification.Text, FButton(), notification.OnClick);
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
    : QFrame(parent), FTitle(new QLabel), FText(new QLabel), FButton(new QPushButton), FDismiss(new QToolButton) {
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
    whole->addWidget(FButton);
    whole->addWidget(FDismiss);
    connect(FDismiss, &QToolButton::clicked, this, &QWidget::hide);
    connect(FButton, &QPushButton::clicked, this, [this] {
        const auto onClick = FOnClick;
        hide();
        if (onClick) onClick();
    });
    FTimer.setSingleShot(true);
    FTimer.setInterval(kTime);
    connect(&FTimer, &QTimer::timeout, this, [this] {
        // Do not hide it while the mouse is over it or a button of it has the focus.
        underMouse() || FButton->hasFocus() || FDismiss->hasFocus() ? FTimer.start() : hide();
    });
    OnThemeChanged();
    hide();
}

void Banner::Show(const QString& title, const QString& text, const QString& button, std::function<void()> onClick) {
    FTitle->setText(title);
    FText->setText(text);
    FText->setVisible(!text.isEmpty());
    FButton->setText(QString(button).replace(u'&', QStringLiteral("&&")));
    FButton->setVisible(static_cast<bool>(onClick));
    FOnClick = std::move(onClick);
    setAccessibleName(title);
    setAccessibleDescription(text);
    show();
    FTimer.start();
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
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
