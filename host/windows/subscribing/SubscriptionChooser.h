#pragma once
// Asks the user which feed to subscribe to when an address leads to several, one address at a time. Main thread.

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
    /// `window` is the parent of the dialogs; it outlives this.
    SubscriptionChooser(const LanguageService& language, Subscriber& subscriber, QWidget& window);

    /// Asks about the outcomes that have choices, and subscribes to the chosen feeds.
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
