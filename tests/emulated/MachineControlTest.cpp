// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/MachineControl.h"

#include <gtest/gtest.h>

#include "board/scenario/ScenarioParser.h"
#include "tests/scenario/Names.h"

using namespace VelrixBoard;

TEST(MachineControl, RefusesFaultsAndLogsWithTheirPlace) {
    const std::string files = "the emulated board's value files are the real kernel's and cannot be broken; ";
    const std::string logs = "the emulated board's logs are not seen from outside; ";
    const struct {
        const char* text;
        std::string message;
    } ROWS[] = {
        {"wait 1s\nat 1s fault MS.red EIO", "x:2:7: " + files},
        {"within 1s web log has a", "x:1:11: " + logs},
        {" never system log has a", "x:1:8: " + logs},
    };
    for (const auto& row : ROWS) {
        try {
            RefuseWhatTheMachineCannot(ParseScenario("x", row.text, NAMES));
            ADD_FAILURE() << "was accepted: " << row.text;
        } catch (const ScenarioError& error) {
            EXPECT_EQ(error.what(), row.message + "play this scenario on velrix-board");
        }
    }
}

TEST(MachineControl, TakesWhatIsSeenFromOutside) {
    EXPECT_NO_THROW(RefuseWhatTheMachineCannot(ParseScenario(
        "x",
        "set OXBO_IRQ_N low\nsend TERM\nnever MS is red\nwithin 1s reboot is called\n"
        "within 1s program exits with 0\nwithin 1s stdout has a\nnever stderr has b\nexpect OXBO_RL pulses high",
        NAMES)));
}
