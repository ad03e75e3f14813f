#include "VEXA.Runtime.XML.h"

#include "VEXA.Runtime.Encoding.h"
#include "VEXA.Runtime.HtmlEntities.h"
#include "VEXA.Runtime.Reasons.h"
#include "VEXA.Runtime.Text.h"
#include "VEXA.Runtime.XML.Recovery.h"

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

constexpr qsizetype kMaxRecoveredBytes = 8 * 1024 * 1024;  // bytes
// More than any feed has. A tree takes about 100 bytes for each element or attribute, however short it is in the text.
constexpr std::size_t kMaxMarks = 4'000'000;
constexpr std::size_t kMaxItems = 250'000;

bool IsForbidden(unsigned char c) {
    return (c < 0x20) & (c != '\t') & (c != '\n') & (c != '\r');
}

struct Census {
    std::size_t Marks = 0;  // "<" and "=": an upper bound for the number of elements and attributes
    bool HasForbidden = false;
};

/// Reads every byte once. The loop over a block has a fixed length and no branch, so that the compiler can process many
/// bytes at once; blocks are small enough for counters of one byte.
Census TakeCensus(std::string_view text) {
    constexpr std::size_t kBlock = 240;
    static_assert(('<' & 0xFE) == '<' && ('=' & 0xFE) == '<', "one comparison tells both");
    Census census;
    const auto look = [&](const char* bytes, std::size_t size) {
        unsigned char marks = 0, forbidden = 0;
        for (std::size_t i = 0; i < size; ++i) {
            const auto c = static_cast<unsigned char>(bytes[i]);
            marks = static_cast<unsigned char>(marks + ((c & 0xFE) == '<'));
            forbidden = static_cast<unsigned char>(forbidden | IsForbidden(c));
        }
        census.Marks += marks;
        census.HasForbidden |= forbidden != 0;
    };
    std::size_t at = 0;
    for (; at + kBlock <= text.size(); at += kBlock) look(text.data() + at, kBlock);
    look(text.data() + at, text.size() - at);
    return census;
}

std::size_t CountTags(std::string_view text, std::string_view name) {
    std::string tag(1, '<');
    tag += name;
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(tag, at)) != std::string_view::npos;) {
        at += tag.size();
        count += at < text.size() && std::string_view(" \t\r\n/>").find(text[at]) != std::string_view::npos;
    }
    return count;
}

/// The document's text, prepared for the parser. Throws XmlError when its tree would take unreasonably much memory.
std::string ReadableText(const QByteArray& bytes, const QString& charset) {
    std::string text = DecodeXml({bytes.constData(), static_cast<std::size_t>(bytes.size())}, charset);
    const auto [marks, hasForbidden] = TakeCensus(text);
    const bool hasTooManyItems = marks > kMaxItems && CountTags(text, "item") + CountTags(text, "entry") > kMaxItems;
    if (marks > kMaxMarks || hasTooManyItems) throw XmlError(Reason(RuntimeReason("TooManyElements")));
    // Control characters that XML forbids (XML 1.0, production 2) become blanks: a stray one in a feed's text is no
    // reason to reject the feed, and a NUL would end the text early.
    if (hasForbidden)
        std::replace_if(
            text.begin(), text.end(), [](char c) { return IsForbidden(static_cast<unsigned char>(c)); }, ' ');
    ReplaceHtmlEntities(text);
    return text;
}

std::string_view Trimmed(std::string_view text) {
    const auto begin = text.find_first_not_of(" \t\r\n");
    return begin == std::string_view::npos ? std::string_view() : text.substr(begin);
}

void AppendMarkup(std::string& out, const pugi::xml_node& node) {
    struct Writer final : pugi::xml_writer {
        explicit Writer(std::string& out) : Out(out) {}
        void write(const void* data, std::size_t size) override { Out.append(static_cast<const char*>(data), size); }
        std::string& Out;
    } writer(out);
    node.print(writer, "", pugi::format_raw, pugi::encoding_utf8);
}

/// What the parser says is wrong.
Reason Description(const pugi::xml_parse_result& result) {
    switch (result.status) {
        case pugi::status_unrecognized_tag:
            return Reason(RuntimeReason("XmlTag"));
        case pugi::status_bad_pi:
            return Reason(RuntimeReason("XmlInstruction"));
        case pugi::status_bad_comment:
            return Reason(RuntimeReason("XmlComment"));
        case pugi::status_bad_cdata:
            return Reason(RuntimeReason("XmlCdata"));
        case pugi::status_bad_doctype:
            return Reason(RuntimeReason("XmlDoctype"));
        case pugi::status_bad_pcdata:
            return Reason(RuntimeReason("XmlText"));
        case pugi::status_bad_start_element:
            return Reason(RuntimeReason("XmlStartTag"));
        case pugi::status_bad_attribute:
            return Reason(RuntimeReason("XmlAttribute"));
        case pugi::status_bad_end_element:
            return Reason(RuntimeReason("XmlEndTag"));
        case pugi::status_end_element_mismatch:
            return Reason(RuntimeReason("XmlMismatch"));
        case pugi::status_no_document_element:
            return Reason(RuntimeReason("XmlNoElement"));
        default:
            return QString::fromUtf8(result.description());
    }
}

Reason NotWellFormed(std::string_view text, std::ptrdiff_t offset, const pugi::xml_parse_result& result) {
    const auto before = text.substr(0, static_cast<std::size_t>(std::max<std::ptrdiff_t>(offset, 0)));
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const auto newline = before.rfind('\n');
    const auto column = before.size() - (newline == std::string_view::npos ? 0 : newline + 1) + 1;
    return Reason(RuntimeReason("NotWellFormed"),
                  {QString::number(line), QString::number(column), Description(result)});
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
        // In the rare case of several pieces, start over and join them.
        std::string joined;
        for (pugi::xml_node piece = first; piece; piece = piece.next_sibling())
            if (IsTextNode(piece)) joined += piece.value();
        return FromUtf8(joined);
    }
    return first ? FromUtf8(first.value()) : QString();
}

QString XmlNode::Markup() const {
    const pugi::xml_node node(FNode);
    if (!FirstElement(node.first_child())) return Text();
    std::string markup;
    for (const pugi::xml_node child : node.children()) {
        if (child.type() == pugi::node_cdata)
            markup += child.value();
        else
            AppendMarkup(markup, child);
    }
    return FromUtf8(markup);
}

QString XmlNode::DeepText() const {
    const pugi::xml_node node(FNode);
    std::string text;
    for (pugi::xml_node at = node.first_child(); at;) {  // without recursion, since elements may be nested to any depth
        if (IsTextNode(at)) text += at.value();
        pugi::xml_node next = at.first_child();
        while (!next && at != node) {
            next = at.next_sibling();
            at = at.parent();
        }
        at = next;
    }
    return FromUtf8(text);
}

QString XmlNode::Attribute(const char* name) const {
    return FromUtf8(AttributeBytes(name));
}

std::string_view XmlNode::AttributeBytes(const char* name) const noexcept {
    return pugi::xml_node(FNode).attribute(name).value();
}

bool XmlNode::AttributeIs(const char* name, std::string_view value) const noexcept {
    return AttributeBytes(name) == value;
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
    : FText(ReadableText(bytes, charset)), FTree(std::make_unique<pugi::xml_document>()) {
    const std::string_view content = Trimmed(FText);
    if (content.empty()) throw XmlError(Reason(RuntimeReason("NoText")));
    // parse_ws_pcdata keeps the white space between two CDATA pieces of one text.
    constexpr unsigned options = pugi::parse_default | pugi::parse_ws_pcdata;
    const std::size_t skipped = FText.size() - content.size();
    const auto result =
        FTree->load_buffer_inplace(FText.data() + skipped, content.size(), options, pugi::encoding_utf8);
    if (result) return;
    // The in-place parser has changed the text, so decode it again.
    FText = ReadableText(bytes, charset);
    FIsRecovered = bytes.size() < kMaxRecoveredBytes && RecoverXml(FText, *FTree);
    if (FIsRecovered) return;
    throw XmlError(NotWellFormed(FText, result.offset + static_cast<std::ptrdiff_t>(skipped), result));
}

XmlDocument::~XmlDocument() = default;

std::size_t XmlDocument::CountStartTags(std::string_view name) const {
    return FIsRecovered ? CountTags(FText, name) : 0;
}

XmlNode XmlDocument::Node() const noexcept {
    return XmlNode(FTree->internal_object());
}

XmlNode XmlDocument::FindPath(std::initializer_list<const char*> names) const noexcept {
    XmlNode node = Node();
    for (const char* name : names) node = node.FindChild(name);
    return node;
}

}  // namespace vexa
