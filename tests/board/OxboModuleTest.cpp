// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/OxboModule.h"

#include <gtest/gtest.h>

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;

class OxboModuleTest : public testing::Test {
protected:
    // Drives the reset line as the program does, and the interrupt line as the module wants it.
    void Connect(std::optional<std::chrono::milliseconds> readyAfter) {
        module.emplace(state, readyAfter, [this](std::size_t signal, bool level) {
            log += state.Name(signal) + (level ? " 1 " : " 0 ");
            state.Set(signal, level, 0us);
        });
        state.Add(*module);
    }
    void Reset(bool level, BoardTime time) { state.Set(*model.FindLine("OXBO_RESET1_N"), level, time); }

    BoardModel model;
    BoardState state{model};
    std::optional<OxboModule> module;
    std::string log;
};

TEST_F(OxboModuleTest, PullsItsInterruptLineLowSomeTimeAfterReset) {
    Connect(40ms);

    EXPECT_EQ(module->Due(), std::nullopt);
    Reset(true, 1ms);
    EXPECT_EQ(module->Due(), BoardTime(41ms));
    module->Tick(41ms - 1us);
    EXPECT_EQ(log, "");
    module->Tick(41ms);
    EXPECT_EQ(log, "OXBO_IRQ_N 0 ");
    EXPECT_EQ(module->Due(), std::nullopt);
    module->Tick(99ms);
    EXPECT_EQ(log, "OXBO_IRQ_N 0 ");
}

TEST_F(OxboModuleTest, HoldsItsInterruptLineHighInReset) {
    Connect(40ms);
    Reset(true, 1ms);
    module->Tick(50ms);

    Reset(false, 60ms);

    EXPECT_EQ(log, "OXBO_IRQ_N 0 OXBO_IRQ_N 1 ");
    EXPECT_EQ(module->Due(), std::nullopt);
}

TEST_F(OxboModuleTest, StartsAnewWhenItIsResetBeforeItIsReady) {
    Connect(40ms);
    Reset(true, 1ms);
    Reset(false, 30ms);
    Reset(true, 31ms);

    module->Tick(50ms);
    EXPECT_EQ(log, "");
    module->Tick(71ms);
    EXPECT_EQ(log, "OXBO_IRQ_N 0 ");
}

TEST_F(OxboModuleTest, NeverBecomesReadyWithoutATime) {
    Connect(std::nullopt);

    Reset(true, 1ms);

    EXPECT_EQ(module->Due(), std::nullopt);
    module->Tick(1000s);
    EXPECT_EQ(log, "");
}

TEST_F(OxboModuleTest, MindsNoOtherLine) {
    Connect(40ms);

    state.Set(*model.FindLine("QOR_RESET0_N"), true, 1ms);
    state.Set(*model.FindLine("OXBO_RL"), true, 1ms);

    EXPECT_EQ(module->Due(), std::nullopt);
}

} // namespace
} // namespace VelrixBoard
