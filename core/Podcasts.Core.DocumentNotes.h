#pragma once
// What is stored about a feed's document, so that an unchanged document is not processed again. See docs/database.md,
// "Documents".

#include <QByteArray>
#include <QString>

namespace podcasts {

/// The version of the rules by which documents become records and records become rows. Increase it whenever the same
/// document would now lead to other rows: every document is then read once more.
inline constexpr int kDocumentRules = 1;

struct TPodcastDocumentNote {
    QString Address;                // the address that the document came from, after redirects
    QString Charset;                // the charset named by the response
    QByteArray ETag, LastModified;  // RFC 9110, sections 8.8.2 and 8.8.3; unparsed, empty when not given
    QByteArray Digest;              // of the bytes, in hexadecimal digits; empty: there is no note
    QString WantedAddress;          // where the feed says it has moved, if it could not be followed there; else empty

    bool operator==(const TPodcastDocumentNote&) const = default;
};

}  // namespace podcasts
