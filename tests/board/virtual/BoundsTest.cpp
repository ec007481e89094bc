// SPDX-License-Identifier: Apache-2.0
// Whatever a program, a terminal, a browser or a log does, the board serves writes to value files and ends on request.
#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "board/base/FileDescriptor.h"
#include "tests/board/virtual/RunningBoard.h"

namespace VelrixBoard {
namespace {

using Stream = RunningBoard::Stream;

// What somebody does to the board for as long as the object lives.
using Nuisance = std::function<void(RunningBoard&)>;

// A script writes commands that are none.
void SpoilControl(RunningBoard& board) {
    const FileDescriptor pipe(::open(board.Path("control").c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    const std::string line = "no command\n";
    const auto before = std::signal(SIGPIPE, SIG_IGN); // the board may end meanwhile
    while (pipe && ::write(pipe.Get(), line.data(), line.size()) > 0) {
    }
    std::signal(SIGPIPE, before);
}

// Browsers ask for everything and read nothing.
Nuisance OpenPages() {
    return [pages = std::make_shared<std::vector<FileDescriptor>>()](RunningBoard& board) {
        const std::string before = "http://127.0.0.1:";
        const std::size_t at = board.Errors().find(before);
        if (at == std::string::npos || pages->size() >= 20)
            return;
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(board.Errors().substr(at + before.size()))));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        FileDescriptor page(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        const std::string request = "GET /events HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
        if (::connect(page.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
            ::send(page.Get(), request.data(), request.size(), MSG_NOSIGNAL) > 0)
            pages->push_back(std::move(page));
    };
}

void SendSignals(RunningBoard& board) {
    for (int i = 0; i < 100; ++i)
        board.Signal(i % 2 == 0 ? SIGWINCH : SIGUSR1);
}

struct Behaviour {
    const char* name;
    Stream errors;
    bool isRead;
    std::vector<std::string> options;
    std::string program; // does this at the same time as it writes to value files
    Nuisance nuisance = {};
    int writes = 500;
};

// More than a pipe or a terminal takes of lines or pictures that nobody reads.
constexpr int MANY = 5000;

// Each with SIGTERM ignored.
const Behaviour BEHAVIOURS[] = {
    {"TerminalThatIsNotRead", Stream::TERMINAL, false, {"--terminal"}, "", {}, MANY},
    {"OutputToATerminalThatIsNotRead", Stream::TERMINAL, false, {"--terminal"}, "yes &"},
    {"OutputWithoutEnd", Stream::TERMINAL, true, {"--terminal"}, "yes &"},
    {"OutputWithoutALineEnd", Stream::TERMINAL, true, {"--terminal"}, "tr '\\0' x < /dev/zero &"},
    {"OutputOfCarriageReturns", Stream::TERMINAL, true, {"--terminal"}, "tr '\\0' '\\r' < /dev/zero &"},
    {"OutputOfACodeWithoutEnd", Stream::TERMINAL, true, {"--terminal"}, "printf '\\033['; tr '\\0' 1 < /dev/zero &"},
    {"PipeThatIsNotRead", Stream::PIPE, false, {"--terminal"}, "", {}, MANY},
    {"CommandsThatAreNone", Stream::PIPE, false, {}, "", SpoilControl},
    {"CommandsThatAreNoneAndATerminalThatIsNotRead", Stream::TERMINAL, false, {"--terminal"}, "", SpoilControl},
    {"BrowsersThatDoNotRead",
     Stream::FILE,
     true,
     {"--panel=0"},
     "yes +x | head -c 4M > /mnt/share/logger &",
     OpenPages()},
    {"WebLogThatGrows", Stream::FILE, true, {"--terminal"}, "yes +x | head -c 16M > /mnt/share/logger &"},
    {"WebLogWithoutALineEnd", Stream::FILE, true, {}, "tr '\\0' x < /dev/zero | head -c 64M > /mnt/share/logger &"},
    {"WebLogThatBeginsAgain", Stream::FILE, true, {}, "while :; do seq 1000 > /mnt/share/logger; done &"},
    {"RecordsOfTheSystemLog", Stream::FILE, true, {"--terminal"}, "yes record | logger &"},
    {"WritesOfAnotherProgram",
     Stream::TERMINAL,
     true,
     {"--terminal"},
     "while :; do printf 1; printf 0; done > /sys/class/leds/ledNetStsRed/brightness &"},
    {"SignalsWithoutEnd", Stream::TERMINAL, true, {"--terminal"}, "", SendSignals},
    {"ProgramsWithoutEnd", Stream::FILE, true, {}, "while :; do true & done 2>/dev/null &"},
};

struct Case {
    Behaviour behaviour;
    std::string isolation;
};

void PrintTo(const Case& tested, std::ostream* stream) {
    *stream << tested.behaviour.name << " " << tested.isolation;
}

std::vector<Case> Cases() {
    std::vector<Case> cases;
    for (const std::string& isolation : Isolations())
        for (const Behaviour& behaviour : BEHAVIOURS)
            cases.push_back({behaviour, isolation});
    return cases;
}

// Says that it is at work, does what the behaviour wants, and then the rest.
std::string Script(const Behaviour& behaviour, const std::string& rest) {
    return "trap '' TERM USR1; touch /mnt/share/ready; " + behaviour.program + " " + rest;
}

std::vector<std::string> Options(const Behaviour& behaviour, const std::string& isolation) {
    std::vector<std::string> options = behaviour.options;
    options.insert(options.end(), {"--isolation", isolation});
    return options;
}

void Trouble(const Behaviour& behaviour, RunningBoard& board) {
    if (behaviour.nuisance && std::filesystem::exists(board.Path("share/ready")))
        behaviour.nuisance(board);
}

class BoundsTest : public testing::TestWithParam<Case> {};

INSTANTIATE_TEST_SUITE_P(Board, BoundsTest, testing::ValuesIn(Cases()), [](const auto& test) {
    return std::string(test.param.behaviour.name) + "_" + test.param.isolation;
});

TEST_P(BoundsTest, ServesWritesAndEndsByTheSecondRequestWithinASecond) {
    constexpr long long MOST_US = 100'000; // of the board's processor time, however busy the machine is
    const Behaviour& behaviour = GetParam().behaviour;
    RunningBoard board(
        behaviour.errors, behaviour.isRead, Options(behaviour, GetParam().isolation),
        Script(behaviour, std::string(WRITE_PROBE_PROGRAM " ") + LINE + " " + std::to_string(behaviour.writes) +
                              " /mnt/share/result; touch /mnt/share/done; while :; do sleep 1000; done"));

    const bool isDone = board.WaitFor([&] {
        Trouble(behaviour, board);
        return std::filesystem::exists(board.Path("share/done")) || board.HasEnded();
    });

    EXPECT_TRUE(isDone) << "the board does not serve writes";
    long long most = -1, longest = -1;
    std::istringstream(board.Content("share/result")) >> most >> longest;
    RecordProperty("microseconds", std::to_string(most));
    RecordProperty("longest", std::to_string(longest));
    EXPECT_GE(most, 0) << board.Errors();
    EXPECT_LE(most, MOST_US);

    const auto meanwhile = [&] { Trouble(behaviour, board); };
    board.SignalTwice(meanwhile);
    const auto end = board.Wait(meanwhile);
    ASSERT_TRUE(end) << "the board does not end";
    RecordProperty("milliseconds", std::to_string(end->after.count()));
#ifndef VELRIX_IS_SANITIZED
    EXPECT_LE(end->after, std::chrono::seconds(1));
#endif
}

#ifndef VELRIX_IS_SANITIZED
// All at once, since each takes the seconds that a program is granted.
class BoundsOfTheFirstRequestTest : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Board, BoundsOfTheFirstRequestTest, testing::ValuesIn(Isolations()),
                         [](const auto& test) { return test.param; });

TEST_P(BoundsOfTheFirstRequestTest, EndsEachWithinTenSeconds) {
    std::vector<std::unique_ptr<RunningBoard>> boards;
    for (const Behaviour& behaviour : BEHAVIOURS)
        boards.push_back(std::make_unique<RunningBoard>(
            behaviour.errors, behaviour.isRead, Options(behaviour, GetParam()),
            // The other tests have their share of the machine as well.
            Script(behaviour, "while :; do sleep 1000; done").insert(0, "renice -n 19 $$ > /dev/null; ")));
    const auto forEach = [&](const auto& act) {
        bool all = true;
        for (std::size_t i = 0; i < boards.size(); ++i)
            all = boards[i]->WaitFor([] { return true; }) && act(BEHAVIOURS[i], *boards[i]) && all;
        return all;
    };
    ASSERT_TRUE(boards.front()->WaitFor([&] {
        return forEach([](const Behaviour& behaviour, RunningBoard& board) {
            Trouble(behaviour, board);
            return std::filesystem::exists(board.Path("share/ready"));
        });
    })) << "the boards do not start";

    for (const auto& board : boards)
        board->Signal(SIGTERM);
    EXPECT_TRUE(boards.front()->WaitFor([&] {
        return forEach([](const Behaviour& behaviour, RunningBoard& board) {
            Trouble(behaviour, board);
            return board.HasEnded();
        });
    }));

    for (std::size_t i = 0; i < boards.size(); ++i) {
        ASSERT_TRUE(boards[i]->HasEnded()) << BEHAVIOURS[i].name;
        RecordProperty(BEHAVIOURS[i].name, std::to_string(boards[i]->HowItEnded().after.count()));
        EXPECT_LE(boards[i]->HowItEnded().after, std::chrono::seconds(10)) << BEHAVIOURS[i].name;
    }
}
#endif

} // namespace
} // namespace VelrixBoard
