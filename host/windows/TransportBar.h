#pragma once
// The place in the window from which playback is controlled. The window knows no more of it than this; what makes the
// sound puts its own bar in. Main thread.

#include <QWidget>

namespace vexa::host {

class TransportBar : public QWidget {
    Q_OBJECT
public:
    using QWidget::QWidget;

    /// Jumps in what plays; a time in its show notes was chosen.
    virtual void Seek(double seconds) = 0;
    virtual void TogglePlaying() = 0;
    virtual void Localize() = 0;
    virtual void OnThemeChanged() = 0;

Q_SIGNALS:
    /// The title was clicked: what plays is to be shown in the library.
    void ShowInLibrary(const QString& file);
    /// Why something cannot be played.
    void Failed(const QString& message);
};

}  // namespace vexa::host
