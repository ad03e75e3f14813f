#pragma once
// HTML's named entities in documents that call themselves XML and never declare them (&nbsp;, &eacute;, …).

#include "VEXA.Runtime.Export.h"

#include <string>

namespace vexa {

/// Replaces, in place and outside CDATA sections and comments, every HTML 4.01 named entity by its character, and every
/// reference to a character that XML forbids (&#0;) by U+FFFD. XML's own five entities stay for the XML reader.
VEXA_RUNTIME_API void ReplaceHtmlEntities(std::string& text);

}  // namespace vexa
