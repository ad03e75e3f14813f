#pragma once
// The little that is read from HTML pages: whether a document is a page, and the addresses of its links.

#include "VEXA.Runtime.Export.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace vexa {

/// Whether a document is an HTML page: by its first tag, or by the response's type unless the document begins as
/// another kind of XML. `mimeType`: lower case, without parameters; may be empty.
VEXA_RUNTIME_API bool IsHtmlPage(const QByteArray& bytes, const QString& mimeType = {});

struct HtmlLink {
    QString Address;  // an absolute http or https address
    QString Title;    // the link's title on one line, shortened if long; may be empty
};

/// The targets of a page's `<link>` elements whose `rel` contains the word `relation` (in any letter case) and whose
/// `type` is `type`: each address once, in the page's order (HTML Standard, 4.2.4). Addresses are resolved against the
/// page's base, and that against `address`, which may be empty. `charset` comes from the transport and may be empty.
/// Pages may be hostile: only the first MiB is read, reading ends where elements are nested too deeply, and the number
/// of links is limited.
VEXA_RUNTIME_API std::vector<HtmlLink> FindHtmlLinks(const QByteArray& bytes, const QString& charset,
                                                     const QString& address, const QString& relation,
                                                     const QString& type);

}  // namespace vexa
