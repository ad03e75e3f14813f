#pragma once
// Which proxy leads to an address. Not installed: for the transfer, for the library that asks the desktop, and for
// tests.
//
// The environment has the first word (http_proxy, https_proxy, all_proxy, no_proxy), which libcurl reads itself. Where
// it names no proxy for a scheme the desktop is asked, but never for an address of this machine. HTTP and SOCKS 5
// proxies are used, with a user name and a password. A script that chooses proxies is run by the desktop or by nobody.

#include "VEXA.Runtime.Export.h"

#include <QString>
#include <QUrl>

#include <curl/curl.h>

#include <functional>

namespace vexa {

struct HttpProxy {
    enum class Kind { None, Http, Socks5 };  // None: directly

    Kind What = Kind::None;
    QString Host{};
    int Port = 0;
    QString User{}, Password{};  // empty: none
};

/// Sets the handle up for a request to this address: the first one of a transfer, or one that a redirect leads to. Any
/// thread may call it, each for handles of its own. It waits for the desktop for a second at most, and then not again
/// for a while: the address is asked directly, and the answer counts for later requests.
void SetHttpProxy(CURL* easy, const QUrl& address);

/// Tells which proxy the desktop names for an address. Called on threads of its own.
using DesktopProxySource = std::function<HttpProxy(const QUrl& address)>;
/// Asks `source` in place of the desktop from now on, and forgets what was answered before; an empty one gives the
/// desktop back. For tests.
VEXA_RUNTIME_API void SetDesktopProxySource(DesktopProxySource source);

}  // namespace vexa
