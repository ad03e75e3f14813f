#pragma once
// Parses a whole document into a tree of elements.
//
// VEXA.Runtime.Encoding determines the encoding. White space before the declaration, HTML's named entities (&nbsp;),
// bare ampersands, and characters that XML forbids are tolerated, since real documents have them; nothing is ever
// fetched and no declared entity is expanded. A document below 8 MiB with other errors is recovered if its end is there
// (VEXA.Runtime.XML.Recovery). A document that was cut off is an error; it is never read as a shorter one. A document
// with too many elements is refused before it takes memory.

#include "VEXA.Runtime.Export.h"
#include "VEXA.Runtime.Reason.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <string_view>

namespace pugi {
class xml_document;
struct xml_node_struct;
}  // namespace pugi

namespace vexa {

/// The reason says what is wrong with a document and where ("line 12, column 7: …").
class VEXA_RUNTIME_API XmlError : public ReasonError {
public:
    using ReasonError::ReasonError;
    XmlError(const XmlError&) = default;
    ~XmlError() override;
};

/// One element, or no element: every look-up on no element returns none. Valid as long as its document. Names are as
/// written, namespace prefix included, and are compared exactly.
class VEXA_RUNTIME_API XmlNode {
public:
    XmlNode() = default;

    explicit operator bool() const noexcept { return FNode != nullptr; }
    std::string_view Name() const noexcept;
    /// All direct text and CDATA of the element, joined in order.
    QString Text() const;
    /// The text with the markup of the elements in it, for HTML that was not escaped: "<p>Hello</p>". For an element
    /// without child elements the same as Text.
    QString Markup() const;
    /// The text of the element and of all elements inside it, joined in order.
    QString DeepText() const;
    /// The attribute's value; empty when absent.
    QString Attribute(const char* name) const;
    /// The same in UTF-8, without a copy.
    std::string_view AttributeBytes(const char* name) const noexcept;
    bool AttributeIs(const char* name, std::string_view value) const noexcept;

    /// The first direct child element of that name.
    XmlNode FindChild(const char* name) const noexcept;
    QString ChildText(const char* name) const { return FindChild(name).Text(); }
    /// The child's text as an integer; 0 when it is not an integer.
    qint64 ChildInteger(const char* name) const;

    /// Direct child elements in document order: `for (XmlNode child : node)`.
    class Iterator {
    public:
        explicit Iterator(pugi::xml_node_struct* node) noexcept : FNode(node) {}
        XmlNode operator*() const noexcept { return XmlNode(FNode); }
        VEXA_RUNTIME_API Iterator& operator++() noexcept;
        bool operator==(const Iterator&) const noexcept = default;

    private:
        pugi::xml_node_struct* FNode;
    };
    Iterator begin() const noexcept;
    Iterator end() const noexcept { return Iterator(nullptr); }

private:
    friend class XmlDocument;
    explicit XmlNode(pugi::xml_node_struct* node) noexcept : FNode(node) {}
    pugi::xml_node_struct* FNode = nullptr;
};

/// Owns the tree.
class VEXA_RUNTIME_API XmlDocument {
public:
    /// `charset`: the encoding named by the transport; may be empty. Throws XmlError.
    explicit XmlDocument(const QByteArray& bytes, const QString& charset = {});
    ~XmlDocument();
    XmlDocument(const XmlDocument&) = delete;
    XmlDocument& operator=(const XmlDocument&) = delete;

    /// The document node, whose child is the root element.
    XmlNode Node() const noexcept;
    /// The first element found by following a path of names from the document node.
    XmlNode FindPath(std::initializer_list<const char*> names) const noexcept;

    /// Whether the document was not well-formed: parts of it may be missing, or not where the author meant them to be.
    bool IsRecovered() const noexcept { return FIsRecovered; }
    /// How many start tags of that name, or what looks like such a tag, the text of a recovered document has.
    std::size_t CountStartTags(std::string_view name) const;

private:
    std::string FText;  // the tree points into this text, unless the document was recovered
    bool FIsRecovered = false;
    std::unique_ptr<pugi::xml_document> FTree;
};

}  // namespace vexa
