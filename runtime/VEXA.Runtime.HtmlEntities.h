#pragma once
// HTML's named entities (&nbsp;, &eacute;, …) in documents that claim to be XML but do not declare them.

#include "VEXA.Runtime.Export.h"

#include <string>

namespace vexa {

/// Replaces, in place and outside CDATA sections and comments, every HTML 4.01 named entity by its character, and every
/// reference to a character that XML forbids (&#0;) by U+FFFD. XML's own five entities are left for the XML reader.
VEXA_RUNTIME_API void ReplaceHtmlEntities(std::string& text);

}  // namespace vexa
