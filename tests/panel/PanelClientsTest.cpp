// SPDX-License-Identifier: Apache-2.0
#include "board/panel/PanelClients.h"

#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include "board/base/FileDescriptor.h"

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;

// A client with its thread.
class Client final {
public:
    Client(PanelClients& clients, PanelClients::State state) {
        std::array<int, 2> pair{};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()), 0);
        ours = FileDescriptor(pair[0]);
        theirs = FileDescriptor(pair[1]);
        std::promise<void> held;
        thread = std::thread([this, &clients, &held, state] {
            const PanelClients::Place place(clients, ours.Get());
            clients.Set(state);
            held.set_value();
            end.get_future().wait();
        });
        held.get_future().wait();
    }
    ~Client() {
        end.set_value();
        thread.join();
    }

    bool IsDropped() const {
        pollfd wait{theirs.Get(), POLLIN, 0};
        return ::poll(&wait, 1, 0) == 1;
    }

private:
    FileDescriptor ours, theirs;
    std::promise<void> end;
    std::thread thread;
};

using State = PanelClients::State;

class PanelClientsTest : public testing::Test {
protected:
    void Add(State state, std::size_t count = 1) {
        for (std::size_t i = 0; i < count; ++i)
            all.push_back(std::make_unique<Client>(clients, state));
    }
    // The numbers of those that were dropped.
    std::string Dropped() const {
        std::string text;
        for (std::size_t i = 0; i < all.size(); ++i)
            text += all[i]->IsDropped() ? std::to_string(i) + " " : "";
        return text;
    }

    PanelClients clients;
    std::vector<std::unique_ptr<Client>> all;
};

TEST_F(PanelClientsTest, DropsTheOldestThatIsAwaitedAndThenTheOldestStream) {
    Add(State::SERVED);
    Add(State::STREAMING, PanelClients::MOST - 3);
    Add(State::AWAITED, 2);
    EXPECT_EQ(Dropped(), "");

    Add(State::SERVED);
    EXPECT_EQ(Dropped(), "46 ");
    Add(State::SERVED);
    EXPECT_EQ(Dropped(), "46 47 ");
    Add(State::STREAMING);
    EXPECT_EQ(Dropped(), "1 46 47 ");
}

TEST_F(PanelClientsTest, DropsNobodyWhomTheBoardServesNorTheNewOne) {
    Add(State::SERVED, PanelClients::MOST);

    Add(State::AWAITED);

    EXPECT_EQ(Dropped(), "");
}

TEST_F(PanelClientsTest, HasRoomAgainWhenAClientGoes) {
    Add(State::STREAMING, PanelClients::MOST);
    all.erase(all.begin());

    Add(State::STREAMING);

    EXPECT_EQ(Dropped(), "");
}

TEST_F(PanelClientsTest, AwaitsTheAnswers) {
    Add(State::STREAMING);
    Add(State::AWAITED);
    clients.AwaitAnswers(20s);
    const FileDescriptor socket(::eventfd(0, EFD_CLOEXEC)); // that nobody drops
    const PanelClients::Place place(clients, socket.Get());
    clients.Set(State::SERVED);
    std::atomic<bool> isAnswered = false;
    bool wasAnswered = false;
    std::thread end([&] {
        clients.AwaitAnswers(20s);
        wasAnswered = isAnswered;
    });

    clients.Set(State::ANSWERED);
    isAnswered = true;
    clients.Set(State::AWAITED);
    end.join();

    EXPECT_TRUE(wasAnswered);
}

TEST_F(PanelClientsTest, DropsAllAtTheEndAndThoseThatComeLater) {
    Add(State::STREAMING);
    Add(State::SERVED);

    clients.Close();
    Add(State::AWAITED);

    EXPECT_EQ(Dropped(), "0 1 2 ");
}

} // namespace
} // namespace VelrixBoard
