#pragma once
// What a file is: by the MIME type that somebody names, by its name, by its first bytes.

#include "VEXA.Runtime.Export.h"

#include <QByteArrayView>
#include <QString>

namespace vexa {

/// The extension, with its dot, registered for a MIME type ("audio/mpeg": ".mp3"); empty for an unknown type.
VEXA_RUNTIME_API QString ExtensionOfMimeType(const QString& mimeType);

/// The extension of a file's name with its dot, if it names a type of files: ".mp3" of "a.mp3", nothing of
/// "Chapter 3.141".
VEXA_RUNTIME_API QString KnownExtension(const QString& fileName);

/// Whether an extension, with its dot and in any letter case, is that of an audio or video format.
VEXA_RUNTIME_API bool IsMediaExtension(const QString& extension);

/// Whether something is audio or video, by its MIME type; by the extension of its address where there is no type, or
/// one that says nothing (application/octet-stream).
VEXA_RUNTIME_API bool IsMedia(const QString& mimeType, const QString& address);

/// Whether a MIME type is one that servers use for what they know nothing about.
VEXA_RUNTIME_API bool IsUnspecificMimeType(const QString& mimeType);

/// Whether a file begins as the usual audio and video formats do: ID3, MPEG audio, Ogg, FLAC, RIFF, MP4 and Matroska.
VEXA_RUNTIME_API bool BeginsLikeMedia(QByteArrayView bytes) noexcept;

/// Whether a file begins as an HTML page does (WHATWG MIME Sniffing, 7.1, and tags that pages leave out <html> for):
/// after white space, an XML declaration and comments.
VEXA_RUNTIME_API bool BeginsLikeHtmlPage(QByteArrayView bytes) noexcept;

}  // namespace vexa
