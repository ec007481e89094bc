// SPDX-License-Identifier: Apache-2.0
#include "board/panel/Panel.h"

#include <csignal>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <poll.h>

#include "tests/panel/Connection.h"
#include "tests/panel/FakeControl.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class PanelTest : public testing::Test {
protected:
    static int Port(const Panel& panel) {
        return std::stoi(panel.Address().substr(std::string("http://127.0.0.1:").size()));
    }
    static json State(const Panel& panel) { return json::parse(StateOfPanel(Port(panel))); }
    json State() const { return State(panel); }

    AttachedBoard Attached() {
        return {state, control, [] { return 3s; }, folder.Path("changes")};
    }
    std::string Get(const std::string& path) const { return Ask(Port(panel), "GET", path); }

    // Does what a page asks for, and returns the panel's answer.
    std::string Post(const std::string& path, const std::string& body) { return Post(panel, path, body); }
    static std::string Post(Panel& panel, const std::string& path, const std::string& body) {
        std::string answer;
        std::thread page([&] { answer = Ask(Port(panel), "POST", path, body); });
        pollfd wait{panel.Descriptor(), POLLIN, 0};
        EXPECT_EQ(::poll(&wait, 1, 20'000), 1);
        panel.Run(1ms);
        page.join();
        return answer;
    }

    const TestSupport::TemporaryFolder folder;
    BoardModel model;
    BoardState state{model};
    FakeControl control{state};
    Panel panel{Attached(), {"gateway --now", 0}};
};

TEST_F(PanelTest, DescribesTheBoardByItsModel) {
    const json board = State()["board"];

    EXPECT_EQ(board["program"], "gateway --now");
    ASSERT_EQ(board["signals"].size(), state.Count());
    EXPECT_EQ(board["signals"][0], json({{"name", "OXBO_IRQ_N"},
                                         {"path", "/var/dev/gpio-inputs/oxboIrqN/value"},
                                         {"input", true},
                                         {"module", true}}));
    EXPECT_FALSE(board["signals"][1].contains("module"));
    EXPECT_EQ(board["keptChanges"], PanelFeed::KEPT_CHANGES);
    EXPECT_EQ(board["signals"][10]["led"], "MS");
    EXPECT_EQ(board["signals"][10]["color"], "red");
    EXPECT_EQ(State()["levels"], "10000011000000000");
}

TEST_F(PanelTest, TellsItselfFromOtherBoards) {
    const Panel next(Attached(), {"gateway --now", 0});

    EXPECT_EQ(State()["board"]["run"], State()["board"]["run"]);
    EXPECT_NE(State()["board"]["run"], State(next)["board"]["run"]);
}

TEST_F(PanelTest, ShowsWhatHappensOnTheBoard) {
    panel.OnChange(10, true, 1234567ns);
    panel.OnWebLog("+hello", 2ms);
    panel.OnSyslog("<14>a", 3ms);
    panel.OnReboot("/sbin/reboot", 4ms);
    panel.OnSettled(4ms);
    const json told = State();

    EXPECT_EQ(told["now"], 3'000'000);
    EXPECT_EQ(told["changes"], json::parse("[[10,0,1234,1234,1,1]]"));
    EXPECT_EQ(told["webLog"], json::parse(R"([[0,2000,"+hello"]])"));
    EXPECT_EQ(told["systemLog"], json::parse(R"([[0,3000,"<14>a"],[1,4000,"<5>board: reboot called: /sbin/reboot"]])"));
}

TEST_F(PanelTest, ShowsTheModule) {
    const struct {
        ModuleState module;
        json shown;
    } rows[] = {
        {{true, false, {}, {}, 40ms}, {{"state", "reset"}, {"ramLoader", nullptr}, {"readyAfterMs", 40}}},
        {{false, false, true, 5ms, 40ms}, {{"state", "starting"}, {"ramLoader", true}, {"readyAfterMs", 40}}},
        {{false, true, false, {}, 0ms}, {{"state", "ready"}, {"ramLoader", false}, {"readyAfterMs", 0}}},
        {{false, false, false, {}, {}}, {{"state", "silent"}, {"ramLoader", false}, {"readyAfterMs", nullptr}}},
    };
    for (const auto& row : rows) {
        control.module = row.module;

        panel.OnModule(1ms);

        EXPECT_EQ(State()["module"], row.shown);
    }
}

TEST_F(PanelTest, ShowsFaultsAsLongAsTheyLast) {
    control.SetFault(3, ParseFault("slow:2s"));
    panel.OnFault(3, 1ms);
    EXPECT_EQ(State()["faults"], json({{"OXBO_RL", "slow:2s"}}));

    control.SetFault(3, {});
    panel.OnFault(3, 1ms);
    EXPECT_EQ(State()["faults"], json::object());
}

TEST_F(PanelTest, ShowsHowTheProgramEnded) {
    EXPECT_EQ(State()["program"]["state"], "waiting");
    panel.OnProgramStarted(1ms);
    EXPECT_EQ(State()["program"]["state"], "running");
    const auto program = [](const char* programState, const char* text, const char* end) {
        return json({{"state", programState}, {"text", text}, {"end", end}, {"askedAt", nullptr}, {"held", false}});
    };
    panel.OnProgramEnded(0, 2ms);
    EXPECT_EQ(State()["program"], program("ended", "ended with 0", "0"));
    panel.OnProgramEnded(3 << 8, 2ms);
    EXPECT_EQ(State()["program"], program("failed", "ended with 3", "3"));
    panel.OnProgramEnded(SIGKILL, 2ms);
    EXPECT_EQ(State()["program"], program("failed", "ended by Killed", "KILL"));
}

TEST_F(PanelTest, TellsWhenTheProgramWasAskedToEnd) {
    panel.OnProgramStarted(1ms);
    Post("/program", R"({"signal":"HUP"})");
    EXPECT_EQ(State()["program"]["askedAt"], nullptr);

    Post("/program", R"({"signal":"TERM"})");
    EXPECT_EQ(State()["program"]["askedAt"], 3'000'000);
    EXPECT_EQ(control.log, "signal 1\nsignal 15\n");

    panel.OnProgramStarted(4ms);
    EXPECT_EQ(State()["program"]["askedAt"], nullptr);
    Post("/program", R"({"restart":true})");
    EXPECT_EQ(State()["program"]["askedAt"], 3'000'000);
    EXPECT_EQ(control.log, "signal 1\nsignal 15\nrestart\n");
}

TEST_F(PanelTest, TellsWhoDrivesTheInputs) {
    EXPECT_EQ(State()["inputs"]["OXBO_MOD_1"], "start");
    EXPECT_EQ(State()["inputs"].count("OXBO_RL"), 0u);

    Post("/inputs/OXBO_MOD_1", R"({"level":false})"); // the level that it has
    control.drivers[0] = InputDriver::OPTION;
    panel.OnSettled(1ms);
    EXPECT_EQ(State()["inputs"]["OXBO_MOD_1"], "panel");
    EXPECT_EQ(State()["inputs"]["OXBO_IRQ_N"], "option");

    Post("/inputs/OXBO_IRQ_N", R"({"driver":"module"})");
    panel.OnSettled(1ms);
    EXPECT_EQ(State()["inputs"]["OXBO_IRQ_N"], "module");
}

TEST_F(PanelTest, GivesTheRunSoFarAsARecording) {
    EXPECT_THAT(Get("/run.vcd"), StartsWith("HTTP/1.1 409"));
    folder.Write("changes", "0.002000000 MS.red 1\n1.000000000 MS.red 0\n");
    panel.OnProgramStarted(1ms);

    EXPECT_THAT(Get("/run.vcd"),
                AllOf(HasSubstr("MS_red $end\n"), HasSubstr("#1000\n1+\n#999000\n0+\n"), HasSubstr("#2999000\n")));

    panel.OnProgramEnded(0, 2s);
    EXPECT_THAT(Get("/run.vcd"), HasSubstr("#1999000\n"));
}

TEST_F(PanelTest, DrawsTheFrontPanel) {
    panel.OnChange(10, true, 1ms);
    panel.OnProgramStarted(1ms);

    EXPECT_THAT(Get("/board.svg"),
                AllOf(HasSubstr("<title>MS red, "), HasSubstr(">gateway</text>"), HasSubstr(">running</text>")));
}

// Any web site may embed the picture.
TEST_F(PanelTest, LeavesPathsAndArgumentsOutOfThePicture) {
    for (const char* command : {"/home/me/gateway --password=secret", "gateway secret/x", "/secret/gateway"}) {
        const Panel another(Attached(), {command, 0});
        const std::string picture = Ask(Port(another), "GET", "/board.svg");

        EXPECT_THAT(picture, AllOf(HasSubstr(">gateway</text>"), Not(HasSubstr("secret")))) << command;
    }
}

TEST_F(PanelTest, EndsWithTheProgramIfItDoesNotHoldTheBoard) {
    EXPECT_FALSE(panel.Holds());
    EXPECT_THAT(Post("/board", R"({"end":true})"), AllOf(StartsWith("HTTP/1.1 409"), HasSubstr("it is not kept")));
}

TEST_F(PanelTest, HoldsTheBoardUntilAPageEndsIt) {
    Panel holding(Attached(), {"gateway", 0, true});
    EXPECT_TRUE(holding.Holds());
    holding.OnProgramStarted(1ms);
    EXPECT_THAT(Post(holding, "/board", R"({"end":true})"), StartsWith("HTTP/1.1 409"));
    holding.OnProgramEnded(0, 2ms);

    holding.OnHeld(3ms);
    EXPECT_EQ(State(holding)["program"]["held"], true);
    EXPECT_THAT(Post(holding, "/inputs/OXBO_MOD_1", R"({"level":true})"),
                AllOf(StartsWith("HTTP/1.1 409"), HasSubstr("the program has ended")));
    EXPECT_EQ(control.log, "");
    EXPECT_TRUE(holding.Holds());

    EXPECT_THAT(Post(holding, "/board", R"({"end":true})"), StartsWith("HTTP/1.1 200"));
    EXPECT_FALSE(holding.Holds());
}

TEST_F(PanelTest, CountsTheRunsOfAProgramThatARebootStartsAnew) {
    panel.OnProgramStarted(1ms);
    EXPECT_EQ(State()["program"]["text"], "running");
    panel.OnProgramEnded(0, 2ms);
    panel.OnProgramStarted(3ms);
    panel.OnSettled(3ms);

    EXPECT_EQ(State()["program"]["text"], "running, run 2");
    EXPECT_EQ(State()["program"]["state"], "running");
    EXPECT_EQ(State()["webLog"], json::parse(R"([[0,3000,"\nThe board came up again: run 2"]])"));
}

// A program that waits for something leaves the board without events.
TEST_F(PanelTest, TellsOfStartAndEndAtOnce) {
    Connection page(Port(panel));
    page.Send("GET /events HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(Port(panel)) + "\r\n\r\n");
    page.ReadUntil("\"not started\"");

    panel.OnProgramStarted(1ms);
    EXPECT_THAT(page.ReadUntil("\"running\"}"), HasSubstr("\"running\"}"));
    panel.OnProgramEnded(0, 2ms);
    EXPECT_THAT(page.ReadUntil("\"ended with 0\"}"), HasSubstr("\"ended with 0\"}"));
}

TEST_F(PanelTest, DoesOnTheLoopWhatAPageAsksFor) {
    std::string answer;
    std::thread page([&] { answer = Ask(Port(panel), "POST", "/inputs/OXBO_MOD_1", R"({"level":true})"); });

    pollfd wait{panel.Descriptor(), POLLIN, 0};
    ASSERT_EQ(::poll(&wait, 1, 20'000), 1);
    EXPECT_EQ(control.log, "");
    panel.Run(1ms);
    page.join();

    EXPECT_EQ(control.log, "drive OXBO_MOD_1 1\n");
    EXPECT_THAT(answer, testing::StartsWith("HTTP/1.1 200"));
}

TEST_F(PanelTest, SaysWhereItIs) {
    EXPECT_THAT(panel.Announcement(), testing::MatchesRegex("the panel is at http://127.0.0.1:[0-9]+/"));
}

} // namespace
} // namespace VelrixBoard
