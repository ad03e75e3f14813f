#pragma once
// Reading a document that is not well-formed as far as it makes sense. Part of VEXA.Runtime.XML.

#include <pugixml.hpp>
#include <string_view>

namespace vexa {

/// Reads `text` (UTF-8, HTML's entities replaced) into `tree` with libxml2's recovering reader. False when the text was
/// cut off, or is too far from XML for the reader to get to its end.
///
/// A text that was not cut off ends with the end tag of its root, comments and white space aside. That tag counts only
/// if no element that holds text is open there: else it stands in the middle of an item's notes.
///
/// The text is prepared for the reader, which on its own drops much of what it stumbles over. What only looks like
/// markup becomes text. An end tag closes the nearest element of its name and all elements left open inside that one;
/// an end tag without an element becomes text, too. An RSS item ends where the next one begins. Document types and the
/// entities that they declare are left out, and nothing is fetched.
[[nodiscard]] bool RecoverXml(std::string_view text, pugi::xml_document& tree);

}  // namespace vexa
