#pragma once
// The page that the window shows while there is no subscription: a field for an address, or for words if the storage
// can search; buttons to subscribe, search and import; and the options that the storage asks a new user about. Main
// thread.

#include "Host.h"
#include "Pane.h"
#include "Subscriber.h"
#include "WindowTexts.h"

#include <QWidget>

#include <map>

class QCheckBox;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QVBoxLayout;

namespace vexa::host {

class FirstStartPage final : public Pane<QWidget> {
    Q_OBJECT
public:
    FirstStartPage(Host& host, Subscriber& subscriber, QWidget* parent = nullptr);

    QLineEdit* Address() const noexcept { return FAddress; }
    /// Shows the active storage's options; called when another storage, or none, has become active.
    void ReadOptions();
    void OnThemeChanged();

Q_SIGNALS:
    void ImportWanted();
    /// The storage's search window is wanted, with this text.
    void SearchWanted(const QString& text);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void Localize() override;
    void Subscribe(const QStringList& addresses);
    void Search();
    void OnReturn();
    void ShowBusy(bool isBusy);
    void ShowButtons();
    void WriteOptions();

    Host& FHost;
    Subscriber& FSubscriber;
    const WindowTexts FTexts;
    QLabel *FPicture, *FTitle, *FText, *FAnswer;
    QLineEdit* FAddress;
    QPushButton *FSubscribe, *FSearch, *FImport;
    QProgressBar* FBusy;
    QVBoxLayout* FOptionsPlace;
    std::map<QString, QCheckBox*> FOptions;  // by option ID
    QString FStorageID;                      // the storage that the options belong to
    bool FCanSearch = false;                 // the storage can search by words
};

}  // namespace vexa::host
