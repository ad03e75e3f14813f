#include "Banner.h"

#include "WindowIcons.h"

#include <QAccessible>
#include <QBoxLayout>
#include <QEvent>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>

#include <algorithm>

namespace vexa::host {

namespace {

constexpr int kWidth = 380, kMargin = 14;
constexpr int kTime = 12000;  // milliseconds

class BannerPresenter final : public NotificationPresenter {
public:
    BannerPresenter(Banner* banner, std::function<QString()> button) : FBanner(banner), FButton(std::move(button)) {}

    void Show(const Notification& notification, std::function<void()> refused) override {
        if (!FBanner || !FBanner->parentWidget()->isVisible()) return refused();
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

Banner::Banner(QWidget* place)
    : QFrame(place), FTitle(new QLabel), FText(new QLabel), FButton(new QPushButton), FDismiss(new QToolButton) {
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
    auto* upper = new QHBoxLayout;
    upper->addWidget(FTitle, 1);
    upper->addWidget(FDismiss, 0, Qt::AlignTop);
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins(14, 10, 10, 12);
    whole->addLayout(upper);
    whole->addWidget(FText);
    whole->addWidget(FButton, 0, Qt::AlignRight);
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
    place->installEventFilter(this);
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
    Place();
    show();
    raise();
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

void Banner::Place() {
    const int width = std::min(kWidth, parentWidget()->width() - 2 * kMargin);
    setFixedWidth(std::max(width, 1));
    layout()->invalidate();
    layout()->activate();
    const int wanted =
        layout()->hasHeightForWidth() ? layout()->totalHeightForWidth(this->width()) : sizeHint().height();
    resize(this->width(), std::min(wanted, parentWidget()->height()));
    move(parentWidget()->width() - this->width() - kMargin, kMargin);
}

bool Banner::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Resize && isVisible()) Place();
    return QFrame::eventFilter(watched, event);
}

std::unique_ptr<NotificationPresenter> MakeBannerPresenter(Banner* banner, std::function<QString()> button) {
    return std::make_unique<BannerPresenter>(banner, std::move(button));
}

}  // namespace vexa::host
