#pragma once
// The desktop's proxies as the toolkit finds them. A library of its own, which the runtime loads when it first asks:
// the toolkit's network library takes longer to load than a short command runs, and most addresses of tests and of
// environments with proxies never need it.

#include "VEXA.Runtime.Export.h"
#include "VEXA.Runtime.Http.Proxy.h"

#include <QList>
#include <QNetworkProxy>

namespace vexa {

/// The first that the transfer can use; none when the list is empty, or says before that no proxy is to be used.
VEXA_RUNTIME_API HttpProxy FirstUsableProxy(const QList<QNetworkProxy>& proxies);

}  // namespace vexa

/// Asks the desktop, which may take its time. Any thread may call it.
extern "C" VEXA_RUNTIME_API void VexaFindDesktopProxy(const QUrl& address, vexa::HttpProxy& proxy);
