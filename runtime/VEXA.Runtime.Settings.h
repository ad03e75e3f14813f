#pragma once
// The configuration file Settings.ini of a profile folder.
//
// Plain INI: "[Section]" lines and "Key=value" lines, UTF-8, Booleans as 1 and 0. A key path such as
// "Podcasts\CheckUpdates" is the key CheckUpdates of the section Podcasts. A value that begins or ends with a blank or
// a quote, or contains a line break or a control character, is written in double quotes with \\ \" \n \r \t and \xNNNN;
// every other value is written unchanged, backslashes included. Saving preserves comments, blank lines, the order of
// lines, and unknown keys.
//
// Several processes may use one file: saving reads it again under a lock, changes only the keys that this process has
// set to a value different from the one it had read, and replaces the file atomically.

#include "VEXA.Runtime.Export.h"

#include <QHash>
#include <QSet>
#include <QString>

#include <optional>

namespace vexa {

class VEXA_RUNTIME_API SettingsFile {
public:
    /// Reads the file; a missing file reads as empty. Throws std::runtime_error when the file cannot be read.
    explicit SettingsFile(const QString& fileName);

    /// The value; nothing when the file does not have the key. If another process sets such a key before the next Save,
    /// Save keeps that value: the value that the caller writes may be its own default, which is not known here.
    std::optional<QString> Find(const QString& keyPath);
    /// The keys that were read, with their values.
    const QHash<QString, QString>& Values() const noexcept { return FRead; }
    /// The value; the default when the file does not have the key.
    QString Read(const QString& keyPath, const QString& defaultValue);
    /// Remembers the value for the next Save. A value equal to the one that was read, or to the default that Read
    /// returned, leaves the file's key unchanged.
    void Write(const QString& keyPath, const QString& value);
    /// Has the next Save write the key's value even if it is the one that was read. For a value that the user has just
    /// asked for: a change that another process has made meanwhile must not survive it.
    void Insist(const QString& keyPath);

    /// Reads the values that other processes have set meanwhile; values remembered for the next Save are kept. Throws
    /// std::runtime_error.
    void Reload();
    /// Writes the remembered values, which count as read from then on. Throws std::runtime_error.
    void Save();
    bool HasChanges() const { return !FPending.isEmpty(); }
    /// To save on another thread, copy this object and save the copy there. Then call this function with `copied`, the
    /// state of this object when it was copied, and `saved`, the copy after its Save: the written values count as read,
    /// and values set in this object meanwhile are kept for the next Save.
    void TakeSaved(const SettingsFile& copied, const SettingsFile& saved);

    QString FileName() const { return FFileName; }

private:
    QString FFileName;
    QHash<QString, QString> FRead;     // key path to value, as this process read it (or the default that it was given)
    QHash<QString, QString> FPending;  // the values that Save has to write
    QSet<QString> FMissing;            // keys that Find looked for and the file did not have
};

/// The path of a profile folder's configuration file.
VEXA_RUNTIME_API QString SettingsFileName(const QString& profileFolder);

}  // namespace vexa
