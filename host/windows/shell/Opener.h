#pragma once
// Opens what the program was given as arguments or by the desktop. Main thread.
//
// A local document is treated as if it had been dropped on the window. A file that a plug-in's file system knows is
// played. Any other address may come from a link that somebody clicked on, so it is only offered as a subscription.

#include "Subscriber.h"
#include "WindowTexts.h"

#include <QPointer>
#include <QWidget>

namespace vexa::host {

class SubscribeDialog;

/// Converts an argument to an address to open: the absolute name of a file, or an address. An address may lack its
/// scheme if no file has that name. Relative file names are resolved against `folder`. Throws ReasonError when
/// there is no such file, or the scheme cannot be opened.
QString AddressFromArgument(const QString& argument, const QString& folder);

class Opener final : public QObject {
    Q_OBJECT
public:
    /// `window` is the parent of the dialogs; it outlives this.
    Opener(Host& host, Subscriber& subscriber, QWidget& window);

    /// Opens addresses from AddressFromArgument or from the desktop.
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
