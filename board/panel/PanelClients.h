// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <list>
#include <mutex>
#include <thread>

namespace VelrixBoard {

// The connections that the panel's server has taken, each held by one of its threads. Keeps a thread free for the next
// one, whatever those before it do: a client too many costs another one its place. The first to go are those that the
// server waits for, the oldest of them first; then the oldest stream of events, whose page comes back by itself. Nobody
// goes whose request the board is at, which takes seconds at most.
class PanelClients final {
public:
    // Far more than browsers open, of which each needs six connections at most.
    static constexpr std::size_t MOST = 48;

    // A client's place, for as long as the calling thread has to do with it. The socket must be open until it ends.
    class Place final {
    public:
        Place(PanelClients& ownClients, int socket);
        Place(const Place&) = delete;
        Place& operator=(const Place&) = delete;
        ~Place();

    private:
        PanelClients& clients;
    };

    // What goes on with the client of the calling thread. AWAITED: it has to send its request or read its answer, which
    // is where each begins.
    enum class State { AWAITED, SERVED, STREAMING };
    void Set(State state);

    // Ends all connections, also those that come from now on.
    void Close();

private:
    struct Client {
        std::thread::id thread;
        int socket;
        State state = State::AWAITED;
        bool dropped = false;
    };

    void MakeRoom();
    static void Drop(Client& client);

    std::mutex mutex;
    std::list<Client> clients; // the oldest first
    bool closed = false;
};

} // namespace VelrixBoard
