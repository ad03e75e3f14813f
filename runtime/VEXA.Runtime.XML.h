#pragma once
// A document's tree of elements, read whole.
//
// Encodings are told apart by VEXA.Runtime.Encoding. Real documents are forgiven white space before the declaration,
// HTML's named entities (&nbsp;), bare ampersands, and characters that XML forbids; nothing is ever fetched and no
// declared entity is expanded. A document below 8 MiB that is not well-formed beyond that is recovered, if its end is
// there (VEXA.Runtime.XML.Recovery); a document that is cut off is an error, never a short one. One with too many
// elements is refused before it takes memory.

#include "VEXA.Runtime.Export.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <stdexcept>
#include <string_view>

namespace pugi {
class xml_document;
struct xml_node_struct;
}  // namespace pugi

namespace vexa {

/// What is wrong with a document and where ("line 12, column 7: …").
class VEXA_RUNTIME_API XmlError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    XmlError(const XmlError&) = default;
    ~XmlError() override;
};

/// One element, or no element: every look-up on none gives none. Refers into its document. Names are as written,
/// namespace prefix included, and compare exactly.
class VEXA_RUNTIME_API XmlNode {
public:
    XmlNode() = default;

    explicit operator bool() const noexcept { return FNode != nullptr; }
    std::string_view Name() const noexcept;
    /// All direct text and CDATA of the element, joined in order.
    QString Text() const;
    /// The text with the elements that stand in it: "<p>Hello</p>" for HTML that was not escaped. Plain text is as it
    /// is in Text.
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
    /// The child's text as a whole number; 0 when it is none.
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
    /// `charset`: what the transport said about the encoding, may be empty. Throws XmlError.
    explicit XmlDocument(const QByteArray& bytes, const QString& charset = {});
    ~XmlDocument();
    XmlDocument(const XmlDocument&) = delete;
    XmlDocument& operator=(const XmlDocument&) = delete;

    /// The element whose child is the root element.
    XmlNode Node() const noexcept;
    /// The first element along a path of names from the document.
    XmlNode FindPath(std::initializer_list<const char*> names) const noexcept;

    /// Whether the document is not well-formed: some of it may be missing, or in another place than was meant.
    bool IsRecovered() const noexcept { return FIsRecovered; }
    /// How often a recovered document's text has a start tag of that name, or what looks like one.
    std::size_t CountStartTags(std::string_view name) const;

private:
    std::string FText;  // the tree points into it, unless it is recovered
    bool FIsRecovered = false;
    std::unique_ptr<pugi::xml_document> FTree;
};

}  // namespace vexa
