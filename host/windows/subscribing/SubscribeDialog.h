#pragma once
// Asks whether to subscribe to addresses that were not typed in here. It deletes itself when it closes. Main thread.

#include "WindowTexts.h"

#include <QDialog>
#include <QStringList>

class QPlainTextEdit;
class QPushButton;

namespace vexa::host {

class SubscribeDialog final : public QDialog {
    Q_OBJECT
public:
    SubscribeDialog(const WindowTexts& texts, const LanguageService& language, QWidget* parent);

    /// Below those that stand there already.
    void Add(const QStringList& addresses);

Q_SIGNALS:
    void Wanted(const QStringList& addresses);

private:
    QStringList Addresses() const;

    QPlainTextEdit* FAddresses;
    QPushButton* FSubscribe;
};

}  // namespace vexa::host
