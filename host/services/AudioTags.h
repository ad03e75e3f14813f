#pragma once
// What a local audio file says of itself. Any thread.

#include <QByteArray>
#include <QString>

#include <optional>

namespace vexa::host {

struct AudioTags {
    QString Title, Artist, Album, AlbumArtist, Genre, Comment, Copyright;
    QString Date;  // "yyyy.MM.dd" or its first parts
    int SampleRate = 0, Channels = 0;
    double Duration = 0;  // seconds
};

/// The name of a file of this machine: an absolute one, or a file address; empty for every other address.
QString LocalFileName(const QString& address);

/// Nothing when the file is missing, no regular file, or none that is known.
std::optional<AudioTags> ReadAudioTags(const QString& fileName);

/// The bytes of the picture that is embedded in the file, the front cover first; empty without one.
QByteArray ReadEmbeddedPicture(const QString& fileName);

}  // namespace vexa::host
