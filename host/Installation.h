#pragma once
// What belongs to the program as it is installed: where its own files lie (beside it where it was built, in the
// prefix's folders where it is installed), the plug-in that it comes with, and what the desktop hands it. Any thread,
// with a QCoreApplication.

#include <QString>
#include <QStringList>

namespace vexa::host {

/// The folder of the language files.
QString LanguageFolder();
/// The file name of the podcasts' plug-in, whether or not it is there.
QString PodcastsPlugin();
/// The schemes of the addresses that it opens: those of its desktop entry, and the web's. In lower case.
QStringList OpenedSchemes();

}  // namespace vexa::host
