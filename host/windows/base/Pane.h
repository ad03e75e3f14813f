#pragma once
// A part of the window that keeps its captions in the user's language. Main thread.

#include <QEvent>

namespace vexa::host {

/// `Widget` is the toolkit's class. The window sends QEvent::LanguageChange, which reaches all widgets in it.
template <class Widget>
class Pane : public Widget {
protected:
    using Widget::Widget;

    /// Reads the captions anew; the constructor reads them first.
    virtual void Localize() = 0;
    void changeEvent(QEvent* event) override {
        if (event->type() == QEvent::LanguageChange) Localize();
        Widget::changeEvent(event);
    }
};

}  // namespace vexa::host
