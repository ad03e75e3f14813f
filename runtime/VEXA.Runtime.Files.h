#pragma once
// File names, standard folders and the desktop's trash.

#include "VEXA.Runtime.Export.h"

#include <QString>

namespace vexa {

/// Turns `text` into one component of a file name: without delimiters, control and reserved characters, without leading
/// and trailing blanks and dots, never a device name, at most 200 bytes of UTF-8 with its extension kept. Never "." or
/// ".."; empty when nothing is left.
VEXA_RUNTIME_API QString ToFileNameComponent(const QString& text);

/// Shortens a component to `maxBytes` of UTF-8, keeping its extension (the part after the last dot, if that has at most
/// 10 characters).
VEXA_RUNTIME_API QString ClampComponent(const QString& component, qsizetype maxBytes);

/// The part after the last "/" or "\"; the whole text when there is neither.
VEXA_RUNTIME_API QString ExtractFileName(const QString& path);
/// The extension of the last component with its leading dot (".mp3"); empty when there is none.
VEXA_RUNTIME_API QString ExtractFileExt(const QString& path);

/// The format of an address or file name: the extension of its last path segment, in capitals and without the dot
/// ("MP3"). Query and fragment are ignored. Empty when there is no extension.
VEXA_RUNTIME_API QString FileFormat(const QString& addressOrFile);

/// Whether `text` matches one of the masks ("*.xml;*.rss"), ignoring letter case.
VEXA_RUNTIME_API bool MatchesFileMask(const QString& text, const QString& masks);

/// Whether a regular file of that name exists, symbolic links followed.
VEXA_RUNTIME_API bool FileExists(const QString& fileName);

/// Whether an open file still has this name (as QFile::encodeName gives it): it may have been renamed or deleted, and
/// another one created in its place.
[[nodiscard]] VEXA_RUNTIME_API bool IsFileNamed(int descriptor, const QByteArray& name) noexcept;

/// A file in the desktop's trash.
struct TrashedFile {
    QString FileName;     // where it was
    QString InTrash;      // where it is; empty when it was missing before
    quint64 Inode = 0;    // with the next: tells it from a later file of the same name in the trash
    qint64 Modified = 0;  // ns
};

/// Moves a file to the desktop's trash. True when the file is gone, also if it was missing before; false when there is
/// no trash for the file, which then stays where it is; a warning is logged.
[[nodiscard]] VEXA_RUNTIME_API bool MoveToRecycleBin(const QString& fileName, TrashedFile* trashed = nullptr);
/// Moves a file back from the trash. False when it is not there any more, when another file has its name by now, or
/// when it cannot be moved; nothing is changed then.
[[nodiscard]] VEXA_RUNTIME_API bool RestoreFromRecycleBin(const TrashedFile& trashed);

/// `folder` with a delimiter at its end, added unless it has one already.
VEXA_RUNTIME_API QString WithTrailingDelimiter(const QString& folder);
/// The user's music folder, ending in a delimiter.
VEXA_RUNTIME_API QString MusicFolder();
/// The profile folder that programs use unless they are given another one: "vexa" in the user's data folder.
VEXA_RUNTIME_API QString DefaultProfileFolder();

}  // namespace vexa
