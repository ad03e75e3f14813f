#pragma once
// Asks which one is meant where an address leads to several feeds, one question at a time. Main thread.

#include "Subscriber.h"
#include "WindowTexts.h"

#include <QPointer>
#include <QWidget>

#include <deque>

namespace vexa {
class ChoiceDialog;
}

namespace vexa::host {

class SubscriptionChooser final {
public:
    /// Dialogs belong to `window`, which goes after this.
    SubscriptionChooser(const LanguageService& language, Subscriber& subscriber, QWidget& window);

    /// Asks about those of the outcomes that leave a choice, and subscribes to what is chosen.
    void Ask(const std::vector<Subscriber::Outcome>& outcomes);

private:
    void AskNext();

    const LanguageService& FLanguage;
    const WindowTexts FTexts;
    Subscriber& FSubscriber;
    QWidget& FWindow;
    std::deque<Subscriber::Outcome> FWaiting;
    QPointer<ChoiceDialog> FDialog;
};

}  // namespace vexa::host
