// SPDX-License-Identifier: Apache-2.0
// Value files from a program's view: the test's code runs on a real board.
#include "board/files/ValueFiles.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "board/control/IBoardControl.h"
#include "board/preload/Protocol.h"
#include "board/sandbox/PreloadLibrary.h"
#include "board/virtual/Board.h"
#include "tests/support/Isolation.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;

constexpr const char* RESET = "/var/dev/gpio-outputs/oxboResetN/value";
constexpr const char* IRQ = "/var/dev/gpio-inputs/oxboIrqN/value";
constexpr const char* MOD1 = "/var/dev/gpio-inputs/oxboMod1/value";
constexpr const char* MS_RED = "/sys/class/leds/ledGwStsRed/brightness";

// The result of a call, or the error's name.
std::string Of(long result) {
    const int error = errno;
    return result < 0 ? ::strerrorname_np(error) : std::to_string(result);
}

std::string Repeated(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i)
        all += text;
    return all;
}

// Re-executes the test program with the library preloaded, so that it hooks the test's code.
void PreloadItself() {
    if (::dlsym(RTLD_DEFAULT, Preload::BEGIN_FUNCTION) != nullptr) {
        ::unsetenv("LD_PRELOAD");
        return;
    }
    const std::string_view library = PreloadLibrary();
    const int file = ::memfd_create("velrix-board-preload.so", 0);
    if (::write(file, library.data(), library.size()) != static_cast<ssize_t>(library.size()))
        throw std::runtime_error("the preloaded library cannot be written");
    ::setenv("LD_PRELOAD", ("/proc/self/fd/" + std::to_string(file)).c_str(), 1);
    std::ifstream stream("/proc/self/cmdline");
    std::vector<std::string> words;
    for (std::string word; std::getline(stream, word, '\0');)
        words.push_back(word);
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    ::execv("/proc/self/exe", arguments.data());
    throw std::runtime_error("the test's program cannot be started again");
}

class ValueFilesOnABoardTest : public testing::Test {
protected:
    ValueFilesOnABoardTest() {
        if (!TestSupport::BoardsArePreloaded())
            return;
        options.isolation = Isolation::PRELOAD;
        PreloadItself();
    }

    // Runs the code on a board in a child; returns its output.
    std::string OnBoard(const std::function<void(std::ostream&)>& code) {
        options.directory = folder.Path("board");
        const std::string output = folder.Path("output");
        const pid_t process = ::fork();
        if (process == 0) {
            int status = 1 << 8;
            try {
                const auto main = [&](const Execute&) {
                    std::ofstream stream(output);
                    code(stream);
                    return 0;
                };
                status = RunBoard(options, {main, -1, -1});
            } catch (const std::exception& error) {
                std::ofstream(output) << error.what();
            }
            ::_exit(WEXITSTATUS(status));
        }
        int status = 0;
        ::waitpid(process, &status, 0);
        EXPECT_EQ(status, 0);
        return folder.Read("output");
    }

    // "OXBO_RL 1" for each line of the record.
    std::string Record(const std::string& name) const {
        std::istringstream lines(folder.Read("board/" + name));
        std::string text, time, line;
        while (lines >> time && std::getline(lines >> std::ws, line))
            text += line + "\n";
        return text;
    }

    const TestSupport::TemporaryFolder folder;
    BoardOptions options;
};

std::string ReadAll(int file) {
    std::array<char, 16> buffer;
    const ssize_t length = ::pread(file, buffer.data(), buffer.size(), 0);
    return length < 0 ? Of(length) : std::string(buffer.data(), static_cast<std::size_t>(length));
}

TEST_F(ValueFilesOnABoardTest, TakesEveryWriteAsOneNewValueWhereverItGoes) {
    // So that only the program causes changes, on a slow machine too.
    options.oxboReadyAfter.reset();

    const std::string output = OnBoard([](std::ostream& out) {
        const int file = ::open(RESET, O_RDWR | O_CLOEXEC);
        out << Of(::write(file, "1", 1)) << Of(::write(file, "0", 1)) << Of(::write(file, "0", 1)) << " ";
        out << Of(::pwrite(file, "1\n", 2, 100)) << Of(::ftruncate(file, 0)) << ReadAll(file);
        std::array<char, 2> parts = {'0', '1'};
        const iovec vectors[] = {{&parts[0], 1}, {&parts[1], 1}};
        out << Of(::writev(file, vectors, 2)) << " " << ReadAll(file);
        out << Of(::write(file, "", 0)) << " " << Of(::write(file, "junk", 4)) << " "
            << Of(::write(file, "2147483648", 10)) << "\n";
        const int appending = ::open(RESET, O_WRONLY | O_APPEND | O_TRUNC | O_CLOEXEC);
        out << ReadAll(file) << Of(::write(appending, "0", 1)) << " " << ReadAll(file);
        const int copy = ::dup(file);
        out << Of(::write(copy, "1", 1)) << "\n";
    });

    EXPECT_EQ(output, "111 201\n2 1\n0 EINVAL ERANGE\n1\n1 0\n1\n");
    EXPECT_EQ(Record("writes"), "OXBO_RESET1_N 1\nOXBO_RESET1_N 0\nOXBO_RESET1_N 0\nOXBO_RESET1_N 1\n"
                                "OXBO_RESET1_N 1\nOXBO_RESET1_N 0\nOXBO_RESET1_N 1\n");
    EXPECT_EQ(Record("changes"),
              "OXBO_RESET1_N 1\nOXBO_RESET1_N 0\nOXBO_RESET1_N 1\nOXBO_RESET1_N 0\nOXBO_RESET1_N 1\n");
}

TEST_F(ValueFilesOnABoardTest, ReadsALevelAndALineFeedAtEveryTime) {
    const std::string output = OnBoard([](std::ostream& out) {
        const int led = ::open(MS_RED, O_RDWR | O_CLOEXEC);
        out << ReadAll(led) << Of(::write(led, "255", 3)) << ReadAll(led);
        char c = 0;
        out << Of(::pread(led, &c, 1, 1)) << (c == '\n') << Of(::pread(led, &c, 1, 2)) << " ";
        struct stat status {};
        ::fstat(led, &status);
        out << status.st_size << " " << std::oct << status.st_mode << std::dec << (status.st_uid == ::getuid()) << " ";
        ::stat(IRQ, &status);
        out << std::oct << status.st_mode << std::dec << " ";
        out << (::mmap(nullptr, 1, PROT_READ, MAP_SHARED, led, 0) == MAP_FAILED ? Of(-1) : "mapped");
    });

    EXPECT_EQ(output, "0\n31\n110 4096 1006441 100444 ENODEV");
}

TEST_F(ValueFilesOnABoardTest, LetsNothingBeMadeRemovedOrChanged) {
    options.asRoot = true; // file modes do not apply to root
    const std::string output = OnBoard([](std::ostream& out) {
        out << Of(::open(IRQ, O_WRONLY | O_CLOEXEC)) << " " << Of(::open(IRQ, O_RDWR | O_CLOEXEC)) << " "
            << Of(::open("/var/dev/new", O_WRONLY | O_CREAT | O_CLOEXEC, 0644)) << " "
            << Of(::mknod("/var/dev/new", S_IFREG | 0644, 0)) << " " << Of(::mkdir("/var/dev/new", 0755)) << " "
            << Of(::symlink("x", "/var/dev/new")) << " " << Of(::link(RESET, "/var/dev/new")) << " "
            << Of(::unlink(RESET)) << " " << Of(::rmdir("/var/dev/gpio-outputs/oxboResetN")) << " "
            << Of(::rename(RESET, "/var/dev/new")) << " " << Of(::chmod(RESET, 0600)) << " "
            << Of(::open("/var/dev/none", O_RDONLY | O_CLOEXEC));
    });

    EXPECT_EQ(output, "EACCES EACCES EACCES EACCES EPERM EPERM EPERM EPERM EPERM EPERM EPERM ENOENT");
}

TEST_F(ValueFilesOnABoardTest, WakesWhoWaitsForAnInput) {
    options.oxboReadyAfter = 5ms;
    const std::string output = OnBoard([](std::ostream& out) {
        const int irq = ::open(IRQ, O_RDONLY | O_CLOEXEC);
        const int reset = ::open(RESET, O_WRONLY | O_CLOEXEC);
        pollfd wait = {irq, POLLPRI, 0};
        // A newly opened file is unread.
        out << ::poll(&wait, 1, 0) << ((wait.revents & POLLPRI) != 0) << ReadAll(irq);
        out << ::poll(&wait, 1, 0) << " " << Of(::write(reset, "1", 1)) << ::poll(&wait, 1, 20000)
            << ((wait.revents & (POLLPRI | POLLERR)) == (POLLPRI | POLLERR)) << ReadAll(irq);
        out << ::poll(&wait, 1, 0) << " ";

        const int queue = ::epoll_create1(EPOLL_CLOEXEC);
        epoll_event event = {EPOLLPRI, {}};
        out << ::epoll_ctl(queue, EPOLL_CTL_ADD, irq, &event) << Of(::write(reset, "0", 1))
            << ::epoll_wait(queue, &event, 1, 20000) << ReadAll(irq);
        wait.events = POLLIN | POLLOUT;
        out << ::poll(&wait, 1, 0) << (wait.revents == (POLLIN | POLLOUT));
    });

    EXPECT_EQ(output, "111\n0 1110\n0 0111\n11");
}

TEST_F(ValueFilesOnABoardTest, KeepsTheOrderOfWritesOfDifferentFiles) {
    constexpr int ROUNDS = 200;
    OnBoard([](std::ostream&) {
        const int reset = ::open("/var/dev/gpio-outputs/qorResetN/value", O_WRONLY | O_CLOEXEC);
        const int led = ::open(MS_RED, O_WRONLY | O_CLOEXEC);
        for (int i = 0; i < ROUNDS; ++i) {
            (void)!::write(reset, "1", 1);
            (void)!::write(led, "1", 1);
            (void)!::write(led, "0", 1);
            (void)!::write(reset, "0", 1);
        }
    });

    EXPECT_EQ(Record("changes"), Repeated("QOR_RESET0_N 1\nMS.red 1\nMS.red 0\nQOR_RESET0_N 0\n", ROUNDS));
    std::istringstream lines(folder.Read("board/changes"));
    std::string before, time, rest;
    for (; lines >> time && std::getline(lines, rest); before = time)
        EXPECT_LT(std::stod(before.empty() ? "0" : before), std::stod(time));
}

TEST_F(ValueFilesOnABoardTest, TakesATextThatLiesAcrossPagesAsOneValue) {
    const std::string output = OnBoard([](std::ostream& out) {
        const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
        std::vector<char> space(3 * page, '0');
        char* boundary = space.data() + (page - reinterpret_cast<std::uintptr_t>(space.data()) % page);
        *boundary = '1';
        const int file = ::open(MS_RED, O_WRONLY | O_CLOEXEC);
        out << Of(::write(file, boundary - 1, 2));
    });

    EXPECT_EQ(output, "2");
    EXPECT_EQ(Record("writes"), "MS.red 1\n");
}

// Writes its events into a file at the end.
class OrderRecorder final : public IBoardAttachment {
public:
    explicit OrderRecorder(std::string orderFile) : file(std::move(orderFile)) {}
    ~OrderRecorder() override { std::ofstream(file) << order; }

    std::string Announcement() const override { return "the order is recorded"; }
    int Descriptor() const override { return -1; }
    std::optional<BoardTime> Due() const override { return std::nullopt; }
    void Run(BoardTime) override {}
    void OnSyslog(std::string_view, BoardTime) override { order += "log "; }
    void OnWebLog(std::string_view, BoardTime) override { order += "web "; }
    void OnWrite(std::size_t, bool level, BoardTime) override { order += level ? "1 " : "0 "; }

private:
    std::string file;
    std::string order;
};

// Like the C library's function, which test-support replaces.
int ConnectToLog() {
    const int log = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const sockaddr_un address{AF_UNIX, "/dev/log"};
    EXPECT_EQ(::connect(log, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return log;
}

TEST_F(ValueFilesOnABoardTest, TellsTheSystemLogBeforeTheWriteThatFollows) {
    constexpr int ROUNDS = 200;
    options.attachments.push_back(
        [this](const AttachedBoard&) { return std::make_unique<OrderRecorder>(folder.Path("order")); });
    OnBoard([](std::ostream&) {
        const int led = ::open(MS_RED, O_WRONLY | O_CLOEXEC);
        const int webLog = ::open("/mnt/share/logger", O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        const int log = ConnectToLog();
        for (int i = 0; i < ROUNDS; ++i) {
            (void)!::write(log, "<14>record", 10);
            (void)!::write(led, "1", 1);
            (void)!::write(webLog, "+x\n", 3);
            (void)!::write(led, "0", 1);
        }
    });

    EXPECT_EQ(folder.Read("order"), Repeated("log 1 web 0 ", ROUNDS));
}

TEST_F(ValueFilesOnABoardTest, KeepsAnyOrderOfRecordsAndWrites) {
    constexpr int STEPS = 2000;
    // Runs of up to eleven of a kind: more than the socket's queue.
    std::string expected;
    std::vector<bool> isRecord;
    for (unsigned random = 1; isRecord.size() < STEPS; random = random * 1103515245 + 12345) {
        isRecord.insert(isRecord.end(), 1 + (random >> 16) % 11, (random >> 27) % 2 == 0);
    }
    for (const bool record : isRecord)
        expected += record ? "log " : "1 ";
    options.attachments.push_back(
        [this](const AttachedBoard&) { return std::make_unique<OrderRecorder>(folder.Path("order")); });

    OnBoard([&](std::ostream&) {
        const int led = ::open(MS_RED, O_WRONLY | O_CLOEXEC);
        const int log = ConnectToLog();
        for (const bool record : isRecord)
            if (record)
                (void)!::write(log, "<14>record", 10);
            else
                (void)!::write(led, "1", 1);
    });

    EXPECT_EQ(folder.Read("order"), expected);
}

TEST_F(ValueFilesOnABoardTest, ShowsTheModuleInResetAtOnceHoweverSoonItIsResetAgain) {
    constexpr int ROUNDS = 50;
    options.oxboReadyAfter = 0ms;

    const std::string output = OnBoard([](std::ostream& out) {
        const int reset = ::open(RESET, O_WRONLY | O_CLOEXEC);
        const int irq = ::open(IRQ, O_RDONLY | O_CLOEXEC);
        for (int i = 0; i < ROUNDS; ++i) {
            (void)!::write(reset, "1", 1);
            while (ReadAll(irq) != "0\n") {
                pollfd wait{irq, POLLPRI, 0};
                ::poll(&wait, 1, -1);
            }
            // Ready; in reset; released and in reset again, before or after it was ready.
            (void)!::write(reset, "0", 1);
            out << ReadAll(irq);
            (void)!::write(reset, "1", 1);
            (void)!::write(reset, "0", 1);
            out << ReadAll(irq);
        }
    });

    EXPECT_EQ(output, Repeated("1\n", 2 * ROUNDS));
}

TEST_F(ValueFilesOnABoardTest, LosesNoWriteOfManyThreads) {
    constexpr int THREADS = 4, WRITES = 2000;
    const std::string output = OnBoard([](std::ostream& out) {
        std::vector<std::thread> threads;
        std::array<int, THREADS> failed{};
        for (int t = 0; t < THREADS; ++t)
            threads.emplace_back([&failed, t] {
                const int file = ::open(t % 2 == 0 ? RESET : MS_RED, O_WRONLY | O_CLOEXEC);
                for (int i = 0; i < WRITES; ++i)
                    failed[static_cast<std::size_t>(t)] += ::write(file, i % 2 == 0 ? "1" : "0", 1) != 1;
            });
        for (std::thread& thread : threads)
            thread.join();
        out << failed[0] + failed[1] + failed[2] + failed[3];
    });

    EXPECT_EQ(output, "0");
    const std::string writes = Record("writes");
    EXPECT_EQ(std::count(writes.begin(), writes.end(), '\n'), THREADS * WRITES);
}

TEST_F(ValueFilesOnABoardTest, BreaksFilesAsItIsTold) {
    options.faults = {{"OXBO_RL", {Fault::Kind::IO_ERROR}},
                      {"OXBO_RESET1_N", {Fault::Kind::NO_SPACE}},
                      {"MS.red", {Fault::Kind::NO_ACCESS}},
                      {"MS.green", {Fault::Kind::MISSING}},
                      {"OXBO_MOD_1", {Fault::Kind::IO_ERROR}}};
    const std::string output = OnBoard([](std::ostream& out) {
        const int loader = ::open("/var/dev/gpio-outputs/oxboRamLoaderEnable/value", O_RDWR | O_CLOEXEC);
        out << Of(::write(loader, "1", 1)) << " " << ReadAll(loader) << " ";
        const int reset = ::open(RESET, O_RDWR | O_CLOEXEC);
        out << Of(::write(reset, "1", 1)) << " " << ReadAll(reset);
        out << Of(::open(MS_RED, O_WRONLY | O_CLOEXEC)) << " ";
        const char* green = "/sys/class/leds/ledGwStsGrn/brightness";
        out << Of(::open(green, O_WRONLY | O_CLOEXEC)) << " " << Of(::access(green, F_OK)) << " ";
        DIR* directory = ::opendir("/sys/class/leds/ledGwStsGrn");
        int names = 0;
        while (::readdir(directory) != nullptr)
            ++names;
        ::closedir(directory);
        out << names << " " << ReadAll(::open(MOD1, O_RDONLY | O_CLOEXEC));
    });

    EXPECT_EQ(output, "EIO EIO ENOSPC 0\nEACCES ENOENT ENOENT 2 EIO");
    EXPECT_EQ(Record("writes"), "");
}

// Writes a byte for every fault that comes or goes.
class FaultWatch final : public IBoardAttachment {
public:
    explicit FaultWatch(int end) : pipe(end) {}

    std::string Announcement() const override { return ""; }
    void OnFault(std::size_t, BoardTime) override { EXPECT_EQ(::write(pipe, "", 1), 1); }
    int Descriptor() const override { return -1; }
    std::optional<BoardTime> Due() const override { return std::nullopt; }
    void Run(BoardTime) override {}

private:
    int pipe;
};

TEST_F(ValueFilesOnABoardTest, LetsAFileVanishAndReturnWhileItIsOpen) {
    std::array<int, 2> faults{};
    ASSERT_EQ(::pipe(faults.data()), 0);
    options.attachments = {[&](const AttachedBoard&) { return std::make_unique<FaultWatch>(faults[1]); }};
    const std::string output = OnBoard([&](std::ostream& out) {
        const int control = ::open(folder.Path("board/control").c_str(), O_WRONLY | O_CLOEXEC);
        const int led = ::open(MS_RED, O_RDWR | O_CLOEXEC);
        const auto command = [&](const std::string& text) {
            (void)!::write(control, text.data(), text.size());
            char c = 0;
            (void)!::read(faults[0], &c, 1);
            return Of(::access(MS_RED, F_OK));
        };
        out << command("fault MS.red=missing\n") << " " << Of(::write(led, "1", 1)) << " " << ReadAll(led) << " ";
        out << command("fault MS.red=none\n") << " " << Of(::write(led, "1", 1)) << " " << ReadAll(led);
    });

    EXPECT_EQ(output, "ENOENT ENODEV ENODEV 0 1 1\n");
}

TEST_F(ValueFilesOnABoardTest, AnswersForASlowFileLateWithoutKeepingOthersWaiting) {
    options.faults = {{"MS.red", {Fault::Kind::SLOW, 200ms}}};
    const std::string output = OnBoard([](std::ostream& out) {
        const int reset = ::open(RESET, O_WRONLY | O_CLOEXEC);
        const int led = ::open(MS_RED, O_RDWR | O_CLOEXEC);
        const auto begin = std::chrono::steady_clock::now();
        std::thread writer([&] { out << Of(::write(led, "1", 1)); });
        (void)!::write(reset, "1", 1);
        writer.join();
        out << " " << (std::chrono::steady_clock::now() - begin >= 200ms);
    });

    EXPECT_EQ(output, "1 1");
    EXPECT_THAT(Record("writes"), testing::AnyOf("OXBO_RESET1_N 1\nMS.red 1\n"));
}

TEST_F(ValueFilesOnABoardTest, LetsAProgramBeKilledWhileItWaitsForASlowFile) {
    options.faults = {{"MS.red", {Fault::Kind::SLOW, 1h}}};
    const std::string output = OnBoard([](std::ostream& out) {
        std::array<int, 2> pipe{};
        (void)!::pipe(pipe.data());
        const pid_t child = ::fork();
        if (child == 0) {
            const int led = ::open(MS_RED, O_WRONLY | O_CLOEXEC);
            (void)!::write(pipe[1], "", 1);
            (void)!::write(led, "1", 1);
            ::_exit(0);
        }
        char c = 0;
        (void)!::read(pipe[0], &c, 1);
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        out << WTERMSIG(status);
    });

    EXPECT_EQ(output, std::to_string(SIGKILL));
}

} // namespace
} // namespace VelrixBoard
