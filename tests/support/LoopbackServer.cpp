#include "LoopbackServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <stdexcept>

namespace tests {

namespace {

bool SendAll(int socket, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

/// The next request's head, taken off `buffer`, which is refilled from the socket; nothing when the peer is gone.
std::optional<std::string> ReceiveHead(int socket, std::string& buffer) {
    for (;;) {
        if (const auto end = buffer.find("\r\n\r\n"); end != std::string::npos) {
            std::string head = buffer.substr(0, end + 2);
            buffer.erase(0, end + 4);
            return head;
        }
        char block[4096];
        const ssize_t received = recv(socket, block, sizeof block, 0);
        if (received <= 0) return std::nullopt;
        buffer.append(block, static_cast<std::size_t>(received));
    }
}

Request ParseHead(std::string_view head, int connection) {
    Request request;
    request.Connection = connection;
    const auto path = head.find(' ') + 1;
    request.Path = head.substr(path, head.find(' ', path) - path);
    for (auto at = head.find("\r\n") + 2; at < head.size();) {
        const auto end = head.find("\r\n", at);
        const std::string_view line = head.substr(at, end - at);
        const auto colon = line.find(':');
        std::string name(line.substr(0, colon));
        std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
        request.Headers[name] = line.substr(std::min(line.find_first_not_of(' ', colon + 1), line.size()));
        at = end + 2;
    }
    return request;
}

}  // namespace

Response Response::Of(std::string body, const std::string& type) {
    Response response;
    response.Body = std::move(body);
    if (!type.empty()) response.Headers["Content-Type"] = type;
    return response;
}

Response Response::Redirect(const std::string& location) {
    Response response = Failure(302, "Found");
    response.Headers["Location"] = location;
    return response;
}

Response Response::Failure(int status, const std::string& reason) {
    Response response = Of("<html>no feed, no audio</html>", "text/html");
    response.Status = status;
    response.Reason = reason;
    return response;
}

Response Response::With(Fault what, int after) && {
    What = what;
    FaultAfter = after;
    return std::move(*this);
}

LoopbackServer::LoopbackServer() {
    FListener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (FListener < 0 || bind(FListener, generic, size) != 0 || listen(FListener, 64) != 0 ||
        getsockname(FListener, generic, &size) != 0)
        throw std::runtime_error("the test server cannot listen");
    FPort = ntohs(address.sin_port);
    FAcceptor = std::thread([this] { Accept(); });
}

LoopbackServer::~LoopbackServer() {
    {
        const std::lock_guard lock(FMutex);
        FIsStopping = true;
        shutdown(FListener, SHUT_RDWR);
        for (const int socket : FSockets) shutdown(socket, SHUT_RDWR);
    }
    FChanged.notify_all();
    FAcceptor.join();
    for (auto& connection : FConnections) connection.join();  // nobody adds any more
    close(FListener);
}

QString LoopbackServer::Url(const std::string& path) const {
    return QStringLiteral("http://127.0.0.1:%1").arg(FPort) + QString::fromStdString(path);
}

void LoopbackServer::Serve(const std::string& path, Handler handler) {
    const std::lock_guard lock(FMutex);
    FHandlers[path] = std::move(handler);
    FReleased.erase(path);
}

void LoopbackServer::Serve(const std::string& path, Response response) {
    Serve(path, [response = std::move(response)](const Request&) { return response; });
}

void LoopbackServer::Release(const std::string& path) {
    {
        const std::lock_guard lock(FMutex);
        FReleased.insert(path);
    }
    FChanged.notify_all();
}

std::vector<Request> LoopbackServer::Requests() const {
    const std::lock_guard lock(FMutex);
    return FRequests;
}

std::vector<std::string> LoopbackServer::Paths() const {
    std::vector<std::string> paths;
    for (const Request& request : Requests()) paths.push_back(request.Path);
    return paths;
}

int LoopbackServer::Count(const std::string& path) const {
    const auto paths = Paths();
    return static_cast<int>(std::count(paths.begin(), paths.end(), path));
}

void LoopbackServer::Forget() {
    const std::lock_guard lock(FMutex);
    FRequests.clear();
}

bool LoopbackServer::WaitUntilRequested(const std::string& path) const {
    std::unique_lock lock(FMutex);
    return FChanged.wait_for(lock, std::chrono::minutes(1), [&] {
        return std::any_of(FRequests.begin(), FRequests.end(), [&](const Request& r) { return r.Path == path; });
    });
}

void LoopbackServer::Accept() {
    for (int connection = 1;; ++connection) {
        const int socket = accept4(FListener, nullptr, nullptr, SOCK_CLOEXEC);
        const std::lock_guard lock(FMutex);
        if (FIsStopping || socket < 0) {
            if (socket >= 0) close(socket);
            return;
        }
        const int on = 1;
        setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        FSockets.insert(socket);
        FConnections.emplace_back([this, socket, connection] { Talk(socket, connection); });
    }
}

void LoopbackServer::Talk(int socket, int connection) {
    std::string buffer;
    while (const auto head = ReceiveHead(socket, buffer)) {
        const Request request = ParseHead(*head, connection);
        {
            const std::lock_guard lock(FMutex);
            FRequests.push_back(request);
        }
        FChanged.notify_all();
        if (!Answer(socket, request)) break;
    }
    const std::lock_guard lock(FMutex);
    FSockets.erase(socket);
    close(socket);
}

bool LoopbackServer::Answer(int socket, const Request& request) {
    Handler handler;
    {
        const std::lock_guard lock(FMutex);
        const auto found = FHandlers.find(request.Path);
        if (found != FHandlers.end()) handler = found->second;
    }
    const Response response = handler ? handler(request) : Response::Failure(404, "Not Found");
    if (response.What != Fault::None && response.FaultAfter < 0 && !Misbehave(socket, response, request.Path))
        return false;
    std::string head = "HTTP/1.1 " + std::to_string(response.Status) + " " + response.Reason + "\r\n";
    for (const auto& [name, value] : response.Headers) head.append(name).append(": ").append(value).append("\r\n");
    head += response.Chunked ? "Transfer-Encoding: chunked" : "Content-Length: " + std::to_string(response.Body.size());
    if (!SendAll(socket, head + "\r\n\r\n")) return false;
    std::string_view body = response.Body;
    if (response.What != Fault::None && response.FaultAfter >= 0) {
        const std::string_view first = body.substr(0, static_cast<std::size_t>(response.FaultAfter));
        if (!SendBody(socket, response, first) || !Misbehave(socket, response, request.Path)) return false;
        body.remove_prefix(first.size());
    }
    return SendBody(socket, response, body) && (!response.Chunked || SendAll(socket, "0\r\n\r\n"));
}

bool LoopbackServer::SendBody(int socket, const Response& response, std::string_view part) const {
    if (!response.Chunked) return SendAll(socket, part);
    while (!part.empty()) {
        const std::string_view chunk = part.substr(0, 1000);
        char size[16];
        std::snprintf(size, sizeof size, "%zx\r\n", chunk.size());
        if (!SendAll(socket, size) || !SendAll(socket, chunk) || !SendAll(socket, "\r\n")) return false;
        part.remove_prefix(chunk.size());
    }
    return true;
}

/// Whether the answer goes on.
bool LoopbackServer::Misbehave(int socket, const Response& response, const std::string& path) {
    if (response.What == Fault::Reset) {
        const linger at_once{1, 0};
        setsockopt(socket, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    }
    if (response.What != Fault::Wait) return false;
    std::unique_lock lock(FMutex);
    FChanged.wait(lock, [&] { return FIsStopping || FReleased.contains(path); });
    return !FIsStopping;
}

std::string Gzip(std::string_view text) {
    z_stream stream{};
    constexpr int kGzipWindow = 15 + 16;
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, kGzipWindow, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::bad_alloc();
    std::string out(deflateBound(&stream, text.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

}  // namespace tests
