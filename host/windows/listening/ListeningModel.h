#pragma once
// What the user listens to: what comes next before the playlist goes on, and what was begun and not heard to its end.
// Each part has a heading. Main thread.

#include "LatestTask.h"
#include "Playback.h"
#include "WindowTexts.h"

#include <QAbstractListModel>
#include <QHash>

namespace vexa::host {

class ListeningModel final : public QAbstractListModel {
    Q_OBJECT
public:
    static constexpr int kMostBegun = 50;
    enum class Part { UpNext, Begun };
    struct Entry {
        Part Where;
        QString Address;  // empty: the heading
        double Position = 0, Duration = 0;
        int Place = 0;  // in its part
    };

    ListeningModel(Host& host, Playback& playback, QObject* parent = nullptr);
    ~ListeningModel() override;

    /// Null for a heading, and for what is none.
    const Entry* At(const QModelIndex& index) const;
    /// Plays no longer next, or begins anew the next time.
    void Remove(const QModelIndexList& indexes);
    void Localize();
    /// Plug-ins that know titles have come.
    void AskTitles();
    /// Titles are asked of plug-ins no more until the next change.
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
