#pragma once
// From the bytes of an XML document, in whatever encoding, to UTF-8.

#include "VEXA.Runtime.Export.h"

#include <QString>

#include <string>
#include <string_view>

namespace vexa {

/// The document as UTF-8 without a byte-order mark. The encoding is told by a byte-order mark, else by the XML
/// declaration, else by `charset` (from the response's Content-Type; may be empty), else it is UTF-8. Anything ICU
/// knows is decoded; an unknown name falls through to the next source. ISO-8859-1 is read as windows-1252, as browsers
/// do (WHATWG Encoding, 4.2).
///
/// A text that is UTF-8 and not only ASCII is UTF-8, even if its declaration names an encoding of single bytes, or the
/// transport any other. In one that is said to be UTF-8 and has some broken bytes, each of these becomes U+FFFD; one
/// whose bytes are broken throughout is read as windows-1252.
VEXA_RUNTIME_API std::string DecodeXml(std::string_view bytes, const QString& charset = {});

/// Whether `bytes` are well-formed UTF-8 (RFC 3629).
VEXA_RUNTIME_API bool IsUtf8(std::string_view bytes) noexcept;

}  // namespace vexa
