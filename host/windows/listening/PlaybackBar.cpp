#include "PlaybackBar.h"

#include "MenuBuilder.h"
#include "NowPlayingButton.h"
#include "RowTexts.h"
#include "SeekBar.h"
#include "WindowIcons.h"

#include <QBoxLayout>
#include <QEvent>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QScopedValueRollback>
#include <QSlider>
#include <QToolButton>

#include <algorithm>
#include <cmath>

namespace vexa::host {

namespace {

constexpr double kSpeeds[] = {0.5, 0.75, 0.9, 1, 1.1, 1.25, 1.5, 1.75, 2, 2.5, 3};
constexpr int kSleepMinutes[] = {5, 10, 15, 30, 45, 60, 90};
constexpr int kVolumeSteps = 100;
constexpr auto kWaiting = std::chrono::milliseconds(500);
constexpr QSize kIconSize(24, 24), kPlayIconSize(32, 32);
constexpr int kNowShare = 3, kControlsShare = 5;  // of the width that the choices at the right leave

QString SpeedText(double speed) {
    return QLocale().toString(speed, 'g', 3) + u'×';
}

}  // namespace

PlaybackBar::PlaybackBar(Playback& playback, Host& host, QWidget* parent)
    : Pane(parent), FPlayback(playback), FHost(host) {
    auto* outer = new QHBoxLayout(this);
    outer->setContentsMargins(8, 6, 8, 6);
    outer->setSpacing(12);
    outer->addWidget(FNow = new NowPlayingButton, kNowShare);
    auto* middle = new QVBoxLayout;
    middle->setSpacing(0);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(4);
    buttons->addStretch(1);
    FPrevious = AddButton(*buttons, "previous");
    FBack = AddButton(*buttons, "back");
    FPlay = AddButton(*buttons, "play");
    FPlay->setIconSize(kPlayIconSize);
    FForward = AddButton(*buttons, "forward");
    FNext = AddButton(*buttons, "next");
    buttons->addStretch(1);
    middle->addLayout(buttons);
    auto* times = new QHBoxLayout;
    times->setSpacing(4);
    times->addWidget(FElapsed = new QLabel);
    FPosition = new SeekBar;
    FPosition->setObjectName(QStringLiteral("position"));
    times->addWidget(FPosition, 1);
    times->addWidget(FRest = new QLabel);
    middle->addLayout(times);
    outer->addLayout(middle, kControlsShare);
    auto* choices = new QHBoxLayout;
    choices->setSpacing(4);
    FChapters = AddMenu(*choices, "chapters", &PlaybackBar::FillChapters);
    FSpeed = AddMenu(*choices, "speed", &PlaybackBar::FillSpeeds);
    FSleep = AddMenu(*choices, "sleep", &PlaybackBar::FillSleep);
    FSleep->setCheckable(true);
    choices->addWidget(FVolumeIcon = new QLabel);
    FVolume = new QSlider(Qt::Horizontal);
    FVolume->setObjectName(QStringLiteral("volume"));
    FVolume->setRange(0, kVolumeSteps);
    FVolume->setPageStep(10);
    FVolume->setSingleStep(5);
    FVolume->setFixedWidth(80);
    choices->addWidget(FVolume);
    outer->addLayout(choices);

    connect(FNow, &QAbstractButton::clicked, this, [this] { Q_EMIT ShowInLibrary(FPlayback.Current().Address); });
    connect(FPrevious, &QToolButton::clicked, &FPlayback, &Playback::Previous);
    connect(FBack, &QToolButton::clicked, &FPlayback, &Playback::SkipBack);
    connect(FPlay, &QToolButton::clicked, &FPlayback, &Playback::PlayOrPause);
    connect(FForward, &QToolButton::clicked, &FPlayback, &Playback::SkipForward);
    connect(FNext, &QToolButton::clicked, &FPlayback, &Playback::Next);
    connect(FPosition, &SeekBar::SeekWanted, &FPlayback, [this](int seconds) { FPlayback.Seek(seconds); });
    connect(FPosition, &QSlider::sliderMoved, this, [this](int seconds) { FElapsed->setText(TimeText(seconds)); });
    connect(FVolume, &QSlider::valueChanged, this, [this](int value) {
        if (!FIsShowing) FPlayback.SetVolume(static_cast<double>(value) / kVolumeSteps);
    });
    connect(&FPlayback, &Playback::StateChanged, this, &PlaybackBar::ShowState);
    connect(&FPlayback, &Playback::CurrentChanged, this, &PlaybackBar::ShowState);
    connect(&FPlayback, &Playback::UpNextChanged, this, &PlaybackBar::ShowState);
    connect(&FPlayback, &Playback::DurationChanged, this, &PlaybackBar::ShowState);
    connect(&FPlayback, &Playback::PositionChanged, this, &PlaybackBar::ShowPosition);
    connect(&FPlayback, &Playback::SpeedChanged, this, &PlaybackBar::ShowSpeed);
    connect(&FPlayback, &Playback::VolumeChanged, this, &PlaybackBar::ShowVolume);
    connect(&FPlayback.Sleep(), &SleepTimer::Changed, this, &PlaybackBar::ShowState);
    FWaiting.setSingleShot(true);
    FWaiting.setInterval(kWaiting);
    connect(&FWaiting, &QTimer::timeout, this, [this] {
        FIsWaiting = true;
        ShowTitle();
    });
    SetIcons();
    Localize();
}

QToolButton* PlaybackBar::AddButton(QHBoxLayout& row, const char* name) {
    auto* button = new QToolButton;
    button->setObjectName(QString::fromLatin1(name));
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::StrongFocus);
    button->setIconSize(kIconSize);
    row.addWidget(button);
    return button;
}

QToolButton* PlaybackBar::AddMenu(QHBoxLayout& row, const char* name, void (PlaybackBar::*fill)()) {
    QToolButton* button = AddButton(row, name);
    button->setPopupMode(QToolButton::InstantPopup);
    auto* menu = new QMenu(button);
    connect(menu, &QMenu::aboutToShow, this, fill);
    button->setMenu(menu);
    return button;
}

QString PlaybackBar::Text(const char* key, int part) const {
    return WindowTexts(FHost.Language()).Player(key, part);
}

QString PlaybackBar::Text(const char* key, const QString& value) const {
    return Text(key).replace(QStringLiteral("%s"), value);
}

void PlaybackBar::Caption(QWidget& control, const QString& text) {
    control.setToolTip(text);
    control.setAccessibleName(text);
}

void PlaybackBar::Localize() {
    setAccessibleName(Text("Caption"));
    // Wide enough for any usual time, so that nothing moves when a time gets longer.
    FElapsed->setMinimumWidth(fontMetrics().horizontalAdvance(TimeText(36000)));
    FRest->setMinimumWidth(fontMetrics().horizontalAdvance(QString(u'−' + TimeText(36000))));
    FElapsed->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    Caption(*FPrevious, Text("Previous"));
    Caption(*FBack, Text("SkipBack", QString::number(FPlayback.SkipBackBy())));
    Caption(*FForward, Text("SkipForward", QString::number(FPlayback.SkipForwardBy())));
    Caption(*FNext, Text("Next"));
    FPosition->setAccessibleName(Text("Position"));  // its tool tip is the time
    Caption(*FVolume, Text("Volume"));
    Caption(*FChapters, Text("Chapters"));
    Caption(*FSleep, Text("Sleep"));
    ShowState();
    ShowSpeed();
    ShowVolume();
}

void PlaybackBar::SetCover(const QPixmap& cover) {
    FNow->SetCover(cover);
}

void PlaybackBar::SetIcons() {
    FPlay->setIcon(WindowIcon(FPlayback.IsPlaying() ? QStringLiteral("pause") : QStringLiteral("play")));
    for (QToolButton* button : {FPrevious, FBack, FForward, FNext, FChapters, FSleep})
        button->setIcon(WindowIcon(button->objectName()));
    FVolumeIcon->setPixmap(WindowIcon(QStringLiteral("volume")).pixmap(kIconSize, devicePixelRatioF()));
}

void PlaybackBar::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) SetIcons();
    Pane::changeEvent(event);
}

void PlaybackBar::FillSpeeds() {
    QMenu* menu = FSpeed->menu();
    menu->clear();
    for (const double speed : kSpeeds) {
        QAction* action = menu->addAction(SpeedText(speed), this, [this, speed] { FPlayback.SetSpeed(speed); });
        action->setCheckable(true);
        action->setChecked(FPlayback.Speed() == speed);
    }
}

void PlaybackBar::FillChapters() {
    QMenu* menu = FChapters->menu();
    menu->clear();
    const auto& chapters = FPlayback.Current().Chapters;
    for (std::size_t i = 0; i < chapters.size(); ++i) {
        const QString title = TimeText(chapters[i].Start) + u"  " + chapters[i].Title;
        QAction* action = menu->addAction(MenuText(title, menu->fontMetrics()), this,
                                          [this, start = chapters[i].Start] { FPlayback.Seek(start); });
        action->setCheckable(true);
        action->setChecked(static_cast<int>(i) == FChapter);
    }
}

void PlaybackBar::FillSleep() {
    QMenu* menu = FSleep->menu();
    menu->clear();
    SleepTimer& sleep = FPlayback.Sleep();
    using Mode = SleepTimer::Mode;
    if (sleep.CurrentMode() == Mode::AfterTime) {
        const double seconds = static_cast<double>(sleep.Remaining().count()) / 1000;
        menu->addAction(WindowTexts(FHost.Language())("TimeLeft", TimeText(seconds)))->setEnabled(false);
    }
    QAction* off = menu->addAction(Text("SleepOff"), this, [&sleep] { sleep.Cancel(); });
    off->setCheckable(true);
    off->setChecked(sleep.CurrentMode() == Mode::Off);
    for (const int minutes : kSleepMinutes)
        menu->addAction(Text("SleepIn", QString::number(minutes)), this,
                        [&sleep, minutes] { sleep.SetTime(std::chrono::minutes(minutes)); });
    QAction* atEnd = menu->addAction(Text("SleepAtEnd"), this, [&sleep] { sleep.SetAtEnd(); });
    atEnd->setCheckable(true);
    atEnd->setChecked(sleep.CurrentMode() == Mode::AtEnd);
}

void PlaybackBar::ShowState() {
    const bool hasCurrent = !FPlayback.Current().Address.isEmpty();
    Caption(*FPlay, Text("Play", FPlayback.IsPlaying() ? 1 : 0));
    SetIcons();
    // A short wait is not worth a word.
    if (FPlayback.CurrentState() != Playback::State::Loading) {
        FWaiting.stop();
        FIsWaiting = false;
    } else if (!FIsWaiting && !FWaiting.isActive()) {
        FWaiting.start();
    }
    ShowTitle();
    FChapters->setVisible(!FPlayback.Current().Chapters.empty());
    FPlay->setEnabled(hasCurrent || FPlayback.SavedPositions().LastHeard());
    for (QWidget* control : {FBack, FForward}) control->setEnabled(hasCurrent);
    FPrevious->setEnabled(FPlayback.HasPrevious());
    FPosition->setEnabled(hasCurrent);
    FPosition->SetChapters(FPlayback.Current().Chapters);
    FNext->setEnabled(FPlayback.HasNext());
    FSleep->setChecked(FPlayback.Sleep().CurrentMode() != SleepTimer::Mode::Off);
    ShowPosition(hasCurrent ? FPlayback.Position() : 0);
}

void PlaybackBar::ShowTitle() {
    const NowPlaying& current = FPlayback.Current();
    QStringList below{current.Album};
    if (FIsWaiting) below.prepend(Text("Waiting"));
    if (FChapter >= 0 && FChapter < static_cast<int>(current.Chapters.size()))
        below += current.Chapters[static_cast<std::size_t>(FChapter)].Title;
    below.removeAll({});
    FNow->SetTexts(current.Title.isEmpty() ? current.Address : current.Title, below.join(QStringLiteral("  –  ")));
}

void PlaybackBar::ShowPosition(double seconds) {
    const auto& chapters = FPlayback.Current().Chapters;
    const auto later = std::upper_bound(chapters.begin(), chapters.end(), seconds,
                                        [](double time, const Chapter& chapter) { return time < chapter.Start; });
    if (const int chapter = static_cast<int>(later - chapters.begin()) - 1; chapter != FChapter) {
        FChapter = chapter;
        ShowTitle();
    }
    if (FPosition->isSliderDown()) return;
    const double duration = FPlayback.Current().Address.isEmpty() ? 0 : FPlayback.Duration();
    FPosition->setSingleStep(FPlayback.SkipBackBy());
    FPosition->Show(seconds, duration);
    FElapsed->setText(TimeText(seconds));
    FRest->setText(duration > 0 ? QString(u'−' + TimeText(duration - seconds)) : TimeText(0));
    FPosition->setAccessibleDescription(FElapsed->text() + u" / " + TimeText(duration));
}

void PlaybackBar::ShowSpeed() {
    FSpeed->setText(SpeedText(FPlayback.Speed()));
    FSpeed->setToolTip(Text("Speed"));
    FSpeed->setAccessibleName(Text("Speed") + u' ' + FSpeed->text());
}

void PlaybackBar::ShowVolume() {
    const QScopedValueRollback showing(FIsShowing, true);
    FVolume->setValue(static_cast<int>(std::lround(FPlayback.Volume() * kVolumeSteps)));
}

}  // namespace vexa::host
