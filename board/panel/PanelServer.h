// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "board/panel/PanelFeed.h"

namespace VelrixBoard {

// The panel's web server: the page with its scripts, the event stream, and the commands of the page. Listens only on
// 127.0.0.1.
//
//     GET  /               the page; its parts by their names
//     GET  /events         server-sent events, one per message of PanelFeed
//     GET  /state          the first of these messages, for programs
//     GET  /history        ?signal=NUMBER&before=ID: older changes of a signal
//     GET  /run.vcd        the run so far, as a VCD file
//     GET  /board.svg      the front panel, as a picture that a browser's tab asks for again each second
//     POST /inputs/NAME    and other posts: passed to the function, path and body
//
// Any web site can make the user's browser send requests to this machine. Against DNS rebinding a request must name
// this server as its host; against cross-site requests its origin, if present, must be the panel, unless the user
// followed a link to the page. Any site may embed the picture as an image: it holds no secret, and is not readable
// there.
//
// A fixed pool of threads, internal to the server, one per open page and request. Size and number of requests are
// limited (PanelConnection, PanelClients); a stalled client occupies a thread for a time and never blocks the board.
class PanelServer final {
public:
    static constexpr int DEFAULT_PORT = 8642;
    static constexpr std::size_t THREADS = 64;

    // What the server asks the panel for, on the thread of the request. Each throws PanelError for a status other than
    // 200.
    struct Actions {
        // Executes a post, and returns the answer's body in JSON.
        std::function<std::string(const std::string& path, const std::string& body)> post;
        // The SVG picture.
        std::function<std::string()> picture;
        // Begins a recording of the run: a function that gives its next piece, empty at the end.
        std::function<std::function<std::string()>()> recording;
    };

    // Listens when it returns. Port 0 takes a free one; nothing takes DEFAULT_PORT, or a free one if that is in use.
    // Drops a client that neither sends nor reads for the patience; the kernel buffers some data for a page that does
    // not read. Throws BoardError when a given port is in use.
    PanelServer(PanelFeed& panelFeed, Actions panelActions, std::optional<int> wantedPort,
                std::chrono::milliseconds patience = std::chrono::seconds(1));
    // Closes the feed and every connection, and joins the threads, which takes some milliseconds.
    ~PanelServer();

    int Port() const;
    std::string Address() const; // "http://127.0.0.1:8642/"

private:
    struct Inside;
    std::unique_ptr<Inside> inside;
};

} // namespace VelrixBoard
