#pragma once
// Converts between the UTF-16 used in memory and the UTF-8 of files, sockets and the database.
//
// A QString may contain lone surrogates (from feeds and file names). They are written in the generalised form of UTF-8
// known as WTF-8 (three bytes, ED A0..BF xx), so that stored text reads back unchanged.

#include "VEXA.Runtime.Export.h"

#include <QString>

#include <cstdint>
#include <string>
#include <string_view>

namespace vexa {

/// Appends `text` as WTF-8 to `out`.
VEXA_RUNTIME_API void AppendUtf8(std::string& out, QStringView text);

/// WTF-8 of `text`.
VEXA_RUNTIME_API std::string ToUtf8(QStringView text);

/// Reads WTF-8; invalid bytes become U+FFFD.
VEXA_RUNTIME_API QString FromUtf8(std::string_view bytes);

/// Whether `bytes` are the WTF-8 of `text`. Copies neither.
VEXA_RUNTIME_API bool EqualsUtf8(QStringView text, std::string_view bytes) noexcept;

/// Simple case folding, code point by code point: two texts compare equal ignoring letter case (by QString::compare) if
/// and only if their folded forms are equal.
VEXA_RUNTIME_API QString FoldCase(const QString& text);

/// The number of columns that a text takes on a terminal: two for wide East Asian characters, none for combining marks
/// (Unicode Standard Annex #11).
VEXA_RUNTIME_API int DisplayWidth(QStringView text);

/// The whole text behind `getChars`, a function that copies at most `capacity` code units into a buffer and returns the
/// length of the whole text, which may change between two calls.
template <class GetChars>
QString CollectText(GetChars getChars) {
    QString text(128, Qt::Uninitialized);
    for (;;) {
        const auto capacity = static_cast<std::int32_t>(text.size());
        const std::int32_t length = getChars(reinterpret_cast<char16_t*>(text.data()), capacity);
        text.resize(length);
        if (length <= capacity) return text;
    }
}

}  // namespace vexa
