#pragma once
// Text between the system's UTF-16 and the UTF-8 of files, sockets and the database.
//
// QString may hold lone surrogates (they reach us from feeds and file names). They are written in the generalised form
// of UTF-8 known as WTF-8 (three bytes, ED A0..BF xx), so that what is stored reads back as it was.

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

/// The text of WTF-8 bytes; what is neither becomes U+FFFD.
VEXA_RUNTIME_API QString FromUtf8(std::string_view bytes);

/// Whether `bytes` are the WTF-8 of `text`, without making a copy of either.
VEXA_RUNTIME_API bool EqualsUtf8(QStringView text, std::string_view bytes) noexcept;

/// Simple case folding, code point by code point: two texts are equal ignoring letter case (as QString::compare says)
/// exactly when their folded forms are equal.
VEXA_RUNTIME_API QString FoldCase(const QString& text);

/// Columns that a text takes on a terminal: two for wide East Asian characters, none for combining marks (Unicode
/// Standard Annex #11).
VEXA_RUNTIME_API int DisplayWidth(QStringView text);

/// The text that `getChars` hands out: it copies at most `capacity` code units into a buffer and returns the length of
/// the whole text, which may change between two calls.
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
