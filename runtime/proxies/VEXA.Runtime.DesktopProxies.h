#pragma once
// The desktop's proxies, as the toolkit determines them. This is a library of its own, which the runtime loads when it
// first needs it: the toolkit's network library takes longer to load than a short command takes to run, and tests and
// environments that configure proxies rarely need it.

#include "VEXA.Runtime.Export.h"
#include "VEXA.Runtime.Http.Proxy.h"

#include <QList>
#include <QNetworkProxy>

namespace vexa {

/// The first proxy of the list that a transfer can use; none when there is no such proxy, or when an entry before it
/// asks for a direct connection.
VEXA_RUNTIME_API HttpProxy FirstUsableProxy(const QList<QNetworkProxy>& proxies);

}  // namespace vexa

/// Asks the desktop for the proxy for `address`, which may take long. Any thread may call it.
extern "C" VEXA_RUNTIME_API void VexaFindDesktopProxy(const QUrl& address, vexa::HttpProxy& proxy);
