#pragma once
// The entries of one playlist as a model for the toolkit's views. Entries can be dragged to other places, and files
// dropped between them. Main thread.

#include "CoverSource.h"
#include "Playlists.h"

#include <QAbstractListModel>

#include <utility>
#include <vector>

namespace vexa::host {

class PlaylistModel final : public QAbstractListModel {
    Q_OBJECT
public:
    using QAbstractListModel::QAbstractListModel;

    /// Null for none; then there are no entries.
    void SetPlaylist(const Ref<Playlist>& playlist);
    Playlist* List() const noexcept { return FPlaylist.Get(); }
    void SetCoverSource(CoverSource source) { FCoverSource = std::move(source); }
    /// Called when the playlist changed.
    void Update();

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDropActions() const override { return Qt::CopyAction | Qt::MoveAction; }
    bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                         const QModelIndex& parent) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

Q_SIGNALS:
    /// Files were dropped, but there is no playlist that accepts files: create one with them.
    void NewWanted(const QStringList& files);
    /// The view should read the selection from the playlist again.
    void Updated();

private:
    struct Row {
        QString Text, Group, File;
        bool operator==(const Row&) const = default;
    };

    void Move(std::vector<int> rows, int target);

    Ref<Playlist> FPlaylist;
    CoverSource FCoverSource;
    std::vector<Row> FShown;  // the entries as last shown
};

}  // namespace vexa::host
