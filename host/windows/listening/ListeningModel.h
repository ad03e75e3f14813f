#pragma once
// The user's listening list: the files that come next before the playlist goes on, and the files that were begun and
// not heard to their end. Each part has a heading. Main thread.

#include "CoverSource.h"
#include "LatestTask.h"
#include "Playback.h"
#include "WindowTexts.h"

#include <QAbstractListModel>
#include <QHash>

#include <utility>
#include <vector>

namespace vexa::host {

class ListeningModel final : public QAbstractListModel {
    Q_OBJECT
public:
    static constexpr int kMaxBegun = 50;
    enum class Part { UpNext, Begun };
    struct Entry {
        Part Section;
        QString Address;  // empty for the heading
        double Position = 0, Duration = 0;
        int Index = 0;  // index within its part
    };

    ListeningModel(Host& host, Playback& playback, QObject* parent = nullptr);
    ~ListeningModel() override;

    /// Null for a heading and for an invalid index.
    const Entry* At(const QModelIndex& index) const;
    /// Removes files from those to play next, or forgets where begun ones were left.
    void Remove(const QModelIndexList& indexes);
    /// The places of those of the entries that are to play next, in order.
    std::vector<int> PlacesUpNext(const QModelIndexList& indexes) const;
    /// Moves the entries at these places, in order, to before the one that is at `before` now.
    void MoveUpNext(std::vector<int> places, int before);
    void SetCoverSource(CoverSource source) { FCoverSource = std::move(source); }
    void Localize();
    /// Asks for missing titles; called when plug-ins that may know them were loaded.
    void AskTitles();
    /// Stops asking plug-ins for titles until the next change.
    void Stop();

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    // Files dropped anywhere are to play next; those dropped among the entries up next, at that place.
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDropActions() const override { return Qt::CopyAction | Qt::MoveAction; }
    bool canDropMimeData(const QMimeData* data, Qt::DropAction, int, int, const QModelIndex&) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

Q_SIGNALS:
    /// Entries up next have been moved, and are in these rows now.
    void Moved(int firstRow, int lastRow);

private:
    struct Title {
        QString Text, Container;
    };

    void OnAddressesMoved(const AddressMoves& moves);
    void Update();

    Host& FHost;
    Playback& FPlayback;
    const WindowTexts FTexts;
    std::vector<Entry> FEntries;
    QHash<QString, Title> FTitles;
    CoverSource FCoverSource;
    LatestTask FTitleReader;
};

}  // namespace vexa::host
