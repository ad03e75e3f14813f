#pragma once
// Web addresses: how to recognise one, and to which hosts its user name and password may be sent.

#include "VEXA.Runtime.Export.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

namespace vexa {

/// Whether `text` is an absolute http or https address with a host.
VEXA_RUNTIME_API bool IsUrl(const QString& text);

/// Whether `text` is a web address as people write it, without its "https://": it has no white space, and its host is
/// an IP address or has a last label of two or more letters ("example.org/feed", "127.0.0.1:8080/feed"). Names of files
/// such as "feed.xml" and "feeds.opml" do not count, nor does a mailbox such as "ada@example.org".
VEXA_RUNTIME_API bool IsUrlWithoutScheme(const QString& text);

/// The address as it is sent to a server (spaces, IRIs and international host names encoded); empty when `text` is not
/// an http or https address.
VEXA_RUNTIME_API QByteArray EncodedUrl(const QString& text);

/// The host and, where the address names one, the port: the key by which limits per server are counted.
VEXA_RUNTIME_API QString ServerOf(const QString& address);

/// Whether two addresses name the same document, regardless of user name, password, fragment and percent-encoding.
VEXA_RUNTIME_API bool IsSameUrl(const QString& a, const QString& b);

/// Whether two web addresses have the same scheme, host and port (RFC 6454, section 4).
VEXA_RUNTIME_API bool IsSameOrigin(const QUrl& a, const QUrl& b);

/// `address` with the user name and password of `source`, if it has none itself and they may be sent to it: because its
/// scheme, host and port are the same, or because it is https on the host of a plain http address (both at their
/// default ports). Otherwise `address` unchanged.
VEXA_RUNTIME_API QString WithCredentialsOf(const QString& source, const QString& address);

/// `address` in a form that may be shown: a password in it is replaced by "***".
VEXA_RUNTIME_API QString MaskedUrl(const QString& address);

}  // namespace vexa
