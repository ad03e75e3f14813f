#include "Tray.h"

#include <QApplication>

#include <utility>

namespace vexa::host {

namespace {
constexpr auto kLook = std::chrono::seconds(1);
const QString kChoiceKey = QStringLiteral("Window\\AtClosing");
const QString kTray = QStringLiteral("tray"), kEnd = QStringLiteral("end");
}  // namespace

std::optional<AtClosing> ChosenAtClosing(ConfigService& config) {
    const auto chosen = config.Find(kChoiceKey);
    if (chosen == kTray) return AtClosing::GoOnInTray;
    if (chosen == kEnd) return AtClosing::End;
    return std::nullopt;
}

void ChooseAtClosing(ConfigService& config, AtClosing choice) {
    config.Write(kChoiceKey, choice == AtClosing::End ? kEnd : kTray);
}

Tray::Tray(Playback& playback, const WindowTexts& texts, std::function<bool()> isAvailable)
    : FPlayback(playback),
      FTexts(texts),
      FIsAvailable(std::move(isAvailable)),
      FShow(FMenu.addAction(QString(), this, &Tray::WindowWanted)),
      FPlay(FMenu.addAction(QString(), &playback, &Playback::PlayOrPause)),
      FQuit(FMenu.addAction(QString(), this, &Tray::QuitWanted)) {
    FIcon.setContextMenu(&FMenu);
    FLook.setInterval(kLook);
    connect(&FLook, &QTimer::timeout, this, [this] {
        if (!IsAvailable()) Q_EMIT WindowWanted();
    });
    connect(&FIcon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger) Q_EMIT WindowWanted();
    });
    connect(&playback, &Playback::StateChanged, this, &Tray::Update);
    connect(&playback, &Playback::CurrentChanged, this, &Tray::Update);
}

void Tray::Show() {
    FIcon.setIcon(QApplication::windowIcon());
    FIcon.show();
    FLook.start();
    Update();
}

void Tray::Hide() {
    FLook.stop();
    FIcon.hide();
}

void Tray::Update() {
    FShow->setText(FTexts("ShowWindow"));
    FPlay->setText(FTexts.Player("Play", FPlayback.IsPlaying() ? 1 : 0));
    FPlay->setEnabled(!FPlayback.Current().Address.isEmpty());
    FQuit->setText(FTexts("Quit"));
    const QString& title = FPlayback.Current().Title;
    FIcon.setToolTip(title.isEmpty() ? FTexts("Title") : title);
}

}  // namespace vexa::host
