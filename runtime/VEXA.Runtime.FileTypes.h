#pragma once
// Tells a file's type by its MIME type, its name, or its first bytes.

#include "VEXA.Runtime.Export.h"

#include <QByteArrayView>
#include <QString>

namespace vexa {

/// The extension, with its dot, registered for a MIME type ("audio/mpeg": ".mp3"); empty for an unknown type.
VEXA_RUNTIME_API QString ExtensionOfMimeType(const QString& mimeType);

/// The extension of a file's name, with its dot, if it is that of a known file type: ".mp3" for "a.mp3", empty for
/// "Chapter 3.141".
VEXA_RUNTIME_API QString KnownExtension(const QString& fileName);

/// Whether an extension, with its dot and in any letter case, is that of an audio or video format.
VEXA_RUNTIME_API bool IsMediaExtension(const QString& extension);

/// Whether a resource is audio or video: by its MIME type, or, where that is missing or unspecific
/// (application/octet-stream), by the extension of its address.
VEXA_RUNTIME_API bool IsMedia(const QString& mimeType, const QString& address);

/// Whether a MIME type is one that servers send for files of unknown type.
VEXA_RUNTIME_API bool IsUnspecificMimeType(const QString& mimeType);

/// Whether `bytes` begin like a common audio or video format: ID3, MPEG audio, Ogg, FLAC, RIFF, MP4 or Matroska.
VEXA_RUNTIME_API bool BeginsLikeMedia(QByteArrayView bytes) noexcept;

/// Whether `bytes` begin like an HTML page (WHATWG MIME Sniffing, 7.1, plus the tags with which a page without <html>
/// begins), after optional white space, an XML declaration and comments.
VEXA_RUNTIME_API bool BeginsLikeHtmlPage(QByteArrayView bytes) noexcept;

}  // namespace vexa
