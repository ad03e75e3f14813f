#pragma once
// The bar of a host whose player only starts and stops: what plays, and a button. Main thread.

#include "Host.h"
#include "TransportBar.h"
#include "WindowTexts.h"

class QLabel;
class QToolButton;

namespace vexa::host {

class PlainTransportBar final : public TransportBar {
    Q_OBJECT
public:
    explicit PlainTransportBar(Host& host, QWidget* parent = nullptr);

    void Seek(double) override {}
    void TogglePlaying() override;
    void Localize() override;
    void OnThemeChanged() override { Update(); }

private:
    void Update();

    Host& FHost;
    const WindowTexts FTexts;
    QToolButton* const FButton;
    QToolButton* const FTitle;
    QString FFile;  // what plays, or played last
    MessageListener FStarted;
};

}  // namespace vexa::host
