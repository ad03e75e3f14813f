#include "PlaybackMenu.h"

namespace vexa::host {

PlaybackMenu::PlaybackMenu(Host& host, Playback& playback, QWidget* parent)
    : Pane(parent), FHost(host), FPlayback(playback) {
    FPlay = Add("Play", Qt::CTRL | Qt::Key_Space, &Playback::PlayOrPause);
    addSeparator();
    FBack = Add("SkipBack", Qt::CTRL | Qt::Key_Left, &Playback::SkipBack);
    FForward = Add("SkipForward", Qt::CTRL | Qt::Key_Right, &Playback::SkipForward);
    addSeparator();
    FPrevious = Add("Previous", Qt::CTRL | Qt::Key_PageUp, &Playback::Previous);
    FNext = Add("Next", Qt::CTRL | Qt::Key_PageDown, &Playback::Next);
    connect(this, &QMenu::aboutToShow, this, &PlaybackMenu::Localize);
    connect(&playback, &Playback::StateChanged, this, &PlaybackMenu::Localize);
    Localize();
}

QAction* PlaybackMenu::Add(const char* name, const QKeySequence& keys, void (Playback::*slot)()) {
    QAction* action = addAction(QString(), &FPlayback, slot);
    action->setObjectName(QString::fromLatin1(name));
    action->setShortcut(keys);
    return action;
}

void PlaybackMenu::Localize() {
    const auto text = [this](const char* key, int part = 0) {
        return FHost.Language().Text(u"Player\\" + QLatin1String(key), part);
    };
    setTitle(FHost.Language().Text(QStringLiteral("Window\\MenuPlayback")));
    FPlay->setText(text("Play", FPlayback.IsPlaying() ? 1 : 0));
    FBack->setText(text("SkipBack").replace(QStringLiteral("%s"), QString::number(FPlayback.SkipBackBy())));
    FForward->setText(text("SkipForward").replace(QStringLiteral("%s"), QString::number(FPlayback.SkipForwardBy())));
    FPrevious->setText(text("Previous"));
    FNext->setText(text("Next"));
}

}  // namespace vexa::host
