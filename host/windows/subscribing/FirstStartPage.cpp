#include "FirstStartPage.h"

#include "WindowIcons.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QDragEnterEvent>
#include <QFrame>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QProgressBar>
#include <QPushButton>

#include <algorithm>

namespace vexa::host {

namespace {

constexpr int kWidth = 520, kPicture = 64;

const QString kRefreshKey = QStringLiteral("Podcasts\\CheckUpdatesOnStartup");

QLabel* CentredLabel() {
    auto* label = new QLabel;
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    return label;
}

}  // namespace

FirstStartPage::FirstStartPage(Host& host, Subscriber& subscriber, QWidget* parent)
    : QWidget(parent),
      FHost(host),
      FSubscriber(subscriber),
      FTexts(host.Language()),
      FPicture(CentredLabel()),
      FTitle(CentredLabel()),
      FText(CentredLabel()),
      FAnswer(CentredLabel()),
      FAddress(new QLineEdit),
      FSubscribe(new QPushButton),
      FImport(new QPushButton),
      FRefresh(new QCheckBox),
      FBusy(new QProgressBar) {
    setAcceptDrops(true);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
    QFont large = FTitle->font();
    large.setPointSizeF(large.pointSizeF() * 1.7);
    large.setBold(true);
    FTitle->setFont(large);
    FText->setObjectName(QStringLiteral("Faint"));
    FAnswer->setObjectName(QStringLiteral("Answer"));
    FAddress->setObjectName(QStringLiteral("Address"));
    FAddress->setMinimumHeight(34);
    FAddress->setTextMargins(4, 0, 4, 0);
    FAddress->setAcceptDrops(false);  // the page takes what is dropped
    FSubscribe->setObjectName(QStringLiteral("Subscribe"));
    FSubscribe->setMinimumHeight(34);
    FSubscribe->setDefault(true);
    FImport->setFlat(true);
    FRefresh->setChecked(true);
    FBusy->setRange(0, 0);
    FBusy->setTextVisible(false);

    auto* row = new QHBoxLayout;
    row->addWidget(FAddress, 1);
    row->addWidget(FSubscribe);
    auto* card = new QWidget;
    card->setFixedWidth(kWidth);
    auto* inner = new QVBoxLayout(card);
    inner->setSpacing(12);
    inner->addWidget(FPicture);
    FPicture->setMinimumHeight(kPicture);
    inner->addWidget(FTitle);
    inner->addWidget(FText);
    inner->addSpacing(8);
    inner->addLayout(row);
    inner->addWidget(FBusy);
    inner->addWidget(FAnswer);
    inner->addWidget(FRefresh, 0, Qt::AlignHCenter);
    inner->addWidget(FImport, 0, Qt::AlignHCenter);
    auto* whole = new QVBoxLayout(this);
    whole->addStretch(2);
    whole->addWidget(card, 0, Qt::AlignHCenter);
    whole->addStretch(3);

    const auto subscribe = [this] {
        if (!FAddress->text().trimmed().isEmpty()) Subscribe({FAddress->text()});
    };
    connect(FAddress, &QLineEdit::returnPressed, this, subscribe);
    connect(FSubscribe, &QPushButton::clicked, this, subscribe);
    connect(FAddress, &QLineEdit::textChanged, this,
            [this] { FSubscribe->setEnabled(!FAddress->text().trimmed().isEmpty() && !FSubscriber.IsBusy()); });
    connect(FImport, &QPushButton::clicked, this, [this] {
        WriteRefreshing();
        Q_EMIT ImportWanted();
    });
    connect(&FSubscriber, &Subscriber::Started, this, [this] {
        if (isVisible()) WriteRefreshing();  // dropped addresses too
        ShowBusy(true);
    });
    connect(&FSubscriber, &Subscriber::Finished, this, [this](const std::vector<Subscriber::Outcome>& outcomes) {
        ShowBusy(FSubscriber.IsBusy());
        FAnswer->setText(SubscriptionReport(outcomes, FTexts, true));
        FAnswer->setVisible(!FAnswer->text().isEmpty());
        const bool isAsked =
            std::any_of(outcomes.begin(), outcomes.end(), [](auto& one) { return !one.Choices.empty(); });
        if (FAnswer->text().isEmpty() && !isAsked) FAddress->clear();
    });
    ShowBusy(false);
    FAnswer->hide();
    Localize();
    OnThemeChanged();
}

void FirstStartPage::Subscribe(const QStringList& addresses) {
    FAnswer->hide();
    FSubscriber.Subscribe(addresses);
}

void FirstStartPage::WriteRefreshing() {
    FHost.Config().SetValueAsInt32(MakeString(kRefreshKey).Get(), FRefresh->isChecked() ? 1 : 0);
}

void FirstStartPage::ShowBusy(bool isBusy) {
    FBusy->setVisible(isBusy);
    FSubscribe->setEnabled(!isBusy && !FAddress->text().trimmed().isEmpty());
    FSubscribe->setText(FTexts(isBusy ? "Subscribing" : "SubscribeButton"));
}

void FirstStartPage::dragEnterEvent(QDragEnterEvent* event) {
    if (!AddressesIn(*event->mimeData()).isEmpty()) event->acceptProposedAction();
}

void FirstStartPage::dropEvent(QDropEvent* event) {
    event->acceptProposedAction();
    Subscribe(AddressesIn(*event->mimeData()));
}

void FirstStartPage::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    FAddress->setFocus();
}

void FirstStartPage::Localize() {
    FTitle->setText(FTexts("WelcomeTitle"));
    FText->setText(FTexts("WelcomeText"));
    FAddress->setPlaceholderText(FTexts("Address"));
    FAddress->setAccessibleName(FTexts("AddressName"));
    FRefresh->setText(FTexts("RefreshAtStart"));
    FImport->setText(FTexts("ImportButton"));
    FBusy->setAccessibleName(FTexts("Subscribing"));
    ShowBusy(FSubscriber.IsBusy());
}

void FirstStartPage::OnThemeChanged() {
    FPicture->setPixmap(WindowIcon(QStringLiteral("feed")).pixmap(kPicture, kPicture));
}

}  // namespace vexa::host
