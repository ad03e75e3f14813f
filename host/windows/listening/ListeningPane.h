#pragma once
// The list of the files that play next and of those that were begun: Enter plays an entry, Delete removes it, Alt with
// an arrow key moves an entry up next, as dragging does. Main thread.

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

    QListView* View() const noexcept { return FView; }
    ListeningModel& Model() noexcept { return *FModel; }

Q_SIGNALS:
    void Activated(const QString& address);
    void ShowInLibrary(const QString& address);
    /// The user has removed all these files, which were to play next, at once.
    void Cleared(const QStringList& addresses);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Localize() override;
    void Activate();
    void Remove();
    void Clear();
    enum class Step { Up, Down, ToTop };
    void Move(Step step);
    void SelectRows(int first, int last);
    void ShowMenu(const QPoint& position);

    Playback& FPlayback;
    const WindowTexts FTexts;
    ListeningModel* const FModel;
    QListView* const FView;
};

}  // namespace vexa::host
