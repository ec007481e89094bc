// SPDX-License-Identifier: Apache-2.0
#include <csignal>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/PrivateBoard.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;
using TestSupport::BoardResult;
using TestSupport::PrivateBoard;

const std::string MS_GREEN = "/sys/class/leds/ledGwStsGrn/brightness";
const std::string MS_RED = "/sys/class/leds/ledGwStsRed/brightness";
const std::string NS_GREEN = "/sys/class/leds/ledEthStsGrn/brightness";
const std::string NS_RED = "/sys/class/leds/ledEthStsRed/brightness";
const std::string OXBO_RESET = "/var/dev/gpio-outputs/oxboResetN/value";
const std::string QOR_RESET = "/var/dev/gpio-outputs/qorResetN/value";
const std::string WEB_LOG = "/mnt/share/logger";
const std::string TRACE = "/var/log/apps/gateway.log";

const std::string STARTED = ">start\n%Starting up\n%0\n%50\n%100\n";

BoardResult RunGateway(PrivateBoard& board, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), GATEWAY_PROGRAM);
    return board.Run(arguments);
}

void ExpectShutDown(const PrivateBoard& board) {
    for (const std::string& path : {MS_GREEN, MS_RED, NS_GREEN, NS_RED, OXBO_RESET, QOR_RESET})
        EXPECT_EQ(board.Level(path), '0') << path;
}

TEST(Gateway, ShowsEveryStateFromPowerUpToAnOrderlyEnd) {
    PrivateBoard board;

    const BoardResult result = RunGateway(board, {"--seconds", "5"});

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(board.Content(WEB_LOG), STARTED + "+Waiting for a configuration\n"
                                                "+Waiting for a connection\n"
                                                "+Connection established\n"
                                                "@wConnection timed out\n"
                                                "+Connection established\n"
                                                ">end\n");
    ExpectShutDown(board);

    // All levels ever written. In this order: off, power-up test, waiting for a configuration, for a connection,
    // connected, timed out, connected, off twice. The number of flashes depends on timing.
    const std::string flashing = "1(01)*0?";
    EXPECT_THAT(board.Written(MS_GREEN), MatchesRegex("0101" + flashing + flashing + "1" + flashing + "100"));
    EXPECT_THAT(board.Written(MS_RED), MatchesRegex("00100(10)*1?0+"));
    EXPECT_THAT(board.Written(NS_GREEN), MatchesRegex("01000" + flashing + "10+100"));
    EXPECT_THAT(board.Written(NS_RED), MatchesRegex("00100+" + flashing + "000"));
    EXPECT_EQ(board.Written(OXBO_RESET), "0100");
    EXPECT_EQ(board.Written(QOR_RESET), "00");
    EXPECT_EQ(board.Written("/var/dev/gpio-outputs/oxboRamLoaderEnable/value"), "0");
    for (const std::string led : {"ledLinkAct1", "ledLinkAct2"}) {
        EXPECT_EQ(board.Written("/sys/class/leds/" + led + "Grn/brightness"), "010000");
        EXPECT_EQ(board.Written("/sys/class/leds/" + led + "Yel/brightness"), "001000");
    }
}

TEST(Gateway, ShutsDownInOrderWhenItIsToldToEnd) {
    for (const int signal : {SIGTERM, SIGINT}) {
        PrivateBoard board;
        board.Start({GATEWAY_PROGRAM});
        ASSERT_TRUE(PrivateBoard::WaitFor(
            [&] { return board.Content(WEB_LOG).find("+Waiting for a configuration\n") != std::string::npos; }));

        board.Signal(signal);
        const BoardResult result = board.Wait();

        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(board.Content(WEB_LOG), STARTED + "+Waiting for a configuration\n>end\n");
        ExpectShutDown(board);
        EXPECT_THAT(board.Content(TRACE), MatchesRegex("(.|\n)* Platform::ShutDown complete\n"));
    }
}

TEST(Gateway, EndsWithRedLedsWhenTheModuleNeverBecomesReady) {
    PrivateBoard board;
    board.AddOption("--oxbo-ready-after", "never");

    const BoardResult result = RunGateway(board, {});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errors, "gateway: System::TimeoutException: The Oxbo module did not become ready\n");
    EXPECT_EQ(board.Content(WEB_LOG), ">start\n%Starting up\n%0\n%50\n@eThe Oxbo module did not become ready\n");
    EXPECT_EQ(board.Level(MS_RED), '1');
    EXPECT_EQ(board.Level(NS_RED), '1');
    EXPECT_EQ(board.Level(MS_GREEN), '0');
    EXPECT_EQ(board.Level(NS_GREEN), '0');
    EXPECT_EQ(board.Level(OXBO_RESET), '0');
    EXPECT_THAT(board.Content(TRACE), HasSubstr(" FATAL gateway["));
    // Fatal events go to local0 (130 is its LOG_CRIT) and, like all others from information upward, to local1.
    EXPECT_THAT(board.Syslog(), MatchesRegex("(.|\n)*<130>[^\n]*did not become ready(.|\n)*"));
    EXPECT_THAT(board.Syslog(), MatchesRegex("(.|\n)*<138>[^\n]*did not become ready(.|\n)*"));
    EXPECT_THAT(board.Syslog(), HasSubstr("<142>"));
    EXPECT_THAT(board.Syslog(), Not(HasSubstr("<134>")));
}

TEST(Gateway, SaysWhichFileOfTheBoardIsMissing) {
    PrivateBoard board;
    board.LeaveOut(QOR_RESET);

    const BoardResult result = RunGateway(board, {});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.errors, StartsWith("gateway: System::IO::FileNotFoundException: "));
    EXPECT_THAT(result.errors, HasSubstr(QOR_RESET));
}

TEST(Gateway, BeginsItsTraceWithTheIdentityOfTheDevice) {
    TestSupport::TemporaryFolder folder;
    folder.Write("serialnumber.product", "ff");
    folder.Write("version.product", "v2.1.0");
    folder.Write("hwrevision", "mainboard 3.0.1");
    PrivateBoard board;
    board.SetSettings("system_config_dir = \"" + folder.Path() + "\"\n");
    board.LeaveOut(QOR_RESET);

    RunGateway(board, {});

    EXPECT_THAT(board.Content(TRACE),
                MatchesRegex("[^ \n]* INFORMATION gateway[^\n]* ProductInfo.SerialNumber=ff, version=2.1.0.\n"
                             "[^ \n]* INFORMATION gateway[^\n]* HardwareInfo.name=mainboard, version=3.0.1.\n"
                             "(.|\n)*"));
}

#ifdef VIRTUAL_TIME
TEST(Gateway, KeepsItsTimeWhenTheWallClockIsSet) {
    for (const std::string where : {"back", "forward"}) {
        TestSupport::TemporaryFolder folder;
        folder.Write("a.scenario", "at 3s set clock " + where + " 1h\nat 4s set clock " + where +
                                       " 1h\nwithin 3s program exits with 0\n");
        PrivateBoard board;
        board.AddOption("--time", "virtual");
        board.AddOption("--scenario", folder.Path("a.scenario"));

        const BoardResult result = RunGateway(board, {"--seconds", "5"});

        EXPECT_EQ(result.exitCode, 0) << result.errors;
        EXPECT_EQ(board.Content(WEB_LOG), STARTED + "+Waiting for a configuration\n"
                                                    "+Waiting for a connection\n"
                                                    "+Connection established\n"
                                                    "@wConnection timed out\n"
                                                    "+Connection established\n"
                                                    ">end\n");
    }
}
#endif

TEST(Gateway, RefusesArgumentsThatItDoesNotKnow) {
    const std::vector<std::vector<std::string>> rows = {
        {"--seconds"}, {"--seconds", "0"}, {"--seconds", "soon"}, {"--minutes", "1"}, {"--seconds", "1", "2"}, {"1"}};
    for (const auto& row : rows) {
        PrivateBoard board;

        const BoardResult result = RunGateway(board, row);

        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.errors, "usage: gateway [--seconds N]\n");
        EXPECT_EQ(board.Content(WEB_LOG), "");
    }
}

} // namespace
