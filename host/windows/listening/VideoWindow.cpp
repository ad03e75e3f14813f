#include "VideoWindow.h"

#include <QBoxLayout>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QPainter>

namespace vexa::host {

namespace {

constexpr QSize kFirstSize(800, 520);

}  // namespace

VideoView::VideoView(VideoFrames& frames) : FFrames(frames) {
    setObjectName(QStringLiteral("VideoView"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(160, 90);
    // Several pictures between two repaints become one.
    connect(&frames, &VideoFrames::Changed, this, qOverload<>(&QWidget::update));
}

void VideoView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    const VideoFrame frame = FFrames.Newest();
    if (frame.Picture.isNull()) return;
    QRectF place(QPointF(), frame.ShownSize.scaled(size(), Qt::KeepAspectRatio));
    place.moveCenter(QRectF(rect()).center());
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(place, frame.Picture);
}

void VideoView::mouseDoubleClickEvent(QMouseEvent*) {
    Q_EMIT DoubleClicked();
}

VideoWindow::VideoWindow(Playback& playback, Host& host)
    : FPlayback(playback),
      FHost(host),
      FTexts(host.Language()),
      FView(new VideoView(playback.Video())),
      FLayout(new QVBoxLayout(this)),
      FLanguage(host.Messages(), kMsgLanguageChanged, [this] {
          QEvent changed(QEvent::LanguageChange);
          QCoreApplication::sendEvent(this, &changed);
      }) {
    setObjectName(QStringLiteral("VideoWindow"));
    resize(kFirstSize);
    FLayout->setContentsMargins({});
    FLayout->setSpacing(0);
    FLayout->addWidget(FView, 1);
    FView->setFocus();
    connect(FView, &VideoView::DoubleClicked, this, [this] { SetFullScreen(!isFullScreen()); });
    connect(&playback, &Playback::VideoChanged, this, &VideoWindow::Update);
    connect(&playback, &Playback::CurrentChanged, this, &VideoWindow::Localize);
    playback.WantVideo(true);
    Localize();
}

VideoWindow::~VideoWindow() {
    FPlayback.disconnect(this);
    FPlayback.WantVideo(false);
    FPlayback.ShowVideo(false);
}

void VideoWindow::Localize() {
    const NowPlaying& current = FPlayback.Current();
    setWindowTitle(current.Title.isEmpty() ? FTexts.Player("Video") : current.Title);
    FView->setAccessibleName(FTexts.Player("Video"));
}

void VideoWindow::AddBar() {
    FBar = new PlaybackBar(FPlayback, FHost);
    FLayout->addWidget(FBar);
    connect(FBar, &PlaybackBar::ShowInLibrary, this, &VideoWindow::ShowInLibrary);
}

void VideoWindow::Update() {
    if (FPlayback.HasVideo() && FPlayback.ShowsVideo()) {
        if (!FBar) AddBar();
        if (!isVisible()) show();
        return;
    }
    SetFullScreen(false);
    hide();
}

void VideoWindow::SetFullScreen(bool isFull) {
    setWindowState(windowState().setFlag(Qt::WindowFullScreen, isFull));
    if (FBar) FBar->setVisible(!isFull);
}

/// Keys that the focused control has not used.
void VideoWindow::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_F11:
            return SetFullScreen(!isFullScreen());
        case Qt::Key_Escape:
            return SetFullScreen(false);
        case Qt::Key_Space:
            return FPlayback.PlayOrPause();
        case Qt::Key_Left:
            return FPlayback.SkipBack();
        case Qt::Key_Right:
            return FPlayback.SkipForward();
        default:
            Pane::keyPressEvent(event);
    }
}

void VideoWindow::closeEvent(QCloseEvent* event) {
    event->accept();
    FPlayback.ShowVideo(false);
}

}  // namespace vexa::host
