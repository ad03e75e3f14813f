#pragma once
// The list of what plays next and of what was begun: Enter plays, Delete takes away. It hides while there is neither.
// Main thread.

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
    /// Shown only when it has something to show, too.
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
