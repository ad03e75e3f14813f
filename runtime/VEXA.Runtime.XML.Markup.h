#pragma once
// The pieces of a document that need not be well-formed. Part of VEXA.Runtime.XML.

#include <optional>
#include <string>
#include <string_view>

namespace vexa {

struct XmlPiece {
    enum class Kind {
        Text,       // also everything that looks like markup and is none
        CData,      // with its delimiters
        Aside,      // a comment, a processing instruction, the document type
        StartTag,   // <name …>
        EmptyTag,   // <name …/>
        EndTag,     // </name>
        Unfinished  // a section that the document's end cuts off
    };

    Kind What = Kind::Text;
    std::string_view Whole;
    std::string_view Name;        // of an element
    std::string_view Attributes;  // of a StartTag or EmptyTag: pairs of a name and a quoted value, as written
};

/// Cuts a text into pieces, each right behind the last. Names of elements are ASCII. One pass, in linear time.
class XmlPieces {
public:
    explicit XmlPieces(std::string_view text) : FText(text) {}

    /// Nothing at the end of the text.
    [[nodiscard]] std::optional<XmlPiece> Next();

private:
    /// The markup that begins at `begin`, where a "<" stands. Text when it is none.
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

/// Takes the first pair off `attributes`; nothing when none is left.
std::optional<XmlAttribute> TakeXmlAttribute(std::string_view& attributes);

}  // namespace vexa
