// SPDX-License-Identifier: Apache-2.0
// Each case in a process of its own, which the signals may end.
#include "board/loop/StopSignals.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include "board/loop/ProcessSignals.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

using Request = StopSignals::Request;
using std::chrono::milliseconds;

struct End {
    int status;
    std::string errors;
};

End InProcess(const std::function<int()>& main) {
    const TestSupport::TemporaryFolder folder;
    const pid_t process = ::fork();
    if (process == 0) {
        ::dup2(::open(folder.Path("errors").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), STDERR_FILENO);
        ::_exit(main());
    }
    int status = 0;
    ::waitpid(process, &status, 0);
    return {status, folder.Read("errors")};
}

// The time to the handler's next look, which then never comes by itself.
milliseconds StopTimer() {
    itimerval left{};
    const itimerval none{};
    ::setitimer(ITIMER_REAL, &none, &left);
    return std::chrono::ceil<milliseconds>(std::chrono::seconds(left.it_value.tv_sec) +
                                           std::chrono::microseconds(left.it_value.tv_usec));
}

// As if of another process than the ones before.
void Send(int signal, pid_t sender) {
    siginfo_t information{};
    information.si_code = SI_QUEUE;
    information.si_pid = sender;
    ::syscall(SYS_rt_sigqueueinfo, ::getpid(), signal, &information);
}

bool IsReady(const StopSignals& stop) {
    pollfd wake{stop.Descriptor(), POLLIN, 0};
    return ::poll(&wake, 1, 0) == 1;
}

TEST(StopSignalsTest, TellsTheFirstSignalFromTheSecond) {
    const End end = InProcess([] {
        StopSignals stop("command", {SIGTERM});
        if (IsReady(stop) || stop.Take() != Request::NONE || stop.Signal() != 0)
            return 1;
        ::raise(SIGTERM);
        // As timeout(1) does.
        ::raise(SIGTERM);
        if (!IsReady(stop) || stop.Take() != Request::END || stop.Take() != Request::NONE || IsReady(stop))
            return 2;
        Send(SIGTERM, 1);
        return IsReady(stop) && stop.Take() == Request::KILL && stop.Reason() == "a second SIGTERM" ? 0 : 3;
    });

    EXPECT_TRUE(WIFEXITED(end.status));
    EXPECT_EQ(WEXITSTATUS(end.status), 0);
}

TEST(StopSignalsTest, LeavesASecondSignalNineTenthsOfASecond) {
    const End end = InProcess([] {
        StopSignals stop("command", {SIGINT, SIGTERM});
        ::raise(SIGINT);
        stop.Answered();
        ::raise(SIGTERM); // at once, but another signal
        if (stop.Take() != Request::KILL || stop.Signal() != SIGTERM)
            return 1;
        // A third one, or an answer, gives no more time.
        const milliseconds before = StopTimer();
        Send(SIGTERM, 1);
        stop.Answered();
        return before > milliseconds(0) && before <= milliseconds(900) && StopTimer() == milliseconds(0) ? 0 : 2;
    });

    EXPECT_TRUE(WIFEXITED(end.status));
    EXPECT_EQ(WEXITSTATUS(end.status), 0);
}

TEST(StopSignalsTest, KillsWhereNothingAnswersForFiveSeconds) {
    const End end = InProcess([] {
        StopSignals stop("command", {SIGINT});
        ::raise(SIGINT);
        const milliseconds left = StopTimer();
        if (left <= milliseconds(4000) || left > milliseconds(5000))
            return 1;
        ::raise(SIGALRM);
        const milliseconds last = StopTimer();
        if (last <= milliseconds(1000) || last > milliseconds(2000))
            return 2;
        return stop.Take() == Request::KILL && stop.Reason() == "5 s after SIGINT, which the program did not get" ? 0
                                                                                                                  : 3;
    });

    EXPECT_TRUE(WIFEXITED(end.status));
    EXPECT_EQ(WEXITSTATUS(end.status), 0);
}

TEST(StopSignalsTest, LeavesAProgramThatHasASigtermSevenSeconds) {
    const End end = InProcess([] {
        StopSignals stop("command", {SIGTERM});
        ::raise(SIGTERM);
        if (stop.Take() != Request::END)
            return 1;
        stop.Answered();
        ::raise(SIGALRM); // at five seconds
        const milliseconds left = StopTimer();
        // This case is done long before two seconds have passed, and far from five, so all of the seven are left.
        return left > milliseconds(5000) && left <= milliseconds(7000) && stop.Take() == Request::NONE ? 0 : 2;
    });

    EXPECT_TRUE(WIFEXITED(end.status));
    EXPECT_EQ(WEXITSTATUS(end.status), 0);
}

TEST(StopSignalsTest, LeavesAProgramThatHasAnInterruptItsTime) {
    const End end = InProcess([] {
        StopSignals stop("command", {SIGINT, SIGQUIT});
        ::raise(SIGINT);
        stop.Answered();
        StopTimer();
        ::raise(SIGALRM); // at five seconds
        return stop.Take() == Request::END && StopTimer() == milliseconds(0) ? 0 : 1;
    });

    EXPECT_TRUE(WIFEXITED(end.status));
    EXPECT_EQ(WEXITSTATUS(end.status), 0);
}

// The loop hangs: nobody takes anything. The last of the times is waited for, the others pass by the test's SIGALRM.
TEST(StopSignalsTest, EndsAProcessByTheSignalThatItDoesNotTake) {
    for (const int signal : {SIGTERM, SIGINT, SIGQUIT}) {
        const End end = InProcess([signal] {
            const StopSignals stop("command", {SIGINT, SIGQUIT, SIGTERM});
            ::raise(signal);
            Send(signal, 1);
            ::raise(SIGALRM); // too early for the end
            for (;;)
                ::pause();
            return 0;
        });

        EXPECT_TRUE(WIFSIGNALED(end.status)) << WEXITSTATUS(end.status);
        EXPECT_EQ(WTERMSIG(end.status), signal);
        EXPECT_FALSE(WCOREDUMP(end.status));
        std::string expected = "command: did not end in time after a signal; ends with all that runs on the board\n";
        if (signal == SIGQUIT && std::getenv("VELRIX_TEST_EMULATOR"))
            expected += "qemu: uncaught target signal 3 (Quit) - core dumped\n"; // the emulator's own words
        EXPECT_EQ(end.errors, expected);
    }
}

TEST(StopSignalsTest, IgnoresAnInterruptThatTheProcessWasStartedToIgnore) {
    const End end = InProcess([] {
        ::signal(SIGINT, SIG_IGN);
        ::signal(SIGTERM, SIG_IGN);
        StopSignals stop("command", {SIGINT, SIGTERM});
        ::raise(SIGINT);
        if (stop.Take() != Request::NONE)
            return 1;
        ::raise(SIGTERM);
        return stop.Take() == Request::END ? 0 : 2;
    });

    EXPECT_TRUE(WIFEXITED(end.status));
    EXPECT_EQ(WEXITSTATUS(end.status), 0);
}

TEST(StopSignalsTest, DoesNotWaitForAReaderWhenItEndsTheProcess) {
    const End end = InProcess([] {
        int pipe[2];
        if (::pipe2(pipe, O_CLOEXEC | O_NONBLOCK) != 0)
            return 1;
        while (::write(pipe[1], "x", 1) == 1) {
        }
        ::fcntl(pipe[1], F_SETFL, 0);
        ::dup2(pipe[1], STDERR_FILENO);
        const StopSignals stop("command", {SIGTERM});
        ::raise(SIGTERM);
        Send(SIGTERM, 1);
        for (;;)
            ::pause();
        return 2;
    });

    EXPECT_TRUE(WIFSIGNALED(end.status));
    EXPECT_EQ(WTERMSIG(end.status), SIGTERM);
}

// A board that has just ended by itself is not cut off.
TEST(StopSignalsTest, LetsAProcessEndThatIsAboutTo) {
    const End end = InProcess([] {
        { const StopSignals stop("command", {SIGTERM}); }
        ::raise(SIGTERM);
        return StopTimer() > milliseconds(0) ? 7 : 8;
    });

    EXPECT_TRUE(WIFEXITED(end.status));
    EXPECT_EQ(WEXITSTATUS(end.status), 7);
}

TEST(StopSignalsTest, GivesTheProgramTheSignalsAsTheyWereFound) {
    const End end = InProcess([] {
        sigset_t blocked, now;
        sigemptyset(&blocked);
        sigaddset(&blocked, SIGTERM);
        ::sigprocmask(SIG_SETMASK, &blocked, nullptr);
        ::signal(SIGALRM, SIG_IGN);
        const SavedSignals saved;
        ::signal(SIGXFSZ, SIG_IGN);
        const StopSignals stop("command", {SIGTERM});
        ::sigprocmask(SIG_BLOCK, nullptr, &now);
        if (sigismember(&now, SIGTERM) != 0)
            return 1;
        saved.Restore();
        ::sigprocmask(SIG_BLOCK, nullptr, &now);
        if (sigismember(&now, SIGTERM) != 1)
            return 2;
        struct sigaction action {};
        for (const auto& [number, handler] : {std::pair{SIGTERM, SIG_DFL}, {SIGALRM, SIG_IGN}, {SIGXFSZ, SIG_DFL}})
            if (::sigaction(number, nullptr, &action) != 0 || action.sa_handler != handler)
                return 3;
        return 0;
    });

    EXPECT_EQ(WEXITSTATUS(end.status), 0);
    EXPECT_TRUE(WIFEXITED(end.status));
}

TEST(SignalBlockTest, LetsNoLateSignalEndTheCommand) {
    const End end = InProcess([] {
        { const SignalBlock block{SIGUSR1}; }
        ::raise(SIGUSR1);
        return 3;
    });

    EXPECT_TRUE(WIFEXITED(end.status));
    EXPECT_EQ(WEXITSTATUS(end.status), 3);
}

} // namespace
} // namespace VelrixBoard
