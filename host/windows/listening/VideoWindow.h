#pragma once
// The window for the pictures of a video, with the controls of playback below them. It opens when a file with video
// begins to play. When the user closes it, the sound goes on alone. Main thread; destroy it before the Playback.

#include "Pane.h"
#include "PlaybackBar.h"
#include "VideoFrames.h"

#include <QWidget>

class QVBoxLayout;

namespace vexa::host {

/// The newest picture, as large as fits.
class VideoView final : public QWidget {
    Q_OBJECT
public:
    explicit VideoView(VideoFrames& frames);

Q_SIGNALS:
    void DoubleClicked();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    VideoFrames& FFrames;
};

class VideoWindow final : public Pane<QWidget> {
    Q_OBJECT
public:
    VideoWindow(Playback& playback, Host& host);
    ~VideoWindow() override;

Q_SIGNALS:
    /// As of PlaybackBar.
    void ShowInLibrary(const QString& address);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void Localize() override;
    void Update();
    void AddBar();
    void SetFullScreen(bool isFull);

    Playback& FPlayback;
    Host& FHost;
    const WindowTexts FTexts;
    VideoView* FView;
    QVBoxLayout* FLayout;
    PlaybackBar* FBar = nullptr;  // made when the window is shown for the first time
    MessageListener FLanguage;
};

}  // namespace vexa::host
