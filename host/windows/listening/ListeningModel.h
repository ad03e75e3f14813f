#pragma once
// The user's listening list: the files that come next before the playlist goes on, and the files that were begun and
// not heard to their end. Each part has a heading. Main thread.

#include "LatestTask.h"
#include "Playback.h"
#include "WindowTexts.h"

#include <QAbstractListModel>
#include <QHash>

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
    void Localize();
    /// Asks for missing titles; called when plug-ins that may know them were loaded.
    void AskTitles();
    /// Stops asking plug-ins for titles until the next change.
    void Stop();

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

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
    LatestTask FTitleReader;
};

}  // namespace vexa::host
