#pragma once
// A file of the profile that the host keeps as JSON.

#include <QJsonObject>
#include <QString>

namespace vexa::host {

class JsonFile {
public:
    /// `what` names its contents in messages: "the playlists".
    JsonFile(const QString& fileName, const QString& what);

    /// Empty when there is no file, or when it holds no list under `key`. Such a damaged one is moved aside, with a
    /// warning, under its name and ".damaged" (and a number behind that), so that the next Save does not destroy what a
    /// person might still rescue.
    QJsonObject Load(const QString& key);
    /// Writes it whole and renames it. Throws std::runtime_error when it cannot. Nothing is written over a damaged file
    /// that could not be moved. Any thread, one at a time.
    void Save(const QByteArray& json) const;

private:
    void MoveAside(const QString& reason);

    const QString FFileName, FWhat;
    bool FMayWrite = true;
};

}  // namespace vexa::host
