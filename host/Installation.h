#pragma once
// Where the program's own files are (beside the program in a build folder, in the prefix's folders once installed), the
// plug-in that comes with it, and the addresses that the desktop hands it. Any thread; needs a QCoreApplication.

#include <QString>
#include <QStringList>

namespace vexa::host {

/// The folder of the language files.
QString LanguageFolder();
/// The file name of the podcasts plug-in, whether or not the file exists.
QString PodcastsPlugin();
/// The schemes of the addresses that the program opens, in lower case: those of its desktop entry, and http and https.
QStringList OpenedSchemes();

}  // namespace vexa::host
