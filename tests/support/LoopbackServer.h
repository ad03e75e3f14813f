#pragma once
// An HTTP server inside the test program, on real sockets: it answers and misbehaves as told, and records the requests.
// It listens on a free port of 127.0.0.1 and stops when it is destroyed, whatever its clients do.

#include "VEXA.Runtime.Mutex.h"

#include <QStringList>

#include <deque>
#include <map>
#include <set>
#include <thread>
#include <vector>

namespace tests {

struct Request {
    QByteArray Head;     // request line and headers
    QString Path;        // with the query
    int Connection = 0;  // the number of its connection, counted from 1
};

/// What happens in place of the rest of an answer: the connection is closed, or reset; the rest waits until the test
/// releases the path; the rest is sent byte by byte with pauses; or it is sent again and again as long as the client
/// reads.
enum class Fault { None, Close, Reset, Wait, Drip, Repeat };

struct Response {
    QByteArray Head, Body;
    Fault Kind = Fault::None;
    int FaultAfter = -1;  // bytes of the body sent before the fault; if negative, not even the head is sent
    /// Whether range requests are answered with the range, unless their If-Range names another version by ETag or time
    /// of change. FaultAfter counts from the first byte sent.
    bool HasRanges = false;

    static Response Of(const QByteArray& body, const QByteArray& type = "application/rss+xml",
                       const QByteArray& status = "200 OK", const QByteArray& moreHeaders = {});
    static Response Failure(const QByteArray& status, const QByteArray& moreHeaders = {}) {
        return Of("<html>no feed, no audio</html>", "text/html", status, moreHeaders);
    }
    static Response Redirect(const QByteArray& to, const QByteArray& status = "302 Found") {
        return Failure(status, "Location: " + to + "\r\n");
    }
    Response With(Fault what, int after = -1) const { return {Head, Body, what, after, HasRanges}; }
    /// A request that names this ETag gets 304.
    Response WithETag(const QByteArray& etag) const;
    Response WithRanges() const;
    /// The answer to a request with this head.
    Response To(const QByteArray& requestHead) const;
};

/// A socket that listens on a free port of 127.0.0.1.
struct LoopbackListener {
    explicit LoopbackListener(int backlog);

    int Socket = -1;
    quint16 Port = 0;
};

class LoopbackServer {
public:
    LoopbackServer() : LoopbackServer(LoopbackListener(64)) {}
    ~LoopbackServer();

    QString Url(const QString& path) const { return FAddress + path; }
    /// From now on requests for `path` get `response`. Other paths give 404.
    void Serve(const QString& path, const Response& response) { ServeInTurn(path, {response}); }
    /// Each request gets the next of the responses, and all later requests get the last one.
    void ServeInTurn(const QString& path, const std::vector<Response>& responses);
    /// Lets the waiting responses of `path` go on, and all later ones until the next Serve.
    void Release(const QString& path);

    /// The requests since the last Forget, in order.
    std::vector<Request> Requests() const {
        const vexa::TLock lock(FMutex);
        return FRequests;
    }
    QStringList Paths() const;
    int Count(const QString& path) const { return static_cast<int>(Paths().count(path)); }
    void Forget() {
        const vexa::TLock lock(FMutex);
        FRequests.clear();
    }

private:
    explicit LoopbackServer(const LoopbackListener& listener);

    void Accept();
    void Talk(int socket, int connection);
    /// Whether the connection stays open.
    bool Answer(int socket, const QString& path, const Response& response);

    const int FListener;
    const QString FAddress;
    mutable vexa::TMutex FMutex;
    vexa::TCondition FChanged;
    bool FIsStopping VEXA_GUARDED_BY(FMutex) = false;
    std::map<QString, std::deque<Response>> FResponses VEXA_GUARDED_BY(FMutex);  // the next ones, by path
    std::set<QString> FReleased VEXA_GUARDED_BY(FMutex);
    std::vector<Request> FRequests VEXA_GUARDED_BY(FMutex);
    std::set<int> FSockets VEXA_GUARDED_BY(FMutex);
    std::vector<std::thread> FConnections VEXA_GUARDED_BY(FMutex);
    std::thread FAcceptor;  // starts when all else is there
};

}  // namespace tests
