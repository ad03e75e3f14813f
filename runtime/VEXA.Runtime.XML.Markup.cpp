#include "VEXA.Runtime.XML.Markup.h"

#include <algorithm>
#include <utility>

namespace vexa {

namespace {

constexpr std::string_view kSpace = " \t\r\n";

bool IsNameStart(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':';
}

bool IsNameCharacter(char c) {
    return IsNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

void SkipSpace(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(kSpace), text.size()));
}

std::string_view TakeName(std::string_view& text) {
    std::size_t size = 0;
    if (!text.empty() && IsNameStart(text.front()))
        while (size < text.size() && IsNameCharacter(text[size])) ++size;
    const std::string_view name = text.substr(0, size);
    text.remove_prefix(size);
    return name;
}

}  // namespace

std::optional<XmlAttribute> TakeXmlAttribute(std::string_view& attributes) {
    std::string_view rest = attributes;
    SkipSpace(rest);
    const std::string_view name = TakeName(rest);
    SkipSpace(rest);
    if (name.empty() || !rest.starts_with('=')) return std::nullopt;
    rest.remove_prefix(1);
    SkipSpace(rest);
    if (!rest.starts_with('"') && !rest.starts_with('\'')) return std::nullopt;
    const std::size_t close = rest.find(rest.front(), 1);
    if (close == std::string_view::npos) return std::nullopt;
    attributes = rest.substr(close + 1);
    return XmlAttribute{name, rest.substr(0, close + 1)};
}

std::optional<XmlPiece> XmlPieces::Next() {
    if (FAt == FText.size()) return std::nullopt;
    std::size_t end = FAt;  // of the text before the next markup
    while ((end = FText.find('<', end)) != std::string_view::npos) {
        const XmlPiece markup = MarkupAt(end);
        if (markup.What != XmlPiece::Kind::Text) {
            const auto piece =
                end > FAt ? XmlPiece{XmlPiece::Kind::Text, FText.substr(FAt, end - FAt), {}, {}} : markup;
            FAt += piece.Whole.size();
            return piece;
        }
        ++end;
    }
    return XmlPiece{XmlPiece::Kind::Text, FText.substr(std::exchange(FAt, FText.size())), {}, {}};
}

XmlPiece XmlPieces::MarkupAt(std::size_t begin) const {
    const std::string_view rest = FText.substr(begin);
    if (rest.starts_with("<![CDATA[")) return Section(begin, begin + 9, "]]>", XmlPiece::Kind::CData);
    if (rest.starts_with("<!--")) return Section(begin, begin + 4, "-->", XmlPiece::Kind::Aside);
    if (rest.starts_with("<?")) return Section(begin, begin + 2, "?>", XmlPiece::Kind::Aside);
    if (rest.starts_with("<!DOCTYPE") || rest.starts_with("<!doctype")) return DocumentType(begin);
    return TagAt(begin);
}

XmlPiece XmlPieces::Section(std::size_t begin, std::size_t from, std::string_view close, XmlPiece::Kind kind) const {
    const std::size_t end = FText.find(close, from);
    if (end == std::string_view::npos) return {XmlPiece::Kind::Unfinished, FText.substr(begin), {}, {}};
    return {kind, FText.substr(begin, end + close.size() - begin), {}, {}};
}

XmlPiece XmlPieces::DocumentType(std::size_t begin) const {
    int brackets = 0;  // open brackets of the internal subset, which contains declarations
    for (std::size_t at = begin; at < FText.size(); ++at) {
        const char c = FText[at];
        if (c == '"' || c == '\'') {
            at = FText.find(c, at + 1);
            if (at == std::string_view::npos) break;
        } else if (FText.substr(at).starts_with("<!--")) {
            at = FText.find("-->", at + 4);
            if (at == std::string_view::npos) break;
        } else if (c == '[' || c == ']') {
            brackets += c == '[' ? 1 : -1;
        } else if (c == '>' && brackets <= 0) {
            return {XmlPiece::Kind::Aside, FText.substr(begin, at + 1 - begin), {}, {}};
        }
    }
    return {XmlPiece::Kind::Unfinished, FText.substr(begin), {}, {}};
}

XmlPiece XmlPieces::TagAt(std::size_t begin) const {
    std::string_view rest = FText.substr(begin + 1);
    const auto piece = [&](XmlPiece::Kind kind, std::string_view name, std::string_view attributes) {
        const std::size_t size = FText.size() - begin - rest.size();
        return XmlPiece{kind, FText.substr(begin, size), name, attributes};
    };
    const bool isEnd = rest.starts_with('/');
    if (isEnd) rest.remove_prefix(1);
    const std::string_view name = TakeName(rest);
    if (name.empty()) return {};
    const std::string_view all = rest;
    while (!isEnd && TakeXmlAttribute(rest)) {
    }
    const std::string_view attributes = all.substr(0, all.size() - rest.size());
    SkipSpace(rest);
    const bool isEmpty = !isEnd && rest.starts_with('/');
    if (isEmpty) rest.remove_prefix(1);
    if (!rest.starts_with('>')) return {};
    rest.remove_prefix(1);
    return piece(isEnd     ? XmlPiece::Kind::EndTag
                 : isEmpty ? XmlPiece::Kind::EmptyTag
                           : XmlPiece::Kind::StartTag,
                 name, attributes);
}

}  // namespace vexa
