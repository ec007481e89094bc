// SPDX-License-Identifier: Apache-2.0
// The commands that light LEDs, as processes on a private board.
#include <csignal>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/board/Terminal.h"
#include "tests/support/Isolation.h"
#include "tests/support/PrivateBoard.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/tools/velrixctl/OnABoard.h"

using testing::HasSubstr;
using TestSupport::BoardResult;
using TestSupport::PrivateBoard;
using TestSupport::VelrixctlInBackground;
using TestSupport::VelrixctlInShell;

namespace {

constexpr const char* MS_GREEN = "/sys/class/leds/ledGwStsGrn/brightness";
constexpr const char* MS_RED = "/sys/class/leds/ledGwStsRed/brightness";
constexpr const char* RESET = "/var/dev/gpio-outputs/oxboResetN/value";

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

TEST(LedsOnABoard, LeavesASteadyColourLit) {
    PrivateBoard board;

    EXPECT_EQ(board.Run(VelrixctlInShell("ctl led MS red && ctl led LINK_ACT2 yellow")).exitCode, 0);

    EXPECT_EQ(board.Changes(), "MS.red 1\nLINK_ACT2.yellow 1\n");
}

TEST(LedsOnABoard, ShowsAPatternForAGivenTimeAndLeavesTheLedOff) {
    PrivateBoard board;

    const BoardResult end =
        board.Run(VelrixctlInShell("ctl led MS green-red --ms 20 --for 0.5 && ctl led NS green --for 0.02"));

    EXPECT_EQ(end.exitCode, 0);
    const std::string changes = ChangesOf("MS", board);
    EXPECT_THAT(changes, testing::StartsWith("MS.green 1\nMS.green 0\nMS.red 1\n"));
    EXPECT_EQ(board.Level(MS_GREEN), '0');
    EXPECT_EQ(board.Level(MS_RED), '0');
    EXPECT_EQ(ChangesOf("NS", board), "NS.green 1\nNS.green 0\n");
}

TEST(LedsOnABoard, LeavesTheLedOffAfterASignal) {
    PrivateBoard board;
    board.Start(VelrixctlInBackground("led MS flashing-green --ms 3600000"));
    ASSERT_TRUE(board.WaitFor([&] { return board.Level(MS_GREEN) == '1'; }));

    board.Signal(SIGTERM);

    EXPECT_EQ(board.Wait().exitCode, 0);
    EXPECT_EQ(board.Changes(), "MS.green 1\nMS.green 0\n");
}

TEST(LedsOnABoard, RefusesAColourThatTheLedDoesNotHaveAndWritesNothing) {
    PrivateBoard board;

    const BoardResult end = board.Run(
        VelrixctlInShell("ctl led MS green; ctl led MS yellow; ctl led MS yellow-red; ctl led LINK_ACT1 flashing-red"));

    EXPECT_EQ(end.exitCode, 2);
    EXPECT_EQ(end.errors, "velrixctl: MS has only green and red\nvelrixctl: MS has only green and red\n"
                          "velrixctl: LINK_ACT1 has only green and yellow\n");
    EXPECT_EQ(board.Changes(), "MS.green 1\n");
}

TEST(LedsOnABoard, IndicatesWhatPlatformDoes) {
    const std::string states = "ms-power-off ms-missing-configuration ms-idle ms-running ms-invalid-configuration "
                               "ms-fatal-error ns-power-off ns-connection-established ns-no-connection ns-fatal-error "
                               "ns-timeout";
    PrivateBoard ours, platforms;

    EXPECT_EQ(
        ours.Run(VelrixctlInShell("for state in " + states + "; do ctl indicate $state --for 0.6 || exit 3; done"))
            .exitCode,
        0);
    EXPECT_EQ(platforms.Run(VelrixctlInShell("exec " PLATFORM_CALLS " " + states)).exitCode, 0);

    EXPECT_EQ(ours.Changes(), platforms.Changes());
    EXPECT_THAT(ours.Changes(), HasSubstr("MS.green 1\nMS.green 0\nMS.red 1\nMS.red 0\n"));
}

TEST(LedsOnABoard, TestsLampsAsPlatformDoes) {
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

TEST(LedsOnABoard, WalksThroughTheElements) {
    PrivateBoard board;

    const BoardResult end = board.Run(VelrixctlInShell("ctl lamp-test --walk --ms 1 --junit /mnt/share/report.xml"));

    EXPECT_EQ(end.exitCode, 0);
    EXPECT_EQ(end.output, "MS green\nMS red\nNS green\nNS red\nLINK_ACT1 green\nLINK_ACT1 yellow\nLINK_ACT2 green\n"
                          "LINK_ACT2 yellow\n");
    EXPECT_EQ(board.Changes(),
              "MS.green 1\nMS.green 0\nMS.red 1\nMS.red 0\nNS.green 1\nNS.green 0\nNS.red 1\nNS.red 0\n"
              "LINK_ACT1.green 1\nLINK_ACT1.green 0\nLINK_ACT1.yellow 1\nLINK_ACT1.yellow 0\n"
              "LINK_ACT2.green 1\nLINK_ACT2.green 0\nLINK_ACT2.yellow 1\nLINK_ACT2.yellow 0\n");
    EXPECT_THAT(board.Content("/mnt/share/report.xml"), HasSubstr("tests=\"8\" failures=\"0\" skipped=\"8\""));
}

TEST(LedsOnABoard, AsksAboutEachElementOnATerminal) {
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

TEST(LedsOnABoard, SwitchesTheLedsOffWhenALampTestIsInterrupted) {
    PrivateBoard board;
    board.Start(VelrixctlInBackground("lamp-test --walk --ms 60000"));
    ASSERT_TRUE(board.WaitFor([&] { return board.Level(MS_GREEN) == '1'; }));

    board.Signal(SIGTERM);
    const BoardResult end = board.Wait();

    EXPECT_EQ(end.exitCode, 2);
    EXPECT_THAT(end.errors, HasSubstr("velrixctl: interrupted; all LEDs are off\n"));
    EXPECT_EQ(board.Changes(), "MS.green 1\nMS.green 0\n");
}
