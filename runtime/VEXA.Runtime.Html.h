#pragma once
// The little that is read of HTML pages: what a page is known by, and where its links lead.

#include "VEXA.Runtime.Export.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace vexa {

/// Whether a document is an HTML page: by its first tag, or by the response's type, unless it begins as XML of another
/// kind. `mimeType`: lower case, without parameters; may be empty.
VEXA_RUNTIME_API bool IsHtmlPage(const QByteArray& bytes, const QString& mimeType = {});

struct HtmlLink {
    QString Address;  // an absolute http or https address
    QString Title;    // one line as the page has it, cut where it is long; may be empty
};

/// Where the `<link>` elements of a page lead whose `rel` names `relation` (one of several words, in any letter case)
/// and whose `type` is `type`: each address once, in the page's order (HTML Standard, 4.2.4). Addresses are resolved
/// against the page's base, and that against `address`, which may be empty. `charset`: as the transport says, may be
/// empty. Pages are hostile: only the first MiB is read, as far as it is nested sensibly, and only so many links.
VEXA_RUNTIME_API std::vector<HtmlLink> FindHtmlLinks(const QByteArray& bytes, const QString& charset,
                                                     const QString& address, const QString& relation,
                                                     const QString& type);

}  // namespace vexa
