#pragma once
// The player's files in the profile: positions, the settings of podcasts, playlists. The engine does not know what they
// mean. It only takes them along with the library: it joins their lists by the members that name an entry, and replaces
// names of files that have moved.

#include <QJsonObject>
#include <QString>

#include <functional>
#include <vector>

namespace podcasts {

/// The files of the profile that are there, by their names. Throws std::runtime_error for one that cannot be read.
QJsonObject ReadProfileFiles(const QString& profileFolder);

/// What JoinProfileFiles has done with a file.
struct TPodcastJoinedFile {
    QString Name;
    int Added = 0;     // entries
    int Replaced = 0;  // entries that are older in the profile
};

/// Joins `taken` with the files of the profile. A file that is missing is written; entries that are missing in a list
/// of a file are added at its end, and entries that the profile has stay, unless both say when they were written, and
/// the profile's is the older one. A file of another name is ignored. Do not call this while a player has the
/// profile open, since it would overwrite the files. Returns what has changed. Throws std::runtime_error.
std::vector<TPodcastJoinedFile> JoinProfileFiles(const QString& profileFolder, const QJsonObject& taken);

/// Replaces the names of files in all entries: `moved` returns the new name, or an empty text for a name that stays.
/// Returns the number of names replaced. With `isDryRun` nothing is written. The same conditions as above.
int MoveProfileFileNames(const QString& profileFolder, const std::function<QString(const QString& fileName)>& moved,
                         bool isDryRun);

}  // namespace podcasts
