#pragma once
// Where the program's own files lie: beside it where it was built, in the prefix's folders where it is installed. Any
// thread, with a QCoreApplication.

#include <QString>

namespace vexa::host {

/// The folder of the language files.
QString LanguageFolder();
/// The file name of the podcasts' plug-in, whether or not it is there.
QString PodcastsPlugin();

}  // namespace vexa::host
