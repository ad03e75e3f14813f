#include "Opener.h"

#include "FileInfo.h"
#include "HostReasons.h"
#include "Installation.h"
#include "SubscribeDialog.h"
#include "VEXA.Runtime.Url.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUrl>

namespace vexa::host {

namespace {

/// The scheme of an address in lower case; empty when it has none.
QString SchemeOf(const QString& address) {
    static const QRegularExpression scheme(QStringLiteral("^([A-Za-z][A-Za-z0-9+.-]+):"));
    return scheme.match(address).captured(1).toLower();
}

/// Whether a text with a scheme names a server: "feed:https://h/f", "feed://h/f" and "feed:h/f" do.
bool NamesServer(const QString& address) {
    QString rest = address;
    while (!SchemeOf(rest).isEmpty() && !IsUrlWithoutScheme(rest)) rest = rest.sliced(rest.indexOf(u':') + 1);
    while (rest.startsWith(u'/')) rest.remove(0, 1);
    return !QUrl(u"https://" + rest).host().isEmpty();
}

[[noreturn]] void Refuse(const ReasonText& text, std::initializer_list<Reason> arguments) {
    throw ReasonError(Reason(text, arguments));
}

}  // namespace

QString AddressFromArgument(const QString& argument, const QString& folder) {
    const QString text = argument.trimmed();
    const QString scheme = SchemeOf(text);
    if (OpenedSchemes().contains(scheme)) {
        if (!NamesServer(text)) Refuse(HostReason("NoServer"), {text});
        return text;
    }
    const QString name = scheme == u"file" ? QUrl(text).toLocalFile() : argument;
    const QString file = name.isEmpty() ? QString() : QDir::cleanPath(QDir(folder).absoluteFilePath(name));
    if (QFileInfo info(file); !file.isEmpty() && info.exists()) {
        if (!info.isFile()) Refuse(HostReason("NoFeedFile"), {file});
        if (!info.isReadable()) Refuse(HostReason("NotReadable"), {file});
        return file;
    }
    if (IsUrlWithoutScheme(text)) return text;
    if (!scheme.isEmpty() && scheme != u"file")
        Refuse(HostReason("OtherAddress"), {text, OpenedSchemes().join(QStringLiteral(", "))});
    Refuse(HostReason("NoSuchFile"), {file.isEmpty() ? argument : file});
}

Opener::Opener(Host& host, Subscriber& subscriber, QWidget& window)
    : FHost(host), FSubscriber(subscriber), FWindow(window), FTexts(host.Language()) {}

bool Opener::IsKnownFile(const QString& address) const {
    if (!FHost.FileSystems().Find(SchemeOf(address))) return false;
    const Ref<FileInfo> info(new FileInfo);
    return Succeeded(FHost.FileInfos().GetFileInfo(MakeString(address).Get(), 0, info.Get()));
}

void Opener::Open(const QStringList& addresses) {
    QStringList files, offered;
    QString played;
    for (const QString& given : addresses) {
        try {
            const QString address = AddressFromArgument(given, QDir::rootPath());
            if (IsKnownFile(address))
                played = played.isEmpty() ? address : played;
            else if (QDir::isAbsolutePath(address))
                files += address;
            else
                offered += address;
        } catch (const ReasonError& error) {
            Q_EMIT Failed(FHost.Language().Text(error.Why()));
        }
    }
    if (!played.isEmpty()) Q_EMIT PlayWanted(played);
    if (files.isEmpty() && offered.isEmpty()) return;
    if (!FSubscriber.CanSubscribe()) return Q_EMIT Failed(FTexts("CannotSubscribe"));
    if (!files.isEmpty()) FSubscriber.Subscribe(files);
    if (!offered.isEmpty()) Offer(offered);
}

void Opener::Offer(const QStringList& addresses) {
    if (!FDialog) {
        FDialog = new SubscribeDialog(FTexts, FHost.Language(), &FWindow);
        connect(FDialog, &SubscribeDialog::Wanted, &FSubscriber, &Subscriber::Subscribe);
    }
    FDialog->Add(addresses);
    FDialog->open();
    FDialog->raise();
    FDialog->activateWindow();
}

}  // namespace vexa::host
