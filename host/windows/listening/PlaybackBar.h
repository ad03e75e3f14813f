#pragma once
// The bar of playback controls: what plays, play and pause, skips, next and previous, the position with its times,
// chapters, speed, sleep timer, volume. Every control has a name for screen readers and can be reached by Tab. Main
// thread; destroy it before the Playback.

#include "Pane.h"
#include "Playback.h"
#include "WindowTexts.h"

#include <QTimer>
#include <QWidget>

class QHBoxLayout;
class QLabel;
class QMenu;
class QSlider;
class QToolButton;

namespace vexa::host {

class NowPlayingButton;
class SeekBar;

class PlaybackBar final : public Pane<QWidget> {
    Q_OBJECT
public:
    PlaybackBar(Playback& playback, Host& host, QWidget* parent = nullptr);

    /// The picture of what plays; null for none.
    void SetCover(const QPixmap& cover);

Q_SIGNALS:
    /// What plays was clicked: show the current file in the library.
    void ShowInLibrary(const QString& address);

protected:
    void changeEvent(QEvent* event) override;

private:
    void Localize() override;
    /// `name` is also the name of the button's icon.
    QToolButton* AddButton(QHBoxLayout& row, const char* name);
    QToolButton* AddMenu(QHBoxLayout& row, const char* name, void (PlaybackBar::*fill)());
    void Caption(QWidget& control, const QString& text);
    QString Text(const char* key, int part = 0) const;
    QString Text(const char* key, const QString& value) const;
    void FillSpeeds();
    void FillSleep();
    void FillChapters();
    void SetIcons();
    void ShowState();
    void ShowTitle();
    void ShowPosition(double seconds);
    void ShowSpeed();
    void ShowVolume();

    Playback& FPlayback;
    Host& FHost;
    NowPlayingButton* FNow;
    QToolButton *FPrevious, *FBack, *FPlay, *FForward, *FNext, *FChapters, *FSpeed, *FSleep;
    QLabel *FElapsed, *FRest, *FVolumeIcon;
    SeekBar* FPosition;
    QSlider* FVolume;
    int FChapter = -1;  // index of the current chapter
    QTimer FWaiting;
    bool FIsWaiting = false;  // for the server, or for more of the file
    bool FIsShowing = false;  // the bar itself sets the volume shown, not the user
};

}  // namespace vexa::host
