// loopback-server DIR [--no-compression] [--no-validators] [--pack-each-time] [--latency-ms N] [--tls CERT KEY]
//
// Serves the files of DIR on 127.0.0.1 at a free port, prints its address in its first line ("http://127.0.0.1:PORT",
// or https with the certificate and key of two PEM files), and ends when its standard input closes, so that it never
// outlives its parent process.

#include "HttpFolder.h"

#include <httplib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <charconv>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string_view>
#include <thread>

namespace {

// So large that a client's connection is never closed because of the number of its requests.
constexpr std::size_t kKeepAliveRequests = 1'000'000;
constexpr std::time_t kKeepAliveSeconds = 10;
// Each open connection occupies a thread, even when it is idle.
constexpr int kConnections = 512;

struct Options {
    std::filesystem::path Folder;
    SiteHabits Habits;
    std::chrono::milliseconds Latency{0};
    const char* Certificate = nullptr;  // with a key, serve https
    const char* Key = nullptr;
};

std::optional<Options> Parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        if (word == "--no-compression") {
            options.Habits.Compresses = false;
        } else if (word == "--no-validators") {
            options.Habits.SendsValidators = false;
        } else if (word == "--pack-each-time") {
            options.Habits.PacksEachTime = true;
        } else if (word == "--latency-ms" && i + 1 < argc) {
            const std::string_view number = argv[++i];
            int milliseconds = -1;
            const auto end = number.data() + number.size();
            if (std::from_chars(number.data(), end, milliseconds).ptr != end || milliseconds < 0) return {};
            options.Latency = std::chrono::milliseconds(milliseconds);
        } else if (word == "--tls" && i + 2 < argc) {
            options.Certificate = argv[++i];
            options.Key = argv[++i];
        } else if (!word.starts_with('-') && options.Folder.empty()) {
            options.Folder = word;
        } else {
            return {};
        }
    }
    if (!std::filesystem::is_directory(options.Folder)) return {};
    return options;
}

/// Lets many connections wait to be accepted. The library itself lets only five; a further one would be dropped, and
/// the client would try again a second later.
template <class Base>
class WithLongQueue final : public Base {
public:
    using Base::Base;
    void LengthenQueue() { listen(this->svr_sock_, kConnections); }
};

/// Ends the process when standard input ends. Nothing needs to be saved, and a graceful stop would wait until idle
/// connections time out.
void EndWithStandardInput() {
    char piece[256];
    while (read(STDIN_FILENO, piece, sizeof piece) > 0) {
    }
    std::_Exit(EXIT_SUCCESS);
}

template <class Base>
int Serve(const Options& options, WithLongQueue<Base>& server, const char* scheme) {
    if (!server.is_valid()) {
        std::cerr << "the certificate or its key cannot be used\n";
        return 1;
    }
    HttpFolder folder(options.Folder, options.Habits);
    server.new_task_queue = [] { return new httplib::ThreadPool(kConnections); };
    server.set_keep_alive_max_count(kKeepAliveRequests);
    server.set_keep_alive_timeout(kKeepAliveSeconds);
    server.set_tcp_nodelay(true);
    // Handle GET and HEAD before routing, which would match a regular expression against each path.
    server.set_pre_routing_handler([&](const httplib::Request& request, httplib::Response& response) {
        if (request.method != "GET" && request.method != "HEAD") return httplib::Server::HandlerResponse::Unhandled;
        std::this_thread::sleep_for(options.Latency);
        folder.Answer(request, response);
        return httplib::Server::HandlerResponse::Handled;
    });
    const int port = server.bind_to_any_port("127.0.0.1");
    if (port < 0) {
        std::cerr << "cannot listen on 127.0.0.1: no port is free\n";
        return 1;
    }
    server.LengthenQueue();
    std::cout << scheme << "://127.0.0.1:" << port << std::endl;
    std::thread(EndWithStandardInput).detach();
    return server.listen_after_bind() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    const auto options = Parse(argc, argv);
    if (!options) {
        std::cerr << "usage: loopback-server DIR [--no-compression] [--no-validators] [--pack-each-time] "
                     "[--latency-ms N] [--tls CERT KEY]\n";
        return 2;
    }
    if (options->Certificate) {
        WithLongQueue<httplib::SSLServer> server(options->Certificate, options->Key);
        return Serve(*options, server, "https");
    }
    WithLongQueue<httplib::Server> server;
    return Serve(*options, server, "http");
}
