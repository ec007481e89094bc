// SPDX-License-Identifier: Apache-2.0
#include "board/panel/PanelServer.h"

#include <charconv>
#include <condition_variable>
#include <mutex>
#include <string_view>
#include <thread>

#include <httplib.h>
#include <nlohmann/json.hpp>
#include <sys/socket.h>

#include "board/base/BoardError.h"
#include "board/panel/BoundedServer.h"
#include "board/panel/PanelPage.h"
#include "board/panel/PanelQueue.h"
#include "board/panel/PanelRefusal.h"

namespace VelrixBoard {

namespace {

using namespace std::chrono_literals;

constexpr const char* ADDRESS = "127.0.0.1";
constexpr const char* PICTURE = "/board.svg";
constexpr const char* RESOURCE_POLICY = "Cross-Origin-Resource-Policy";

// Pages get a single change at once, and many in batches of this duration.
constexpr auto MESSAGE_DISTANCE = 25ms;
// Interval of a page's thread to check whether the page is still connected, and the number of intervals between
// messages with the time, which keep the connection alive.
constexpr auto LOOK_DISTANCE = 50ms;
constexpr int TIME_LOOKS = 20;
// How long the board's end waits for pages to get the last message.
constexpr auto LAST_MESSAGE = 200ms;
// Longer than any command.
constexpr std::size_t LONGEST_BODY = 4096;

std::optional<std::size_t> ReadNumber(const std::string& text) {
    std::size_t number = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

// Without SO_REUSEPORT: two boards would share a port, and each get some of the requests.
void ConfigureSocket(int socket) {
    const int yes = 1;
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

} // namespace

struct PanelServer::Inside {
    Inside(PanelFeed& panelFeed, Actions panelActions) : feed(panelFeed), actions(std::move(panelActions)) {}

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

    // True when the request was rejected.
    bool Refuse(const httplib::Request& request, httplib::Response& response) const {
        response.set_header("Cache-Control", "no-store");
        response.set_header("X-Content-Type-Options", "nosniff");
        response.set_header("Referrer-Policy", "no-referrer");
        response.set_header(RESOURCE_POLICY, "same-origin");
        response.set_header("Content-Security-Policy",
                            "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; "
                            "img-src data:; base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
        if (!IsOwnName(request.get_header_value("Host"))) {
            AnswerError(response, 403, "the panel is only served as http://127.0.0.1:" + std::to_string(port) + "/");
            return true;
        }
        const bool isOfOtherOrigin = request.has_header("Origin") && !IsOwnOrigin(request.get_header_value("Origin"));
        if (isOfOtherOrigin || !IsOfOwnSite(request)) {
            AnswerError(response, 403, "requests of other sites are refused");
            return true;
        }
        const int status = StatusOfForm(request);
        if (status == 405)
            response.set_header("Allow", "GET, HEAD, POST");
        if (status != 0)
            AnswerError(response, status);
        return status != 0;
    }

    // The browser's fetch metadata; other programs send none. A page of another site may link to the panel and embed
    // the picture as an image, which its scripts cannot read. It may not load anything else, not even opaquely, since
    // every request occupies a thread.
    static bool IsOfOwnSite(const httplib::Request& request) {
        const auto isFor = [&](const char* path, const char* mode, const char* destination) {
            return request.method == "GET" && request.path == path &&
                   request.get_header_value("Sec-Fetch-Mode") == mode &&
                   request.get_header_value("Sec-Fetch-Dest") == destination;
        };
        const std::string site = request.get_header_value("Sec-Fetch-Site");
        return site.empty() || site == "same-origin" || site == "none" || isFor("/", "navigate", "document") ||
               isFor(PICTURE, "no-cors", "image");
    }

    // The status if the library must not read the request, else 0. Without a length it would wait for a body; a
    // compressed body can expand a thousandfold.
    static int StatusOfForm(const httplib::Request& request) {
        if (request.method == "GET" || request.method == "HEAD")
            return 0;
        if (request.method != "POST")
            return 405;
        if (!request.has_header("Content-Length") || request.has_header("Transfer-Encoding"))
            return 411;
        if (request.has_header("Content-Encoding"))
            return 415;
        const std::string length = request.get_header_value("Content-Length");
        std::size_t bytes = 0;
        const auto [end, error] = std::from_chars(length.data(), length.data() + length.size(), bytes);
        if (length.empty() || end != length.data() + length.size() ||
            request.get_header_value_count("Content-Length") > 1)
            return 400;
        return error != std::errc() || bytes > LONGEST_BODY ? 413 : 0;
    }

    void SendEvents(httplib::Response& response) {
        server.Clients().Set(PanelClients::State::STREAMING);
        response.set_chunked_content_provider(
            "text/event-stream",
            [this, reader = PanelFeed::Reader(), looks = 0](std::size_t, httplib::DataSink& sink) mutable {
                const std::optional<std::string> message = feed.Next(reader, LOOK_DISTANCE);
                if (!message) {
                    sink.done();
                    return false;
                }
                if (message->empty() && ++looks % TIME_LOOKS != 0)
                    return sink.is_writable();
                const std::string event = "data: " + (message->empty() ? feed.TimeMessage() : *message) + "\n\n";
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

    // Pages get the last message, with the program's end.
    void WaitForStreams() {
        std::unique_lock lock(mutex);
        wake.wait_for(lock, LAST_MESSAGE, [this] { return streams == 0; });
    }

    // Answers with the message of what the function throws.
    static void Try(httplib::Response& response, const std::function<void()>& answer) {
        try {
            answer();
        } catch (const PanelError& error) {
            AnswerError(response, error.Status(), error.what());
        } catch (const std::exception& error) {
            AnswerError(response, 409, error.what());
        }
    }

    void HandlePost(const httplib::Request& request, httplib::Response& response) {
        server.Clients().Set(PanelClients::State::SERVED);
        Try(response, [&] { response.set_content(actions.post(request.path, request.body), JSON); });
        server.Clients().Set(PanelClients::State::ANSWERED);
    }

    void SendHistory(const httplib::Request& request, httplib::Response& response) {
        const auto signal = ReadNumber(request.get_param_value("signal"));
        const auto before = ReadNumber(request.get_param_value("before"));
        if (!signal || !before)
            return AnswerError(response, 400, "the history takes ?signal=NUMBER&before=ID");
        const auto older = feed.Older(*signal, *before);
        if (!older)
            return AnswerError(response, 404, "the board has no signal of that number");
        response.set_content(*older, JSON);
    }

    // An error in the middle of the file ends the connection before the end of the file, which the client sees.
    void SendRecording(httplib::Response& response) {
        Try(response, [&] {
            auto recording = actions.recording();
            response.set_header("Content-Disposition", "attachment; filename=\"run.vcd\"");
            response.set_chunked_content_provider("application/octet-stream",
                                                  [next = std::move(recording)](std::size_t, httplib::DataSink& sink) {
                                                      try {
                                                          const std::string piece = next();
                                                          if (!piece.empty())
                                                              return sink.write(piece.data(), piece.size());
                                                          sink.done();
                                                          return true;
                                                      } catch (const std::exception&) {
                                                          return false;
                                                      }
                                                  });
        });
    }

    void SendPicture(httplib::Response& response) {
        Try(response, [&] {
            response.set_content(actions.picture(), "image/svg+xml");
            response.set_header("Refresh", "1"); // for a tab that shows it; <img> has no use for it
            response.headers.erase(RESOURCE_POLICY);
            response.set_header(RESOURCE_POLICY, "cross-origin");
        });
    }

    void Configure(std::chrono::milliseconds patience) {
        server.new_task_queue = [] { return new BoundedThreads; };
        server.SetPatience(patience);
        server.set_tcp_nodelay(true);
        server.set_payload_max_length(LONGEST_BODY);
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
        server.Get("/history", [this](const httplib::Request& request, httplib::Response& response) {
            SendHistory(request, response);
        });
        server.Get("/run.vcd",
                   [this](const httplib::Request&, httplib::Response& response) { SendRecording(response); });
        server.Get(PICTURE, [this](const httplib::Request&, httplib::Response& response) { SendPicture(response); });
        server.Post(".*", [this](const httplib::Request& request, httplib::Response& response) {
            HandlePost(request, response);
        });
        server.set_error_handler(httplib::Server::Handler([](const httplib::Request&, httplib::Response& response) {
            if (response.body.empty())
                AnswerError(response, response.status);
        }));
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
        server.LetClientsWait();
        thread = std::thread([this] { server.listen_after_bind(); });
        // Stopping a server that does not run yet has no effect.
        while (!server.is_running())
            std::this_thread::yield();
    }

    PanelFeed& feed;
    const Actions actions;
    BoundedServer server; // makes the whole process ignore SIGPIPE
    int port = 0;
    std::thread thread;
    std::mutex mutex;
    std::condition_variable wake;
    int streams = 0; // open event streams
};

PanelServer::PanelServer(PanelFeed& panelFeed, Actions panelActions, std::optional<int> wantedPort,
                         std::chrono::milliseconds patience)
    : inside(std::make_unique<Inside>(panelFeed, std::move(panelActions))) {
    inside->Configure(patience);
    inside->Listen(wantedPort);
}

PanelServer::~PanelServer() {
    inside->feed.Close();
    inside->WaitForStreams();
    inside->server.Clients().AwaitAnswers(LAST_MESSAGE); // of the command that ended the board
    inside->server.stop();
    inside->server.Clients().Close();
    inside->thread.join();
}

int PanelServer::Port() const {
    return inside->port;
}

std::string PanelServer::Address() const {
    return std::string("http://") + ADDRESS + ":" + std::to_string(inside->port) + "/";
}

} // namespace VelrixBoard
