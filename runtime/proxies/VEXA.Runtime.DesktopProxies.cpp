#include "VEXA.Runtime.DesktopProxies.h"

namespace vexa {

HttpProxy FirstUsableProxy(const QList<QNetworkProxy>& proxies) {
    for (const QNetworkProxy& proxy : proxies) {
        if (proxy.type() == QNetworkProxy::NoProxy) break;
        const bool isSocks = proxy.type() == QNetworkProxy::Socks5Proxy;
        const bool isHttp = proxy.type() == QNetworkProxy::HttpProxy || proxy.type() == QNetworkProxy::HttpCachingProxy;
        if ((isSocks || isHttp) && !proxy.hostName().isEmpty())
            return {isSocks ? HttpProxy::Kind::Socks5 : HttpProxy::Kind::Http, proxy.hostName(), proxy.port(),
                    proxy.user(), proxy.password()};
    }
    return {};
}

}  // namespace vexa

void VexaFindDesktopProxy(const QUrl& address, vexa::HttpProxy& proxy) {
    proxy = vexa::FirstUsableProxy(QNetworkProxyFactory::systemProxyForQuery(QNetworkProxyQuery(address)));
}
