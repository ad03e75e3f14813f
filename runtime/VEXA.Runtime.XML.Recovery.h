#pragma once
// Reads as much as makes sense of a document that is not well-formed. Part of VEXA.Runtime.XML.

#include <pugixml.hpp>
#include <string_view>

namespace vexa {

/// Reads `text` (UTF-8, HTML's entities replaced) into `tree` with libxml2's recovering parser. False when the text was
/// cut off, or is too far from XML for the parser to reach its end.
///
/// A text counts as complete when it ends with the end tag of its root, followed only by comments and white space. The
/// tag counts only if no element that contains text is open there: otherwise it is in the middle of an item's notes.
///
/// The text is prepared for the parser, which on its own drops much of what it does not understand. Anything that only
/// looks like markup becomes text. An end tag closes the nearest element of its name and all elements left open inside
/// that one; an end tag without an element becomes text, too. An RSS item ends where the next one begins. Document
/// types and the entities that they declare are left out, and nothing is fetched.
[[nodiscard]] bool RecoverXml(std::string_view text, pugi::xml_document& tree);

}  // namespace vexa
