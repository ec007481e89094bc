// SPDX-License-Identifier: Apache-2.0
#include "board/panel/PanelQueue.h"

#include <thread>

#include <gtest/gtest.h>
#include <poll.h>

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;

void WaitFor(const PanelQueue& queue) {
    pollfd wait{queue.Descriptor(), POLLIN, 0};
    ASSERT_EQ(::poll(&wait, 1, 20'000), 1);
}

bool IsReadable(const PanelQueue& queue) {
    pollfd wait{queue.Descriptor(), POLLIN, 0};
    return ::poll(&wait, 1, 0) == 1;
}

TEST(PanelQueueTest, DoesWorkInTheThreadThatRunsIt) {
    PanelQueue queue;
    std::thread::id worker;
    std::thread sender([&] { queue.Do([&] { worker = std::this_thread::get_id(); }); });

    WaitFor(queue);
    queue.Run();
    sender.join();

    EXPECT_EQ(worker, std::this_thread::get_id());
    EXPECT_FALSE(IsReadable(queue));
}

TEST(PanelQueueTest, HandsBackWhatTheWorkThrows) {
    PanelQueue queue;
    std::string caught;
    std::thread sender([&] {
        try {
            queue.Do([] { throw std::runtime_error("no such line"); });
        } catch (const std::runtime_error& error) {
            caught = error.what();
        }
    });

    WaitFor(queue);
    queue.Run();
    sender.join();

    EXPECT_EQ(caught, "no such line");
}

TEST(PanelQueueTest, RefusesWorkThatWaitsAndComesAfterItsEnd) {
    PanelQueue queue;
    int refused = 0;
    const auto send = [&] {
        try {
            queue.Do([] {});
        } catch (const PanelError& error) {
            refused += error.Status() == 503 ? 1 : 0;
        }
    };
    std::thread sender(send);

    WaitFor(queue);
    queue.Close();
    sender.join();
    EXPECT_EQ(refused, 1);
    send();

    EXPECT_EQ(refused, 2);
}

TEST(PanelQueueTest, HoldsABoundedNumberOfRequests) {
    PanelQueue queue;
    std::size_t done = 0;
    for (std::size_t i = 0; i < PanelQueue::LONGEST; ++i)
        EXPECT_THROW(queue.Do([&] { ++done; }, 0ms), PanelError);

    try {
        queue.Do([&] { ++done; }, 20s);
        ADD_FAILURE() << "was taken";
    } catch (const PanelError& error) {
        EXPECT_STREQ(error.what(), "too many requests at once; try again");
    }
    queue.Run();

    EXPECT_EQ(done, PanelQueue::LONGEST);
}

} // namespace
} // namespace VelrixBoard
