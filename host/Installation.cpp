#include "Installation.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace vexa::host {

namespace {

QString Find(const QString& built, const QString& installed) {
    const QDir program(QCoreApplication::applicationDirPath());
    return QDir::cleanPath(program.filePath(QFileInfo::exists(program.filePath(built)) ? built : installed));
}

}  // namespace

QString LanguageFolder() {
    // Look for English.lng, not for the folder: the prefix's bin folder may contain another program's folder "lang".
    return QFileInfo(Find(QStringLiteral("lang/English.lng"), QStringLiteral("../share/vexa/lang/English.lng"))).path();
}

QString PodcastsPlugin() {
    return Find(QStringLiteral("libPodcasts.so"), QStringLiteral("../lib/vexa/plugins/libPodcasts.so"));
}

QStringList OpenedSchemes() {
    return {QStringLiteral("podcast"), QStringLiteral("feed"), QStringLiteral("itpc"),
            QStringLiteral("pcast"),   QStringLiteral("http"), QStringLiteral("https")};
}

}  // namespace vexa::host
