#pragma once
// A JSON file in the profile.

#include "VEXA.Runtime.Reason.h"

#include <QJsonObject>
#include <QString>

namespace vexa::host {

class JsonFile {
public:
    /// `contents` names the file's contents in reasons: "the playlists".
    JsonFile(const QString& fileName, const ReasonText& contents);

    /// Empty when there is no file or the file holds no list under `key`. A file without the list is damaged: it is
    /// renamed, with a warning, to its name and ".damaged" (followed by a number), so that the next Save does not
    /// destroy what a person might still rescue.
    QJsonObject Load(const QString& key);
    /// Writes a new file and renames it over the old one. Throws ReasonError when that fails. A damaged file
    /// that could not be renamed is never overwritten: then Save does nothing. Any thread, one at a time.
    void Save(const QByteArray& json) const;

private:
    void MoveAside(const QString& reason);

    const QString FFileName;
    const Reason FContents;
    bool FMayWrite = true;
};

}  // namespace vexa::host
