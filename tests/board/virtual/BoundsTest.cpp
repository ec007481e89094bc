// SPDX-License-Identifier: Apache-2.0
// Whatever a program, a terminal, a browser or a log does, the board serves writes to value files and can be ended.
#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <pty.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "board/base/FileDescriptor.h"
#include "board/sandbox/PreloadEntry.h"
#include "tests/board/CommandRun.h"
#include "tests/support/PrivateBoard.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

using testing::HasSubstr;
using TestSupport::PrivateBoard;

// Every level of a line is shown, while a colour of an LED has to last.
constexpr const char* LINE = "/var/dev/gpio-outputs/oxboResetN/value";

// Where WriteProbe.cpp expects it.
constexpr int SCHEDSTAT = 9;

enum class Stream { FILE, PIPE, TERMINAL };

// A board that is run as a user does, and whose standard error is read or not.
class Bench final {
public:
    Bench(Stream errorStream, bool isStreamRead, const std::vector<std::string>& options, const std::string& script)
        : isRead(isStreamRead) {
        OpenStream(errorStream);
        std::vector<std::string> command = OnBoard(script, options);
        command.insert(command.begin() + 2, {"--directory", folder.Path("board")});
        std::vector<char*> words;
        for (std::string& word : command)
            words.push_back(word.data());
        words.push_back(nullptr);
        process = ::fork();
        if (process == 0)
            Exec(words);
        if (process < 0)
            throw std::runtime_error("cannot fork");
        errors.Close();
    }
    Bench(const Bench&) = delete;
    Bench& operator=(const Bench&) = delete;
    ~Bench() {
        if (process > 0) {
            ::kill(process, SIGKILL);
            ::waitpid(process, nullptr, 0);
        }
    }

    std::string Path(const std::string& name) const { return folder.Path("board/" + name); }
    std::string Content(const std::string& name) const { return folder.Read("board/" + name); }
    const std::string& Errors() const { return read; }
    // Not to a board that has ended: its number would be -1, which is everybody.
    void Signal(int number) const {
        if (process > 0)
            ::kill(process, number);
    }

    // Whether it comes true; what is printed is read meanwhile where it is to be.
    bool WaitFor(const std::function<bool()>& condition) {
        return PrivateBoard::WaitFor([&] {
            if (isRead)
                Read();
            return condition();
        });
    }

    bool HasEnded() {
        if (process > 0 && ::waitpid(process, &status, WNOHANG) == process)
            process = -1;
        return process < 0;
    }

    // How it ended; nothing when it did not.
    std::optional<int> Wait(const std::function<void()>& meanwhile = [] {}) {
        const bool ended = WaitFor([&] {
            meanwhile();
            return HasEnded();
        });
        Read();
        return ended ? std::optional(status) : std::nullopt;
    }

    // Told to end until it has.
    std::optional<int> End() {
        return Wait([this] { Signal(SIGTERM); });
    }

private:
    void OpenStream(Stream kind) {
        std::array<int, 2> ends{-1, -1};
        if (kind == Stream::TERMINAL) {
            ::openpty(&ends[0], &ends[1], nullptr, nullptr, nullptr);
        } else if (kind == Stream::PIPE) {
            (void)!::pipe2(ends.data(), O_CLOEXEC);
        } else {
            ends[1] = ::open(folder.Path("errors").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
            ends[0] = ::open(folder.Path("errors").c_str(), O_RDONLY | O_CLOEXEC);
        }
        reading = FileDescriptor(ends[0]);
        errors = FileDescriptor(ends[1]);
        ::fcntl(reading.Get(), F_SETFL, O_NONBLOCK);
        ::fcntl(reading.Get(), F_SETFD, FD_CLOEXEC);
    }

    [[noreturn]] void Exec(const std::vector<char*>& words) const {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::setenv("TERM", "xterm", 1);
        ::dup2(::open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
        ::dup2(errors.Get(), STDOUT_FILENO);
        ::dup2(errors.Get(), STDERR_FILENO);
        // That of the board, since it is this process.
        ::dup2(::open("/proc/self/schedstat", O_RDONLY | O_CLOEXEC), SCHEDSTAT);
        ::execv(words.front(), words.data());
        ::_exit(97);
    }

    void Read() {
        std::array<char, 65536> buffer;
        // A program that prints without end must not hold the test.
        for (int i = 0; i < 16; ++i) {
            const ssize_t length = ::read(reading.Get(), buffer.data(), buffer.size());
            if (length <= 0)
                return;
            if (read.size() < buffer.size())
                read.append(buffer.data(), static_cast<std::size_t>(length));
        }
    }

    const TestSupport::TemporaryFolder folder;
    const bool isRead;
    FileDescriptor reading;
    FileDescriptor errors;
    std::string read; // the beginning
    pid_t process = -1;
    int status = 0;
};

// What somebody does to the board for as long as the object lives.
using Nuisance = std::function<void(Bench&)>;

// A script writes commands that are none.
void SpoilControl(Bench& bench) {
    const FileDescriptor pipe(::open(bench.Path("control").c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    const std::string line = "no command\n";
    while (pipe && ::write(pipe.Get(), line.data(), line.size()) > 0) {
    }
}

// A browser asks for everything and reads nothing.
void OpenPages(Bench& bench) {
    static std::vector<FileDescriptor> pages;
    const std::string before = "http://127.0.0.1:";
    const std::size_t at = bench.Errors().find(before);
    if (at == std::string::npos || pages.size() >= 20)
        return;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(bench.Errors().substr(at + before.size()))));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    FileDescriptor page(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const std::string request = "GET /events HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
    if (::connect(page.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        ::send(page.Get(), request.data(), request.size(), MSG_NOSIGNAL) > 0)
        pages.push_back(std::move(page));
}

void SendSignals(Bench& bench) {
    for (int i = 0; i < 100; ++i)
        bench.Signal(i % 2 == 0 ? SIGWINCH : SIGUSR1);
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
     OpenPages},
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

std::vector<std::string> Isolations() {
    return PreloadLibrary().empty() ? std::vector<std::string>{"namespaces"}
                                    : std::vector<std::string>{"namespaces", "preload"};
}

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

class BoundsTest : public testing::TestWithParam<Case> {};

INSTANTIATE_TEST_SUITE_P(Board, BoundsTest, testing::ValuesIn(Cases()), [](const auto& test) {
    return std::string(test.param.behaviour.name) + "_" + test.param.isolation;
});

TEST_P(BoundsTest, ServesWritesAndCanBeEnded) {
    constexpr long long MOST_US = 100'000; // of the board's processor time, however busy the machine is
    const Behaviour& behaviour = GetParam().behaviour;
    std::vector<std::string> options = behaviour.options;
    options.insert(options.end(), {"--isolation", GetParam().isolation});
    Bench bench(behaviour.errors, behaviour.isRead, options,
                "trap '' USR1; touch /mnt/share/ready; " + behaviour.program + " " WRITE_PROBE_PROGRAM " " + LINE +
                    " " + std::to_string(behaviour.writes) +
                    " /mnt/share/result; touch /mnt/share/done; exec sleep 1000");

    const bool isDone = bench.WaitFor([&] {
        if (behaviour.nuisance && std::filesystem::exists(bench.Path("share/ready")))
            behaviour.nuisance(bench);
        return std::filesystem::exists(bench.Path("share/done")) || bench.HasEnded();
    });

    EXPECT_TRUE(isDone) << "the board does not serve writes";
    long long most = -1, longest = -1;
    std::istringstream(bench.Content("share/result")) >> most >> longest;
    RecordProperty("microseconds", std::to_string(most));
    RecordProperty("longest", std::to_string(longest));
    EXPECT_GE(most, 0) << bench.Errors();
    EXPECT_LE(most, MOST_US);
    EXPECT_TRUE(bench.End()) << "the board does not end";
}

class BoundsOfTheEndTest : public testing::TestWithParam<std::string> {
protected:
    // Runs the script until it has made the file /mnt/share/ready.
    void Start(const std::string& script, const std::vector<std::string>& options = {}) {
        std::vector<std::string> all = {"--isolation", GetParam()};
        all.insert(all.end(), options.begin(), options.end());
        bench = std::make_unique<Bench>(Stream::FILE, true, all, script);
        ASSERT_TRUE(bench->WaitFor([&] { return std::filesystem::exists(bench->Path("share/ready")); }));
    }

    std::unique_ptr<Bench> bench;
};

INSTANTIATE_TEST_SUITE_P(Board, BoundsOfTheEndTest, testing::ValuesIn(Isolations()),
                         [](const auto& test) { return test.param; });

TEST_P(BoundsOfTheEndTest, LeavesAProgramItsTimeToEnd) {
    Start("trap 'touch /mnt/share/trapped; read go < /mnt/share/go; exit 9' TERM; mkfifo /mnt/share/go; "
          "touch /mnt/share/ready; while :; do sleep 0.01; done");

    // As timeout(1) does.
    bench->Signal(SIGTERM);
    bench->Signal(SIGTERM);
    EXPECT_TRUE(bench->WaitFor([&] { return std::filesystem::exists(bench->Path("share/trapped")); }));
    const FileDescriptor go(::open(bench->Path("share/go").c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(::write(go.Get(), "\n", 1), 1);

    const std::optional<int> status = bench->Wait();
    ASSERT_TRUE(status);
    EXPECT_EQ(WEXITSTATUS(*status), 9);
    EXPECT_EQ(bench->Errors(), "");
}

TEST_P(BoundsOfTheEndTest, KillsWhatDoesNotEndByTheSecondRequest) {
    Start("trap '' TERM; touch /mnt/share/ready; while :; do sleep 1000; done");

    const std::optional<int> status = bench->End();

    ASSERT_TRUE(status);
    EXPECT_TRUE(WIFSIGNALED(*status));
    EXPECT_EQ(WTERMSIG(*status), SIGKILL);
    EXPECT_EQ(bench->Errors(), "velrix-board: kills all that runs on the board (a second SIGTERM)\n");
    EXPECT_FALSE(std::filesystem::exists(bench->Path("control")));
}

TEST_P(BoundsOfTheEndTest, KillsWhatDoesNotEndByTheFirstRequest) {
    Start("trap '' TERM; touch /mnt/share/ready; while :; do sleep 1000; done");
    bench->Signal(SIGTERM);

    const std::optional<int> status = bench->Wait();

    ASSERT_TRUE(status);
    EXPECT_TRUE(WIFSIGNALED(*status));
    EXPECT_EQ(WTERMSIG(*status), SIGKILL);
    EXPECT_EQ(bench->Errors(), "velrix-board: kills all that runs on the board (7 s after SIGTERM)\n");
    EXPECT_FALSE(std::filesystem::exists(bench->Path("control")));
}

TEST_P(BoundsOfTheEndTest, KillsWhatAProgramLeavesRunningThatEndedOnRequest) {
    Start("trap 'exit 5' TERM; nice sh -c \"trap '' TERM; while :; do :; done\" & touch /mnt/share/ready; "
          "while :; do sleep 0.01; done");
    bench->Signal(SIGTERM);

    const std::optional<int> status = bench->Wait();

    ASSERT_TRUE(status);
    EXPECT_EQ(WEXITSTATUS(*status), 5);
    EXPECT_EQ(bench->Errors(), "velrix-board: kills what the program left running (SIGTERM)\n");
}

TEST_P(BoundsOfTheEndTest, EndsByOneRequestWithoutAReader) {
    Bench unread(Stream::TERMINAL, false, {"--terminal", "--isolation", GetParam()},
                 "yes & touch /mnt/share/ready; while :; do sleep 0.01; done");
    ASSERT_TRUE(unread.WaitFor([&] { return std::filesystem::exists(unread.Path("share/ready")); }));
    unread.Signal(SIGTERM);

    const std::optional<int> status = unread.Wait();

    ASSERT_TRUE(status);
    EXPECT_TRUE(WIFSIGNALED(*status));
    EXPECT_EQ(WTERMSIG(*status), SIGTERM);
}

// Who tells the board to end does not mean the program alone.
TEST_P(BoundsOfTheEndTest, DoesNotRunAProgramAnewThatWasToldToEnd) {
    Start("test -e /mnt/share/ready && touch /mnt/share/again; trap '/sbin/reboot; exit 0' TERM; "
          "touch /mnt/share/ready; while :; do sleep 0.01; done",
          {"--on-reboot", "restart"});
    bench->Signal(SIGTERM);

    const std::optional<int> status = bench->Wait();

    ASSERT_TRUE(status);
    EXPECT_EQ(*status, 0);
    EXPECT_FALSE(std::filesystem::exists(bench->Path("share/again")));
}

TEST_P(BoundsOfTheEndTest, KillsAtOnceWhatOutlivesTheProgram) {
    Start("trap '' TERM; nice sh -c 'while :; do :; done' & touch /mnt/share/ready; exit 3");

    const std::optional<int> status = bench->End();

    ASSERT_TRUE(status);
    EXPECT_EQ(WEXITSTATUS(*status), 3);
    EXPECT_THAT(bench->Errors(), HasSubstr("velrix-board: kills what the program left running (SIGTERM)\n"));
}

TEST_P(BoundsOfTheEndTest, JudgesARunThatWasKilled) {
    const TestSupport::TemporaryFolder folder;
    folder.Write("scenario", "within 60min MS is green\n");
    Start("trap '' TERM; touch /mnt/share/ready; while :; do sleep 1000; done",
          {"--scenario", folder.Path("scenario")});

    const std::optional<int> status = bench->End();

    ASSERT_TRUE(status);
    EXPECT_TRUE(WIFEXITED(*status));
    EXPECT_EQ(WEXITSTATUS(*status), 1);
    EXPECT_THAT(bench->Errors(), HasSubstr("MS"));
}

// The rest of the output waits for its reader; who tells the board to end has waited long enough.
TEST_P(BoundsOfTheEndTest, EndsWithoutAReader) {
    // More than the terminal takes, and no more than finds room in the pipe to the board, and in the board.
    Bench unread(Stream::TERMINAL, false, {"--terminal", "--isolation", GetParam()},
                 "trap '' TERM; yes | head -c 70000; touch /mnt/share/ready; exit 4");
    ASSERT_TRUE(unread.WaitFor([&] { return std::filesystem::exists(unread.Path("share/ready")); }));

    const std::optional<int> status = unread.End();

    ASSERT_TRUE(status);
    EXPECT_EQ(WEXITSTATUS(*status), 4);
}

TEST_P(BoundsOfTheEndTest, PrintsAllThatTheProgramPrinted) {
    Bench terminal(Stream::TERMINAL, true, {"--terminal", "--isolation", GetParam()}, "seq 2000; printf end; exit 4");

    const std::optional<int> status = terminal.Wait();

    ASSERT_TRUE(status);
    EXPECT_EQ(WEXITSTATUS(*status), 4);
    std::size_t at = 0;
    for (int i = 1; i <= 2000 && at != std::string::npos; ++i)
        at = terminal.Errors().find(std::to_string(i) + "\r\n", at);
    EXPECT_NE(at, std::string::npos);
    EXPECT_NE(terminal.Errors().find("end\r\n", at), std::string::npos);
}

TEST_P(BoundsOfTheEndTest, OutlivesTheLimitForFiles) {
    const TestSupport::TemporaryFolder folder;
    const std::string board = folder.Path("board");
    const CommandEnd end =
        CommandRun{{"sh", "-c", "ulimit -f 4; exec \"$@\"", "sh", VELRIX_BOARD_COMMAND, "run", "--isolation",
                    GetParam(), "--directory", board, "--", "sh", "-c",
                    std::string("i=0; while [ $i -lt 300 ]; do i=$((i + 1)); printf $((i % 2)) > ") + LINE +
                        "; done; sh -c 'head -c 1M /dev/zero > /mnt/share/big' 2>/dev/null; echo $?; exit 3"}}
            .Run();

    if (GetParam() == "preload") {
        // What the program is preloaded with is larger.
        EXPECT_EQ(end.ExitCode(), 125);
        EXPECT_EQ(end.errors, "velrix-board: cannot write " + board + "/names: File too large\n");
        return;
    }
    EXPECT_EQ(end.ExitCode(), 3);
    // The program gets the signal that the board ignores: 128 + SIGXFSZ.
    EXPECT_EQ(end.output, "153\n");
    for (const char* record : {"changes", "writes"}) {
        EXPECT_THAT(end.errors, HasSubstr("velrix-board: cannot write " + board + "/" + record +
                                          ": File too large; the record ends here, the program runs on\n"));
        EXPECT_EQ(std::filesystem::file_size(board + "/" + record), 2048U);
    }
    EXPECT_EQ(std::count(end.errors.begin(), end.errors.end(), '\n'), 2) << end.errors;
}

} // namespace
} // namespace VelrixBoard
