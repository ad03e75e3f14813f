#pragma once
// Web addresses: what is one, and which of their user names and passwords go where.

#include "VEXA.Runtime.Export.h"

#include <QByteArray>
#include <QString>

namespace vexa {

/// Whether `text` is an absolute http or https address with a host.
VEXA_RUNTIME_API bool IsUrl(const QString& text);

/// Whether `text` would be a web address with "https://" before it, as people write and say them: it has no white
/// space, and a host that is an IP address, or whose last label has two letters or more ("example.org/feed",
/// "127.0.0.1:8080/feed"). "feed.xml" and "feeds.opml" are names of files, and "ada@example.org" is a mailbox.
VEXA_RUNTIME_API bool IsUrlWithoutScheme(const QString& text);

/// The address as it goes over the wire (spaces, IRIs and international host names encoded); empty when `text` is no
/// http or https address.
VEXA_RUNTIME_API QByteArray EncodedUrl(const QString& text);

/// The host and, where the address names one, the port: limits for each server count by it.
VEXA_RUNTIME_API QString ServerOf(const QString& address);

/// Whether two addresses name one document: user name, password, fragment and the spelling of characters aside.
VEXA_RUNTIME_API bool IsSameUrl(const QString& a, const QString& b);

/// `address` with the user name and password of `source`, where they may go there: it is of the same scheme, host and
/// port, or https on the host of a plain http address (both at their usual ports), and has none itself. Else `address`.
VEXA_RUNTIME_API QString WithCredentialsOf(const QString& source, const QString& address);

/// `address` as it may be shown: the password in it, if any, as "***".
VEXA_RUNTIME_API QString MaskedUrl(const QString& address);

}  // namespace vexa
