// SPDX-License-Identifier: Apache-2.0
// The commands that do not light LEDs, as processes on a private board.
#include <csignal>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/PrivateBoard.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/tools/velrixctl/OnABoard.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::MatchesRegex;
using TestSupport::BoardResult;
using TestSupport::COMMAND_OUTPUT;
using TestSupport::PrivateBoard;
using TestSupport::VelrixctlInBackground;
using TestSupport::VelrixctlInShell;

namespace {

constexpr const char* RESET = "/var/dev/gpio-outputs/oxboResetN/value";
constexpr const char* RAM_LOADER = "/var/dev/gpio-outputs/oxboRamLoaderEnable/value";

} // namespace

TEST(LinesOnABoard, ShowsTheLevelOfEveryLine) {
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

TEST(LinesOnABoard, SaysWhichLinesItCannotRead) {
    PrivateBoard board;
    board.LeaveOut(RESET);
    board.AddOption("--fault", "OXBO_MOD_1=EIO");

    const BoardResult end = board.Run(VelrixctlInShell("ctl pins; echo $?; ctl pins --json"));

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

TEST(LinesOnABoard, WatchesLinesUntilASignal) {
    PrivateBoard board;
    board.Start(VelrixctlInBackground("pins --watch"));
    ASSERT_TRUE(board.WaitFor([&] { return board.Content(COMMAND_OUTPUT).find("QOR_RESET0_N") != std::string::npos; }));

    board.Control("set OXBO_MOD_1=1");
    ASSERT_TRUE(board.WaitFor(
        [&] { return board.Content(COMMAND_OUTPUT).find(" s  OXBO_MOD_1 high\n") != std::string::npos; }));
    board.Control("set OXBO_MOD_1=0");
    ASSERT_TRUE(
        board.WaitFor([&] { return board.Content(COMMAND_OUTPUT).find(" s  OXBO_MOD_1 low\n") != std::string::npos; }));
    board.Signal(SIGTERM);

    EXPECT_EQ(board.Wait().exitCode, 0);
    EXPECT_EQ(board.Content(COMMAND_OUTPUT).find('\x1b'), std::string::npos);
}

TEST(LinesOnABoard, WatchesLinesForAGivenTime) {
    PrivateBoard board;

    const BoardResult end = board.Run({VELRIXCTL, "pins", "--watch", "--for", "0.05", "--json"});

    EXPECT_EQ(end.exitCode, 0);
    EXPECT_EQ(json::parse(end.output).size(), 9U);
}

TEST(LinesOnABoard, DrivesAnOutputAndLeavesIt) {
    PrivateBoard board;

    const BoardResult end =
        board.Run(VelrixctlInShell("ctl pin OXBO_RL high && ctl pin QOR_RESET0_N high && ctl pin OXBO_RL low"));

    EXPECT_EQ(end.exitCode, 0) << end.errors;
    EXPECT_EQ(board.Changes(), "OXBO_RL 1\nQOR_RESET0_N 1\nOXBO_RL 0\n");
}

TEST(LinesOnABoard, SaysWhatToDoAboutAnOutputThatItCannotOpen) {
    PrivateBoard board;
    board.LeaveOut(RAM_LOADER);

    const BoardResult end = board.Run({VELRIXCTL, "pin", "OXBO_RL", "high"});

    EXPECT_EQ(end.exitCode, 2);
    EXPECT_EQ(end.errors, "velrixctl: Cannot open: " + std::string(RAM_LOADER) +
                              ": No such file or directory\n\"velrixctl doctor\" says what to do.\n");
}

TEST(LinesOnABoard, ResetsTheModuleAndSaysHowLongItTook) {
    PrivateBoard board;
    board.AddOption("--oxbo-ready-after", "20ms");

    const BoardResult end = board.Run({VELRIXCTL, "reset-oxbo", "--ram-loader"});

    EXPECT_EQ(end.exitCode, 0) << end.errors;
    EXPECT_THAT(end.output, MatchesRegex("The module is ready after [0-9]+ ms[.]\n"));
    EXPECT_EQ(board.Written(RESET), "01");
    EXPECT_EQ(board.Written(RAM_LOADER), "1");
    EXPECT_EQ(board.Changes().find("MS."), std::string::npos);
}

TEST(LinesOnABoard, SaysThatTheModuleIsNotReady) {
    PrivateBoard board;
    board.AddOption("--oxbo-ready-after", "never");

    const BoardResult end =
        board.Run(VelrixctlInShell("ctl reset-oxbo --timeout 30; echo $?; ctl reset-oxbo --timeout 0"));

    EXPECT_EQ(end.output, "1\nThe module is out of reset; it was not waited for.\n");
    EXPECT_EQ(end.errors, "velrixctl: the module is not ready after 30 ms: OXBO_IRQ_N is still high\n");
    EXPECT_EQ(board.Written(RESET), "0101");
    EXPECT_EQ(board.Written(RAM_LOADER), "00");
}

TEST(LinesOnABoard, ShowsTheIdentity) {
    const TestSupport::TemporaryFolder folder;
    folder.Write("serialnumber.product", "1A2B3C4D");
    folder.Write("version.product", "v2.1.0");
    folder.Write("hwrevision", "mainboard 3.0.1");
    PrivateBoard board;
    board.SetSettings("system_config_dir = \"" + folder.Path() + "\"\n");

    const BoardResult end = board.Run(VelrixctlInShell("ctl identity && ctl identity --json"));

    EXPECT_EQ(end.exitCode, 0);
    const std::string text = "serial number      1a2b3c4d\nproduct version    2.1.0\nhardware           mainboard\n"
                             "hardware revision  3.0.1\n";
    ASSERT_THAT(end.output, testing::StartsWith(text));
    EXPECT_EQ(json::parse(end.output.substr(text.size())), (json{{"serialNumber", "1a2b3c4d"},
                                                                 {"productVersion", "2.1.0"},
                                                                 {"hardwareName", "mainboard"},
                                                                 {"hardwareRevision", "3.0.1"}}));
}

TEST(LinesOnABoard, NamesTheIdentityFileThatIsWrongAndShowsItsText) {
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

TEST(LinesOnABoard, ShowsTheBoardsWebLogAndVersions) {
    PrivateBoard board;

    const BoardResult end =
        board.Run(VelrixctlInShell("printf '>start\\n+ready\\n' > /mnt/share/logger; ctl weblog && ctl version"));

    EXPECT_EQ(end.exitCode, 0);
    EXPECT_THAT(end.output,
                MatchesRegex("start\nready\nvelrixctl [0-9.]+\nlibvelrix [0-9.]+, .*\nlibenv [0-9.]+, .*\n"));
}

TEST(LinesOnABoard, PrintsNothingIntoTheBoardsFilesWhenItsStreamsAreClosed) {
    PrivateBoard board;

    const BoardResult end = board.Run(VelrixctlInShell(
        "ctl reset-oxbo <&- >&-; echo $?; ctl pins >&-; echo $?; ctl pin OXBO_RL high <&- >&- 2>&-; echo $?"));

    EXPECT_EQ(end.output, "2\n2\n0\n");
    EXPECT_EQ(end.errors, "velrixctl: cannot write the output: Bad file descriptor\n"
                          "velrixctl: cannot write the output: Bad file descriptor\n");
    EXPECT_EQ(board.Written(RESET), "01");
    EXPECT_EQ(board.Written(RAM_LOADER), "01");
}

TEST(LinesOnABoard, EndsSilentlyWhenAPipeIsClosed) {
    PrivateBoard board;

    const BoardResult end = board.Run(
        VelrixctlInShell("yes +x | head -n 50000 > /mnt/share/logger; { ctl weblog; echo $? >&2; } | head -n 1"));

    EXPECT_EQ(end.errors, "2\n");
    EXPECT_EQ(end.output, "x\n");
}

TEST(LinesOnABoard, RefusesOptionsWithoutTheirMeaning) {
    PrivateBoard board;

    const BoardResult end = board.Run(VelrixctlInShell("ctl pins --for 1; ctl weblog --for 1; ctl lamp-test --ms 5; "
                                                       "ctl led MS red --ms 5; ctl led MS red --for soon"));

    EXPECT_EQ(end.exitCode, 2);
    EXPECT_EQ(end.errors,
              "velrixctl: --for needs --watch\nvelrixctl: --for needs --follow\nvelrixctl: --ms needs --walk\n"
              "velrixctl: --ms needs a pattern of several colours; red is steady\n"
              "velrixctl: --for takes seconds such as 2.5, not \"soon\"\n");
    EXPECT_EQ(board.Changes(), "");
}

TEST(LinesOnABoard, JudgesAndExplainsTheBoardsSettings) {
    PrivateBoard board;
    board.SetSettings("temp_dir = /mnt/share\n[oxbo_dpram]\npath=/dev/mem\noffset=44000000\nlength=8192\n");
    board.LeaveOut(RESET);

    const BoardResult end = board.Run(
        VelrixctlInShell("ctl check; ctl settings --diff; ctl explain temp_dir; ctl help pin | head -n 1\n"
                         "ctl doctor > /mnt/share/doctor; echo $?; grep RESET1 /mnt/share/doctor | sed s,/value,,"));

    EXPECT_EQ(end.output, "/etc/velrix.conf:5:8: warning: \"8192\" is hexadecimal, 33170 bytes; 8192 bytes are 2000\n"
                          "    5 | length=8192\n"
                          "      |        ^~~~\n"
                          "/etc/velrix.conf: good, 1 warning\n"
                          "temp_dir = /mnt/share                                              # /etc/velrix.conf:1\n"
                          "\n[oxbo_dpram]\n"
                          "length = 8192                                                      # /etc/velrix.conf:5\n"
                          "temp_dir\n"
                          "    directory of temporary files\n"
                          "    takes    the path of a directory\n"
                          "    default  /tmp\n"
                          "    example  temp_dir = /tmp\n"
                          "Usage: velrixctl pin NAME LEVEL [OPTION]...\n"
                          "1\n"
                          // Without namespaces the file's folder is missing, too.
                          "wrong  line OXBO_RESET1_N: /var/dev/gpio-outputs/oxboResetN does not exist\n");
    EXPECT_EQ(board.Changes(), "");
}
