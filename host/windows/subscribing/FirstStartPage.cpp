#include "FirstStartPage.h"

#include "Library.h"
#include "Properties.h"
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
#include <utility>
#include <vector>

namespace vexa::host {

namespace {

constexpr int kWidth = 520, kPicture = 64;

/// The active storage's options for a new user; null when it has none.
Ref<IVEXAMLStartOptions> StartOptions(Host& host) {
    Ref<IVEXAMLStartOptions> options;
    host.Library().GetActiveStorage(IVEXAMLStartOptions::IID, options.PutVoid());
    return options;
}

struct CheckOption {
    QString ID, Caption;
    bool IsProposed;
};

/// The active storage's options for a new user that a check box can show.
std::vector<CheckOption> ReadCheckOptions(Host& host) {
    std::vector<CheckOption> found;
    Ref<IVEXAObjectList> list;
    if (const auto options = StartOptions(host)) options->GetOptions(list.Put());
    for (std::int32_t i = 0; list && i < list->GetCount(); ++i) {
        Ref<IVEXAMLOption> option;
        if (Failed(list->GetObject(i, IVEXAMLOption::IID, option.PutVoid()))) continue;
        if (NumberOf(option.Get(), IVEXAMLOption::Kind, -1) != IVEXAMLOption::Check) continue;
        found.push_back({TextOf(option.Get(), IVEXAMLOption::ID), TextOf(option.Get(), IVEXAMLOption::Caption),
                         NumberOf(option.Get(), IVEXAMLOption::Value) != 0});
    }
    return found;
}

QLabel* CentredLabel() {
    auto* label = new QLabel;
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    return label;
}

}  // namespace

FirstStartPage::FirstStartPage(Host& host, Subscriber& subscriber, QWidget* parent)
    : Pane(parent),
      FHost(host),
      FSubscriber(subscriber),
      FTexts(host.Language()),
      FPicture(CentredLabel()),
      FTitle(CentredLabel()),
      FText(CentredLabel()),
      FAnswer(CentredLabel()),
      FAddress(new QLineEdit),
      FSubscribe(new QPushButton),
      FSearch(new QPushButton),
      FImport(new QPushButton),
      FBusy(new QProgressBar),
      FOptionsPlace(new QVBoxLayout) {
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
    FAddress->setAcceptDrops(false);  // the page itself accepts drops
    FSubscribe->setObjectName(QStringLiteral("Subscribe"));
    FSearch->setObjectName(QStringLiteral("Search"));
    for (QPushButton* button : {FSubscribe, FSearch}) button->setMinimumHeight(34);
    FImport->setFlat(true);
    FBusy->setRange(0, 0);
    FBusy->setTextVisible(false);

    auto* row = new QHBoxLayout;
    row->addWidget(FAddress, 1);
    row->addWidget(FSubscribe);
    row->addWidget(FSearch);
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
    inner->addLayout(FOptionsPlace);
    inner->addWidget(FImport, 0, Qt::AlignHCenter);
    auto* whole = new QVBoxLayout(this);
    whole->addStretch(2);
    whole->addWidget(card, 0, Qt::AlignHCenter);
    whole->addStretch(3);

    connect(FAddress, &QLineEdit::returnPressed, this, &FirstStartPage::OnReturn);
    connect(FSearch, &QPushButton::clicked, this, &FirstStartPage::Search);
    connect(FSubscribe, &QPushButton::clicked, this, [this] { Subscribe({FAddress->text()}); });
    connect(FAddress, &QLineEdit::textChanged, this, &FirstStartPage::ShowButtons);
    connect(FImport, &QPushButton::clicked, this, [this] {
        WriteOptions();
        Q_EMIT ImportWanted();
    });
    connect(&FSubscriber, &Subscriber::Started, this, [this] {
        if (isVisible()) WriteOptions();  // here, so that dropped addresses are included
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

void FirstStartPage::Search() {
    WriteOptions();
    Q_EMIT SearchWanted(FAddress->text().trimmed());
}

/// A text that can be both is taken for an address, unless the button for searching is used.
void FirstStartPage::OnReturn() {
    const QString text = FAddress->text();
    if (text.trimmed().isEmpty()) return;
    if (FCanSearch && !ReadEntered(text).IsAddress)
        Search();
    else
        Subscribe({text});
}

void FirstStartPage::ShowButtons() {
    const EnteredText entered = ReadEntered(FAddress->text());
    const bool isEmpty = FAddress->text().trimmed().isEmpty(), isAddress = FCanSearch ? entered.IsAddress : !isEmpty;
    FSubscribe->setEnabled(isAddress && !FSubscriber.IsBusy());
    FSearch->setVisible(FCanSearch);
    FSearch->setEnabled(isEmpty || entered.IsWords);
    FSubscribe->setDefault(isAddress || !FCanSearch);
    FSearch->setDefault(!FSubscribe->isDefault());
}

void FirstStartPage::ReadOptions() {
    Ref<IVEXAMLFinder> finder;
    FHost.Library().GetActiveStorage(IVEXAMLFinder::IID, finder.PutVoid());
    FCanSearch = static_cast<bool>(finder);
    const int part = FCanSearch ? 1 : 0;
    FText->setText(FTexts("WelcomeText", part));
    FAddress->setPlaceholderText(FTexts("Address", part));
    FAddress->setAccessibleName(FTexts("AddressName", part));
    ShowButtons();
    std::map<QString, QCheckBox*> former = std::exchange(FOptions, {});
    const QString storageID = FHost.Library().ActiveStorageID();
    if (std::exchange(FStorageID, storageID) != storageID)
        for (auto& [id, box] : former) delete std::exchange(box, nullptr);
    for (const CheckOption& option : ReadCheckOptions(FHost)) {
        if (FOptions.contains(option.ID)) continue;
        // Keep the box of an option that only has a new caption: the user may have changed it.
        QCheckBox* box = std::exchange(former[option.ID], nullptr);
        if (!box) {
            box = new QCheckBox;
            box->setChecked(option.IsProposed);
            FOptionsPlace->addWidget(box, 0, Qt::AlignHCenter);
        }
        box->setText(QString(option.Caption).replace(u'&', QStringLiteral("&&")));
        FOptions[option.ID] = box;
    }
    for (const auto& [id, box] : former) delete box;
}

void FirstStartPage::WriteOptions() {
    const auto options = StartOptions(FHost);
    if (!options) return;
    for (const auto& [id, box] : FOptions) {
        const Variant value = ToVariant(std::int32_t{box->isChecked() ? 1 : 0});
        options->SetOption(MakeString(id).Get(), &value);
    }
}

void FirstStartPage::ShowBusy(bool isBusy) {
    FBusy->setVisible(isBusy);
    ShowButtons();
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
    Pane::showEvent(event);
    FAddress->setFocus();
}

void FirstStartPage::Localize() {
    FTitle->setText(FTexts("WelcomeTitle"));
    FSearch->setText(FTexts("SearchButton"));
    FImport->setText(FTexts("ImportButton"));
    FBusy->setAccessibleName(FTexts("Subscribing"));
    ReadOptions();
    ShowBusy(FSubscriber.IsBusy());
}

void FirstStartPage::OnThemeChanged() {
    FPicture->setPixmap(WindowIcon(QStringLiteral("source")).pixmap(kPicture, kPicture));
}

}  // namespace vexa::host
