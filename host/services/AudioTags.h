#pragma once
// The tags and properties of a local audio file. Any thread.

#include <QByteArray>
#include <QString>

#include <optional>

namespace vexa::host {

struct AudioTags {
    QString Title, Artist, Album, AlbumArtist, Genre, Comment, Copyright;
    QString Date;  // "yyyy.MM.dd", "yyyy.MM" or "yyyy"
    int SampleRate = 0, Channels = 0;
    double Duration = 0;  // seconds
};

/// The file name that an address means: that of a file: URL, or the address itself when it is an absolute file name.
/// Empty for any other address.
QString LocalFileName(const QString& address);

/// Nothing when the file is missing, not a regular file, or of an unknown format.
std::optional<AudioTags> ReadAudioTags(const QString& fileName);

/// The bytes of the picture embedded in the file, preferably of the front cover; empty when there is none.
QByteArray ReadEmbeddedPicture(const QString& fileName);

}  // namespace vexa::host
