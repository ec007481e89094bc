// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <list>
#include <mutex>
#include <thread>

namespace VelrixBoard {

// The accepted connections of the panel's server, one per thread. Keeps a thread free for the next one by dropping
// another: first the oldest client that the server waits for, then the oldest event stream, whose page reconnects.
// Never drops a client whose request the board executes, which takes seconds at most.
class PanelClients final {
public:
    // Far more than browsers open: six connections each at most.
    static constexpr std::size_t MOST = 48;

    // A client's entry while the calling thread serves it. The socket must stay open until it is destroyed.
    class Place final {
    public:
        Place(PanelClients& ownClients, int socket);
        Place(const Place&) = delete;
        Place& operator=(const Place&) = delete;
        ~Place();

    private:
        PanelClients& clients;
    };

    // The state of the calling thread's client. AWAITED, the initial one: the server waits for the client to send or
    // read. ANSWERED: the board has executed its request, and the server writes the answer.
    enum class State { AWAITED, SERVED, ANSWERED, STREAMING };
    void Set(State state);

    // Waits until all that were served have their answers.
    void AwaitAnswers(std::chrono::milliseconds longest);

    // Ends all connections, and rejects new ones.
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
    std::condition_variable wake;
    std::list<Client> clients; // the oldest first
    bool closed = false;
};

} // namespace VelrixBoard
