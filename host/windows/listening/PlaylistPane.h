#pragma once
// The list of playlists, and the entries of the active one. Main thread.

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
    void SetCoverSource(CoverSource source) { FModel->SetCoverSource(std::move(source)); }
    /// The number of playlists.
    int Count() const { return static_cast<int>(FHost.Playlists().All().size()); }
    /// Adds files at the end of the active playlist, or of a new one if that accepts none.
    void Add(const QStringList& files);
    /// Adds the pane's own items to the context menu of the entries.
    void FillMenu(QMenu& menu);
    void OnThemeChanged();

Q_SIGNALS:
    void Activated(const QString& file);
    void ListsChanged();
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
    bool FIsUpdating = false;  // the pane itself is changing the selection, not the user
};

}  // namespace vexa::host
