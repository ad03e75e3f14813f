#include "ListsPane.h"

#include "ListeningPane.h"
#include "PlaylistPane.h"

#include <QTabBar>

namespace vexa::host {

ListsPane::ListsPane(const LanguageService& language, ListeningPane& listening, PlaylistPane& playlists)
    : FTexts(language), FListening(listening), FPlaylists(playlists), FPlaylistCount(playlists.Count()) {
    setObjectName(QStringLiteral("Lists"));
    setDocumentMode(true);
    tabBar()->setChangeCurrentOnDrag(true);
    addTab(&listening, QString());
    addTab(&playlists, QString());
    connect(&listening.Model(), &QAbstractItemModel::modelReset, this, &ListsPane::Update);
    connect(&playlists, &PlaylistPane::ListsChanged, this, [this] {
        // A playlist that was just made is what the user wants to see.
        if (FPlaylists.Count() > std::exchange(FPlaylistCount, FPlaylists.Count())) setCurrentWidget(&FPlaylists);
        Update();
    });
    Localize();
    Update();
}

void ListsPane::SetWanted(const QWidget& list, bool isWanted) {
    (&list == &FListening ? FIsListeningWanted : FArePlaylistsWanted) = isWanted;
    Update();
}

void ListsPane::Update() {
    setTabVisible(indexOf(&FListening), FIsListeningWanted);
    setTabVisible(indexOf(&FPlaylists), FArePlaylistsWanted);
    const bool hasListening = FIsListeningWanted && FListening.Model().rowCount() > 0;
    const bool hasPlaylists = FArePlaylistsWanted && FPlaylists.Count() > 0;
    const bool isOpen = hasListening || hasPlaylists;
    if (!FIsOpen && isOpen)
        setCurrentWidget(hasListening ? static_cast<QWidget*>(&FListening) : static_cast<QWidget*>(&FPlaylists));
    setVisible(isOpen);
    if (std::exchange(FIsOpen, isOpen) != isOpen) Q_EMIT OpenChanged();
}

void ListsPane::Localize() {
    setTabText(indexOf(&FListening), FTexts("UpNext"));
    setTabText(indexOf(&FPlaylists), FTexts("Playlists"));
}

}  // namespace vexa::host
