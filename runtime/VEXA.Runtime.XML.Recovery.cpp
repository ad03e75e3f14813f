#include "VEXA.Runtime.XML.Recovery.h"

#include "VEXA.Runtime.XML.Markup.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vexa {

namespace {

using Kind = XmlPiece::Kind;

// RSS has no items inside items.
constexpr std::string_view kItem = "item";
// In one element; further attributes are dropped. libxml2 compares each attribute with all before it.
constexpr int kMaxAttributes = 1000;

bool IsBlank(std::string_view text) {
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

/// The length of the numeric character reference ("&#233;") at the start of `text`; 0 when there is none.
std::size_t NumberLength(std::string_view text) {
    if (!text.starts_with("&#")) return 0;
    const bool isHexadecimal = text.substr(2).starts_with('x');
    const std::string_view digits = isHexadecimal ? "0123456789abcdefABCDEF" : "0123456789";
    const std::size_t begin = isHexadecimal ? 3 : 2;
    const std::size_t end = text.find_first_not_of(digits, begin);
    return end != std::string_view::npos && end > begin && text[end] == ';' ? end + 1 : 0;
}

/// Escapes character data for libxml2: everything that could be markup becomes a numeric reference. Otherwise libxml2
/// drops a bare ampersand with the word after it, undefined entities, a lone "<", the text before "]]>", and after the
/// first error even the five entities that need no definition.
std::string Escaped(std::string_view text) {
    static constexpr std::pair<std::string_view, char> entities[] = {
        {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}};
    std::string out;
    const auto write = [&](char c) { out += "&#" + std::to_string(static_cast<int>(c)) + ';'; };
    for (std::size_t at = 0; at < text.size();) {
        const char c = text[at];
        const std::string_view rest = text.substr(at);
        const auto* const entity = c == '&'
                                       ? std::find_if(std::begin(entities), std::end(entities),
                                                      [&](const auto& known) { return rest.starts_with(known.first); })
                                       : std::end(entities);
        if (const std::size_t number = c == '&' ? NumberLength(rest) : 0; number > 0) {
            out += rest.substr(0, number);
            at += number;
        } else if (entity != std::end(entities)) {
            write(entity->second);
            at += entity->first.size();
        } else {
            if (c == '&' || c == '<' || c == '>')
                write(c);
            else
                out += c;
            ++at;
        }
    }
    return out;
}

/// Rebuilds a well-formed document from the tags of a damaged text.
class Repair {
public:
    /// Nothing when the text was cut off, see RecoverXml.
    std::optional<std::string> Run(std::string_view text) {
        text = FromDeclaration(text);
        const XmlPiece last = LastMarkup(text);
        if (last.What != Kind::EndTag) return std::nullopt;
        FRoot = last.Name;
        FOut.reserve(text.size() + text.size() / 8);
        XmlPieces pieces(text);
        for (auto piece = pieces.Next(); piece && piece->Whole.data() != last.Whole.data(); piece = pieces.Next()) {
            if (FOpen.empty() && piece->What != Kind::StartTag) continue;
            if (FOpen.empty() && piece->Name != FRoot) return std::nullopt;
            Take(*piece);
        }
        return EndRoot() ? std::optional(std::move(FOut)) : std::nullopt;
    }

private:
    struct Open {
        std::string_view Name;
        bool HasText = false;
    };

    /// The text from its declaration on, without messages of the server's scripts before it.
    static std::string_view FromDeclaration(std::string_view text) {
        XmlPieces pieces(text);
        while (const auto piece = pieces.Next())
            if (piece->What == Kind::Aside && piece->Whole.starts_with("<?xml "))
                return text.substr(static_cast<std::size_t>(piece->Whole.data() - text.data()));
        return text;
    }

    static XmlPiece LastMarkup(std::string_view text) {
        XmlPiece last;
        XmlPieces pieces(text);
        while (const auto piece = pieces.Next())
            if (piece->What != Kind::Aside && !(piece->What == Kind::Text && IsBlank(piece->Whole))) last = *piece;
        return last;
    }

    void Take(const XmlPiece& piece) {
        const bool isTag = piece.What == Kind::StartTag || piece.What == Kind::EmptyTag;
        if (isTag)
            Start(piece);
        else if (piece.What == Kind::EndTag && IsOpen(piece.Name) && !ClosesRoot(piece.Name))
            Close(piece.Name);
        else if (piece.What == Kind::CData)
            AddText(piece.Whole, piece.Whole);
        else if (piece.What != Kind::Aside)
            AddText(piece.Whole, Escaped(piece.Whole));
    }

    void Start(const XmlPiece& piece) {
        if (piece.Name == kItem && IsOpen(kItem)) Close(kItem);
        FOut += '<';
        FOut += piece.Name;
        std::string_view attributes = piece.Attributes;
        for (int i = 0; i < kMaxAttributes; ++i) {
            const auto attribute = TakeXmlAttribute(attributes);
            if (!attribute) break;
            const std::string_view quoted = attribute->Quoted;
            FOut += ' ';
            FOut += attribute->Name;
            FOut += '=';
            FOut += quoted.front();
            FOut += Escaped(quoted.substr(1, quoted.size() - 2));
            FOut += quoted.back();
        }
        FOut += piece.What == Kind::EmptyTag ? "/>" : ">";
        if (piece.What == Kind::EmptyTag) return;
        FOpen.push_back({piece.Name});
        ++FCounts[piece.Name];
    }

    void AddText(std::string_view text, std::string_view written) {
        if (!IsBlank(text)) FOpen.back().HasText = true;
        FOut += written;
    }

    bool IsOpen(std::string_view name) const {
        const auto found = FCounts.find(name);
        return found != FCounts.end() && found->second > 0;
    }

    /// Whether this end tag closes the root, which ends only once, and last. Elsewhere it is a part of the notes.
    bool ClosesRoot(std::string_view name) const { return name == FRoot && FCounts.find(name)->second == 1; }

    /// Closes the nearest element of that name, and all elements open inside it.
    void Close(std::string_view name) {
        for (bool isLast = false; !isLast;) {
            isLast = FOpen.back().Name == name;
            FOut += "</";
            FOut += FOpen.back().Name;
            FOut += '>';
            --FCounts[FOpen.back().Name];
            FOpen.pop_back();
        }
    }

    /// Closes the root. False when its end tag is in the middle of a text that was cut off there: elements that contain
    /// elements may have been left open, but not an element that contains text.
    bool EndRoot() {
        constexpr std::size_t kContainers = 3;  // the root, its channel, an item
        if (FOpen.empty() || FOpen.size() > kContainers || FOpen.front().Name != FRoot) return false;
        if (!ClosesRoot(FRoot)) return false;
        if (std::any_of(FOpen.begin() + 1, FOpen.end(), [](const Open& open) { return open.HasText; })) return false;
        Close(FRoot);
        return true;
    }

    std::string_view FRoot;
    std::vector<Open> FOpen;
    std::unordered_map<std::string_view, std::size_t> FCounts;  // numbers of open elements by name
    std::string FOut;
};

/// Builds the tree from libxml2's callbacks, with names and namespace declarations as they are written. The callbacks
/// are called by C code, so they must not throw.
class TreeBuilder {
public:
    /// `size`: the size of the document, which no text exceeds.
    TreeBuilder(pugi::xml_document& tree, std::size_t size) : FNode(tree.root()) {
        FText.reserve(size);
        FValue.reserve(size);
    }

    static xmlSAXHandler Handler() {
        xmlSAXHandler handler{};  // not marked as initialized for SAX 2, so without namespaces
        handler.startElement = [](void* self, const xmlChar* name, const xmlChar** attributes) noexcept {
            static_cast<TreeBuilder*>(self)->Start(name, attributes);
        };
        handler.endElement = [](void* self, const xmlChar*) noexcept { static_cast<TreeBuilder*>(self)->End(); };
        handler.characters = handler.cdataBlock = [](void* self, const xmlChar* text, int size) noexcept {
            static_cast<TreeBuilder*>(self)->FText.append(Chars(text), static_cast<std::size_t>(size));
        };
        return handler;
    }

private:
    static const char* Chars(const xmlChar* text) { return reinterpret_cast<const char*>(text); }

    void Start(const xmlChar* name, const xmlChar** attributes) {
        FlushText();
        FNode = FNode.append_child(Chars(name));
        for (; attributes && attributes[0]; attributes += 2)
            FNode.append_attribute(Chars(attributes[0])).set_value(Value(attributes[1]));
    }
    /// An attribute's value. libxml2 passes ampersands in values as numeric references, since its own tree builder
    /// parses values once more.
    const char* Value(const xmlChar* attribute) {
        static constexpr std::string_view ampersand = "&#38;";
        FValue.clear();
        std::string_view rest = attribute ? Chars(attribute) : "";
        for (std::size_t at = 0; (at = rest.find(ampersand)) != std::string_view::npos;) {
            FValue += rest.substr(0, at);
            FValue += '&';
            rest.remove_prefix(at + ampersand.size());
        }
        FValue += rest;
        return FValue.c_str();
    }
    void End() {
        FlushText();
        FNode = FNode.parent();
    }
    void FlushText() {
        if (!FText.empty()) FNode.append_child(pugi::node_pcdata).set_value(FText.c_str());
        FText.clear();
    }

    pugi::xml_node FNode;
    std::string FText, FValue;
};

}  // namespace

bool RecoverXml(std::string_view text, pugi::xml_document& tree) {
    static std::once_flag isReady;  // libxml2 must be initialised before several threads use it
    std::call_once(isReady, xmlInitParser);
    tree.reset();
    const std::optional<std::string> repaired = Repair().Run(text);
    if (!repaired || repaired->size() > INT_MAX) return false;
    const std::unique_ptr<xmlParserCtxt, decltype(&xmlFreeParserCtxt)> parser(
        xmlCreateMemoryParserCtxt(repaired->data(), static_cast<int>(repaired->size())), xmlFreeParserCtxt);
    if (!parser) throw std::bad_alloc();
    xmlCtxtUseOptions(parser.get(), XML_PARSE_RECOVER | XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    TreeBuilder builder(tree, repaired->size());
    *parser->sax = TreeBuilder::Handler();
    parser->userData = &builder;
    xmlParseDocument(parser.get());
    // The parser recovers from errors, but at its limits (elements nested 256 deep) it stops after a part of the
    // document.
    return parser->disableSAX == 0 && tree.document_element();
}

}  // namespace vexa
