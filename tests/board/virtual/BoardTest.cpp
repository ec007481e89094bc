// SPDX-License-Identifier: Apache-2.0
// Real programs on real boards: what they find there, how they end, and that the machine does not notice.
#include "board/virtual/Board.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <elf.h>
#include <sys/ptrace.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/board/CommandRun.h"
#include "tests/board/Terminal.h"
#include "tests/support/Isolation.h"
#include "tests/support/PrivateBoard.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;
using TestSupport::BoardResult;
using TestSupport::PrivateBoard;
using TestSupport::TemporaryFolder;

std::vector<std::string> Shell(const std::string& script) {
    return {"sh", "-c", script};
}

constexpr const char* RESET = "/var/dev/gpio-outputs/oxboResetN/value";
constexpr const char* IRQ = "/var/dev/gpio-inputs/oxboIrqN/value";
constexpr const char* MS_RED = "/sys/class/leds/ledGwStsRed/brightness";

// A number of seconds that no other test sleeps, to know a process by.
std::string Mark() {
    static int count = 0;
    return "98" + std::to_string(::getpid()) + std::to_string(++count);
}

// What a file of /proc says of a process; nothing of one that ends meanwhile, whose files fail to read.
std::string OfProcess(const fs::directory_entry& process, const char* file) {
    std::ostringstream content;
    content << std::ifstream(process.path() / file).rdbuf();
    return content.str();
}

bool AnyProcess(const char* file, const std::string& content) {
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc", error))
        if (OfProcess(entry, file).find(content) != std::string::npos)
            return true;
    return false;
}

bool RunsSomewhere(const std::string& argument) {
    return AnyProcess("cmdline", std::string("sleep") + '\0' + argument + '\0');
}

// Of all that was started with that value in its environment.
bool RunsWith(const std::string& value) {
    return AnyProcess("environ", value);
}

std::string Mounts() {
    std::ifstream stream("/proc/self/mountinfo");
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(BoardTest, ShowsTheDeviceAtItsPaths) {
    PrivateBoard board;
    board.SetSettings("log_dir=/x\n");

    const BoardResult end =
        board.Run(Shell("cat /etc/velrix.conf && cat /var/dev/gpio-*/*/value | tr -d '\\n' && echo && "
                        "cat /sys/class/leds/*/brightness | tr -d '\\n' && echo && "
                        "ls /mnt/share /var/log/apps && ls -d /sys/class/net/lo/mtu /etc/passwd"));

    EXPECT_EQ(end.output, "log_dir=/x\n100110000\n00000000\n/mnt/share:\n\n/var/log/apps:\n/etc/passwd\n"
                          "/sys/class/net/lo/mtu\n");
    EXPECT_EQ(end.errors, "");
    EXPECT_EQ(end.exitCode, 0);
}

TEST(BoardTest, HasNoSettingsFileWithoutOne) {
    PrivateBoard board;

    EXPECT_EQ(board.Run(Shell("test -e /etc/velrix.conf || echo none")).output, "none\n");
}

TEST(BoardTest, LetsTheProgramReplaceItsSettingsFile) {
    PrivateBoard board;
    board.SetSettings("log_dir=/x\n");

    EXPECT_EQ(board
                  .Run(Shell("cd /etc && echo y > n && mv n velrix.conf && cat velrix.conf && rm velrix.conf && ls "
                             "velrix.conf 2>/dev/null"))
                  .output,
              "y\n");
}

TEST(BoardTest, LeavesTheMachineAsItIs) {
    const fs::path paths[] = {
        "/etc/velrix.conf",           "/var/dev",          "/sys/class/leds/ledGwStsRed", "/mnt/share/made-by-test",
        "/var/log/apps/made-by-test", "/etc/made-by-test", "/var/made-by-test",           "/dev/velrix-board",
        "/usr/sbin/made-by-test",     "/dev/made-by-test"};
    std::string before;
    for (const fs::path& path : paths)
        before += fs::exists(path) ? path.string() + " " : "";
    const std::string mounts = Mounts();
    PrivateBoard board;

    const BoardResult end = board.Run(Shell("for d in /etc /var /dev /usr/sbin /mnt/share /var/log/apps; do echo x > "
                                            "$d/made-by-test || exit 1; done"));

    EXPECT_EQ(end.exitCode, 0) << end.errors;
    EXPECT_EQ(board.Content("/mnt/share/made-by-test"), "x\n");
    EXPECT_EQ(board.Content("/var/log/apps/made-by-test"), "x\n");
    std::string after;
    for (const fs::path& path : paths)
        after += fs::exists(path) ? path.string() + " " : "";
    EXPECT_EQ(after, before);
    EXPECT_EQ(Mounts(), mounts);
}

// Opens for writing, and writes nothing: what is there is the machine's.
TEST(BoardTest, LetsNoProgramWriteToTheMachinesKernel) {
    const std::string script =
        "for f in /sys/power/state /sys/kernel/mm/transparent_hugepage/enabled "
        "/proc/sys/kernel/hostname /proc/sys/kernel/sysrq /proc/sysrq-trigger; do test ! -e $f || "
        "sh -c ': >> $0' $f 2>/dev/null && test -e $f && echo $f; done; "
        "cat /proc/sys/kernel/hostname > /dev/null && ls /sys/power > /dev/null && echo read; "
        "echo 5 > /proc/self/oom_score_adj && cat /proc/self/oom_score_adj";
    const TemporaryFolder folder;
    // A value file among the devices has the board cover all of these, entry by entry.
    folder.Write("settings", "[led]\nmodule_status_red=/sys/board-x/red\n");
    const std::vector<std::string> rows[] = {
        {}, {"--as-root"}, {"--settings", folder.Path("settings")}, {"--without", "/mnt/share"}};
    for (const std::vector<std::string>& options : rows) {
        const CommandEnd end = CommandRun{OnBoard(script, options)}.Run();

        EXPECT_EQ(end.output, "read\n5\n") << end.errors;
    }
}

TEST(BoardTest, HidesTheMachinesWatchdogs) {
    // A board is a machine to the board on it.
    const CommandEnd end =
        CommandRun{OnBoard("touch /dev/watchdog /dev/watchdog0 /dev/dogs; " VELRIX_BOARD_COMMAND
                           " run -- sh -c 'echo x > /dev/watchdog; ls -d /dev/*dog*'; cat /dev/watchdog")}
            .Run();

    EXPECT_EQ(end.output, "/dev/dogs\n/dev/watchdog\n") << end.errors;
}

TEST(BoardTest, RemovesItsOwnDirectoryAtTheEnd) {
    const TemporaryFolder folder;

    const CommandEnd end = CommandRun{
        OnBoard("mkdir /mnt/share/closed && chmod 0 /mnt/share/closed && ls -d $TMPDIR/*"),
        {{"TMPDIR",
          folder.Path()}}}.Run();

    EXPECT_THAT(end.output, StartsWith(folder.Path("velrix-board-")));
    EXPECT_TRUE(fs::is_empty(folder.Path()));
}

TEST(BoardTest, StaysInTheWorkingDirectoryAlsoWhenItIsCovered) {
    CommandRun run{OnBoard("pwd; ls -d apps")};
    run.directory = "/var/log";

    EXPECT_EQ(run.Run().output, "/var/log\napps\n");
}

TEST(BoardTest, StartsTheProgramAsItWasStartedItself) {
    const std::string signals = "grep -E 'Sig(Blk|Ign|Cgt)' /proc/self/status";
    const std::string bare = CommandRun{{"sh", "-c", signals}}.Run().output;
    const TemporaryFolder folder;
    folder.Write("input", "from outside\n");
    CommandRun run{OnBoard("cat; echo $MARK; " + signals + "; id -u"), {{"MARK", "kept"}}};
    run.input = folder.Path("input");

    const CommandEnd end = run.Run();

    EXPECT_EQ(end.output, "from outside\nkept\n" + bare + std::to_string(::geteuid()) + "\n");
    EXPECT_EQ(end.errors, "");
}

// The first one is the board's.
TEST(BoardTest, NumbersTheBoardsProcessesFromOne) {
    EXPECT_EQ(CommandRun{OnBoard("echo $$; cat /proc/1/comm")}.Run().output, "2\nvelrix-board\n");
}

TEST(BoardTest, LeavesNoDescriptorOfItsOwnToTheProgram) {
    const CommandEnd bare = CommandRun{{"ls", "/proc/self/fd"}}.Run();

    const CommandEnd end = CommandRun{{VELRIX_BOARD_COMMAND, "run", "--", "ls", "/proc/self/fd"}}.Run();

    EXPECT_EQ(end.output, bare.output);
}

TEST(BoardTest, EndsAsTheProgramDoes) {
    const struct {
        std::vector<std::string> command;
        int exitCode;
        int signal;
        const char* errors;
    } rows[] = {
        {Shell("exit 0"), 0, 0, ""},
        {Shell("exit 7"), 7, 0, ""},
        {Shell("exit 125"), 125, 0, ""},
        {Shell("kill -TERM $$"), -1, SIGTERM, ""},
        {Shell("kill -KILL $$"), -1, SIGKILL, ""},
        {Shell("ulimit -c 0; kill -SEGV $$"), -1, SIGSEGV, ""},
        {{"/no/such/program"}, 127, 0, "velrix-board: cannot start /no/such/program: No such file or directory\n"},
        {{"no-such-program"}, 127, 0, "velrix-board: cannot start no-such-program: No such file or directory\n"},
        {{"/etc"}, 126, 0, "velrix-board: cannot start /etc: Permission denied\n"},
    };
    for (const auto& row : rows) {
        std::vector<std::string> command = {VELRIX_BOARD_COMMAND, "run", "--"};
        command.insert(command.end(), row.command.begin(), row.command.end());

        const CommandEnd end = CommandRun{command, {{"PATH", "/usr/bin:/bin"}}}.Run();

        EXPECT_EQ(end.ExitCode(), row.exitCode) << row.command.back();
        EXPECT_EQ(end.Signal(), row.signal) << row.command.back();
        EXPECT_EQ(end.errors, row.errors);
    }
}

#ifndef __arm__
TEST(BoardTest, SaysWhereAProgramForTheDeviceRuns) {
    const TestSupport::TemporaryFolder folder;
    Elf32_Ehdr header{}; // of no type, so that a machine with an emulator for ARM programs does not run it either
    std::memcpy(header.e_ident, ELFMAG, SELFMAG);
    header.e_ident[EI_CLASS] = ELFCLASS32;
    header.e_ident[EI_DATA] = ELFDATA2LSB;
    header.e_machine = EM_ARM;
    const std::string program = folder.Path("application");
    folder.Write("application", std::string(reinterpret_cast<const char*>(&header), sizeof header));
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);

    const CommandEnd end = CommandRun{{VELRIX_BOARD_COMMAND, "run", "--", program}}.Run();

    EXPECT_EQ(end.ExitCode(), 126);
    EXPECT_THAT(end.errors,
                HasSubstr("velrix-board: " + program + " is built for 32-bit ARM; run it with velrix-emulator\n"));
}
#endif

TEST(BoardTest, PassesSignalsOn) {
    for (const int signal : {SIGTERM, SIGHUP, SIGINT, SIGQUIT, SIGUSR1, SIGUSR2}) {
        PrivateBoard board;
        board.Start(Shell("trap 'echo trapped; kill $!; exit 9' " + std::to_string(signal) +
                          "; sleep 1000 & echo > /mnt/share/ready; wait"));
        ASSERT_TRUE(PrivateBoard::WaitFor([&] { return !board.Content("/mnt/share/ready").empty(); }));

        board.Signal(signal);
        const BoardResult end = board.Wait();

        EXPECT_EQ(end.exitCode, 9) << signal;
        EXPECT_EQ(end.output, "trapped\n") << signal;
    }
}

TEST(BoardTest, RecordsCallsOfTheCommandsThatEndTheMachine) {
    const struct {
        const char* call;
        const char* record;
    } rows[] = {{"/sbin/reboot", "/sbin/reboot\n"},
                {"reboot -f 'a b'", "reboot -f a\\ b\n"},
                {"/usr/sbin/halt -p", "/usr/sbin/halt -p\n"},
                {"poweroff && poweroff", "poweroff\npoweroff\n"},
                {"env -i /sbin/shutdown -h now", "/sbin/shutdown -h now\n"}};
    for (const auto& row : rows) {
        PrivateBoard board;

        // Goes on for the moment that it has.
        const BoardResult end = board.Run(
            Shell(std::string("trap '' TERM; PATH=/usr/sbin:/usr/bin:/bin; ") + row.call + "; echo $?; exit 6"));

        EXPECT_EQ(end.output, "0\n") << row.call << end.errors;
        EXPECT_EQ(end.exitCode, 6) << row.call;
        EXPECT_EQ(board.Reboots(), row.record);
    }
}

TEST(BoardTest, RecordsACallThatOutlivesTheProgram) {
    PrivateBoard board;

    EXPECT_EQ(board.Run(Shell("(while kill -0 $$; do :; done; exec /sbin/reboot) & exit 4")).exitCode, 4);

    EXPECT_EQ(board.Reboots(), "/sbin/reboot\n");
}

TEST(BoardTest, LetsWhatOutlivesTheProgramFinishItsWork) {
    PrivateBoard board;

    // The stay of sleep is shorter than a rest that ends it.
    EXPECT_EQ(
        board.Run(Shell("(timeout 2 sh -c 'while :; do :; done'; sleep 0.1; exec /sbin/reboot) & exit 4")).exitCode, 4);

    EXPECT_EQ(board.Reboots(), "/sbin/reboot\n");
}

TEST(BoardTest, EndsWhatWorksOnForEverAfterTheProgram) {
    const std::string mark = Mark();
    PrivateBoard board;

    EXPECT_EQ(board.Run(Shell("MARK=" + mark + " nice -n 19 sh -c 'while :; do :; done' & exit 4")).exitCode, 4);

    EXPECT_FALSE(RunsWith("MARK=" + mark));
}

TEST(BoardTest, EndsAllOfItsProgramsWhenOneOfThemReboots) {
    const std::string mark = Mark();
    const struct {
        const char* program;
        int exitCode;
        const char* output;
    } rows[] = {{"/sbin/reboot; sleep 1000", 0, ""},
                {"halt; sleep 1000", 0, ""},
                {"trap 'echo told; kill $!; exit 3' TERM; sleep 1000 & /sbin/reboot; wait", 3, "told\n"},
                {"trap '' TERM; /sbin/reboot; sleep 1000; sleep 1000", 0, ""},
                {"shutdown -c; echo on; kill $!; exit 5", 5, "on\n"}};
    for (const auto& row : rows) {
        PrivateBoard board;

        const BoardResult end = board.Run(Shell("PATH=$PATH:/usr/sbin; setsid sleep " + mark + " & " + row.program));

        EXPECT_EQ(end.exitCode, row.exitCode) << row.program << end.errors;
        EXPECT_EQ(end.output, row.output);
        EXPECT_FALSE(RunsSomewhere(mark));
    }
}

TEST(BoardTest, RunsTheProgramAnewAfterARebootOnRequest) {
    PrivateBoard board;
    board.AddOption("--on-reboot", "restart");
    board.AddOption("--oxbo-ready-after", "0ms");
    const std::string mark = Mark();

    // Prints what it finds, then leaves everything otherwise than it was; reboots twice, then halts.
    const BoardResult end = board.Run(
        Shell("cat " + std::string(RESET) + " " + IRQ + " " + MS_RED + " | tr -d '\\n'; echo; printf 1 > " + RESET +
              "; printf 1 > " + MS_RED + "; while test $(cat " + IRQ + ") = 1; do :; done; setsid sleep " + mark +
              " & echo run >> /mnt/share/runs; case $(grep -c run /mnt/share/runs) in 1) /sbin/reboot; sleep 1000;; "
              "2) /sbin/shutdown -r now; exit 3;; 3) /sbin/poweroff; sleep 1000;; esac"));

    EXPECT_EQ(end.output, "010\n010\n010\n") << end.errors;
    EXPECT_EQ(end.exitCode, 0);
    EXPECT_EQ(board.Reboots(), "/sbin/reboot\n/sbin/shutdown -r now\n/sbin/poweroff\n");
    EXPECT_EQ(board.Content("/mnt/share/runs"), "run\nrun\nrun\n");
    EXPECT_FALSE(RunsSomewhere(mark));
    const std::string up = "OXBO_RESET1_N 1\nMS.red 1\nOXBO_IRQ_N 0\n",
                      down = "OXBO_RESET1_N 0\nOXBO_IRQ_N 1\nMS.red 0\n";
    std::string changes = board.Changes();
    // The module may be ready before the LED is lit.
    for (std::size_t at; (at = changes.find("OXBO_IRQ_N 0\nMS.red 1\n")) != std::string::npos;)
        changes.replace(at, 22, "MS.red 1\nOXBO_IRQ_N 0\n");
    EXPECT_EQ(changes, up + down + up + down + up);
}

TEST(BoardTest, PassesASignalOnToTheProgramThatRunsAfterAReboot) {
    PrivateBoard board;
    board.AddOption("--on-reboot", "restart");
    board.Start(Shell("if test -e /mnt/share/again; then trap 'echo trapped; kill $!; exit 9' TERM; sleep 1000 & "
                      "echo > /mnt/share/ready; wait; fi; echo > /mnt/share/again; /sbin/reboot; sleep 1000"));
    ASSERT_TRUE(PrivateBoard::WaitFor([&] { return !board.Content("/mnt/share/ready").empty(); }));

    board.Signal(SIGTERM);

    const BoardResult end = board.Wait();
    EXPECT_EQ(end.exitCode, 9);
    EXPECT_EQ(end.output, "trapped\n");
}

TEST(BoardTest, RecordsTheRebootSystemCallOfAProgramThatIsRoot) {
    for (const auto& [call, record] : {std::pair{"restart", "reboot(2) restart\n"}, {"halt", "reboot(2) halt\n"}}) {
        PrivateBoard board;
        // Takes the value as the next option; --as-root itself has none.
        board.AddOption("--as-root", "--no-syslog");

        const BoardResult end = board.Run({REBOOT_CALL_PROGRAM, call});

        EXPECT_EQ(end.exitCode, 0);
        EXPECT_EQ(board.Reboots(), record);
    }
}

TEST(BoardTest, EndsWhatTheProgramLeftBehind) {
    const std::string mark = Mark();
    PrivateBoard board;

    // One that is at rest, long before one that works would be ended.
    const BoardResult end = board.Run(Shell("setsid sleep " + mark + " & (sleep 6; echo > /mnt/share/late) & exit 3"));

    EXPECT_EQ(end.exitCode, 3);
    EXPECT_FALSE(RunsSomewhere(mark));
    EXPECT_FALSE(fs::exists(board.Outside("/mnt/share/late")));
}

TEST(BoardTest, TakesEverythingAlongWhenItIsKilledAndIsSweptByTheNext) {
    const TemporaryFolder folder;
    const std::string mark = Mark(), mounts = Mounts();
    const pid_t board = CommandRun{OnBoard("setsid sleep " + mark + " & wait"), {{"TMPDIR", folder.Path()}}}.Start();
    ASSERT_TRUE(PrivateBoard::WaitFor([&] { return RunsSomewhere(mark); }));

    ::kill(board, SIGKILL);
    ::waitpid(board, nullptr, 0);

    EXPECT_TRUE(PrivateBoard::WaitFor([&] { return !RunsSomewhere(mark); }));
    EXPECT_EQ(Mounts(), mounts);
    EXPECT_FALSE(fs::is_empty(folder.Path()));
    // The process that ends the others may not have closed its files, the directory's lock among them.
    EXPECT_TRUE(PrivateBoard::WaitFor([&] {
        CommandRun{OnBoard("true"), {{"TMPDIR", folder.Path()}}}.Run();
        return fs::is_empty(folder.Path());
    }));
}

// Lets a traced process go on to the given number of stops, two a system call, and leaves it standing there; gives how
// many it made, fewer when it ended.
int SystemCallStops(pid_t process, int most) {
    int status = 0;
    ::waitpid(process, &status, 0);
    ::ptrace(PTRACE_SETOPTIONS, process, 0, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    int signal = 0;
    for (int stops = 0;;) {
        if (stops == most)
            return stops;
        ::ptrace(PTRACE_SYSCALL, process, 0, signal);
        ::waitpid(process, &status, 0);
        if (!WIFSTOPPED(status))
            return stops;
        const bool isSystemCall = WSTOPSIG(status) == (SIGTRAP | 0x80);
        stops += isSystemCall ? 1 : 0;
        signal = isSystemCall ? 0 : WSTOPSIG(status);
    }
}

// But for the file that a program with the thread sanitizer makes in its first steps and cannot remove once it is
// killed.
bool HoldsNothing(const fs::path& folder) {
    const fs::directory_iterator entries(folder);
    return std::all_of(begin(entries), end(entries), [](const fs::directory_entry& entry) {
        return entry.path().filename().string().starts_with("tsan.");
    });
}

TEST(BoardTest, LeavesNothingBehindInWhateverPhaseItIsKilled) {
    constexpr int BOARDS = 24;
    const TemporaryFolder folder;
    const std::string mounts = Mounts();

    // A leak check at the end cannot trace what is traced already.
    CommandRun run{OnBoard("setsid sleep 1000 &"), {{"TMPDIR", folder.Path()}, {"ASAN_OPTIONS", "detect_leaks=0"}}};
    run.traced = true;
    const int whole = SystemCallStops(run.Start(), INT_MAX);
    ASSERT_GT(whole, 10 * BOARDS);

    // One after the other is killed a little later in its life, from before its first step to the end of its work.
    for (int i = 0; i < BOARDS; ++i) {
        const pid_t board = run.Start();
        if (const int stops = whole * i / BOARDS; SystemCallStops(board, stops) == stops) {
            ::kill(board, SIGKILL);
            ::waitpid(board, nullptr, 0);
        }
    }

    EXPECT_TRUE(PrivateBoard::WaitFor([&] { return !RunsWith(folder.Path()); }));
    EXPECT_EQ(Mounts(), mounts);
    // A directory of an instant's age could be that of a board that is just starting.
    for (const fs::directory_entry& entry : fs::directory_iterator(folder.Path()))
        fs::last_write_time(entry.path(), fs::file_time_type::clock::now() - std::chrono::minutes(2));
    // A process that shows no environment any more may still be about to close its files, the directory's lock among
    // them.
    EXPECT_TRUE(PrivateBoard::WaitFor([&] {
        CommandRun{OnBoard("true"), {{"TMPDIR", folder.Path()}}}.Run();
        return HoldsNothing(folder.Path());
    }));
}

TEST(BoardTest, SaysThatItsFirstProcessWasKilled) {
    const TemporaryFolder folder;
    const std::string mark = Mark();
    const pid_t board = CommandRun{OnBoard("sleep " + mark)}.Start("/dev/null", folder.Path("errors"));
    ASSERT_TRUE(PrivateBoard::WaitFor([&] { return RunsSomewhere(mark); }));
    pid_t first = 0;
    std::ifstream("/proc/" + std::to_string(board) + "/task/" + std::to_string(board) + "/children") >> first;

    ASSERT_EQ(::kill(first, SIGKILL), 0);

    int status = 0;
    ::waitpid(board, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 125);
    EXPECT_EQ(folder.Read("errors"), "velrix-board: the board's first process ended unexpectedly\n");
    EXPECT_FALSE(RunsSomewhere(mark));
}

TEST(BoardTest, RunsTwentyAtOnce) {
    std::array<PrivateBoard, 20> boards;
    for (PrivateBoard& board : boards)
        board.Start(Shell("mkfifo /mnt/share/go; printf 1 > " + std::string(MS_RED) + "; cat /mnt/share/go " + MS_RED));
    for (const PrivateBoard& board : boards)
        ASSERT_TRUE(PrivateBoard::WaitFor([&] { return board.Written(MS_RED) == "1"; }));

    for (const PrivateBoard& board : boards)
        std::ofstream(board.Outside("/mnt/share/go")) << "";

    for (PrivateBoard& board : boards)
        EXPECT_EQ(board.Wait().output, "1\n");
}

TEST(BoardTest, ManagesProgramsOfAllManners) {
    const std::string write = "printf 1 > " + std::string(MS_RED), wait = "until grep -q 1 " + std::string(MS_RED);
    const struct {
        std::string program;
        int exitCode;
    } rows[] = {// closes all descriptors
                {"exec 0<&- 1>&- 2>&-; " + write + "; exit 3", 3},
                // ignores signals
                {"trap '' HUP INT QUIT TERM; kill -TERM $$; kill -HUP $$; " + write + "; exit 4", 4},
                // leaves its work to a daemon
                {"(setsid sh -c '" + write + "' < /dev/null > /dev/null 2>&1 &); " + wait + "; do :; done; exit 5", 5},
                // goes on as another program, with nothing of its environment
                {"exec sh -c 'cd / && umask 077 && exec env -i /bin/sh -c \"" + write + "; exit 6\"'", 6},
                // forks much
                {"for i in $(seq 100); do true & done; wait; " + write + "; exit 7", 7}};
    for (const auto& row : rows) {
        PrivateBoard board;

        EXPECT_EQ(board.Run(Shell(row.program)).exitCode, row.exitCode) << row.program;

        EXPECT_EQ(board.Written(MS_RED), "1") << row.program;
    }
}

TEST(BoardTest, RunsBesideOthersAndInsideOfOne) {
    PrivateBoard first, second;
    first.Start(Shell("mkfifo /mnt/share/go; printf 1 > " + std::string(MS_RED) + "; cat /mnt/share/go " + MS_RED));
    ASSERT_TRUE(PrivateBoard::WaitFor([&] { return first.Written(MS_RED) == "1"; }));

    const BoardResult inner = second.Run(
        {VELRIX_BOARD_COMMAND, "run", "--set", "OXBO_IRQ_N=low", "--", "sh", "-c",
         std::string("trap '' TERM; /sbin/reboot inner; cat ") + MS_RED + "; cat " + IRQ + "; printf 1 > " + MS_RED});

    EXPECT_EQ(inner.output, "0\n0\n") << inner.errors;
    EXPECT_EQ(second.Written(MS_RED), "");
    EXPECT_EQ(second.Reboots(), "");
    std::ofstream(first.Outside("/mnt/share/go")) << "";
    EXPECT_EQ(first.Wait().output, "1\n");
}

TEST(BoardTest, RunsForAnOrdinaryUser) {
    if (!CanBeOrdinaryUser())
        GTEST_SKIP() << "no ordinary user is known here";
    CommandRun run{OnBoard("trap '' TERM; PATH=$PATH:/usr/sbin; id -u; cat " + std::string(IRQ) + "; printf 1 > " +
                           MS_RED + " && cat " + MS_RED + "; reboot && touch /etc/x /var/x /dev/x && echo made"),
                   {{"TMPDIR", "/tmp"}}};
    run.asNobody = true;

    const CommandEnd end = run.Run();

    EXPECT_EQ(end.output, (::geteuid() == 0 ? "65534" : std::to_string(::geteuid())) + "\n1\n1\nmade\n") << end.errors;
    EXPECT_EQ(end.ExitCode(), 0);
}

TEST(BoardTest, ShowsTheProgramAsRootOnRequest) {
    if (!CanBeOrdinaryUser())
        GTEST_SKIP() << "no ordinary user is known here";
    CommandRun run{OnBoard("id -u", {"--as-root"}), {{"TMPDIR", "/tmp"}}};
    run.asNobody = true;

    EXPECT_EQ(run.Run().output, "0\n");
}

TEST(BoardTest, SaysWhatForbidsIt) {
    CommandRun run{{"unshare", "--user", "--map-root-user", "sh", "-c",
                    "echo 0 > /proc/sys/user/max_user_namespaces && exec " VELRIX_BOARD_COMMAND
                    " run --isolation namespaces -- echo ran"},
                   {{"TMPDIR", "/tmp"}}};

    const CommandEnd end = run.Run();

    EXPECT_EQ(end.ExitCode(), 125);
    EXPECT_EQ(end.output, "");
    EXPECT_THAT(end.errors, AllOf(StartsWith("velrix-board: cannot make the board's own namespaces (clone: "),
                                  HasSubstr("\"sysctl user.max_user_namespaces=10000\"")));
}

TEST(BoardTest, TakesWhatIsSentToTheSystemLog) {
    PrivateBoard board;

    const BoardResult end = board.Run(Shell("for i in $(seq 30); do logger -t me message $i; done"));

    EXPECT_EQ(end.exitCode, 0) << end.errors;
    const std::string log = board.Syslog();
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 30);
    EXPECT_THAT(log, HasSubstr(" me: message 30\n"));
    EXPECT_LT(log.find("message 1\n"), log.find("message 2\n"));
}

TEST(BoardTest, LeavesTheSystemLogsNameFreeOnRequest) {
    const CommandEnd end =
        CommandRun{OnBoard("test ! -e /dev/log && echo > /dev/log && echo free", {"--no-syslog"})}.Run();

    EXPECT_EQ(end.output, "free\n");
}

TEST(BoardTest, PutsValueFilesWhereTheSettingsSay) {
    PrivateBoard board;
    board.AddOption("--oxbo-ready-after", "never");
    board.SetSettings("web_log_file=/data/log/web\n"
                      "[led]\nmodule_status_red=\"/board_x/red\"\n"
                      "[oxbo_pin]\nreset_n=/sys/class/gpio/gpio7/value\nirq_n=/etc/irq\n");

    const BoardResult end =
        board.Run(Shell("printf 1 > /board_x/red; printf 1 > /sys/class/gpio/gpio7/value; cat /etc/irq; "
                        "echo +x > /data/log/web; test -e /etc/passwd && test -d /proc/self && "
                        "test -e /sys/class/net/lo/mtu; echo $?; ls " +
                        std::string(RESET)));

    EXPECT_EQ(end.output, "1\n0\n");
    EXPECT_THAT(end.errors, HasSubstr("No such file or directory"));
    EXPECT_THAT(board.Changes(), AllOf(HasSubstr("MS.red 1\n"), HasSubstr("OXBO_RESET1_N 1\n")));
    EXPECT_EQ(board.Content("/data/log/web"), "+x\n");
    EXPECT_FALSE(fs::exists("/board_x"));
    EXPECT_FALSE(fs::exists("/data/log/web"));
}

// A board is a machine that has the board's directories.
TEST(BoardTest, PutsValueFilesIntoTheBoardsOwnDirectories) {
    const TemporaryFolder folder;
    const std::string inner = folder.Path("inner");
    folder.Write("settings", "web_log_file=/mnt/share/web\n[led]\nmodule_status_red=/mnt/share/red\n"
                             "network_status_red=/mnt/share/deep/red\nmodule_status_green=/var/log/apps/green\n");
    const std::string program = "ls /mnt/share; printf 1 > /mnt/share/red; printf 1 > /mnt/share/deep/red; "
                                "printf 1 > /var/log/apps/green; echo +x > /mnt/share/web";
    PrivateBoard machine;

    const BoardResult end =
        machine.Run(Shell("mkdir /mnt/share/deep /mnt/share/of-the-machine; " VELRIX_BOARD_COMMAND " run --settings " +
                          folder.Path("settings") + " --directory " + inner + " -- sh -c '" + program + "'"));

    EXPECT_EQ(end.output, "deep\nred\n") << end.errors;
    EXPECT_EQ(folder.Read("inner/share/web"), "+x\n");
    EXPECT_THAT(folder.Read("inner/changes"),
                AllOf(HasSubstr(" MS.red 1\n"), HasSubstr(" NS.red 1\n"), HasSubstr(" MS.green 1\n")));
}

TEST(BoardTest, RefusesARunDirectoryThatItWouldCover) {
    const BoardResult end =
        PrivateBoard().Run(Shell(VELRIX_BOARD_COMMAND " run --directory /mnt/share/inner -- echo ran"));

    EXPECT_EQ(end.exitCode, 125);
    EXPECT_EQ(end.output, "");
    EXPECT_THAT(end.errors, HasSubstr("the run directory /mnt/share/inner lies in /mnt/share, which is the board's own "
                                      "there; name another one with --directory or TMPDIR\n"));
}

TEST(BoardTest, KeepsAWebLogInADirectoryOfTheMachineToItself) {
    PrivateBoard board;
    board.SetSettings("web_log_file=/var/log/velrix-web\n");

    board.Run(Shell("echo +x >> /var/log/velrix-web; test -e /var/log/apps"));

    EXPECT_EQ(board.Content("/var/log/velrix-web"), "+x\n");
    EXPECT_FALSE(fs::exists("/var/log/velrix-web"));
}

TEST(BoardTest, RunsWithFaultySettingsAndSaysSo) {
    PrivateBoard board;
    board.SetSettings("not a setting");

    const BoardResult end = board.Run(Shell("cat /etc/velrix.conf " + std::string(IRQ)));

    EXPECT_EQ(end.output, "not a setting1\n");
    EXPECT_THAT(end.errors, MatchesRegex("[^:]*:1:5: error: [^\n]*\n    1 \\| not a setting\n      \\|     \\^\n"
                                         "velrix-board: the libraries refuse [^,]*, and the program runs all the "
                                         "same; the board keeps its usual wiring\n"));
}

TEST(BoardTest, ShowsAllWrongNamesOfTheSettingsBeforeTheProgramRuns) {
    PrivateBoard board;
    board.SetSettings("web_log_file=/var/log/other\n[led]\nmodul_status_red=/x\n[dpram]\n");

    const BoardResult end = board.Run(Shell("echo the program >&2; echo > /var/log/other"));

    EXPECT_THAT(end.errors, ContainsRegex(":3:1: error: .*modul_status_red.*module_status_red"));
    EXPECT_THAT(end.errors, HasSubstr(":4:2: error: there is no section \"dpram\"\n"));
    EXPECT_THAT(end.errors, EndsWith(", and the program runs all the same\nthe program\n"));
    EXPECT_EQ(board.Content("/var/log/other"), "\n");
}

TEST(BoardTest, RunsWithoutAWordOnGoodSettings) {
    PrivateBoard board;
    board.SetSettings("[led]\nmodule_status_red=/sys/board-x/red\n");

    EXPECT_EQ(board.Run(Shell("true")).errors, "");
}

TEST(BoardTest, LeavesOutFilesAndDirectories) {
    PrivateBoard board;
    board.SetSettings("[qor_pin]\nirq_n=/etc/passwd\n");
    board.LeaveOut(IRQ);
    board.LeaveOut("/mnt/share");
    board.LeaveOut("/etc/passwd");

    const BoardResult end =
        board.Run(Shell("for f in " + std::string(IRQ) +
                        " /mnt/share /etc/passwd /var/log/apps; do test -e $f || echo $f; done; ls $(dirname " + IRQ +
                        "); cat " + RESET));

    EXPECT_EQ(end.output, std::string(IRQ) + "\n/mnt/share\n/etc/passwd\n0\n");
}

TEST(BoardTest, SimulatesTheModule) {
    PrivateBoard board;
    board.AddOption("--oxbo-ready-after", "5ms");

    const BoardResult end = board.Run(Shell("cat " + std::string(IRQ) + "; printf 1 > " + RESET +
                                            "; while test $(cat " + IRQ + ") = 1; do :; done; echo ready"));

    EXPECT_EQ(end.output, "1\nready\n");
    EXPECT_EQ(board.Changes(), "OXBO_RESET1_N 1\nOXBO_IRQ_N 0\n");
}

TEST(BoardTest, LeavesALineThatTheUserSetToTheUser) {
    PrivateBoard board;
    board.AddOption("--set", "OXBO_IRQ_N=0");

    const BoardResult end =
        board.Run(Shell("printf 1 > " + std::string(RESET) + "; printf 0 >> " + RESET + "; cat " + IRQ));

    EXPECT_EQ(board.Changes(), "OXBO_RESET1_N 1\nOXBO_RESET1_N 0\n");
    EXPECT_EQ(end.output, "0\n");
}

TEST(BoardTest, SeesInputsThatAreDrivenFromOutside) {
    PrivateBoard board;
    const std::string mod1 = "/var/dev/gpio-inputs/oxboMod1/value";
    board.Start(Shell("echo > /mnt/share/ready; while test $(cat " + mod1 + ") = 0; do :; done; echo high"));
    ASSERT_TRUE(PrivateBoard::WaitFor([&] { return !board.Content("/mnt/share/ready").empty(); }));

    board.Control("set OXBO_MOD_1=1");

    EXPECT_EQ(board.Wait().output, "high\n");
    EXPECT_EQ(board.Changes(), "OXBO_MOD_1 1\n");
}

// Nothing but the board itself knows that the rest of it waits.
TEST(BoardTest, ShowsAllOfAWebLogThatCameAtOnceWhileTheProgramRuns) {
    const TestSupport::TemporaryFolder folder;
    folder.Write("a.scenario", "within 60s web log has last\nset OXBO_MOD_1 high\nwithin 60s program exits with 7");

    const CommandEnd end = CommandRun{OnBoard("{ yes | head -n 100000; echo last; } > /mnt/share/all; "
                                              "mv /mnt/share/all /mnt/share/logger; "
                                              "while grep -q 0 /var/dev/gpio-inputs/oxboMod1/value; do :; done; exit 7",
                                              {"--scenario", folder.Path("a.scenario")})}
                               .Run();

    EXPECT_EQ(end.ExitCode(), 0) << end.errors;
}

TEST(BoardTest, SaysWhatIsWrongWithACommand) {
    const struct {
        const char* command;
        const char* reason;
    } rows[] = {{"set OXBO_RL=1", "OXBO_RL is an output"},
                {"set OXBO_MOD_1=2", "a level is low or high"},
                {"set OXBO_MOD_1", "has no \"=\""},
                {"set X=1", "X is no line or LED element"},
                {"fault MS.red=broken", "\"broken\" is no fault"},
                {"fault OXBO_IRQ_N=ENOSPC", "OXBO_IRQ_N is an input"},
                {"oxbo-ready-after soon", "\"soon\" is no time for the module"},
                {"walk", "there are set NAME=LEVEL"}};
    PrivateBoard board;
    board.Start(
        Shell("echo > /mnt/share/ready; while test $(cat /var/dev/gpio-inputs/oxboMod1/value) = 0; do :; done"));
    ASSERT_TRUE(PrivateBoard::WaitFor([&] { return !board.Content("/mnt/share/ready").empty(); }));

    for (const auto& row : rows)
        board.Control(row.command);
    board.Control("set OXBO_MOD_1=1");
    const BoardResult end = board.Wait();

    std::istringstream lines(end.errors);
    std::string line;
    for (const auto& row : rows) {
        std::getline(lines, line);
        EXPECT_THAT(line, StartsWith("velrix-board: control \"" + std::string(row.command) + "\": "));
        EXPECT_THAT(line, HasSubstr(row.reason));
    }
    EXPECT_EQ(board.Changes(), "OXBO_MOD_1 1\n");
}

TEST(BoardTest, BreaksAFileAndMendsItWhileTheProgramRuns) {
    PrivateBoard board;
    board.AddOption("--fault", "MS.red=EIO");
    board.Start(Shell("printf 1 > " + std::string(MS_RED) +
                      " || echo broken; echo > /mnt/share/ready; until printf 1 > " + MS_RED +
                      "; do :; done 2>/dev/null; echo whole"));
    ASSERT_TRUE(PrivateBoard::WaitFor([&] { return !board.Content("/mnt/share/ready").empty(); }));

    board.Control("fault MS.red=none");

    EXPECT_EQ(board.Wait().output, "broken\nwhole\n");
    EXPECT_EQ(board.Changes(), "MS.red 1\n");
}

TEST(BoardTest, BreaksAFileAsAScenarioSays) {
    const TemporaryFolder folder;
    folder.Write("scenario", "wait 20ms\nfault MS.red EIO\nwithin 20s web log has +broken\nfault MS.red none\n"
                             "within 20s program exits with 4\n");
    const std::string write = "printf 1 > " + std::string(MS_RED);

    const CommandEnd end = CommandRun{OnBoard("exec 2>/dev/null; while " + write +
                                                  "; do :; done; echo +broken >> /mnt/share/logger; until " + write +
                                                  "; do :; done; exit 4",
                                              {"--scenario", folder.Path("scenario")})}
                               .Run();

    EXPECT_EQ(end.ExitCode(), 0) << end.errors;
}

TEST(BoardTest, SaysWhatToDoWithoutFuse) {
    const CommandEnd end = CommandRun{OnBoard("umount /dev/fuse && rm /dev/fuse; " VELRIX_BOARD_COMMAND
                                              " run --isolation namespaces -- echo ran",
                                              {"--as-root"})}
                               .Run();

    EXPECT_EQ(end.ExitCode(), 125);
    EXPECT_EQ(end.output, "");
    EXPECT_THAT(end.errors, AllOf(StartsWith("velrix-board: cannot open /dev/fuse"), HasSubstr("\"modprobe fuse\"")));
}

TEST(BoardTest, SaysWhatToDoWhereFuseIsAnotherFile) {
    const CommandEnd end = CommandRun{OnBoard("umount /dev/fuse && > /dev/fuse; " VELRIX_BOARD_COMMAND
                                              " run --isolation namespaces -- echo ran",
                                              {"--as-root"})}
                               .Run();

    EXPECT_EQ(end.ExitCode(), 125);
    EXPECT_EQ(end.output, "");
    EXPECT_THAT(end.errors, AllOf(StartsWith("velrix-board: /dev/fuse is not the kernel's device"),
                                  HasSubstr("mknod -m 0666 /dev/fuse c 10 229")));
}

TEST(BoardTest, NamesTheIsolationThatItChoseOnRequest) {
    const CommandEnd end = CommandRun{OnBoard("true", {"--isolation", "auto"})}.Run();

    EXPECT_EQ(end.errors,
              "velrix-board: runs the program in namespaces (--isolation namespaces), the strongest way that "
              "there is\n");
}

#if __SIZEOF_POINTER__ == 8
TEST(BoardTest, RunsByAPreloadedLibraryWhereNamespacesAreRefusedAndSaysSo) {
    const CommandEnd end =
        CommandRun{OnBoard("umount /dev/fuse && rm /dev/fuse; " VELRIX_BOARD_COMMAND " run -- sh -c 'cat " +
                               std::string(IRQ) + "; exit 4'",
                           {"--as-root"})}
            .Run();

    EXPECT_EQ(end.ExitCode(), 4);
    EXPECT_EQ(end.output, "1\n");
    EXPECT_THAT(end.errors, AllOf(StartsWith("velrix-board: runs the program by a preloaded library (--isolation "
                                             "preload), since the machine refuses the stronger way: cannot open "
                                             "/dev/fuse"),
                                  HasSubstr("\"modprobe fuse\"")));
    EXPECT_EQ(std::count(end.errors.begin(), end.errors.end(), '\n'), 1) << end.errors;
}

// The program that Debian links statically.
TEST(BoardTest, RefusesAProgramThatTheLibraryCannotServeByItsName) {
    const CommandEnd end =
        CommandRun{{VELRIX_BOARD_COMMAND, "run", "--isolation", "preload", "--", "/usr/sbin/ldconfig"}}.Run();

    EXPECT_EQ(end.ExitCode(), 126);
    EXPECT_THAT(end.errors, StartsWith("velrix-board: /usr/sbin/ldconfig is statically linked"));
}
#else
TEST(BoardTest, SaysThatItHasNoLibraryToPreload) {
    const CommandEnd end = CommandRun{{VELRIX_BOARD_COMMAND, "run", "--isolation", "preload", "--", "true"}}.Run();

    EXPECT_EQ(end.ExitCode(), 125);
    EXPECT_THAT(end.errors, HasSubstr("has no library to preload"));
}
#endif

TEST(BoardTest, SaysWhatToDoWhereFuseIsRootsAlone) {
    // A file that is root's alone stands in for the device; the root of a namespace of one's own is not that root.
    CommandRun run{{"unshare", "--user", "--map-root-user", "--mount", "sh", "-c",
                    "mount --bind /etc/shadow /dev/fuse && exec \"$@\"", "sh", VELRIX_BOARD_COMMAND, "run",
                    "--isolation", "namespaces", "--", "echo", "ran"},
                   {{"TMPDIR", "/tmp"}}};
    run.asNobody = true;

    const CommandEnd end = run.Run();

    EXPECT_EQ(end.ExitCode(), 125);
    EXPECT_EQ(end.output, "");
    EXPECT_THAT(end.errors, AllOf(StartsWith("velrix-board: cannot open /dev/fuse"), HasSubstr("Permission denied"),
                                  HasSubstr("\"chmod 0666 /dev/fuse\"")));
}

TEST(BoardTest, PrintsWhatChangesIntoAPipe) {
    const CommandEnd end =
        CommandRun{OnBoard("printf 1 > " + std::string(MS_RED) +
                               "; echo printed; echo +hello > /mnt/share/logger; /usr/sbin/reboot now",
                           {"--terminal"})}
            .Run();

    EXPECT_EQ(end.output, "printed\n");
    EXPECT_THAT(end.errors, AllOf(HasSubstr(" s  MS red\n"), HasSubstr(" s  web log +hello\n"),
                                  HasSubstr(" s  reboot called: /usr/sbin/reboot now\n"), Not(HasSubstr("\033"))));
}

TEST(BoardTest, TellsALongWebLogToItsEndWhileTheProgramWaits) {
    const TemporaryFolder folder;
    const pid_t board = CommandRun{OnBoard("seq 5000 > /mnt/share/logger; exec sleep 1000", {"--terminal"})}.Start(
        "/dev/null", folder.Path("errors"));

    const auto isShown = [&] {
        std::ifstream errors(folder.Path("errors"));
        return std::string(std::istreambuf_iterator<char>(errors), {}).find(" s  web log 5000\n") != std::string::npos;
    };
    EXPECT_TRUE(PrivateBoard::WaitFor(isShown));
    ::kill(board, SIGTERM);
    ::waitpid(board, nullptr, 0);
}

TEST(BoardTest, TellsTheRecordsOfEachWebLogThatAProgramMakes) {
    // The board reads the log before it takes a write to a value file.
    const std::string read = "; printf 0 > " + std::string(MS_RED);
    const CommandEnd end = CommandRun{OnBoard("L=/mnt/share/logger; echo one > $L" + read + "; echo two > $L" + read +
                                                  "; rm $L" + read + "; echo three > $L" + read +
                                                  "; echo four >> $L; rm $L; echo fives > $L; printf six >> $L",
                                              {"--terminal"})}
                               .Run();

    std::string records;
    for (std::size_t at = 0; (at = end.errors.find("web log ", at)) != std::string::npos;) {
        at += std::string_view("web log ").size();
        records += end.errors.substr(at, end.errors.find('\n', at) - at) + " ";
    }
    EXPECT_EQ(records, "one two three four fives six ") << end.errors;
}

TEST(BoardTest, SaysOnATerminalHowToSeeTheBoard) {
    const std::string hint = "velrix-board: add --terminal to see the board, or --panel to see it in a browser";
    const auto printed = [](const std::vector<std::string>& options) {
        Terminal terminal(OnBoard("echo the program runs", options));
        const std::string text = terminal.ReadUntil("the program runs");
        EXPECT_EQ(terminal.Wait(), 0);
        return text;
    };

    EXPECT_THAT(printed({}), HasSubstr(hint));
    EXPECT_THAT(printed({"--terminal"}), Not(HasSubstr(hint)));
    EXPECT_THAT(printed({"--panel=0"}), Not(HasSubstr(hint)));
}

TEST(BoardTest, GivesTheTerminalToTheProgram) {
    Terminal terminal(OnBoard("tty; test -t 0 && test -t 1 && test -t 2 && read line < /dev/tty && echo got $line"));

    terminal.Type("hello\n");

    EXPECT_THAT(terminal.ReadUntil("/dev/pts/"), HasSubstr("/dev/pts/"));
    EXPECT_THAT(terminal.ReadUntil("got hello"), HasSubstr("got hello"));
    EXPECT_EQ(terminal.Wait(), 0);
}

TEST(BoardTest, LetsProgramsOpenTerminalsOfTheirOwn) {
    const CommandEnd end = CommandRun{OnBoard("script -qc tty /dev/null")}.Run();

    EXPECT_THAT(end.output, StartsWith("/dev/pts/")) << end.errors;
}

TEST(BoardTest, LetsAnOrdinaryUsersProgramsOpenTerminals) {
    if (!CanBeOrdinaryUser())
        GTEST_SKIP() << "no ordinary user is known here";
    CommandRun run{OnBoard("script -qc tty /dev/null"), {{"TMPDIR", "/tmp"}}};
    run.asNobody = true;

    const CommandEnd end = run.Run();

    EXPECT_THAT(end.output, StartsWith("/dev/pts/")) << end.errors;
}

TEST(BoardTest, LeavesTheTerminalsInterruptToTheProgram) {
    Terminal terminal(OnBoard(
        "n=0; trap 'n=$((n+1)); echo interrupted' INT; trap 'echo interrupts: $n; kill $!; exit 9' USR1; sleep 1000 & "
        "echo ready; while :; do wait; done"));
    terminal.ReadUntil("ready");

    terminal.Type("\003");
    terminal.ReadUntil("interrupted");
    // Comes behind an interrupt that the board were to pass on.
    terminal.Signal(SIGUSR1);

    EXPECT_THAT(terminal.ReadUntil("interrupts: 1"), HasSubstr("interrupts: 1"));
    EXPECT_EQ(WEXITSTATUS(terminal.Wait()), 9);
}

TEST(BoardTest, DrawsTheBoardAnewWhenTheTerminalIsResized) {
    Terminal terminal(OnBoard("echo printed; exec sleep 1000", {"--terminal"}));
    terminal.ReadUntil("printed");
    terminal.ReadUntil("module");

    terminal.Resize(14, 24);

    EXPECT_THAT(terminal.ReadUntil("  outputs   O\u2026\r\n"), HasSubstr("  outputs   O\u2026\r\n"));
    terminal.Type("\003");
    EXPECT_EQ(WTERMSIG(terminal.Wait()), SIGINT);
}

TEST(BoardTest, KeepsTheOrderOfBothOutputsOnATerminal) {
    Terminal terminal(
        OnBoard("i=0; while [ $i -lt 50 ]; do i=$((i + 1)); echo out$i; echo err$i >&2; done", {"--terminal"}));

    const std::string all = terminal.ReadUntil("err50\r\n");

    std::size_t at = 0;
    for (int i = 1; i <= 50 && at != std::string::npos; ++i)
        for (const char* output : {"out", "err"})
            at = all.find(output + std::to_string(i) + "\r\n", at);
    EXPECT_NE(at, std::string::npos) << all;
    EXPECT_EQ(terminal.Wait(), 0);
}

TEST(BoardTest, DrawsTheBoardBelowTheProgramsOutputOnATerminal) {
    Terminal terminal(OnBoard("echo printed; echo failed >&2; printf 1 > " + std::string(MS_RED), {"--terminal"}));

    const std::string all = terminal.ReadUntil("\u25CF red");

    EXPECT_THAT(all, AllOf(HasSubstr("\033[Jprinted\r\n"), HasSubstr("failed\r\n"), HasSubstr("\033[1;31m\u25CF red")));
    EXPECT_EQ(terminal.Wait(), 0);
}

} // namespace
} // namespace VelrixBoard
