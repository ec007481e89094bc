// SPDX-License-Identifier: Apache-2.0
#include "board/panel/PanelCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/panel/FakeControl.h"

namespace VelrixBoard {
namespace {

class PanelCommandTest : public testing::Test {
protected:
    BoardModel model;
    BoardState state{model};
    FakeControl control{state};
};

TEST_F(PanelCommandTest, DoesWhatThePageAsksFor) {
    const struct {
        const char* path;
        const char* body;
        const char* done;
    } rows[] = {
        {"/inputs/OXBO_MOD_1", R"({"level": true})", "drive OXBO_MOD_1 1\n"},
        {"/inputs/QOR_DPRAM_IRQ_N", R"({"level": false})", "drive QOR_DPRAM_IRQ_N 0\n"},
        {"/faults/NS.red", R"({"fault": "slow:2s"})", "fault NS.red slow:2s\n"},
        {"/faults/OXBO_RL", R"({"fault": null})", "fault OXBO_RL none\n"},
        {"/faults/OXBO_RL", R"({"fault": "none"})", "fault OXBO_RL none\n"},
        {"/module", R"({"readyAfterMs": 0})", "ready after 0\n"},
        {"/module", R"({"readyAfterMs": null})", "ready after never\n"},
        {"/program", R"({"signal": "TERM"})", "signal 15\n"},
    };
    for (const auto& row : rows) {
        control.log.clear();

        const PanelQueue::Work work = ReadPanelCommand(row.path, row.body, state, control);
        EXPECT_EQ(control.log, "") << row.path;
        work();

        EXPECT_EQ(control.log, row.done);
    }
}

TEST_F(PanelCommandTest, RefusesWhatTheBoardDoesNotKnow) {
    const struct {
        const char* path;
        const char* body;
        int status;
        const char* reason;
    } rows[] = {
        {"/inputs/X", R"({"level": true})", 404, "X is neither a line nor an LED element"},
        {"/inputs/", R"({"level": true})", 404, "is neither a line"},
        {"/inputs/OXBO_MOD_1", "", 400, "the key \"level\""},
        {"/inputs/OXBO_MOD_1", "[true]", 400, "the key \"level\""},
        {"/inputs/OXBO_MOD_1", R"({"level": 1})", 400, "true or false"},
        {"/faults/MS.red", R"({"fault": 5})", 400, "such as \"EIO\""},
        {"/faults/MS.red", R"({"fault": "EAGAIN"})", 400, "EAGAIN"},
        {"/module", R"({"readyAfterMs": -1})", 400, "whole number"},
        {"/module", R"({"readyAfterMs": 600001})", 400, "whole number"},
        {"/module", R"({"readyAfterMs": 1.5})", 400, "whole number"},
        {"/program", R"({"signal": "STOP"})", 400, "TERM, INT, HUP or KILL"},
        {"/program", R"({"signal": 9})", 400, "TERM, INT, HUP or KILL"},
        {"/", "{}", 404, "nothing of that name"},
    };
    for (const auto& row : rows) {
        try {
            ReadPanelCommand(row.path, row.body, state, control);
            ADD_FAILURE() << row.path << " " << row.body;
        } catch (const PanelError& error) {
            EXPECT_EQ(error.Status(), row.status) << row.path << " " << row.body;
            EXPECT_THAT(error.what(), testing::HasSubstr(row.reason));
        }
    }
    EXPECT_EQ(control.log, "");
}

} // namespace
} // namespace VelrixBoard
