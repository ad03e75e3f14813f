#pragma once
// The bar of controls: play and pause, skips, next and previous, the position with its times, speed, volume, sleep
// timer. Every control has a name for screen readers and is reached by Tab. Main thread; it goes before the Playback.

#include "Playback.h"

#include <QWidget>

class QLabel;
class QMenu;
class QSlider;
class QToolButton;

namespace vexa::host {

/// "1:02:03" or "2:03".
QString TimeText(double seconds);

class PlaybackBar final : public QWidget {
    Q_OBJECT
public:
    PlaybackBar(Playback& playback, Host& host, QWidget* parent = nullptr);
    ~PlaybackBar() override;

    /// Reads the captions anew.
    void Localize();

protected:
    void changeEvent(QEvent* event) override;

private:
    QToolButton* AddButton(const char* name);
    QToolButton* AddMenu(const char* name);
    void Caption(QWidget& control, const QString& text);
    QString Text(const char* key, int part = 0) const;
    QString Text(const char* key, const QString& value) const;
    void FillSpeeds();
    void FillSleep();
    void SetIcons();
    void ShowState();
    void ShowPosition(double seconds);
    void ShowSpeed();
    void ShowVolume();

    Playback& FPlayback;
    Host& FHost;
    Ref<IVEXAMessageHook> FLanguageHook;
    QToolButton *FPrevious, *FBack, *FPlay, *FForward, *FNext, *FSpeed, *FSleep;
    QLabel *FElapsed, *FRest, *FVolumeIcon;
    QSlider *FPosition, *FVolume;
    bool FIsShowing = false;  // the sliders move by themselves
};

}  // namespace vexa::host
