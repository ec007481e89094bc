// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <semaphore>
#include <utility>

#include <httplib.h>
#include <sys/socket.h>

#include "board/panel/PanelClients.h"
#include "board/panel/PanelConnection.h"
#include "board/panel/PanelServer.h"

namespace VelrixBoard {

// Accepts no more connections than it has threads; further ones wait in the kernel's backlog, without a descriptor.
class BoundedThreads final : public httplib::ThreadPool {
public:
    BoundedThreads() : httplib::ThreadPool(MOST) {}
    void enqueue(std::function<void()> work) override {
        idle.acquire();
        httplib::ThreadPool::enqueue([this, work = std::move(work)] {
            work();
            idle.release();
        });
    }

private:
    static constexpr std::size_t MOST = PanelServer::THREADS;

    std::counting_semaphore<MOST> idle{MOST};
};

// The library's server, with limits per connection and in total.
class BoundedServer final : public httplib::Server {
public:
    // Call it before listening.
    void SetPatience(std::chrono::milliseconds time) { patience = time; }

    // Call it after bind. The library's backlog is five; the kernel lets further clients retry after one second, three,
    // seven.
    void LetClientsWait() { ::listen(svr_sock_, MOST_WAITING); }

    PanelClients& Clients() { return clients; }

private:
    static constexpr int MOST_WAITING = 128;

    bool process_and_close_socket(socket_t socket) override;
    void Answer(PanelConnection& connection);

    PanelClients clients;
    std::chrono::milliseconds patience{};
};

} // namespace VelrixBoard
