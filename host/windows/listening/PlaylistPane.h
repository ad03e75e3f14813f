#pragma once
// The playlists and the entries of the active one. Main thread.

#include "Host.h"
#include "Pane.h"
#include "PlaylistModel.h"
#include "WindowTexts.h"

#include <QWidget>

class QComboBox;
class QLabel;
class QListView;
class QMenu;
class QToolButton;

namespace vexa::host {

class PlaylistPane final : public Pane<QWidget>, private PlaylistListener {
    Q_OBJECT
public:
    explicit PlaylistPane(Host& host, QWidget* parent = nullptr);
    ~PlaylistPane() override;

    QListView* View() const noexcept { return FView; }
    /// At the end of the active playlist, or of a new one where that takes none.
    void Add(const QStringList& files);
    /// The pane's own items of the entries' context menu.
    void FillMenu(QMenu& menu);
    void OnThemeChanged();

Q_SIGNALS:
    void Activated(const QString& file);
    void MenuWanted(const QPoint& position);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Localize() override;
    void OnPlaylistsChanged() override;
    void OnPlaylistChanged(Playlist& playlist) override;

    void Create(const QStringList& files);
    void Rename();
    void RemoveList();
    void RemoveEntries();
    void ReadSelection();
    void WriteSelection();
    void UpdateHint();

    Host& FHost;
    const WindowTexts FTexts;
    PlaylistModel* const FModel;
    QComboBox* const FLists;
    QToolButton *const FNew, *const FMore;
    QListView* const FView;
    QLabel* const FHint;
    bool FIsUpdating = false;  // what changes then, the user did not
};

}  // namespace vexa::host
