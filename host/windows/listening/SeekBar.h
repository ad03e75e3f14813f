#pragma once
// The slider that shows and sets the position in the current file, in whole seconds. Main thread.
//
// A click goes to the place that was clicked, dragging goes there when the button is released, a notch of the wheel
// goes 5 s, and the tool tip is the time under the pointer, with the chapter's title. None of them goes to the end
// itself, where playback would be over. Ticks show where chapters begin.

#include "Chapters.h"

#include <QSlider>

#include <vector>

namespace vexa::host {

class SeekBar final : public QSlider {
    Q_OBJECT
public:
    explicit SeekBar(QWidget* parent = nullptr);

    /// Shows the position; `duration` is 0 while it is unknown. While the user drags, nothing changes.
    void Show(double position, double duration);
    /// In the order of their starts.
    void SetChapters(std::vector<Chapter> chapters);

Q_SIGNALS:
    /// The user wants to go to this position, in seconds.
    void SeekWanted(int seconds);

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    int SecondsAt(int x) const;
    QString TextAt(int seconds) const;
    /// The position that the user can go to, at most.
    int Last() const;

    std::vector<Chapter> FChapters;
    int FWheel = 0;           // turned, in eighths of a degree, without whole notches
    bool FIsShowing = false;  // the position changes by itself, not by the user
};

}  // namespace vexa::host
