#include "PlaybackTransport.h"

#include <QToolButton>
#include <QVBoxLayout>

namespace vexa::host {

PlaybackTransport::PlaybackTransport(Playback& playback, Host& host, QWidget* parent)
    : TransportBar(parent), FPlayback(playback), FBar(new PlaybackBar(playback, host, this)) {
    auto* const title = new QToolButton(this);
    title->setObjectName(QStringLiteral("NowPlaying"));
    title->setAutoRaise(true);
    title->setVisible(false);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(title, 0, Qt::AlignHCenter);
    layout->addWidget(FBar);
    connect(title, &QToolButton::clicked, this, [this] { Q_EMIT ShowInLibrary(FPlayback.Current().Address); });
    connect(&playback, &Playback::CurrentChanged, this, [this, title] {
        const NowPlaying& current = FPlayback.Current();
        QString text = current.Title.isEmpty() ? current.Address : current.Title;
        title->setText(fontMetrics().elidedText(text, Qt::ElideRight, 600).replace(u'&', QStringLiteral("&&")));
        title->setAccessibleName(text);
        title->setVisible(!current.Address.isEmpty());
    });
    connect(&playback, &Playback::Failed, this, &TransportBar::Failed);
}

void PlaybackTransport::Seek(double seconds) {
    FPlayback.Seek(seconds);
}

void PlaybackTransport::TogglePlaying() {
    FPlayback.PlayOrPause();
}

void PlaybackTransport::Localize() {
    FBar->Localize();
}

}  // namespace vexa::host
