#pragma once
// An HTTP server inside the test program, on real sockets: it answers as told, misbehaves as told, and remembers what
// it was asked. It listens on 127.0.0.1 at a free port and stops when it is destroyed, whatever its clients do.

#include <QString>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace tests {

struct Request {
    std::string Path;                            // with its query
    std::map<std::string, std::string> Headers;  // by lower-case name
    int Connection = 0;                          // which connection it came over, counted from 1
};

/// What the server does in place of a plain answer.
enum class Fault {
    None,
    Close,  // ends the connection
    Reset,  // ends it with a reset
    Wait,   // goes on when the test releases the path
};

struct Response {
    int Status = 200;
    std::string Reason = "OK";
    std::map<std::string, std::string> Headers;  // in addition to the body's length or chunking
    std::string Body;
    bool Chunked = false;
    Fault What = Fault::None;
    /// How much of the body goes out before the fault; before the status line when negative.
    int FaultAfter = -1;

    static Response Of(std::string body, const std::string& type = "application/rss+xml");
    static Response Redirect(const std::string& location);
    static Response Failure(int status, const std::string& reason);
    Response With(Fault what, int after = -1) &&;
};

class LoopbackServer {
public:
    using Handler = std::function<Response(const Request&)>;

    LoopbackServer();
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    QString Url(const std::string& path) const;

    /// From now on `path` is answered so. Handlers run on the connections' threads. Other paths give 404.
    void Serve(const std::string& path, Handler handler);
    void Serve(const std::string& path, Response response);
    /// Lets the waiting responses of `path` go on, and all later ones.
    void Release(const std::string& path);

    /// What was asked, in order, since the last Forget.
    std::vector<Request> Requests() const;
    std::vector<std::string> Paths() const;
    int Count(const std::string& path) const;
    void Forget();
    /// Sleeps until `path` was requested; false when that takes a minute.
    bool WaitUntilRequested(const std::string& path) const;

private:
    void Accept();
    void Talk(int socket, int connection);
    /// Whether the connection stays open.
    bool Answer(int socket, const Request& request);
    bool SendBody(int socket, const Response& response, std::string_view part) const;
    bool Misbehave(int socket, const Response& response, const std::string& path);

    int FListener = -1;
    int FPort = 0;
    std::thread FAcceptor;
    mutable std::mutex FMutex;
    mutable std::condition_variable FChanged;
    // All guarded by FMutex.
    bool FIsStopping = false;
    std::map<std::string, Handler> FHandlers;
    std::set<std::string> FReleased;
    std::vector<Request> FRequests;
    std::set<int> FSockets;
    std::vector<std::thread> FConnections;
};

/// `text` as a gzip stream.
std::string Gzip(std::string_view text);

}  // namespace tests
