// SPDX-License-Identifier: Apache-2.0
// Real processes: a first one, which stands for process 1 of a board, and its child, the program.
#include "board/time/ProgramThreads.h"

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <ctime>
#include <functional>
#include <string>
#include <thread>
#include <tuple>

#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/PrivateBoard.h"

namespace VelrixBoard {
namespace {

using testing::HasSubstr;
using TestSupport::PrivateBoard;

// A program that does what its function says and gets orders by a pipe, which ends its reads.
class Programs final {
public:
    explicit Programs(const std::function<void(int orders)>& program) {
        if (::pipe(orders.data()) != 0)
            ADD_FAILURE() << "no pipe";
        first = ::fork();
        if (first == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            ::prctl(PR_SET_CHILD_SUBREAPER, 1);
            ::close(orders[1]);
            const pid_t child = ::fork();
            if (child == 0) {
                ::prctl(PR_SET_PDEATHSIG, SIGKILL);
                program(orders[0]);
                ::_exit(0);
            }
            while (::waitpid(-1, nullptr, 0) > 0) {
            }
            ::pause();
        }
        threads.SetFirst(first);
    }
    Programs(const Programs&) = delete;
    Programs& operator=(const Programs&) = delete;
    ~Programs() {
        ::kill(first, SIGKILL);
        ::waitpid(first, nullptr, 0);
        ::close(orders[0]);
        ::close(orders[1]);
    }

    void Order() const { EXPECT_EQ(::write(orders[1], "x", 1), 1); }
    bool Sleep(std::size_t count) {
        return PrivateBoard::WaitFor([&] { return threads.AreAsleep() && threads.Threads().size() == count; });
    }

    std::array<int, 2> orders{};
    pid_t first = -1;
    ProgramThreads threads;
};

void Read(int orders) {
    char order = 0;
    std::ignore = ::read(orders, &order, 1);
}

[[noreturn]] void UseProcessor() {
    for (std::atomic<int> i{0};; ++i) {
    }
}

void UseProcessorFor(std::chrono::microseconds time) {
    const auto used = [] {
        timespec now{};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
    };
    const auto end = used() + time;
    while (used() < end) {
    }
}

// Keeps this process and those that it starts to one processor, so that they run in turns, at any moment of a look.
class OneProcessor final {
public:
    OneProcessor() {
        EXPECT_EQ(::sched_getaffinity(0, sizeof before, &before), 0);
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(::sched_getcpu(), &one);
        EXPECT_EQ(::sched_setaffinity(0, sizeof one, &one), 0);
    }
    OneProcessor(const OneProcessor&) = delete;
    OneProcessor& operator=(const OneProcessor&) = delete;
    ~OneProcessor() { ::sched_setaffinity(0, sizeof before, &before); }

private:
    cpu_set_t before{};
};

// A flag that processes share.
class SharedFlag final {
public:
    SharedFlag() {
        void* const memory = ::mmap(nullptr, sizeof *flag, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory != MAP_FAILED)
            flag = new (memory) std::atomic<bool>(false);
    }
    SharedFlag(const SharedFlag&) = delete;
    SharedFlag& operator=(const SharedFlag&) = delete;
    ~SharedFlag() { ::munmap(flag, sizeof *flag); }

    std::atomic<bool>* flag = nullptr;
};

TEST(ProgramThreadsTest, SaysWhatSleepingThreadsWaitIn) {
    Programs programs(Read);

    ASSERT_TRUE(programs.Sleep(1));

    const ProgramThread& thread = programs.threads.Threads().front();
    EXPECT_EQ(thread.call, SYS_read);
    EXPECT_EQ(thread.arguments[0], static_cast<std::uint64_t>(programs.orders[0]));
    EXPECT_GT(thread.spent, 0U);
    EXPECT_EQ(thread.process, thread.number);
    EXPECT_THAT(programs.threads.Describe(thread), HasSubstr("thread " + std::to_string(thread.number) + " of "));
}

TEST(ProgramThreadsTest, FindsAThreadThatRuns) {
    Programs programs([](int orders) {
        Read(orders);
        UseProcessor();
    });
    ASSERT_TRUE(programs.Sleep(1));

    programs.Order();

    EXPECT_TRUE(PrivateBoard::WaitFor([&] { return !programs.threads.AreAsleep(); }));
    for (int i = 0; i < 100; ++i)
        EXPECT_FALSE(programs.threads.AreAsleep());
}

TEST(ProgramThreadsTest, FindsThreadsAndProcessesThatAreMadeAndThatEnd) {
    Programs programs([](int orders) {
        Read(orders);
        std::thread([] { ::pause(); }).detach();
        Read(orders);
        const pid_t child = ::fork();
        if (child == 0)
            ::pause();
        Read(orders);
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        Read(orders);
    });

    EXPECT_TRUE(programs.Sleep(1));
    programs.Order();
    EXPECT_TRUE(programs.Sleep(2));
    programs.Order();
    EXPECT_TRUE(programs.Sleep(3));
    programs.Order();
    EXPECT_TRUE(programs.Sleep(2));
}

TEST(ProgramThreadsTest, TakesAStoppedProgramForAsleepInNoCall) {
    Programs programs([](int orders) {
        Read(orders);
        ::raise(SIGSTOP);
        ::pause();
    });
    ASSERT_TRUE(programs.Sleep(1));
    const pid_t program = programs.threads.Threads().front().number;

    programs.Order();

    const auto sleepsIn = [&](long call) {
        return PrivateBoard::WaitFor(
            [&, call] { return programs.threads.AreAsleep() && programs.threads.Threads().front().call == call; });
    };
    EXPECT_TRUE(sleepsIn(-1));
    ::kill(program, SIGCONT);
    EXPECT_TRUE(sleepsIn(SYS_pause));
}

// Always one of the two runs, and never the same for long.
TEST(ProgramThreadsTest, IsNotFooledByTwoThreadsThatHandWorkToEachOther) {
    Programs programs([](int orders) {
        std::array<int, 2> there{}, back{};
        std::ignore = ::pipe(there.data());
        std::ignore = ::pipe(back.data());
        Read(orders);
        std::thread other([&] {
            char ball = 0;
            while (::read(there[0], &ball, 1) == 1)
                std::ignore = ::write(back[1], &ball, 1);
        });
        char ball = 0;
        while (::write(there[1], &ball, 1) == 1)
            std::ignore = ::read(back[0], &ball, 1);
    });
    ASSERT_TRUE(programs.Sleep(1));
    programs.Order();
    ASSERT_TRUE(PrivateBoard::WaitFor([&] { return !programs.threads.AreAsleep(); }));
    int asleep = 0;
    for (int i = 0; i < 20'000; ++i)
        asleep += programs.threads.AreAsleep() ? 1 : 0;

    EXPECT_EQ(asleep, 0);
}

// The program's only thread makes another one, and sleeps until that has ended.
TEST(ProgramThreadsTest, SeesAThreadThatIsMadeDuringALook) {
    const OneProcessor processor;
    const SharedFlag works;
    ASSERT_NE(works.flag, nullptr);
    Programs programs([&works](int orders) {
        for (int round = 0;; ++round) {
            Read(orders);
            UseProcessorFor(std::chrono::microseconds(3'000 + round % 8 * 500));
            std::thread(UseProcessorFor, std::chrono::milliseconds(4)).join();
            works.flag->store(false);
        }
    });
    constexpr int ROUNDS = 30, MOST_LOOKS = 1'000'000;
    int asleep = 0;

    for (int round = 0; round < ROUNDS; ++round) {
        ASSERT_TRUE(programs.Sleep(1));
        works.flag->store(true);
        programs.Order();
        for (int look = 0; works.flag->load() && look < MOST_LOOKS; ++look)
            asleep += programs.threads.AreAsleep() && works.flag->load() ? 1 : 0;
        ASSERT_FALSE(works.flag->load()) << "the program did not work";
    }

    EXPECT_EQ(asleep, 0);
}

TEST(ProgramThreadsTest, DoesNotTakeABoardWithoutProgramsForAsleep) {
    Programs programs(Read);
    ASSERT_TRUE(programs.Sleep(1));
    const pid_t program = programs.threads.Threads().front().number;

    programs.Order();

    EXPECT_TRUE(PrivateBoard::WaitFor([=] { return ::kill(program, 0) != 0; }));
    for (int i = 0; i < 100; ++i)
        EXPECT_FALSE(programs.threads.AreAsleep());
}

TEST(ProgramThreadsTest, SendsSignalsOfTimers) {
    Programs programs([](int orders) {
        sigset_t set;
        sigemptyset(&set);
        sigaddset(&set, SIGUSR1);
        ::sigprocmask(SIG_BLOCK, &set, nullptr);
        Read(orders);
        siginfo_t information{};
        if (::sigwaitinfo(&set, &information) == SIGUSR1 && information.si_code == SI_TIMER &&
            information.si_value.sival_int == 42)
            ::pause();
    });
    ASSERT_TRUE(programs.Sleep(1));
    const pid_t process = programs.threads.Threads().front().process;
    programs.Order();

    programs.threads.Send({process, 0, SIGUSR1, SI_TIMER, 1, 42});

    EXPECT_TRUE(PrivateBoard::WaitFor(
        [&] { return programs.threads.AreAsleep() && programs.threads.Threads().front().call == SYS_pause; }));
}

} // namespace
} // namespace VelrixBoard
