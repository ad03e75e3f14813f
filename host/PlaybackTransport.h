#pragma once
// The bar of controls in its place in the window. Main thread; it goes before the Playback.

#include "Playback.h"
#include "PlaybackBar.h"
#include "TransportBar.h"

namespace vexa::host {

class PlaybackTransport final : public TransportBar {
    Q_OBJECT
public:
    PlaybackTransport(Playback& playback, Host& host, QWidget* parent = nullptr);

    void Seek(double seconds) override;
    void TogglePlaying() override;
    void Localize() override;
    void OnThemeChanged() override {}  // the bar follows the palette by itself

private:
    Playback& FPlayback;
    PlaybackBar* const FBar;
};

}  // namespace vexa::host
