// SPDX-License-Identifier: Apache-2.0
#include "board/panel/PanelClients.h"

#include <algorithm>
#include <iterator>

#include <sys/socket.h>

namespace VelrixBoard {

PanelClients::Place::Place(PanelClients& ownClients, int socket) : clients(ownClients) {
    const std::lock_guard lock(clients.mutex);
    clients.clients.push_back({std::this_thread::get_id(), socket});
    if (clients.closed)
        Drop(clients.clients.back());
    clients.MakeRoom();
}

PanelClients::Place::~Place() {
    const std::lock_guard lock(clients.mutex);
    clients.clients.remove_if([](const Client& client) { return client.thread == std::this_thread::get_id(); });
}

void PanelClients::Set(State state) {
    const std::lock_guard lock(mutex);
    for (Client& client : clients)
        if (client.thread == std::this_thread::get_id())
            client.state = state;
    wake.notify_all();
}

void PanelClients::AwaitAnswers(std::chrono::milliseconds longest) {
    std::unique_lock lock(mutex);
    wake.wait_for(lock, longest, [this] {
        return std::none_of(clients.begin(), clients.end(), [](const Client& client) {
            return client.state == State::SERVED || client.state == State::ANSWERED;
        });
    });
}

void PanelClients::Close() {
    const std::lock_guard lock(mutex);
    closed = true;
    for (Client& client : clients)
        Drop(client);
}

// Makes room for the newest, which must not be dropped itself.
void PanelClients::MakeRoom() {
    const auto held =
        std::count_if(clients.begin(), clients.end(), [](const Client& client) { return !client.dropped; });
    if (static_cast<std::size_t>(held) <= MOST)
        return;
    const auto newest = std::prev(clients.end());
    for (const State state : {State::AWAITED, State::ANSWERED, State::STREAMING}) {
        const auto victim = std::find_if(clients.begin(), newest, [state](const Client& client) {
            return !client.dropped && client.state == state;
        });
        if (victim != newest)
            return Drop(*victim);
    }
}

// Unblocks reads and writes with an end of the connection.
void PanelClients::Drop(Client& client) {
    client.dropped = true;
    ::shutdown(client.socket, SHUT_RDWR);
}

} // namespace VelrixBoard
