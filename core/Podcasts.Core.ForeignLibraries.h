#pragma once
// Reads the libraries of other podcast programs from their databases: gPodder's `Database` (schemas 1 to 8), and the
// file that AntennaPod's "Database export" writes. Columns that a schema does not have count as empty, so that older
// and newer ones can be read.

#include "Podcasts.Core.TakenFeed.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <vector>

namespace podcasts {

struct TPodcastForeignLibrary {
    qint64 Schema = 0;  // its number
    std::vector<TPodcastTakenFeed> Feeds;
    QJsonObject ProfileFiles;  // positions and what plays next, as JoinProfileFiles takes them
    QStringList NotTaken;      // in words: what the database holds and this system has no place for
};

/// The names by which ReadForeignLibrary knows the programs.
QStringList ForeignPrograms();

/// Reads a copy of the database, which itself is only copied. Throws TPodcastLibraryError for a file that is not such a
/// database, is damaged, or has more than 1 GiB. Any thread.
TPodcastForeignLibrary ReadForeignLibrary(const QString& program, const QString& fileName);

}  // namespace podcasts
