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

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;

class PanelTest : public testing::Test {
protected:
    static int Port(const Panel& panel) {
        return std::stoi(panel.Address().substr(std::string("http://127.0.0.1:").size()));
    }
    static json State(const Panel& panel) { return json::parse(StateOfPanel(Port(panel))); }
    json State() const { return State(panel); }

    BoardModel model;
    BoardState state{model};
    FakeControl control{state};
    Panel panel{state, control, [] { return 3s; }, "gateway --now", 0};
};

TEST_F(PanelTest, DescribesTheBoardByItsModel) {
    const json board = State()["board"];

    EXPECT_EQ(board["program"], "gateway --now");
    ASSERT_EQ(board["signals"].size(), state.Count());
    EXPECT_EQ(board["signals"][0],
              json({{"name", "OXBO_IRQ_N"}, {"path", "/var/dev/gpio-inputs/oxboIrqN/value"}, {"input", true}}));
    EXPECT_EQ(board["signals"][10]["led"], "MS");
    EXPECT_EQ(board["signals"][10]["color"], "red");
    EXPECT_EQ(State()["levels"], "10000011000000000");
}

TEST_F(PanelTest, TellsItselfFromOtherBoards) {
    const Panel next(
        state, control, [] { return 3s; }, "gateway --now", 0);

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
    panel.OnProgramEnded(0, 2ms);
    EXPECT_EQ(State()["program"], json({{"state", "ended"}, {"text", "ended with 0"}}));
    panel.OnProgramEnded(3 << 8, 2ms);
    EXPECT_EQ(State()["program"], json({{"state", "failed"}, {"text", "ended with 3"}}));
    panel.OnProgramEnded(SIGKILL, 2ms);
    EXPECT_EQ(State()["program"], json({{"state", "failed"}, {"text", "ended by Killed"}}));
}

TEST_F(PanelTest, CountsTheRunsOfAProgramThatARebootStartsAnew) {
    panel.OnProgramStarted(1ms);
    EXPECT_EQ(State()["program"]["text"], "running");
    panel.OnProgramEnded(0, 2ms);
    panel.OnProgramStarted(3ms);
    panel.OnSettled(3ms);

    EXPECT_EQ(State()["program"], json({{"state", "running"}, {"text", "running, run 2"}}));
    EXPECT_EQ(State()["webLog"], json::parse(R"([[0,3000,"\nThe board came up again: run 2"]])"));
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
