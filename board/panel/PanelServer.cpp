// SPDX-License-Identifier: Apache-2.0
#include "board/panel/PanelServer.h"

#include <cerrno>
#include <condition_variable>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <mutex>
#include <string_view>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <httplib.h>
#include <netinet/in.h>
#include <nlohmann/json.hpp>
#include <sys/socket.h>

#include "board/panel/PanelPage.h"
#include "board/panel/PanelQueue.h"
#include "board/virtual/BoardError.h"

namespace VelrixBoard {

namespace {

using namespace std::chrono_literals;

constexpr const char* ADDRESS = "127.0.0.1";
constexpr const char* JSON = "application/json";

// Pages hear of a single change at once, and of many in parts of this length.
constexpr auto MESSAGE_DISTANCE = 25ms;
// How soon a page that went away is noticed.
constexpr auto PING_DISTANCE = 1000ms;
// How long the end of the board waits for pages to be told of it.
constexpr auto LAST_MESSAGE = 200ms;
constexpr std::size_t LONGEST_BODY = 4096;

void AnswerError(httplib::Response& response, int status, const std::string& text) {
    response.status = status;
    response.set_content(
        nlohmann::json({{"error", text}}).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace), JSON);
}

// The kernel's buffers and the patience take what a page that is not reading misses; then it is let go, and comes back
// by itself.
void ConfigureTimes(httplib::Server& server, std::chrono::seconds patience) {
    // A connection that stays open would hold a thread, and the end of the board, for seconds.
    server.set_keep_alive_max_count(1);
    server.set_keep_alive_timeout(static_cast<std::time_t>(patience.count()));
    server.set_read_timeout(patience);
    server.set_write_timeout(patience);
    server.set_tcp_nodelay(true);
    server.set_payload_max_length(LONGEST_BODY);
}

// Nobody else may have the port: without this function two boards would share one, and get every other request each.
void ConfigureSocket(int socket) {
    const int yes = 1;
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

} // namespace

struct PanelServer::Inside {
    Inside(PanelFeed& panelFeed, Post onPost) : feed(panelFeed), post(std::move(onPost)) {}

    bool IsOwnName(std::string_view name) const {
        const std::string suffix = ":" + std::to_string(port);
        for (const std::string host : {"127.0.0.1", "localhost"})
            if (name == host + suffix || (port == 80 && name == host))
                return true;
        return false;
    }

    bool IsOwnOrigin(std::string_view origin) const {
        constexpr std::string_view SCHEME = "http://";
        return origin.substr(0, SCHEME.size()) == SCHEME && IsOwnName(origin.substr(SCHEME.size()));
    }

    // True when the request was answered, by a refusal.
    bool Refuse(const httplib::Request& request, httplib::Response& response) const {
        response.set_header("Cache-Control", "no-store");
        response.set_header("X-Content-Type-Options", "nosniff");
        response.set_header("Referrer-Policy", "no-referrer");
        response.set_header("Cross-Origin-Resource-Policy", "same-origin");
        response.set_header("Content-Security-Policy",
                            "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; "
                            "img-src data:; base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
        if (!IsOwnName(request.get_header_value("Host"))) {
            AnswerError(response, 403, "the panel is only served as http://127.0.0.1:" + std::to_string(port) + "/");
            return true;
        }
        if (request.has_header("Origin") && !IsOwnOrigin(request.get_header_value("Origin"))) {
            AnswerError(response, 403, "requests of other sites are refused");
            return true;
        }
        // Without a length the library would wait for a body that does not come.
        if (request.method != "GET" && request.method != "HEAD" && !request.has_header("Content-Length")) {
            AnswerError(response, 411, "send the request with a Content-Length");
            return true;
        }
        return false;
    }

    void SendEvents(httplib::Response& response) {
        response.set_chunked_content_provider(
            "text/event-stream",
            [this, reader = PanelFeed::Reader()](std::size_t, httplib::DataSink& sink) mutable {
                const std::optional<std::string> message = feed.Next(reader, PING_DISTANCE);
                if (!message) {
                    sink.done();
                    return false;
                }
                const std::string event = message->empty() ? ": ping\n\n" : "data: " + *message + "\n\n";
                if (!sink.write(event.data(), event.size()))
                    return false;
                if (!message->empty())
                    feed.Pause(MESSAGE_DISTANCE);
                return true;
            },
            [this](bool) {
                const std::lock_guard lock(mutex);
                --streams;
                wake.notify_all();
            });
        const std::lock_guard lock(mutex);
        ++streams;
    }

    // Pages that read get the last message, which says how the program ended.
    void WaitForStreams() {
        std::unique_lock lock(mutex);
        wake.wait_for(lock, LAST_MESSAGE, [this] { return streams == 0; });
    }

    void HandlePost(const httplib::Request& request, httplib::Response& response) const {
        try {
            response.set_content(post(request.path, request.body), JSON);
        } catch (const PanelError& error) {
            AnswerError(response, error.Status(), error.what());
        } catch (const std::exception& error) {
            AnswerError(response, 409, error.what());
        }
    }

    void Configure(std::chrono::seconds patience) {
        server.new_task_queue = [] { return new httplib::ThreadPool(THREADS); };
        ConfigureTimes(server, patience);
        server.set_socket_options(ConfigureSocket);
        server.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
            return Refuse(request, response) ? httplib::Server::HandlerResponse::Handled
                                             : httplib::Server::HandlerResponse::Unhandled;
        });
        for (const PanelFile& file : PanelFiles()) {
            const auto serve = [&file](const httplib::Request&, httplib::Response& response) {
                response.set_content(file.content.data(), file.content.size(), std::string(file.type).c_str());
            };
            server.Get("/" + std::string(file.name), serve);
            if (file.name == "index.html")
                server.Get("/", serve);
        }
        server.Get("/events", [this](const httplib::Request&, httplib::Response& response) { SendEvents(response); });
        server.Get("/state", [this](const httplib::Request&, httplib::Response& response) {
            PanelFeed::Reader reader;
            response.set_content(feed.Next(reader, 0ms).value_or("{}"), JSON);
        });
        server.Post(".*", [this](const httplib::Request& request, httplib::Response& response) {
            HandlePost(request, response);
        });
        const httplib::Server::Handler onError = [](const httplib::Request&, httplib::Response& response) {
            if (response.body.empty())
                AnswerError(response, response.status, "there is nothing of that name here");
        };
        server.set_error_handler(onError);
    }

    void Listen(std::optional<int> wanted) {
        if (wanted && *wanted != 0) {
            if (!server.bind_to_port(ADDRESS, *wanted))
                ThrowSystemError("cannot open the panel on port " + std::to_string(*wanted) +
                                 "; name another one, or none for one that is free");
            port = *wanted;
        } else if (!wanted && server.bind_to_port(ADDRESS, DEFAULT_PORT)) {
            port = DEFAULT_PORT;
        } else {
            port = server.bind_to_any_port(ADDRESS);
            if (port <= 0)
                ThrowSystemError("cannot open the panel on a free port of 127.0.0.1");
        }
        thread = std::thread([this] { server.listen_after_bind(); });
        // To stop a server that does not run yet would go unheard.
        while (!server.is_running())
            std::this_thread::yield();
    }

    // The library has no way to end a connection that waits for its first request, as browsers keep some ready, or for
    // a page that reads nothing. Their descriptors are found by the port they are bound to.
    void CloseConnections() const {
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", error)) {
            const int descriptor = std::atoi(entry.path().filename().c_str());
            sockaddr_in name{};
            socklen_t length = sizeof name;
            if (::getsockname(descriptor, reinterpret_cast<sockaddr*>(&name), &length) == 0 &&
                name.sin_family == AF_INET && ntohs(name.sin_port) == port)
                ::shutdown(descriptor, SHUT_RDWR);
        }
    }

    PanelFeed& feed;
    const Post post;
    httplib::Server server; // ignores SIGPIPE in all of the process from now on
    int port = 0;
    std::thread thread;
    std::mutex mutex;
    std::condition_variable wake;
    int streams = 0; // open event streams
};

PanelServer::PanelServer(PanelFeed& panelFeed, Post onPost, std::optional<int> wantedPort,
                         std::chrono::seconds patience)
    : inside(std::make_unique<Inside>(panelFeed, std::move(onPost))) {
    inside->Configure(patience);
    inside->Listen(wantedPort);
}

PanelServer::~PanelServer() {
    inside->feed.Close();
    inside->WaitForStreams();
    inside->server.stop();
    inside->CloseConnections();
    inside->thread.join();
}

int PanelServer::Port() const {
    return inside->port;
}

std::string PanelServer::Address() const {
    return std::string("http://") + ADDRESS + ":" + std::to_string(inside->port) + "/";
}

} // namespace VelrixBoard
