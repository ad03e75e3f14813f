#pragma once
// What is remembered of a feed's document, so that an unchanged one costs nothing. See docs/database.md, "Documents".

#include <QByteArray>
#include <QString>

namespace podcasts {

/// Number of the rules by which documents become records and records become rows. Count it up whenever either makes
/// something else of the same document: every document is then read once more.
inline constexpr int kDocumentRules = 1;

struct TPodcastDocumentNote {
    QString Address;                // that it came from, after redirects
    QString Charset;                // that the response named
    QByteArray ETag, LastModified;  // RFC 9110, sections 8.8.2 and 8.8.3; as they stood, empty when not given
    QByteArray Digest;              // of the bytes, in hexadecimal digits; empty: there is nothing to note
    QString WantedAddress;          // where the feed says it has moved, but could not be followed to; else empty

    bool operator==(const TPodcastDocumentNote&) const = default;
};

}  // namespace podcasts
