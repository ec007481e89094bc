// SPDX-License-Identifier: Apache-2.0
#include "board/model/OxboModule.h"

#include <gtest/gtest.h>

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;

class OxboModuleTest : public testing::Test, protected BoardObserver {
protected:
    void OnModule(BoardTime time) override {
        const ModuleState& now = module->State();
        told += std::to_string(time / 1ms) + (now.inReset ? " reset" : now.ready ? " ready" : " starting");
        if (now.due)
            told += " until " + std::to_string(*now.due / 1ms);
        told += "; ";
    }

    // Drives the reset line like the program, and the interrupt line for the module.
    void Connect(std::optional<std::chrono::milliseconds> readyAfter) {
        module.emplace(state, readyAfter, [this](std::size_t signal, bool level) {
            log += state.Name(signal) + (level ? " 1 " : " 0 ");
            state.Set(signal, level, 0us);
        });
        state.Add(*module);
        state.Add(*this);
    }
    void Reset(bool level, BoardTime time) { state.Set(*model.FindLine("OXBO_RESET1_N"), level, time); }

    BoardModel model;
    BoardState state{model};
    std::optional<OxboModule> module;
    std::string log;
    std::string told;
};

TEST_F(OxboModuleTest, RemembersNothingAfterThePowerCameAnew) {
    Connect(40ms);
    state.Set(*model.FindLine("OXBO_RL"), true, 0ms);
    Reset(true, 1ms);
    ASSERT_EQ(module->State().ramLoaderAtRelease, true);

    module->PowerUp(2ms);

    EXPECT_EQ(module->State().ramLoaderAtRelease, std::nullopt);
    EXPECT_TRUE(module->State().inReset);
    EXPECT_EQ(module->Due(), std::nullopt);
    EXPECT_EQ(told, "1 starting until 41; 2 reset; ");
}

TEST_F(OxboModuleTest, PullsItsInterruptLineLowSomeTimeAfterReset) {
    Connect(40ms);

    EXPECT_EQ(module->Due(), std::nullopt);
    Reset(true, 1ms);
    EXPECT_EQ(module->Due(), BoardTime(41ms));
    module->Run(41ms - 1us);
    EXPECT_EQ(log, "");
    module->Run(41ms);
    EXPECT_EQ(log, "OXBO_IRQ_N 0 ");
    EXPECT_EQ(module->Due(), std::nullopt);
    module->Run(99ms);
    EXPECT_EQ(log, "OXBO_IRQ_N 0 ");
}

TEST_F(OxboModuleTest, HoldsItsInterruptLineHighInReset) {
    Connect(40ms);
    Reset(true, 1ms);
    module->Run(50ms);

    Reset(false, 60ms);

    EXPECT_EQ(log, "OXBO_IRQ_N 0 OXBO_IRQ_N 1 ");
    EXPECT_EQ(module->Due(), std::nullopt);
}

TEST_F(OxboModuleTest, StartsAnewWhenItIsResetBeforeItIsReady) {
    Connect(40ms);
    Reset(true, 1ms);
    Reset(false, 30ms);
    Reset(true, 31ms);

    module->Run(50ms);
    EXPECT_EQ(log, "");
    module->Run(71ms);
    EXPECT_EQ(log, "OXBO_IRQ_N 0 ");
}

TEST_F(OxboModuleTest, NeverBecomesReadyWithoutATime) {
    Connect(std::nullopt);

    Reset(true, 1ms);

    EXPECT_EQ(module->Due(), std::nullopt);
    module->Run(1000s);
    EXPECT_EQ(log, "");
}

TEST_F(OxboModuleTest, TellsWhatItDoes) {
    Connect(40ms);
    EXPECT_TRUE(module->State().inReset);
    EXPECT_FALSE(module->State().ready);

    Reset(true, 1ms);
    module->Run(30ms);
    module->Run(42ms);
    Reset(false, 50ms);

    EXPECT_EQ(told, "1 starting until 41; 42 ready; 50 reset; ");
}

TEST_F(OxboModuleTest, RemembersTheRamLoaderLineOfTheLastRelease) {
    Connect(40ms);
    const std::size_t ramLoader = *model.FindLine("OXBO_RL");
    EXPECT_EQ(module->State().ramLoaderAtRelease, std::nullopt);

    Reset(true, 1ms);
    EXPECT_EQ(module->State().ramLoaderAtRelease, false);
    state.Set(ramLoader, true, 2ms);
    EXPECT_EQ(module->State().ramLoaderAtRelease, false);
    Reset(false, 3ms);
    Reset(true, 4ms);
    EXPECT_EQ(module->State().ramLoaderAtRelease, true);
    state.Set(ramLoader, false, 5ms);
    EXPECT_EQ(module->State().ramLoaderAtRelease, true);
}

TEST_F(OxboModuleTest, TakesAnotherTimeWhileItStarts) {
    Connect(std::nullopt);
    Reset(true, 10ms);

    module->SetReadyAfter(30ms, 20ms);
    EXPECT_EQ(module->Due(), BoardTime(40ms));
    module->SetReadyAfter(std::nullopt, 21ms);
    EXPECT_EQ(module->Due(), std::nullopt);
    module->SetReadyAfter(5ms, 22ms);
    module->Run(22ms);

    EXPECT_EQ(log, "OXBO_IRQ_N 0 ");
    EXPECT_EQ(module->State().readyAfter, 5ms);
    EXPECT_EQ(told, "10 starting; 20 starting until 40; 21 starting; 22 starting until 15; 22 ready; ");
}

TEST_F(OxboModuleTest, KeepsANewTimeForTheNextReset) {
    Connect(40ms);
    module->SetReadyAfter(5ms, 0ms);
    EXPECT_EQ(module->Due(), std::nullopt);
    Reset(true, 1ms);
    EXPECT_EQ(module->Due(), BoardTime(6ms));
    module->Run(6ms);

    module->SetReadyAfter(9ms, 7ms);

    EXPECT_EQ(module->Due(), std::nullopt);
    EXPECT_TRUE(module->State().ready);
    Reset(false, 8ms);
    Reset(true, 10ms);
    EXPECT_EQ(module->Due(), BoardTime(19ms));
}

TEST_F(OxboModuleTest, MindsNoOtherLine) {
    Connect(40ms);

    state.Set(*model.FindLine("QOR_RESET0_N"), true, 1ms);
    state.Set(*model.FindLine("OXBO_RL"), true, 1ms);

    EXPECT_EQ(module->Due(), std::nullopt);
}

} // namespace
} // namespace VelrixBoard
