#pragma once
// The dialog that asks whether to subscribe to addresses that come from outside. It deletes itself when it closes. Main
// thread.

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

    /// Appends addresses to those already in the dialog.
    void Add(const QStringList& addresses);

Q_SIGNALS:
    void Wanted(const QStringList& addresses);

private:
    QStringList Addresses() const;

    QPlainTextEdit* FAddresses;
    QPushButton* FSubscribe;
};

}  // namespace vexa::host
