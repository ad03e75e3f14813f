#pragma once
// Converts an XML document from any encoding to UTF-8.

#include "VEXA.Runtime.Export.h"

#include <QString>

#include <string>
#include <string_view>

namespace vexa {

/// The document as UTF-8 without a byte-order mark. The encoding is taken from a byte-order mark, else from the XML
/// declaration, else from `charset` (of the response's Content-Type; may be empty), else it is UTF-8. Every encoding
/// known to ICU is decoded; an unknown name is skipped in favour of the next source. ISO-8859-1 is read as
/// windows-1252, as browsers do (WHATWG Encoding, 4.2).
///
/// A document that is valid UTF-8 with some non-ASCII characters is read as UTF-8, even if its declaration names a
/// single-byte encoding, or the transport any other encoding. If a document is declared as UTF-8 and has a few invalid
/// bytes, each of these becomes U+FFFD; if it is invalid throughout, it is read as windows-1252.
VEXA_RUNTIME_API std::string DecodeXml(std::string_view bytes, const QString& charset = {});

/// Whether `bytes` are well-formed UTF-8 (RFC 3629).
VEXA_RUNTIME_API bool IsUtf8(std::string_view bytes) noexcept;

}  // namespace vexa
