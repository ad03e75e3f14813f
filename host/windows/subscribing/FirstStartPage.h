#pragma once
// What the window shows while there is no subscription: one field, and what to do with it. Main thread.

#include "Host.h"
#include "Subscriber.h"
#include "WindowTexts.h"

#include <QWidget>

class QCheckBox;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;

namespace vexa::host {

class FirstStartPage final : public QWidget {
    Q_OBJECT
public:
    FirstStartPage(Host& host, Subscriber& subscriber, QWidget* parent = nullptr);

    QLineEdit* Address() const noexcept { return FAddress; }
    void Localize();
    void OnThemeChanged();

Q_SIGNALS:
    void ImportWanted();

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void Subscribe(const QStringList& addresses);
    void ShowBusy(bool isBusy);
    void WriteRefreshing();

    Host& FHost;
    Subscriber& FSubscriber;
    const WindowTexts FTexts;
    QLabel *FPicture, *FTitle, *FText, *FAnswer;
    QLineEdit* FAddress;
    QPushButton *FSubscribe, *FImport;
    QCheckBox* FRefresh;
    QProgressBar* FBusy;
};

}  // namespace vexa::host
