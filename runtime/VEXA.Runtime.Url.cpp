#include "VEXA.Runtime.Url.h"

#include <QRegularExpression>
#include <QUrl>

#include <algorithm>

namespace vexa {

namespace {

constexpr int kHttpPort = 80, kHttpsPort = 443;

QUrl Parse(const QString& text) {
    return QUrl(text.trimmed(), QUrl::TolerantMode);
}

bool IsWeb(const QUrl& url) {
    return url.isValid() && !url.host().isEmpty() && (url.scheme() == u"http" || url.scheme() == u"https");
}

int PortOf(const QUrl& url) {
    return url.port(url.scheme() == u"https" ? kHttpsPort : kHttpPort);
}

bool HasWhiteSpace(const QString& text) {
    return std::any_of(text.begin(), text.end(), [](QChar c) { return c.isSpace(); });
}

bool IsIPv4(QStringView host) {
    const auto parts = host.split(u'.');
    return parts.size() == 4 && std::all_of(parts.begin(), parts.end(), [](QStringView part) {
               const bool isNumber =
                   std::all_of(part.begin(), part.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
               return isNumber && !part.isEmpty() && part.size() <= 3 && part.toInt() <= 255;
           });
}

/// Whether a label has the form of a top-level domain: letters of any script, or the ASCII form of such letters
/// (RFC 5890: "xn--p1ai").
bool IsTopLevel(QStringView label) {
    if (label.startsWith(u"xn--", Qt::CaseInsensitive)) return true;
    return label.size() >= 2 && std::all_of(label.begin(), label.end(), [](QChar c) { return c.isLetter(); });
}

bool IsPublicName(QStringView host) {
    const auto labels = host.split(u'.');
    const bool isWhole = std::none_of(labels.begin(), labels.end(), [](QStringView label) { return label.isEmpty(); });
    if (labels.size() < 2 || !isWhole || !IsTopLevel(labels.last())) return false;
    // These are no top-level domains, but the extensions of feeds and of subscription lists.
    return labels.last().compare(u"xml", Qt::CaseInsensitive) != 0 &&
           labels.last().compare(u"opml", Qt::CaseInsensitive) != 0;
}

}  // namespace

QByteArray EncodedUrl(const QString& text) {
    const QUrl url = Parse(text);
    return IsWeb(url) ? url.toEncoded() : QByteArray();
}

bool IsUrl(const QString& text) {
    return !EncodedUrl(text).isEmpty() && !text.isEmpty() && !text.at(0).isSpace();
}

bool IsUrlWithoutScheme(const QString& text) {
    static const QRegularExpression form(
        QStringLiteral(R"(^(\[[0-9A-Fa-f:.]+\]|[^/?#:@\\\[\]]+)(:\d{1,5})?([/?#]|$))"));
    const auto match = form.match(text);
    if (!match.hasMatch() || HasWhiteSpace(text) || !IsUrl(u"https://" + text)) return false;
    const QStringView host = match.capturedView(1);
    return host.startsWith(u'[') || IsIPv4(host) || IsPublicName(host);
}

QString ServerOf(const QString& address) {
    return QUrl(address).authority(QUrl::FullyEncoded).section(u'@', -1).toLower();
}

bool IsSameUrl(const QString& a, const QString& b) {
    const auto plain = [](const QString& text) {
        QUrl url = Parse(text).adjusted(QUrl::RemoveUserInfo | QUrl::RemoveFragment);
        if (IsWeb(url)) url.setPort(PortOf(url));
        if (url.path().isEmpty()) url.setPath(QStringLiteral("/"));
        return url.toEncoded();
    };
    return a == b || plain(a) == plain(b);
}

bool IsSameOrigin(const QUrl& a, const QUrl& b) {
    return a.scheme() == b.scheme() && a.host() == b.host() && PortOf(a) == PortOf(b);
}

QString WithCredentialsOf(const QString& source, const QString& address) {
    const QUrl from = Parse(source);
    QUrl to = Parse(address);
    if (!IsWeb(from) || !IsWeb(to) || from.userInfo().isEmpty() || !to.userInfo().isEmpty()) return address;
    const bool isSecured = from.host() == to.host() && from.scheme() == u"http" && PortOf(from) == kHttpPort &&
                           to.scheme() == u"https" && PortOf(to) == kHttpsPort;
    if (!IsSameOrigin(from, to) && !isSecured) return address;
    to.setUserInfo(from.userInfo(QUrl::FullyEncoded));
    return QString::fromUtf8(to.toEncoded());
}

QString MaskedUrl(const QString& address) {
    const qsizetype scheme = address.indexOf(u"://");
    if (scheme < 0) return address;
    const qsizetype begin = scheme + 3;
    const auto isEnd = [](QChar c) { return c == u'/' || c == u'?' || c == u'#' || c.isSpace(); };
    const qsizetype end = std::find_if(address.begin() + begin, address.end(), isEnd) - address.begin();
    const QStringView authority = QStringView(address).sliced(begin, end - begin);
    const qsizetype at = authority.lastIndexOf(u'@'), colon = authority.indexOf(u':');
    if (at < 0 || colon < 0 || colon > at) return address;
    QString masked = address;
    return masked.replace(begin + colon + 1, at - colon - 1, QStringLiteral("***"));
}

}  // namespace vexa
