#pragma once
// The configuration file Settings.ini of a profile folder.
//
// Plain INI: "[Section]" lines and "Key=value" lines, UTF-8, Booleans as 1 and 0. A key path such as
// "Podcasts\CheckUpdates" is the key CheckUpdates of the section Podcasts. A value that begins or ends with a blank or
// a quote, or holds a line break or a control character, is written in double quotes with \\ \" \n \r \t and \xNNNN;
// every other value stands as it is, back slashes included. Comments, blank lines, order and unknown keys survive.
//
// Several processes may use one file: saving reads it again under a lock, changes only the keys that this process set
// to something else than what it had read, and replaces the file in one step.

#include "VEXA.Runtime.Export.h"

#include <QHash>
#include <QSet>
#include <QString>

#include <optional>

namespace vexa {

class VEXA_RUNTIME_API SettingsFile {
public:
    /// Reads the file; one that does not exist is empty. Throws std::runtime_error when it cannot be read.
    explicit SettingsFile(const QString& fileName);

    /// The value; nothing when the file does not hold the key. What another process sets such a key to meanwhile stays:
    /// the caller's own default, which is not known here, must not be written over it.
    std::optional<QString> Find(const QString& keyPath);
    /// The value; the default when the file does not hold the key.
    QString Read(const QString& keyPath, const QString& defaultValue);
    /// Remembers the value for the next Save. A value equal to the one that was read, a default included, leaves the
    /// file's key alone.
    void Write(const QString& keyPath, const QString& value);

    /// Takes over what other processes have set meanwhile; what was remembered for the next Save stays. Throws
    /// std::runtime_error.
    void Reload();
    /// Writes what was remembered, which counts as read from then on. Throws std::runtime_error.
    void Save();
    bool HasChanges() const { return !FPending.isEmpty(); }
    /// Another thread may save a copy of this object: `copied` is the object as it was then, `saved` the copy after its
    /// Save. What was written counts as read; what was set here meanwhile stays for the next Save.
    void TakeSaved(const SettingsFile& copied, const SettingsFile& saved);

    QString FileName() const { return FFileName; }

private:
    QString FFileName;
    QHash<QString, QString> FRead;     // key path to value, as this process found it (or took it to be)
    QHash<QString, QString> FPending;  // what Save is to write
    QSet<QString> FMissing;            // looked for, not there, without a default
};

/// The file of a profile folder.
VEXA_RUNTIME_API QString SettingsFileName(const QString& profileFolder);

}  // namespace vexa
