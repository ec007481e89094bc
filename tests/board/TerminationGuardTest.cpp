// SPDX-License-Identifier: Apache-2.0
// Each case in a process of its own, which the guard may end.
#include "board/virtual/TerminationGuard.h"

#include <functional>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>

#include "board/virtual/SavedSignals.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

using Request = TerminationGuard::Request;

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

// Sends SIGTERM until it counts as a request.
Request TakeNext(TerminationGuard& guard) {
    Request request = Request::NONE;
    pollfd wake{guard.Descriptor(), POLLIN, 0};
    while (request == Request::NONE && ::poll(&wake, 1, 2) >= 0) {
        ::raise(SIGTERM);
        request = guard.Take();
    }
    return request;
}

TEST(TerminationGuardTest, TellsTheFirstRequestFromTheSecond) {
    const End end = InProcess([] {
        TerminationGuard guard("command");
        if (guard.Take() != Request::NONE)
            return 1;
        ::raise(SIGTERM);
        // As timeout(1) does.
        ::raise(SIGTERM);
        pollfd wake{guard.Descriptor(), POLLIN, 0};
        if (::poll(&wake, 1, 0) != 1 || guard.Take() != Request::END || guard.Take() != Request::NONE)
            return 2;
        // The loop works, so nothing ends the process by itself.
        if (::alarm(0) != 0)
            return 3;
        if (TakeNext(guard) != Request::KILL)
            return 4;
        return ::alarm(0) > TerminationGuard::KILL_LIMIT.count() ? 0 : 5;
    });

    EXPECT_EQ(WEXITSTATUS(end.status), 0);
    EXPECT_TRUE(WIFEXITED(end.status));
}

TEST(TerminationGuardTest, BeginsAgainForAnotherProgram) {
    const End end = InProcess([] {
        TerminationGuard guard("command");
        ::raise(SIGTERM);
        guard.Restart();
        if (guard.Take() != Request::END)
            return 1; // what came before is not lost
        guard.Restart();
        ::raise(SIGTERM);
        return guard.Take() == Request::END ? 0 : 2;
    });

    EXPECT_EQ(WEXITSTATUS(end.status), 0);
    EXPECT_TRUE(WIFEXITED(end.status));
}

// The loop hangs: nobody takes anything. The time is that of SIGALRM, which the test sends early.
TEST(TerminationGuardTest, EndsAProcessThatDoesNotAnswer) {
    const End end = InProcess([] {
        const TerminationGuard guard("command");
        ::raise(SIGTERM);
        const unsigned left = ::alarm(0);
        if (left == 0 || left > TerminationGuard::ANSWER_LIMIT.count())
            return 1;
        ::raise(SIGALRM);
        return 2;
    });

    EXPECT_TRUE(WIFSIGNALED(end.status)) << WEXITSTATUS(end.status);
    EXPECT_EQ(WTERMSIG(end.status), SIGTERM);
    EXPECT_EQ(end.errors, "command: did not answer SIGTERM in time; ends with all that runs on the board\n");
}

TEST(TerminationGuardTest, DoesNotWaitForAReaderWhenItEndsTheProcess) {
    const End end = InProcess([] {
        int pipe[2];
        if (::pipe2(pipe, O_CLOEXEC | O_NONBLOCK) != 0)
            return 1;
        while (::write(pipe[1], "x", 1) == 1) {
        }
        ::fcntl(pipe[1], F_SETFL, 0);
        ::dup2(pipe[1], STDERR_FILENO);
        const TerminationGuard guard("command");
        ::raise(SIGALRM);
        return 2;
    });

    EXPECT_EQ(WTERMSIG(end.status), SIGTERM);
}

// However often it is told: each of them would set the limit anew.
TEST(TerminationGuardTest, CountsTheSecondRequestOnce) {
    const End end = InProcess([] {
        TerminationGuard guard("command");
        if (TakeNext(guard) != Request::END || TakeNext(guard) != Request::KILL)
            return 1;
        const unsigned left = ::alarm(0);
        ::raise(SIGTERM);
        return left > 0 && ::alarm(0) == 0 && guard.Take() == Request::NONE ? 0 : 2;
    });

    EXPECT_EQ(WEXITSTATUS(end.status), 0);
    EXPECT_TRUE(WIFEXITED(end.status));
}

// A board that has just ended by itself is not cut off.
TEST(TerminationGuardTest, LetsAProcessEndThatIsAboutTo) {
    const End end = InProcess([] {
        { const TerminationGuard guard("command"); }
        ::raise(SIGTERM);
        return ::alarm(0) > 0 ? 7 : 8;
    });

    EXPECT_EQ(WEXITSTATUS(end.status), 7);
    EXPECT_TRUE(WIFEXITED(end.status));
}

TEST(TerminationGuardTest, GivesTheProgramTheSignalsAsTheyWereFound) {
    const End end = InProcess([] {
        sigset_t blocked, now;
        sigemptyset(&blocked);
        sigaddset(&blocked, SIGTERM);
        ::sigprocmask(SIG_SETMASK, &blocked, nullptr);
        ::signal(SIGALRM, SIG_IGN);
        const SavedSignals saved;
        ::signal(SIGXFSZ, SIG_IGN);
        const TerminationGuard guard("command");
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

} // namespace
} // namespace VelrixBoard
