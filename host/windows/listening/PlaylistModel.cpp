#include "PlaylistModel.h"

#include "DraggedFiles.h"
#include "RowDelegate.h"

#include <QMimeData>

#include <algorithm>

namespace vexa::host {

namespace {

const QString kRowsMimeType = QStringLiteral("application/x-vexa-playlist-rows");

}  // namespace

void PlaylistModel::SetPlaylist(const Ref<Playlist>& playlist) {
    FPlaylist = playlist;
    FShown.clear();
    beginResetModel();
    endResetModel();
    Update();
}

void PlaylistModel::Update() {
    std::vector<Row> now;
    if (FPlaylist)
        for (const PlaylistEntry& entry : FPlaylist->Entries()) now.push_back({entry.Shown(), entry.Group, entry.File});
    if (now.size() == FShown.size()) {
        const bool isSame = now == FShown;
        FShown = std::move(now);
        if (!isSame) Q_EMIT dataChanged(index(0), index(rowCount() - 1));
    } else {
        beginResetModel();
        FShown = std::move(now);
        endResetModel();
    }
    Q_EMIT Updated();
}

int PlaylistModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(FShown.size());
}

QVariant PlaylistModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const auto& [text, group, file] = FShown[static_cast<std::size_t>(index.row())];
    if (role == Qt::DisplayRole) return text.simplified();
    if (role == Qt::DecorationRole && FCoverSource && !group.isEmpty())
        return FCoverSource(file, group, RowDelegate::kCoverSide);
    if (role != Qt::ToolTipRole) return {};
    const QString more = group.isEmpty() ? QString() : QString(u"<br>" + group.toHtmlEscaped());
    return QString(u"<span>" + text.toHtmlEscaped() + more + u"</span>");
}

Qt::ItemFlags PlaylistModel::flags(const QModelIndex& index) const {
    const Qt::ItemFlags drop = Qt::ItemIsDropEnabled;
    if (!index.isValid()) return drop;
    return Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsDragEnabled | Qt::ItemNeverHasChildren;
}

QStringList PlaylistModel::mimeTypes() const {
    return {kRowsMimeType, QString::fromLatin1(kFilesMimeType)};
}

QMimeData* PlaylistModel::mimeData(const QModelIndexList& indexes) const {
    QStringList rows;
    for (const QModelIndex& index : indexes) rows += QString::number(index.row());
    auto* data = new QMimeData;
    data->setData(kRowsMimeType, rows.join(u',').toLatin1());
    return data;
}

bool PlaylistModel::canDropMimeData(const QMimeData* data, Qt::DropAction, int, int, const QModelIndex&) const {
    if (data->hasFormat(kRowsMimeType)) return FPlaylist && !FPlaylist->IsSmart();
    return data->hasFormat(QString::fromLatin1(kFilesMimeType));
}

bool PlaylistModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int, const QModelIndex&) {
    if (!canDropMimeData(data, action, row, 0, {})) return false;
    const int target = row < 0 ? rowCount() : row;
    if (data->hasFormat(kRowsMimeType)) {
        std::vector<int> rows;
        for (const QByteArray& number : data->data(kRowsMimeType).split(',')) rows.push_back(number.toInt());
        Move(std::move(rows), target);
        return false;  // Move has moved the rows: the view must not remove any
    }
    const QStringList files = QString::fromUtf8(data->data(QString::fromLatin1(kFilesMimeType))).split(u'\n');
    if (FPlaylist && !FPlaylist->IsSmart())
        FPlaylist->Add(files, target);
    else
        Q_EMIT NewWanted(files);
    return true;
}

void PlaylistModel::Move(std::vector<int> rows, int target) {
    std::sort(rows.begin(), rows.end());
    std::vector<PlaylistEntry> before, moved, after;
    for (int row = 0; row < FPlaylist->Count(); ++row) {
        const PlaylistEntry& entry = FPlaylist->Entries()[static_cast<std::size_t>(row)];
        auto& place = std::binary_search(rows.begin(), rows.end(), row) ? moved : row < target ? before : after;
        place.push_back(entry);
    }
    before.insert(before.end(), moved.begin(), moved.end());
    before.insert(before.end(), after.begin(), after.end());
    FPlaylist->SetEntries(std::move(before));
}

}  // namespace vexa::host
