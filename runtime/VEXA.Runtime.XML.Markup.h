#pragma once
// Splits a document that need not be well-formed into pieces. Part of VEXA.Runtime.XML.

#include <optional>
#include <string>
#include <string_view>

namespace vexa {

struct XmlPiece {
    enum class Kind {
        Text,       // includes everything that looks like markup but is not
        CData,      // with its delimiters
        Aside,      // a comment, a processing instruction, the document type
        StartTag,   // <name …>
        EmptyTag,   // <name …/>
        EndTag,     // </name>
        Unfinished  // a section cut off by the document's end
    };

    Kind What = Kind::Text;
    std::string_view Whole;
    std::string_view Name;        // the element's name, for the three kinds of tags
    std::string_view Attributes;  // of a StartTag or EmptyTag: pairs of a name and a quoted value, as written
};

/// Splits a text into adjacent pieces. Names of elements are ASCII. One pass, in linear time.
class XmlPieces {
public:
    explicit XmlPieces(std::string_view text) : FText(text) {}

    /// Nothing at the end of the text.
    [[nodiscard]] std::optional<XmlPiece> Next();

private:
    /// The markup that begins with the "<" at `begin`; a piece of text when it is not markup.
    XmlPiece MarkupAt(std::size_t begin) const;
    XmlPiece TagAt(std::size_t begin) const;
    XmlPiece Section(std::size_t begin, std::size_t from, std::string_view close, XmlPiece::Kind kind) const;
    XmlPiece DocumentType(std::size_t begin) const;

    std::string_view FText;
    std::size_t FAt = 0;
};

struct XmlAttribute {
    std::string_view Name;
    std::string_view Quoted;  // the value with its quotation marks
};

/// Removes the first pair from `attributes`; nothing when none is left.
std::optional<XmlAttribute> TakeXmlAttribute(std::string_view& attributes);

}  // namespace vexa
