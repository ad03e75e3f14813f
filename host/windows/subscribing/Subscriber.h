#pragma once
// Subscribes from the window, to addresses and to lists of subscriptions, in the background. Main thread.

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
        std::vector<Choice> Choices{};  // the feeds that the address leads to, if the user has to choose
    };

    explicit Subscriber(Host& host, QObject* parent = nullptr);

    /// Whether the active storage manages subscriptions.
    bool CanSubscribe() const;
    bool IsBusy() const noexcept { return FRunning > 0; }

    /// Subscribes to addresses, which include file names and text dropped on a window. A list of subscriptions among
    /// them is imported.
    void Subscribe(const QStringList& addresses);
    /// Both throw std::runtime_error, in the user's language, when the file cannot be read or written.
    void Import(const QString& fileName);
    void Export(const QString& fileName);

Q_SIGNALS:
    void Started();
    /// One call of Subscribe or Import has been completed.
    void Finished(const std::vector<Subscriber::Outcome>& outcomes);

private:
    class Events;

    Ref<IVEXAMLSubscriptionStorage> Storage() const;
    Ref<Events> Begin();
    void End(const std::vector<Outcome>& outcomes);
    /// Throws std::runtime_error with the storage's message, or if there is none, with the window's text `text`.
    [[noreturn]] void Fail(const ErrorInfo& error, const char* text, const QString& fileName) const;

    Host& FHost;
    int FRunning = 0;
    LinkSource<Subscriber> FLinks{this};
};

/// Why the outcome is not a new subscription, in the user's language; empty when it is one.
QString SubscriptionProblem(const Subscriber::Outcome& outcome, const WindowTexts& texts);
/// The outcomes as text, one per line, without those that the user is asked about.
QString SubscriptionReport(const std::vector<Subscriber::Outcome>& outcomes, const WindowTexts& texts,
                           bool onlyProblems);

/// What a text in the field for a name or an address can be: "serial.com" and "AC/DC" can be both.
struct EnteredText {
    bool IsAddress = false, IsWords = false;
};
EnteredText ReadEntered(const QString& text);
/// Whether `text` is an address as users write it: one with a scheme that can be opened, or a web address without one.
bool IsAddress(const QString& text);
/// The addresses in data that is dragged or pasted: web addresses and the names of local files.
QStringList AddressesIn(const QMimeData& data);

}  // namespace vexa::host
