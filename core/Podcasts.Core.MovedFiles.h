#pragma once
// Downloaded files whose folder has moved, such as with the whole music folder.

#include "Podcasts.Core.DB.h"

#include <QString>
#include <QStringList>

#include <map>

namespace podcasts {

/// The name that a file in `oldFolder`, at any depth, has in `newFolder`; empty for a file that is not in `oldFolder`,
/// and for one that is in `newFolder` already, if that is inside of `oldFolder`. The folders are absolute, and without
/// "." and "..".
QString NameInMovedFolder(const QString& fileName, const QString& oldFolder, const QString& newFolder);

struct TPodcastMovedFiles {
    std::map<QString, QString> Names;  // of the files that are there, new ones by old ones
    QStringList Missing;               // the old names of files that are not in the new folder
    QStringList Taken;                 // the old names of those that a row records under the new name already
};

/// Finds the files that rows record in `oldFolder`. Any thread; it waits for the disk.
TPodcastMovedFiles FindMovedFiles(TPodcastsDB& db, const QString& oldFolder, const QString& newFolder);
/// Records the new names of these files, by their old ones, in one transaction. Any thread.
void RecordMovedFiles(TPodcastsDB& db, const std::map<QString, QString>& names);

}  // namespace podcasts
