#include "SubscriptionChooser.h"

#include "VEXA.Runtime.ChoiceDialog.h"
#include "VEXA.Runtime.Url.h"

namespace vexa::host {

namespace {

constexpr qsizetype kMaxAddressLength = 80;  // characters in the question, which cannot break an address into lines

QString Shortened(const QString& address) {
    return address.size() > kMaxAddressLength ? address.first(kMaxAddressLength - 1) + u'…' : address;
}

}  // namespace

SubscriptionChooser::SubscriptionChooser(const LanguageService& language, Subscriber& subscriber, QWidget& window)
    : FLanguage(language), FTexts(language), FSubscriber(subscriber), FWindow(window) {}

void SubscriptionChooser::Ask(const std::vector<Subscriber::Outcome>& outcomes) {
    for (const Subscriber::Outcome& outcome : outcomes)
        if (!outcome.Choices.empty()) FWaiting.push_back(outcome);
    AskNext();
}

void SubscriptionChooser::AskNext() {
    if (FDialog || FWaiting.empty()) return;
    const Subscriber::Outcome asked = FWaiting.front();
    FWaiting.pop_front();
    std::vector<ChoiceDialog::Row> rows;
    for (const auto& [address, title] : asked.Choices) rows.push_back({title, MaskedUrl(address)});
    FDialog = new ChoiceDialog({FTexts("SubscribeButton"), FTexts("ChooseFeed", Shortened(MaskedUrl(asked.Address))),
                                FTexts("SubscribeButton"), FLanguage.Text(QStringLiteral("CommonDialogs\\B2"))},
                               rows, &FWindow);
    FDialog->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(FDialog, &QDialog::finished, &FWindow, [this, asked](int result) {
        const int choice = FDialog ? FDialog->Choice() : -1;
        FDialog = nullptr;
        if (result == QDialog::Accepted && choice >= 0)
            FSubscriber.Subscribe({asked.Choices[static_cast<std::size_t>(choice)].Address});
        AskNext();
    });
    FDialog->open();
}

}  // namespace vexa::host
