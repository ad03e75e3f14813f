#include "VEXA.Runtime.Encoding.h"

#include <QUtf8StringView>

#include <unicode/ucnv.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <stdexcept>

namespace vexa {

namespace {

struct Mark {
    std::string_view Bytes;
    const char* Encoding;
};
// Longest first: the UTF-32 LE mark begins with that of UTF-16 LE.
constexpr Mark kByteOrderMarks[] = {{std::string_view("\x00\x00\xFE\xFF", 4), "UTF-32BE"},
                                    {std::string_view("\xFF\xFE\x00\x00", 4), "UTF-32LE"},
                                    {std::string_view("\xEF\xBB\xBF", 3), "UTF-8"},
                                    {std::string_view("\xFE\xFF", 2), "UTF-16BE"},
                                    {std::string_view("\xFF\xFE", 2), "UTF-16LE"}};
// XML 1.0, appendix F.1: "<?" without a byte-order mark.
constexpr Mark kFirstCharacters[] = {{std::string_view("\x00\x00\x00<", 4), "UTF-32BE"},
                                     {std::string_view("<\x00\x00\x00", 4), "UTF-32LE"},
                                     {std::string_view("\x00<\x00", 3), "UTF-16BE"},
                                     {std::string_view("<\x00", 2), "UTF-16LE"}};

/// The encoding named by the XML declaration; empty when there is none. The bytes must be ASCII-compatible.
std::string_view DeclaredEncoding(std::string_view bytes) {
    const std::size_t begin = bytes.find("<?xml");
    if (begin > 1024) return {};  // npos, if there is none, is greater, too
    const std::size_t end = bytes.find("?>", begin);
    if (end == std::string_view::npos || end - begin > 1024) return {};
    const std::string_view declaration = bytes.substr(begin, end - begin);
    std::size_t at = declaration.find("encoding");
    if (at == std::string_view::npos) return {};
    at = declaration.find_first_of("\"'", at);
    if (at == std::string_view::npos) return {};
    const std::size_t close = declaration.find(declaration[at], at + 1);
    if (close == std::string_view::npos) return {};
    return declaration.substr(at + 1, close - at - 1);
}

bool IsNamed(const char* name, const char* encoding) {
    return ucnv_compareNames(name, encoding) == 0;
}

std::optional<std::string> Convert(std::string_view bytes, const char* encoding) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UConverter, decltype(&ucnv_close)> from(ucnv_open(encoding, &status), ucnv_close);
    if (U_FAILURE(status)) return std::nullopt;
    const std::unique_ptr<UConverter, decltype(&ucnv_close)> to(ucnv_open("UTF-8", &status), ucnv_close);
    if (U_FAILURE(status)) return std::nullopt;

    std::string out(bytes.size() * 3 / 2 + 64, '\0');
    std::size_t written = 0;
    const char* source = bytes.data();
    const char* const sourceEnd = source + bytes.size();
    UChar pivot[4096];
    UChar* pivotSource = pivot;
    UChar* pivotTarget = pivot;
    for (;;) {
        char* target = out.data() + written;
        status = U_ZERO_ERROR;
        ucnv_convertEx(to.get(), from.get(), &target, out.data() + out.size(), &source, sourceEnd, pivot, &pivotSource,
                       &pivotTarget, pivot + std::size(pivot), /*reset*/ false, /*flush*/ true, &status);
        written = static_cast<std::size_t>(target - out.data());
        if (status != U_BUFFER_OVERFLOW_ERROR) break;
        out.resize(out.size() * 2);
    }
    if (U_FAILURE(status)) return std::nullopt;
    out.resize(written);
    return out;
}

std::string WithoutMark(std::string text) {
    static constexpr std::string_view mark = "\xEF\xBB\xBF";
    std::size_t marks = 0;
    while (std::string_view(text).substr(marks).starts_with(mark)) marks += mark.size();
    text.erase(0, marks);
    return text;
}

bool IsUtf8Name(const char* encoding) {
    return IsNamed(encoding, "UTF-8") || IsNamed(encoding, "US-ASCII") || IsNamed(encoding, "ASCII");
}

/// The number of ASCII bytes at the start.
std::size_t AsciiLength(std::string_view bytes) {
    const auto isOther = [](char c) { return static_cast<unsigned char>(c) >= 0x80; };
    return static_cast<std::size_t>(std::find_if(bytes.begin(), bytes.end(), isOther) - bytes.begin());
}

/// Whether `encoding` has one byte for each character, so that its texts are hardly ever valid UTF-8.
bool IsSingleByte(const char* encoding) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UConverter, decltype(&ucnv_close)> converter(ucnv_open(encoding, &status), ucnv_close);
    return U_SUCCESS(status) && ucnv_getMaxCharSize(converter.get()) == 1;
}

/// The length of the multi-byte UTF-8 sequence at the start of `bytes` (RFC 3629, section 4); 0 when there is none.
std::size_t SequenceLength(std::string_view bytes) {
    const auto lead = static_cast<unsigned char>(bytes.front());
    const std::size_t length = lead < 0xC2 || lead > 0xF4 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    return length > 0 && length <= bytes.size() && IsUtf8(bytes.substr(0, length)) ? length : 0;
}

/// Replaces each invalid byte in a text declared as UTF-8 by U+FFFD. Nothing when most non-ASCII bytes are invalid, as
/// in a text that is really windows-1252. Since a pair of accented letters and signs in windows-1252 sometimes forms a
/// valid sequence, one valid sequence outweighs only a few invalid bytes.
std::optional<std::string> WithBrokenBytesReplaced(std::string_view bytes) {
    constexpr std::size_t kOutweighed = 8;
    constexpr std::string_view replacement = "\xEF\xBF\xBD";
    std::size_t sequences = 0, broken = 0;
    std::string text;
    text.reserve(bytes.size() + 64);
    while (!bytes.empty()) {
        const std::size_t ascii = AsciiLength(bytes);
        text += bytes.substr(0, ascii);
        bytes.remove_prefix(ascii);
        if (bytes.empty()) break;
        const std::size_t length = SequenceLength(bytes);
        text += length > 0 ? bytes.substr(0, length) : replacement;
        bytes.remove_prefix(std::max<std::size_t>(length, 1));
        ++(length > 0 ? sequences : broken);
    }
    if (sequences * kOutweighed < broken) return std::nullopt;
    return text;
}

/// Nothing when ICU does not know `encoding`. `isUtf8`: whether the bytes are valid UTF-8.
std::optional<std::string> DecodeAs(std::string_view bytes, const char* encoding, bool isUtf8) {
    if (IsUtf8Name(encoding)) {
        if (isUtf8) return std::string(bytes);
        if (auto text = WithBrokenBytesReplaced(bytes)) return text;
        return Convert(bytes, "windows-1252");
    }
    if (isUtf8 && IsSingleByte(encoding)) return std::string(bytes);
    if (IsNamed(encoding, "ISO-8859-1") || IsNamed(encoding, "latin1")) encoding = "windows-1252";
    return Convert(bytes, encoding);
}

}  // namespace

bool IsUtf8(std::string_view bytes) noexcept {
    return QUtf8StringView(bytes.data(), static_cast<qsizetype>(bytes.size())).isValidUtf8();
}

std::string DecodeXml(std::string_view bytes, const QString& charset) {
    for (const auto& [mark, encoding] : kByteOrderMarks) {
        if (!bytes.starts_with(mark)) continue;
        const std::string_view content = bytes.substr(mark.size());
        if (auto text = DecodeAs(content, encoding, IsUtf8(content))) return WithoutMark(std::move(*text));
    }
    for (const auto& [begin, encoding] : kFirstCharacters) {
        if (!bytes.starts_with(begin)) continue;
        if (auto text = DecodeAs(bytes, encoding, false)) return WithoutMark(std::move(*text));
    }
    const bool isUtf8 = IsUtf8(bytes);
    const std::string declared(DeclaredEncoding(bytes));
    // The declaration was found by reading the bytes as ASCII, so if it names UTF-16, it is wrong.
    if (!declared.empty() && !declared.starts_with("UTF-16") && !declared.starts_with("utf-16"))
        if (auto text = DecodeAs(bytes, declared.c_str(), isUtf8)) return WithoutMark(std::move(*text));
    const QByteArray name = charset.toLatin1();
    // A server may be configured to send one charset for all files, so valid UTF-8 in the document takes precedence.
    const bool isRefuted =
        !name.isEmpty() && isUtf8 && !IsUtf8Name(name.constData()) && AsciiLength(bytes) < bytes.size();
    if (!name.isEmpty() && !isRefuted)
        if (auto text = DecodeAs(bytes, name.constData(), isUtf8)) return WithoutMark(std::move(*text));
    return WithoutMark(DecodeAs(bytes, "UTF-8", isUtf8).value());
}

}  // namespace vexa
