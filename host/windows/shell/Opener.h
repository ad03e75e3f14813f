#pragma once
// What the window is asked to open: arguments of the program, and what the desktop hands it. Main thread.
//
// A document of this machine goes where a drop of it goes. A file that a plug-in's file system knows is played. Any
// other address may come from a page that somebody clicked on, so it is only offered as a subscription.

#include "Subscriber.h"
#include "WindowTexts.h"

#include <QPointer>
#include <QWidget>

namespace vexa::host {

class SubscribeDialog;

/// An argument as an address to open: the absolute name of a file, or an address, which may lack its scheme where no
/// file has that name. A relative name is below `folder`. Throws std::runtime_error when there is no such file, or the
/// scheme is none that can be opened.
QString AddressFromArgument(const QString& argument, const QString& folder);

class Opener final : public QObject {
    Q_OBJECT
public:
    /// Dialogs belong to `window`, which goes after this.
    Opener(Host& host, Subscriber& subscriber, QWidget& window);

    /// As AddressFromArgument gives them, or as the desktop does.
    void Open(const QStringList& addresses);

Q_SIGNALS:
    void PlayWanted(const QString& address);
    void Failed(const QString& message);

private:
    bool IsKnownFile(const QString& address) const;
    void Offer(const QStringList& addresses);

    Host& FHost;
    Subscriber& FSubscriber;
    QWidget& FWindow;
    const WindowTexts FTexts;
    QPointer<SubscribeDialog> FDialog;
};

}  // namespace vexa::host
