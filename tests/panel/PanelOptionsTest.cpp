// SPDX-License-Identifier: Apache-2.0
// The option --panel of the real command.
#include <csignal>
#include <fstream>

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/stat.h>

#include "board/base/FileDescriptor.h"
#include "tests/board/CommandRun.h"
#include "tests/panel/Connection.h"
#include "tests/support/PrivateBoard.h"

namespace VelrixBoard {
namespace {

using testing::AllOf;
using testing::HasSubstr;

// A socket on a free port.
class ListeningSocket final {
public:
    ListeningSocket() : socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in name{};
        name.sin_family = AF_INET;
        name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof name;
        EXPECT_EQ(::bind(socket.Get(), reinterpret_cast<const sockaddr*>(&name), length), 0);
        EXPECT_EQ(::listen(socket.Get(), 1), 0);
        EXPECT_EQ(::getsockname(socket.Get(), reinterpret_cast<sockaddr*>(&name), &length), 0);
        port = ntohs(name.sin_port);
    }

    std::string Port() const { return std::to_string(port); }

private:
    const FileDescriptor socket;
    int port = 0;
};

TEST(PanelOptionsTest, ServesThePanelBesideTheTerminalView) {
    const TestSupport::TemporaryFolder folder;
    const std::string end = folder.Path("end");
    ASSERT_EQ(::mkfifo(end.c_str(), 0600), 0);
    const CommandRun run{
        OnBoard("printf 1 >/sys/class/leds/ledGwStsRed/brightness; cat " + end, {"--panel=0", "--terminal"})};
    folder.Write("errors", "");
    const pid_t process = run.Start("/dev/null", folder.Path("errors"));

    std::string errors;
    ASSERT_TRUE(TestSupport::PrivateBoard::WaitFor([&] {
        errors = folder.Read("errors");
        return errors.find("MS red\n") != std::string::npos;
    })) << errors;
    const std::string announced = "velrix-board: the panel is at http://127.0.0.1:";
    ASSERT_THAT(errors, HasSubstr(announced));
    const std::string state = StateOfPanel(std::stoi(errors.substr(errors.find(announced) + announced.size())));
    std::ofstream(end).flush();
    int status = -1;
    ::waitpid(process, &status, 0);

    EXPECT_THAT(state, HasSubstr("\"levels\":\"10000011001000000\""));
    EXPECT_EQ(status, 0);
}

TEST(PanelOptionsTest, SaysThatAPortIsInUseBeforeAnythingRuns) {
    const ListeningSocket other;

    const CommandEnd end = CommandRun{OnBoard("echo ran", {"--panel=" + other.Port()})}.Run();

    EXPECT_EQ(end.ExitCode(), 125);
    EXPECT_EQ(end.output, "");
    EXPECT_THAT(end.errors, AllOf(HasSubstr("cannot open the panel on port " + other.Port()),
                                  HasSubstr("name another one, or none"), HasSubstr("Address already in use")));
}

// A board with a panel that runs until the test ends it.
class BoardWithPanel final {
public:
    // Returns when the board has said so.
    BoardWithPanel(const std::string& program, std::vector<std::string> options, const std::string& said) {
        options.emplace_back("--panel=0");
        folder.Write("errors", "");
        process = CommandRun{OnBoard(program, options)}.Start("/dev/null", folder.Path("errors"));
        const std::string announced = "the panel is at http://127.0.0.1:";
        std::string errors;
        EXPECT_TRUE(TestSupport::PrivateBoard::WaitFor([&] {
            errors = folder.Read("errors");
            return errors.find(announced) != std::string::npos && errors.find(said) != std::string::npos;
        })) << errors;
        port = std::stoi(errors.substr(errors.find(announced) + announced.size()));
    }

    std::string Path(const std::string& name) const { return folder.Path(name); }
    bool Shows(const std::string& text) const {
        return TestSupport::PrivateBoard::WaitFor([&] { return StateOfPanel(port).find(text) != std::string::npos; });
    }
    void Signal(int signal) const { ::kill(process, signal); }

    int Wait() const {
        int status = -1;
        ::waitpid(process, &status, 0);
        return status;
    }

    int port = 0;

private:
    const TestSupport::TemporaryFolder folder;
    pid_t process = -1;
};

constexpr const char* KEPT = "the board is kept until Ctrl-C";

TEST(PanelOptionsTest, GivesTheModulesLineBackToTheModule) {
    const BoardWithPanel board("sleep 1000", {"--set", "OXBO_IRQ_N=0"}, "");
    EXPECT_TRUE(board.Shows("\"OXBO_IRQ_N\":\"option\""));
    EXPECT_THAT(StateOfPanel(board.port), HasSubstr("\"levels\":\"00"));

    EXPECT_THAT(Ask(board.port, "POST", "/inputs/OXBO_IRQ_N", R"({"driver":"module"})"), HasSubstr("HTTP/1.1 200"));

    EXPECT_TRUE(board.Shows("\"OXBO_IRQ_N\":\"module\""));
    EXPECT_THAT(StateOfPanel(board.port), HasSubstr("\"levels\":\"10"));
    EXPECT_THAT(Ask(board.port, "POST", "/inputs/OXBO_MOD_1", R"({"driver":"module"})"),
                AllOf(HasSubstr("HTTP/1.1 409"), HasSubstr("the module does not drive OXBO_MOD_1")));
    Ask(board.port, "POST", "/inputs/OXBO_IRQ_N", R"({"level":false})");
    EXPECT_TRUE(board.Shows("\"OXBO_IRQ_N\":\"panel\""));
    board.Signal(SIGTERM);
    board.Wait();
}

TEST(PanelOptionsTest, KeepsTheBoardUntilThePanelEndsIt) {
    const BoardWithPanel board("printf 1 >/sys/class/leds/ledGwStsRed/brightness; exit 3", {"--panel-hold"}, KEPT);
    EXPECT_TRUE(board.Shows("\"held\":true"));

    EXPECT_THAT(StateOfPanel(board.port),
                AllOf(HasSubstr("\"levels\":\"10000011001000000\""), HasSubstr("\"text\":\"ended with 3\"")));
    EXPECT_THAT(Ask(board.port, "GET", "/run.vcd"), HasSubstr("\n1+\n"));
    EXPECT_THAT(Ask(board.port, "POST", "/board", R"({"end":true})"), HasSubstr("HTTP/1.1 200"));

    EXPECT_EQ(WEXITSTATUS(board.Wait()), 3);
}

TEST(PanelOptionsTest, KeepsTheBoardUntilASignalEndsIt) {
    for (const int signal : {SIGINT, SIGTERM}) {
        const BoardWithPanel board("exit 0", {"--panel-hold"}, KEPT);
        EXPECT_TRUE(board.Shows("\"held\":true"));

        board.Signal(signal);

        EXPECT_EQ(board.Wait(), 0) << signal;
    }
}

TEST(PanelOptionsTest, KeepsNoBoardThatWasAskedToEnd) {
    const BoardWithPanel board("sleep 1000", {"--panel-hold"}, "");
    EXPECT_TRUE(board.Shows("\"text\":\"running\""));

    board.Signal(SIGTERM);

    EXPECT_EQ(WTERMSIG(board.Wait()), SIGTERM);
}

TEST(PanelOptionsTest, KeepsNoBoardWithoutItsPanel) {
    const CommandEnd end = CommandRun{OnBoard("echo ran", {"--panel-hold"})}.Run();

    EXPECT_EQ(end.ExitCode(), 125);
    EXPECT_EQ(end.output, "");
    EXPECT_THAT(end.errors, HasSubstr("--panel"));
}

TEST(PanelOptionsTest, NeedsNoPort) {
    const CommandEnd end = CommandRun{OnBoard("echo ran", {"--panel"})}.Run();

    EXPECT_EQ(end.ExitCode(), 0);
    EXPECT_EQ(end.output, "ran\n");
    EXPECT_THAT(end.errors, HasSubstr("the panel is at http://127.0.0.1:"));
}

TEST(PanelOptionsTest, IsExplainedAsItIsGiven) {
    for (const char* command : {"run", "record"})
        EXPECT_THAT((CommandRun{{VELRIX_BOARD_COMMAND, command, "--help"}}.Run().output),
                    HasSubstr("  --panel[=PORT] "));
}

TEST(PanelOptionsTest, RefusesWhatIsNoPort) {
    for (const char* port : {"-1", "65536", "http", "80x"}) {
        const CommandEnd end = CommandRun{OnBoard("echo ran", {std::string("--panel=") + port})}.Run();

        EXPECT_EQ(end.ExitCode(), 125) << port;
        EXPECT_EQ(end.output, "") << port;
        EXPECT_THAT(end.errors, HasSubstr("takes a port from 0 to 65535")) << port;
    }
}

} // namespace
} // namespace VelrixBoard
