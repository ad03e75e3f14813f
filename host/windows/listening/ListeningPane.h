#pragma once
// The list of the files that play next and of those that were begun: Enter plays an entry, Delete removes it. The pane
// is hidden while the list is empty. Main thread.

#include "ListeningModel.h"
#include "Pane.h"

#include <QWidget>

class QListView;
class QMenu;

namespace vexa::host {

class ListeningPane final : public Pane<QWidget> {
    Q_OBJECT
public:
    ListeningPane(Host& host, Playback& playback, QWidget* parent = nullptr);

    ListeningModel& Model() noexcept { return *FModel; }
    /// Whether the user wants the pane. It is shown only while the list is not empty, too.
    void SetWanted(bool isWanted);

Q_SIGNALS:
    void Activated(const QString& address);
    void ShowInLibrary(const QString& address);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Localize() override;
    void Activate();
    void Remove();
    void ShowMenu(const QPoint& position);
    void UpdateVisible();

    const WindowTexts FTexts;
    ListeningModel* const FModel;
    QListView* const FView;
    bool FIsWanted = true;
};

}  // namespace vexa::host
