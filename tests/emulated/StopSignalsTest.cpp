// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/StopSignals.h"

#include <csignal>

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace VelrixBoard {
namespace {

// The seconds after which the process would end; 0: it would not. It will not afterwards.
unsigned LeftToLive() {
    return ::alarm(0);
}

TEST(StopSignals, HandsOutSignalsInTheirOrder) {
    const StopSignals signals;
    pollfd wait{signals.Descriptor(), POLLIN, 0};
    EXPECT_EQ(::poll(&wait, 1, 0), 0);
    EXPECT_EQ(StopSignals::Take(signals.Descriptor()), 0);

    for (const int signal : {SIGHUP, SIGUSR2, SIGUSR1})
        ::raise(signal);

    EXPECT_EQ(::poll(&wait, 1, 0), 1);
    for (const int signal : {SIGHUP, SIGUSR2, SIGUSR1, 0})
        EXPECT_EQ(StopSignals::Take(signals.Descriptor()), signal);
    EXPECT_EQ(LeftToLive(), 0U);
}

TEST(StopSignals, EndsTheProcessUnlessASignalToStopIsAnswered) {
    for (const int signal : {SIGINT, SIGQUIT, SIGTERM}) {
        const StopSignals signals;
        ::raise(signal);
        const unsigned left = LeftToLive();
        EXPECT_TRUE(left == 5 || left == 6) << left;
    }
    const StopSignals signals;
    ::raise(SIGTERM);
    StopSignals::Answered();
    EXPECT_EQ(LeftToLive(), 0U);
}

TEST(StopSignals, EndsTheProcessSoonAtTheSecondSignalThoughTheFirstWasAnswered) {
    const StopSignals signals;
    ::raise(SIGINT);
    StopSignals::Answered();

    ::raise(SIGTERM);

    EXPECT_EQ(LeftToLive(), 1U);
}

TEST(StopSignals, LetsTheProcessLiveThatIsDoneWithThem) {
    {
        const StopSignals signals;
        ::raise(SIGTERM);
    }
    EXPECT_EQ(LeftToLive(), 0U);
}

TEST(StopSignalsDeathTest, EndsWithTheSignalsNumber) {
    EXPECT_EXIT(
        {
            const StopSignals signals;
            ::raise(SIGTERM);
            ::raise(SIGALRM);
        },
        testing::ExitedWithCode(128 + SIGTERM), "velrix-emulator: ended by a signal that the machine did not answer");
}

TEST(StopSignals, IgnoresWhatTheProcessWasStartedToIgnore) {
    std::signal(SIGHUP, SIG_IGN);
    {
        const StopSignals signals;
        ::raise(SIGHUP);
        EXPECT_EQ(StopSignals::Take(signals.Descriptor()), 0);
    }
    std::signal(SIGHUP, SIG_DFL);
}

} // namespace
} // namespace VelrixBoard
