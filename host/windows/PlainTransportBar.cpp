#include "PlainTransportBar.h"

#include "ErrorInfo.h"
#include "FileInfo.h"
#include "WindowIcons.h"

#include <QBoxLayout>
#include <QToolButton>

namespace vexa::host {

namespace {

constexpr int kButton = 24;

QString TitleOf(PlayerService& player) {
    Ref<IVEXAFileInfo> info;
    if (Failed(player.GetInfo(info.Put()))) return {};
    Ref<IVEXAString> title, album;
    info->GetValueAsObject(IVEXAFileInfo::Title, IVEXAString::IID, title.PutVoid());
    info->GetValueAsObject(IVEXAFileInfo::Album, IVEXAString::IID, album.PutVoid());
    const QString name = ToQString(title.Get()), from = ToQString(album.Get());
    if (name.isEmpty() || from.isEmpty()) return name.isEmpty() ? from : name;
    return QString(name + QStringLiteral("  –  ") + from).simplified();
}

}  // namespace

PlainTransportBar::PlainTransportBar(Host& host, QWidget* parent)
    : TransportBar(parent),
      FHost(host),
      FTexts(host.Language()),
      FButton(new QToolButton),
      FTitle(new QToolButton),
      FStarted(host.Messages(), kMsgPlaybackStarted, [this] { Update(); }) {
    FButton->setIconSize({kButton, kButton});
    FButton->setAutoRaise(true);
    FTitle->setAutoRaise(true);
    FTitle->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    FTitle->setToolButtonStyle(Qt::ToolButtonTextOnly);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(10, 6, 10, 6);
    row->addWidget(FButton);
    row->addWidget(FTitle, 1);
    connect(FButton, &QToolButton::clicked, this, [this] { TogglePlaying(); });
    connect(FTitle, &QToolButton::clicked, this, [this] {
        if (!FFile.isEmpty()) Q_EMIT ShowInLibrary(FFile);
    });
    Localize();
}

void PlainTransportBar::TogglePlaying() {
    if (!FHost.Player().FileName().isEmpty()) {
        FHost.Player().Stop();
    } else if (!FFile.isEmpty()) {
        const Ref<ErrorInfo> error(new ErrorInfo);
        if (vexa::Failed(FHost.Player().Play(MakeString(FFile).Get(), error.Get()))) Q_EMIT Failed(error->Message());
    }
    Update();
}

void PlainTransportBar::Update() {
    const QString playing = FHost.Player().FileName();
    const bool isPlaying = !playing.isEmpty();
    if (isPlaying) FFile = playing;
    if (const QString title = TitleOf(*Ref<PlayerService>(&FHost.Player())); isPlaying || FFile.isEmpty()) {
        QString shown = title.isEmpty() ? FTexts("NothingPlays") : title;
        FTitle->setAccessibleName(shown);
        FTitle->setText(shown.replace(u'&', QStringLiteral("&&")));
    }
    FButton->setEnabled(!FFile.isEmpty());
    FTitle->setEnabled(!FFile.isEmpty());
    FButton->setIcon(WindowIcon(isPlaying ? QStringLiteral("stop") : QStringLiteral("play")));
    const QString name = FTexts(isPlaying ? "Stop" : "Play");
    FButton->setToolTip(name);
    FButton->setAccessibleName(name);
}

void PlainTransportBar::Localize() {
    Update();
}

}  // namespace vexa::host
