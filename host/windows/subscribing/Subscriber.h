#pragma once
// Subscribing from the window: by address and by a list of subscriptions, in the background. Main thread.

#include "Host.h"
#include "WindowTexts.h"

#include <QObject>

#include <vector>

class QMimeData;

namespace vexa::host {

class ErrorInfo;

class Subscriber final : public QObject {
    Q_OBJECT
public:
    struct Choice {
        QString Address, Title;
    };
    struct Outcome {
        QString Address;
        HResult Code;  // as IVEXAMLSubscriptionEvents says
        QString Text;
        std::vector<Choice> Choices{};  // what the address leads to, where that is left to the user
    };

    explicit Subscriber(Host& host, QObject* parent = nullptr);

    /// Whether the storage that shows is one of subscriptions.
    bool CanSubscribe() const;
    bool IsBusy() const noexcept { return FRunning > 0; }

    /// Feeds by their addresses; files and text dropped on a window are addresses, too. A list of subscriptions among
    /// them is imported.
    void Subscribe(const QStringList& addresses);
    /// Both throw std::runtime_error, in the user's language, when the file cannot be read or written.
    void Import(const QString& fileName);
    void Export(const QString& fileName);

Q_SIGNALS:
    void Started();
    /// All that was asked for at once is done.
    void Finished(const std::vector<Subscriber::Outcome>& outcomes);

private:
    class Events;

    Ref<IVEXAMLSubscriptionStorage> Storage() const;
    Ref<Events> Begin();
    void End(const std::vector<Outcome>& outcomes);
    /// Throws what the storage said, or where it said nothing the window's text.
    [[noreturn]] void Fail(const ErrorInfo& error, const char* text, const QString& fileName) const;

    Host& FHost;
    int FRunning = 0;
    LinkSource<Subscriber> FLinks{this};
};

/// Why there is no new subscription, in the user's language; empty when there is one.
QString SubscriptionProblem(const Subscriber::Outcome& outcome, const WindowTexts& texts);
/// What became of subscribing, a line for each; but for what the user is asked about.
QString SubscriptionReport(const std::vector<Subscriber::Outcome>& outcomes, const WindowTexts& texts,
                           bool onlyProblems);

/// Whether `text` is an address as users write it: one with a scheme that can be opened, or a web address without one.
bool IsAddress(const QString& text);
/// The addresses in what is dragged over a window, or pasted: web addresses and the names of local files.
QStringList AddressesIn(const QMimeData& data);

}  // namespace vexa::host
