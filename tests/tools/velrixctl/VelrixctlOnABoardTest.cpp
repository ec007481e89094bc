// SPDX-License-Identifier: Apache-2.0
// The commands that read and drive the board, as processes on a private board.
#include <csignal>
#include <regex>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/board/Terminal.h"
#include "tests/support/Isolation.h"
#include "tests/support/PrivateBoard.h"
#include "tests/support/TemporaryFolder.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::MatchesRegex;
using TestSupport::BoardResult;
using TestSupport::PrivateBoard;

namespace {

constexpr const char* MS_GREEN = "/sys/class/leds/ledGwStsGrn/brightness";
constexpr const char* MS_RED = "/sys/class/leds/ledGwStsRed/brightness";
constexpr const char* RESET = "/var/dev/gpio-outputs/oxboResetN/value";
constexpr const char* RAM_LOADER = "/var/dev/gpio-outputs/oxboRamLoaderEnable/value";
constexpr const char* OUTPUT = "/mnt/share/output";

// Shell commands, in which "ctl" is the command.
std::vector<std::string> Shell(const std::string& script) {
    return {"sh", "-c", "ctl() { " VELRIXCTL " \"$@\"; }\n" + script};
}

// A command that goes on, its output in a file of the board.
std::vector<std::string> InBackground(const std::string& arguments) {
    return {"sh", "-c", "exec " VELRIXCTL " " + arguments + " > " + OUTPUT};
}

// The changes of one LED's elements, in order.
std::string ChangesOf(const std::string& led, const PrivateBoard& board) {
    std::istringstream lines(board.Changes());
    std::string changes;
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with(led + "."))
            changes += line + "\n";
    return changes;
}

} // namespace

TEST(VelrixctlOnABoard, ShowsTheLevelOfEveryLine) {
    PrivateBoard board;
    board.AddOption("--set", "OXBO_MOD_1=1");

    const BoardResult end = board.Run({VELRIXCTL, "pins"});

    EXPECT_EQ(end.exitCode, 0);
    EXPECT_EQ(end.output, "OXBO_IRQ_N         input   high     /var/dev/gpio-inputs/oxboIrqN/value\n"
                          "OXBO_MOD_1         input   high     /var/dev/gpio-inputs/oxboMod1/value\n"
                          "OXBO_MOD_ID0_SYNC  input   low      /var/dev/gpio-inputs/oxboModId0Sync/value\n"
                          "OXBO_RL            output  low      /var/dev/gpio-outputs/oxboRamLoaderEnable/value\n"
                          "OXBO_RESET1_N      output  low      /var/dev/gpio-outputs/oxboResetN/value\n"
                          "QOR_BL_N           output  low      /var/dev/gpio-outputs/qorBootloaderEnableN/value\n"
                          "QOR_DPRAM_BUSY_N   input   high     /var/dev/gpio-inputs/qorDpramBusyN/value\n"
                          "QOR_DPRAM_IRQ_N    input   high     /var/dev/gpio-inputs/qorDpramIrqN/value\n"
                          "QOR_RESET0_N       output  low      /var/dev/gpio-outputs/qorResetN/value\n");
    EXPECT_EQ(board.Changes(), "");
}

TEST(VelrixctlOnABoard, SaysWhichLinesItCannotRead) {
    PrivateBoard board;
    board.LeaveOut(RESET);
    board.AddOption("--fault", "OXBO_MOD_1=EIO");

    const BoardResult end = board.Run(Shell("ctl pins; echo $?; ctl pins --json"));

    EXPECT_THAT(end.output,
                HasSubstr("OXBO_RESET1_N      output  unknown  /var/dev/gpio-outputs/oxboResetN/value: No such "
                          "file or directory\n"));
    EXPECT_THAT(end.output,
                HasSubstr("OXBO_MOD_1         input   unknown  /var/dev/gpio-inputs/oxboMod1/value: Input/output "
                          "error\n"));
    EXPECT_THAT(end.output, HasSubstr("\n1\n"));
    EXPECT_THAT(end.errors, HasSubstr("velrixctl: some lines cannot be read; \"velrixctl doctor\" says what to do\n"));
    const json lines = json::parse(end.output.substr(end.output.find("\n1\n") + 3));
    EXPECT_EQ(lines[0], (json{{"label", "OXBO_IRQ_N"},
                              {"direction", "input"},
                              {"level", "high"},
                              {"path", "/var/dev/gpio-inputs/oxboIrqN/value"}}));
    EXPECT_TRUE(lines[1]["level"].is_null());
    EXPECT_EQ(lines[1]["error"], "Input/output error");
    EXPECT_EQ(end.exitCode, 1);
}

TEST(VelrixctlOnABoard, WatchesLinesUntilASignal) {
    PrivateBoard board;
    board.Start(InBackground("pins --watch"));
    ASSERT_TRUE(board.WaitFor([&] { return board.Content(OUTPUT).find("QOR_RESET0_N") != std::string::npos; }));

    board.Control("set OXBO_MOD_1=1");
    ASSERT_TRUE(
        board.WaitFor([&] { return board.Content(OUTPUT).find(" s  OXBO_MOD_1 high\n") != std::string::npos; }));
    board.Control("set OXBO_MOD_1=0");
    ASSERT_TRUE(board.WaitFor([&] { return board.Content(OUTPUT).find(" s  OXBO_MOD_1 low\n") != std::string::npos; }));
    board.Signal(SIGTERM);

    EXPECT_EQ(board.Wait().exitCode, 0);
    EXPECT_EQ(board.Content(OUTPUT).find('\x1b'), std::string::npos);
}

TEST(VelrixctlOnABoard, WatchesLinesForAGivenTime) {
    PrivateBoard board;

    const BoardResult end = board.Run({VELRIXCTL, "pins", "--watch", "--for", "0.05", "--json"});

    EXPECT_EQ(end.exitCode, 0);
    EXPECT_EQ(json::parse(end.output).size(), 9U);
}

TEST(VelrixctlOnABoard, DrivesAnOutputAndLeavesIt) {
    PrivateBoard board;

    const BoardResult end =
        board.Run(Shell("ctl pin OXBO_RL high && ctl pin QOR_RESET0_N high && ctl pin OXBO_RL low"));

    EXPECT_EQ(end.exitCode, 0) << end.errors;
    EXPECT_EQ(board.Changes(), "OXBO_RL 1\nQOR_RESET0_N 1\nOXBO_RL 0\n");
}

TEST(VelrixctlOnABoard, SaysWhatToDoAboutAnOutputThatItCannotOpen) {
    PrivateBoard board;
    board.LeaveOut(RAM_LOADER);

    const BoardResult end = board.Run({VELRIXCTL, "pin", "OXBO_RL", "high"});

    EXPECT_EQ(end.exitCode, 2);
    EXPECT_EQ(end.errors, "velrixctl: Cannot open: " + std::string(RAM_LOADER) +
                              ": No such file or directory\n\"velrixctl doctor\" says what to do.\n");
}

TEST(VelrixctlOnABoard, LeavesASteadyColourLit) {
    PrivateBoard board;

    EXPECT_EQ(board.Run(Shell("ctl led MS red && ctl led LINK_ACT2 yellow")).exitCode, 0);

    EXPECT_EQ(board.Changes(), "MS.red 1\nLINK_ACT2.yellow 1\n");
}

TEST(VelrixctlOnABoard, ShowsAPatternForAGivenTimeAndLeavesTheLedOff) {
    PrivateBoard board;

    const BoardResult end = board.Run(Shell("ctl led MS green-red --ms 20 --for 0.5 && ctl led NS green --for 0.02"));

    EXPECT_EQ(end.exitCode, 0);
    const std::string changes = ChangesOf("MS", board);
    EXPECT_THAT(changes, testing::StartsWith("MS.green 1\nMS.green 0\nMS.red 1\n"));
    EXPECT_EQ(board.Level(MS_GREEN), '0');
    EXPECT_EQ(board.Level(MS_RED), '0');
    EXPECT_EQ(ChangesOf("NS", board), "NS.green 1\nNS.green 0\n");
}

TEST(VelrixctlOnABoard, LeavesTheLedOffAfterASignal) {
    PrivateBoard board;
    board.Start(InBackground("led MS flashing-green --ms 3600000"));
    ASSERT_TRUE(board.WaitFor([&] { return board.Level(MS_GREEN) == '1'; }));

    board.Signal(SIGTERM);

    EXPECT_EQ(board.Wait().exitCode, 0);
    EXPECT_EQ(board.Changes(), "MS.green 1\nMS.green 0\n");
}

TEST(VelrixctlOnABoard, RefusesAColourThatTheLedDoesNotHaveAndWritesNothing) {
    PrivateBoard board;

    const BoardResult end =
        board.Run(Shell("ctl led MS green; ctl led MS yellow; ctl led MS yellow-red; ctl led LINK_ACT1 flashing-red"));

    EXPECT_EQ(end.exitCode, 2);
    EXPECT_EQ(end.errors, "velrixctl: MS has only green and red\nvelrixctl: MS has only green and red\n"
                          "velrixctl: LINK_ACT1 has only green and yellow\n");
    EXPECT_EQ(board.Changes(), "MS.green 1\n");
}

TEST(VelrixctlOnABoard, IndicatesWhatPlatformDoes) {
    const std::string states = "ms-power-off ms-missing-configuration ms-idle ms-running ms-invalid-configuration "
                               "ms-fatal-error ns-power-off ns-connection-established ns-no-connection ns-fatal-error "
                               "ns-timeout";
    PrivateBoard ours, platforms;

    EXPECT_EQ(ours.Run(Shell("for state in " + states + "; do ctl indicate $state --for 0.6 || exit 3; done")).exitCode,
              0);
    EXPECT_EQ(platforms.Run(Shell("exec " PLATFORM_CALLS " " + states)).exitCode, 0);

    EXPECT_EQ(ours.Changes(), platforms.Changes());
    EXPECT_THAT(ours.Changes(), HasSubstr("MS.green 1\nMS.green 0\nMS.red 1\nMS.red 0\n"));
}

TEST(VelrixctlOnABoard, TestsLampsAsPlatformDoes) {
    PrivateBoard ours, platforms;

    EXPECT_EQ(ours.Run({VELRIXCTL, "lamp-test"}).exitCode, 0);
    EXPECT_EQ(platforms.Run({PLATFORM_CALLS, "power-up"}).exitCode, 0);

    for (const char* led : {"MS", "NS", "LINK_ACT1", "LINK_ACT2"}) {
        EXPECT_EQ(ChangesOf(led, ours), ChangesOf(led, platforms));
    }
    EXPECT_EQ(ChangesOf("MS", ours), "MS.green 1\nMS.green 0\nMS.red 1\nMS.green 1\nMS.red 0\n");
    // What else it leaves: the modules are not touched.
    EXPECT_EQ(ours.Written(RESET), "");
}

TEST(VelrixctlOnABoard, WalksThroughTheElements) {
    PrivateBoard board;

    const BoardResult end = board.Run(Shell("ctl lamp-test --walk --ms 1 --junit /mnt/share/report.xml"));

    EXPECT_EQ(end.exitCode, 0);
    EXPECT_EQ(end.output, "MS green\nMS red\nNS green\nNS red\nLINK_ACT1 green\nLINK_ACT1 yellow\nLINK_ACT2 green\n"
                          "LINK_ACT2 yellow\n");
    EXPECT_EQ(board.Changes(),
              "MS.green 1\nMS.green 0\nMS.red 1\nMS.red 0\nNS.green 1\nNS.green 0\nNS.red 1\nNS.red 0\n"
              "LINK_ACT1.green 1\nLINK_ACT1.green 0\nLINK_ACT1.yellow 1\nLINK_ACT1.yellow 0\n"
              "LINK_ACT2.green 1\nLINK_ACT2.green 0\nLINK_ACT2.yellow 1\nLINK_ACT2.yellow 0\n");
    EXPECT_THAT(board.Content("/mnt/share/report.xml"), HasSubstr("tests=\"8\" failures=\"0\" skipped=\"8\""));
}

TEST(VelrixctlOnABoard, AsksAboutEachElementOnATerminal) {
    const TestSupport::TemporaryFolder folder;
    Terminal terminal(TestSupport::WithIsolation(
        {VELRIX_BOARD_COMMAND, "run", "--", VELRIXCTL, "lamp-test", "--walk", "--junit", folder.Path("report.xml")}));
    const char* const elements[] = {"MS green",        "MS red",           "NS green",        "NS red",
                                    "LINK_ACT1 green", "LINK_ACT1 yellow", "LINK_ACT2 green", "LINK_ACT2 yellow"};
    for (const std::string element : elements) {
        const std::string question = element + ": is just this one lit? [y/n] ";
        ASSERT_THAT(terminal.ReadUntil(question), HasSubstr(question));
        if (element == "NS green") { // not an answer
            terminal.Type("perhaps\n");
            ASSERT_THAT(terminal.ReadUntil(question), HasSubstr(question));
        }
        terminal.Type(element == "MS red" ? "n\n" : "y\n");
    }
    EXPECT_THAT(terminal.ReadUntil("MS red\r\n"), HasSubstr("wrong: "));
    const int status = terminal.Wait();

    EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : -1, 1);
    const std::string report = folder.Read("report.xml");
    EXPECT_THAT(report, HasSubstr("tests=\"8\" failures=\"1\" skipped=\"0\""));
    EXPECT_THAT(report, HasSubstr("name=\"MS red\">\n    <failure "));
}

TEST(VelrixctlOnABoard, SwitchesTheLedsOffWhenALampTestIsInterrupted) {
    PrivateBoard board;
    board.Start(InBackground("lamp-test --walk --ms 60000"));
    ASSERT_TRUE(board.WaitFor([&] { return board.Level(MS_GREEN) == '1'; }));

    board.Signal(SIGTERM);
    const BoardResult end = board.Wait();

    EXPECT_EQ(end.exitCode, 2);
    EXPECT_THAT(end.errors, HasSubstr("velrixctl: interrupted; all LEDs are off\n"));
    EXPECT_EQ(board.Changes(), "MS.green 1\nMS.green 0\n");
}

TEST(VelrixctlOnABoard, ResetsTheModuleAndSaysHowLongItTook) {
    PrivateBoard board;
    board.AddOption("--oxbo-ready-after", "20ms");

    const BoardResult end = board.Run({VELRIXCTL, "reset-oxbo", "--ram-loader"});

    EXPECT_EQ(end.exitCode, 0) << end.errors;
    EXPECT_THAT(end.output, MatchesRegex("The module is ready after [0-9]+ ms[.]\n"));
    EXPECT_EQ(board.Written(RESET), "01");
    EXPECT_EQ(board.Written(RAM_LOADER), "1");
    EXPECT_EQ(ChangesOf("MS", board), "");
}

TEST(VelrixctlOnABoard, SaysThatTheModuleIsNotReady) {
    PrivateBoard board;
    board.AddOption("--oxbo-ready-after", "never");

    const BoardResult end = board.Run(Shell("ctl reset-oxbo --timeout 30; echo $?; ctl reset-oxbo --timeout 0"));

    EXPECT_EQ(end.output, "1\nThe module is out of reset; it was not waited for.\n");
    EXPECT_EQ(end.errors, "velrixctl: the module is not ready after 30 ms: OXBO_IRQ_N is still high\n");
    EXPECT_EQ(board.Written(RESET), "0101");
    EXPECT_EQ(board.Written(RAM_LOADER), "00");
}

TEST(VelrixctlOnABoard, ShowsTheIdentity) {
    const TestSupport::TemporaryFolder folder;
    folder.Write("serialnumber.product", "1A2B3C4D");
    folder.Write("version.product", "v2.1.0");
    folder.Write("hwrevision", "mainboard 3.0.1");
    PrivateBoard board;
    board.SetSettings("system_config_dir = \"" + folder.Path() + "\"\n");

    const BoardResult end = board.Run(Shell("ctl identity && ctl identity --json"));

    EXPECT_EQ(end.exitCode, 0);
    const std::string text = "serial number      1a2b3c4d\nproduct version    2.1.0\nhardware           mainboard\n"
                             "hardware revision  3.0.1\n";
    ASSERT_THAT(end.output, testing::StartsWith(text));
    EXPECT_EQ(json::parse(end.output.substr(text.size())), (json{{"serialNumber", "1a2b3c4d"},
                                                                 {"productVersion", "2.1.0"},
                                                                 {"hardwareName", "mainboard"},
                                                                 {"hardwareRevision", "3.0.1"}}));
}

TEST(VelrixctlOnABoard, NamesTheIdentityFileThatIsWrongAndShowsItsText) {
    const TestSupport::TemporaryFolder folder;
    folder.Write("serialnumber.product", "1a2b3c4d\n");
    folder.Write("version.product", "2.1.0");
    folder.Write("hwrevision", "main board 3.0.1");
    PrivateBoard board;
    board.SetSettings("system_config_dir = \"" + folder.Path() + "\"\n");

    const BoardResult end = board.Run({VELRIXCTL, "identity"});

    EXPECT_EQ(end.exitCode, 1);
    EXPECT_EQ(end.output, "");
    EXPECT_THAT(end.errors,
                HasSubstr("velrixctl: " + folder.Path("serialnumber.product") +
                          ": holds \"1a2b3c4d\\n\" and not a hexadecimal number of up to 16 digits; nothing may "
                          "follow, no line end either\n"));
    EXPECT_THAT(end.errors, HasSubstr("version.product: holds \"2.1.0\" and not \"v\" and three numbers with dots\n"));
    EXPECT_THAT(end.errors,
                HasSubstr("hwrevision: holds \"main board 3.0.1\" and not a name, one blank and three numbers "
                          "with dots\n"));
}

TEST(VelrixctlOnABoard, ShowsTheBoardsWebLogAndVersions) {
    PrivateBoard board;

    const BoardResult end =
        board.Run(Shell("printf '>start\\n+ready\\n' > /mnt/share/logger; ctl weblog && ctl version"));

    EXPECT_EQ(end.exitCode, 0);
    EXPECT_THAT(end.output,
                MatchesRegex("start\nready\nvelrixctl [0-9.]+\nlibvelrix [0-9.]+, .*\nlibenv [0-9.]+, .*\n"));
}

TEST(VelrixctlOnABoard, PrintsNothingIntoTheBoardsFilesWhenItsStreamsAreClosed) {
    PrivateBoard board;

    const BoardResult end = board.Run(
        Shell("ctl reset-oxbo <&- >&-; echo $?; ctl pins >&-; echo $?; ctl pin OXBO_RL high <&- >&- 2>&-; echo $?"));

    EXPECT_EQ(end.output, "2\n2\n0\n");
    EXPECT_EQ(end.errors, "velrixctl: cannot write the output: Bad file descriptor\n"
                          "velrixctl: cannot write the output: Bad file descriptor\n");
    EXPECT_EQ(board.Written(RESET), "01");
    EXPECT_EQ(board.Written(RAM_LOADER), "01");
}

TEST(VelrixctlOnABoard, EndsSilentlyWhenAPipeIsClosed) {
    PrivateBoard board;

    const BoardResult end =
        board.Run(Shell("yes +x | head -n 50000 > /mnt/share/logger; { ctl weblog; echo $? >&2; } | head -n 1"));

    EXPECT_EQ(end.errors, "2\n");
    EXPECT_EQ(end.output, "x\n");
}

TEST(VelrixctlOnABoard, RefusesOptionsWithoutTheirMeaning) {
    PrivateBoard board;

    const BoardResult end =
        board.Run(Shell("ctl pins --for 1; ctl weblog --for 1; ctl lamp-test --ms 5; ctl led MS red --for soon"));

    EXPECT_EQ(end.exitCode, 2);
    EXPECT_EQ(end.errors,
              "velrixctl: --for needs --watch\nvelrixctl: --for needs --follow\nvelrixctl: --ms needs --walk\n"
              "velrixctl: --for takes seconds such as 2.5, not \"soon\"\n");
    EXPECT_EQ(board.Changes(), "");
}
