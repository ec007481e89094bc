// SPDX-License-Identifier: Apache-2.0
#include "board/sandbox/Residents.h"

#include <csignal>
#include <functional>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/PrivateBoard.h"

namespace VelrixBoard {
namespace {

using TestSupport::PrivateBoard;

pid_t Child(const std::function<void()>& work) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        work();
        ::_exit(0);
    }
    return child;
}

void Wait() {
    for (;;)
        ::pause();
}

class ResidentsTest : public testing::Test {
protected:
    ResidentsTest() { ::prctl(PR_SET_CHILD_SUBREAPER, 1); }
    ~ResidentsTest() override { residents.End(); }

    const Residents residents{false};
};

TEST_F(ResidentsTest, KnowsChildrenAndTheirChildren) {
    EXPECT_THAT(Descendants(), testing::IsEmpty());

    const pid_t child = Child([] {
        if (::fork() == 0)
            Wait();
        Wait();
    });

    EXPECT_TRUE(PrivateBoard::WaitFor([] { return Descendants().size() == 2; }));
    EXPECT_THAT(Descendants(), testing::Contains(child));
}

TEST_F(ResidentsTest, SendsASignalToAll) {
    Child([] {
        if (::fork() == 0)
            Wait();
        Wait();
    });
    ASSERT_TRUE(PrivateBoard::WaitFor([] { return Descendants().size() == 2; }));

    residents.Signal(SIGTERM);

    // This process, the subreaper, adopts the grandchild when its parent has ended.
    for (int i = 0; i < 2; ++i) {
        int status = 0;
        ASSERT_GT(::waitpid(-1, &status, 0), 0);
        EXPECT_EQ(WTERMSIG(status), SIGTERM);
    }
}

TEST_F(ResidentsTest, TellsWhoWorksFromWhoWaits) {
    const pid_t waiting = Child(Wait);
    EXPECT_TRUE(PrivateBoard::WaitFor([&] { return !residents.AnyWorks(); }));

    const pid_t working = Child([] {
        while (::getppid() > 0) {
        }
    });

    EXPECT_TRUE(PrivateBoard::WaitFor([&] { return residents.AnyWorks(); }));
    ::kill(working, SIGKILL);
    ::kill(waiting, SIGKILL);
}

TEST_F(ResidentsTest, EndsThoseToThatOthersStartMeanwhile) {
    Child([] {
        // Each starts the next one and exits.
        for (int i = 0; i < 100'000; ++i)
            if (::fork() != 0)
                ::_exit(0);
        Wait();
    });

    residents.End();

    EXPECT_THAT(Descendants(), testing::IsEmpty());
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
}

} // namespace
} // namespace VelrixBoard
