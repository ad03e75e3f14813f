#include "VEXA.Runtime.Text.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <cstring>

namespace vexa {

namespace {

/// Decodes the code point (surrogates included) that begins at `at`, and moves past it. False for invalid WTF-8.
bool DecodeOne(std::string_view bytes, std::size_t& at, char32_t& point) noexcept {
    const auto lead = static_cast<unsigned char>(bytes[at]);
    int tail = 0;
    char32_t least = 0;
    if (lead < 0x80) {
        point = lead;
    } else if (lead >= 0xC2 && lead < 0xE0) {
        point = lead & 0x1F, tail = 1, least = 0x80;
    } else if (lead >= 0xE0 && lead < 0xF0) {
        point = lead & 0x0F, tail = 2, least = 0x800;
    } else if (lead >= 0xF0 && lead < 0xF5) {
        point = lead & 0x07, tail = 3, least = 0x10000;
    } else {
        return false;
    }
    if (at + static_cast<std::size_t>(tail) >= bytes.size()) return false;
    for (int i = 1; i <= tail; ++i) {
        const auto next = static_cast<unsigned char>(bytes[at + static_cast<std::size_t>(i)]);
        if ((next & 0xC0) != 0x80) return false;
        point = point << 6 | (next & 0x3F);
    }
    if (point < least || point > 0x10FFFF) return false;
    at += static_cast<std::size_t>(tail) + 1;
    return true;
}

QString DecodeWithSurrogates(std::string_view bytes) {
    QString text;
    text.reserve(static_cast<qsizetype>(bytes.size()));
    for (std::size_t at = 0; at < bytes.size();) {
        char32_t point = 0;
        if (!DecodeOne(bytes, at, point)) {
            point = QChar::ReplacementCharacter;
            ++at;
        }
        if (QChar::requiresSurrogates(point))
            text += QChar::fromUcs4(point);
        else
            text += QChar(static_cast<char16_t>(point));
    }
    return text;
}

}  // namespace

void AppendUtf8(std::string& out, QStringView text) {
    // A UTF-16 unit takes at most three bytes. Write through a pointer, because push_back for each byte is slow.
    const std::size_t begin = out.size();
    out.resize(begin + static_cast<std::size_t>(text.size()) * 3);
    char* to = out.data() + begin;
    const char16_t* from = text.utf16();
    const char16_t* const end = from + text.size();
    while (from != end) {
        // One block of ASCII at a time, without branches in the inner loop, as in CommonAscii.
        constexpr std::ptrdiff_t kBlock = 32;
        while (end - from >= kBlock) {
            unsigned all = 0;
            for (std::ptrdiff_t i = 0; i < kBlock; ++i) {
                all |= from[i];
                to[i] = static_cast<char>(from[i]);
            }
            if (all >= 0x80) break;
            from += kBlock;
            to += kBlock;
        }
        if (from == end) break;
        char32_t c = *from++;
        if (c < 0x80) {
            *to++ = static_cast<char>(c);
            continue;
        }
        if (QChar::isHighSurrogate(c) && from != end && QChar::isLowSurrogate(*from))
            c = QChar::surrogateToUcs4(static_cast<char16_t>(c), *from++);
        if (c < 0x800) {
            *to++ = static_cast<char>(0xC0 | c >> 6);
        } else {
            if (c < 0x10000) {
                *to++ = static_cast<char>(0xE0 | c >> 12);
            } else {
                *to++ = static_cast<char>(0xF0 | c >> 18);
                *to++ = static_cast<char>(0x80 | (c >> 12 & 0x3F));
            }
            *to++ = static_cast<char>(0x80 | (c >> 6 & 0x3F));
        }
        *to++ = static_cast<char>(0x80 | (c & 0x3F));
    }
    out.resize(static_cast<std::size_t>(to - out.data()));
}

std::string ToUtf8(QStringView text) {
    std::string out;
    AppendUtf8(out, text);
    return out;
}

QString FromUtf8(std::string_view bytes) {
    QString text = QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
    // Qt's decoder is fast but replaces surrogates, so only texts with a replacement character are decoded again. Qt
    // also drops a BOM at the start, which is content here.
    const bool bom = bytes.size() >= 3 && std::memcmp(bytes.data(), "\xEF\xBB\xBF", 3) == 0;
    if (bom || text.contains(QChar::ReplacementCharacter)) return DecodeWithSurrogates(bytes);
    return text;
}

namespace {

/// The number of leading characters, in whole blocks, that are ASCII and equal in both. The loop over a block has no
/// branch, so that the compiler can compare many characters at once.
std::size_t CommonAscii(const char16_t* text, const char* bytes, std::size_t size) noexcept {
    constexpr std::size_t kBlock = 32;
    std::size_t at = 0;
    for (; at + kBlock <= size; at += kBlock) {
        unsigned differences = 0;
        for (std::size_t i = 0; i < kBlock; ++i) {
            const auto byte = static_cast<unsigned char>(bytes[at + i]);
            differences |= static_cast<unsigned>(text[at + i] ^ byte) | (byte & 0x80u);
        }
        if (differences != 0) break;
    }
    return at;
}

}  // namespace

bool EqualsUtf8(QStringView text, std::string_view bytes) noexcept {
    const char16_t* from = text.utf16();
    const char16_t* const end = from + text.size();
    std::size_t at = CommonAscii(from, bytes.data(), std::min(static_cast<std::size_t>(text.size()), bytes.size()));
    from += at;
    while (from != end) {
        if (at == bytes.size()) return false;
        if (const auto byte = static_cast<unsigned char>(bytes[at]); byte < 0x80) {
            if (*from++ != byte) return false;
            ++at;
            continue;
        }
        char32_t point = 0;
        if (!DecodeOne(bytes, at, point)) return false;
        if (QChar::requiresSurrogates(point)) {
            if (end - from < 2 || from[0] != QChar::highSurrogate(point) || from[1] != QChar::lowSurrogate(point))
                return false;
            from += 2;
        } else if (*from++ != point) {
            return false;
        }
    }
    return at == bytes.size();
}

QString FoldCase(const QString& text) {
    QString folded = text;
    for (qsizetype i = 0; i < folded.size(); ++i) {
        const QChar c = folded.at(i);
        if (c.isHighSurrogate() && i + 1 < folded.size() && folded.at(i + 1).isLowSurrogate()) {
            const char32_t point = QChar::toCaseFolded(QChar::surrogateToUcs4(c, folded.at(i + 1)));
            folded[i] = QChar(QChar::highSurrogate(point));
            folded[++i] = QChar(QChar::lowSurrogate(point));
        } else if (const QChar lower = c.toCaseFolded(); lower != c) {
            folded[i] = lower;
        }
    }
    return folded;
}

int DisplayWidth(QStringView text) {
    int width = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        char32_t point = text[i].unicode();
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate())
            point = QChar::surrogateToUcs4(text[i], text[i + 1]), ++i;
        const auto category = QChar::category(point);
        if (category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing || category == QChar::Other_Format)
            continue;
        const int eastAsian = u_getIntPropertyValue(static_cast<UChar32>(point), UCHAR_EAST_ASIAN_WIDTH);
        width += eastAsian == U_EA_WIDE || eastAsian == U_EA_FULLWIDTH ? 2 : 1;
    }
    return width;
}

}  // namespace vexa
