#include "VEXA.Runtime.XML.h"

#include "VEXA.Runtime.Encoding.h"
#include "VEXA.Runtime.HtmlEntities.h"
#include "VEXA.Runtime.Text.h"

#include <algorithm>
#include <pugixml.hpp>

namespace vexa {

namespace {

bool IsTextNode(const pugi::xml_node& node) {
    return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

pugi::xml_node FirstElement(pugi::xml_node node) {
    while (node && node.type() != pugi::node_element) node = node.next_sibling();
    return node;
}

/// Control characters that no XML document may hold (XML 1.0, production 2) become blanks: a stray one in a feed's
/// text is no reason to lose the feed, and a NUL would cut the text short.
void BlankForbiddenCharacters(std::string& text) {
    for (char& c : text) {  // without a branch, so that the compiler can take many at once
        const bool forbidden = (static_cast<unsigned char>(c) < 0x20) & (c != '\t') & (c != '\n') & (c != '\r');
        c = forbidden ? ' ' : c;
    }
}

std::string_view Trimmed(std::string_view text) {
    const auto begin = text.find_first_not_of(" \t\r\n");
    return begin == std::string_view::npos ? std::string_view() : text.substr(begin);
}

std::string Where(std::string_view text, std::ptrdiff_t offset) {
    const auto before = text.substr(0, static_cast<std::size_t>(std::max<std::ptrdiff_t>(offset, 0)));
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const auto newline = before.rfind('\n');
    const auto column = before.size() - (newline == std::string_view::npos ? 0 : newline + 1) + 1;
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

}  // namespace

XmlError::~XmlError() = default;

std::string_view XmlNode::Name() const noexcept {
    return pugi::xml_node(FNode).name();
}

QString XmlNode::Text() const {
    const pugi::xml_node node(FNode);
    pugi::xml_node first;
    for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
        if (!IsTextNode(child)) continue;
        if (!first) {
            first = child;
            continue;
        }
        // Several pieces, which is rare: start over and join them.
        std::string joined;
        for (pugi::xml_node piece = first; piece; piece = piece.next_sibling())
            if (IsTextNode(piece)) joined += piece.value();
        return FromUtf8(joined);
    }
    return first ? FromUtf8(first.value()) : QString();
}

QString XmlNode::Attribute(const char* name) const {
    return FromUtf8(pugi::xml_node(FNode).attribute(name).value());
}

bool XmlNode::AttributeIs(const char* name, std::string_view value) const noexcept {
    return pugi::xml_node(FNode).attribute(name).value() == value;
}

XmlNode XmlNode::FindChild(const char* name) const noexcept {
    return XmlNode(pugi::xml_node(FNode).child(name).internal_object());
}

qint64 XmlNode::ChildInteger(const char* name) const {
    return ChildText(name).trimmed().toLongLong();
}

XmlNode::Iterator XmlNode::begin() const noexcept {
    return Iterator(FirstElement(pugi::xml_node(FNode).first_child()).internal_object());
}

XmlNode::Iterator& XmlNode::Iterator::operator++() noexcept {
    FNode = FirstElement(pugi::xml_node(FNode).next_sibling()).internal_object();
    return *this;
}

XmlDocument::XmlDocument(const QByteArray& bytes, const QString& charset)
    : FText(DecodeXml({bytes.constData(), static_cast<std::size_t>(bytes.size())}, charset)),
      FTree(std::make_unique<pugi::xml_document>()) {
    BlankForbiddenCharacters(FText);
    ReplaceHtmlEntities(FText);
    const std::string_view content = Trimmed(FText);
    if (content.empty()) throw XmlError("the document is empty");
    // parse_ws_pcdata keeps the white space between two CDATA pieces of one text.
    constexpr unsigned options = pugi::parse_default | pugi::parse_ws_pcdata;
    const std::size_t skipped = FText.size() - content.size();
    const auto result =
        FTree->load_buffer_inplace(FText.data() + skipped, content.size(), options, pugi::encoding_utf8);
    if (result) return;
    // The tree was read in place, so the position is told from a second decoding.
    std::string text = DecodeXml({bytes.constData(), static_cast<std::size_t>(bytes.size())}, charset);
    ReplaceHtmlEntities(text);
    throw XmlError("not well-formed XML at " + Where(text, result.offset + static_cast<std::ptrdiff_t>(skipped)) +
                   ": " + result.description());
}

XmlDocument::~XmlDocument() = default;

XmlNode XmlDocument::Node() const noexcept {
    return XmlNode(FTree->internal_object());
}

XmlNode XmlDocument::FindPath(std::initializer_list<const char*> names) const noexcept {
    XmlNode node = Node();
    for (const char* name : names) node = node.FindChild(name);
    return node;
}

}  // namespace vexa
