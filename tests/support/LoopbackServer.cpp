#include "LoopbackServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>

namespace tests {

namespace {

/// False when the connection is broken; a blocking socket otherwise sends all bytes.
bool SendAll(int socket, const QByteArray& bytes) {
    return send(socket, bytes.data(), static_cast<std::size_t>(bytes.size()), MSG_NOSIGNAL) == bytes.size();
}

/// The next request's head; empty when the peer is gone. Clients do not send a request before the previous answer.
QByteArray ReceiveHead(int socket) {
    QByteArray head;
    while (!head.endsWith("\r\n\r\n")) {
        char block[4096];
        const ssize_t received = recv(socket, block, sizeof block, 0);
        if (received <= 0) return {};
        head.append(block, received);
        if (head[0] == '\x16') return {};  // the beginning of a TLS handshake (RFC 8446, 5.1): TLS is not supported
    }
    return head;
}

/// The value of a header of a request or an answer; empty without one.
QByteArray HeaderOf(const QByteArray& head, const QByteArray& name) {
    for (const QByteArray& line : head.split('\n'))
        if (const qsizetype colon = line.indexOf(':');
            colon > 0 && line.first(colon).compare(name, Qt::CaseInsensitive) == 0)
            return line.sliced(colon + 1).trimmed();
    return {};
}

}  // namespace

Response Response::Of(const QByteArray& body, const QByteArray& type, const QByteArray& status,
                      const QByteArray& moreHeaders) {
    const QByteArray typeHeader = type.isEmpty() ? QByteArray() : "Content-Type: " + type + "\r\n";
    const QByteArray lengthHeader = "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
    return {"HTTP/1.1 " + status + "\r\n" + lengthHeader + typeHeader + moreHeaders + "\r\n", body};
}

Response Response::WithRanges() const {
    Response response = *this;
    response.HasRanges = true;
    response.Head.replace("\r\n\r\n", "\r\nAccept-Ranges: bytes\r\n\r\n");
    return response;
}

Response Response::WithETag(const QByteArray& etag) const {
    Response response = *this;
    response.Head.chop(2);
    response.Head += "ETag: " + etag + "\r\n\r\n";
    return response;
}

Response Response::To(const QByteArray& requestHead) const {
    const QByteArray tag = HeaderOf(Head, "etag");
    if (!tag.isEmpty() && HeaderOf(requestHead, "if-none-match") == tag)
        return Of({}, {}, "304 Not Modified", "ETag: " + tag + "\r\n");
    const QByteArray range = HeaderOf(requestHead, "range"), version = HeaderOf(requestHead, "if-range");
    const bool isOther =
        !version.isEmpty() && version != HeaderOf(Head, "etag") && version != HeaderOf(Head, "last-modified");
    if (!HasRanges || !range.startsWith("bytes=") || isOther) return *this;
    const qsizetype first = range.sliced(6).split('-')[0].toLongLong();
    const QByteArray last = QByteArray::number(Body.size() - 1), size = QByteArray::number(Body.size());
    QByteArray headers =
        "Accept-Ranges: bytes\r\nContent-Range: bytes " + QByteArray::number(first) + '-' + last + '/' + size + "\r\n";
    for (const char* name : {"ETag", "Last-Modified", "Date"})
        if (const QByteArray value = HeaderOf(Head, name); !value.isEmpty()) headers += name + (": " + value) + "\r\n";
    return Of(Body.sliced(std::min(first, Body.size())), "application/octet-stream", "206 Partial Content", headers)
        .With(Kind, FaultAfter);
}

LoopbackListener::LoopbackListener(int backlog) : Socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(Socket, generic, size) || listen(Socket, backlog) || getsockname(Socket, generic, &size))
        throw std::runtime_error("the test cannot listen on 127.0.0.1");
    Port = ntohs(address.sin_port);
}

LoopbackServer::LoopbackServer(const LoopbackListener& listener)
    : FListener(listener.Socket),
      FAddress(QStringLiteral("http://127.0.0.1:%1").arg(listener.Port)),
      FAcceptor([this] { Accept(); }) {}

LoopbackServer::~LoopbackServer() {
    {
        const vexa::TLock lock(FMutex);
        FIsStopping = true;
        for (const int socket : FSockets) shutdown(socket, SHUT_RDWR);
        FChanged.NotifyAll();
    }
    shutdown(FListener, SHUT_RDWR);
    FAcceptor.join();
    for (auto& connection : FConnections) connection.join();  // no lock: the acceptor, which adds to them, has ended
    close(FListener);
}

void LoopbackServer::ServeInTurn(const QString& path, const std::vector<Response>& responses) {
    const vexa::TLock lock(FMutex);
    FResponses[path].assign(responses.begin(), responses.end());
    FReleased.erase(path);
}

void LoopbackServer::Release(const QString& path) {
    const vexa::TLock lock(FMutex);
    FReleased.insert(path);
    FChanged.NotifyAll();
}

QStringList LoopbackServer::Paths() const {
    QStringList paths;
    for (const Request& request : Requests()) paths += request.Path;
    return paths;
}

void LoopbackServer::Accept() {
    for (int connection = 1;; ++connection) {
        const int socket = accept4(FListener, nullptr, nullptr, SOCK_CLOEXEC);
        const vexa::TLock lock(FMutex);
        if (socket < 0) return;
        FSockets.insert(socket);
        if (FIsStopping) shutdown(socket, SHUT_RDWR);
        FConnections.emplace_back([this, socket, connection] { Talk(socket, connection); });
    }
}

void LoopbackServer::Talk(int socket, int connection) {
    for (bool isOpen = true; isOpen;) {
        const QByteArray head = ReceiveHead(socket);
        if (head.isEmpty()) break;
        const QString path = head.split(' ').value(1);
        vexa::TLock lock(FMutex);
        FRequests.push_back({head, path, connection});
        auto& responses = FResponses[path];
        const Response response = responses.empty() ? Response::Failure("404 Not Found") : responses.front();
        if (responses.size() > 1) responses.pop_front();
        lock.Unlock();
        isOpen = Answer(socket, path, response.To(head));
    }
    const vexa::TLock lock(FMutex);
    FSockets.erase(socket);
    close(socket);
}

bool LoopbackServer::Answer(int socket, const QString& path, const Response& response) {
    const QByteArray answer = response.Head + response.Body;
    if (response.Kind == Fault::None) return SendAll(socket, answer);
    const qsizetype sent =
        response.FaultAfter < 0 ? 0 : std::min(response.Head.size() + response.FaultAfter, answer.size());
    if (!SendAll(socket, answer.first(sent))) return false;
    if (response.Kind == Fault::Repeat) {
        QByteArray rest = answer.sliced(sent);
        rest = rest.repeated(1 + 65536 / rest.size());
        while (SendAll(socket, rest)) {
        }
    }
    if (response.Kind == Fault::Drip) {
        for (qsizetype at = sent; at < answer.size() && SendAll(socket, answer.sliced(at, 1)); ++at)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    if (response.Kind == Fault::Reset) {
        const linger atOnce{1, 0};
        setsockopt(socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    }
    if (response.Kind != Fault::Wait) return false;
    {
        vexa::TLock lock(FMutex);
        FChanged.Wait(lock, [&]() VEXA_REQUIRES(FMutex) { return FIsStopping || FReleased.contains(path); });
    }
    return SendAll(socket, answer.sliced(sent));
}

}  // namespace tests
