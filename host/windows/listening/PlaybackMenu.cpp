#include "PlaybackMenu.h"

#include "WindowTexts.h"

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
    addSeparator();
    FVideo = addAction(QString());
    FVideo->setObjectName(QStringLiteral("Video"));
    FVideo->setCheckable(true);
    connect(FVideo, &QAction::triggered, &playback, &Playback::ShowVideo);
    AddChoice("ShortenSilence", ListeningChoices::ShortenSilence);
    AddChoice("LevelVoices", ListeningChoices::LevelVoices);
    AddChoice("RewindAfterPause", ListeningChoices::RewindAfterPause);
    connect(this, &QMenu::aboutToShow, this, &PlaybackMenu::Localize);
    connect(&playback, &Playback::StateChanged, this, &PlaybackMenu::Localize);
    connect(&playback, &Playback::VideoChanged, this, &PlaybackMenu::Localize);
    Localize();
}

QAction* PlaybackMenu::Add(const char* name, const QKeySequence& keys, void (Playback::*slot)()) {
    QAction* action = addAction(QString(), &FPlayback, slot);
    action->setObjectName(QString::fromLatin1(name));
    action->setShortcut(keys);
    return action;
}

void PlaybackMenu::AddChoice(const char* key, ListeningChoices::Choice choice) {
    QAction* action = addAction(QString());
    action->setObjectName(QString::fromLatin1(key));
    action->setCheckable(true);
    const auto show = [this, action, choice] { action->setChecked(FPlayback.Choices().Has(choice)); };
    connect(this, &QMenu::aboutToShow, action, show);  // the setting may have changed without the menu
    connect(action, &QAction::triggered, this,
            [this, choice](bool isChosen) { FPlayback.Choices().Set(choice, isChosen); });
    show();
    FChoices.emplace_back(action, key);
}

void PlaybackMenu::Localize() {
    const WindowTexts texts(FHost.Language());
    setTitle(texts("MenuPlayback"));
    FPlay->setText(texts.Player("Play", FPlayback.IsPlaying() ? 1 : 0));
    FBack->setText(WindowTexts::Filled(texts.Player("SkipBack"), QString::number(FPlayback.SkipBackBy())));
    FForward->setText(WindowTexts::Filled(texts.Player("SkipForward"), QString::number(FPlayback.SkipForwardBy())));
    FPrevious->setText(texts.Player("Previous"));
    FNext->setText(texts.Player("Next"));
    FVideo->setText(texts.Player("Video"));
    FVideo->setEnabled(FPlayback.HasVideo());
    FVideo->setChecked(FPlayback.HasVideo() && FPlayback.ShowsVideo());
    for (const auto& [action, key] : FChoices) action->setText(texts.Player(key));
}

}  // namespace vexa::host
