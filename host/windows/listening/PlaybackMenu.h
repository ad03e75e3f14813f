#pragma once
// The menu of the most frequent playback commands. Its shortcuts work while it is closed. Main thread; destroy it
// before the Playback.

#include "Pane.h"
#include "Playback.h"

#include <QMenu>

namespace vexa::host {

class PlaybackMenu final : public Pane<QMenu> {
    Q_OBJECT
public:
    PlaybackMenu(Host& host, Playback& playback, QWidget* parent = nullptr);

private:
    void Localize() override;
    QAction* Add(const char* name, const QKeySequence& keys, void (Playback::*slot)());

    void AddChoice(const char* key, ListeningChoices::Choice choice);

    Host& FHost;
    Playback& FPlayback;
    std::vector<std::pair<QAction*, const char*>> FChoices;  // the keys are those of the captions
    QAction *FVideo, *FPlay, *FBack, *FForward, *FPrevious, *FNext;
};

}  // namespace vexa::host
