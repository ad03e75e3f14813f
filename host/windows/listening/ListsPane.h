#pragma once
// What plays next, what was begun, and the playlists, in one pane with tabs. It is closed while all that the user wants
// to see is empty. Main thread.

#include "Pane.h"
#include "WindowTexts.h"

#include <QTabWidget>

namespace vexa::host {

class ListeningPane;
class PlaylistPane;

class ListsPane final : public Pane<QTabWidget> {
    Q_OBJECT
public:
    /// Becomes the parent of both.
    ListsPane(const LanguageService& language, ListeningPane& listening, PlaylistPane& playlists);

    /// Whether the user wants to see this list.
    void SetWanted(const QWidget& list, bool isWanted);
    /// Whether there is something to show.
    bool IsOpen() const noexcept { return FIsOpen; }

Q_SIGNALS:
    void OpenChanged();

private:
    void Localize() override;
    void Update();

    const WindowTexts FTexts;
    ListeningPane& FListening;
    PlaylistPane& FPlaylists;
    bool FIsListeningWanted = true, FArePlaylistsWanted = true, FIsOpen = false;
    int FPlaylistCount = 0;
};

}  // namespace vexa::host
