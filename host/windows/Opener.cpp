#include "Opener.h"

#include "FileInfo.h"
#include "SubscribeDialog.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUrl>

#include <stdexcept>

namespace vexa::host {

namespace {

const QString kEpisodeScheme = QStringLiteral("podcast");

/// In lower case; empty for the name of a file.
QString SchemeOf(const QString& address) {
    static const QRegularExpression scheme(QStringLiteral("^([A-Za-z][A-Za-z0-9+.-]+):"));
    return scheme.match(address).captured(1).toLower();
}

bool IsWeb(const QString& scheme) {
    return scheme == u"http" || scheme == u"https";
}

[[noreturn]] void Refuse(const QString& message) {
    throw std::runtime_error(message.toStdString());
}

}  // namespace

QString AddressFromArgument(const QString& argument, const QString& folder) {
    const QString text = argument.trimmed();
    const QString scheme = SchemeOf(text);
    if (scheme == kEpisodeScheme || scheme == u"feed" || IsWeb(scheme)) {
        const QUrl url(WebAddressOf(text));
        if (url.host().isEmpty()) Refuse(text + u" is no address: it names no server");
        return text;
    }
    const QString name = scheme == u"file" ? QUrl(text).toLocalFile() : argument;
    const QString file = name.isEmpty() ? QString() : QDir::cleanPath(QDir(folder).absoluteFilePath(name));
    if (QFileInfo info(file); !file.isEmpty() && info.exists()) {
        if (!info.isFile()) Refuse(file + u" is no file: name a feed or a list of subscriptions (OPML)");
        if (!info.isReadable()) Refuse(u"the file " + file + u" cannot be read");
        return file;
    }
    if (!scheme.isEmpty() && scheme != u"file")
        Refuse(text + u" cannot be opened: take podcast, feed, http, https and file addresses, and names of files");
    Refuse(u"there is no file " + (file.isEmpty() ? argument : file));
}

QString WebAddressOf(const QString& address) {
    const QString text = address.trimmed();
    const QString scheme = SchemeOf(text);
    if (scheme != kEpisodeScheme && scheme != u"feed") return text;
    const QString rest = text.sliced(scheme.size() + 1);
    if (IsWeb(SchemeOf(rest))) return rest;
    return u"https:" + (rest.startsWith(u"//") ? rest : QString(u"//" + rest));
}

Opener::Opener(Host& host, Subscriber& subscriber, QWidget& window)
    : FHost(host), FSubscriber(subscriber), FWindow(window), FTexts(host.Language()) {}

bool Opener::IsKnownEpisode(const QString& address) const {
    if (SchemeOf(address) != kEpisodeScheme) return false;
    const Ref<FileInfo> info(new FileInfo);
    return Succeeded(FHost.FileInfos().GetFileInfo(MakeString(address).Get(), 0, info.Get()));
}

void Opener::Open(const QStringList& addresses) {
    QStringList files, offered;
    QString played;
    for (const QString& given : addresses) {
        try {
            const QString address = AddressFromArgument(given, QDir::rootPath());
            if (IsKnownEpisode(address))
                played = played.isEmpty() ? address : played;
            else if (SchemeOf(address).isEmpty())
                files += address;
            else
                offered += WebAddressOf(address);
        } catch (const std::runtime_error& error) {
            Q_EMIT Failed(QString::fromUtf8(error.what()));
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
