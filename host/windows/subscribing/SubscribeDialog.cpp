#include "SubscribeDialog.h"

#include <QBoxLayout>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>

namespace vexa::host {

namespace {

constexpr int kWidth = 520, kHeight = 180;

}  // namespace

SubscribeDialog::SubscribeDialog(const WindowTexts& texts, const LanguageService& language, QWidget* parent)
    : QDialog(parent), FAddresses(new QPlainTextEdit) {
    setObjectName(QStringLiteral("SubscribeDialog"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(texts("SubscribeButton"));
    auto* label = new QLabel(texts("SubscribeQuestion"));
    label->setWordWrap(true);
    label->setBuddy(FAddresses);
    FAddresses->setObjectName(QStringLiteral("Addresses"));
    FAddresses->setAccessibleName(texts("AddressName"));
    FAddresses->setTabChangesFocus(true);
    FAddresses->setLineWrapMode(QPlainTextEdit::NoWrap);
    auto* buttons = new QDialogButtonBox;
    FSubscribe = buttons->addButton(texts("SubscribeButton"), QDialogButtonBox::AcceptRole);
    FSubscribe->setObjectName(QStringLiteral("Subscribe"));
    FSubscribe->setDefault(true);
    buttons->addButton(language.Text(QStringLiteral("CommonDialogs\\B2")), QDialogButtonBox::RejectRole);
    auto* whole = new QVBoxLayout(this);
    whole->addWidget(label);
    whole->addWidget(FAddresses, 1);
    whole->addWidget(buttons);
    resize(kWidth, kHeight);
    connect(FAddresses, &QPlainTextEdit::textChanged, this, [this] { FSubscribe->setEnabled(!Addresses().isEmpty()); });
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        Q_EMIT Wanted(Addresses());
        accept();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    FSubscribe->setFocus();
}

QStringList SubscribeDialog::Addresses() const {
    QStringList addresses;
    for (const QString& line : FAddresses->toPlainText().split(u'\n'))
        if (const QString address = line.trimmed(); !address.isEmpty()) addresses += address;
    return addresses;
}

void SubscribeDialog::Add(const QStringList& addresses) {
    QStringList all = Addresses() + addresses;
    all.removeDuplicates();
    FAddresses->setPlainText(all.join(u'\n'));
}

}  // namespace vexa::host
