#pragma once
// Chooses the proxy for an address. An internal header, used by the transfer, by the library that asks the desktop, and
// by tests.
//
// The environment takes precedence (http_proxy, https_proxy, all_proxy, no_proxy); libcurl reads it itself. Where it
// names no proxy for a scheme the desktop is asked, but never for an address of this machine. HTTP and SOCKS 5 proxies
// are supported, with a user name and a password. Proxy auto-configuration scripts are not run here, only by the
// desktop if it does so.

#include "VEXA.Runtime.Export.h"

#include <QString>
#include <QUrl>

#include <curl/curl.h>

#include <functional>

namespace vexa {

struct HttpProxy {
    enum class Kind { None, Http, Socks5 };  // None: a direct connection

    Kind What = Kind::None;
    QString Host{};
    int Port = 0;
    QString User{}, Password{};  // empty: none
};

/// Sets the proxy of the handle for a request to `address`, be it the first request of a transfer or a redirected one.
/// Any thread may call it for its own handles. It waits at most one second for the desktop's answer. After a time-out
/// it does not wait again for a while: requests go out directly, and the answer, once it is there, counts for later
/// ones.
void SetHttpProxy(CURL* easy, const QUrl& address);

/// Returns the desktop's proxy for an address. Called on a thread of its own.
using DesktopProxySource = std::function<HttpProxy(const QUrl& address)>;
/// Replaces the desktop by `source` from now on, and forgets earlier answers; an empty `source` restores the desktop.
/// For tests.
VEXA_RUNTIME_API void SetDesktopProxySource(DesktopProxySource source);

}  // namespace vexa
