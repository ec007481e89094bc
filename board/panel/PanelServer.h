// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "board/panel/PanelFeed.h"

namespace VelrixBoard {

// The panel's web server: the page with its scripts, the stream of what happens, and what the page's controls send. It
// listens on 127.0.0.1 alone.
//
//     GET  /               the page; its parts by their names
//     GET  /events         server-sent events, a message of PanelFeed each
//     GET  /state          the first of these messages, for programs
//     POST /inputs/NAME    and whatever else is posted: handed to the function, path and body
//
// Any web site that a user opens can make the browser send requests to this machine. So a request must name this very
// server as its host, or a name of the attacker's that leads here would do; and if it says which site it comes from,
// this has to be the panel, or the user has followed a link to it.
//
// Threads: a fixed number of them, one for each open page and request. From the constructor's return to the destructor
// they are the server's own affair. What clients send and how many there are has bounds (PanelConnection,
// PanelClients); a client that stalls costs a thread for a time, and the board nothing.
class PanelServer final {
public:
    static constexpr int DEFAULT_PORT = 8642;
    static constexpr std::size_t THREADS = 64;

    // Does what was posted, in the thread of the request, and returns the answer's body in JSON. Throws PanelError for
    // an answer other than 200.
    using Post = std::function<std::string(const std::string& path, const std::string& body)>;

    // Listens when it returns. Port 0 takes a free one; nothing takes DEFAULT_PORT, and a free one where that is in
    // use. A client that neither sends nor reads for as long as the patience lasts is let go; the kernel's buffers take
    // some of what a page does not read. Throws BoardError when a
    // port that was named is in use.
    PanelServer(PanelFeed& panelFeed, Post onPost, std::optional<int> wantedPort,
                std::chrono::milliseconds patience = std::chrono::seconds(1));
    PanelServer(const PanelServer&) = delete;
    PanelServer& operator=(const PanelServer&) = delete;
    // Closes the feed and every connection, and waits for the threads, which takes some milliseconds.
    ~PanelServer();

    int Port() const;
    std::string Address() const; // "http://127.0.0.1:8642/"

private:
    struct Inside;
    std::unique_ptr<Inside> inside;
};

} // namespace VelrixBoard
